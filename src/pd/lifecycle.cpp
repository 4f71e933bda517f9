// All mutable state of the library. init() writes it once, before the driver knows the callbacks. After that it is only
// read, so nothing is locked.
#include "pd/lifecycle.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <cjson/cJSON.h>

#include "pd/names.h"
#include "vl_driver/profiles.h"
#include "vl_driver/system.h"

// Exported: the library's handle as a client of the driver.
extern "C" [[gnu::visibility("default")]] uint32_t bf_drv_hdl;
uint32_t bf_drv_hdl;

namespace vl_pd::lifecycle {

namespace {

using catalog::program;

constexpr std::string_view client_suffix = "pd";
constexpr const char* client_name = joined<name_prefix, client_suffix>.data();
constexpr std::string_view init_suffix = "init";
constexpr uint32_t client_priority = 2;

constexpr const char* program_key = "name";
constexpr const char* profiles_key = "act_profs";
constexpr const char* profile_name_key = "name";

// In the order of the program's profiles. Creation, removal, log and restore keep this order.
std::array<p4_pd_ms_state*, program.profiles.size()> shadows{};

pipe_status dev_remove(pipe_dev_id dev_id) {
    for (p4_pd_ms_state* shadow : shadows)
        p4_pd_ms_destroy_state_for_dev(shadow, dev_id);
    p4_pd_ms_destroy_txn_state_for_dev(dev_id);
    return PD_STATUS_OK;
}

pipe_status dev_log(pipe_dev_id dev_id, cJSON* object) {
    cJSON_AddStringToObject(object, program_key, program.name);
    cJSON* const logs = cJSON_CreateArray();
    cJSON_AddItemToObject(object, profiles_key, logs);
    for (size_t i = 0; i < shadows.size(); ++i) {
        cJSON* const log = cJSON_CreateObject();
        cJSON_AddItemToArray(logs, log);
        cJSON_AddStringToObject(log, profile_name_key, program.profiles[i].name);
        p4_pd_ms_log_state(dev_id, shadows[i], log);
    }
    return PD_STATUS_OK;
}

// The driver hands back what dev_log() wrote. Anything else in the object is skipped.
pipe_status dev_restore(pipe_dev_id dev_id, cJSON* object) {
    const cJSON* const logs = cJSON_GetObjectItem(object, profiles_key);
    for (cJSON* log = logs ? logs->child : nullptr; log != nullptr; log = log->next) {
        const cJSON* const name = cJSON_GetObjectItem(log, profile_name_key);
        if (name == nullptr || name->valuestring == nullptr) continue;
        for (size_t i = 0; i < shadows.size(); ++i)
            if (std::strcmp(name->valuestring, program.profiles[i].name) == 0)
                p4_pd_ms_restore_state(dev_id, shadows[i], log);
    }
    return PD_STATUS_OK;
}

// init() can't report a refusal, and nothing works without a client handle. So the process stops, in every build.
void require_registration(pipe_status r) {
    if (r == PD_STATUS_OK) return;
    dprintf(STDERR_FILENO, "%s: %s: assertion \"r == BF_SUCCESS\" failed, r is %u\n", client_name,
            joined<name_prefix, init_suffix>.data(), r);
    std::abort();
}

bool has_action(const catalog::Profile& profile, pipe_act_hdl action) {
    for (const catalog::Binding& binding : profile.actions)
        if (binding.handle == action) return true;
    return false;
}

// Updates the shadow as the agent's own call would, but doesn't call the driver. False if the member of a group has no
// action in the shadow; the membership is recorded all the same.
bool restore_row(p4_pd_ms_state* shadow, pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_act_hdl action,
                 pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl) {
    if (grp_hdl == 0 && mbr_hdl != 0) {
        p4_pd_ms_new_mbr(sess_hdl, shadow, dev_id, mbr_hdl);
        p4_pd_ms_set_mbr_act(shadow, dev_id, mbr_hdl, action);
    } else if (grp_hdl != 0 && mbr_hdl == 0) {
        p4_pd_ms_new_grp(sess_hdl, shadow, dev_id, grp_hdl);
    } else if (grp_hdl != 0) {
        p4_pd_ms_add_mbr_to_grp(sess_hdl, shadow, dev_id, mbr_hdl, grp_hdl);
        // The group's action is the one that the member came with, not the row's.
        pipe_act_hdl member_action = 0;
        if (p4_pd_ms_get_mbr_act(shadow, dev_id, mbr_hdl, &member_action) != PD_STATUS_OK) return false;
        p4_pd_ms_set_grp_act(shadow, dev_id, grp_hdl, member_action);
    }
    return true;
}

// Restores one row that the driver replays. No row can be refused: the changes made before a failure remain.
void ha_restore_state_from_adt_sel(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl adt_hdl,
                                   pipe_act_hdl action, pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl,
                                   uint32_t resource_count) {
    for (size_t i = 0; i < shadows.size(); ++i) {
        if (program.profiles[i].data_table != adt_hdl) continue;
        if (!restore_row(shadows[i], sess_hdl, dev_id, action, grp_hdl, mbr_hdl)) return;
        // The groups of the member take over its resources. The member may be 0 here.
        if (resource_count != 0 && has_action(program.profiles[i], action))
            p4_pd_ms_mbr_apply_to_grps(shadows[i], dev_id, mbr_hdl, p4_pd_ms_grp_update_res, shadows[i]);
        return;
    }
}

} // namespace

void init() noexcept {
    p4_pd_ms_init();
    for (p4_pd_ms_state*& shadow : shadows)
        shadow = p4_pd_ms_init_state();
    require_registration(bf_drv_register(client_name, &bf_drv_hdl));

    bf_drv_client_callbacks callbacks{};
    callbacks.device_remove = dev_remove;
    callbacks.state_log = dev_log;
    callbacks.state_restore = dev_restore;
    bf_drv_client_register_callbacks(bf_drv_hdl, &callbacks, client_priority);
}

pd_status cleanup() noexcept {
    return bf_drv_deregister(bf_drv_hdl);
}

void device_state_cleanup() noexcept {}

pd_status restore_virtual_dev_state(uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5) noexcept {
    return pipe_mgr_hitless_ha_restore_virtual_dev_state(a1, a2, a3, a4, a5, ha_restore_state_from_adt_sel);
}

p4_pd_ms_state* shadow_of(size_t profile) noexcept {
    return shadows[profile];
}

} // namespace vl_pd::lifecycle
