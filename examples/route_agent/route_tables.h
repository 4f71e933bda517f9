// The route tables behind one face: what the library offers as functions and records of their own for every table, as a
// row of functions over entries.
#pragma once

#include <span>
#include <string>

#include "route_agent/device.h"
#include "route_agent/plan.h"

namespace route_agent {

// All that an entry of the pipeline says, in terms that fit every route table. What a table lacks is 0.
struct Content {
    bool is_default = false;
    uint32_t action = 0; // by number
    // The key: the VRF, or the partition in a second level, and the prefix.
    unsigned scope = 0;
    Prefix prefix;
    // The parameters. Only those of the action that the agent uses in the table are filled in.
    unsigned result_priority = 0;
    unsigned partition = 0;
    unsigned next_hop_table = 0;
    uint32_t next_hop = 0;
    uint32_t ecmp_group = 0;

    friend bool operator==(const Content&, const Content&) = default;
};

std::string to_text(const Content& content);

// Characters that the library writes at most to tell a difference.
inline constexpr size_t longest_difference = 65;

struct RouteTable {
    const char* name;
    pd_status (*add)(const Device&, const Entry&, pd_entry&);
    pd_status (*find)(const Device&, const Entry&, pd_entry&);
    pd_status (*remove)(const Device&, const Entry&); // by key
    pd_status (*read)(const Device&, pd_entry, Content&);
    pd_status (*count)(const Device&, uint32_t&);
    pd_status (*first)(const Device&, pd_entry&);
    pd_status (*next)(const Device&, pd_entry, std::span<pd_entry>);
    // Whether the hardware holds the entry as the driver's placement data says; if not, the text tells the difference.
    pd_status (*compare_with_hardware)(const Device&, pd_entry, std::string& difference);
    Content (*meant)(const Device&, const Entry&); // what reading the entry must give
};

const RouteTable& route_table(TableId table);

} // namespace route_agent
