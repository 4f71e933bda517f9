// Schemas by name and by handle: texts that readers have come to rely on, letter by letter. That all the others are
// what the catalog says is checked by check_literals.py.
#include "support/text.h"

namespace {

using namespace support;

std::string by_handle(uint32_t handle) {
    return text_of("cli_schema", {dirty(handle)});
}

TEST(Schemas, KeysAndActions) {
    EXPECT_STREQ(
        p4_pd_velmar_switch_ipv4Host_match_spec_schema(),
        "(( 'vrfId','l3Info_vrfId',8,0xff,None,None,None),( 'dip','ingIpv4_dip',32,0xffffffff,'v4addr',None,None),)");
    EXPECT_STREQ(p4_pd_velmar_switch_setNextHop_schema(), "( ('setNextHop'),(('nextHop',None,32,None),))");
    EXPECT_STREQ(p4_pd_velmar_switch_onMiss_schema(), "( ('onMiss'),())");
}

TEST(Schemas, TablesAndProfiles) {
    EXPECT_EQ(written(p4_pd_velmar_switch_queueCounters_schema),
              "( ('queueCounters','mat',(False,)),(),(( ('countEgressQueue'),()),))");
    EXPECT_EQ(written(p4_pd_velmar_switch_ecmpGroup_schema),
              "( ('ecmpGroup','mat',(True,)),(( 'nextHop','l3_nextHop',16,0x3ff,None,None,None),),"
              "( ('setMbrHdl',(('mbrHdl',None,32,None),)),( 'setGrpHdl', ( ( 'grpHdl', None, 32, None ), ) ) ))");
    EXPECT_EQ(written(p4_pd_velmar_switch_ecmpMemberActionProfile_schema),
              "(( ('NoAction'),()),( ('setEcmpNextHop'),(('nextHopTable',None,8,None),('nextHop',None,32,None),)),)");
    EXPECT_EQ(by_handle(0x1000023), written(p4_pd_velmar_switch_ipv4Host_schema));
    EXPECT_EQ(by_handle(0x1000023).size(), 342u);
}

TEST(Schemas, HandlesOfNobodyHaveTheEmptyOne) {
    for (const uint32_t handle : unknown_handles(Known::both))
        EXPECT_EQ(by_handle(handle), "()") << handle;
}

} // namespace
