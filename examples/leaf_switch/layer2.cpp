// VLANs and the MAC table: which frames a port takes, and who is always known where.
#include "leaf_switch/steps.h"
#include "leaf_switch/topology.h"

namespace leaf_switch {
namespace {

void set_up_vlan(Leaf& leaf, uint16_t vlan) {
    // With an SVI, frames to the router's MAC are routed. Without one all of the VLAN's frames are bridged.
    const p4_pd_velmar_switch_vlanProperties_match_spec_t key = {.ingMd_ingL2Domain = vlan};
    const p4_pd_velmar_switch_setVlanProperties_action_spec_t properties = {
        .action_igmpSnoopingEnabled = 0, .action_sviEnabled = 1, .action_vxlan = 0};
    make(leaf, "the properties of VLAN " + std::to_string(vlan),
         p4_pd_velmar_switch_vlanProperties_table_add_with_setVlanProperties,
         p4_pd_velmar_switch_vlanProperties_table_delete, &key, &properties);
}

void accept_untagged(Leaf& leaf, uint16_t port) {
    // There is no tag to look at: a mask of 0 leaves the VLAN id out of the match.
    const p4_pd_velmar_switch_l2DomainLookup_match_spec_t key = {.phase0_switchPort = 1,
                                                                 .phase0_ingVPort = port,
                                                                 .vlanHdr_0__valid = 0,
                                                                 .vlanHdr_0__vlanId = 0,
                                                                 .vlanHdr_0__vlanId_mask = 0};
    const p4_pd_velmar_switch_setL2DomainUntagged_action_spec_t interface = {.action_l2Aintf = port};
    make(leaf, "untagged frames on port " + std::to_string(port),
         p4_pd_velmar_switch_l2DomainLookup_table_add_with_setL2DomainUntagged,
         p4_pd_velmar_switch_l2DomainLookup_table_delete, &key, any_priority, &interface);
}

void accept_tagged_on_lag(Leaf& leaf, uint16_t vlan) {
    const p4_pd_velmar_switch_l2DomainLookup_match_spec_t key = {.phase0_switchPort = 1,
                                                                 .phase0_ingVPort = lag_virtual_port,
                                                                 .vlanHdr_0__valid = 1,
                                                                 .vlanHdr_0__vlanId = vlan,
                                                                 .vlanHdr_0__vlanId_mask = 0xFFF};
    const p4_pd_velmar_switch_setL2DomainTagged_action_spec_t interface = {.action_l2Aintf = lag_interface};
    make(leaf, "frames of VLAN " + std::to_string(vlan) + " on the LAG",
         p4_pd_velmar_switch_l2DomainLookup_table_add_with_setL2DomainTagged,
         p4_pd_velmar_switch_l2DomainLookup_table_delete, &key, any_priority, &interface);
}

} // namespace

void set_up_vlans(Leaf& leaf) {
    set_up_vlan(leaf, server_vlan);
    set_up_vlan(leaf, storage_vlan);
    // Strange VLANs get no properties.
    const p4_pd_velmar_switch_setVlanProperties_action_spec_t none = {};
    set_default(leaf, "the properties of other VLANs",
                p4_pd_velmar_switch_vlanProperties_set_default_action_setVlanProperties,
                p4_pd_velmar_switch_vlanProperties_table_reset_default_entry, &none);
    for (const uint16_t port : server_ports)
        accept_untagged(leaf, port);
    accept_tagged_on_lag(leaf, server_vlan);
    accept_tagged_on_lag(leaf, storage_vlan);
}

void fill_mac_table(Leaf& leaf) {
    constexpr uint32_t no_ttl = 0; // stays known however long it is silent
    for (const Host& host : hosts) {
        // Known as a source: its frames ask for no learning.
        const p4_pd_velmar_switch_l2LearningLookup_match_spec_t source = {.ingMd_smacOui = host.mac.oui,
                                                                          .ingMd_smacStation = host.mac.station,
                                                                          .ingMd_ingL2Domain = host.vlan,
                                                                          .ingMd_ingL2Aintf = host.interface};
        make(leaf, std::string("the source MAC of ") + host.name,
             p4_pd_velmar_switch_l2LearningLookup_table_add_with_noOp,
             p4_pd_velmar_switch_l2LearningLookup_table_delete, &source, no_ttl);

        // Known as a destination: frames to it leave by its interface and by no other.
        const p4_pd_velmar_switch_l2Lookup_match_spec_t destination = {
            .egrMd_dmacOui = host.mac.oui, .egrMd_dmacStation = host.mac.station, .egrMd_egrL2Domain = host.vlan};
        const p4_pd_velmar_switch_l2LookupKnownUcast_action_spec_t out = {.action_egrL2Aintf = host.interface};
        make(leaf, std::string("the MAC of ") + host.name,
             p4_pd_velmar_switch_l2Lookup_table_add_with_l2LookupKnownUcast, p4_pd_velmar_switch_l2Lookup_table_delete,
             &destination, &out);
    }
}

} // namespace leaf_switch
