// Idle time of the tables whose entries age. The driver does all timing; the library converts one record.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/driver_args.h"
#include "vl_driver/idle.h"

namespace vl_pd::idle {

static_assert(sizeof(pd_idle_params) == 48 && offsetof(pd_idle_params, params_a) == 8 &&
              offsetof(pd_idle_params, params_b) == 16 && offsetof(pd_idle_params, params_c) == 24 &&
              offsetof(pd_idle_params, params_d) == 32 && offsetof(pd_idle_params, params_flag) == 40);

inline constexpr uint32_t off = 0;
inline constexpr uint32_t on = 1;

// Sets the parameters, then switches ageing on. If that fails, the parameters stay set.
inline pd_status enable(pd_session sess_hdl, pd_device dev_id, uint32_t table, const pd_idle_params& params) noexcept {
    pipe_idle_params driver_params{};
    driver_params.mode = params.mode;
    driver_params.params_a = params.params_a;
    driver_params.params_b = params.params_b;
    driver_params.params_c = params.params_c;
    driver_params.params_d = params.params_d;
    const pd_status refused = pipe_mgr_idle_set_params(sess_hdl, dev_id, table, driver_params);
    if (refused != PD_STATUS_OK) return refused;
    return pipe_mgr_idle_tmo_set_enable(sess_hdl, dev_id, table, on);
}

inline pd_status disable(pd_session sess_hdl, pd_device dev_id, uint32_t table) noexcept {
    return pipe_mgr_idle_tmo_set_enable(sess_hdl, dev_id, table, off);
}

// Writes the mode, and the other fields only if the mode has parameters. Writes nothing after a failure.
inline pd_status get_params(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_idle_params* params) noexcept {
    pipe_idle_params driver_params{};
    const pd_status refused = pipe_mgr_idle_get_params(sess_hdl, dev_id, table, &driver_params);
    if (refused != PD_STATUS_OK) return refused;
    params->mode = driver_params.mode;
    if (driver_params.mode != PIPE_IDLE_MODE_NOTIFY) return PD_STATUS_OK;
    params->params_a = driver_params.params_a;
    params->params_b = driver_params.params_b;
    params->params_c = driver_params.params_c;
    params->params_d = driver_params.params_d;
    params->params_flag = 0;
    return PD_STATUS_OK;
}

inline pd_status register_timeout_callback(pd_session sess_hdl, pd_device dev_id, uint32_t table,
                                           pd_driver_callback callback, void* cookie) noexcept {
    return pipe_mgr_idle_register_tmo_cb(sess_hdl, dev_id, table, reinterpret_cast<pipe_idle_tmo_cb>(callback), cookie);
}

inline pd_status set_ttl(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_entry entry_hdl,
                         uint32_t ttl) noexcept {
    return pipe_mgr_mat_ent_set_idle_ttl(sess_hdl, dev_id, table, entry_hdl, ttl, 0, 0);
}

inline pd_status get_ttl(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_entry entry_hdl,
                         uint32_t* ttl) noexcept {
    return pipe_mgr_mat_ent_get_idle_ttl(sess_hdl, dev_id, table, entry_hdl, ttl);
}

inline pd_status reset_ttl(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_entry entry_hdl) noexcept {
    return pipe_mgr_mat_ent_reset_idle_ttl(sess_hdl, dev_id, table, entry_hdl);
}

inline pd_status update_hit_state(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_driver_callback callback,
                                  void* cookie) noexcept {
    return pipe_mgr_idle_time_update_hit_state(sess_hdl, dev_id, table,
                                               reinterpret_cast<pipe_idle_hit_state_cb>(callback), cookie);
}

// Always writes the word, which means something only after success.
inline pd_status get_hit_state(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_entry entry_hdl,
                               uint32_t* hit_state) noexcept {
    uint32_t driver_state = 0;
    const pd_status status = pipe_mgr_idle_time_get_hit_state(sess_hdl, dev_id, table, entry_hdl, &driver_state);
    *hit_state = driver_state;
    return status;
}

} // namespace vl_pd::idle
