// The shadow after a restart of the agent, restored from the device state log or row by row in a replay, also from rows
// that no correct replay has.
#include "support/profiles.h"

#include <memory>

namespace {

using namespace support;

class Restore : public ProfileTest {
protected:
    // Hands a row to the library. No such session is open: the library calls the shadow only.
    static constexpr pd_session row_session = 0x55;
    void row(uint32_t data_table, uint32_t action_hdl, pd_group group, pd_member member, uint32_t resource_count,
             const Lines& expected) {
        calls();
        const vl_model_row passed = {row_session, device, data_table, action_hdl, group, member, resource_count};
        EXPECT_EQ(vl_model_replay_row(&passed), VL_MODEL_OK);
        expect_calls(expected);
    }
};

TEST_F(Restore, FiveWordsReachTheDriverWhole) {
    for (const uint64_t i : {1u, 2u, 3u, 4u, 5u})
        names["a" + std::to_string(i)] = 0x1111111111111111 * i;
    expect_forwarded("restore_virtual_dev_state", "a1 a2 a3 a4 a5",
                     "pipe_mgr_hitless_ha_restore_virtual_dev_state a1 a2 a3 a4 a5 *");
}

TEST_F(Restore, TheAgentGoesOnAfterALogAndAfterAReplay) {
    struct Kept {
        pd_member first, second, spare;
        pd_group group;
    };
    std::vector<Kept> kept;
    for_profiles([&] {
        const pd_member first = add_member(0), second = add_member(1), spare = add_member(0);
        kept.push_back({first, second, spare, add_group({second, first})});
    });
    const Bytes key(8);
    names["key"] = word(key.data());
    for (const bool by_log : {true, false}) {
        SCOPED_TRACE(by_log ? "log" : "replay");
        const auto modify_with_second = [&](pd_member member) {
            names["mbr"] = member;
            return run(std::string("modify_member_with_") + action(1).action, "sess dev mbr");
        };
        const std::unique_ptr<char, decltype(&std::free)> log(vl_model_state_log(device), &std::free);
        ASSERT_EQ(vl_model_device_state_drop(device), VL_MODEL_OK);
        auto old = kept.begin();
        for_profiles([&] { EXPECT_EQ(modify_with_second(old++->second), VL_MODEL_NOT_FOUND) << "forgotten"; });
        calls();
        ASSERT_EQ(by_log ? vl_model_state_restore(device, log.get())
                         : p4_pd_velmar_switch_restore_virtual_dev_state(device, session, 0, 0, 0),
                  0u);
        for (const std::string& function : functions_called())
            EXPECT_TRUE(function.starts_with("p4_pd_ms_") || function.starts_with("pipe_mgr_hitless")) << function;

        old = kept.begin();
        for_profiles([&] {
            Kept& was = *old++;
            // The group's action comes from the member that joined last; in a replay, from the highest handle.
            EXPECT_EQ(action_of_group(was.group), action(by_log ? 0 : 1).handle);
            EXPECT_EQ(modify_with_second(was.second), 0u);
            EXPECT_EQ(modify_with_second(was.first), PD_STATUS_MISMATCH);
            const pd_member added = add_member(1);
            EXPECT_EQ(modify_with_second(added), 0u);
            names["grp"] = was.group;
            names["mbr"] = was.spare;
            EXPECT_EQ(run("add_member_to_group", "sess dev grp mbr"), 0u);
            names["mbr"] = added;
            EXPECT_EQ(run("add_member_to_group", "sess dev grp mbr"), 0u);
            pd_entry entry = 0;
            names["out"] = word(&entry);
            names["prio"] = catalog::has_priority(table_named(profile->table)) ? std::optional(1) : std::nullopt;
            EXPECT_EQ(run_on_table("add_entry_with_selector", "sess tgt key prio grp out"), 0u);
            EXPECT_EQ(calls().back().args[4], action(1).handle);
            names["entry"] = entry;
            EXPECT_EQ(run_on_table("table_delete", "sess dev entry"), 0u);
            EXPECT_EQ(run("del_group", "sess dev grp"), 0u) << "the shadow knows the group";
            EXPECT_EQ(run("del_member", "sess dev mbr"), 0u);
            was.group = add_group({was.second, was.first});
        });
    }
}

TEST_F(Restore, Rows) {
    constexpr pd_member member = 0x1005, unknown = 0x1006;
    constexpr pd_group group = 0x2007;
    names["sess"] = row_session;
    names["mbr"] = member;
    names["grp"] = group;
    names["update"] = word(&p4_pd_ms_grp_update_res);
    const std::string new_mbr = "p4_pd_ms_new_mbr sess state dev mbr",
                      set_mbr = "p4_pd_ms_set_mbr_act state dev mbr own",
                      new_grp = "p4_pd_ms_new_grp sess state dev grp",
                      join = "p4_pd_ms_add_mbr_to_grp sess state dev mbr grp",
                      ask = "p4_pd_ms_get_mbr_act state dev mbr *", set_grp = "p4_pd_ms_set_grp_act state dev grp own",
                      apply = "p4_pd_ms_mbr_apply_to_grps state dev mbr update state",
                      apply_0 = "p4_pd_ms_mbr_apply_to_grps state dev 0 update state",
                      applied = "p4_pd_ms_grp_update_res dev grp mbr state"; // by the shadow
    ASSERT_EQ(p4_pd_velmar_switch_restore_virtual_dev_state(device, session, 0, 0, 0), 0u);
    for_profiles([&] {
        const uint32_t adt = profile->data_table, own = action(0).handle;
        names["own"] = own;
        row(adt, own, 0, 0, 0, {});
        row(adt, own, group, 0, 0, {new_grp});
        // Of a row that comes before its member's row, only the membership counts.
        row(adt, own, group, member, 1, {join, ask});
        EXPECT_EQ(action_of_group(group), 0u);
        row(adt, own, group, unknown, 0,
            {"p4_pd_ms_add_mbr_to_grp sess state dev 0x1006 grp", "p4_pd_ms_get_mbr_act state dev 0x1006 *"});
        EXPECT_EQ(p4_pd_ms_del_mbr_from_grp(session, state(), device, unknown, group), 0u);
        row(adt, own, 0, member, 0, {new_mbr, set_mbr});
        row(adt, own, 0, member, 1, {new_mbr, set_mbr, apply, applied});
        // The group takes the member's action, not the row's.
        row(adt, 0x20000001, group, member, 1, {join, ask, set_grp});
        EXPECT_EQ(action_of_group(group), own);

        for (const catalog::Profile& other : catalog::program.profiles) {
            for (const catalog::Binding& binding : other.actions) {
                const bool is_own = &other == profile;
                row(adt, binding.handle, group, member, 0x100,
                    is_own ? Lines{join, ask, set_grp, apply, applied} : Lines{join, ask, set_grp});
                row(adt, binding.handle, group, 0, 1, is_own ? Lines{new_grp, apply_0} : Lines{new_grp});
                row(adt, binding.handle, 0, 0, 1, is_own ? Lines{apply_0} : Lines{});
            }
        }

        // If the shadow refuses a step, the other steps still follow.
        for (const char* failing : {"p4_pd_ms_new_mbr", "p4_pd_ms_set_mbr_act"}) {
            vl_model::fail_call(failing, 1, 72);
            row(adt, own, 0, member, 1, {new_mbr, set_mbr, apply, applied});
        }
        vl_model::fail_call("p4_pd_ms_new_grp", 1, 72);
        row(adt, own, group, 0, 1, {new_grp, apply_0});
        for (const char* failing : {"p4_pd_ms_add_mbr_to_grp", "p4_pd_ms_set_grp_act"}) {
            vl_model::fail_call(failing, 1, 72);
            row(adt, own, group, member, 1, {join, ask, set_grp, apply, applied});
        }
        for (const uint32_t foreign : unknown_handles(Known::profiles)) {
            row(foreign, own, 0, member, 1, {});
            row(foreign, own, group, member, 1, {});
        }
    });
}

} // namespace
