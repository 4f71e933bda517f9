// Faults, recorded calls and answers. They have a mutex of their own, since a call is noted before the model
// is entered and its callbacks run outside it.
#include "core/boundary.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

namespace vl_model {

std::atomic<bool> watching = false;

namespace {

struct Fault {
    std::string function;
    unsigned countdown;
    uint32_t status;
};

struct Watch {
    std::mutex mutex;
    std::vector<Fault> faults;
    bool recording = false;
    std::vector<Call> calls;
    uint64_t first_number = 0; // of calls[0]: a call can end after its record was taken
    std::map<std::string, Subscriber<Answer>, std::less<>> answers; // by function

    void update_flag() {
        watching = recording || !faults.empty() || !answers.empty();
    }
};

// Never destroyed: other objects' destructors may still call the driver.
Watch& watch() {
    static Watch& instance = *new Watch;
    return instance;
}

} // namespace

void fail_call(std::string_view function, unsigned nth, uint32_t status) {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.faults.push_back({std::string(function), nth, status});
    w.update_flag();
}

void clear_call_faults() {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.faults.clear();
    w.update_flag();
}

std::optional<uint32_t> take_fault(const char* function) {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    std::optional<uint32_t> status;
    for (auto fault = w.faults.begin(); fault != w.faults.end();) {
        if (fault->function != function || --fault->countdown != 0) {
            ++fault;
            continue;
        }
        status = status.value_or(fault->status);
        fault = w.faults.erase(fault);
    }
    w.update_flag();
    return status;
}

void record_calls(bool on) {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    if (on) {
        w.first_number += w.calls.size();
        w.calls.clear();
    }
    w.recording = on;
    w.update_flag();
}

std::vector<Call> take_calls() {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.first_number += w.calls.size();
    return std::exchange(w.calls, {});
}

bool is_recording() {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    return w.recording;
}

uint64_t note_call(const Call& call) {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.calls.push_back(call);
    return w.first_number + w.calls.size() - 1;
}

void note_status(uint64_t number, uint32_t status) {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    if (number >= w.first_number && number - w.first_number < w.calls.size())
        w.calls[number - w.first_number].status = status;
}

Subscriber<Answer> find_answer(std::string_view function) {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    if (const auto found = w.answers.find(function); found != w.answers.end()) return found->second;
    const Subscriber<Answer>* longest = nullptr;
    // Of names that begin alike, the longer ones come later.
    for (const auto& [name, answer] : w.answers)
        if (name.ends_with('*') && function.starts_with(std::string_view(name).substr(0, name.size() - 1)))
            longest = &answer;
    return longest != nullptr ? *longest : Subscriber<Answer>{};
}

void answer_calls(std::string_view function, Answer answer) {
    std::shared_ptr<Registration> replaced;
    {
        Watch& w = watch();
        const std::lock_guard lock(w.mutex);
        Subscriber<Answer>& place = w.answers[std::string(function)];
        replaced = place.replace(std::move(answer));
        if (!place.callback) w.answers.erase(w.answers.find(function));
        w.update_flag();
    }
    end(replaced);
}

void reset_watch() {
    decltype(Watch::answers) answers;
    {
        Watch& w = watch();
        const std::lock_guard lock(w.mutex);
        w.faults.clear();
        w.recording = false;
        w.first_number += w.calls.size();
        w.calls.clear();
        answers.swap(w.answers);
        w.update_flag();
    }
    for (const auto& [function, answer] : answers)
        end(answer.registration);
}

namespace {

// `apply` hands the outputs of a call to the hook.
template <class Hook, class Apply>
void set_hook(std::string_view function, const Hook& hook, Apply apply) {
    if (!hook) return answer_calls(function, {});
    answer_calls(function, [=](const AnsweredCall& call) {
        const uint64_t status = call.driver();
        if (status == VL_MODEL_OK) apply(hook, call);
        return status;
    });
}

// The outputs of the call, by the indices of their pointers.
template <class... Outputs, class Hook, class... Indices>
void set_output_hook(std::string_view function, const Hook& hook, Indices... indices) {
    set_hook(function, hook, [=](const Hook& set, const AnsweredCall& call) {
        set(*call.pointer<Outputs>(static_cast<size_t>(indices))...);
    });
}

} // namespace

void set_answer_hook(const AnswerHook& hook) {
    set_output_hook<pipe_match_record, pipe_action_record, uint32_t>("pipe_mgr_get_entry", hook, 4, 5, 6);
    set_hook("pipe_mgr_table_get_default_entry", hook, [](const AnswerHook& set, const AnsweredCall& call) {
        pipe_match_record none{};
        set(none, *call.pointer<pipe_action_record>(3), *call.pointer<uint32_t>(4));
    });
}

void set_member_answer_hook(const MemberAnswerHook& hook) {
    set_output_hook<pipe_action_data, uint32_t>("pipe_mgr_get_action_data_entry", hook, 3, 4);
}

void set_state_answer_hook(const StateAnswerHook& hook) {
    set_output_hook<uint32_t>("pipe_mgr_sel_grp_mbr_state_get", hook, 5);
}

void set_group_answer_hook(const GroupAnswerHook& hook) {
    set_hook("pipe_mgr_sel_grp_mbrs_get", hook, [](const GroupAnswerHook& set, const AnsweredCall& call) {
        set(call.pointer<uint32_t>(5), call.pointer<uint8_t>(6), *call.pointer<uint32_t>(7));
    });
}

void set_placed_entry_answer_hook(const AnswerHook& hook) {
    set_output_hook<pipe_match_record, pipe_action_record, uint32_t>("pipe_mgr_plcmt_mat_data_get_entry", hook, 1, 2,
                                                                     3);
}

void set_placed_member_answer_hook(const MemberAnswerHook& hook) {
    set_output_hook<pipe_action_data, uint32_t>("pipe_mgr_plcmt_adt_data_get_entry", hook, 1, 2);
}

void set_meter_answer_hook(const MeterAnswerHook& hook) {
    for (const char* const function : {"pipe_mgr_meter_read_entry", "pipe_mgr_meter_read_entry_idx"})
        set_output_hook<pipe_meter_spec>(function, hook, 4);
}

void set_register_answer_hook(const RegisterAnswerHook& hook) {
    for (const char* const function : {"pipe_stful_ent_query", "pipe_stful_direct_ent_query"})
        set_hook(function, hook, [](const RegisterAnswerHook& set, const AnsweredCall& call) {
            uint32_t cells_read = 1;
            set(call.pointer<pipe_stful_query>(4), cells_read);
        });
    set_hook("pipe_stful_ent_query_range", hook, [](const RegisterAnswerHook& set, const AnsweredCall& call) {
        set(call.pointer<pipe_stful_query>(5), *call.pointer<uint32_t>(6));
    });
}

void copy_array(Call& call, const uint32_t* handles, size_t count) {
    call.handles.assign(handles, handles + count);
}

void copy_array(Call& call, const uint8_t* bytes, size_t count) {
    call.bytes.assign(bytes, bytes + count);
}

void copy_record(Call& call, const pipe_match_record& record) {
    MatchCopy& copy = call.match.emplace();
    copy.key_null = record.key_bytes == nullptr;
    copy.mask_null = record.mask_bytes == nullptr;
    if (!copy.key_null) copy.key.assign(record.key_bytes, record.key_bytes + record.key_len);
    if (!copy.mask_null) copy.mask.assign(record.mask_bytes, record.mask_bytes + record.key_len);
    copy.partition_index = record.partition_index;
    copy.priority = record.priority;
    copy.key_bits = record.key_bits;
    copy.key_len = record.key_len;
    copy.reserved = record.reserved;
}

void copy_record(Call& call, const pipe_action_data& data) {
    ActionCopy& copy = call.action.emplace();
    copy.data_bits = data.data_bits;
    copy.data_len = data.data_len;
    copy.data_null = data.data == nullptr;
    if (!copy.data_null) copy.data.assign(data.data, data.data + data.data_len);
    std::memcpy(&copy.reserved[sizeof(pipe_action_record::reserved)], &data.reserved, sizeof(data.reserved));
}

void copy_record(Call& call, const pipe_action_record& record) {
    copy_record(call, record.action);
    ActionCopy& copy = *call.action;
    copy.kind = record.kind;
    copy.resource_count = record.resource_count;
    copy.member_hdl = record.member_hdl;
    copy.group_hdl = record.group_hdl;
    std::copy(std::begin(record.slots), std::end(record.slots), copy.slots.begin());
    std::memcpy(copy.reserved.data(), record.reserved, sizeof(record.reserved));
}

} // namespace vl_model
