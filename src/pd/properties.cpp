// Property numbers and values are the driver's; nothing is translated.
#include "pd/properties.h"

namespace vl_pd::properties {

pd_status get(pd_session sess_hdl, pd_device dev_id, uint32_t table, uint32_t property, uint32_t* value,
              uint32_t* args) noexcept {
    uint32_t driver_value = 0;
    uint32_t driver_args = 0;
    const pd_status status = pipe_mgr_tbl_get_property(sess_hdl, dev_id, table, property, &driver_value, &driver_args);
    constexpr uint32_t none = ~uint32_t{0};
    *value = status == PD_STATUS_OK ? driver_value : none;
    *args = status == PD_STATUS_OK ? driver_args : none;
    return status;
}

pd_status set(pd_session sess_hdl, pd_device dev_id, uint32_t table, uint32_t property, uint32_t value,
              uint32_t args) noexcept {
    return pipe_mgr_tbl_set_property(sess_hdl, dev_id, table, property, value, args);
}

pd_status register_update_callback(pd_session sess_hdl, pd_device dev_id, uint32_t table, pd_driver_callback callback,
                                   void* cookie) noexcept {
    return pipe_register_mat_update_cb(sess_hdl, dev_id, table, reinterpret_cast<pipe_mat_update_cb>(callback), cookie);
}

} // namespace vl_pd::properties
