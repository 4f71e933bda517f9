// The steps of the bring-up, in the order in which they run, and the helpers that every step uses.
#pragma once

#include <cstdint>
#include <string>

#include "leaf_switch/leaf_switch.h"

namespace leaf_switch {

// leaf_switch.cpp
void start(Leaf& leaf);
// ports.cpp
void map_ports(Leaf& leaf);
// layer2.cpp
void set_up_vlans(Leaf& leaf);
void fill_mac_table(Leaf& leaf);
// storm_control.cpp
void limit_broadcasts(Leaf& leaf);
// learning.cpp
void learn_stations(Leaf& leaf);
// vxlan_ports.cpp
void recognise_vxlan(Leaf& leaf);
// lag.cpp
void bundle_ports(Leaf& leaf);
// routing.cpp
void open_vrf(Leaf& leaf);
void add_next_hops(Leaf& leaf);
void choose_hash(Leaf& leaf);
void join_spines(Leaf& leaf);
void add_routes(Leaf& leaf);
// acl.cpp
void forbid_telnet(Leaf& leaf);
void decide_drops(Leaf& leaf);
// traps.cpp
void trap_to_cpu(Leaf& leaf);

// Every status goes through here: throws Refused if it isn't success. `what` says what was tried: "adding ...".
void expect(const std::string& what, pd_status status);

// summary.cpp: the members of the ECMP group, in the driver's order, and what one of them says.
std::vector<pd_member> spine_members(const Leaf& leaf);
uint32_t next_hop_of(const Leaf& leaf, pd_member member);
// vxlan_ports.cpp
pd_status count_vxlan_ports(pd_session session, pd_dev_tgt target, uint32_t* count);

using Remove = pd_status(pd_session, pd_device, uint32_t);
using Reset = pd_status(pd_session, pd_dev_tgt);
void remove_at_shut_down(Leaf& leaf, const std::string& what, Remove* remove, uint32_t handle);
void reset_at_shut_down(Leaf& leaf, const std::string& what, Reset* reset);

// All functions that make something have one shape: session and device first, then what is made (key, priority, action
// record), then the new handle's place. So have all that remove by handle: entries, members and groups.
template <class Add, class... Arguments>
uint32_t make(Leaf& leaf, const std::string& what, Add* add, Remove* remove, Arguments... arguments) {
    uint32_t handle = 0;
    expect("adding " + what, add(leaf.session, leaf.target, arguments..., &handle));
    remove_at_shut_down(leaf, what, remove, handle);
    return handle;
}

// A default entry is always there: it is set, and a reset puts back what the pipeline started with.
template <class Set, class... Arguments>
void set_default(Leaf& leaf, const std::string& what, Set* set, Reset* reset, Arguments... arguments) {
    pd_entry handle = 0;
    expect("setting " + what, set(leaf.session, leaf.target, arguments..., &handle));
    reset_at_shut_down(leaf, what, reset);
}

// In masked tables entries that match the same packet are ordered by priority. The switch has no such entries, or such
// that do the same: any priority will do.
inline constexpr uint32_t any_priority = 1;

} // namespace leaf_switch
