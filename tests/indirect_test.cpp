// Entries that point at a member or a group: what each of the eight operations asks the shadow and sends, and the whole
// road of one ECMP group.
#include "support/profiles.h"

#include <cstring>

namespace {

using namespace support;
using vl_model::Call;

enum Kind { add, modify, modify_by_key, set_default };

const struct {
    const char* to_member;
    const char* to_group;
    const char* arguments;
    const char* sent;
} operations[] = {
    {"add_entry", "add_entry_with_selector", "sess tgt key prio hdl out",
     "pipe_mgr_mat_ent_add sess tgt tbl * act * 0 0 out"},
    {"modify_entry", "modify_entry_with_selector", "sess dev entry hdl",
     "pipe_mgr_mat_ent_set_action sess dev tbl entry act * 0"},
    {"modify_entry_by_match_spec", "modify_entry_with_selector_by_match_spec", "sess tgt key prio hdl",
     "pipe_mgr_mat_ent_set_action_by_match_spec sess tgt tbl * act * 0"},
    {"set_default_entry", "set_default_entry_with_selector", "sess tgt hdl out",
     "pipe_mgr_mat_default_entry_set sess tgt tbl act * 0 out"},
};

class Indirect : public ProfileTest {
protected:
    void expect_record(const Call& call, bool to_group) {
        const vl_model::ActionCopy record = call.action.value();
        EXPECT_EQ(record.kind, to_group ? 4 : 2);
        EXPECT_EQ(record.member_hdl, to_group ? 0 : names["hdl"]);
        EXPECT_EQ(record.group_hdl, to_group ? names["hdl"] : 0);
        EXPECT_TRUE(record.data_null);
        EXPECT_EQ(record.data_bits | record.data_len, 0);
        expect_clear_rest(record);
        if (call.match) expect_match(call);
    }
    void expect_match(const Call& call) {
        ASSERT_TRUE(call.match);
        // Of wide_values the first bytes are the value, and in lagGroup the next four the mask.
        const bool is_lag = names["prio"].has_value(), is_ecmp = profile->data_table == 0x200001a;
        EXPECT_EQ(hex(call.match->key), is_lag ? "f3 f2 f1" : "f2 f1");
        EXPECT_EQ(hex(call.match->mask), is_lag ? "07 f6 f5" : "ff ff");
        EXPECT_EQ(call.match->key_bits, is_lag ? 20 : is_ecmp ? 16 : 10);
        EXPECT_EQ(call.match->priority, names["prio"].value_or(0));
        EXPECT_EQ(call.match->partition_index | call.match->reserved, 0u);
    }

    void one_operation(Kind kind, bool to_group, uint32_t known, uint32_t other) {
        const auto& row = operations[kind];
        const std::string operation = to_group ? row.to_group : row.to_member;
        SCOPED_TRACE(operation);
        uint32_t out = 0xA5A5A5A5;
        names["out"] = word(&out);
        if (kind == modify || kind == modify_by_key) { // an entry of the other form turns to this one
            names["hdl"] = other;
            ASSERT_EQ(run_on_table(to_group ? "add_entry" : "add_entry_with_selector", "sess tgt key prio hdl out"),
                      0u);
            calls();
        }
        names["entry"] = out;
        const uint32_t before = out;
        const Lines expected = {
            to_group ? "p4_pd_ms_get_grp_act state dev hdl *" : "p4_pd_ms_get_mbr_act state dev hdl *",
            to_group ? "p4_pd_ms_grp_get_res state dev hdl * *" : "p4_pd_ms_mbr_get_res state dev hdl * *", row.sent};
        names["act"] = action(to_group ? 1 : 0).handle;

        names["hdl"] = 0x7777;
        EXPECT_EQ(run_on_table(operation, row.arguments), VL_MODEL_NOT_FOUND);
        expect_calls({expected[0]});
        names["hdl"] = known;
        vl_model::fail_call(std::string(row.sent).substr(0, std::string(row.sent).find(' ')), 1, 62);
        EXPECT_EQ(run_on_table(operation, row.arguments), 62u);
        expect_calls(expected);
        EXPECT_EQ(out, before);
        vl_model::fail_call(to_group ? "p4_pd_ms_grp_get_res" : "p4_pd_ms_mbr_get_res", 1, 63);
        EXPECT_EQ(run_on_table(operation, row.arguments), 0u) << "what it says of resources isn't looked at";
        expect_record(expect_calls(expected)[2], to_group);

        names["entry"] = out;
        if (kind == add) {
            uint32_t found = 0;
            names["found"] = word(&found);
            EXPECT_EQ(run_on_table("match_spec_to_entry_hdl", "sess tgt key prio found"), 0u);
            EXPECT_EQ(found, out);
            expect_match(expect_calls({"pipe_mgr_match_spec_to_ent_hdl sess tgt tbl * found 0"})[0]);
        }
        EXPECT_TRUE(kind == set_default || run_on_table("table_delete", "sess dev entry") == 0);
        calls();
    }
};

TEST_F(Indirect, EveryOperationOnEveryTable) {
    names["key"] = word(wide_values.data());
    for_profiles([&] {
        names["prio"] = profile->table == std::string("lagGroup") ? std::optional(77) : std::nullopt;
        const pd_member member = add_member();
        const pd_group group = add_group({member, add_member(1)}); // its action is not the member's
        for (const Kind kind : {add, modify, modify_by_key, set_default}) {
            one_operation(kind, false, member, group);
            one_operation(kind, true, group, member);
        }
    });
    EXPECT_EQ(vl_model::allocations_made(), 0u);
}

TEST_F(Indirect, TheRoadOfAnEcmpGroup) {
    use(catalog::program.profiles[1]);
    uint32_t members[3], group = 0, entry = 0, found[3] = {};
    p4_pd_velmar_switch_setEcmpNextHop_action_spec_t hop = {.action_nextHopTable = 2, .action_nextHop = 0x10000};
    for (uint32_t& member : members) {
        ++hop.action_nextHop;
        ASSERT_EQ(
            p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_with_setEcmpNextHop(session, target, &hop, &member),
            0u);
    }
    ASSERT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_create_group(session, target, 3, &group), 0u);
    const p4_pd_velmar_switch_ecmpGroup_match_spec_t key = {.l3_nextHop = 0x1234};
    EXPECT_NE(p4_pd_velmar_switch_ecmpGroup_add_entry_with_selector(session, target, &key, group, &entry), 0u)
        << "without a member the group has no action";
    for (const pd_member member : members)
        ASSERT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_to_group(session, device, group, member), 0u);
    ASSERT_EQ(p4_pd_velmar_switch_ecmpGroup_add_entry_with_selector(session, target, &key, group, &entry), 0u);

    p4_pd_velmar_switch_ecmpGroup_match_spec_t read = {};
    uint8_t has_mbr = 9, has_grp = 9, is_default = 9;
    ASSERT_EQ(p4_pd_velmar_switch_ecmpGroup_get_entry(session, device, entry, 1, &read, &has_mbr, &has_grp, &found[0],
                                                      &found[1], &is_default),
              0u);
    EXPECT_EQ(read.l3_nextHop, 0x1234u);
    EXPECT_TRUE(has_mbr == 0 && has_grp == 1 && is_default == 0);
    EXPECT_EQ(found[0], group);

    names["grp"] = group;
    names["out"] = word(found);
    EXPECT_EQ(run("get_first_group_member", "sess dev grp out"), 0u);
    EXPECT_EQ(found[0], members[0]);
    names["mbr"] = found[0];
    EXPECT_EQ(run("get_next_group_members", "sess dev grp mbr 3 out"), 0u);
    EXPECT_TRUE(found[0] == members[1] && found[1] == members[2] && found[2] == PD_HDL_END);
    pd_action_record record = {};
    ASSERT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_get_member(session, device, members[2], 1, &record), 0u);
    EXPECT_STREQ(p4_pd_velmar_switch_action_name_strings[record.action_id], "p4_pd_velmar_switch_setEcmpNextHop");
    p4_pd_velmar_switch_setEcmpNextHop_action_spec_t read_hop;
    std::memcpy(&read_hop, record.spec, sizeof read_hop);
    EXPECT_TRUE(read_hop.action_nextHopTable == 2 && read_hop.action_nextHop == hop.action_nextHop);

    names["entry"] = entry;
    EXPECT_EQ(run("del_group", "sess dev grp"), VL_MODEL_IN_USE);
    EXPECT_EQ(run_on_table("table_delete", "sess dev entry"), 0u);
    EXPECT_EQ(run("del_group", "sess dev grp"), 0u);
    EXPECT_NE(p4_pd_velmar_switch_ecmpGroup_add_entry_with_selector(session, target, &key, group, &entry), 0u);
    for (const pd_member member : members)
        EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_del_member(session, device, member), 0u);
}

} // namespace
