// Selector groups: the calls of the driver and the shadow, with all their arguments. The driver takes the group before
// the member, the shadow the member before the group, and the selector's place changes from call to call.
#include "support/profiles.h"

#include <set>

namespace {

using namespace support;
using vl_model::Call;

class Groups : public ProfileTest {
protected:
    uint32_t members_in_driver() {
        uint32_t count = ~0u;
        names["count"] = word(&count);
        EXPECT_EQ(run("get_selector_group_member_count", "sess tgt grp count"), 0u);
        calls();
        return count;
    }
};

TEST_F(Groups, ChangesReachTheDriverAndThenTheShadow) {
    for_profiles([&] {
        add_member();
        const pd_member member = add_member(1);
        pd_group group = 0;
        names["mbr"] = member;
        names["act"] = action(1).handle;
        names["out"] = word(&group);
        ASSERT_EQ(run("create_group", "sess tgt 8 out"), 0u);
        names["grp"] = group;
        ASSERT_NE(group, member);
        expect_calls({"pipe_mgr_sel_grp_add sess tgt sel 0 8 0xdeadbeef out 0", "p4_pd_ms_new_grp sess state dev grp"});
        ASSERT_EQ(run("add_member_to_group", "sess dev grp mbr"), 0u);
        expect_calls({"p4_pd_ms_get_mbr_act state dev mbr *", "pipe_mgr_sel_grp_mbr_add sess dev sel grp act mbr 0",
                      "p4_pd_ms_add_mbr_to_grp sess state dev mbr grp", "p4_pd_ms_set_grp_act state dev grp act"});
        ASSERT_EQ(run("del_member_from_group", "sess dev grp mbr"), 0u);
        expect_calls(
            {"pipe_mgr_sel_grp_mbr_del sess dev sel grp mbr 0", "p4_pd_ms_del_mbr_from_grp sess state dev mbr grp"});
        EXPECT_EQ(action_of_group(group), action(1).handle) << "the group keeps the action when the member leaves";
        ASSERT_EQ(run("del_group", "sess dev grp"), 0u);
        expect_calls({"pipe_mgr_get_sel_grp_mbr_count sess dev sel grp *", "pipe_mgr_sel_grp_del sess dev sel grp 0",
                      "p4_pd_ms_del_grp sess state dev grp 0 0"});
    });
    EXPECT_EQ(vl_model::allocations_made(), 0u) << "a group without members has no list";
}

TEST_F(Groups, OneCallOperations) {
    const char* const operations[][3] = {
        {"group_member_state_set", "sess tgt 5 6 0", "pipe_mgr_sel_grp_mbr_enable sess tgt sel 5 6 0"},
        {"group_member_state_set", "sess tgt 5 6 1", "pipe_mgr_sel_grp_mbr_disable sess tgt sel 5 6 0"},
        {"group_member_state_get", "sess tgt 5 6 out", "pipe_mgr_sel_grp_mbr_state_get sess tgt sel 5 6 *"},
        {"set_dynamic_action_selection_fallback_member", "sess tgt 6",
         "pipe_mgr_sel_fallback_mbr_set sess tgt sel 6 0"},
        {"reset_dynamic_action_selection_fallback_member", "sess tgt",
         "pipe_mgr_sel_fallback_mbr_reset sess tgt sel 0"},
        {"get_first_group", "sess tgt out", "pipe_mgr_get_first_entry_handle sess sel tgt out"},
        {"get_next_groups", "sess tgt 5 1 out", "pipe_mgr_get_next_entry_handles sess sel tgt 5 1 out"},
        {"get_first_group_member", "sess dev 5 out", "pipe_mgr_get_first_group_member sess sel dev 5 out"},
        {"get_next_group_members", "sess dev 5 6 1 out", "pipe_mgr_get_next_group_members sess sel dev 5 6 1 out"},
        {"get_selector_group_count", "sess tgt out", "pipe_mgr_get_entry_count sess tgt sel 0 out"},
        {"get_selector_group_member_count", "sess tgt 5 out", "pipe_mgr_get_sel_grp_mbr_count sess tgt sel 5 out"},
        {"get_word_llp_active_member_count", "sess tgt 7 out",
         "pipe_mgr_get_word_llp_active_member_count sess tgt sel 7 out"},
        {"get_word_llp_active_members", "sess tgt 7 1 out",
         "pipe_mgr_get_word_llp_active_members sess tgt sel 7 1 out"},
        {"group_member_get_from_hash", "sess tgt 5 cookie 3 out",
         "pipe_mgr_sel_grp_mbr_get_from_hash sess tgt sel 5 cookie 3 out"},
        {"register_callback", "sess tgt out cookie", "pipe_mgr_sel_tbl_register_cb sess tgt sel out cookie"},
        {"sel_track_updates", "dev out cookie", "pipe_mgr_sel_tbl_register_cb 0 dev sel out cookie"},
        {"register_sel_update_cb", "sess tgt out cookie", "pipe_register_sel_update_cb sess tgt sel out cookie"},
    };
    expect_profile_forwards(operations, "get_sel_table_handle", &catalog::Profile::selector);
}

TEST_F(Groups, TheMemberThatJoinedLastGivesTheAction) {
    use(catalog::program.profiles[4]);
    const pd_member port = add_member(0), tunnel = add_member(2);
    EXPECT_EQ(action_of_group(add_group({port, tunnel})), 0x200000feu);
    EXPECT_EQ(action_of_group(add_group({tunnel, port})), 0x200000fcu);
}

TEST_F(Groups, AMemberHasTwoStates) {
    constexpr uint32_t untouched = 0xA5A5A5A5;
    for_profiles([&] {
        const pd_member member = add_member();
        names["mbr"] = member;
        names["grp"] = add_group({member});
        for (const uint32_t answer : {0u, 1u, 2u, 0x100u, 0xFFFFFFFFu}) {
            vl_model::set_state_answer_hook([&](uint32_t& state) { state = answer; });
            uint32_t out = untouched;
            names["out"] = word(&out);
            EXPECT_EQ(run("group_member_state_get", "sess tgt grp mbr out"), 0u);
            EXPECT_EQ(out, answer < 2 ? answer : untouched);
            EXPECT_NE(only_call().args.back(), word(&out)) << "the driver doesn't write to the agent";
        }
        names["odd"] = 2;
        EXPECT_EQ(run("group_member_state_set", "sess tgt grp mbr odd"), uint32_t{PD_STATUS_INVALID});
        const std::vector<vl_model::Call> made = calls();
        ASSERT_EQ(made.size(), 1u) << "one line in the log, and no driver call";
        EXPECT_TRUE(made[0].text.starts_with("mbr_state == P4_PD_GRP_MBR_STATE_INACTIVE"));
    });
}

TEST_F(Groups, ADeletionHandsTheMembersToTheShadow) {
    for (const uint32_t lost : {0u, 1u}) {
        for_profiles([&] {
            const std::vector<pd_member> members = {add_member(), add_member(), add_member()};
            names["grp"] = add_group({members[1], members[0], members[2]});
            names["returned"] = 3 - lost;
            vl_model::set_group_answer_hook([&](auto*, auto*, uint32_t& count) { count -= lost; });
            ASSERT_EQ(run("del_group", "sess dev grp"), 0u);
            const std::vector<Call> made = expect_calls(
                {"pipe_mgr_get_sel_grp_mbr_count sess dev sel grp *", "bf_sys_calloc 3 4", "bf_sys_calloc 3 1",
                 "pipe_mgr_sel_grp_mbrs_get sess dev sel grp 3 * * * 0", "pipe_mgr_sel_grp_del sess dev sel grp 0",
                 "p4_pd_ms_del_grp sess state dev grp returned *", "bf_sys_free *", "bf_sys_free *"});
            ASSERT_EQ(made[3].args.size(), 9u);
            const uint64_t list = made[3].args[5], states = made[3].args[6];
            EXPECT_EQ(made[5].args.at(5), list);
            EXPECT_EQ(made[5].handles, std::vector<pd_member>(members.begin(), members.end() - lost));
            EXPECT_EQ((std::set{made[6].args.at(0), made[7].args.at(0)}), (std::set{list, states}));
        });
    }
}

TEST_F(Groups, DeletionsThatFailOtherwise) {
    const std::string count = "pipe_mgr_get_sel_grp_mbr_count", drop = "pipe_mgr_sel_grp_del",
                      forget = "p4_pd_ms_del_grp", allocate = "bf_sys_calloc";
    for_profiles([&] {
        names["grp"] = add_group({add_member(), add_member()});
        vl_model::fail_allocation(1);
        vl_model::fail_allocation(2);
        EXPECT_EQ(run("del_group", "sess dev grp"), +PD_STATUS_NO_MEMORY);
        EXPECT_EQ(functions_called(), (Lines{count, allocate, allocate}));
        EXPECT_EQ(members_in_driver(), 2u);
        names["grp"] = add_group();
        vl_model::fail_call(drop, 1, 54);
        EXPECT_EQ(run("del_group", "sess dev grp"), 54u);
        EXPECT_EQ(functions_called(), (Lines{count, drop})) << "the shadow keeps an empty group too";
        vl_model::fail_call(forget, 1, 55);
        EXPECT_EQ(run("del_group", "sess dev grp"), 55u) << "the status is the shadow's";
        EXPECT_EQ(functions_called(), (Lines{count, drop, forget}));
        EXPECT_EQ(run("del_group", "sess dev grp"), VL_MODEL_NOT_FOUND) << "the driver no longer has the group";
    });
}

} // namespace
