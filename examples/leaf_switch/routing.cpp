// Routing: a packet gets a VRF. A route in the VRF names a next hop or an ECMP group, and a group chooses one of its
// next hops by hash. The next hop says where the packet leaves and to which MAC.
#include "leaf_switch/steps.h"

namespace leaf_switch {
namespace {

constexpr uint8_t route_ipv4 = 1;

void route_untagged(Leaf& leaf, uint16_t vlan) {
    make(leaf, "the VRF of untagged packets of VLAN " + std::to_string(vlan),
         ENTRY(untaggedPktToL3, setVrfPropertiesUntaggedPkt), {.phase0_nativeAintf = vlan},
         {.action_vrfIdHi = 0, .action_vrfId = vrf, .action_ipRouting = route_ipv4, .action_natProfile = 0});
}

void route_tagged(Leaf& leaf, uint16_t vlan) {
    make(leaf, "the VRF of tagged packets of VLAN " + std::to_string(vlan),
         ENTRY(taggedPktToL3, setVrfPropertiesTaggedPkt), {.vlanHdr_0__vlanId = vlan},
         {.action_vrfIdHi = 0, .action_vrfId = vrf, .action_ipRouting = route_ipv4, .action_natProfile = 0});
}

void add_next_hop(Leaf& leaf, uint32_t number, uint32_t interface, const Mac& mac, uint16_t vlan) {
    const std::string name = "next hop " + std::to_string(number);
    // Where the packet leaves ...
    make(leaf, "the interface of " + name, ENTRY(routerNextHop0, setRouterNextHopDetails), {.l3_nextHop = number},
         {.action_egrL2AintfUnresolved = interface, .action_tunnelNextHop = 0, .action_egrMtuId = 0});
    // ... and what its Ethernet header becomes.
    make(leaf, "the MAC of " + name, ENTRY(nextHop0, setNextHopDetails), {.l3_nextHop = number},
         {.action_dmacOui = mac.oui, .action_dmacStation = mac.station, .action_domain = vlan});
}

} // namespace

void open_vrf(Leaf& leaf) {
    route_untagged(leaf, server_vlan);
    for (const Uplink& uplink : uplinks)
        route_untagged(leaf, uplink.own_vlan);
    route_tagged(leaf, server_vlan);
    route_tagged(leaf, storage_vlan);

    // Only packets to the router's MAC are routed. Fields with a mask of 0 match anything.
    p4_pd_velmar_switch_l3DmacCheck_match_spec_t key = {};
    key.ingMd_dmacOui = router_mac.oui;
    key.ingMd_dmacOui_mask = all_of_half;
    key.ingMd_dmacStation = router_mac.station;
    key.ingMd_dmacStation_mask = all_of_half;
    make(leaf, "the router's MAC", ENTRY(l3DmacCheck, setIngL3DmacValid), key, any_priority);
}

void add_next_hops(Leaf& leaf) {
    for (const Uplink& uplink : uplinks)
        add_next_hop(leaf, uplink.next_hop, uplink.port, uplink.spine, uplink.own_vlan);
    for (const Host& host : hosts)
        add_next_hop(leaf, host.next_hop, host.interface, host.mac, host.vlan);
}

void choose_hash(Leaf& leaf) {
    // A table without a key has only a default entry, which says what happens to every packet.
    set_default(leaf, "the hash of IP and layer 4", DEFAULT_ENTRY(hashComputeIpAndL4Hdr, hashComputeIpAndL4HdrAction));

    // Ports tell flows apart. Packets without a layer-4 header are told apart by their addresses.
    p4_pd_velmar_switch_ecmpHashSelection_match_spec_t key = {};
    key.l4PortHdr_valid = 1;
    key.l4PortHdr_valid_mask = 1;
    make(leaf, "the hash of packets with ports", ENTRY(ecmpHashSelection, setHashValuesEcmpOuterL4Hdr), key,
         any_priority);
    key.l4PortHdr_valid = 0;
    make(leaf, "the hash of packets without ports", ENTRY(ecmpHashSelection, setHashValuesEcmpOuterIpHdr), key,
         any_priority);
}

void join_spines(Leaf& leaf) {
    std::vector<pd_member> members;
    for (const Uplink& uplink : uplinks)
        members.push_back(make(leaf, "the ECMP member of next hop " + std::to_string(uplink.next_hop),
                               MEMBER(ecmpMemberActionProfile, setEcmpNextHop),
                               {.action_nextHopTable = 0, .action_nextHop = uplink.next_hop}));
    constexpr uint32_t room = 8; // for later spines
    leaf.spines = make(leaf, "the ECMP group", p4_pd_velmar_switch_ecmpMemberActionProfile_create_group,
                       p4_pd_velmar_switch_ecmpMemberActionProfile_del_group, room);
    for (const pd_member member : members)
        expect("joining a next hop to the ECMP group", p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_to_group(
                                                           leaf.session, leaf.target.dev_id, leaf.spines, member));
    // From here on a route with the number spines_ecmp goes to either spine.
    make(leaf, "the number of the ECMP group", p4_pd_velmar_switch_ecmpGroup_add_entry_with_selector,
         p4_pd_velmar_switch_ecmpGroup_table_delete, {.l3_nextHop = spines_ecmp}, leaf.spines);
}

void add_routes(Leaf& leaf) {
    // Routes are added after everything that they lead to, so that no packet takes an incomplete route.
    for (const Host& host : hosts)
        make(leaf, std::string("the route to ") + host.name, ENTRY(ipv4Host, setNextHop),
             {.l3Info_vrfId = vrf, .ingIpv4_dip = host.address}, {.action_nextHop = host.next_hop});
    // A packet that matches no host route goes on to the prefixes. Everything else is behind the spines.
    set_default(leaf, "the default entry of host routes", DEFAULT_ENTRY(ipv4Host, onMiss));
    make(leaf, "the default route", ENTRY(ipv4ShortMaskLpm, setEcmp),
         {.l3Info_vrfId = vrf, .ingIpv4_dip = 0, .ingIpv4_dip_prefix_length = 0}, {.action_ecmpGroup = spines_ecmp});
}

} // namespace leaf_switch
