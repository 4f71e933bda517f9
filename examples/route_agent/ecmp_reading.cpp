// Reads the ECMP groups from the switch, from the members up. Relies on nothing but what the driver says: the way back
// for an agent that has no handles any more.
#include <cstring>

#include "route_agent/ecmp_work.h"

namespace route_agent {
namespace {

using FoundMembers = std::map<pd_member, Path>;

FoundMembers read_members(EcmpWork& work) {
    FoundMembers found;
    const Device& device = work.device;
    const auto first = [&](pd_member& member) {
        return p4_pd_velmar_switch_ecmpMemberActionProfile_get_first_member(device.session, device.target, &member);
    };
    const auto next = [&](pd_member member, std::span<pd_member> members) {
        return p4_pd_velmar_switch_ecmpMemberActionProfile_get_next_members(
            device.session, device.target, member, static_cast<uint32_t>(members.size()), members.data());
    };
    walk(work.members, work.members.tally.added, first, next, [&](pd_member member) {
        constexpr uint8_t read_from_hw = 1;
        pd_action_record record{};
        work.members.done(p4_pd_velmar_switch_ecmpMemberActionProfile_get_member(device.session, device.target.dev_id,
                                                                                 member, read_from_hw, &record),
                          "reading", member);
        if (record.action_id != p4_pd_velmar_switch_action_setEcmpNextHop) {
            work.members.differs("member " + std::to_string(member) + " has another action, number " +
                                 std::to_string(record.action_id));
            return;
        }
        p4_pd_velmar_switch_setEcmpNextHop_action_spec_t action{};
        std::memcpy(&action, record.spec, sizeof action);
        found[member] = {action.action_nextHopTable, action.action_nextHop};
    });
    return found;
}

// Takes the members that it finds in the group out of `loose`.
FoundGroup read_group(EcmpWork& work, pd_group handle, FoundMembers& loose) {
    FoundGroup found{.handle = handle, .paths = {}};
    const Device& device = work.device;
    const auto first = [&](pd_member& member) {
        return p4_pd_velmar_switch_ecmpMemberActionProfile_get_first_group_member(device.session, device.target.dev_id,
                                                                                  handle, &member);
    };
    const auto next = [&](pd_member member, std::span<pd_member> members) {
        return p4_pd_velmar_switch_ecmpMemberActionProfile_get_next_group_members(
            device.session, device.target.dev_id, handle, member, static_cast<uint32_t>(members.size()),
            members.data());
    };
    walk(work.groups, work.members.tally.added, first, next, [&](pd_member member) {
        ++found.member_count;
        if (const auto node = loose.extract(member)) {
            found.paths.emplace(node.mapped(), member);
        } else {
            work.groups.differs("group handle " + std::to_string(handle) + " has member " + std::to_string(member) +
                                ", which is unknown or in another group");
        }
    });
    uint32_t count = 0;
    work.groups.done(p4_pd_velmar_switch_ecmpMemberActionProfile_get_selector_group_member_count(
                         device.session, device.target, handle, &count),
                     "counting the members of handle", handle);
    if (count != found.member_count) {
        work.groups.differs("the driver counts " + grouped(count) + " members of group handle " +
                            std::to_string(handle) + ", and lists " + grouped(found.member_count));
    }
    return found;
}

std::map<pd_group, FoundGroup> read_groups_by_handle(EcmpWork& work) {
    FoundMembers loose = read_members(work);
    std::map<pd_group, FoundGroup> found;
    const Device& device = work.device;
    const auto first = [&](pd_group& group) {
        return p4_pd_velmar_switch_ecmpMemberActionProfile_get_first_group(device.session, device.target, &group);
    };
    const auto next = [&](pd_group group, std::span<pd_group> groups) {
        return p4_pd_velmar_switch_ecmpMemberActionProfile_get_next_groups(
            device.session, device.target, group, static_cast<uint32_t>(groups.size()), groups.data());
    };
    walk(work.groups, work.groups.tally.added, first, next,
         [&](pd_group group) { found[group] = read_group(work, group, loose); });
    for (const auto& [member, path] : loose)
        work.members.differs("member " + std::to_string(member) + ", " + to_text(path) + ", is in no group");
    return found;
}

} // namespace

FoundGroups read_groups(EcmpWork& work) {
    std::map<pd_group, FoundGroup> loose = read_groups_by_handle(work);
    FoundGroups found;
    const Device& device = work.device;
    const auto first = [&](pd_entry& entry) {
        return p4_pd_velmar_switch_ecmpGroup_get_first_entry_handle(device.session, device.target, &entry);
    };
    const auto next = [&](pd_entry entry, std::span<pd_entry> entries) {
        return p4_pd_velmar_switch_ecmpGroup_get_next_entry_handles(
            device.session, device.target, entry, static_cast<uint32_t>(entries.size()), entries.data());
    };
    walk(work.entries, work.entries.tally.added, first, next, [&](pd_entry entry) {
        constexpr uint32_t read_from_hw = 1;
        p4_pd_velmar_switch_ecmpGroup_match_spec_t key{};
        uint8_t has_member = 0;
        uint8_t has_group = 0;
        uint8_t is_default = 0;
        pd_group group = 0;
        pd_member member = 0;
        work.entries.done(p4_pd_velmar_switch_ecmpGroup_get_entry(device.session, device.target.dev_id, entry,
                                                                  read_from_hw, &key, &has_member, &has_group, &group,
                                                                  &member, &is_default),
                          "reading handle", entry);
        auto node = has_group != 0 && is_default == 0 ? loose.extract(group) : decltype(loose)::node_type{};
        if (node) {
            found.emplace(key.l3_nextHop, std::move(node.mapped()));
        } else {
            work.entries.differs("entry " + std::to_string(key.l3_nextHop) +
                                 " points at no group, an unknown one or that of another entry");
        }
    });
    for (const auto& [handle, group] : loose)
        work.groups.differs("no entry leads to group handle " + std::to_string(handle));
    return found;
}

} // namespace route_agent
