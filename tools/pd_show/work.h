// What the commands of pd-show share: how they walk the entries of a table and read one. An unknown name is a Problem.
// What can't be read is a complaint, and the rest is shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "pd_show/library.h"
#include "pd_show/output.h"
#include "pd_show/pipeline.h"

namespace pd_show {

struct Work {
    const Arguments& arguments;
    const Library& library;
    pd_session session;
    pd_dev_tgt target;
    const Pipeline& pipeline;
    Output& out;
    Complaints& complaints;
};

// The commands. They return false if the hardware differs.
bool show_tables(const Work& work);
bool show_table(const Work& work);
bool show_entries(const Work& work);
bool show_counters(const Work& work);
bool verify(const Work& work);
bool show_match(const Work& work);
bool show_route(const Work& work);

// Damages entries in the embedded driver's hardware, as many as --corrupt says, and reports each.
void corrupt_hardware(const Work& work);

// Complains that a call was refused.
void complain(const Work& work, const std::string& call, pd_status status);

// The table that the user named, or all tables.
std::vector<const Table*> chosen_tables(const Work& work);

// The number of entries; 0 for a keyless table. Nothing, and a complaint, if the driver refuses to count them.
std::optional<uint32_t> count_entries(const Work& work, const Table& table);
// PD_HDL_END if there is none.
pd_entry default_entry(const Work& work, const Table& table);

using Visit = std::function<void(pd_entry handle, bool is_default)>;
// Visits all entries except the default one. Complains if the driver lists more or fewer entries than it counted.
void visit_entries(const Work& work, const Table& table, std::optional<uint32_t> counted, const Visit& visit);
// Visits the default entry last.
void visit_all_entries(const Work& work, const Table& table, std::optional<uint32_t> counted, const Visit& visit);

// "#5" or "default".
std::string entry_name(pd_entry handle, bool is_default);

constexpr size_t most_bytes = 4096; // far more than any text or record of an entry has

struct Entry {
    alignas(std::max_align_t) uint8_t key[most_bytes];
    alignas(std::max_align_t) uint8_t params[most_bytes];
    uint32_t action; // its number in the catalog
    uint32_t priority;
    uint8_t is_default; // an entry without a key
    uint8_t has_member; // from here on: only of tables with a profile
    uint8_t has_group;
    pd_member member;
    pd_group group;
};

// Sets the members that an entry of the table has. False if the entry can't be read.
bool read_entry(const Work& work, const Table& table, pd_entry handle, bool from_hw, Entry& entry);

// The entry as a line of a dump shows it, and the action of an entry or member.
std::string entry_text(const Work& work, const Table& table, const Entry& entry, pd_entry handle, bool is_default);
std::string action_text(const Work& work, uint32_t number, const void* params);

// The library's value string. Empty if the entry can't be read.
std::string value_string(const Work& work, const Table& table, pd_entry handle, bool from_hw);

} // namespace pd_show
