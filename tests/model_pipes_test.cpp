// The pipes of a device in the embedded driver: every call of the boundary that takes a pipe refuses an unknown one.
#include <array>
#include <type_traits>

#include <vl_model/traffic.h>

#include "support/model.h"

namespace {

struct TargetCall {
    const char* name;
    pipe_status (*call)(pipe_sess_hdl session, pipe_dev_tgt target);
};

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
pipe_status call_blank(pipe_status (*function)(Args...), pipe_sess_hdl session, pipe_dev_tgt target) {
    return function(blank<Args>(session, target)...);
}

// Calls about value sets take the device and the pipe as numbers.
template <class... Args>
pipe_status call_pvs(pipe_status (*function)(pipe_sess_hdl, pipe_dev_id, uint32_t, uint32_t, uint32_t, Args...),
                     pipe_sess_hdl session, pipe_dev_tgt target) {
    return function(session, target.dev_id, 1, 0, target.pipe_id, blank<Args>(session, target)...);
}

#define CALL(caller, function)                                                                                         \
    {                                                                                                                  \
#function, [](pipe_sess_hdl session, pipe_dev_tgt target) { return caller(function, session, target); }        \
    }
#define TARGET_CALL(function) CALL(call_blank, function)
#define PVS_CALL(function) CALL(call_pvs, function)

constexpr TargetCall target_calls[] = {
    TARGET_CALL(pipe_mgr_plcmt_mat_data_get),
    TARGET_CALL(pipe_mgr_plcmt_adt_data_get),
    TARGET_CALL(pipe_mgr_plcmt_sel_data_get),
    TARGET_CALL(pipe_mgr_adt_ent_add),
    TARGET_CALL(pipe_mgr_get_action_data_entry),
    TARGET_CALL(pipe_mgr_sel_grp_add),
    TARGET_CALL(pipe_mgr_sel_grp_mbr_enable),
    TARGET_CALL(pipe_mgr_sel_grp_mbr_disable),
    TARGET_CALL(pipe_mgr_sel_grp_mbr_state_get),
    TARGET_CALL(pipe_mgr_sel_fallback_mbr_set),
    TARGET_CALL(pipe_mgr_sel_fallback_mbr_reset),
    TARGET_CALL(pipe_mgr_get_sel_grp_mbr_count),
    TARGET_CALL(pipe_mgr_sel_grp_mbr_get_from_hash),
    TARGET_CALL(pipe_mgr_get_word_llp_active_member_count),
    TARGET_CALL(pipe_mgr_get_word_llp_active_members),
    TARGET_CALL(pipe_register_adt_update_cb),
    TARGET_CALL(pipe_register_sel_update_cb),
    TARGET_CALL(pipe_mgr_sel_tbl_register_cb),
    TARGET_CALL(pipe_stful_query_get_sizes),
    TARGET_CALL(pipe_stful_ent_query),
    TARGET_CALL(pipe_stful_ent_query_range),
    TARGET_CALL(pipe_stful_direct_ent_query),
    TARGET_CALL(pipe_stful_ent_set),
    TARGET_CALL(pipe_stful_table_reset),
    TARGET_CALL(pipe_stful_table_reset_range),
    TARGET_CALL(pipe_stful_database_sync),
    TARGET_CALL(pipe_stful_direct_database_sync),
    TARGET_CALL(pipe_mgr_mat_ent_direct_stat_set),
    TARGET_CALL(pipe_mgr_direct_stat_database_sync),
    TARGET_CALL(pipe_mgr_stat_ent_query),
    TARGET_CALL(pipe_mgr_stat_ent_set),
    TARGET_CALL(pipe_mgr_stat_ent_database_sync),
    TARGET_CALL(pipe_mgr_stat_database_sync),
    TARGET_CALL(pipe_mgr_meter_read_entry),
    TARGET_CALL(pipe_mgr_meter_ent_set),
    TARGET_CALL(pipe_mgr_meter_read_entry_idx),
    TARGET_CALL(pipe_mgr_meter_set_bytecount_adjust),
    TARGET_CALL(pipe_mgr_meter_get_bytecount_adjust),
    TARGET_CALL(pipe_mgr_wred_ent_set),
    TARGET_CALL(pipe_mgr_wred_read_entry_idx),
    TARGET_CALL(pipe_mgr_mat_ent_add),
    TARGET_CALL(pipe_mgr_mat_ent_set_action_by_match_spec),
    TARGET_CALL(pipe_mgr_mat_ent_del_by_match_spec),
    TARGET_CALL(pipe_mgr_match_spec_to_ent_hdl),
    TARGET_CALL(pipe_mgr_mat_default_entry_set),
    TARGET_CALL(pipe_mgr_mat_tbl_default_entry_reset),
    TARGET_CALL(pipe_mgr_table_get_default_entry_handle),
    TARGET_CALL(pipe_mgr_table_get_default_entry),
    TARGET_CALL(pipe_mgr_get_entry),
    TARGET_CALL(pipe_mgr_get_entry_count),
    TARGET_CALL(pipe_mgr_get_first_entry_handle),
    TARGET_CALL(pipe_mgr_get_next_entry_handles),
    PVS_CALL(pipe_mgr_pvs_entry_add),
    PVS_CALL(pipe_mgr_pvs_entry_get_count),
    PVS_CALL(pipe_mgr_pvs_entry_handle_get),
    PVS_CALL(pipe_mgr_pvs_entry_get_first),
    PVS_CALL(pipe_mgr_pvs_entry_get_next),
    {"vl_model_register_write",
     [](pipe_sess_hdl, pipe_dev_tgt target) -> pipe_status {
         const uint8_t value[VL_MODEL_REGISTER_VALUE_SIZE] = {};
         return vl_model_register_write(target.dev_id, 1, 0, target.pipe_id, value);
     }},
};

class PipesTest : public support::DeviceTest {
protected:
    void SetUp() override {
        start({.name = "p", .tables = nullptr, .table_count = 0});
    }
};

// The device has no tables, so a call that accepts the pipe refuses the table.
TEST_F(PipesTest, AreThereOrRefused) {
    const auto expect_there = [&](bool there, uint16_t pipe) {
        for (const TargetCall& row : target_calls) {
            const pipe_status status = row.call(session, {.dev_id = 3, .pipe_id = pipe, .reserved = 7});
            if (there)
                EXPECT_TRUE(status == VL_MODEL_UNKNOWN_TABLE || status == VL_MODEL_UNKNOWN_RESOURCE)
                    << row.name << " in pipe " << pipe << ": " << vl_model_status_text(status);
            else
                EXPECT_EQ(status, VL_MODEL_OUT_OF_RANGE) << row.name << " in pipe " << pipe;
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

TEST_F(PipesTest, SnapshotsSeeNoPacketsOfOtherPipes) {
    bf_snapshot_hdl snapshot = 77;
    EXPECT_EQ(bf_snapshot_create(3, VL_MODEL_DEFAULT_PIPES, 0, 0, 0, &snapshot), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(bf_snapshot_create(3, UINT32_MAX, 0, 0, 0, &snapshot), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(snapshot, 77U);
    ASSERT_EQ(bf_snapshot_create(3, PIPE_ALL_PIPES, 0, 0, 0, &snapshot), VL_MODEL_OK);
    std::array<uint8_t, VL_MODEL_SNAPSHOT_STAGE_SIZE> record{};
    ASSERT_EQ(bf_snapshot_capture_trigger_set(snapshot, record.data(), record.data()), VL_MODEL_OK);
    bf_snapshot_capture_ctrl control{};
    uint32_t count = 0;
    EXPECT_EQ(bf_snapshot_capture_get(snapshot, 9, record.data(), &control, &count), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(vl_model_snapshot_match(snapshot, 9, 0, record.data(), 1), VL_MODEL_OUT_OF_RANGE);
    EXPECT_EQ(vl_model_snapshot_match(snapshot, 3, 0, record.data(), 1), VL_MODEL_OK);
}

} // namespace
