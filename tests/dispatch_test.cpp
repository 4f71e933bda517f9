// Walking by handle: every table's and profile's handle goes where the function of its own name goes, and each
// dispatcher has its answer to a handle that is nobody's.
#include "support/profiles.h"

namespace {

using namespace support;

using Dispatch = ProfileTest;

TEST_F(Dispatch, EveryTableAndProfile) {
    uint32_t out[2] = {};
    names["out"] = word(out);
    const std::string first = "pipe_mgr_get_first_entry_handle sess hdl tgt out",
                      next = "pipe_mgr_get_next_entry_handles sess hdl tgt 5 2 out",
                      fallback = "pipe_mgr_table_get_default_entry_handle sess tgt hdl out";
    for (const catalog::Table* table : all_tables()) {
        names["hdl"] = table->handle;
        expect_forwarded("entry_hdl_first", "sess tgt hdl out", first);
        expect_forwarded("entry_hdl_next", "sess tgt hdl 5 2 out", next);
        expect_forwarded("entry_hdl_default", "sess tgt hdl out", fallback);
    }
    for_profiles([&] {
        names["hdl"] = profile->data_table;
        expect_forwarded("member_hdl_first", "sess tgt hdl out", first);
        expect_forwarded("member_hdl_next", "sess tgt hdl 5 2 out", next);
        const pd_member members[] = {add_member(), add_member()};
        EXPECT_EQ(p4_pd_velmar_switch_member_hdl_first(session, target, profile->data_table, out), 0u);
        EXPECT_EQ(out[0], members[0]);
        EXPECT_EQ(p4_pd_velmar_switch_member_hdl_next(session, target, profile->data_table, out[0], 2, out), 0u);
        EXPECT_TRUE(out[0] == members[1] && out[1] == PD_HDL_END);
        calls();
    });
}

TEST_F(Dispatch, HandlesOfNobodyGiveTheEndMarkAlone) {
    constexpr uint32_t untouched = 0xA5A5A5A5;
    const auto expect_end = [&](uint32_t handle, const char* name, const char* arguments, pd_status expected) {
        SCOPED_TRACE(std::string(name) + " " + std::to_string(handle));
        uint32_t out[3] = {untouched, untouched, untouched};
        names["hdl"] = handle;
        names["out"] = word(out);
        EXPECT_EQ(run_export(name, arguments), expected);
        EXPECT_TRUE(out[0] == 0xFFFFFFFF && out[1] == untouched && out[2] == untouched);
        expect_calls({});
    };
    for (const uint32_t handle : unknown_handles(Known::tables)) {
        expect_end(handle, "entry_hdl_first", "sess tgt hdl out", 0);
        expect_end(handle, "entry_hdl_next", "sess tgt hdl 5 3 out", 0);
        expect_end(handle, "entry_hdl_default", "sess tgt hdl out", 0);
    }
    for (const uint32_t handle : unknown_handles(Known::profiles)) {
        expect_end(handle, "member_hdl_first", "sess tgt hdl out", 0xFFFFFFFF);
        expect_end(handle, "member_hdl_next", "sess tgt hdl 5 3 out", 0xFFFFFFFF);
    }
}

} // namespace
