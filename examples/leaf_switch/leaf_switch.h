// A small leaf switch, brought up from nothing: the tour through the library for those who are new to it. Each step
// stands in a file by its subject; steps.h lists them in the order in which they run.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "vl_pd/velmar_switch.h"

namespace leaf_switch {

// All that a step needs to know where it works, and what later steps need to know of earlier ones.
struct Leaf {
    pd_session session = 0;
    pd_dev_tgt target = {.dev_id = 0, .pipe_id = PD_ALL_PIPES, .reserved = 0};
    pd_group spines = 0; // the ECMP group of all uplinks
    pd_group lag = 0;    // the group of the LAG's ports
    // How each thing made goes away again; run from the back, so that nothing goes before what points at it.
    std::vector<std::function<void(const Leaf&)>> undo;
};

// A call that the driver, or the library, did not do. The message says what was tried and what the answer was.
class Refused : public std::runtime_error {
public:
    Refused(const std::string& what, pd_status status);
};

// What comes back is for shut_down(). At the first step that is refused, takes down what stands by then, and throws
// Refused.
Leaf bring_up();

// Does all its steps, and then throws what the first refused one threw. Throws also if a table isn't empty at the end.
void shut_down(Leaf& leaf);

struct TableCount {
    const char* name;
    std::uint32_t count;
};

// Of every table that the switch uses, and of members and groups of its action profiles.
std::vector<TableCount> table_counts(const Leaf& leaf);

// The members of a group, in the driver's order, as what their actions say: next hops or ports.
std::vector<std::uint32_t> spine_next_hops(const Leaf& leaf);
std::vector<std::uint32_t> lag_ports_in_use(const Leaf& leaf);

// Reads back from the driver what it tells; nothing of it was kept since the bring-up. Throws Refused.
void print_summary(const Leaf& leaf, std::ostream& out);

} // namespace leaf_switch
