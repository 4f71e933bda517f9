// Members of the action profiles: what reaches the driver and the shadow, in which order, and what is left when either
// refuses.
#include "support/profiles.h"

#include <cstring>

namespace {

using namespace support;
using vl_model::Call;

constexpr uint8_t untouched = 0xA5;

// The actions of the profiles, with what wide_values are in their data and how they come back.
const struct Row {
    size_t profile;
    const char* action;
    uint32_t handle;
    uint32_t number;
    uint16_t data_bits;
    const char* data;
    const char* spec;
} rows[] = {
    {0, "NoAction", 0x200000ce, 1, 0, "", ""},
    {0, "setLagMemberSelector", 0x200000cd, 168, 10, "f2 f1", "f1 f2"},
    {1, "NoAction", 0x200000b6, 1, 0, "", ""},
    {1, "setEcmpNextHop", 0x200000b5, 169, 40, "f1 f8 f7 f6 f5", "f1 00 00 00 f5 f6 f7 f8"},
    {2, "NoAction", 0x20000128, 1, 0, "", ""},
    {2, "setEgrLagMemberSelector", 0x20000127, 176, 10, "f2 f1", "f1 f2"},
    {3, "NoAction", 0x200000db, 1, 0, "", ""},
    {3, "setTunnelEgressInfo", 0x200000da, 217, 52, "f3 f2 f1 f8 f7 f6 f5", "f1 f2 f3 00 f5 f6 f7 f8"},
    {4, "setLagPort", 0x200000fc, 239, 9, "f2 f1", "f1 f2"},
    {4, "setPhysicalPort", 0x200000fd, 240, 0, "", ""},
    {4, "setTunnelInfo", 0x200000fe, 241, 0, "", ""},
    {4, "invalidateUcastEgressPort", 0x200000ff, 242, 0, "", ""},
    {4, "fixL2SubintfAlignment", 0x20000100, 243, 0, "", ""},
};

class Members : public ProfileTest {
protected:
    Bytes record;

    static void expect_record(const Call& call, const Row& row) {
        const vl_model::ActionCopy action = call.action.value();
        EXPECT_EQ(action.kind, 0);
        EXPECT_FALSE(action.data_null) << "also without parameters";
        EXPECT_EQ(hex(action.data), row.data);
        EXPECT_EQ(action.data_bits, row.data_bits);
        EXPECT_EQ(action.member_hdl | action.group_hdl, 0u);
        expect_clear_rest(action);
    }

    // A read of "mbr" into a record of which nothing has been written.
    pd_status get(const char* from_hw = "0") {
        record.assign(20, untouched);
        names["record"] = word(record.data());
        return run("get_member", std::string("99 dev mbr ") + from_hw + " record");
    }
    pd_status modify_first(const Bytes& spec = wide_values) {
        names["spec"] = word(spec.data());
        return run(std::string("modify_member_with_") + action(0).action, "sess dev mbr spec");
    }
};

TEST_F(Members, EveryActionOfEveryProfile) {
    for (const Row& row : rows) {
        use(catalog::program.profiles[row.profile]);
        SCOPED_TRACE(std::string(profile->name) + " " + row.action);
        pd_member member = 0;
        names["out"] = word(&member);
        names["act"] = row.handle;
        name_spec(*catalog::find_binding(profile->actions, row.action));
        ASSERT_EQ(run(std::string("add_member_with_") + row.action, "sess tgt spec out"), 0u);
        names["mbr"] = member;
        expect_record(
            expect_calls({"pipe_mgr_adt_ent_add sess tgt adt act 0 * out 0", "p4_pd_ms_new_mbr sess state dev mbr",
                          "p4_pd_ms_set_mbr_act state dev mbr act"})[0],
            row);
        for (const catalog::Binding& binding : profile->actions) {
            const bool own = binding.handle == row.handle;
            name_spec(binding);
            EXPECT_EQ(run(std::string("modify_member_with_") + binding.action, "sess dev mbr spec"),
                      own ? 0 : PD_STATUS_MISMATCH);
            Lines expected = {"p4_pd_ms_get_mbr_act state dev mbr *"};
            if (own) expected.push_back("pipe_mgr_adt_ent_set sess dev adt mbr act * 0");
            const std::vector<Call> made = expect_calls(expected);
            if (own) expect_record(made[1], row);
        }
        for (const char* from_hw : {"0x100", "1"}) {
            EXPECT_EQ(get(from_hw), 0u);
            const std::string flag = from_hw == std::string("1") ? "1" : "0"; // eight bits of it count
            Lines expected = {"pipe_mgr_get_action_data_entry adt all_pipes mbr * * " + flag};
            if (row.data_bits != 0) expected.push_back("p4_pd_ms_mbr_get_res state dev mbr * *");
            EXPECT_EQ(expect_calls(expected)[0].action.value().data, Bytes(32))
                << "room for 32 bytes, all of them zero";
            uint32_t number = 0;
            std::memcpy(&number, record.data(), sizeof number);
            EXPECT_EQ(number, row.number);
            const std::string rest = hex(Bytes(record.begin() + 4, record.end())), spec = row.spec;
            EXPECT_EQ(rest.substr(0, spec.size()), spec);
            EXPECT_EQ(rest.find_first_not_of("a5 ", spec.size()), rest.npos) << "nothing behind the parameters";
        }
        EXPECT_EQ(run("del_member", "sess dev mbr"), 0u);
        expect_calls({"pipe_mgr_adt_ent_del sess dev adt mbr 0", "p4_pd_ms_del_mbr sess state dev mbr"});
    }
    EXPECT_EQ(vl_model::allocations_made(), 0u);
}

TEST_F(Members, OneCallOperations) {
    const char* const operations[][3] = {
        {"get_first_member", "sess tgt out", "pipe_mgr_get_first_entry_handle sess adt tgt out"},
        {"get_next_members", "sess tgt 5 1 out", "pipe_mgr_get_next_entry_handles sess adt tgt 5 1 out"},
        {"get_act_prof_entry_count", "sess tgt out", "pipe_mgr_get_entry_count sess tgt adt 0 out"},
        {"register_adt_update_cb", "sess tgt out cookie", "pipe_register_adt_update_cb sess tgt adt out cookie"},
    };
    expect_profile_forwards(operations, "get_adt_table_handle", &catalog::Profile::data_table);
}

TEST_F(Members, Refusals) {
    for_profiles([&] {
        pd_member member = 0;
        names["spec"] = word(wide_values.data());
        names["out"] = word(&member);
        const std::string add = std::string("add_member_with_") + action(0).action;
        vl_model::fail_call("pipe_mgr_adt_ent_add", 1, 41);
        EXPECT_EQ(run(add, "sess tgt spec out"), 41u);
        EXPECT_EQ(functions_called(), Lines{"pipe_mgr_adt_ent_add"});
        for (const char* step : {"p4_pd_ms_new_mbr", "p4_pd_ms_set_mbr_act"}) {
            vl_model::fail_call(step, 1, 42);
            EXPECT_EQ(run(add, "sess tgt spec out"), 0u);
            EXPECT_EQ(calls().size(), 3u) << "one step of the shadow's follows the other";
            names["mbr"] = member;
            EXPECT_EQ(modify_first(), VL_MODEL_NOT_FOUND) << "the shadow's status, and no call of the driver";
            expect_calls({"p4_pd_ms_get_mbr_act state dev mbr *"});
        }

        names["mbr"] = member = add_member();
        EXPECT_EQ(get(), 0u);
        const Bytes before = record;
        calls();
        vl_model::fail_call("pipe_mgr_adt_ent_set", 1, 43);
        EXPECT_EQ(modify_first(Bytes(8, 1)), 43u);
        EXPECT_EQ(calls().size(), 2u);
        EXPECT_EQ(get(), 0u);
        EXPECT_EQ(record, before);
        EXPECT_EQ(modify_first(Bytes(8, 1)), 0u);
        EXPECT_EQ(get(), 0u);
        EXPECT_NE(record, before);

        const pd_group group = add_group({member});
        EXPECT_EQ(run("del_member", "sess dev mbr"), VL_MODEL_IN_USE);
        EXPECT_EQ(functions_called(), Lines{"pipe_mgr_adt_ent_del"}) << "the shadow keeps the member";
        EXPECT_EQ(call(exported(profile->name) + "_del_group", {session, device, group}), 0u);
        vl_model::fail_call("p4_pd_ms_del_mbr", 1, 44);
        EXPECT_EQ(run("del_member", "sess dev mbr"), 0u) << "what the shadow says isn't looked at";
        calls();
    });
}

TEST_F(Members, FailedReadsWriteNothing) {
    for_profiles([&] {
        names["mbr"] = add_member();
        vl_model::fail_call("pipe_mgr_get_action_data_entry", 1, 46);
        EXPECT_EQ(get(), 46u);
        EXPECT_EQ(record, Bytes(20, untouched));
        EXPECT_EQ(functions_called(), Lines{"pipe_mgr_get_action_data_entry"});
        const size_t other = profile == catalog::program.profiles.begin() ? 1 : 0;
        vl_model::set_member_answer_hook([&](auto&, uint32_t& action_hdl) {
            action_hdl =
                catalog::program.profiles[other].actions.begin()[1].handle; // also a NoAction, but not this one
        });
        EXPECT_EQ(get(), PD_STATUS_UNEXPECTED);
        vl_model::set_member_answer_hook({});
        EXPECT_EQ(record, Bytes(20, untouched));
        const std::vector<Call> made = calls();
        ASSERT_EQ(made.size(), 3u) << "the read, the debug mode, and one line";
        const std::string line = exported(profile->name) + "_get_member:";
        EXPECT_TRUE(made[2].text.starts_with("ASSERTION FAILED: \"((void *)0)\" (NULL) from " + line)) << made[2].text;
        EXPECT_TRUE(made[2].args[0] == 0 && made[2].args[1] == 2) << "module and level";

        vl_model::fail_call("p4_pd_ms_mbr_get_res", 1, 47);
        EXPECT_EQ(get(), 0u) << "what it says isn't looked at";
        EXPECT_EQ(record[4], wide_values[0]);
        calls();
    });
}

} // namespace
