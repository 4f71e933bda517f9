// The example leaf switch: what it has after the bring-up, what it does when packets come, what happens if the driver
// refuses one of its calls, and that nothing is left at the end.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <numeric>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "leaf_switch/leaf_switch.h"
#include "leaf_switch/packets.h"
#include "vl_driver/snapshot.h"
#include "vl_model/control.h"
#include "vl_model/observe.hpp"
#include "vl_model/traffic.h"

namespace {

using namespace leaf_switch;

const std::set<std::string> making = {"pipe_mgr_mat_ent_add",     "pipe_mgr_mat_default_entry_set",
                                      "pipe_mgr_adt_ent_add",     "pipe_mgr_sel_grp_add",
                                      "pipe_mgr_sel_grp_mbr_add", "pipe_mgr_lrn_digest_notification_register",
                                      "pipe_mgr_pvs_entry_add"};
const std::set<std::string> undoing = {
    "pipe_mgr_mat_ent_del", "pipe_mgr_mat_tbl_default_entry_reset",        "pipe_mgr_adt_ent_del",
    "pipe_mgr_sel_grp_del", "pipe_mgr_lrn_digest_notification_deregister", "pipe_mgr_pvs_entry_delete"};

constexpr Station desk = {{0x020000, 0x000031}, server_vlan, 3};
constexpr Station printer = {{0x020000, 0x000032}, server_vlan, 4};
constexpr Station backup = {{0x020000, 0x000041}, storage_vlan, lag_interface};

// What the call throws, or an empty text.
std::string refusal_of(const std::function<void()>& call) {
    try {
        call();
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

std::string refusal_of_bring_up() {
    return refusal_of([] {
        Leaf leaf = bring_up();
        shut_down(leaf);
    });
}

void expect_in(const std::string& text, const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        EXPECT_NE(text.find(line), std::string::npos) << line << text;
    }
}

// The leaf switch, brought up. A test may shut it down.
class LeafSwitch : public testing::Test {
protected:
    LeafSwitch() {
        vl_model_reset();
        leaf = bring_up();
    }
    ~LeafSwitch() override {
        EXPECT_EQ(refusal_of([&] { shut_down(leaf); }), "");
        EXPECT_EQ(vl_model::live_allocations(), 0u);
        vl_model::record_calls(false);
        vl_model_reset();
    }

    size_t send(const std::vector<Station>& senders) {
        return send_frames(leaf, senders);
    }

    // The time to live of the station's source entry; nothing if there is none.
    std::optional<uint32_t> source_ttl(const Station& station) {
        const p4_pd_velmar_switch_l2LearningLookup_match_spec_t key = {station.mac.oui, station.mac.station,
                                                                       station.vlan, station.interface};
        pd_entry entry = 0;
        if (p4_pd_velmar_switch_l2LearningLookup_match_spec_to_entry_hdl(leaf.session, leaf.target, &key, &entry) != 0)
            return std::nullopt;
        uint32_t ttl = 0;
        EXPECT_EQ(p4_pd_velmar_switch_l2LearningLookup_get_ttl(leaf.session, leaf.target.dev_id, entry, &ttl), 0u);
        return ttl;
    }

    // The interface that frames to the station leave by; nothing if they are flooded.
    std::optional<uint32_t> way_to(const Mac& mac, uint16_t vlan) {
        p4_pd_velmar_switch_l2Lookup_match_spec_t key = {mac.oui, mac.station, vlan};
        pd_entry entry = 0;
        if (p4_pd_velmar_switch_l2Lookup_match_spec_to_entry_hdl(leaf.session, leaf.target, &key, &entry) != 0)
            return std::nullopt;
        pd_action_record out = {};
        uint8_t is_default = 0;
        EXPECT_EQ(p4_pd_velmar_switch_l2Lookup_get_entry(leaf.session, leaf.target.dev_id, entry, 0, &key, nullptr,
                                                         &out.spec, &out.action_id, &is_default),
                  0u);
        EXPECT_STREQ(p4_pd_velmar_switch_action_enum_to_string(out.action_id),
                     "p4_pd_velmar_switch_l2LookupKnownUcast");
        p4_pd_velmar_switch_l2LookupKnownUcast_action_spec_t spec = {};
        std::memcpy(&spec, out.spec, sizeof spec);
        return spec.action_egrL2Aintf;
    }

    void expect_known(const Station& station) {
        EXPECT_EQ(source_ttl(station), 300'000u) << station.mac.station;
        EXPECT_EQ(way_to(station.mac, station.vlan), station.interface) << station.mac.station;
    }

    void expect_unknown(const Station& station) {
        EXPECT_FALSE(source_ttl(station)) << station.mac.station;
        EXPECT_FALSE(way_to(station.mac, station.vlan)) << station.mac.station;
    }

    uint32_t unacknowledged() {
        uint32_t count = 0;
        EXPECT_EQ(vl_model_digest_unacked(leaf.target.dev_id, p4_pd_velmar_switch_digest_macLearningDigest, &count),
                  0u);
        return count;
    }

    uint32_t count_of(const std::string& table) {
        for (const auto& [name, count] : table_counts(leaf))
            if (name == table) return count;
        ADD_FAILURE() << table;
        return 0;
    }

    Leaf leaf;
};

TEST_F(LeafSwitch, StandsAfterTheBringUpAndIsGoneAfterTheShutDown) {
    shut_down(leaf);
    vl_model::record_calls(true);
    leaf = bring_up();

    std::map<std::string, uint32_t> counts;
    for (const TableCount& table : table_counts(leaf)) {
        EXPECT_GT(table.count, 0u) << table.name;
        counts[table.name] = table.count;
    }
    EXPECT_EQ(counts["ingressPortMapping"], 8u);
    EXPECT_EQ(counts["l2DomainLookup"], 6u);
    EXPECT_EQ(counts["nextHop0"], 5u);
    EXPECT_EQ(counts["lagGroup"], 2u);
    EXPECT_EQ(counts["members of lagPortActionProfile"], 4u);
    EXPECT_EQ(spine_next_hops(leaf), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(lag_ports_in_use(leaf), (std::vector<uint32_t>{5, 6}));

    // The shutdown checks only counted tables, so every table with entries must be counted.
    std::set<uint64_t> filled;
    std::set<uint64_t> looked_at;
    for (const vl_model::Call& call : vl_model::take_calls()) {
        if (call.function == "pipe_mgr_mat_ent_add") filled.insert(call.args[2]);
        if (call.function == "pipe_mgr_get_entry_count") looked_at.insert(call.args[2]);
    }
    EXPECT_GT(filled.size(), 20u);
    EXPECT_TRUE(std::includes(looked_at.begin(), looked_at.end(), filled.begin(), filled.end()));

    shut_down(leaf);
    EXPECT_TRUE(leaf.undo.empty());
    EXPECT_THROW(table_counts(leaf), Refused); // the device is gone
    EXPECT_EQ(refusal_of_bring_up(), "");      // the switch can be brought up again
}

TEST_F(LeafSwitch, TellsWhatStands) {
    std::ostringstream out;
    print_summary(leaf, out);
    expect_in(out.str(),
              {"  ipv4Host                              3\n", "\nECMP group, next hops: 1 2\n", "\nLAG, ports: 5 6\n",
               "\nipv4Host, 10.0.10.11 in VRF 1: p4_pd_velmar_switch_setNextHop 101\n",
               "\nfinalDropControl, by default: p4_pd_velmar_switch_accept\n"});
}

TEST_F(LeafSwitch, StopsAtARefusalAndTakesDownWhatStood) {
    shut_down(leaf);
    vl_model::fail_call("pipe_mgr_sel_grp_add", 1, VL_MODEL_TABLE_FULL);
    EXPECT_EQ(refusal_of_bring_up(), std::string("adding the LAG was refused with status 9: TABLE_FULL (") +
                                         vl_model_status_text(VL_MODEL_TABLE_FULL) + ")");

    vl_model::record_calls(true);
    for (const std::string& function : making) {
        unsigned nth = 1;
        for (;; ++nth) {
            vl_model::fail_call(function, nth, VL_MODEL_BAD_DATA);
            const std::string refusal = refusal_of_bring_up();
            vl_model::clear_faults();
            const std::vector<vl_model::Call> calls = vl_model::take_calls();
            if (refusal.empty()) break;
            EXPECT_NE(refusal.find("BAD_DATA"), std::string::npos) << refusal;
            // Nothing is made after the refused call, and everything made is undone; memberships go with their group.
            size_t made = 0;
            size_t undone = 0;
            bool refused = false;
            for (const vl_model::Call& call : calls) {
                EXPECT_FALSE(refused && making.contains(call.function)) << refusal;
                if (making.contains(call.function) && call.status != 0) refused = true;
                if (call.status != 0) continue;
                made += making.contains(call.function) && call.function != "pipe_mgr_sel_grp_mbr_add";
                undone += undoing.contains(call.function);
            }
            EXPECT_TRUE(refused) << refusal;
            EXPECT_EQ(made, undone) << refusal;
        }
        EXPECT_GT(nth, 1u) << function; // there was such a call to refuse
    }
}

TEST_F(LeafSwitch, IsTakenDownToTheEndEvenIfTheDriverKeepsAnEntry) {
    vl_model::fail_call("pipe_mgr_mat_ent_del", 1, VL_MODEL_NO_MEMORY);
    EXPECT_TRUE(refusal_of([&] {
                    shut_down(leaf);
                }).starts_with("removing the trap of BGP was refused with status 2: NO_MEMORY"));
    EXPECT_TRUE(leaf.undo.empty());
    EXPECT_EQ(refusal_of_bring_up(), "");

    // Counting finds what wasn't removed.
    leaf = bring_up();
    leaf.undo.pop_back();
    EXPECT_EQ(refusal_of([&] { shut_down(leaf); }), "1 left at the end in trapToCpu");
}

TEST_F(LeafSwitch, LearnsWhoSendsAndFollowsWhoMoves) {
    expect_unknown(desk);
    // Twice in a digest: both frames came before the first was learned.
    EXPECT_EQ(send({desk, printer, desk, backup}), 4u);
    for (const Station& station : {desk, printer, backup})
        expect_known(station);
    EXPECT_EQ(learned_stations(leaf), (std::vector<Station>{desk, printer, backup}));
    EXPECT_EQ(unacknowledged(), 0u);
    EXPECT_EQ(send({desk, printer, backup}), 0u) << "known sources raise no digest";

    Station moved = desk;
    moved.interface = 1;
    EXPECT_EQ(send({moved}), 1u);
    expect_known(moved);
    EXPECT_FALSE(source_ttl(desk));
    // The same MAC in another VLAN is another station.
    Station elsewhere = desk;
    elsewhere.vlan = storage_vlan;
    EXPECT_EQ(send({elsewhere}), 1u);
    expect_known(elsewhere);
    expect_known(moved);

    // Stations behind tunnels aren't learned.
    EXPECT_EQ(send({{printer.mac, printer.vlan, 0x80001}}), 0u);
    expect_known(printer);

    // No station takes the place of a configured host.
    const Host& host = hosts[0];
    EXPECT_EQ(send({{host.mac, host.vlan, 4}}), 1u);
    EXPECT_EQ(way_to(host.mac, host.vlan), host.interface);
    EXPECT_FALSE(source_ttl({host.mac, host.vlan, 4}));
    EXPECT_EQ(count_of("l2LearningLookup"), std::size(hosts) + 4);
    EXPECT_EQ(count_of("l2Lookup"), std::size(hosts) + 4);
    EXPECT_EQ(unacknowledged(), 0u);

    shut_down(leaf); // checks that no entry is left
    EXPECT_TRUE(learned_stations(leaf).empty());
}

TEST_F(LeafSwitch, ForgetsWhoIsSilent) {
    send({desk, printer, backup});
    pass_time(200);
    send({printer});
    pass_time(99);
    EXPECT_EQ(forget_silent(leaf), 0u);
    expect_known(desk);
    pass_time(1);
    EXPECT_EQ(forget_silent(leaf), 2u);
    expect_unknown(desk);
    expect_known(printer);
    expect_unknown(backup);
    EXPECT_EQ(learned_stations(leaf), (std::vector<Station>{printer}));

    // The printer times out, but moves before the agent looks, so it isn't silent.
    pass_time(200);
    Station moved = printer;
    moved.interface = 1;
    send({moved});
    EXPECT_EQ(forget_silent(leaf), 0u);
    expect_known(moved);

    // A refused removal is done the next time.
    pass_time(300);
    vl_model::fail_call("pipe_mgr_mat_ent_del", 2, VL_MODEL_NO_MEMORY);
    EXPECT_THROW(forget_silent(leaf), Refused);
    EXPECT_EQ(forget_silent(leaf), 1u);
    expect_unknown(moved);

    pass_time(24 * 60 * 60);
    EXPECT_EQ(forget_silent(leaf), 0u);
    for (const Host& host : hosts) {
        EXPECT_EQ(source_ttl({host.mac, host.vlan, host.interface}), 0u) << "configured hosts don't age";
        EXPECT_EQ(way_to(host.mac, host.vlan), host.interface);
    }
    EXPECT_EQ(count_of("l2LearningLookup"), std::size(hosts));
}

TEST_F(LeafSwitch, LearnsNothingByHalves) {
    for (const unsigned refused : {1u, 2u}) { // which of a station's two entries
        vl_model::fail_call("pipe_mgr_mat_ent_add", refused, VL_MODEL_TABLE_FULL);
        EXPECT_THROW(send({desk, printer}), Refused);
        expect_unknown(desk);
        expect_known(printer); // the rest of the digest isn't lost
        EXPECT_EQ(learned_stations(leaf), (std::vector<Station>{printer}));
        EXPECT_EQ(unacknowledged(), 0u);
        pass_time(300);
        EXPECT_EQ(forget_silent(leaf), 1u);
    }
    // If the half can't be removed either, the next frame repairs it.
    vl_model::fail_call("pipe_mgr_mat_ent_add", 2, VL_MODEL_TABLE_FULL);
    vl_model::fail_call("pipe_mgr_mat_ent_del", 1, VL_MODEL_NO_MEMORY);
    EXPECT_THROW(send({desk}), Refused);
    EXPECT_TRUE(learned_stations(leaf).empty());
    EXPECT_EQ(send({desk, backup}), 2u);
    expect_known(desk);
    EXPECT_EQ(count_of("l2Lookup"), std::size(hosts) + 2);

    // A station that something else has removed doesn't prevent the removal of the others.
    const p4_pd_velmar_switch_l2Lookup_match_spec_t key = {desk.mac.oui, desk.mac.station, desk.vlan};
    EXPECT_EQ(p4_pd_velmar_switch_l2Lookup_table_delete_by_match_spec(leaf.session, leaf.target, &key), 0u);
    uint32_t l2_lookup = 0;
    p4_pd_velmar_switch_l2Lookup_get_mat_table_handle(&l2_lookup);
    vl_model::record_calls(true);
    EXPECT_TRUE(refusal_of([&] { shut_down(leaf); }).starts_with("forgetting all stations was refused"));
    size_t removed = 0;
    for (const vl_model::Call& call : vl_model::take_calls())
        removed += call.function == "pipe_mgr_mat_ent_del" && call.args[2] == l2_lookup && call.status == 0;
    EXPECT_EQ(removed, std::size(hosts) + 1);
}

TEST_F(LeafSwitch, LimitsTheBroadcastsOfEachPort) {
    const auto numbers = [](const pd_meter_spec& limit) {
        return std::vector<uint32_t>{limit.committed_rate, limit.committed_burst, limit.peak_rate, limit.peak_burst,
                                     limit.meter_type};
    };
    const std::vector<uint32_t> usual = {1000, 64, 2000, 128, PD_METER_TYPE_COLOR_UNAWARE};
    EXPECT_EQ(numbers(broadcast_limit(leaf, 2)), usual);
    const pd_meter_spec tight = {11, 22, 33, 44, PD_METER_TYPE_COLOR_AWARE};
    set_broadcast_limit(leaf, 2, tight);
    for (const uint16_t port : server_ports)
        EXPECT_EQ(numbers(broadcast_limit(leaf, port)), port == 2 ? numbers(tight) : usual);
    EXPECT_THROW(set_broadcast_limit(leaf, uplinks[0].port, tight), Refused);
}

TEST_F(LeafSwitch, MakesTheKeysOfPackets) {
    // The library encodes the same record for the driver. Here all mask bits are 1, so that no key bit is cleared.
    const auto expect_encoded = [&](const std::vector<uint8_t>& key) {
        const std::vector<vl_model::Call> calls = vl_model::take_calls();
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(key, calls[0].match->key);
    };
    const auto texts = [](const char* schema, const auto& value, auto& packet) {
        char values[512];
        value(&packet, values);
        return key_bytes(schema, values);
    };
    pd_entry entry = 0;
    vl_model::record_calls(true);
    p4_pd_velmar_switch_l2LearningLookup_match_spec_t exact = {0x123456, 0x789ABC, 0xDEF, 0xFEDCB};
    p4_pd_velmar_switch_l2LearningLookup_match_spec_to_entry_hdl(leaf.session, leaf.target, &exact, &entry);
    expect_encoded(texts(p4_pd_velmar_switch_l2LearningLookup_match_spec_schema(),
                         p4_pd_velmar_switch_l2LearningLookup_match_spec_value, exact));

    p4_pd_velmar_switch_ipv6LgMaskPartition0_match_spec_t prefix = {};
    prefix.l3Info_vrfId = 0x12;
    prefix.ingIpv6_dip_prefix_length = 128;
    std::iota(std::begin(prefix.ingIpv6_dip), std::end(prefix.ingIpv6_dip), uint8_t{0x78});
    p4_pd_velmar_switch_ipv6LgMaskPartition0_match_spec_to_entry_hdl(leaf.session, leaf.target, &prefix, &entry);
    expect_encoded(texts(p4_pd_velmar_switch_ipv6LgMaskPartition0_match_spec_schema(),
                         p4_pd_velmar_switch_ipv6LgMaskPartition0_match_spec_value, prefix));

    // The record has its fields in another order than the key.
    p4_pd_velmar_switch_l3DmacCheck_match_spec_t masked;
    std::memset(&masked, 0xFF, sizeof masked);
    masked.ingMd_dmacOui = 0x123456;
    masked.ingMd_dmacStation = 0x789ABC;
    masked.ingMd_ingL3Aintf = 0xDEF;
    masked.ingMd_v4V6Valid = 5;
    masked.phase0_portType = 2;
    p4_pd_velmar_switch_l3DmacCheck_match_spec_to_entry_hdl(leaf.session, leaf.target, &masked, 1, &entry);
    expect_encoded(texts(p4_pd_velmar_switch_l3DmacCheck_match_spec_schema(),
                         p4_pd_velmar_switch_l3DmacCheck_match_spec_value, masked));
}

TEST_F(LeafSwitch, CountsDropsAndTrapsApart) {
    const Packet telnet = {"for telnet", 2, hosts[0].mac, hosts[0].interface, hosts[0].address, tcp, telnet_port, 100};
    const std::vector<std::string> ruled_out = {"matched by the rule against telnet", "dropped by rule"};
    send_packets(leaf, telnet, 3, ruled_out);
    Packet udp = telnet;
    udp.protocol = 17;
    send_packets(leaf, udp, 1, {});
    Packet storm = telnet;
    storm.destination_mac = broadcast_mac;
    storm.is_over_limit = true;
    send_packets(leaf, storm, 4, ruled_out);
    storm.destination_port = 0;
    send_packets(leaf, storm, 5, {"dropped by storm control"});
    storm.interface = 0x30005;
    send_packets(leaf, storm, 6, {"dropped for want of a port"});
    storm.ingress_port = uplinks[1].port; // has no limit
    storm.interface = 1;
    send_packets(leaf, storm, 1, {});

    const std::vector<PacketCount> counts = packet_counts(leaf);
    ASSERT_EQ(counts.size(), 6u);
    for (size_t i = 0; i < counts.size(); ++i) {
        constexpr uint64_t expected[] = {7, 7, 6, 5, 0, 0};
        EXPECT_EQ(counts[i].packets, expected[i]) << counts[i].what;
        EXPECT_EQ(counts[i].bytes, 100 * expected[i]) << counts[i].what;
    }
    EXPECT_EQ(refusal_of([&] { send_packets(leaf, telnet, 8, {}); }),
              "of 8 packets for telnet, 8 were matched by the rule against telnet instead of 0");
}

TEST_F(LeafSwitch, TellsTheParserThePortsOfVxlan) {
    EXPECT_EQ(vxlan_ports(leaf), (std::vector<uint16_t>{4789}));
    const pd_pvs_target parsers = {.dev_id = 0, .gress = 0, .pipe = PD_ALL_PIPES, .parser = 0xFF};
    uint32_t entry = 0;
    EXPECT_EQ(p4_pd_velmar_switch_pvs_vxlan_ports_entry_add(leaf.session, parsers, 8472, 0xFFFF, &entry), 0u);
    EXPECT_EQ(vxlan_ports(leaf), (std::vector<uint16_t>{4789, 8472}));
    EXPECT_EQ(refusal_of([&] { shut_down(leaf); }), "1 left at the end in value set vxlan_ports");
}

// The CRC-32 of IEEE 802.3 of a flow's fields, bit by bit, starting from the checksum of what comes before.
uint32_t crc32(const Flow& flow, uint32_t before) {
    uint32_t crc = ~before;
    const std::pair<uint32_t, int> fields[] = {{flow.source, 32},
                                               {flow.destination, 32},
                                               {flow.protocol, 8},
                                               {flow.source_port, 16},
                                               {flow.destination_port, 16}};
    for (const auto& [value, width] : fields)
        for (int shift = width - 8; shift >= 0; shift -= 8) {
            crc ^= value >> shift & 0xFF;
            for (int bit = 0; bit < 8; ++bit)
                crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
        }
    return ~crc;
}

TEST_F(LeafSwitch, PredictsTheSpineOfAFlow) {
    std::vector<Flow> flows;
    for (uint32_t i = 0; i < 2000; ++i) {
        flows.push_back({.source = ipv4(10, 0, 10, 11) + i % 7,
                         .destination = 0x9E3779B9 * i,
                         .protocol = static_cast<uint8_t>(i % 2 ? 6 : 17),
                         .source_port = static_cast<uint16_t>(49152 + i * 13),
                         .destination_port = static_cast<uint16_t>(443 + i % 3)});
    }
    const auto expect_spread_over = [&](const std::vector<uint32_t>& next_hops, uint32_t seed) {
        std::map<uint32_t, size_t> taken;
        for (const Flow& flow : flows) {
            const uint32_t next_hop = next_hops[crc32(flow, seed) % next_hops.size()];
            ASSERT_EQ(predicted_next_hop(leaf, flow), next_hop);
            ASSERT_EQ(chosen_next_hop(leaf, flow), next_hop);
            ++taken[next_hop];
        }
        for (const uint32_t next_hop : next_hops)
            EXPECT_GT(taken[next_hop], flows.size() / next_hops.size() * 8 / 10) << next_hop;
    };
    expect_spread_over({1, 2}, 0);
    constexpr uint32_t seed = 0x12345678;
    EXPECT_EQ(p4_pd_velmar_switch_hash_calc_hashOuterIpAndL4Hdr_seed_set(leaf.session, 0, seed), 0u);
    expect_spread_over({1, 2}, seed);

    const p4_pd_velmar_switch_setEcmpNextHop_action_spec_t hop = {.action_nextHopTable = 0, .action_nextHop = 3};
    pd_member third = 0;
    EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_with_setEcmpNextHop(leaf.session, leaf.target,
                                                                                         &hop, &third),
              0u);
    EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_to_group(leaf.session, 0, leaf.spines, third), 0u);
    expect_spread_over({1, 2, 3}, seed);

    // A spine that is down gets no flows.
    pd_member first = 0;
    EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_get_first_group_member(leaf.session, 0, leaf.spines, &first),
              0u);
    EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_group_member_state_set(leaf.session, leaf.target, leaf.spines,
                                                                                 first, P4_PD_GRP_MBR_STATE_INACTIVE),
              0u);
    expect_spread_over({2, 3}, seed);

    EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_del_member_from_group(leaf.session, 0, leaf.spines, third),
              0u);
    EXPECT_EQ(p4_pd_velmar_switch_ecmpMemberActionProfile_del_member(leaf.session, 0, third), 0u);
}

TEST_F(LeafSwitch, TakesASnapshotOfStages) {
    vl_model::record_calls(true);
    const uint32_t snapshot = arm_snapshot(leaf, 0x1234);
    unsigned triggers = 0;
    for (const vl_model::Call& call : vl_model::take_calls()) {
        if (call.function != "bf_snapshot_capture_trigger_set") continue;
        ++triggers;
        ASSERT_EQ(call.inputs.size(), 2u);
        std::vector<uint8_t> value(PD_SNAPSHOT_RECORD_SIZE), mask(PD_SNAPSHOT_RECORD_SIZE);
        value[snapshot_field] = 0x12;
        value[snapshot_field + 1] = 0x34;
        mask[snapshot_field] = mask[snapshot_field + 1] = 0xFF;
        EXPECT_EQ(call.inputs[0], value);
        EXPECT_EQ(call.inputs[1], mask);
    }
    EXPECT_EQ(triggers, 1u);
    EXPECT_FALSE(read_snapshot(snapshot)) << "no packet came yet";
    send_through_snapshot(snapshot, 6, std::array<uint16_t, 3>{0x1234, 0x1235, 0xABCD});
    const std::optional<Capture> capture = read_snapshot(snapshot);
    ASSERT_TRUE(capture);
    EXPECT_EQ(capture->trigger_stage, 6u);
    EXPECT_EQ(capture->field, (std::vector<uint16_t>{0x1234, 0x1235, 0xABCD, 0}));
    delete_snapshot(snapshot);
    EXPECT_THROW(read_snapshot(snapshot), Refused);
}

TEST_F(LeafSwitch, ShowsItselfAtWork) {
    std::ostringstream out;
    take_tour(leaf, out);
    expect_in(
        out.str(),
        {"Learning: 3 unknown stations", "\n  02:00:00:00:00:31 in VLAN 10 behind interface 0x3\n",
         "moved: 1, and were silent: 1\n  02:00:00:00:00:31 in VLAN 10 behind interface 0x2\n  02:00:00:00:00:41 in",
         "\n  port 1: 250, bursts of 64; at most 500, bursts of 128\n  port 2: 1000,",
         "\n  dropped for want of a port               4 packets     256 bytes\n",
         "\n  dropped by storm control              3000 packets  192000 bytes\n", "UDP port 4789\n",
         "\nRouting: packets to the 3 hosts take their next hops,", "; all as predicted\n",
         "matched in stage 4; the field in stages 4 to 7: 0x0017 0x0017 0x0001 0x0001\n"});
    shut_down(leaf);

    // Any refusal ends the tour.
    for (const char* function :
         {"pipe_mgr_mat_ent_add", "pipe_mgr_flow_lrn_notify_ack", "pipe_mgr_mat_ent_set_resource",
          "pipe_mgr_mat_ent_direct_stat_query", "pipe_mgr_pvs_entry_get", "pipe_mgr_sel_grp_mbr_get_from_hash",
          "bf_snapshot_capture_get"}) {
        leaf = bring_up();
        vl_model::fail_call(function, 1, VL_MODEL_BAD_DATA);
        EXPECT_THROW(take_tour(leaf, out), Refused) << function;
        shut_down(leaf);
    }
}

TEST_F(LeafSwitch, KeepsItsTablesInRoundsOfTraffic) {
    const std::vector<TableCount> at_first = table_counts(leaf);
    constexpr unsigned seconds = 1000; // more than three times a station's time to live
    std::set<std::pair<Mac, uint32_t>> seen;
    for (unsigned round = 0; round < seconds * rounds_per_second; ++round) {
        send_round(leaf, round);
        for (const Station& station : learned_stations(leaf))
            seen.emplace(station.mac, station.interface);
    }
    // Three stations, one of them at two places, and the visitors; the silent ones are forgotten.
    EXPECT_EQ(seen.size(), 4 + (seconds + 29) / 30);
    EXPECT_EQ(learned_stations(leaf).size(), 3 + 11u);
    const std::vector<TableCount> at_last = table_counts(leaf);
    for (size_t i = 0; i < at_first.size(); ++i) {
        const std::string name = at_first[i].name;
        const bool is_learned = name == "l2Lookup" || name == "l2LearningLookup";
        EXPECT_EQ(at_last[i].count, at_first[i].count + (is_learned ? 14 : 0)) << name;
    }
    for (const PacketCount& count : packet_counts(leaf)) {
        EXPECT_GT(count.packets, seconds) << count.what;
    }
}

// Mistakes in the programming that only packets show.
TEST_F(LeafSwitch, FindsPacketsThatTakeAnotherEntryThanPlanned) {
    const auto expect_found = [&](const char* found) {
        std::ostringstream out;
        EXPECT_EQ(refusal_of([&] { take_tour(leaf, out); }), found);
    };
    // Returns to a switch without mistakes.
    const auto start_again = [&](pd_status corrected) {
        EXPECT_EQ(corrected, 0u);
        shut_down(leaf);
        leaf = bring_up();
    };
    const p4_pd_velmar_switch_haloKeyMaskForRow1Stage2_match_spec_t list = {1};
    p4_pd_velmar_switch_haloKeyMaskedRow1Stage2_action_spec_t mask = {};
    mask.action_dstPort = 0xFFFF;
    mask.action_proto = 0xF8; // loses the bits of TCP
    EXPECT_EQ(p4_pd_velmar_switch_haloKeyMaskForRow1Stage2_table_modify_with_haloKeyMaskedRow1Stage2_by_match_spec(
                  leaf.session, leaf.target, &list, &mask),
              0u);
    expect_found("of 12 packets for telnet, 0 were matched by the rule against telnet instead of 12");
    start_again(0);

    pd_entry entry = 0;
    p4_pd_velmar_switch_finalDropControl_match_spec_t unmarked = {};
    unmarked.ingMd_drop_mask = 1;
    EXPECT_EQ(
        p4_pd_velmar_switch_finalDropControl_table_add_with_accept(leaf.session, leaf.target, &unmarked, 0, &entry),
        0u);
    expect_found("of 12 packets for telnet, 0 were dropped by rule instead of 12");
    start_again(p4_pd_velmar_switch_finalDropControl_table_delete(leaf.session, 0, entry));

    p4_pd_velmar_switch_learningDigestGeneration_match_spec_t any = {};
    any.learningDigestMd_applicationId = 1;
    EXPECT_EQ(p4_pd_velmar_switch_learningDigestGeneration_table_add_with_dot1xDrop(leaf.session, leaf.target, &any, 0,
                                                                                    &entry),
              0u);
    expect_found("new stations in a digest: 0 instead of the planned 3");
    start_again(p4_pd_velmar_switch_learningDigestGeneration_table_delete(leaf.session, 0, entry));

    // A host route that exists, but for another host.
    const p4_pd_velmar_switch_ipv4Host_match_spec_t host = {vrf, hosts[1].address};
    const p4_pd_velmar_switch_setNextHop_action_spec_t hop = {hosts[0].next_hop};
    EXPECT_EQ(
        p4_pd_velmar_switch_ipv4Host_table_modify_with_setNextHop_by_match_spec(leaf.session, leaf.target, &host, &hop),
        0u);
    expect_found("packets to server 2 take another way than planned");
    start_again(0);
    expect_found("");
}

} // namespace
