// Counters of drops and of what the CPU gets. The steps that add such entries enlist them; here they are read.
#include "leaf_switch/steps.h"

namespace leaf_switch {

std::vector<PacketCount> packet_counts(const Leaf& leaf) {
    // The driver answers from its own copy, which is as old as the last time somebody asked for this.
    constexpr uint32_t up_to_date = 1;
    std::vector<PacketCount> counts;
    for (const CountingEntry& counting : leaf.counting) {
        pd_counter_value value = {};
        expect("reading the count of packets " + counting.what,
               counting.read(leaf.session, leaf.target.dev_id, counting.entry, up_to_date, &value));
        // This driver counts packets in the first and bytes in the second.
        counts.push_back({counting.what, value.count_a, value.count_b});
    }
    return counts;
}

} // namespace leaf_switch
