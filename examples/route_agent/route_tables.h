// The route tables behind one interface. The library has functions and records for each table; here each table is a row
// of functions over entries of the plan.
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "route_agent/device.h"
#include "route_agent/plan.h"

namespace route_agent {

// What an entry of the pipeline says, in terms that fit every route table.
struct Content {
    bool is_default = false;
    uint32_t action = 0; // by number
    // The key: the VRF, or the partition in a second level, and the prefix.
    unsigned scope = 0;
    Prefix prefix;
    // The parameters that the action has, filled in only for the action that the agent uses in the table.
    std::optional<uint32_t> result_priority, partition, next_hop_table, next_hop, ecmp_group;

    friend bool operator==(const Content&, const Content&) = default;
};

std::ostream& operator<<(std::ostream& out, const Content& content);

// These functions have the same type in every table.
using GetHandle = decltype(PD(ipv4Host, get_mat_table_handle));
using GetCount = decltype(PD(ipv4Host, get_entry_count));
using GetFirst = decltype(PD(ipv4Host, get_first_entry_handle));
using GetNext = decltype(PD(ipv4Host, get_next_entry_handles));
using GetPlacement = decltype(PD(ipv4Host, get_plcmt_data));
using EqualToHardware = decltype(PD(ipv4Host, plcmt_data_eq_to_hw));

struct RouteTable {
    const char* name;
    GetHandle* handle;
    pd_status (*add)(const Device&, const Entry&, pd_entry&);
    pd_status (*find)(const Device&, const Entry&, pd_entry&);
    pd_status (*remove)(const Device&, const Entry&); // by key
    pd_status (*read)(const Device&, pd_entry, Content&);
    Content (*meant)(const Device&, const Entry&); // what reading the entry must give
    GetCount* count;
    GetFirst* first;
    GetNext* next;
    GetPlacement* placement;
    EqualToHardware* equal_to_hardware;
};

extern const PerTable<RouteTable> route_tables;

// A packet's fields in the form of a route table's key: the VRF or partition, in this many bytes, and the address.
struct PacketKey {
    std::array<uint8_t, 2 + 16> bytes{};
    uint32_t length = 0;
};
PacketKey packet_key(unsigned scope_bytes, unsigned scope, Family family, Address address);

// Asks whether the hardware holds the entry as the driver's placement data says. If not, `difference` says how.
pd_status compare_placement(const Device& device, GetPlacement* placement, EqualToHardware* equal_to_hardware,
                            pd_entry handle, std::string& difference);

} // namespace route_agent
