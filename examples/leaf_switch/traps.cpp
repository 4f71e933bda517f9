// The packets that the CPU gets: what speaks to the switch itself, and what it has to know about.
#include "leaf_switch/steps.h"
#include "leaf_switch/topology.h"

namespace leaf_switch {
namespace {

// The CPU sees the reason in the packet's header, and tells by it who is to handle the packet.
constexpr uint8_t reason_arp = 1;
constexpr uint8_t reason_bgp = 2;

constexpr uint8_t tcp = 6;
constexpr uint16_t bgp_port = 179;

void count(Leaf& leaf, const std::string& what, pd_entry entry) {
    leaf.counting.push_back({what, p4_pd_velmar_switch_counter_read_trapToCpuCount,
                             p4_pd_velmar_switch_trapToCpu_get_mat_table_handle, entry});
}

} // namespace

void trap_to_cpu(Leaf& leaf) {
    // The way to the CPU comes first: a trap without it would swallow packets.
    const p4_pd_velmar_switch_trapPktToCpuUntagged_action_spec_t way = {.action_cpuPort = cpu_port,
                                                                        .action_trapPipelineQid = 0};
    set_default(leaf, "the way to the CPU", p4_pd_velmar_switch_cpuEncap_set_default_action_trapPktToCpuUntagged,
                p4_pd_velmar_switch_cpuEncap_table_reset_default_entry, &way);

    // ARP is copied: the packet itself goes its way, and the CPU learns who is where.
    p4_pd_velmar_switch_trapToCpu_match_spec_t arp = {};
    arp.arpHdr_valid = 1;
    arp.arpHdr_valid_mask = 1;
    const p4_pd_velmar_switch_copyPacket_action_spec_t copy = {.action_cpuReasonCode = reason_arp, .action_llm = 0};
    const pd_entry copies = make(leaf, "the copies of ARP", p4_pd_velmar_switch_trapToCpu_table_add_with_copyPacket,
                                 p4_pd_velmar_switch_trapToCpu_table_delete, &arp, any_priority, &copy);
    count(leaf, "copied to the CPU for ARP", copies);

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
    const p4_pd_velmar_switch_trapPacket_action_spec_t trap = {.action_cpuReasonCode = reason_bgp};
    const pd_entry trapped = make(leaf, "the trap of BGP", p4_pd_velmar_switch_trapToCpu_table_add_with_trapPacket,
                                  p4_pd_velmar_switch_trapToCpu_table_delete, &bgp, any_priority, &trap);
    count(leaf, "trapped to the CPU for BGP", trapped);
}

} // namespace leaf_switch
