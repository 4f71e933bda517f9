// What the commands share: how they walk the entries of a table and read one. An unknown name is a Problem. What can't
// be read is a complaint, and the rest is shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "views/library.h"
#include "views/output.h"
#include "views/pipeline.h"
#include "views/query.h"
#include "views/stopwatch.h"

namespace pd_views {

// Follows a command at work.
class Watcher {
public:
    virtual ~Watcher() = default;
    // A phase of so many steps begins, or ends.
    virtual void begin(const char* /*phase*/, size_t /*steps*/) {}
    virtual void end() {}
    // Throws to end the command.
    virtual void step() {}
};

// What show_entries did.
struct EntryTimes {
    size_t shown = 0;
    TimeSpent text; // making it
};

struct Work {
    const Query& query;
    const Library& library;
    pd_session session;
    pd_dev_tgt target;
    const Pipeline& pipeline;
    Output& out;
    Complaints& complaints;
    Watcher& watcher;
    bool live = false;           // others may change the tables meanwhile
    EntryTimes* times = nullptr; // of show_entries, if somebody asks
};

// The commands. They return false if the hardware differs.
using Command = bool(const Work& work);
Command show_tables;
Command show_table;
Command show_entries;
Command show_counters;
Command show_profiles;
Command show_profile;
Command verify;
Command show_match;
Command show_route;

// Complains that a call was refused.
void complain(const Work& work, const std::string& call, pd_status status);

// The table that the user named, or all tables.
std::vector<const Table*> chosen_tables(const Work& work);

// The number of entries; 0 for a keyless table. Nothing, and a complaint, if the driver refuses to count them.
std::optional<uint32_t> count_entries(const Work& work, const Table& table);
// PD_HDL_END if there is none.
pd_entry default_entry(const Work& work, const Table& table);

// The numbers of members and groups; as above.
std::optional<uint32_t> count_members(const Work& work, const Profile& profile);
std::optional<uint32_t> count_groups(const Work& work, const Profile& profile);

// Two calls of the driver that list handles: the first one, and those that follow another.
struct Listing {
    std::function<pd_status(uint32_t* handle)> first;
    std::function<pd_status(uint32_t after, uint32_t count, uint32_t* handles)> next;
};
// Visits the handles, from the first one or from the one after `after`, until `visit` returns false. Returns how many
// it visited, or nothing if it didn't come to the end. Complains if the driver refuses a call; `what` names the items.
std::optional<size_t> walk(const Work& work, const std::string& what, const Listing& listing,
                           std::optional<uint32_t> after, const std::function<bool(uint32_t handle)>& visit);

// Returns whether to go on.
using Visit = std::function<bool(pd_entry handle, bool is_default)>;
// Visits all entries except the default one, and returns whether to go on. Complains if the driver lists more or fewer
// entries than it counted.
bool visit_entries(const Work& work, const Table& table, std::optional<uint32_t> counted, const Visit& visit,
                   std::optional<pd_entry> after = {});
// Visits the default entry last.
void visit_all_entries(const Work& work, const Table& table, std::optional<uint32_t> counted, const Visit& visit,
                       std::optional<pd_entry> after = {});

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

// Sets the members that an entry of the table has. Returns the library's status.
pd_status read_entry(const Work& work, const Table& table, pd_entry handle, bool from_hw, Entry& entry);

// Whether the driver's software has the entry. Also true if the driver's answer leaves this open.
bool exists(const Work& work, const Table& table, pd_entry handle);

enum class Found { read, deleted, unreadable };

// Runs `read`, which returns whether it could read the entry. Somebody may have deleted the entry since it was listed, or
// added another one in its place while this looks.
template <class Read>
Found read_listed(const Work& work, const Table& table, pd_entry handle, Read&& read) {
    for (unsigned tries = 0; tries < 4; ++tries) {
        if (read()) return Found::read;
        if (!work.live) break;
        if (!exists(work, table, handle)) return Found::deleted;
    }
    return Found::unreadable;
}

// The entry as a line of a dump shows it, and the action of an entry or member.
std::string entry_text(const Work& work, const Table& table, const Entry& entry, pd_entry handle, bool is_default);
std::string action_text(const Work& work, uint32_t number, const void* params);
// As JSON: an object, and the members "action" and "params" of one.
std::string entry_json(const Work& work, const Table& table, const Entry& entry, pd_entry handle, bool is_default);
std::string action_json(const Work& work, uint32_t number, const void* params);

// The library's value string. Empty if the entry can't be read.
std::string value_string(const Work& work, const Table& table, pd_entry handle, bool from_hw);

} // namespace pd_views
