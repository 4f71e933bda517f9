// Action profiles: their members with actions, and their groups with members.
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "views/work.h"

namespace pd_views {
namespace {

// The functions of different profiles have the same types.
using GetCount = decltype(p4_pd_velmar_switch_ecmpMemberActionProfile_get_act_prof_entry_count);
using GetFirst = decltype(p4_pd_velmar_switch_ecmpMemberActionProfile_get_first_member);
using GetNext = decltype(p4_pd_velmar_switch_ecmpMemberActionProfile_get_next_members);
using GetMember = decltype(p4_pd_velmar_switch_ecmpMemberActionProfile_get_member);
using GetFirstOfGroup = decltype(p4_pd_velmar_switch_ecmpMemberActionProfile_get_first_group_member);
using GetNextOfGroup = decltype(p4_pd_velmar_switch_ecmpMemberActionProfile_get_next_group_members);

std::optional<uint32_t> count(const Work& work, const Profile& profile, const char* call, const char* of_what) {
    uint32_t number = 0;
    const pd_status status = work.library.function<GetCount>(profile.name + call)(work.session, work.target, &number);
    if (status == PD_STATUS_OK) return number;
    complain(work, profile.name + ": counting the " + of_what, status);
    return {};
}

std::string json_number(std::optional<uint32_t> number) {
    return number ? std::to_string(*number) : "null";
}

std::string hex(uint32_t handle) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", handle);
    return text;
}

Listing listing_of(const Work& work, const std::string& first, const std::string& next) {
    return {[&work, get = work.library.function<GetFirst>(first)](uint32_t* handle) {
                return get(work.session, work.target, handle);
            },
            [&work, get = work.library.function<GetNext>(next)](uint32_t after, uint32_t room, uint32_t* handles) {
                return get(work.session, work.target, after, room, handles);
            }};
}

void show_members(const Work& work, const Profile& profile, bool json) {
    const auto get = work.library.function<GetMember>(profile.name + "_get_member");
    const char* before = "";
    walk(work, profile.name + ": members",
         listing_of(work, profile.name + "_get_first_member", profile.name + "_get_next_members"), {},
         [&](pd_member member) {
             pd_action_record action{};
             const pd_status status =
                 get(work.session, work.target.dev_id, member, work.query.from_hw ? 1 : 0, &action);
             if (status != PD_STATUS_OK) {
                 if (!work.live || !work.library.surely_not_found(status))
                     complain(work, "reading member " + hex(member), status);
                 return true;
             }
             if (json) {
                 work.out.text += before;
                 work.out.put("\n{\"member\":" + std::to_string(member) + "," +
                              action_json(work, action.action_id, action.spec) + "}");
                 before = ",";
             } else {
                 work.out.put("  member " + hex(member) + " -> " + action_text(work, action.action_id, action.spec) +
                              "\n");
             }
             return true;
         });
}

void show_groups(const Work& work, const Profile& profile, bool json) {
    const auto get_first = work.library.function<GetFirstOfGroup>(profile.name + "_get_first_group_member");
    const auto get_next = work.library.function<GetNextOfGroup>(profile.name + "_get_next_group_members");
    const char* before = "";
    walk(work, profile.name + ": groups",
         listing_of(work, profile.name + "_get_first_group", profile.name + "_get_next_groups"), {},
         [&](pd_group group) {
             const Listing members{[&](uint32_t* handle) {
                                       const pd_status status =
                                           get_first(work.session, work.target.dev_id, group, handle);
                                       if (!work.library.says_not_found(status)) return status;
                                       *handle = PD_HDL_END; // the group has no members
                                       return pd_status{PD_STATUS_OK};
                                   },
                                   [&](uint32_t after, uint32_t room, uint32_t* handles) {
                                       return get_next(work.session, work.target.dev_id, group, after, room, handles);
                                   }};
             work.out.text += json ? before + std::string("\n{\"group\":") + std::to_string(group) + ",\"members\":["
                                   : "  group " + hex(group) + ":";
             const char* comma = "";
             const auto visited =
                 walk(work, profile.name + ": members of group " + hex(group), members, {}, [&](pd_member member) {
                     work.out.put(comma + (json ? std::to_string(member) : " " + hex(member)));
                     comma = ",";
                     return true;
                 });
             if (json)
                 work.out.put("]}");
             else
                 work.out.put(visited == size_t{0} ? " no members\n" : "\n");
             before = ",";
             return true;
         });
}

} // namespace

std::optional<uint32_t> count_members(const Work& work, const Profile& profile) {
    return count(work, profile, "_get_act_prof_entry_count", "members");
}

std::optional<uint32_t> count_groups(const Work& work, const Profile& profile) {
    return count(work, profile, "_get_selector_group_count", "groups");
}

bool show_profiles(const Work& work) {
    const bool json = work.query.format == Format::json;
    std::optional<JsonArray> array;
    if (json) array.emplace(work.out);
    for (const Profile& profile : work.pipeline.profiles) {
        const auto members = count_members(work, profile);
        const auto groups = count_groups(work, profile);
        if (!json) {
            work.out.put(profile.name + ", of " + profile.table + "\n    members   " +
                         (members ? std::to_string(*members) : "unknown") + "\n    groups    " +
                         (groups ? std::to_string(*groups) : "unknown") + "\n");
            continue;
        }
        array->begin();
        work.out.text += R"({"name":")" + profile.name + R"(","table":")" + profile.table + R"(","actions":[)";
        for (const Action* action : profile.actions)
            work.out.text += (action == profile.actions.front() ? "\"" : ",\"") + action->name + "\"";
        work.out.text += "],\"members\":" + json_number(members) + ",\"groups\":" + json_number(groups) + "}";
    }
    if (array) array->end(work.complaints);
    return true;
}

bool show_profile(const Work& work) {
    const Profile& profile = profile_named(work.pipeline, *work.query.name);
    const bool json = work.query.format == Format::json;
    // Drivers give different answers for the first member or group of a profile that has none.
    const auto members = count_members(work, profile);
    const auto groups = count_groups(work, profile);
    work.out.put(json ? R"({"name":")" + profile.name + R"(","table":")" + profile.table + R"(","members":[)"
                      : profile.name + ", of " + profile.table + "\n");
    if (members.value_or(0) != 0) show_members(work, profile, json);
    if (json) work.out.put("\n],\"groups\":[");
    if (groups.value_or(0) != 0) show_groups(work, profile, json);
    if (json) {
        work.out.put("\n]");
        end_json_object(work.out, work.complaints);
    } else if (members == 0U && groups == 0U) {
        work.out.put("  neither members nor groups\n");
    }
    return true;
}

} // namespace pd_views
