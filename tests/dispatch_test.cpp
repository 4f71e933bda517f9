// Every table and profile, by its name and by its handle: operations that are one driver call, and the answers to
// handles that no row has.
#include "support/profiles.h"
#include "support/text.h"

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
        const std::string name = table->name + std::string("_");
        expect_forwarded(name + "get_first_entry_handle", "sess tgt out", first);
        expect_forwarded(name + "get_next_entry_handles", "sess tgt 5 2 out", next);
        expect_forwarded(name + "table_get_default_entry_handle", "sess tgt out", fallback);
        expect_forwarded(name + "table_reset_default_entry", "sess tgt",
                         "pipe_mgr_mat_tbl_default_entry_reset sess tgt hdl 0");
        expect_forwarded(name + "set_property", "sess dev 2 30 4", "pipe_mgr_tbl_set_property sess dev hdl 2 30 4");
        expect_forwarded(name + "get_property", "sess dev 2 out out", "pipe_mgr_tbl_get_property sess dev hdl 2 * *");
        expect_forwarded(name + "register_mat_update_cb", "sess dev out tgt",
                         "pipe_register_mat_update_cb sess dev hdl out tgt");
        expect_forwarded(name + "get_entry_count", "sess tgt out", "pipe_mgr_get_entry_count sess tgt hdl 0 out");
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

TEST_F(Dispatch, AWalkByAnUnknownHandleIsAtItsEnd) {
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

// Schemas by known handles are checked by check_literals.py.
TEST(StatusText, EachStatusOfTheLibraryHasItsOwnWords) {
    const std::string drivers = pd_status_text(7);
    std::set<std::string> texts = {drivers};
    for (const pd_status status : {pd_status{PD_STATUS_OK}, pd_status{PD_STATUS_NO_MEMORY},
                                   pd_status{PD_STATUS_INVALID}, pd_status{PD_STATUS_UNEXPECTED}, PD_STATUS_MISMATCH})
        EXPECT_TRUE(texts.insert(pd_status_text(status)).second) << status;
    EXPECT_EQ(pd_status_text(0xFFFFFFFE), drivers);
}

TEST_F(Dispatch, TextsByAnUnknownHandle) {
    for (const uint32_t handle : unknown_handles(Known::both))
        EXPECT_EQ(text_of("cli_schema", {dirty(handle)}), "()") << handle;
    for (const uint32_t handle : unknown_handles(Known::tables)) {
        EXPECT_EQ(text_of("entry_value", {session, device, handle, 1, 0}), "") << handle;
        EXPECT_EQ(text_of("stringify_counter_matchspec", {session, device, handle, 1}), "") << handle;
    }
    for (const catalog::Table* table : all_tables())
        if (std::none_of(catalog::program.counter_words.begin(), catalog::program.counter_words.end(),
                         [&](const auto& words) { return catalog::same(words.table, table->name); })) {
            EXPECT_EQ(text_of("stringify_counter_matchspec", {session, device, table->handle, 1}), "") << table->name;
        }
    EXPECT_TRUE(calls().empty()) << "nothing is read";
}

} // namespace
