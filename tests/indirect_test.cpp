// Entries that point at a member or a group: what each of the eight operations asks the shadow and sends to the driver.
#include "support/profiles.h"

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
        // The first bytes of wide_values are the value. In lagGroup, the next four are the mask.
        const bool is_lag = names["prio"].has_value(), is_ecmp = profile->table == std::string("ecmpGroup");
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
        if (kind == modify || kind == modify_by_key) { // an entry that points at the other kind changes to this one
            names["hdl"] = other;
            ASSERT_EQ(run_on_table(to_group ? "add_entry" : "add_entry_with_selector", "sess tgt key prio hdl out"),
                      0u);
            calls();
        }
        names["entry"] = out;
        const Lines expected = {
            to_group ? "p4_pd_ms_get_grp_act state dev hdl *" : "p4_pd_ms_get_mbr_act state dev hdl *",
            to_group ? "p4_pd_ms_grp_get_res state dev hdl * *" : "p4_pd_ms_mbr_get_res state dev hdl * *", row.sent};
        names["act"] = action(to_group ? 1 : 0).handle;

        names["hdl"] = 0x7777;
        EXPECT_EQ(run_on_table(operation, row.arguments), VL_MODEL_NOT_FOUND);
        expect_calls({expected[0]});
        names["hdl"] = known;
        EXPECT_EQ(run_on_table(operation, row.arguments), 0u);
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

} // namespace
