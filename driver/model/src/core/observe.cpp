// Faults, recorded calls and answers. They have a separate mutex: a call is recorded before the model is locked, and
// answers run without a lock.
#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

#include "core/boundary.h"
#include "core/callbacks.h"

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
};

// Never destroyed: other objects' destructors may still call the driver.
Watch& the_watch() {
    static Watch& instance = *new Watch;
    return instance;
}

// Runs `body` on the watch, under its mutex.
template <class Body>
auto with_watch(Body&& body) {
    Watch& watch = the_watch();
    const std::lock_guard lock(watch.mutex);
    const struct FlagUpdate {
        const Watch& watch;
        ~FlagUpdate() {
            watching = watch.recording || !watch.faults.empty() || !watch.answers.empty();
        }
    } update{watch};
    return body(watch);
}

std::vector<Call> take_calls(Watch& watch) {
    watch.first_number += watch.calls.size();
    return std::exchange(watch.calls, {});
}

// A status if one of the function's faults fires.
std::optional<uint32_t> take_fault(Watch& watch, const char* function) {
    std::optional<uint32_t> status;
    std::erase_if(watch.faults, [&](Fault& fault) {
        const bool fires = fault.function == function && --fault.countdown == 0;
        if (fires && !status) status = fault.status;
        return fires;
    });
    return status;
}

// Returns a copy, since answers run without the mutex. It has no callback if there is no answer.
Subscriber<Answer> find_answer(const Watch& watch, std::string_view function) {
    if (const auto found = watch.answers.find(function); found != watch.answers.end()) return found->second;
    Subscriber<Answer> longest;
    // The map is sorted, so longer names come after their beginnings.
    for (const auto& [name, answer] : watch.answers)
        if (name.ends_with('*') && function.starts_with(std::string_view(name).substr(0, name.size() - 1)))
            longest = answer;
    return longest;
}

} // namespace

uint64_t run_watched(const char* function, Returns returns, const std::function<void(Call&)>& note_arguments,
                     const std::function<uint64_t()>& work) {
    AnsweredCall call;
    call.function = function;
    note_arguments(call);
    Subscriber<Answer> answer;
    std::optional<uint64_t> number;
    std::optional<uint32_t> fault;
    with_watch([&](Watch& watch) {
        if (watch.recording) {
            number = watch.first_number + watch.calls.size();
            watch.calls.push_back(call);
        }
        fault = take_fault(watch, function);
        answer = find_answer(watch, function);
    });
    uint64_t result = 0;
    std::optional<RunningCall> answering;
    if (!fault && answer.callback) answering.emplace(answer.registration);
    if (fault) {
        result = returns == Returns::pointer ? 0 : *fault;
    } else if (answering && *answering) {
        call.driver = work;
        result = answer.callback(call);
    } else {
        answering.reset();
        result = work();
    }
    with_watch([&](Watch& watch) {
        if (number && *number >= watch.first_number && *number - watch.first_number < watch.calls.size())
            watch.calls[*number - watch.first_number].status =
                fault.value_or(returns == Returns::status ? static_cast<uint32_t>(result) : 0);
    });
    return result;
}

void reset_watch() {
    const auto answers = with_watch([](Watch& watch) {
        watch.faults.clear();
        watch.recording = false;
        take_calls(watch);
        return std::exchange(watch.answers, {});
    });
    for (const auto& [function, answer] : answers)
        end(answer.registration);
}

void fail_call(std::string_view function, unsigned nth, uint32_t status) {
    with_watch([&](Watch& watch) { watch.faults.push_back({std::string(function), nth, status}); });
}

void fail_allocation(unsigned nth) {
    fail_call("bf_sys_calloc", nth, VL_MODEL_OK); // refused all the same: functions that return a pointer return null
}

void clear_faults() {
    with_watch([](Watch& watch) { watch.faults.clear(); });
}

void record_calls(bool on) {
    with_watch([&](Watch& watch) {
        if (on) take_calls(watch);
        watch.recording = on;
    });
}

std::vector<Call> take_calls() {
    return with_watch([](Watch& watch) { return take_calls(watch); });
}

void answer_calls(std::string_view function, Answer answer) {
    const auto replaced = with_watch([&](Watch& watch) {
        const auto place = watch.answers.try_emplace(std::string(function)).first;
        auto old = place->second.replace(std::move(answer));
        if (!place->second.callback) watch.answers.erase(place);
        return old;
    });
    end(replaced);
}

namespace {

// `apply` passes the outputs of a call to the hook.
template <class Hook, class Apply>
void set_hook(std::string_view function, const Hook& hook, Apply apply) {
    if (!hook) return answer_calls(function, {});
    answer_calls(function, [=](const AnsweredCall& call) {
        const uint64_t status = call.driver();
        if (status == VL_MODEL_OK) apply(hook, call);
        return status;
    });
}

// Passes outputs to the hook, by the indices of their pointers.
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

void copy_list(Call& call, const uint32_t* handles, size_t count) {
    call.handles.assign(handles, handles + count);
}

void copy_list(Call& call, const uint8_t* bytes, size_t count) {
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

using namespace vl_model;

uint32_t vl_model_fail_call(const char* function, uint32_t nth, uint32_t status) {
    if (function == nullptr || nth == 0) return VL_MODEL_INVALID;
    fail_call(function, nth, status);
    return VL_MODEL_OK;
}

void vl_model_clear_faults() {
    clear_faults();
}
