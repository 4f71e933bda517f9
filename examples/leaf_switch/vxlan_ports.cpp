// The parser looks for VXLAN in packets to the UDP ports of a value set, which starts empty. A value set isn't a table:
// its entries have a value and a mask, and are in the parsers.
#include "leaf_switch/steps.h"

namespace leaf_switch {
namespace {

pd_pvs_target parsers_of(const pd_dev_tgt& target) {
    constexpr uint32_t ingress = 0;
    constexpr uint8_t all_parsers = 0xFF;
    return {.dev_id = target.dev_id, .gress = ingress, .pipe = target.pipe_id, .parser = all_parsers};
}

} // namespace

void recognise_vxlan(Leaf& leaf) {
    const std::string what = "the UDP port of VXLAN";
    uint32_t entry = 0;
    expect("adding " + what, p4_pd_velmar_switch_pvs_vxlan_ports_entry_add(leaf.session, parsers_of(leaf.target),
                                                                           vxlan_udp_port, 0xFFFF, &entry));
    at_shut_down(leaf, "removing " + what, [=](const Leaf& made) {
        return p4_pd_velmar_switch_pvs_vxlan_ports_entry_delete(made.session, made.target.dev_id, entry);
    });
}

pd_status count_vxlan_ports(pd_session session, pd_dev_tgt target, uint32_t* count) {
    return p4_pd_velmar_switch_pvs_vxlan_ports_entry_get_count(session, parsers_of(target), 0, count);
}

std::vector<uint16_t> vxlan_ports(const Leaf& leaf) {
    const pd_pvs_target parsers = parsers_of(leaf.target);
    std::vector<uint16_t> ports;
    uint32_t entry = 0;
    expect("finding the first port of VXLAN",
           p4_pd_velmar_switch_pvs_vxlan_ports_entry_get_first_entry_handle(leaf.session, parsers, &entry));
    while (entry != PD_HDL_END) {
        uint32_t value = 0;
        uint32_t mask = 0;
        expect("reading a port of VXLAN",
               p4_pd_velmar_switch_pvs_vxlan_ports_entry_get(leaf.session, leaf.target.dev_id, entry, &value, &mask));
        ports.push_back(static_cast<uint16_t>(value & mask));
        expect("finding the next port of VXLAN", p4_pd_velmar_switch_pvs_vxlan_ports_entry_get_next_entry_handles(
                                                     leaf.session, parsers, entry, 1, &entry));
    }
    return ports;
}

} // namespace leaf_switch
