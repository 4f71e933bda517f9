// Which entries of a table a packet matches, in the hardware.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "views/work.h"

namespace pd_views {

// A packet as a table sees it. All fields start at 0.
struct Packet {
    explicit Packet(const Table& for_table) : table(for_table), key(for_table.key_bytes) {}

    // Sets the field from text. Throws a Problem if the text doesn't have the form, or the value has more bits than the
    // field.
    void set(const Field& field, const std::string& text, catalog::Tag form);

    const Table& table;
    std::vector<uint8_t> key; // the bytes of the fields, as a match record has them
    uint32_t partition_index = 0;
};

struct Candidate {
    pd_entry handle;
    uint32_t priority; // as the driver has it: the lowest number wins
};

// The entries that match. The first one is the one that the packet takes. Complains if the driver doesn't agree.
std::vector<Candidate> matching_entries(const Work& work, const Packet& packet);

// Reads the entry from the hardware. Complains if it can't be read.
bool read_hardware(const Work& work, const Table& table, pd_entry handle, bool is_default, Entry& entry);

} // namespace pd_views
