// The agent's work on the switch, in phases that follow each other, and the report. A phase throws Refused if the
// driver refuses a call. Where the switch is not as planned, the phase counts a difference and goes on.
#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "route_agent/run.h"

namespace route_agent {

// Adds the ECMP groups and the entries of a load.
void program(Run& run, unsigned load);

// How the library's shadow of the ECMP profile is restored: from the device state that the driver logged before, or
// from the driver's tables.
enum class RestoreBy : uint8_t { log, replay };

// Restarts the agent while the switch goes on. Agent and library forget the members and groups; this restores what both
// need, and checks it against the plan.
void restart(Run& run, RestoreBy by);

// Walks every table and reads all entries, groups and members.
void read_back(Run& run);

// Sends packets through the tables in the hardware, to addresses at both ends of all prefixes, beside them and in them,
// and to as many random ones. Each must go where the longest prefix of the list leads. Only routes that are on the
// switch count, but packets also go to the ends of the others. Also sends to all addresses that differ in one bit from
// the first one of a prefix in `near`. Shows the first stray of each expected prefix and entry taken, and counts all.
void send_packets(Run& run, const std::string& when, const std::vector<Prefix>& near = {});

// Sends packets to random addresses until `is_over()`, which is called between rounds of packets. The whole list must be
// on the switch. Packets with a route also count in a queue: the cell of egressPortQueueCount with their group's number.
void keep_sending(Run& run, const std::function<bool()>& is_over);

// Damages random entries in the hardware, and lists them. Returns the prefixes of those in route tables, and for a
// first level also the prefixes of its partition.
std::vector<Prefix> corrupt_hardware(Run& run, uint32_t count, uint32_t seed);

// Lets idle time pass for the host routes, and sends a packet to most hosts. Each packet must take the host's entry.
// Removes the entries that the driver reports as idle.
void age_hosts(Run& run);

// Removes every second route by key, the partitions that are then empty, and the groups that no route leads to.
void remove_every_second(Run& run);

// Counts, walks and reads what is left, and looks for every key that was removed.
void verify_rest(Run& run);

// Asks the library whether the hardware holds each remaining entry as the driver placed it.
void compare_with_hardware(Run& run);

// Asks the driver how many entries are left. May follow a phase that was refused.
void count_left(Run& run);

// True if the phases found everything that was planned and nothing else.
bool all_as_meant(const Run& run);

// Prints a row per table, a row for all, and a row each for the groups and members of ecmpGroup's entries. The calls
// for groups and members count for the rate of ecmpGroup.
void print_report(std::ostream& out, const Run& run);

// The same for the ECMP groups, in ecmp.cpp: members of the profile, groups of them, and the entries of ecmpGroup that
// lead to the groups. Each of the three has a tally.
struct EcmpCounts {
    uint32_t entries = 0;
    uint32_t groups = 0;
    uint32_t members = 0;
};

// Adds the groups of a load with all their paths, and another path to each group of an earlier load.
void add_groups(Run& run, unsigned load);

// Reads all members, groups and entries from the switch, and compares them with the plan. The agent goes on with the
// handles that it reads: after a restart it has no others. Returns how many are as planned.
EcmpCounts learn_groups(Run& run);

// Removes the groups to which no route leads any more.
void remove_groups_without_routes(Run& run);

// Where a group leads: the next hop of all its paths, or the reason why it has none.
struct BehindGroup {
    std::optional<uint32_t> next_hop;
    const char* fault = nullptr; // "which has no entry"
};

// Where a packet goes if it takes the group with this number, in hardware. Compares the next hops of the paths, not
// their next-hop tables: each path has a different table.
BehindGroup next_hop_behind(Run& run, uint32_t number);

// The number of the group that the entry of ecmpGroup leads to, as the driver keeps it.
uint32_t group_number(Run& run, pd_entry entry);

// Looks for the entries of the groups that were removed.
void check_groups_gone(Run& run);

// Asks the library whether the hardware holds each entry as the driver placed it.
void compare_groups_with_hardware(Run& run);

// Asks the driver how many entries, groups and members are left.
void count_groups_left(Run& run);

} // namespace route_agent
