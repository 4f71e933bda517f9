// The member-selector component. It keeps the members and groups of each device's action profiles for clients, which
// need a member's action in calls that don't have it. Maps are ordered, so that equal states give equal JSON.
//
// JSON of one state: "members": [{"member": handle, "action": handle}, ...],
//                    "groups": [{"group": handle, "action": handle, "members": [handle, ...]}, ...]; an action that was
// never set is left out.
#include <vl_driver/member_shadow.h>

#include <algorithm>
#include <deque>
#include <initializer_list>
#include <list>
#include <map>
#include <unordered_map>

#include <cjson/cJSON.h>

#include "core/model.h"

namespace {

// Handles in the order of their arrival. Finding and removing one takes no search through the others.
class Arrivals {
public:
    bool empty() const {
        return order_.empty();
    }
    auto begin() const {
        return order_.begin();
    }
    auto end() const {
        return order_.end();
    }
    bool has(uint32_t handle) const {
        return places_.contains(handle);
    }
    // Returns false if the handle is already there.
    bool add(uint32_t handle) {
        std::list<uint32_t> added{handle};
        if (!places_.emplace(handle, added.begin()).second) return false;
        order_.splice(order_.end(), added);
        return true;
    }
    // Returns false if the handle isn't there.
    bool remove(uint32_t handle) {
        const auto found = places_.find(handle);
        if (found == places_.end()) return false;
        order_.erase(found->second);
        places_.erase(found);
        return true;
    }

private:
    std::list<uint32_t> order_;
    std::unordered_map<uint32_t, std::list<uint32_t>::iterator> places_;
};

struct ShadowGroup {
    std::optional<pipe_act_hdl> action;
    Arrivals members;
};

struct DeviceShadow {
    std::map<pipe_mbr_hdl, std::optional<pipe_act_hdl>> members; // with their actions
    std::map<pipe_grp_hdl, ShadowGroup> groups;
    // By member. A replay can put a member into a group before it adds the member.
    std::map<pipe_mbr_hdl, Arrivals> groups_of;
};

} // namespace

struct p4_pd_ms_state {
    std::map<pipe_dev_id, DeviceShadow> devices;
};

namespace vl_model {

// Clients keep the addresses of states forever, so a reset only empties the states.
static std::deque<p4_pd_ms_state>& member_states() {
    static std::deque<p4_pd_ms_state>& instance = *new std::deque<p4_pd_ms_state>;
    return instance;
}

void clear_member_states() {
    for (p4_pd_ms_state& state : member_states())
        state.devices.clear();
}

} // namespace vl_model

using namespace vl_model;

namespace {

void join(DeviceShadow& shadow, pipe_mbr_hdl mbr_hdl, pipe_grp_hdl grp_hdl) {
    Arrivals& members = found_in(shadow.groups, grp_hdl, VL_MODEL_NOT_FOUND).members;
    refuse_if(!members.add(mbr_hdl), VL_MODEL_EXISTS);
    try {
        shadow.groups_of[mbr_hdl].add(grp_hdl);
    } catch (...) {
        members.remove(mbr_hdl);
        if (const auto groups = shadow.groups_of.find(mbr_hdl);
            groups != shadow.groups_of.end() && groups->second.empty())
            shadow.groups_of.erase(groups);
        throw;
    }
}

void forget_group_of(DeviceShadow& shadow, pipe_mbr_hdl mbr_hdl, pipe_grp_hdl grp_hdl) {
    const auto groups = shadow.groups_of.find(mbr_hdl);
    groups->second.remove(grp_hdl);
    if (groups->second.empty()) shadow.groups_of.erase(groups);
}

// The device's part of a state. The first call that names the device makes it. Refuses a call with a handle of 0.
Locked<DeviceShadow> lock_shadow(p4_pd_ms_state* state, pipe_dev_id dev_id,
                                 std::initializer_list<uint32_t> handles = {}) {
    const bool has_zero = std::find(handles.begin(), handles.end(), 0U) != handles.end();
    refuse_if(state == nullptr || has_zero, VL_MODEL_INVALID);
    return Locked<DeviceShadow>([&]() -> DeviceShadow& { return state->devices[dev_id]; });
}

pipe_act_hdl set_action(const std::optional<pipe_act_hdl>& action) {
    refuse_if(!action, VL_MODEL_NOT_FOUND);
    return *action;
}

void write_no_resources(uint32_t* count, void** res) {
    *count = 0;
    *res = nullptr;
}

// A handle from JSON: a whole number from 1 to 0xFFFFFFFF. cJSON's integer view stops at 31 bits.
std::optional<uint32_t> handle_of(const cJSON* item) {
    if (!cJSON_IsNumber(item) || !(item->valuedouble >= 1 && item->valuedouble <= UINT32_MAX)) return std::nullopt;
    const auto handle = static_cast<uint32_t>(item->valuedouble);
    return handle == item->valuedouble ? std::optional(handle) : std::nullopt;
}

cJSON* checked(cJSON* item) {
    refuse_if(item == nullptr, VL_MODEL_NO_MEMORY);
    return item;
}

void append(cJSON* list, cJSON* item) {
    if (cJSON_AddItemToArray(list, checked(item))) return;
    cJSON_Delete(item);
    refuse(VL_MODEL_NO_MEMORY);
}

// Appends an object with a handle and, unless it was never set, an action.
cJSON* append_object(cJSON* list, const char* name, uint32_t handle, const std::optional<pipe_act_hdl>& action) {
    cJSON* object = cJSON_CreateObject();
    append(list, object);
    checked(cJSON_AddNumberToObject(object, name, handle));
    if (action) checked(cJSON_AddNumberToObject(object, "action", *action));
    return object;
}

// The action that an object of the log has, or else the one that is known already.
void restore_action(std::optional<pipe_act_hdl>& action, const cJSON* item) {
    if (const auto logged = handle_of(cJSON_GetObjectItemCaseSensitive(item, "action"))) action = logged;
}

void restore_member(DeviceShadow& shadow, const cJSON* item) {
    if (const auto handle = handle_of(cJSON_GetObjectItemCaseSensitive(item, "member")))
        restore_action(shadow.members[*handle], item);
}

void restore_group(DeviceShadow& shadow, const cJSON* item) {
    const auto handle = handle_of(cJSON_GetObjectItemCaseSensitive(item, "group"));
    if (!handle) return;
    ShadowGroup& group = shadow.groups[*handle];
    restore_action(group.action, item);
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, cJSON_GetObjectItemCaseSensitive(item, "members")) {
        const auto mbr_hdl = handle_of(member);
        if (mbr_hdl && !group.members.has(*mbr_hdl)) join(shadow, *mbr_hdl, *handle);
    }
}

} // namespace

pipe_status p4_pd_ms_init(void) {
    return Boundary<>(__func__)([] {});
}

p4_pd_ms_state* p4_pd_ms_init_state(void) {
    return Boundary<>(__func__)([] {
        const std::lock_guard lock(model().mutex);
        return &member_states().emplace_back();
    });
}

pipe_status p4_pd_ms_new_mbr(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl) {
    return Boundary(__func__, sess_hdl, state, dev_id, mbr_hdl)([&] {
        const auto shadow = lock_shadow(state, dev_id, {mbr_hdl});
        refuse_if(!shadow->members.try_emplace(mbr_hdl).second, VL_MODEL_EXISTS);
    });
}

pipe_status p4_pd_ms_set_mbr_act(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl,
                                 pipe_act_hdl act_hdl) {
    return Boundary(__func__, state, dev_id, mbr_hdl, act_hdl)([&] {
        const auto shadow = lock_shadow(state, dev_id, {mbr_hdl, act_hdl});
        found_in(shadow->members, mbr_hdl, VL_MODEL_NOT_FOUND) = act_hdl;
    });
}

pipe_status p4_pd_ms_get_mbr_act(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl,
                                 pipe_act_hdl* act_hdl) {
    return Boundary(__func__, state, dev_id, mbr_hdl, act_hdl)([&] {
        const auto shadow = lock_shadow(state, dev_id, {mbr_hdl});
        *act_hdl = set_action(found_in(shadow->members, mbr_hdl, VL_MODEL_NOT_FOUND));
    });
}

pipe_status p4_pd_ms_del_mbr(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl) {
    return Boundary(__func__, sess_hdl, state, dev_id, mbr_hdl)([&] {
        const auto shadow = lock_shadow(state, dev_id, {mbr_hdl});
        const auto groups = shadow->groups_of.find(mbr_hdl);
        const bool was_in_group = groups != shadow->groups_of.end();
        if (was_in_group) {
            for (const pipe_grp_hdl grp_hdl : groups->second)
                shadow->groups.at(grp_hdl).members.remove(mbr_hdl);
            shadow->groups_of.erase(groups);
        }
        refuse_if(shadow->members.erase(mbr_hdl) == 0 && !was_in_group, VL_MODEL_NOT_FOUND);
    });
}

pipe_status p4_pd_ms_new_grp(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl) {
    return Boundary(__func__, sess_hdl, state, dev_id, grp_hdl)([&] {
        const auto shadow = lock_shadow(state, dev_id, {grp_hdl});
        refuse_if(!shadow->groups.try_emplace(grp_hdl).second, VL_MODEL_EXISTS);
    });
}

// Removes the members that the shadow has. The caller passes the driver's, which may lack one.
pipe_status p4_pd_ms_del_grp(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl,
                             uint32_t count, const pipe_mbr_hdl* mbr_hdls) {
    return Boundary(__func__, sess_hdl, state, dev_id, grp_hdl, count, list(mbr_hdls, count))([&] {
        const auto shadow = lock_shadow(state, dev_id, {grp_hdl});
        for (const pipe_mbr_hdl mbr_hdl : found_in(shadow->groups, grp_hdl, VL_MODEL_NOT_FOUND).members)
            forget_group_of(*shadow, mbr_hdl, grp_hdl);
        shadow->groups.erase(grp_hdl);
    });
}

pipe_status p4_pd_ms_add_mbr_to_grp(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id,
                                    pipe_mbr_hdl mbr_hdl, pipe_grp_hdl grp_hdl) {
    return Boundary(__func__, sess_hdl, state, dev_id, mbr_hdl, grp_hdl)([&] {
        join(*lock_shadow(state, dev_id, {mbr_hdl, grp_hdl}), mbr_hdl, grp_hdl);
    });
}

pipe_status p4_pd_ms_del_mbr_from_grp(pipe_sess_hdl sess_hdl, p4_pd_ms_state* state, pipe_dev_id dev_id,
                                      pipe_mbr_hdl mbr_hdl, pipe_grp_hdl grp_hdl) {
    return Boundary(__func__, sess_hdl, state, dev_id, mbr_hdl, grp_hdl)([&] {
        const auto shadow = lock_shadow(state, dev_id, {mbr_hdl, grp_hdl});
        Arrivals& members = found_in(shadow->groups, grp_hdl, VL_MODEL_NOT_FOUND).members;
        refuse_if(!members.remove(mbr_hdl), VL_MODEL_NOT_FOUND);
        forget_group_of(*shadow, mbr_hdl, grp_hdl);
    });
}

pipe_status p4_pd_ms_set_grp_act(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl,
                                 pipe_act_hdl act_hdl) {
    return Boundary(__func__, state, dev_id, grp_hdl, act_hdl)([&] {
        const auto shadow = lock_shadow(state, dev_id, {grp_hdl, act_hdl});
        found_in(shadow->groups, grp_hdl, VL_MODEL_NOT_FOUND).action = act_hdl;
    });
}

pipe_status p4_pd_ms_get_grp_act(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl,
                                 pipe_act_hdl* act_hdl) {
    return Boundary(__func__, state, dev_id, grp_hdl, act_hdl)([&] {
        const auto shadow = lock_shadow(state, dev_id, {grp_hdl});
        *act_hdl = set_action(found_in(shadow->groups, grp_hdl, VL_MODEL_NOT_FOUND).action);
    });
}

pipe_status p4_pd_ms_mbr_get_res(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl, uint32_t* count,
                                 void** res) {
    return Boundary(__func__, state, dev_id, mbr_hdl, count, res)([&] { write_no_resources(count, res); });
}

pipe_status p4_pd_ms_grp_get_res(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_grp_hdl grp_hdl, uint32_t* count,
                                 void** res) {
    return Boundary(__func__, state, dev_id, grp_hdl, count, res)([&] { write_no_resources(count, res); });
}

pipe_status p4_pd_ms_mbr_apply_to_grps(p4_pd_ms_state* state, pipe_dev_id dev_id, pipe_mbr_hdl mbr_hdl,
                                       p4_pd_ms_grp_fn fn, void* cookie) {
    return Boundary(__func__, state, dev_id, mbr_hdl, fn, cookie)([&]() -> pipe_status {
        refuse_if(fn == nullptr, VL_MODEL_INVALID);
        std::vector<pipe_grp_hdl> groups;
        {
            const auto shadow = lock_shadow(state, dev_id, {mbr_hdl});
            const auto found = shadow->groups_of.find(mbr_hdl);
            if (found != shadow->groups_of.end()) groups.assign(found->second.begin(), found->second.end());
        }
        const WithinCallback within;
        pipe_status result = VL_MODEL_OK;
        for (const pipe_grp_hdl grp_hdl : groups) {
            const pipe_status status = fn(dev_id, grp_hdl, mbr_hdl, cookie);
            result = result != VL_MODEL_OK ? result : status;
        }
        return result;
    });
}

// Members have no resources that a group could take over. The group must exist all the same.
pipe_status p4_pd_ms_grp_update_res(pipe_dev_id dev_id, pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, void* cookie) {
    return Boundary(__func__, dev_id, grp_hdl, mbr_hdl, cookie)([&] {
        const auto shadow = lock_shadow(static_cast<p4_pd_ms_state*>(cookie), dev_id, {grp_hdl, mbr_hdl});
        refuse_if(!shadow->groups.contains(grp_hdl), VL_MODEL_NOT_FOUND);
    });
}

pipe_status p4_pd_ms_log_state(pipe_dev_id dev_id, p4_pd_ms_state* state, cJSON* object) {
    return Boundary(__func__, dev_id, state, object)([&] {
        const auto shadow = lock_shadow(state, dev_id);
        cJSON* members = checked(cJSON_AddArrayToObject(object, "members"));
        for (const auto& [mbr_hdl, action] : shadow->members)
            append_object(members, "member", mbr_hdl, action);
        cJSON* groups = checked(cJSON_AddArrayToObject(object, "groups"));
        for (const auto& [grp_hdl, group] : shadow->groups) {
            cJSON* item = append_object(groups, "group", grp_hdl, group.action);
            cJSON* list_of_members = checked(cJSON_AddArrayToObject(item, "members"));
            for (const pipe_mbr_hdl mbr_hdl : group.members)
                append(list_of_members, cJSON_CreateNumber(mbr_hdl));
        }
    });
}

pipe_status p4_pd_ms_restore_state(pipe_dev_id dev_id, p4_pd_ms_state* state, cJSON* object) {
    return Boundary(__func__, dev_id, state, object)([&] {
        const auto shadow = lock_shadow(state, dev_id);
        const cJSON* item = nullptr;
        cJSON_ArrayForEach(item, cJSON_GetObjectItemCaseSensitive(object, "members")) {
            restore_member(*shadow, item);
        }
        cJSON_ArrayForEach(item, cJSON_GetObjectItemCaseSensitive(object, "groups")) {
            restore_group(*shadow, item);
        }
    });
}

pipe_status p4_pd_ms_destroy_state_for_dev(p4_pd_ms_state* state, pipe_dev_id dev_id) {
    return Boundary(__func__, state, dev_id)([&] {
        const std::lock_guard lock(model().mutex);
        state->devices.erase(dev_id);
    });
}

// Every change takes effect at once: there is never a transaction's state to drop.
pipe_status p4_pd_ms_destroy_txn_state_for_dev(pipe_dev_id dev_id) {
    return Boundary(__func__, dev_id)([] {});
}
