// A driver that does as little as the contract of its functions allows, so that what is measured is the code that calls
// it. Entry calls are accepted and forgotten, reads are answered with what the benchmark has laid ready.
#include <cstring>

#include "null_driver.h"
#include "vl_driver/driver.h"

const NullDriverAnswer* null_driver_answer = nullptr;
void (*null_driver_observer)(const NullDriverCall& call) = nullptr;

namespace {

constexpr pipe_ent_hdl some_entry = 1;

// One list at a time, of the most slots that a record can tell of. Nobody reads what they haven't written, so it isn't
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

pipe_status pipe_mgr_mat_ent_del_by_match_spec(pipe_sess_hdl, pipe_dev_tgt, pipe_tbl_hdl, const pipe_match_record*,
                                               uint32_t) {
    return 0;
}

pipe_status pipe_mgr_mat_ent_set_action(pipe_sess_hdl, pipe_dev_id, pipe_tbl_hdl, pipe_ent_hdl, pipe_act_hdl,
                                        const pipe_action_record*, uint32_t) {
    return 0;
}

pipe_status pipe_mgr_mat_ent_set_action_by_match_spec(pipe_sess_hdl, pipe_dev_tgt, pipe_tbl_hdl,
                                                      const pipe_match_record*, pipe_act_hdl, const pipe_action_record*,
                                                      uint32_t) {
    return 0;
}

pipe_status pipe_mgr_get_entry_count(pipe_sess_hdl, pipe_dev_tgt, pipe_tbl_hdl, uint32_t, uint32_t* count) {
    *count = 0;
    return 0;
}

pipe_status pipe_mgr_get_first_entry_handle(pipe_sess_hdl, pipe_tbl_hdl, pipe_dev_tgt, uint32_t* hdl) {
    *hdl = PIPE_HDL_END;
    return 0;
}

pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl, pipe_tbl_hdl, pipe_dev_tgt, uint32_t, uint32_t n,
                                            uint32_t* hdls) {
    if (n != 0) *hdls = PIPE_HDL_END;
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

pipe_status bf_drv_register(const char*, bf_drv_client_hdl* hdl) {
    *hdl = 1;
    return 0;
}

pipe_status bf_drv_client_register_callbacks(bf_drv_client_hdl, const bf_drv_client_callbacks*, uint32_t) {
    return 0;
}

pipe_status bf_drv_deregister(bf_drv_client_hdl) {
    return 0;
}

pipe_status p4_pd_ms_init(void) {
    return 0;
}

p4_pd_ms_state* p4_pd_ms_init_state(void) {
    return nullptr;
}

pipe_status p4_pd_ms_log_state(pipe_dev_id, p4_pd_ms_state*, struct cJSON*) {
    return 0;
}

pipe_status p4_pd_ms_restore_state(pipe_dev_id, p4_pd_ms_state*, struct cJSON*) {
    return 0;
}

pipe_status p4_pd_ms_destroy_state_for_dev(p4_pd_ms_state*, pipe_dev_id) {
    return 0;
}

pipe_status p4_pd_ms_destroy_txn_state_for_dev(pipe_dev_id) {
    return 0;
}

// The library takes this one's address when it is loaded.
pipe_status p4_pd_ms_grp_update_res(pipe_dev_id, pipe_grp_hdl, pipe_mbr_hdl, void*) {
    return 0;
}
