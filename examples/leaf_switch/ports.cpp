// Ports: what a packet is told about itself when it comes in. Later tables work with these words, and look at the
// port's number only where it matters.
#include "leaf_switch/steps.h"
#include "leaf_switch/topology.h"

namespace leaf_switch {
namespace {

struct Role {
    uint16_t virtual_port;
    uint16_t native_vlan;
    uint8_t switch_port; // 1 bridges and routes, 0 routes alone
};

void map_port(Leaf& leaf, uint16_t port, const Role& role) {
    const p4_pd_velmar_switch_ingressPortMapping_match_spec_t key = {.ig_intr_md_ingress_port = port};
    const p4_pd_velmar_switch_setPhase0_action_spec_t phase0 = {.action_ingVPort = role.virtual_port,
                                                                .action_nativeAintf = role.native_vlan,
                                                                .action_switchPort = role.switch_port,
                                                                .action_physicalPort = 1};
    make(leaf, "the mapping of port " + std::to_string(port),
         p4_pd_velmar_switch_ingressPortMapping_table_add_with_setPhase0,
         p4_pd_velmar_switch_ingressPortMapping_table_delete, &key, &phase0);
}

} // namespace

void map_ports(Leaf& leaf) {
    for (const uint16_t port : server_ports)
        map_port(leaf, port, {.virtual_port = port, .native_vlan = server_vlan, .switch_port = 1});
    for (const uint16_t port : lag_ports)
        map_port(leaf, port, {.virtual_port = lag_virtual_port, .native_vlan = no_vlan, .switch_port = 1});
    for (const Uplink& uplink : uplinks)
        map_port(leaf, uplink.port, {.virtual_port = uplink.port, .native_vlan = uplink.own_vlan, .switch_port = 0});
}

} // namespace leaf_switch
