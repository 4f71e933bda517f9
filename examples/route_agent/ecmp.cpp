// See ecmp.h. Changes need the library's shadow of the profile: it knows the action that the driver wants to hear.
#include "route_agent/ecmp.h"

#include <algorithm>

#include "route_agent/ecmp_work.h"

namespace route_agent {
namespace {

p4_pd_velmar_switch_ecmpGroup_match_spec_t key_of(size_t number) {
    return {.l3_nextHop = static_cast<uint32_t>(number)};
}

pd_status add_entry(const Device& device, size_t number, pd_group group, pd_entry& handle) {
    const auto key = key_of(number);
    return p4_pd_velmar_switch_ecmpGroup_add_entry_with_selector(device.session, device.target, &key, group, &handle);
}

pd_status join(const Device& device, pd_group group, pd_member member) {
    return p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_to_group(device.session, device.target.dev_id, group,
                                                                           member);
}

void add_path(EcmpWork& work, size_t row) {
    GroupState& group = work.run.groups[row];
    const p4_pd_velmar_switch_setEcmpNextHop_action_spec_t action = {
        .action_nextHopTable = static_cast<uint8_t>(group.path_count),
        .action_nextHop = work.run.plan.groups[row].next_hop};
    pd_member member = 0;
    work.members.done(p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_with_setEcmpNextHop(
                          work.device.session, work.device.target, &action, &member),
                      "adding one for group", number_of(row));
    ++work.members.tally.added;
    work.groups.done(join(work.device, group.handle, member), "adding a member to group", number_of(row));
    group.members.push_back(member);
    ++group.path_count;
}

void add_group(EcmpWork& work, size_t row) {
    constexpr uint32_t no_limit = 0;
    GroupState& group = work.run.groups[row];
    work.groups.done(p4_pd_velmar_switch_ecmpMemberActionProfile_create_group(work.device.session, work.device.target,
                                                                              no_limit, &group.handle),
                     "creating", number_of(row));
    ++work.groups.tally.added;
    const EcmpGroup& planned = work.run.plan.groups[row];
    while (group.path_count < path_count(planned, number_of(row), planned.load))
        add_path(work, row);
    // Last: an entry takes over the action of its group, which a group without members doesn't have.
    pd_entry entry = 0;
    work.entries.done(add_entry(work.device, number_of(row), group.handle, entry), "adding", number_of(row));
    ++work.entries.tally.added;
    group.state = RowState::standing;
}

// Compares the paths of a group with what they are meant to be.
bool paths_equal(EcmpWork& work, size_t row, const FoundGroup& found) {
    std::vector<Path> meant;
    for (unsigned table = 0; table < work.run.groups[row].path_count; ++table)
        meant.push_back({table, work.run.plan.groups[row].next_hop});
    const auto path_of = [](const auto& item) { return item.first; };
    if (found.member_count == meant.size() && std::ranges::equal(found.paths, meant, {}, path_of)) return true;
    std::string read;
    for (const auto& [path, member] : found.paths)
        read.append(read.empty() ? "" : ", ").append(to_text(path));
    work.members.differs("group " + std::to_string(number_of(row)) + ": meant " + grouped(meant.size()) +
                         " paths, from " + to_text(meant.front()) + " on, read " + read);
    return false;
}

void check_count(Account& account, uint32_t count, size_t meant) {
    if (count != meant) account.differs("the driver counts " + grouped(count) + ", meant are " + grouped(meant));
}

struct DriverCounts {
    uint32_t entries = 0;
    uint32_t groups = 0;
    uint32_t members = 0;
};

DriverCounts count(EcmpWork& work) {
    const Device& device = work.device;
    DriverCounts counts;
    work.entries.done(p4_pd_velmar_switch_ecmpGroup_get_entry_count(device.session, device.target, &counts.entries),
                      "counting the entries");
    work.groups.done(p4_pd_velmar_switch_ecmpMemberActionProfile_get_selector_group_count(device.session, device.target,
                                                                                          &counts.groups),
                     "counting");
    work.members.done(p4_pd_velmar_switch_ecmpMemberActionProfile_get_act_prof_entry_count(
                          device.session, device.target, &counts.members),
                      "counting");
    return counts;
}

void expect(Account& account, pd_status status, pd_status expected, const std::string& what) {
    ++account.tally.calls;
    if (status != expected) {
        account.differs(what + " gave " + vl_model_status_name(status) + ", meant was " +
                        vl_model_status_name(expected));
    }
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

EcmpTallies learn_groups(Run& run) {
    EcmpWork work(run);
    EcmpTallies equal;
    FoundGroups found = read_groups(work);
    size_t meant_groups = 0;
    size_t meant_members = 0;
    for (size_t row = 0; row < run.groups.size(); ++row) {
        GroupState& group = run.groups[row];
        const auto node = found.extract(static_cast<uint32_t>(number_of(row)));
        if (group.state != RowState::standing) {
            if (node) work.entries.differs("group " + std::to_string(number_of(row)) + " is not meant to stand");
            continue;
        }
        ++meant_groups;
        meant_members += group.path_count;
        if (!node) {
            work.entries.differs("the walk leaves out group " + std::to_string(number_of(row)));
            continue;
        }
        ++equal.entries.read_equal;
        if (paths_equal(work, row, node.mapped())) {
            ++equal.groups.read_equal;
            equal.members.read_equal += group.path_count;
        }
        group.handle = node.mapped().handle;
        group.members.clear();
        for (const auto& [path, member] : node.mapped().paths)
            group.members.push_back(member);
    }
    for (const auto& [number, group] : found)
        work.entries.differs("the walk gives entry " + std::to_string(number) + ", which no group has");
    const DriverCounts counts = count(work);
    check_count(work.entries, counts.entries, meant_groups);
    check_count(work.groups, counts.groups, meant_groups);
    check_count(work.members, counts.members, meant_members);
    return equal;
}

void forget_groups(Run& run) {
    for (GroupState& group : run.groups) {
        group.handle = 0;
        group.members.clear();
    }
}

std::optional<pd_status> add_again(Run& run, pd_status expected) {
    const auto group = std::ranges::find(run.groups, RowState::standing, &GroupState::state);
    if (group == run.groups.end() || group->members.empty()) return std::nullopt;
    EcmpWork work(run);
    const size_t number = number_of(static_cast<size_t>(group - run.groups.begin()));
    const pd_status joined = join(run.device, group->handle, group->members.front());
    expect(work.groups, joined, expected, "adding a member again to group " + std::to_string(number));
    pd_entry entry = 0;
    expect(work.entries, add_entry(run.device, number, group->handle, entry), expected,
           "adding entry " + std::to_string(number) + " again");
    return joined;
}

void remove_groups_without_routes(Run& run) {
    std::vector<bool> needed(run.groups.size(), false);
    for (size_t i = 0; i < table_count; ++i) {
        for (size_t row = 0; row < run.rows[i].size(); ++row)
            if (run.rows[i][row] == RowState::standing && run.plan.tables[i][row].group != 0)
                needed[run.plan.tables[i][row].group - 1u] = true;
    }
    EcmpWork work(run);
    const Device& device = run.device;
    for (size_t row = 0; row < run.groups.size(); ++row) {
        GroupState& group = run.groups[row];
        if (needed[row] || group.state != RowState::standing) continue;
        // From the entry down: the driver refuses to remove what is in use.
        const auto key = key_of(number_of(row));
        work.entries.done(p4_pd_velmar_switch_ecmpGroup_table_delete_by_match_spec(device.session, device.target, &key),
                          "deleting", number_of(row));
        ++work.entries.tally.deleted;
        group.state = RowState::deleted;
        work.groups.done(
            p4_pd_velmar_switch_ecmpMemberActionProfile_del_group(device.session, device.target.dev_id, group.handle),
            "deleting", number_of(row));
        ++work.groups.tally.deleted;
        for (const pd_member member : group.members) {
            work.members.done(
                p4_pd_velmar_switch_ecmpMemberActionProfile_del_member(device.session, device.target.dev_id, member),
                "deleting one of group", number_of(row));
            ++work.members.tally.deleted;
        }
        group.members.clear();
    }
}

void check_groups_gone(Run& run) {
    EcmpWork work(run);
    for (size_t row = 0; row < run.groups.size(); ++row) {
        if (run.groups[row].state != RowState::deleted) continue;
        const auto key = key_of(number_of(row));
        pd_entry entry = 0;
        const pd_status status =
            p4_pd_velmar_switch_ecmpGroup_match_spec_to_entry_hdl(run.device.session, run.device.target, &key, &entry);
        if (!work.entries.done_unless(VL_MODEL_NOT_FOUND, status, "looking for", number_of(row)))
            work.entries.differs("group " + std::to_string(number_of(row)) + " was deleted and is still found");
    }
}

void compare_groups_with_hardware(Run& run) {
    EcmpWork work(run);
    const Device& device = work.device;
    for (size_t row = 0; row < run.groups.size(); ++row) {
        if (run.groups[row].state != RowState::standing) continue;
        const auto key = key_of(number_of(row));
        pd_entry entry = 0;
        work.entries.done(
            p4_pd_velmar_switch_ecmpGroup_match_spec_to_entry_hdl(device.session, device.target, &key, &entry),
            "looking for", number_of(row));
        const void* placement = nullptr;
        work.entries.done(
            p4_pd_velmar_switch_ecmpGroup_get_plcmt_data(device.session, device.target, 0, entry, &placement),
            "fetching the placement of", number_of(row));
        char difference[longest_difference + 1] = "";
        if (p4_pd_velmar_switch_ecmpGroup_plcmt_data_eq_to_hw(device.session, device.target.dev_id, 0, entry, placement,
                                                              difference) != 0)
            ++run.ecmp.entries.in_hardware;
        else
            work.entries.differs("group " + std::to_string(number_of(row)) + " in hardware: " + difference);
    }
}

void count_groups_left(Run& run) {
    EcmpWork work(run);
    const DriverCounts counts = count(work);
    run.ecmp.entries.left = counts.entries;
    run.ecmp.groups.left = counts.groups;
    run.ecmp.members.left = counts.members;
}

bool groups_as_meant(const Run& run) {
    size_t planned_members = 0;
    for (size_t row = 0; row < run.groups.size(); ++row)
        planned_members += path_count(run.plan.groups[row], number_of(row), load_count - 1);
    const auto as_meant = [](const Tally& tally, size_t planned) {
        return tally.differences == 0 && tally.added == planned && tally.read_equal == planned &&
               tally.left + tally.deleted == planned;
    };
    return run.ecmp.entries.in_hardware == run.ecmp.entries.left && as_meant(run.ecmp.entries, run.groups.size()) &&
           as_meant(run.ecmp.groups, run.groups.size()) && as_meant(run.ecmp.members, planned_members);
}

} // namespace route_agent
