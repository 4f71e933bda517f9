// The ECMP groups, and the restart, which concerns only them. The switch keeps members, groups and entries, but the
// agent loses the handles of members and groups. The library loses its shadow of the profile. Without it, nothing can
// be added to a group, because only the shadow knows the action that the driver takes.
#include "route_agent/phases.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <set>

#include "vl_model/traffic.h"

namespace route_agent {
namespace {

// A phase's work on the groups.
struct EcmpWork {
    explicit EcmpWork(Run& of_run) : run(of_run) {}

    Run& run;
    const pd_session session = run.device.session;
    const pd_dev_tgt target = run.device.target;
    Account entries{run, "ecmpGroup", run.ecmp_entries};
    Account groups{run, "ECMP groups", run.ecmp_groups};
    Account members{run, "ECMP members", run.ecmp_members};
};

// What a member says. All paths of a group lead to the number of its next hop, each in a different next-hop table.
struct Path {
    unsigned next_hop_table = 0;
    uint32_t next_hop = 0;

    friend auto operator<=>(const Path&, const Path&) = default;
};

std::ostream& operator<<(std::ostream& out, const Path& path) {
    return out << path.next_hop << " of table " << path.next_hop_table;
}

size_t number_of(const Run& run, size_t row) {
    return run.plan.first_group + row;
}

PD(ecmpGroup, match_spec_t) key_of(size_t number) {
    return {.l3_nextHop = static_cast<uint32_t>(number)};
}

pd_status add_entry(const EcmpWork& work, size_t number, pd_group group) {
    const auto key = key_of(number);
    pd_entry entry = 0;
    return PD(ecmpGroup, add_entry_with_selector)(work.session, work.target, &key, group, &entry);
}

pd_status find_entry(const EcmpWork& work, size_t number, pd_entry& entry) {
    const auto key = key_of(number);
    return PD(ecmpGroup, match_spec_to_entry_hdl)(work.session, work.target, &key, &entry);
}

pd_status join(const EcmpWork& work, pd_group group, pd_member member) {
    return PD(ecmpMemberActionProfile, add_member_to_group)(work.session, work.target.dev_id, group, member);
}

void add_path(EcmpWork& work, size_t row) {
    GroupState& group = work.run.groups[row];
    const PD(setEcmpNextHop, action_spec_t) action = {.action_nextHopTable = static_cast<uint8_t>(group.path_count),
                                                      .action_nextHop = work.run.plan.groups[row].next_hop};
    pd_member member = 0;
    work.members.done(
        PD(ecmpMemberActionProfile, add_member_with_setEcmpNextHop)(work.session, work.target, &action, &member),
        "adding one for group ", number_of(work.run, row));
    ++work.members.tally.added;
    work.groups.done(join(work, group.handle, member), "adding a member to group ", number_of(work.run, row));
    group.members.push_back(member);
    ++group.path_count;
}

void add_group(EcmpWork& work, size_t row) {
    constexpr uint32_t no_limit = 0;
    GroupState& group = work.run.groups[row];
    work.groups.done(PD(ecmpMemberActionProfile, create_group)(work.session, work.target, no_limit, &group.handle),
                     "creating ", number_of(work.run, row));
    ++work.groups.tally.added;
    const EcmpGroup& planned = work.run.plan.groups[row];
    while (group.path_count < path_count(planned, number_of(work.run, row), planned.load))
        add_path(work, row);
    // Last: an entry takes over the action of its group, which a group without members doesn't have.
    work.entries.done(add_entry(work, number_of(work.run, row), group.handle), "adding ", number_of(work.run, row));
    ++work.entries.tally.added;
    group.state = RowState::standing;
}

// What the member says in hardware. Nothing if it has another action.
std::optional<Path> read_member(EcmpWork& work, pd_member member) {
    constexpr uint8_t read_from_hw = 1;
    pd_action_record record{};
    work.members.done(
        PD(ecmpMemberActionProfile, get_member)(work.session, work.target.dev_id, member, read_from_hw, &record),
        "reading ", member);
    if (record.action_id != p4_pd_velmar_switch_action_setEcmpNextHop) {
        work.members.differs("member ", member, " has another action, number ", record.action_id);
        return std::nullopt;
    }
    PD(setEcmpNextHop, action_spec_t) action{};
    std::memcpy(&action, record.spec, sizeof action);
    return Path{action.action_nextHopTable, action.action_nextHop};
}

using FoundMembers = std::map<pd_member, Path>;

FoundMembers read_members(EcmpWork& work) {
    FoundMembers found;
    walk(work.members, work.members.tally.added,
         std::bind_front(PD(ecmpMemberActionProfile, get_first_member), work.session, work.target),
         std::bind_front(PD(ecmpMemberActionProfile, get_next_members), work.session, work.target),
         [&](pd_member member) {
             if (const std::optional<Path> path = read_member(work, member)) found[member] = *path;
         });
    return found;
}

// Calls `visit(member)` for the members of the group.
void walk_group(EcmpWork& work, pd_group group, const std::function<void(pd_member)>& visit) {
    const pd_device device = work.target.dev_id;
    walk(work.groups, work.members.tally.added,
         std::bind_front(PD(ecmpMemberActionProfile, get_first_group_member), work.session, device, group),
         std::bind_front(PD(ecmpMemberActionProfile, get_next_group_members), work.session, device, group), visit);
}

struct FoundGroup {
    pd_group handle = 0;
    std::map<Path, pd_member> paths;
    size_t member_count = 0; // more than paths, if two members say the same
};

// Moves the members that the group has from `loose` to the group.
FoundGroup read_group(EcmpWork& work, pd_group handle, FoundMembers& loose) {
    FoundGroup found{.handle = handle, .paths = {}};
    walk_group(work, handle, [&](pd_member member) {
        ++found.member_count;
        if (const auto node = loose.extract(member))
            found.paths.emplace(node.mapped(), member);
        else
            work.groups.differs("group handle ", handle, " has member ", member,
                                ", which is unknown or in another group");
    });
    uint32_t count = 0;
    work.groups.done(
        PD(ecmpMemberActionProfile, get_selector_group_member_count)(work.session, work.target, handle, &count),
        "counting the members of handle ", handle);
    if (count != found.member_count)
        work.groups.differs("the driver counts ", grouped(count), " members of group handle ", handle, ", and lists ",
                            grouped(found.member_count));
    return found;
}

// The entry's group, and its key, in hardware or as the driver keeps them. Group 0 if it points at none.
pd_group read_entry(EcmpWork& work, pd_entry entry, PD(ecmpGroup, match_spec_t) & key, uint32_t read_from_hw = 1) {
    uint8_t has_member = 0, has_group = 0, is_default = 0;
    pd_group group = 0;
    pd_member member = 0;
    work.entries.done(PD(ecmpGroup, get_entry)(work.session, work.target.dev_id, entry, read_from_hw, &key, &has_member,
                                               &has_group, &group, &member, &is_default),
                      "reading handle ", entry);
    return has_group != 0 && is_default == 0 ? group : 0;
}

// Reads what the switch has, from the members up, and relies only on what the driver says. Returns the groups by the
// numbers of their entries. A group or member that no entry leads to is a difference.
std::map<uint32_t, FoundGroup> read_groups(EcmpWork& work) {
    FoundMembers loose_members = read_members(work);
    std::map<pd_group, FoundGroup> loose;
    walk(work.groups, work.groups.tally.added,
         std::bind_front(PD(ecmpMemberActionProfile, get_first_group), work.session, work.target),
         std::bind_front(PD(ecmpMemberActionProfile, get_next_groups), work.session, work.target),
         [&](pd_group group) { loose[group] = read_group(work, group, loose_members); });
    for (const auto& [member, path] : loose_members)
        work.members.differs("member ", member, ", ", path, ", is in no group");

    std::map<uint32_t, FoundGroup> found;
    walk(work.entries, work.entries.tally.added,
         std::bind_front(PD(ecmpGroup, get_first_entry_handle), work.session, work.target),
         std::bind_front(PD(ecmpGroup, get_next_entry_handles), work.session, work.target), [&](pd_entry entry) {
             PD(ecmpGroup, match_spec_t) key{};
             auto node = loose.extract(read_entry(work, entry, key));
             if (node)
                 found.emplace(key.l3_nextHop, std::move(node.mapped()));
             else
                 work.entries.differs("entry ", key.l3_nextHop,
                                      " points at no group, an unknown one or that of another entry");
         });
    for (const auto& [handle, group] : loose)
        work.groups.differs("no entry leads to group handle ", handle);
    return found;
}

// Compares the paths of a group with the plan.
bool paths_equal(EcmpWork& work, size_t row, const FoundGroup& found) {
    std::vector<Path> meant;
    for (unsigned table = 0; table < work.run.groups[row].path_count; ++table)
        meant.push_back({table, work.run.plan.groups[row].next_hop});
    const auto path_of = [](const auto& item) { return item.first; };
    if (found.member_count == meant.size() && std::ranges::equal(found.paths, meant, {}, path_of)) return true;
    std::string read;
    for (const auto& [path, member] : found.paths)
        read += text_of(read.empty() ? "" : ", ", path);
    work.members.differs("group ", number_of(work.run, row), ": expected ", grouped(meant.size()), " paths, from ",
                         meant.front(), " on, read ", read);
    return false;
}

EcmpCounts driver_counts(EcmpWork& work) {
    EcmpCounts counts;
    work.entries.done(PD(ecmpGroup, get_entry_count)(work.session, work.target, &counts.entries),
                      "counting the entries");
    work.groups.done(PD(ecmpMemberActionProfile, get_selector_group_count)(work.session, work.target, &counts.groups),
                     "counting");
    work.members.done(PD(ecmpMemberActionProfile, get_act_prof_entry_count)(work.session, work.target, &counts.members),
                      "counting");
    return counts;
}

void check_count(Account& account, uint32_t count, uint32_t meant) {
    if (count != meant) account.differs("the driver counts ", grouped(count), ", expected ", grouped(meant));
}

void expect(Account& account, pd_status status, pd_status expected, const std::string& what) {
    ++account.tally.calls;
    if (status != expected)
        account.differs(what, " gave ", vl_model_status_name(status), ", expected ", vl_model_status_name(expected));
}

// Adds a member to a group that has it already, and an entry that exists already. With the shadow the driver says so;
// without it the library can't even ask the driver.
void try_adds(Run& run, const std::string& when, pd_status expected) {
    const auto group = std::ranges::find(run.groups, RowState::standing, &GroupState::state);
    if (group == run.groups.end() || group->members.empty()) return;
    EcmpWork work(run);
    const size_t number = number_of(run, static_cast<size_t>(group - run.groups.begin()));
    const pd_status joined = join(work, group->handle, group->members.front());
    expect(work.groups, joined, expected, text_of("adding a member again to group ", number));
    expect(work.entries, add_entry(work, number, group->handle), expected, text_of("adding entry ", number, " again"));
    run.progress.message(when + ", adding to a group gives " + vl_model_status_name(joined));
}

} // namespace

void add_groups(Run& run, unsigned load) {
    EcmpWork work(run);
    for (size_t row = 0; row < run.groups.size(); ++row)
        if (run.plan.groups[row].load == load)
            add_group(work, row);
        else if (run.plan.groups[row].load < load)
            add_path(work, row);
}

EcmpCounts learn_groups(Run& run) {
    EcmpWork work(run);
    EcmpCounts equal;
    EcmpCounts meant;
    std::map<uint32_t, FoundGroup> found = read_groups(work);
    for (size_t row = 0; row < run.groups.size(); ++row) {
        GroupState& group = run.groups[row];
        const size_t number = number_of(run, row);
        const auto node = found.extract(static_cast<uint32_t>(number));
        if (group.state != RowState::standing) {
            if (node) work.entries.differs("group ", number, " should not exist");
            continue;
        }
        ++meant.groups;
        meant.members += group.path_count;
        if (!node) {
            work.entries.differs("the walk leaves out group ", number);
            continue;
        }
        ++equal.entries;
        if (paths_equal(work, row, node.mapped())) {
            ++equal.groups;
            equal.members += group.path_count;
        }
        group.handle = node.mapped().handle;
        group.members.clear();
        for (const auto& [path, member] : node.mapped().paths)
            group.members.push_back(member);
    }
    for (const auto& [number, group] : found)
        work.entries.differs("the walk gives entry ", number, ", which no group has");
    const EcmpCounts counts = driver_counts(work);
    check_count(work.entries, counts.entries, meant.groups);
    check_count(work.groups, counts.groups, meant.groups);
    check_count(work.members, counts.members, meant.members);
    return equal;
}

void restart(Run& run, RestoreBy by) {
    const pd_device device = run.device.target.dev_id;
    const bool by_log = by == RestoreBy::log;
    run.progress.begin_phase(by_log ? "restart, restored by the device state log" : "restart, restored by replay");
    const auto free_text = [](char* text) { std::free(text); };
    const std::unique_ptr<char, decltype(free_text)> log(by_log ? vl_model_state_log(device) : nullptr);
    if (by_log && log == nullptr) throw Refused("logging the device state", PD_STATUS_NO_MEMORY);
    check(vl_model_device_state_drop(device), "dropping the device state");
    for (GroupState& group : run.groups) {
        group.handle = 0;
        group.members.clear();
    }

    learn_groups(run); // reading doesn't need the shadow
    try_adds(run, "without the shadow", VL_MODEL_NOT_FOUND);
    if (by_log)
        check(vl_model_state_restore(device, log.get()), "restoring by the device state log");
    else // agent and driver agree on the words after the device; this driver takes the session first
        check(p4_pd_velmar_switch_restore_virtual_dev_state(device, run.device.session, 0, 0, 0),
              "restoring by replay");
    try_adds(run, "with the shadow restored", VL_MODEL_EXISTS); // neither way reports what it couldn't restore
}

void remove_groups_without_routes(Run& run) {
    std::vector<bool> needed(number_of(run, run.groups.size()), false); // by number
    for (size_t i = 0; i < table_count; ++i)
        for (size_t row = 0; row < run.rows[i].size(); ++row)
            if (run.rows[i][row] == RowState::standing) needed[run.plan.tables[i][row].group] = true;
    EcmpWork work(run);
    const pd_device device = work.target.dev_id;
    for (size_t row = 0; row < run.groups.size(); ++row) {
        GroupState& group = run.groups[row];
        const size_t number = number_of(run, row);
        if (needed[number] || group.state != RowState::standing) continue;
        // From the entry down: the driver refuses to remove what is in use.
        const auto key = key_of(number);
        work.entries.done(PD(ecmpGroup, table_delete_by_match_spec)(work.session, work.target, &key), "deleting ",
                          number);
        ++work.entries.tally.deleted;
        group.state = RowState::deleted;
        work.groups.done(PD(ecmpMemberActionProfile, del_group)(work.session, device, group.handle), "deleting ",
                         number);
        ++work.groups.tally.deleted;
        for (const pd_member member : group.members) {
            work.members.done(PD(ecmpMemberActionProfile, del_member)(work.session, device, member),
                              "deleting one of group ", number);
            ++work.members.tally.deleted;
        }
        group.members.clear();
    }
}

void check_groups_gone(Run& run) {
    EcmpWork work(run);
    for (size_t row = 0; row < run.groups.size(); ++row) {
        if (run.groups[row].state != RowState::deleted) continue;
        pd_entry entry = 0;
        if (!work.entries.done_unless(VL_MODEL_NOT_FOUND, find_entry(work, number_of(run, row), entry), "looking for ",
                                      number_of(run, row)))
            work.entries.differs("group ", number_of(run, row), " was deleted and is still found");
    }
}

void compare_groups_with_hardware(Run& run) {
    EcmpWork work(run);
    for (size_t row = 0; row < run.groups.size(); ++row) {
        if (run.groups[row].state != RowState::standing) continue;
        const size_t number = number_of(run, row);
        pd_entry entry = 0;
        work.entries.done(find_entry(work, number, entry), "looking for ", number);
        std::string difference;
        work.entries.done(compare_placement(run.device, PD(ecmpGroup, get_plcmt_data),
                                            PD(ecmpGroup, plcmt_data_eq_to_hw), entry, difference),
                          "fetching the placement of ", number);
        work.entries.compared(difference, "group ", number);
    }
}

BehindGroup next_hop_behind(Run& run, uint32_t number) {
    EcmpWork work(run);
    uint32_t table = 0;
    work.entries.done(PD(ecmpGroup, get_mat_table_handle)(&table), "asking for the table's handle");
    const uint8_t key[] = {static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
    pd_entry entry = 0;
    const pd_status status = vl_model_lookup(work.target.dev_id, table, key, sizeof key, 0, &entry);
    if (status == VL_MODEL_NOT_FOUND) return {.next_hop = {}, .fault = "which has no entry"};
    check(status, "looking a packet up in ecmpGroup");
    PD(ecmpGroup, match_spec_t) read{};
    const pd_group group = read_entry(work, entry, read);
    if (group == 0) return {.next_hop = {}, .fault = "whose entry leads to no group"};
    std::set<std::optional<uint32_t>> next_hops;
    walk_group(work, group, [&](pd_member member) {
        const std::optional<Path> path = read_member(work, member);
        next_hops.insert(path ? std::optional(path->next_hop) : std::nullopt);
    });
    if (next_hops.empty()) return {.next_hop = {}, .fault = "which has no member"};
    if (next_hops.size() > 1) return {.next_hop = {}, .fault = "whose paths lead to different next hops"};
    return {.next_hop = *next_hops.begin(), .fault = "whose paths have another action"};
}

uint32_t group_number(Run& run, pd_entry entry) {
    constexpr uint32_t read_from_driver = 0;
    EcmpWork work(run);
    PD(ecmpGroup, match_spec_t) key{};
    read_entry(work, entry, key, read_from_driver);
    return key.l3_nextHop;
}

void count_groups_left(Run& run) {
    EcmpWork work(run);
    const EcmpCounts counts = driver_counts(work);
    run.ecmp_entries.left = counts.entries;
    run.ecmp_groups.left = counts.groups;
    run.ecmp_members.left = counts.members;
}

} // namespace route_agent
