// The steps of the bring-up, in the order in which they run, and the helpers that every step uses.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <type_traits>

#include "leaf_switch/leaf_switch.h"

namespace leaf_switch {

void start(Leaf& leaf);            // leaf_switch.cpp
void map_ports(Leaf& leaf);        // layer2.cpp
void recognise_vxlan(Leaf& leaf);  // vxlan_ports.cpp
void set_up_vlans(Leaf& leaf);     // layer2.cpp
void fill_mac_table(Leaf& leaf);   // layer2.cpp
void limit_broadcasts(Leaf& leaf); // storm_control.cpp
void learn_stations(Leaf& leaf);   // learning.cpp
void bundle_ports(Leaf& leaf);     // lag.cpp
void open_vrf(Leaf& leaf);         // routing.cpp, as are the next four
void add_next_hops(Leaf& leaf);
void choose_hash(Leaf& leaf);
void join_spines(Leaf& leaf);
void add_routes(Leaf& leaf);
void forbid_telnet(Leaf& leaf); // acl.cpp
void decide_drops(Leaf& leaf);  // acl.cpp
void trap_to_cpu(Leaf& leaf);   // acl.cpp

// The keys by which a station is known: as the source of frames, and as their destination.
p4_pd_velmar_switch_l2LearningLookup_match_spec_t source_key(const Station& station);
p4_pd_velmar_switch_l2Lookup_match_spec_t destination_key(const Station& station);

// The application id by which l2LearningLookup asks for a digest if it doesn't know a packet's source.
inline constexpr uint8_t learn_macs = 1;

// Throws Refused if the status isn't success. `what` says what was tried: "adding ...".
void expect(const std::string& what, pd_status status);

// summary.cpp: the members of the ECMP group, in the driver's order, and the next hop of one of them.
std::vector<pd_member> spine_members(const Leaf& leaf);
uint32_t next_hop_of(const Leaf& leaf, pd_member member);
// vxlan_ports.cpp
pd_status count_vxlan_ports(pd_session session, pd_dev_tgt target, uint32_t* count);

using Remove = pd_status(pd_session, pd_device, uint32_t);
using Reset = pd_status(pd_session, pd_dev_tgt);
void at_shut_down(Leaf& leaf, const std::string& what, const std::function<pd_status(const Leaf&)>& undo);

// The library has separate functions for each table and action. Each of these macros names the two that make and remove
// something; ENTRY(ipv4Host, setNextHop) names p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop and
// p4_pd_velmar_switch_ipv4Host_table_delete.
#define ENTRY(table, action)                                                                                           \
    p4_pd_velmar_switch_##table##_table_add_with_##action, p4_pd_velmar_switch_##table##_table_delete
#define DEFAULT_ENTRY(table, action)                                                                                   \
    p4_pd_velmar_switch_##table##_set_default_action_##action, p4_pd_velmar_switch_##table##_table_reset_default_entry
#define MEMBER(profile, action)                                                                                        \
    p4_pd_velmar_switch_##profile##_add_member_with_##action, p4_pd_velmar_switch_##profile##_del_member

// All functions that make something have one shape: session and device first, then what is made (key, priority, action
// record), then the place for the new handle. All functions that remove by handle also have one shape.
template <class Add, class... Arguments>
requires std::invocable<Add*, pd_session, pd_dev_tgt, Arguments..., uint32_t*>
    uint32_t make(Leaf& leaf, const std::string& what, Add* add, Remove* remove, Arguments... arguments) {
    uint32_t handle = 0;
    expect("adding " + what, add(leaf.session, leaf.target, arguments..., &handle));
    at_shut_down(leaf, "removing " + what,
                 [=](const Leaf& made) { return remove(made.session, made.target.dev_id, handle); });
    return handle;
}

// These overloads let callers write records as arguments: a key or a member's action; a key and an action; and both
// forms with a number, such as a priority, after the key.
template <class Key>
uint32_t make(Leaf& leaf, const std::string& what, pd_status (*add)(pd_session, pd_dev_tgt, const Key*, uint32_t*),
              Remove* remove, const std::type_identity_t<Key>& key) {
    return make(leaf, what, add, remove, &key);
}

template <class Key>
uint32_t make(Leaf& leaf, const std::string& what,
              pd_status (*add)(pd_session, pd_dev_tgt, const Key*, uint32_t, uint32_t*), Remove* remove,
              const std::type_identity_t<Key>& key, uint32_t number) {
    return make(leaf, what, add, remove, &key, number);
}

template <class Key, class Action>
uint32_t make(Leaf& leaf, const std::string& what,
              pd_status (*add)(pd_session, pd_dev_tgt, const Key*, const Action*, uint32_t*), Remove* remove,
              const std::type_identity_t<Key>& key, const std::type_identity_t<Action>& action) {
    return make(leaf, what, add, remove, &key, &action);
}

template <class Key, class Action>
uint32_t make(Leaf& leaf, const std::string& what,
              pd_status (*add)(pd_session, pd_dev_tgt, const Key*, uint32_t, const Action*, uint32_t*), Remove* remove,
              const std::type_identity_t<Key>& key, uint32_t number, const std::type_identity_t<Action>& action) {
    return make(leaf, what, add, remove, &key, number, &action);
}

// A default entry always exists: it is set, and a reset restores what the pipeline started with.
template <class Set, class... Arguments>
void set_default(Leaf& leaf, const std::string& what, Set* set, Reset* reset, Arguments... arguments) {
    pd_entry handle = 0;
    expect("setting " + what, set(leaf.session, leaf.target, arguments..., &handle));
    at_shut_down(leaf, "resetting " + what, [=](const Leaf& made) { return reset(made.session, made.target); });
}

// If several entries of a masked table match a packet, the embedded driver takes the one with the lowest priority
// number. In most tables of this switch no two entries match the same packet, so any priority will do.
inline constexpr uint32_t any_priority = 1;

} // namespace leaf_switch
