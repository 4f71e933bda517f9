// Members of the action profiles: the calls of the driver and the shadow in their order, and the state after a refusal.
#include "support/profiles.h"

#include <cstring>

namespace {

using namespace support;
using vl_model::Call;

constexpr uint8_t untouched = 0xA5;

// How wide_values appear in the data of each action that has parameters, and how they are read back.
const struct Row {
    const char* action;
    uint16_t data_bits;
    const char *data, *spec;
} rows[] = {
    {"setLagMemberSelector", 10, "f2 f1", "f1 f2"},
    {"setEcmpNextHop", 40, "f1 f8 f7 f6 f5", "f1 00 00 00 f5 f6 f7 f8"},
    {"setEgrLagMemberSelector", 10, "f2 f1", "f1 f2"},
    {"setTunnelEgressInfo", 52, "f3 f2 f1 f8 f7 f6 f5", "f1 f2 f3 00 f5 f6 f7 f8"},
    {"setLagPort", 9, "f2 f1", "f1 f2"},
};

Row row_of(const catalog::Binding& binding) {
    const auto* const found = std::find_if(std::begin(rows), std::end(rows),
                                           [&](const Row& row) { return catalog::same(row.action, binding.action); });
    return found != std::end(rows) ? *found : Row{binding.action, 0, "", ""};
}

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
    for_profiles([&] {
        for (const catalog::Binding& own : profile->actions) {
            SCOPED_TRACE(own.action);
            const Row row = row_of(own);
            pd_member member = 0;
            names["out"] = word(&member);
            names["act"] = own.handle;
            name_spec(own);
            ASSERT_EQ(run(std::string("add_member_with_") + own.action, "sess tgt spec out"), 0u);
            names["mbr"] = member;
            expect_record(
                expect_calls({"pipe_mgr_adt_ent_add sess tgt adt act 0 * out 0", "p4_pd_ms_new_mbr sess state dev mbr",
                              "p4_pd_ms_set_mbr_act state dev mbr act"})[0],
                row);
            for (const catalog::Binding& other : profile->actions) {
                const bool same = &other == &own;
                name_spec(other);
                EXPECT_EQ(run(std::string("modify_member_with_") + other.action, "sess dev mbr spec"),
                          same ? 0 : PD_STATUS_MISMATCH);
                Lines expected = {"p4_pd_ms_get_mbr_act state dev mbr *"};
                if (same) expected.push_back("pipe_mgr_adt_ent_set sess dev adt mbr act * 0");
                const std::vector<Call> made = expect_calls(expected);
                if (same) expect_record(made[1], row);
            }
            for (const char* from_hw : {"0x100", "1"}) { // the driver gets the low 8 bits
                EXPECT_EQ(get(from_hw), 0u);
                const std::string flag = from_hw == std::string("1") ? "1" : "0";
                Lines expected = {"pipe_mgr_get_action_data_entry adt all_pipes mbr * * " + flag};
                if (row.data_bits != 0) expected.push_back("p4_pd_ms_mbr_get_res state dev mbr * *");
                EXPECT_EQ(expect_calls(expected)[0].action.value().data, Bytes(32)) << "room for 32 clear bytes";
                uint32_t number = 0;
                std::memcpy(&number, record.data(), sizeof number);
                EXPECT_EQ(number, catalog::number_of(catalog::program.actions, own.action));
                const std::string rest = hex(Bytes(record.begin() + 4, record.end())), spec = row.spec;
                EXPECT_EQ(rest.substr(0, spec.size()), spec);
                EXPECT_EQ(rest.find_first_not_of("a5 ", spec.size()), rest.npos) << "nothing after the parameters";
            }
            EXPECT_EQ(run("del_member", "sess dev mbr"), 0u);
            expect_calls({"pipe_mgr_adt_ent_del sess dev adt mbr 0", "p4_pd_ms_del_mbr sess state dev mbr"});
        }
    });
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

TEST_F(Members, AMemberThatTheShadowMissedCannotChange) {
    for_profiles([&] {
        pd_member member = 0;
        names["spec"] = word(wide_values.data());
        names["out"] = word(&member);
        for (const char* step : {"p4_pd_ms_new_mbr", "p4_pd_ms_set_mbr_act"}) {
            vl_model::fail_call(step, 1, 42);
            EXPECT_EQ(run(std::string("add_member_with_") + action(0).action, "sess tgt spec out"), 0u);
            calls();
            names["mbr"] = member;
            EXPECT_EQ(modify_first(), VL_MODEL_NOT_FOUND) << "the status is the shadow's, and the driver isn't called";
            expect_calls({"p4_pd_ms_get_mbr_act state dev mbr *"});
        }
    });
}

TEST_F(Members, AReadOfAForeignActionWritesNothing) {
    for_profiles([&] {
        names["mbr"] = add_member();
        calls();
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
    });
}

} // namespace
