// The second program, used through its generated header as an agent would use it. Shows that no part of the library
// depends on the program.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <vl_model/control.h>
#include <vl_model/observe.hpp>
#include <vl_pd/tiny_switch/functions.h>
#include <vl_pd/tiny_switch_pipeline.h>

namespace {

class TinySwitch : public testing::Test {
protected:
    void SetUp() override {
        vl_model_reset();
        p4_pd_tiny_switch_init();
        ASSERT_EQ(vl_model_device_add(0, &tiny_switch_pipeline), VL_MODEL_OK);
        ASSERT_EQ(vl_model_session_open(&session), VL_MODEL_OK);
    }
    void TearDown() override {
        EXPECT_EQ(p4_pd_tiny_switch_cleanup(), 0u);
    }

    std::string value(uint32_t table, pd_entry entry) const {
        char text[512];
        const int length = p4_pd_tiny_switch_entry_value(session, 0, table, entry, 1, text);
        return {text, static_cast<size_t>(length)};
    }

    pd_session session = 0;
    const pd_dev_tgt target = {0, PD_ALL_PIPES, 0};
    char action[61] = "";
    uint8_t is_default = 9;
};

TEST_F(TinySwitch, ExactTableWithCounterAndTimeToLive) {
    p4_pd_tiny_switch_hosts_match_spec_t key{};
    static_assert(sizeof key == 20 && offsetof(p4_pd_tiny_switch_hosts_match_spec_t, ip_dip) == 2);
    key.md_vrf = 7;
    key.ip_dip[15] = 1;
    key.ip_ttl = 64;
    const p4_pd_tiny_switch_setNextHop_action_spec_t hop = {0x123456};
    pd_entry entry = 0;
    ASSERT_EQ(p4_pd_tiny_switch_hosts_table_add_with_setNextHop(session, target, &key, &hop, 0, &entry), 0u);
    EXPECT_EQ(value(0x1000001, entry),
              "((( 0x07,0x00000000000000000000000000000001,0x40,),('setNextHop',(0x123456,)),),(0,True))");

    p4_pd_tiny_switch_hosts_match_spec_t found{};
    p4_pd_tiny_switch_setNextHop_action_spec_t data{};
    uint32_t number = 9;
    ASSERT_EQ(p4_pd_tiny_switch_hosts_get_entry(session, 0, entry, 1, &found, action, &data, &number, &is_default), 0u);
    EXPECT_EQ(std::memcmp(&found, &key, sizeof key), 0);
    EXPECT_STREQ(action, "p4_pd_tiny_switch_setNextHop");
    EXPECT_EQ(number, p4_pd_tiny_switch_action_setNextHop);
    EXPECT_EQ(data.action_nextHop, 0x123456u);

    char words[64];
    p4_pd_tiny_switch_stringify_counter_matchspec(session, 0, 0x1000001, entry, words);
    EXPECT_STREQ(words, "VRF 0x07 TTL 0x40 ");
    pd_counter_value count{};
    EXPECT_EQ(p4_pd_tiny_switch_counter_read_hostCount(session, 0, entry, 1, &count), 0u);
}

TEST_F(TinySwitch, MaskedTableWithMeterIndex) {
    p4_pd_tiny_switch_acl_match_spec_t key{};
    static_assert(sizeof key == 36 && offsetof(p4_pd_tiny_switch_acl_match_spec_t, md_port) == 2);
    key.md_port = 5;
    key.ip_proto = 17;
    key.ip_proto_mask = 0xFF;
    const p4_pd_tiny_switch_forward_action_spec_t forward = {3, 0x10002};
    vl_model::record_calls(true);
    vl_model::take_calls();
    pd_entry entry = 0;
    ASSERT_EQ(p4_pd_tiny_switch_acl_table_add_with_forward(session, target, &key, 10, &forward, &entry), 0u);
    const auto calls = vl_model::take_calls();
    vl_model::record_calls(false);
    ASSERT_EQ(calls.size(), 1u);
    ASSERT_TRUE(calls[0].action && calls[0].match);
    EXPECT_EQ(calls[0].action->slots[0].index, 2u) << "an add sends the low 16 bits";
    EXPECT_EQ(calls[0].match->priority, 10u);
    EXPECT_TRUE(p4_pd_tiny_switch_acl_supports_entry_priority());

    p4_pd_tiny_switch_acl_match_spec_t found{};
    p4_pd_tiny_switch_forward_action_spec_t data{};
    uint32_t priority = 0;
    ASSERT_EQ(
        p4_pd_tiny_switch_acl_get_entry(session, 0, entry, 0, &found, &priority, action, &data, nullptr, &is_default),
        0u);
    EXPECT_EQ(data.action_rate, 2u) << "from the slot, not from the data";
    EXPECT_EQ(std::memcmp(&found, &key, sizeof key), 0);
}

TEST_F(TinySwitch, PrefixTableAndKeylessTable) {
    p4_pd_tiny_switch_routes_match_spec_t key{};
    key.md_part = 4;
    key.ipv4_dip = 0x0A010203;
    key.ipv4_dip_prefix_length = 16;
    pd_entry entry = 0;
    ASSERT_EQ(p4_pd_tiny_switch_routes_table_add_with_drop(session, target, &key, &entry), 0u);
    EXPECT_EQ(value(0x1000010, entry), "((( 0x0004,0x0a010000,0x0010,),('drop',()),),(0,True))");

    pd_entry tail = 0;
    EXPECT_EQ(p4_pd_tiny_switch_tail_set_default_action_drop(session, target, &tail), 0u);
    ASSERT_EQ(p4_pd_tiny_switch_entry_hdl_default(session, target, 0x1000012, &tail), 0u);
    EXPECT_EQ(value(0x1000012, tail), "(((),('drop',()),),(0,True))");
}

TEST_F(TinySwitch, ProfileWithSelector) {
    const p4_pd_tiny_switch_send_action_spec_t send = {8, 0xAABBCCDD};
    pd_member member = 0;
    pd_group group = 0;
    ASSERT_EQ(p4_pd_tiny_switch_hops_add_member_with_send(session, target, &send, &member), 0u);
    ASSERT_EQ(p4_pd_tiny_switch_hops_create_group(session, target, 4, &group), 0u);
    ASSERT_EQ(p4_pd_tiny_switch_hops_add_member_to_group(session, 0, group, member), 0u);
    p4_pd_tiny_switch_nextHop_match_spec_t key{};
    static_assert(sizeof key == 4);
    key.md_nextHop = 0x21234;
    pd_entry entry = 0;
    ASSERT_EQ(p4_pd_tiny_switch_nextHop_add_entry_with_selector(session, target, &key, group, &entry), 0u);
    uint8_t has_mbr = 9;
    uint8_t has_grp = 9;
    pd_group found = 0;
    ASSERT_EQ(p4_pd_tiny_switch_nextHop_get_entry(session, 0, entry, 0, &key, &has_mbr, &has_grp, &found, &member,
                                                  &is_default),
              0u);
    EXPECT_EQ(key.md_nextHop, 0x1234u) << "the key takes 16 of the record's 32 bits";
    EXPECT_EQ(has_grp, 1);
    EXPECT_EQ(found, group);
}

TEST_F(TinySwitch, ResourcesServicesAndTexts) {
    const uint32_t written = 0xCAFE;
    ASSERT_EQ(p4_pd_tiny_switch_register_write_seen(session, target, 3, &written), 0u);
    uint32_t values[16] = {};
    uint32_t count = 0;
    ASSERT_EQ(p4_pd_tiny_switch_register_read_seen(session, target, 3, 1, values, &count), 0u);
    ASSERT_NE(count, 0u);
    EXPECT_EQ(values[0], written);

    uint32_t size = 0;
    const uint8_t learned[6] = {};
    EXPECT_EQ(p4_pd_tiny_switch_get_digest_entry_size("learned"), sizeof learned);
    EXPECT_EQ(p4_pd_tiny_switch_get_digest_entry_field(learned, "learned", "md_port", &size), learned + 4);

    char schema[512];
    p4_pd_tiny_switch_cli_schema(0x2000001, schema);
    EXPECT_STREQ(schema, "(( ('drop'),()),( ('send'),(('port',None,9,None),('dmac',None,32,None),)),)");
    EXPECT_EQ(p4_pd_tiny_switch_action_string_to_enum("p4_pd_tiny_switch_send"), p4_pd_tiny_switch_action_send);
}

} // namespace
