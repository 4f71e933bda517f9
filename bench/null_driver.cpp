// A driver that does as little as the contract of its functions allows, so that benchmarks measure the code that calls
// it. It accepts and forgets entries, and answers reads with what the benchmark has prepared.
#include <cstring>

#include "null_driver.h"
#include "vl_driver/driver.h"

const NullDriverAnswer* null_driver_answer = nullptr;
void (*null_driver_observer)(const NullDriverCall& call) = nullptr;

namespace {

constexpr pipe_ent_hdl some_entry = 1;

// One list at a time, with room for as many slots as a record can count. Callers write before they read, so it isn't
// cleared.
constexpr size_t list_size = 255 * 8;
alignas(16) uint8_t list[list_size];

} // namespace

pipe_status pipe_mgr_mat_ent_add(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                 const pipe_match_record* match, pipe_act_hdl act_hdl, const pipe_action_record* action,
                                 uint32_t ttl, uint32_t flags, pipe_ent_hdl* ent_hdl) {
    if (null_driver_observer != nullptr) [[unlikely]]
        null_driver_observer({sess_hdl, dev_tgt, tbl_hdl, match, act_hdl, action, ttl, flags});
    *ent_hdl = some_entry;
    return 0;
}

pipe_status pipe_mgr_match_spec_to_ent_hdl(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                           const pipe_match_record* match, pipe_ent_hdl* ent_hdl, uint32_t flags) {
    if (null_driver_observer != nullptr) [[unlikely]]
        null_driver_observer({sess_hdl, dev_tgt, tbl_hdl, match, 0, nullptr, 0, flags});
    *ent_hdl = some_entry;
    return 0;
}

pipe_status pipe_mgr_get_entry(pipe_sess_hdl, pipe_tbl_hdl, pipe_dev_tgt, pipe_ent_hdl, pipe_match_record* match,
                               pipe_action_record* action, pipe_act_hdl* act_hdl, uint8_t, uint32_t, uint32_t) {
    const NullDriverAnswer& answer = *null_driver_answer;
    if (answer.match.key_bytes == nullptr) {
        match->key_bytes = nullptr;
    } else {
        std::memcpy(match->key_bytes, answer.match.key_bytes, match->key_len);
        std::memcpy(match->mask_bytes, answer.match.mask_bytes, match->key_len);
    }
    match->partition_index = answer.match.partition_index;
    match->priority = answer.match.priority;
    std::memcpy(action->action.data, answer.data, answer.data_len);
    action->kind = answer.kind;
    action->resource_count = answer.resource_count;
    if (answer.resource_count != 0) action->slots[0] = answer.slot;
    *act_hdl = answer.act_hdl;
    return 0;
}

pipe_status pipe_mgr_mat_ent_del(pipe_sess_hdl, pipe_dev_id, pipe_tbl_hdl, pipe_ent_hdl, uint32_t) {
    return 0;
}

void* bf_sys_calloc(size_t count, size_t size) {
    return count * size <= list_size ? list : nullptr;
}

void bf_sys_free(void*) {}

int bf_sys_dbg_mode(void) {
    return 0;
}

int bf_sys_log_and_trace(int, int, const char*, ...) {
    return 0;
}
