// The pipes of a device in the embedded driver: every call of the boundary that takes a pipe refuses an unknown one.
#include <array>
#include <type_traits>

#include <vl_model/traffic.h>

#include "support/model.h"

namespace {

// A blank argument that the driver accepts: the session's handle for a number, the address of zeros for a pointer.
template <class Arg>
Arg blank(uint32_t session, pipe_dev_tgt target) {
    alignas(16) static std::array<uint8_t, 4096> zeros{};
    if constexpr (std::is_same_v<Arg, pipe_dev_tgt>)
        return target;
    else if constexpr (std::is_integral_v<Arg>)
        return static_cast<Arg>(session);
    else if constexpr (std::is_function_v<std::remove_pointer_t<Arg>>)
        return nullptr;
    else
        return reinterpret_cast<Arg>(zeros.data());
}

template <class... Args>
pipe_status call(pipe_status (*function)(Args...), pipe_sess_hdl session, pipe_dev_tgt target) {
    return function(blank<Args>(session, target)...);
}

// Calls about value sets take the device and the pipe as numbers.
template <class... Args>
pipe_status call(pipe_status (*function)(pipe_sess_hdl, pipe_dev_id, uint32_t, uint32_t, uint32_t, Args...),
                 pipe_sess_hdl session, pipe_dev_tgt target) {
    return function(session, target.dev_id, 1, 0, target.pipe_id, blank<Args>(session, target)...);
}

#define CALL(function) std::pair(#function, call(function, session, target))

// Makes all calls that take a pipe. Returns their names and statuses.
std::vector<std::pair<const char*, pipe_status>> call_all(pipe_sess_hdl session, pipe_dev_tgt target) {
    const uint8_t value[VL_MODEL_REGISTER_VALUE_SIZE] = {};
    return {
        CALL(pipe_mgr_plcmt_mat_data_get),
        CALL(pipe_mgr_plcmt_adt_data_get),
        CALL(pipe_mgr_plcmt_sel_data_get),
        CALL(pipe_mgr_adt_ent_add),
        CALL(pipe_mgr_get_action_data_entry),
        CALL(pipe_mgr_sel_grp_add),
        CALL(pipe_mgr_sel_grp_mbr_enable),
        CALL(pipe_mgr_sel_grp_mbr_disable),
        CALL(pipe_mgr_sel_grp_mbr_state_get),
        CALL(pipe_mgr_sel_fallback_mbr_set),
        CALL(pipe_mgr_sel_fallback_mbr_reset),
        CALL(pipe_mgr_get_sel_grp_mbr_count),
        CALL(pipe_mgr_sel_grp_mbr_get_from_hash),
        CALL(pipe_mgr_get_word_llp_active_member_count),
        CALL(pipe_mgr_get_word_llp_active_members),
        CALL(pipe_register_adt_update_cb),
        CALL(pipe_register_sel_update_cb),
        CALL(pipe_mgr_sel_tbl_register_cb),
        CALL(pipe_stful_query_get_sizes),
        CALL(pipe_stful_ent_query),
        CALL(pipe_stful_ent_query_range),
        CALL(pipe_stful_direct_ent_query),
        CALL(pipe_stful_ent_set),
        CALL(pipe_stful_table_reset),
        CALL(pipe_stful_table_reset_range),
        CALL(pipe_stful_database_sync),
        CALL(pipe_stful_direct_database_sync),
        CALL(pipe_mgr_mat_ent_direct_stat_set),
        CALL(pipe_mgr_direct_stat_database_sync),
        CALL(pipe_mgr_stat_ent_query),
        CALL(pipe_mgr_stat_ent_set),
        CALL(pipe_mgr_stat_ent_database_sync),
        CALL(pipe_mgr_stat_database_sync),
        CALL(pipe_mgr_meter_read_entry),
        CALL(pipe_mgr_meter_ent_set),
        CALL(pipe_mgr_meter_read_entry_idx),
        CALL(pipe_mgr_meter_set_bytecount_adjust),
        CALL(pipe_mgr_meter_get_bytecount_adjust),
        CALL(pipe_mgr_wred_ent_set),
        CALL(pipe_mgr_wred_read_entry_idx),
        CALL(pipe_mgr_mat_ent_add),
        CALL(pipe_mgr_mat_ent_set_action_by_match_spec),
        CALL(pipe_mgr_mat_ent_del_by_match_spec),
        CALL(pipe_mgr_match_spec_to_ent_hdl),
        CALL(pipe_mgr_mat_default_entry_set),
        CALL(pipe_mgr_mat_tbl_default_entry_reset),
        CALL(pipe_mgr_table_get_default_entry_handle),
        CALL(pipe_mgr_table_get_default_entry),
        CALL(pipe_mgr_get_entry),
        CALL(pipe_mgr_get_entry_count),
        CALL(pipe_mgr_get_first_entry_handle),
        CALL(pipe_mgr_get_next_entry_handles),
        CALL(pipe_mgr_pvs_entry_add),
        CALL(pipe_mgr_pvs_entry_get_count),
        CALL(pipe_mgr_pvs_entry_handle_get),
        CALL(pipe_mgr_pvs_entry_get_first),
        CALL(pipe_mgr_pvs_entry_get_next),
        {"vl_model_register_write", vl_model_register_write(target.dev_id, 1, 0, target.pipe_id, value)},
    };
}

using PipesTest = support::DeviceTest;

// The device has no tables, so a call that accepts the pipe refuses the table.
TEST_F(PipesTest, AreThereOrRefused) {
    start({.name = "p", .tables = nullptr, .table_count = 0});
    const auto expect_there = [&](bool there, uint16_t pipe) {
        for (const auto& [name, status] : call_all(session, {.dev_id = 3, .pipe_id = pipe, .reserved = 7})) {
            const bool refuses_table = status == VL_MODEL_UNKNOWN_TABLE || status == VL_MODEL_UNKNOWN_RESOURCE;
            EXPECT_TRUE(there ? refuses_table : status == VL_MODEL_OUT_OF_RANGE)
                << name << " in pipe " << pipe << ": " << vl_model_status_text(status);
        }
    };
    expect_there(true, 0);
    expect_there(true, VL_MODEL_DEFAULT_PIPES - 1);
    expect_there(false, VL_MODEL_DEFAULT_PIPES);
    expect_there(true, PIPE_ALL_PIPES);
    expect_there(false, PIPE_ALL_PIPES - 1);
    ASSERT_EQ(vl_model_device_set_pipes(3, 2), VL_MODEL_OK);
    expect_there(true, 1);
    expect_there(false, 2);
}

} // namespace
