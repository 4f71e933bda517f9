// From an interface to the port that a packet leaves by: the look-up that settles the port of a forwarded packet.
// lagGroup is an indirect table: its entries point at members (one way to go on) or at groups (several, of which a hash
// chooses one).
#include "leaf_switch/steps.h"
#include "leaf_switch/topology.h"

namespace leaf_switch {
namespace {

void resolve_lag(Leaf& leaf) {
    std::vector<pd_member> members;
    for (const uint16_t port : lag_ports) {
        const p4_pd_velmar_switch_setLagPort_action_spec_t out = {.action_egrL2AintfPort = port};
        members.push_back(make(leaf, "port " + std::to_string(port) + " of the LAG",
                               p4_pd_velmar_switch_lagPortActionProfile_add_member_with_setLagPort,
                               p4_pd_velmar_switch_lagPortActionProfile_del_member, &out));
    }
    // Made after its members, so that it goes before them: a member in a group can't be removed.
    leaf.lag = make(leaf, "the LAG", p4_pd_velmar_switch_lagPortActionProfile_create_group,
                    p4_pd_velmar_switch_lagPortActionProfile_del_group, uint32_t{std::size(lag_ports)});
    for (const pd_member member : members) {
        expect("joining a port to the LAG", p4_pd_velmar_switch_lagPortActionProfile_add_member_to_group(
                                                leaf.session, leaf.target.dev_id, leaf.lag, member));
    }
    // The entry comes last: it takes its action from the group, which has none before a member joined.
    const p4_pd_velmar_switch_lagGroup_match_spec_t key = {.egrMd_egrL2AintfUnresolved = lag_interface,
                                                           .egrMd_egrL2AintfUnresolved_mask = all_of_interface};
    make(leaf, "the LAG's interface", p4_pd_velmar_switch_lagGroup_add_entry_with_selector,
         p4_pd_velmar_switch_lagGroup_table_delete, &key, any_priority, leaf.lag);
}

} // namespace

void bundle_ports(Leaf& leaf) {
    resolve_lag(leaf);

    // One entry for all ports: the mask looks at the kind alone, and the interface is the port's number already.
    const pd_member as_it_is = make(leaf, "the member of plain ports",
                                    p4_pd_velmar_switch_lagPortActionProfile_add_member_with_setPhysicalPort,
                                    p4_pd_velmar_switch_lagPortActionProfile_del_member);
    const p4_pd_velmar_switch_lagGroup_match_spec_t port = {.egrMd_egrL2AintfUnresolved = 0,
                                                            .egrMd_egrL2AintfUnresolved_mask = interface_kind};
    make(leaf, "the interfaces of plain ports", p4_pd_velmar_switch_lagGroup_add_entry,
         p4_pd_velmar_switch_lagGroup_table_delete, &port, any_priority, as_it_is);

    // Any other interface is a mistake of whoever wrote it to a table. Marked, its packets end in decide_drops().
    const pd_member nowhere = make(leaf, "the member of strange interfaces",
                                   p4_pd_velmar_switch_lagPortActionProfile_add_member_with_invalidateUcastEgressPort,
                                   p4_pd_velmar_switch_lagPortActionProfile_del_member);
    set_default(leaf, "the end of strange interfaces", p4_pd_velmar_switch_lagGroup_set_default_entry,
                p4_pd_velmar_switch_lagGroup_table_reset_default_entry, nowhere);
}

} // namespace leaf_switch
