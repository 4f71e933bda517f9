// A small leaf switch, brought up from nothing: the tour through the library for newcomers. Each step is in the file of
// its subject; steps.h lists the steps in the order in which they run.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "leaf_switch/topology.h"
#include "vl_pd/velmar_switch.h"

namespace leaf_switch {

// An entry of a table whose entries count their packets.
struct CountingEntry {
    std::string what; // the packets that it counts
    pd_status (*read)(pd_session, pd_device, pd_entry, uint32_t flags, pd_counter_value*);
    pd_entry entry;
};

struct Learning; // learning.cpp

// Where a step works, and what later steps need to know about earlier ones.
struct Leaf {
    pd_session session = 0;
    pd_dev_tgt target = {.dev_id = 0, .pipe_id = PD_ALL_PIPES, .reserved = 0};
    pd_group spines = 0; // the ECMP group of all uplinks
    pd_group lag = 0;    // the group of the LAG's ports
    std::vector<CountingEntry> counting;
    std::shared_ptr<Learning> learning; // the driver's callbacks have its address, so it never moves
    // Removes each thing that was made. Run from the back, so that nothing is removed before what points at it.
    std::vector<std::function<void(const Leaf&)>> undo;
};

// A call that the driver or the library refused. The message says what was tried and what the answer was.
class Refused : public std::runtime_error {
public:
    Refused(const std::string& what, pd_status status);
};

// The caller must shut_down() the result. If a step is refused, takes down what was made before, and throws Refused.
Leaf bring_up();

// Does all its steps, and then throws what the first refused step threw. Also throws if a table isn't empty at the end.
void shut_down(Leaf& leaf);

struct TableCount {
    const char* name;
    uint32_t count;
};

// Counts every table that the switch uses, and the members and groups of its action profiles.
std::vector<TableCount> table_counts(const Leaf& leaf);

// What the actions of a group's members say, in the driver's order: next hops or ports.
std::vector<uint32_t> spine_next_hops(const Leaf& leaf);
std::vector<uint32_t> lag_ports_in_use(const Leaf& leaf);

// These functions change and read a running switch. They also throw Refused.

// learning.cpp: the stations that the switch learned from digests.
struct Station {
    Mac mac;
    uint16_t vlan;
    uint32_t interface;
    friend bool operator==(const Station&, const Station&) = default;
};
std::vector<Station> learned_stations(const Leaf& leaf); // by VLAN and MAC
// Forgets the stations that the driver called silent for too long. Returns their number.
size_t forget_silent(const Leaf& leaf);

// storm_control.cpp
void set_broadcast_limit(const Leaf& leaf, uint16_t server_port, const pd_meter_spec& limit);
pd_meter_spec broadcast_limit(const Leaf& leaf, uint16_t server_port);

// acl.cpp
struct PacketCount {
    std::string what;
    uint64_t packets;
    uint64_t bytes;
};
std::vector<PacketCount> packet_counts(const Leaf& leaf);

// vxlan_ports.cpp: the UDP ports whose packets the parser treats as VXLAN.
std::vector<uint16_t> vxlan_ports(const Leaf& leaf);

// ecmp_prediction.cpp: the next hop as the agent works it out, and as the driver says when asked.
struct Flow {
    uint32_t source;
    uint32_t destination;
    uint8_t protocol;
    uint16_t source_port;
    uint16_t destination_port;
};
uint32_t predicted_next_hop(const Leaf& leaf, const Flow& flow);
uint32_t chosen_next_hop(const Leaf& leaf, const Flow& flow);

// snapshot.cpp: the values of one field of a packet in several stages.
inline constexpr uint8_t first_snapshot_stage = 4;
inline constexpr uint8_t last_snapshot_stage = 7;
inline constexpr size_t snapshot_field = 2; // the place in the records of the field, which has 16 bits
struct Capture {
    unsigned trigger_stage;
    std::vector<uint16_t> field; // one value for each stage, from first_snapshot_stage on
};
uint32_t arm_snapshot(const Leaf& leaf, uint16_t field);
std::optional<Capture> read_snapshot(uint32_t snapshot); // nothing before the trigger has matched
void delete_snapshot(uint32_t snapshot);

// traffic.cpp: what packets and time do to the switch. The embedded driver has neither, so the tour and the tests make
// them. On a real switch they come by themselves.

// Each station sends a frame. The pipeline reports those that it has to learn in one digest. Returns their number.
size_t send_frames(const Leaf& leaf, std::span<const Station> senders);

// The end of a packet's route: an ECMP group, or a next hop with its interface and Ethernet header.
struct Way {
    uint32_t number;        // of the group or the next hop
    uint32_t interface = 0; // 0 for a group, and so are MAC and VLAN
    Mac mac = {};
    uint16_t vlan = 0;
    friend bool operator==(const Way&, const Way&) = default;
};
// Sends a packet to this address through the tables of routes.
Way route_packet(const Leaf& leaf, uint32_t destination);

// A packet, with the results of tables that send_packets() doesn't look at.
struct Packet {
    std::string what; // "for telnet"
    uint16_t ingress_port = 0;
    Mac destination_mac = {};
    uint32_t interface = 0; // where it leaves
    uint32_t destination = 0;
    uint8_t protocol = 0;
    uint16_t destination_port = 0;
    uint32_t bytes = 64;
    bool is_arp = false;        // otherwise IPv4
    bool is_over_limit = false; // the result of the meter of broadcasts
};

// Sends `count` such packets. Throws unless the entries of these names count all of them, and other entries count none.
void send_packets(const Leaf& leaf, const Packet& packet, unsigned count, const std::vector<std::string>& counted_as);

// A packet matches the trigger in a stage. The watched field has these values, from the first stage on.
void send_through_snapshot(uint32_t snapshot, unsigned trigger_stage, std::span<const uint16_t> field);

void pass_time(uint32_t seconds);

// Shows all of this at work, with our own traffic. Also throws if the switch does anything that was not planned.
void take_tour(const Leaf& leaf, std::ostream& out);

// Traffic for a switch that stays up: some packets of each kind, and the time until the next round. Also throws if the
// switch does anything that was not planned. Rounds change no entries except those of learned stations.
inline constexpr unsigned rounds_per_second = 5;
void send_round(const Leaf& leaf, unsigned round);

// Prints what it reads back from the driver, because the bring-up keeps none of it. Throws Refused.
void print_summary(const Leaf& leaf, std::ostream& out);

} // namespace leaf_switch
