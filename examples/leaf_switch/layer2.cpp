// Ports, VLANs and the MAC table: what the switch knows about a frame when it comes in, which frames a port takes, and
// where the configured hosts are.
#include "leaf_switch/steps.h"

namespace leaf_switch {
namespace {

// Later tables work with the results of this one, and look at the port's number only where it matters. A switch port
// bridges and routes, other ports only route.
void map_port(Leaf& leaf, uint16_t port, uint16_t virtual_port, uint16_t native_vlan, uint8_t switch_port) {
    make(leaf, "the mapping of port " + std::to_string(port), ENTRY(ingressPortMapping, setPhase0),
         {.ig_intr_md_ingress_port = port},
         {.action_ingVPort = virtual_port,
          .action_nativeAintf = native_vlan,
          .action_switchPort = switch_port,
          .action_physicalPort = 1});
}

void set_up_vlan(Leaf& leaf, uint16_t vlan) {
    // With an SVI, frames to the router's MAC are routed. Without one, all frames of the VLAN are bridged.
    make(leaf, "the properties of VLAN " + std::to_string(vlan), ENTRY(vlanProperties, setVlanProperties),
         {.ingMd_ingL2Domain = vlan}, {.action_igmpSnoopingEnabled = 0, .action_sviEnabled = 1, .action_vxlan = 0});
}

void accept_untagged(Leaf& leaf, uint16_t port) {
    // There is no tag to look at: a mask of 0 leaves the VLAN id out of the match.
    make(leaf, "untagged frames on port " + std::to_string(port), ENTRY(l2DomainLookup, setL2DomainUntagged),
         {.phase0_switchPort = 1,
          .phase0_ingVPort = port,
          .vlanHdr_0__valid = 0,
          .vlanHdr_0__vlanId = 0,
          .vlanHdr_0__vlanId_mask = 0},
         any_priority, {.action_l2Aintf = port});
}

void accept_tagged_on_lag(Leaf& leaf, uint16_t vlan) {
    make(leaf, "frames of VLAN " + std::to_string(vlan) + " on the LAG", ENTRY(l2DomainLookup, setL2DomainTagged),
         {.phase0_switchPort = 1,
          .phase0_ingVPort = lag_virtual_port,
          .vlanHdr_0__valid = 1,
          .vlanHdr_0__vlanId = vlan,
          .vlanHdr_0__vlanId_mask = 0xFFF},
         any_priority, {.action_l2Aintf = lag_interface});
}

} // namespace

p4_pd_velmar_switch_l2LearningLookup_match_spec_t source_key(const Station& station) {
    return {.ingMd_smacOui = station.mac.oui,
            .ingMd_smacStation = station.mac.station,
            .ingMd_ingL2Domain = station.vlan,
            .ingMd_ingL2Aintf = station.interface};
}

p4_pd_velmar_switch_l2Lookup_match_spec_t destination_key(const Station& station) {
    return {
        .egrMd_dmacOui = station.mac.oui, .egrMd_dmacStation = station.mac.station, .egrMd_egrL2Domain = station.vlan};
}

void map_ports(Leaf& leaf) {
    for (const uint16_t port : server_ports)
        map_port(leaf, port, port, server_vlan, 1);
    for (const uint16_t port : lag_ports)
        map_port(leaf, port, lag_virtual_port, no_vlan, 1);
    for (const Uplink& uplink : uplinks)
        map_port(leaf, uplink.port, uplink.port, uplink.own_vlan, 0);
}

void set_up_vlans(Leaf& leaf) {
    set_up_vlan(leaf, server_vlan);
    set_up_vlan(leaf, storage_vlan);
    // Other VLANs get no properties.
    const p4_pd_velmar_switch_setVlanProperties_action_spec_t none = {};
    set_default(leaf, "the properties of other VLANs", DEFAULT_ENTRY(vlanProperties, setVlanProperties), &none);
    for (const uint16_t port : server_ports)
        accept_untagged(leaf, port);
    accept_tagged_on_lag(leaf, server_vlan);
    accept_tagged_on_lag(leaf, storage_vlan);
}

void fill_mac_table(Leaf& leaf) {
    constexpr uint32_t no_ttl = 0; // remains known however long it is silent
    for (const Host& host : hosts) {
        const Station station = {.mac = host.mac, .vlan = host.vlan, .interface = host.interface};
        // Known as a source: its frames cause no learning.
        make(leaf, std::string("the source MAC of ") + host.name, ENTRY(l2LearningLookup, noOp), source_key(station),
             no_ttl);
        // Known as a destination: frames to it leave by its interface and by no other.
        make(leaf, std::string("the MAC of ") + host.name, ENTRY(l2Lookup, l2LookupKnownUcast),
             destination_key(station), {.action_egrL2Aintf = host.interface});
    }
}

} // namespace leaf_switch
