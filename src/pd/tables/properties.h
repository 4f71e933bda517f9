// A table without its entries: its handle, its properties, and the callback for its updates. The driver defines the
// numbers and values of properties.
#pragma once

#include <cstdint>

#include "vl_driver/tables.h"
#include "vl_pd/types.h"

namespace vl_pd::properties {

// Needs no driver. Used for all kinds of tables.
inline pd_status get_handle(uint32_t handle, uint32_t* out) noexcept {
    if (out != nullptr) *out = handle;
    return PD_STATUS_OK;
}

// Always writes both outputs: all ones after a failure.
inline pd_status get(pd_session sess_hdl, pd_device dev_id, uint32_t table, uint32_t property, uint32_t* value,
                     uint32_t* args) noexcept {
    uint32_t driver_value = 0;
    uint32_t driver_args = 0;
    const pd_status status = pipe_mgr_tbl_get_property(sess_hdl, dev_id, table, property, &driver_value, &driver_args);
    *value = status == PD_STATUS_OK ? driver_value : ~uint32_t{0};
    *args = status == PD_STATUS_OK ? driver_args : ~uint32_t{0};
    return status;
}

inline pd_status set(pd_session sess_hdl, pd_device dev_id, uint32_t table, uint32_t property, uint32_t value,
                     uint32_t args) noexcept {
    return pipe_mgr_tbl_set_property(sess_hdl, dev_id, table, property, value, args);
}

inline pd_status register_update_callback(pd_session sess_hdl, pd_device dev_id, uint32_t table,
                                          pd_driver_callback callback, void* cookie) noexcept {
    return pipe_register_mat_update_cb(sess_hdl, dev_id, table, reinterpret_cast<pipe_mat_update_cb>(callback), cookie);
}

} // namespace vl_pd::properties
