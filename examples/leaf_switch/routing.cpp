// Routing: a packet gets a VRF, a route in it names a next hop or an ECMP group, a group names one of its next hops by
// hash, and the next hop says where the packet leaves and to which MAC.
#include "leaf_switch/steps.h"
#include "leaf_switch/topology.h"

namespace leaf_switch {
namespace {

constexpr uint8_t route_ipv4 = 1;

void route_untagged(Leaf& leaf, uint16_t vlan) {
    const p4_pd_velmar_switch_untaggedPktToL3_match_spec_t key = {.phase0_nativeAintf = vlan};
    const p4_pd_velmar_switch_setVrfPropertiesUntaggedPkt_action_spec_t properties = {
        .action_vrfIdHi = 0, .action_vrfId = vrf, .action_ipRouting = route_ipv4, .action_natProfile = 0};
    make(leaf, "the VRF of untagged packets of VLAN " + std::to_string(vlan),
         p4_pd_velmar_switch_untaggedPktToL3_table_add_with_setVrfPropertiesUntaggedPkt,
         p4_pd_velmar_switch_untaggedPktToL3_table_delete, &key, &properties);
}

void route_tagged(Leaf& leaf, uint16_t vlan) {
    const p4_pd_velmar_switch_taggedPktToL3_match_spec_t key = {.vlanHdr_0__vlanId = vlan};
    const p4_pd_velmar_switch_setVrfPropertiesTaggedPkt_action_spec_t properties = {
        .action_vrfIdHi = 0, .action_vrfId = vrf, .action_ipRouting = route_ipv4, .action_natProfile = 0};
    make(leaf, "the VRF of tagged packets of VLAN " + std::to_string(vlan),
         p4_pd_velmar_switch_taggedPktToL3_table_add_with_setVrfPropertiesTaggedPkt,
         p4_pd_velmar_switch_taggedPktToL3_table_delete, &key, &properties);
}

void add_next_hop(Leaf& leaf, uint32_t number, uint32_t interface, const Mac& mac, uint16_t vlan) {
    const std::string name = "next hop " + std::to_string(number);
    // Where the packet leaves ...
    const p4_pd_velmar_switch_routerNextHop0_match_spec_t way_key = {.l3_nextHop = number};
    const p4_pd_velmar_switch_setRouterNextHopDetails_action_spec_t way = {
        .action_egrL2AintfUnresolved = interface, .action_tunnelNextHop = 0, .action_egrMtuId = 0};
    make(leaf, "the interface of " + name, p4_pd_velmar_switch_routerNextHop0_table_add_with_setRouterNextHopDetails,
         p4_pd_velmar_switch_routerNextHop0_table_delete, &way_key, &way);
    // ... and what its Ethernet header becomes.
    const p4_pd_velmar_switch_nextHop0_match_spec_t key = {.l3_nextHop = number};
    const p4_pd_velmar_switch_setNextHopDetails_action_spec_t rewrite = {
        .action_dmacOui = mac.oui, .action_dmacStation = mac.station, .action_domain = vlan};
    make(leaf, "the MAC of " + name, p4_pd_velmar_switch_nextHop0_table_add_with_setNextHopDetails,
         p4_pd_velmar_switch_nextHop0_table_delete, &key, &rewrite);
}

} // namespace

void open_vrf(Leaf& leaf) {
    route_untagged(leaf, server_vlan);
    for (const Uplink& uplink : uplinks)
        route_untagged(leaf, uplink.own_vlan);
    route_tagged(leaf, server_vlan);
    route_tagged(leaf, storage_vlan);

    // Only what is sent to the router's MAC is routed. Fields with a mask of 0 match anything.
    p4_pd_velmar_switch_l3DmacCheck_match_spec_t key = {};
    key.ingMd_dmacOui = router_mac.oui;
    key.ingMd_dmacOui_mask = all_of_half;
    key.ingMd_dmacStation = router_mac.station;
    key.ingMd_dmacStation_mask = all_of_half;
    make(leaf, "the router's MAC", p4_pd_velmar_switch_l3DmacCheck_table_add_with_setIngL3DmacValid,
         p4_pd_velmar_switch_l3DmacCheck_table_delete, &key, any_priority);
}

void add_next_hops(Leaf& leaf) {
    for (const Uplink& uplink : uplinks)
        add_next_hop(leaf, uplink.next_hop, uplink.port, uplink.spine, uplink.own_vlan);
    for (const Host& host : hosts)
        add_next_hop(leaf, host.next_hop, host.interface, host.mac, host.vlan);
}

void choose_hash(Leaf& leaf) {
    // A keyless table has no entries: its default entry is what it does with every packet.
    set_default(leaf, "the hash of IP and layer 4",
                p4_pd_velmar_switch_hashComputeIpAndL4Hdr_set_default_action_hashComputeIpAndL4HdrAction,
                p4_pd_velmar_switch_hashComputeIpAndL4Hdr_table_reset_default_entry);

    // Flows are told apart by their ports. Packets without a layer-4 header go by their addresses.
    p4_pd_velmar_switch_ecmpHashSelection_match_spec_t key = {};
    key.l4PortHdr_valid = 1;
    key.l4PortHdr_valid_mask = 1;
    make(leaf, "the hash of packets with ports",
         p4_pd_velmar_switch_ecmpHashSelection_table_add_with_setHashValuesEcmpOuterL4Hdr,
         p4_pd_velmar_switch_ecmpHashSelection_table_delete, &key, any_priority);
    key.l4PortHdr_valid = 0;
    make(leaf, "the hash of packets without ports",
         p4_pd_velmar_switch_ecmpHashSelection_table_add_with_setHashValuesEcmpOuterIpHdr,
         p4_pd_velmar_switch_ecmpHashSelection_table_delete, &key, any_priority);
}

void join_spines(Leaf& leaf) {
    std::vector<pd_member> members;
    for (const Uplink& uplink : uplinks) {
        const p4_pd_velmar_switch_setEcmpNextHop_action_spec_t hop = {.action_nextHopTable = 0,
                                                                      .action_nextHop = uplink.next_hop};
        members.push_back(make(leaf, "the ECMP member of next hop " + std::to_string(uplink.next_hop),
                               p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_with_setEcmpNextHop,
                               p4_pd_velmar_switch_ecmpMemberActionProfile_del_member, &hop));
    }
    constexpr uint32_t room = 8; // for spines that come later
    leaf.spines = make(leaf, "the ECMP group", p4_pd_velmar_switch_ecmpMemberActionProfile_create_group,
                       p4_pd_velmar_switch_ecmpMemberActionProfile_del_group, room);
    for (const pd_member member : members) {
        expect("joining a next hop to the ECMP group", p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_to_group(
                                                           leaf.session, leaf.target.dev_id, leaf.spines, member));
    }
    // From here on a route with the number spines_ecmp goes to either spine.
    const p4_pd_velmar_switch_ecmpGroup_match_spec_t key = {.l3_nextHop = spines_ecmp};
    make(leaf, "the number of the ECMP group", p4_pd_velmar_switch_ecmpGroup_add_entry_with_selector,
         p4_pd_velmar_switch_ecmpGroup_table_delete, &key, leaf.spines);
}

void add_routes(Leaf& leaf) {
    // Routes come after all that they lead to: a packet must never find half a way.
    for (const Host& host : hosts) {
        const p4_pd_velmar_switch_ipv4Host_match_spec_t key = {.l3Info_vrfId = vrf, .ingIpv4_dip = host.address};
        const p4_pd_velmar_switch_setNextHop_action_spec_t hop = {.action_nextHop = host.next_hop};
        make(leaf, std::string("the route to ") + host.name, p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop,
             p4_pd_velmar_switch_ipv4Host_table_delete, &key, &hop);
    }
    // A packet that no host route matches goes on to the prefixes, and what isn't here is behind the spines.
    set_default(leaf, "the default entry of host routes", p4_pd_velmar_switch_ipv4Host_set_default_action_onMiss,
                p4_pd_velmar_switch_ipv4Host_table_reset_default_entry);
    const p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_t everywhere = {
        .l3Info_vrfId = vrf, .ingIpv4_dip = 0, .ingIpv4_dip_prefix_length = 0};
    const p4_pd_velmar_switch_setEcmp_action_spec_t spines = {.action_ecmpGroup = spines_ecmp};
    make(leaf, "the default route", p4_pd_velmar_switch_ipv4ShortMaskLpm_table_add_with_setEcmp,
         p4_pd_velmar_switch_ipv4ShortMaskLpm_table_delete, &everywhere, &spines);
}

} // namespace leaf_switch
