// The library's whole mutable state lives here. It is written once by init(), before the driver knows the callbacks,
// and only read after that, which is why nothing is locked.
#include "pd/lifecycle.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <cjson/cJSON.h>

#include "vl_driver/system.h"
#include "vl_pd/velmar_switch.h"

uint32_t bf_drv_hdl;

namespace vl_pd::lifecycle {

namespace {

constexpr const char* client_name = "p4_pd_velmar_switch_pd";
constexpr const char* program_name = "velmar_switch";
constexpr uint32_t client_priority = 2;

constexpr const char* program_key = "name";
constexpr const char* profiles_key = "act_profs";
constexpr const char* profile_name_key = "name";

// In the order of catalog::profiles, which is that of creation, removal, log and restore.
p4_pd_ms_state* shadows[std::size(catalog::profiles)];

pipe_status dev_remove(pipe_dev_id dev_id) {
    for (p4_pd_ms_state* shadow : shadows)
        p4_pd_ms_destroy_state_for_dev(shadow, dev_id);
    p4_pd_ms_destroy_txn_state_for_dev(dev_id);
    return PD_STATUS_OK;
}

pipe_status dev_log(pipe_dev_id dev_id, cJSON* object) {
    cJSON_AddStringToObject(object, program_key, program_name);
    cJSON* const logs = cJSON_CreateArray();
    cJSON_AddItemToObject(object, profiles_key, logs);
    for (size_t i = 0; i < std::size(shadows); ++i) {
        cJSON* const log = cJSON_CreateObject();
        cJSON_AddItemToArray(logs, log);
        cJSON_AddStringToObject(log, profile_name_key, catalog::profiles[i].name);
        p4_pd_ms_log_state(dev_id, shadows[i], log);
    }
    return PD_STATUS_OK;
}

// The driver hands back what dev_log() wrote. What it couldn't have written is skipped.
pipe_status dev_restore(pipe_dev_id dev_id, cJSON* object) {
    const cJSON* const logs = cJSON_GetObjectItem(object, profiles_key);
    for (cJSON* log = logs ? logs->child : nullptr; log != nullptr; log = log->next) {
        const cJSON* const name = cJSON_GetObjectItem(log, profile_name_key);
        if (name == nullptr || name->valuestring == nullptr) continue;
        for (size_t i = 0; i < std::size(shadows); ++i)
            if (std::strcmp(name->valuestring, catalog::profiles[i].name) == 0)
                p4_pd_ms_restore_state(dev_id, shadows[i], log);
    }
    return PD_STATUS_OK;
}

// init() has no result in which to report a refusal, and nothing works without a client handle, so the process stops:
// in every build, unlike with assert().
void require_registration(pipe_status r) {
    if (r == PD_STATUS_OK) return;
    dprintf(STDERR_FILENO, "%s: %s: assertion \"r == BF_SUCCESS\" failed, r is %u\n", client_name,
            "p4_pd_velmar_switch_init", r);
    std::abort();
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

p4_pd_ms_state* shadow_of(size_t profile) noexcept {
    return shadows[profile];
}

} // namespace vl_pd::lifecycle
