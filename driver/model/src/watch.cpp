// Faults, recorded calls and the answer hooks. They have a mutex of their own, since a call is noted before the model
// is entered and its callbacks run outside it.
#include "watch.h"

#include <algorithm>
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
    Hooks hooks;

    void update_flag() {
        watching = recording || !faults.empty() || hooks.entry.callback || hooks.member.callback ||
                   hooks.state.callback || hooks.group.callback || hooks.placed_entry.callback ||
                   hooks.placed_member.callback || hooks.meter.callback || hooks.stateful.callback;
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

uint64_t note_call(Call&& call) {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    w.calls.push_back(std::move(call));
    return w.first_number + w.calls.size() - 1;
}

void note_status(uint64_t number, uint32_t status) {
    Watch& w = watch();
    const std::lock_guard lock(w.mutex);
    if (number >= w.first_number && number - w.first_number < w.calls.size())
        w.calls[number - w.first_number].status = status;
}

template <class Hook>
static void set_hook(Subscriber<Hook> Hooks::*place, Hook hook) {
    std::shared_ptr<Registration> replaced;
    {
        Watch& w = watch();
        const std::lock_guard lock(w.mutex);
        replaced = (w.hooks.*place).replace(std::move(hook));
        w.update_flag();
    }
    end(replaced);
}

void set_answer_hook(AnswerHook hook) {
    set_hook(&Hooks::entry, std::move(hook));
}

void set_member_answer_hook(MemberAnswerHook hook) {
    set_hook(&Hooks::member, std::move(hook));
}

void set_state_answer_hook(StateAnswerHook hook) {
    set_hook(&Hooks::state, std::move(hook));
}

void set_group_answer_hook(GroupAnswerHook hook) {
    set_hook(&Hooks::group, std::move(hook));
}

void set_placed_entry_answer_hook(AnswerHook hook) {
    set_hook(&Hooks::placed_entry, std::move(hook));
}

void set_placed_member_answer_hook(MemberAnswerHook hook) {
    set_hook(&Hooks::placed_member, std::move(hook));
}

void set_meter_answer_hook(MeterAnswerHook hook) {
    set_hook(&Hooks::meter, std::move(hook));
}

void set_register_answer_hook(RegisterAnswerHook hook) {
    set_hook(&Hooks::stateful, std::move(hook));
}

Hooks hooks() {
    const std::lock_guard lock(watch().mutex);
    return watch().hooks;
}

void reset_watch() {
    Hooks hooks;
    {
        Watch& w = watch();
        const std::lock_guard lock(w.mutex);
        w.faults.clear();
        w.recording = false;
        w.first_number += w.calls.size();
        w.calls.clear();
        hooks = std::exchange(w.hooks, {});
        w.update_flag();
    }
    end(hooks.entry.registration);
    end(hooks.member.registration);
    end(hooks.state.registration);
    end(hooks.group.registration);
    end(hooks.placed_entry.registration);
    end(hooks.placed_member.registration);
    end(hooks.meter.registration);
    end(hooks.stateful.registration);
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
