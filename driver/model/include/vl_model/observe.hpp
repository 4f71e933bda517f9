// Steering and watching the embedded driver from tests: faults, allocations, recorded calls, answers and a hardware
// that differs from the software. Relies on the boundary's records. Costs the driver one branch per call while nothing
// is used.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <vl_driver/registers.h>
#include <vl_driver/resources.h>
#include <vl_driver/types.h>
#include <vl_model/behaviour.h>
#include <vl_model/testing.h>

#pragma GCC visibility push(default)

namespace vl_model {

// The nth call from now (1 is the next) of a boundary function is refused with `status` and has no other effect. Each
// armed fault refuses one call. Functions that return a pointer give null; bf_sys_dbg_mode gives the status.
void fail_call(std::string_view function, unsigned nth, uint32_t status);

// The nth bf_sys_calloc from now gives null.
void fail_allocation(unsigned nth);

// Disarms what has not fired yet.
void clear_faults();

// Blocks that came from bf_sys_calloc and have not gone to bf_sys_free. Freeing anything else stops the process.
size_t live_allocations();

// Successful bf_sys_calloc calls since the start or vl_model_reset.
size_t allocations_made();

struct MatchCopy {
    std::vector<uint8_t> key; // empty where the caller's pointer was null
    std::vector<uint8_t> mask;
    bool key_null = false;
    bool mask_null = false;
    uint32_t partition_index = 0;
    uint32_t priority = 0;
    uint16_t key_bits = 0;
    uint16_t key_len = 0;
    uint32_t reserved = 0;
};

struct ActionCopy {
    uint8_t kind = 0;
    uint8_t resource_count = 0;
    uint16_t data_bits = 0;
    uint16_t data_len = 0;
    std::vector<uint8_t> data; // data_len bytes, or empty where the caller's pointer was null
    bool data_null = false;
    uint32_t member_hdl = 0;
    uint32_t group_hdl = 0;
    std::array<pipe_resource_slot, PIPE_MAX_SLOTS> slots{};
    std::array<uint8_t, 10> reserved{}; // the record's bytes 2 to 7 and 12 to 15
};

// A call as it came in, before the driver wrote to the caller's records. Calls that a fault refused are among them.
struct Call {
    std::string function;
    // In the order of the arguments: integers zero-extended, pointers as addresses, records by value as one word for
    // each 8 bytes.
    std::vector<uint64_t> args;
    std::optional<MatchCopy> match;
    std::optional<ActionCopy> action; // also of calls with action data alone: kind and all that follows data are 0
    std::string text;                 // the formatted line of bf_sys_log_and_trace
    std::vector<uint32_t> handles;    // the members of p4_pd_ms_del_grp
    // The hash of pipe_mgr_sel_grp_mbr_get_from_hash, the stream of pipe_mgr_hash_calc_calculate_hash_value.
    std::vector<uint8_t> bytes;
    // What the pointers to a caller's other records and arrays lead to, in the order of the arguments. Empty for null.
    std::vector<std::vector<uint8_t>> inputs;
    uint32_t status = 0; // 0 for functions that return no status
};

// A record of a call's inputs; all zero where the input has no such record.
template <class Record>
Record input_record(const Call& call, size_t input = 0, size_t position = 0) {
    static_assert(std::is_trivially_copyable_v<Record>);
    Record record{};
    if (input < call.inputs.size() && call.inputs[input].size() >= (position + 1) * sizeof(Record))
        std::memcpy(&record, &call.inputs[input][position * sizeof(Record)], sizeof(Record));
    return record;
}

// Starts (forgetting older records) or stops.
void record_calls(bool on);

// What was recorded so far, in the order of the calls' beginning; the list starts anew.
std::vector<Call> take_calls();

// A call that a test answers, while it runs.
struct AnsweredCall : Call {
    // Lets the driver do the call, and returns its result.
    std::function<uint64_t()> driver;

    // A pointer among the arguments, by its index in args.
    template <class Pointee>
    Pointee* pointer(size_t arg) const {
        return reinterpret_cast<Pointee*>(args.at(arg));
    }
};

// Returns what the call returns: a status, an integer or an address. It may call `driver` before or after it reads or
// writes what the arguments point at, or leave the driver out.
using Answer = std::function<uint64_t(const AnsweredCall&)>;

// Answers all calls of a boundary function from now on. Instead of a name, `function` may be the beginning of names and
// a `*`; if several fit, the longest counts. An empty answer ends the answer of the same `function`, vl_model_reset
// ends all. Recording and faults go on: a call that a fault refuses gets no answer.
void answer_calls(std::string_view function, Answer answer);

// A value to write where a call's pointer leads; `arg` is the pointer's index in args.
template <class Value>
struct Output {
    size_t arg;
    Value value;
};

template <class Value>
Output<Value> output(size_t arg, Value value) {
    return {arg, value};
}

// The same with a fixed status and fixed outputs.
template <class... Values>
void answer_calls_with(std::string_view function, uint32_t status, Output<Values>... outputs) {
    answer_calls(function, [=](const AnsweredCall& call) {
        ((*call.pointer<Values>(outputs.arg) = outputs.value), ...);
        return uint64_t{status};
    });
}

// Answers that edit what the driver wrote, after its call was successful. Each belongs to the functions that it names;
// an empty hook ends it.

// pipe_mgr_get_entry and pipe_mgr_table_get_default_entry. A default entry read by table has no match record: the hook
// gets an empty one.
using AnswerHook = std::function<void(pipe_match_record&, pipe_action_record&, uint32_t& action_hdl)>;
void set_answer_hook(const AnswerHook& hook);

// pipe_mgr_get_action_data_entry
using MemberAnswerHook = std::function<void(pipe_action_data&, uint32_t& action_hdl)>;
void set_member_answer_hook(const MemberAnswerHook& hook);

// pipe_mgr_sel_grp_mbr_state_get
using StateAnswerHook = std::function<void(uint32_t& state)>;
void set_state_answer_hook(const StateAnswerHook& hook);

// pipe_mgr_sel_grp_mbrs_get
using GroupAnswerHook = std::function<void(uint32_t* mbr_hdls, uint8_t* states, uint32_t& count)>;
void set_group_answer_hook(const GroupAnswerHook& hook);

// pipe_mgr_plcmt_mat_data_get_entry, and pipe_mgr_plcmt_adt_data_get_entry
void set_placed_entry_answer_hook(const AnswerHook& hook);
void set_placed_member_answer_hook(const MemberAnswerHook& hook);

// pipe_mgr_meter_read_entry and pipe_mgr_meter_read_entry_idx
using MeterAnswerHook = std::function<void(pipe_meter_spec&)>;
void set_meter_answer_hook(const MeterAnswerHook& hook);

// pipe_stful_ent_query, pipe_stful_direct_ent_query (both of one cell) and pipe_stful_ent_query_range
using RegisterAnswerHook = std::function<void(pipe_stful_query* queries, uint32_t& cells_read)>;
void set_register_answer_hook(const RegisterAnswerHook& hook);

// What an entry is apart from its bytes and slots.
struct EntryFields {
    uint32_t partition_index = 0;
    uint32_t priority = 0;
    uint32_t action_hdl = 0;
    uint32_t member_hdl = 0;
    uint32_t group_hdl = 0;
    uint16_t data_bits = 0;
    uint8_t kind = 0;
    uint8_t resource_count = 0;
};

// An entry or a member in the hardware. A default entry has no key and no mask, a member only an action and its data.
struct EntryImage : EntryFields {
    std::vector<uint8_t> key;
    std::vector<uint8_t> mask;
    std::vector<uint8_t> data;
    std::array<pipe_resource_slot, PIPE_MAX_SLOTS> slots{};
};

// Changes an entry, a default entry by its handle, or a member of a data table in hardware only: reads with
// read_from_hw see it, others don't. The next change of the action or its data by the software writes both.
uint32_t edit_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl,
                       const std::function<void(EntryImage&)>& edit);

// Loses an entry or a member in hardware only.
uint32_t drop_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl);

} // namespace vl_model

#pragma GCC visibility pop
