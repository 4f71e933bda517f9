// For C++ tests of the embedded driver: faults, allocations, recorded calls, answers, and hardware that differs from
// the software. Relies on the boundary's records. While a test uses none of it, each call costs one branch.
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

// Arms a fault: the nth call of a boundary function from now, where 1 is the next, is refused with `status` and has no
// other effect. Each fault refuses one call. Functions that return a pointer return null; bf_sys_dbg_mode returns the
// status.
void fail_call(std::string_view function, unsigned nth, uint32_t status);

// Arms a fault: the nth bf_sys_calloc from now returns null.
void fail_allocation(unsigned nth);

// Disarms the faults that have not fired.
void clear_faults();

// The number of blocks from bf_sys_calloc that bf_sys_free has not freed. Freeing anything else stops the process.
size_t live_allocations();

// The number of successful bf_sys_calloc calls since the start or vl_model_reset.
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

// A call, with the caller's records as they were before the driver wrote to them. Refused calls are recorded as well.
struct Call {
    std::string function;
    // In the order of the arguments: integers zero-extended, pointers as addresses, records by value as one word for
    // each 8 bytes.
    std::vector<uint64_t> args;
    std::optional<MatchCopy> match;
    std::optional<ActionCopy> action; // made from action data alone: kind and the members after data are 0
    std::string text;                 // the formatted line of bf_sys_log_and_trace
    std::vector<uint32_t> handles;    // the members of p4_pd_ms_del_grp
    // The hash of pipe_mgr_sel_grp_mbr_get_from_hash, the stream of pipe_mgr_hash_calc_calculate_hash_value.
    std::vector<uint8_t> bytes;
    // The bytes of a caller's other records and arrays, in the order of the arguments. Empty for null.
    std::vector<std::vector<uint8_t>> inputs;
    uint32_t status = 0; // 0 for functions that return no status
};

// A record among a call's inputs; all zero if there is none.
template <class Record>
Record input_record(const Call& call, size_t input = 0, size_t position = 0) {
    static_assert(std::is_trivially_copyable_v<Record>);
    Record record{};
    if (input < call.inputs.size() && call.inputs[input].size() >= (position + 1) * sizeof(Record))
        std::memcpy(&record, &call.inputs[input][position * sizeof(Record)], sizeof(Record));
    return record;
}

// Starts recording, and forgets older calls; or stops.
void record_calls(bool on);

// Returns the calls recorded so far, in the order in which they began, and forgets them.
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

// Answers calls with a fixed status and fixed outputs.
template <class... Values>
void answer_calls_with(std::string_view function, uint32_t status, Output<Values>... outputs) {
    answer_calls(function, [=](const AnsweredCall& call) {
        ((*call.pointer<Values>(outputs.arg) = outputs.value), ...);
        return uint64_t{status};
    });
}

// Hooks that edit the driver's outputs after a successful call. The comment above each names the functions. An empty
// hook ends it.

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

// An entry without its bytes and slots.
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

// Changes an entry, a default entry by its handle, or a member of a data table in hardware only. Reads with
// read_from_hw see the change, others don't. The next change of the action or its data by the software writes the
// hardware as well.
uint32_t edit_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl,
                       const std::function<void(EntryImage&)>& edit);

// Loses an entry or a member in hardware only.
uint32_t drop_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl);

} // namespace vl_model

#pragma GCC visibility pop
