// Storm control: how many broadcasts a port may send. Each entry of l2LookupMiss has its own meter, so a port that
// storms doesn't use up the limit of the others.
#include "leaf_switch/steps.h"

namespace leaf_switch {
namespace {

constexpr pd_meter_spec usual_limit = {.committed_rate = 1000,
                                       .committed_burst = 64,
                                       .peak_rate = 2000,
                                       .peak_burst = 128,
                                       .meter_type = PD_METER_TYPE_COLOR_UNAWARE};

p4_pd_velmar_switch_l2LookupMiss_match_spec_t broadcasts_of(uint16_t port) {
    return {.egrMd_dmacOui = broadcast_mac.oui,
            .egrMd_dmacOui_mask = all_of_half,
            .egrMd_dmacStation = broadcast_mac.station,
            .egrMd_dmacStation_mask = all_of_half,
            .ig_intr_md_ingress_port = port,
            .ig_intr_md_ingress_port_mask = 0x7F};
}

pd_entry entry_of(const Leaf& leaf, uint16_t port) {
    const auto key = broadcasts_of(port);
    pd_entry entry = 0;
    expect("finding the broadcasts of port " + std::to_string(port),
           p4_pd_velmar_switch_l2LookupMiss_match_spec_to_entry_hdl(leaf.session, leaf.target, &key, any_priority,
                                                                    &entry));
    return entry;
}

} // namespace

void limit_broadcasts(Leaf& leaf) {
    // The meter is set with the entry, so a port is never without one.
    for (const uint16_t port : server_ports)
        make(leaf, "broadcasts of port " + std::to_string(port), ENTRY(l2LookupMiss, l2LookupBcastHit),
             broadcasts_of(port), any_priority, usual_limit);
}

void set_broadcast_limit(const Leaf& leaf, uint16_t server_port, const pd_meter_spec& limit) {
    expect("limiting the broadcasts of port " + std::to_string(server_port),
           p4_pd_velmar_switch_meter_set_stormControlMeter(leaf.session, leaf.target.dev_id,
                                                           entry_of(leaf, server_port), &limit));
}

pd_meter_spec broadcast_limit(const Leaf& leaf, uint16_t server_port) {
    pd_meter_spec limit = {};
    expect("reading the limit of port " + std::to_string(server_port),
           p4_pd_velmar_switch_meter_read_stormControlMeter(leaf.session, leaf.target, entry_of(leaf, server_port),
                                                            &limit));
    return limit;
}

} // namespace leaf_switch
