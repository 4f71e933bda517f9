// Value strings of entries: what is read for them, what the text consists of, and failed reads. check_literals.py
// checks keys and actions for the whole catalog, and round_trip_test.cpp the entries of all direct tables.
#include "support/text.h"

#include "pd_velmar/value.h"

namespace {

using namespace support;

class Values : public LibraryTest {
protected:
    static constexpr p4_pd_velmar_switch_setNextHop_action_spec_t hop = {.action_nextHop = 5};

    std::string value(const char* table, pd_entry entry) {
        return value_of_entry(table_named(table), session, entry);
    }

    pd_entry add_host() {
        const p4_pd_velmar_switch_ipv4Host_match_spec_t key = {.l3Info_vrfId = 1, .ingIpv4_dip = 0x0A000001};
        pd_entry entry = 0;
        EXPECT_EQ(p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop(session, target, &key, &hop, &entry), 0u);
        calls();
        return entry;
    }
};

TEST_F(Values, EntriesWithAnAction) {
    EXPECT_EQ(value("ipv4Host", add_host()), "((( 0x01,0x0a000001,),('setNextHop',(0x00000005,)),),(0,True))");
    pd_entry entry = 0;
    ASSERT_EQ(p4_pd_velmar_switch_ipv4Host_set_default_action_onMiss(session, target, &entry), 0u);
    EXPECT_EQ(value("ipv4Host", entry), "(((),('onMiss',()),),(0,True))");
}

TEST_F(Values, MembersAndGroups) {
    const p4_pd_velmar_switch_setEcmpNextHop_action_spec_t next = {.action_nextHopTable = 2, .action_nextHop = 1};
    pd_member member = 0;
    ASSERT_EQ(
        p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_with_setEcmpNextHop(session, target, &next, &member),
        0u);
    const p4_pd_velmar_switch_ecmpGroup_match_spec_t key = {.l3_nextHop = 0x1123}; // narrowed to 0x3ff
    pd_entry entry = 0;
    ASSERT_EQ(p4_pd_velmar_switch_ecmpGroup_add_entry(session, target, &key, member, &entry), 0u);
    // The driver may make any handle.
    const auto answered = [&](uint8_t kind, uint32_t handle, const char* table = "ecmpGroup") {
        vl_model::set_answer_hook([=](auto&, pipe_action_record& action, auto&) {
            action.kind = kind;
            action.member_hdl = action.group_hdl = handle;
        });
        return value(table, entry);
    };
    EXPECT_EQ(answered(PIPE_KIND_MEMBER, 0x11), "((( 0x0123,),('setMbrHdl',(0x11,))),(0,True))");
    EXPECT_EQ(answered(PIPE_KIND_GROUP, 0x20000001), "((( 0x0123,),('setGrpHdl',(0x20000001,))),(0,True))");
    EXPECT_EQ(answered(0, 0x11), "((( 0x0123,),),(0,True))");

    const p4_pd_velmar_switch_setLagPort_action_spec_t port = {};
    ASSERT_EQ(p4_pd_velmar_switch_lagPortActionProfile_add_member_with_setLagPort(session, target, &port, &member), 0u);
    const p4_pd_velmar_switch_lagGroup_match_spec_t lag = {.egrMd_egrL2AintfUnresolved = 0x12340,
                                                           .egrMd_egrL2AintfUnresolved_mask = 0xFFFF0};
    ASSERT_EQ(p4_pd_velmar_switch_lagGroup_add_entry(session, target, &lag, 77, member, &entry), 0u);
    EXPECT_EQ(answered(PIPE_KIND_MEMBER, 0xABCDEF01, "lagGroup"),
              "((( 0x12340,0xffff0,),('setMbrHdl',(0xabcdef01,))),(77,True))");
    vl_model::set_answer_hook([](pipe_match_record& match, pipe_action_record& action, auto&) {
        match.key_len = 0;
        action.kind = PIPE_KIND_MEMBER;
        action.member_hdl = 0;
    });
    EXPECT_EQ(value("lagGroup", entry), "(((),('setMbrHdl',(0x0,))),(77,True))");

    // No read gives both; the member would come first.
    char target_text[32];
    char* const end =
        vl_pd::value::put_target(target_text, {.has_mbr = 1, .has_grp = 1, .grp_hdl = 0x22, .mbr_hdl = 0x11});
    EXPECT_EQ(std::string(target_text, end), "('setMbrHdl',(0x11,))");
}

TEST_F(Values, EveryIndirectTableHasItsOwnHandle) {
    for (const catalog::Profile& profile : catalog::program.profiles) {
        SCOPED_TRACE(profile.table);
        calls();
        EXPECT_EQ(value(profile.table, 1), "") << "there is no such entry";
        const std::vector<vl_model::Call> reads = calls_of("pipe_mgr_get_entry");
        ASSERT_EQ(reads.size(), 2u);
        EXPECT_EQ(reads[0].args[1], table_named(profile.table).handle);
        EXPECT_EQ(reads[1].args[1], reads[0].args[1]) << "by the table's handle";
    }
}

TEST_F(Values, ADefaultEntryHasThePriorityOfTheAnswer) {
    const p4_pd_velmar_switch_trapToCpu_match_spec_t key = {};
    const p4_pd_velmar_switch_trapPacket_action_spec_t action = {.action_cpuReasonCode = 42};
    pd_entry entry = 0;
    ASSERT_EQ(p4_pd_velmar_switch_trapToCpu_table_add_with_trapPacket(session, target, &key, 1, &action, &entry), 0u);
    vl_model::set_answer_hook([](pipe_match_record& match, auto&, auto&) {
        match.key_len = 0;
        match.priority = 0x80000000;
    });
    EXPECT_EQ(value("trapToCpu", entry), "(((),('trapPacket',(0x2a,)),),(-2147483648,True))");
}

TEST_F(Values, ReadsPassTheFlagOnAndEightBitsOfTheDevice) {
    const pd_entry entry = add_host();
    const uint64_t wide_device = 0xABCD00 | device;
    const auto expect_read = [&](uint64_t from_hw) {
        const vl_model::Call read = calls_of("pipe_mgr_get_entry").back();
        EXPECT_EQ(read.args[0], session);
        EXPECT_EQ(read.args[1], 0x1000023u);
        EXPECT_EQ(read.args[2], all_pipes_word);
        EXPECT_EQ(read.args[3], entry);
        EXPECT_EQ(read.args[7], from_hw);
    };
    for (const uint64_t from_hw : {0u, 1u, 0x100u}) {
        EXPECT_NE(text_of("ipv4Host_value", {session, wide_device, entry, from_hw}), "");
        expect_read(from_hw & 0xFF);
        EXPECT_NE(text_of("entry_value", {session, wide_device, 0x1000023, entry, from_hw}), "");
        expect_read(from_hw & 0xFF);
    }
}

TEST_F(Values, FailedReadsLeaveTheBufferAlone) {
    const pd_entry host = add_host();
    EXPECT_EQ(value("ipv4Host", host + 1), "");
    EXPECT_EQ(value("queueCounters", 1), "");
    vl_model::set_answer_hook([](auto&, auto&, uint32_t& action) { action = 0x20000004; }); // of another table
    EXPECT_EQ(value("ipv4Host", host), "");
}

} // namespace
