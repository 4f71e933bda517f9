// Packets that aren't simply forwarded: a port ACL's rule in all its tables, the table that decides every drop, and the
// packets that go to the CPU. The entries that count such packets are listed and read here.
#include "leaf_switch/steps.h"

namespace leaf_switch {
namespace {

constexpr uint8_t ipv4_packet = 1;
constexpr uint16_t telnet = 1;      // rules match a port's 16-bit name, not its number
constexpr uint8_t server_rules = 1; // the rule list of the servers' ports

// A rule's result: the low 15 bits are the number of its counter, the next three say what the rule wants.
constexpr uint32_t wish = 0x38000;
constexpr uint32_t wish_drop = 0x38000;
constexpr uint32_t no_telnet_rule = 1;

// Part of the header that the CPU sees. It says who must handle the packet.
constexpr uint8_t reason_arp = 1;
constexpr uint8_t reason_bgp = 2;

void drop(Leaf& leaf, const std::string& why, const p4_pd_velmar_switch_finalDropControl_match_spec_t& marked,
          uint32_t priority) {
    const pd_entry entry = make(leaf, "the drop " + why, ENTRY(finalDropControl, dropCount), marked, priority);
    leaf.counting.push_back({"dropped " + why, p4_pd_velmar_switch_counter_read_finalDropControlCount, entry});
}

void count_for_cpu(Leaf& leaf, const std::string& what, pd_entry entry) {
    leaf.counting.push_back({what, p4_pd_velmar_switch_counter_read_trapToCpuCount, entry});
}

} // namespace

void forbid_telnet(Leaf& leaf) {
    make(leaf, "the name of the telnet port", ENTRY(haloXformDstPort, setHaloXformDstPort),
         {.ingMd_dstPort = telnet_port, .ingMd_dstPort_mask = 0xFFFF}, any_priority, {.action_val = telnet});

    // A list has one mask in each of five stages, and a stage has the rules that need its mask. Our rule looks at
    // protocol and destination port.
    p4_pd_velmar_switch_haloKeyMaskedRow1Stage2_action_spec_t mask = {};
    mask.action_dstPort = 0xFFFF;
    mask.action_proto = 0xFF;
    make(leaf, "the mask of the servers' rules", ENTRY(haloKeyMaskForRow1Stage2, haloKeyMaskedRow1Stage2),
         {.haloKeyOrig_crlId = server_rules}, mask);

    // The rule is an exact match on what the mask leaves. Fields that the mask clears must be 0 here.
    p4_pd_velmar_switch_haloRow1Stage2_match_spec_t rule = {};
    rule.haloKeyOrig_crlId = server_rules;
    rule.haloKeyMaskedRow1_dstPort = telnet;
    rule.haloKeyMaskedRow1_proto = tcp;
    make(leaf, "the rule against telnet", ENTRY(haloRow1Stage2, haloSetBestResultRow1), rule,
         {.action_res = wish_drop | no_telnet_rule});

    // The entry itself counts; its action does nothing.
    const pd_entry counter =
        make(leaf, "the rule's counter", ENTRY(haloCounters, onMiss), {.haloResultRow1_bestResult = no_telnet_rule});
    leaf.counting.push_back(
        {"matched by the rule against telnet", p4_pd_velmar_switch_counter_read_haloCount, counter});

    // Bound last, so that no port sees an incomplete list.
    for (const uint16_t port : server_ports)
        make(leaf, "the rules of port " + std::to_string(port), ENTRY(haloPaclCrlId, setHaloCrlId2),
             {.ingMd_v4V6Valid = ipv4_packet, .ig_intr_md_ingress_port = port},
             {.action_crlId = server_rules, .action_defaultResult = 0});
}

void decide_drops(Leaf& leaf) {
    // Earlier tables mark packets, and this table decides. An unmarked packet is forwarded. A packet with several marks
    // is counted for the one with the lowest priority number.
    set_default(leaf, "the last decision", DEFAULT_ENTRY(finalDropControl, accept));

    p4_pd_velmar_switch_finalDropControl_match_spec_t by_rule = {};
    by_rule.haloResultRow1_bestResult = wish_drop;
    by_rule.haloResultRow1_bestResult_mask = wish;
    drop(leaf, "by rule", by_rule, 1);

    p4_pd_velmar_switch_finalDropControl_match_spec_t no_way = {};
    no_way.ingMd_invalidEgressPort = 1;
    no_way.ingMd_invalidEgressPort_mask = 1;
    drop(leaf, "for want of a port", no_way, 2);

    p4_pd_velmar_switch_finalDropControl_match_spec_t storm = {};
    storm.ingMd_stormControlDrop = 1;
    storm.ingMd_stormControlDrop_mask = 1;
    drop(leaf, "by storm control", storm, 3);
}

void trap_to_cpu(Leaf& leaf) {
    // The way to the CPU comes first: without it a trap would swallow packets.
    const p4_pd_velmar_switch_trapPktToCpuUntagged_action_spec_t way = {.action_cpuPort = cpu_port,
                                                                        .action_trapPipelineQid = 0};
    set_default(leaf, "the way to the CPU", DEFAULT_ENTRY(cpuEncap, trapPktToCpuUntagged), &way);

    // ARP is copied: the packet itself is forwarded, and the CPU learns who is where.
    p4_pd_velmar_switch_trapToCpu_match_spec_t arp = {};
    arp.arpHdr_valid = 1;
    arp.arpHdr_valid_mask = 1;
    count_for_cpu(leaf, "copied to the CPU for ARP",
                  make(leaf, "the copies of ARP", ENTRY(trapToCpu, copyPacket), arp, any_priority,
                       {.action_cpuReasonCode = reason_arp, .action_llm = 0}));

    // BGP to the switch itself is trapped: it goes nowhere else.
    p4_pd_velmar_switch_trapToCpu_match_spec_t bgp = {};
    bgp.l3Info_ingL3DmacValid = 1;
    bgp.l3Info_ingL3DmacValid_mask = 1;
    bgp.ingIpv4_dip = switch_address;
    bgp.ingIpv4_dip_mask = 0xFFFFFFFF;
    bgp.ingMd_protocol = tcp;
    bgp.ingMd_protocol_mask = 0xFF;
    bgp.ingMd_dstPort = bgp_port;
    bgp.ingMd_dstPort_mask = 0xFFFF;
    count_for_cpu(leaf, "trapped to the CPU for BGP",
                  make(leaf, "the trap of BGP", ENTRY(trapToCpu, trapPacket), bgp, any_priority,
                       {.action_cpuReasonCode = reason_bgp}));
}

std::vector<PacketCount> packet_counts(const Leaf& leaf) {
    // Otherwise the driver answers from its own copy, which is as old as the last call with this flag.
    constexpr uint32_t up_to_date = 1;
    std::vector<PacketCount> counts;
    for (const CountingEntry& counting : leaf.counting) {
        pd_counter_value value = {};
        expect("reading the count of packets " + counting.what,
               counting.read(leaf.session, leaf.target.dev_id, counting.entry, up_to_date, &value));
        // This driver counts packets in the first word and bytes in the second.
        counts.push_back({counting.what, value.count_a, value.count_b});
    }
    return counts;
}

} // namespace leaf_switch
