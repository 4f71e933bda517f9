// From an interface to the port by which a packet leaves. lagGroup is an indirect table: its entries point at members
// (one way out) or at groups (several ways out, from which a hash chooses one).
#include "leaf_switch/steps.h"

namespace leaf_switch {
namespace {

void resolve_lag(Leaf& leaf) {
    std::vector<pd_member> members;
    for (const uint16_t port : lag_ports)
        members.push_back(make(leaf, "port " + std::to_string(port) + " of the LAG",
                               MEMBER(lagPortActionProfile, setLagPort), {.action_egrL2AintfPort = port}));
    // Made after its members, so that it is removed before them: a member in a group can't be removed.
    leaf.lag = make(leaf, "the LAG", p4_pd_velmar_switch_lagPortActionProfile_create_group,
                    p4_pd_velmar_switch_lagPortActionProfile_del_group, uint32_t{std::size(lag_ports)});
    for (const pd_member member : members)
        expect("joining a port to the LAG", p4_pd_velmar_switch_lagPortActionProfile_add_member_to_group(
                                                leaf.session, leaf.target.dev_id, leaf.lag, member));
    // The entry comes last: it takes its action from the group, which has none before a member joins.
    const p4_pd_velmar_switch_lagGroup_match_spec_t key = {.egrMd_egrL2AintfUnresolved = lag_interface,
                                                           .egrMd_egrL2AintfUnresolved_mask = all_of_interface};
    make(leaf, "the LAG's interface", p4_pd_velmar_switch_lagGroup_add_entry_with_selector,
         p4_pd_velmar_switch_lagGroup_table_delete, &key, any_priority, leaf.lag);
}

} // namespace

void bundle_ports(Leaf& leaf) {
    resolve_lag(leaf);

    // One entry serves all ports: the mask selects only the kind, and the interface already is the port's number.
    const pd_member as_it_is = make(leaf, "the member of plain ports", MEMBER(lagPortActionProfile, setPhysicalPort));
    const p4_pd_velmar_switch_lagGroup_match_spec_t port = {.egrMd_egrL2AintfUnresolved = 0,
                                                            .egrMd_egrL2AintfUnresolved_mask = interface_kind};
    make(leaf, "the interfaces of plain ports", p4_pd_velmar_switch_lagGroup_add_entry,
         p4_pd_velmar_switch_lagGroup_table_delete, &port, any_priority, as_it_is);

    // Any other interface in a table is a mistake. Its packets are marked, and dropped by decide_drops().
    const pd_member nowhere =
        make(leaf, "the member of strange interfaces", MEMBER(lagPortActionProfile, invalidateUcastEgressPort));
    set_default(leaf, "the end of strange interfaces", p4_pd_velmar_switch_lagGroup_set_default_entry,
                p4_pd_velmar_switch_lagGroup_table_reset_default_entry, nowhere);
}

} // namespace leaf_switch
