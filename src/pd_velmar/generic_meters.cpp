// The mapping of meter types where callers say more of their packets than the pipeline's own meters know.
#include "pd_velmar/generic_meters.h"

#include "pd/device.h"
#include "pd/meters.h"

namespace vl_pd::generic_meters {

namespace {

// False for a request that can't be met.
bool get_meter_type(uint32_t requested_meter_type, bool has_pre_color, uint32_t& driver_type) {
    if (requested_meter_type == PD_METER_TYPE_COLOR_UNAWARE) {
        driver_type = PIPE_METER_COLOR_UNAWARE;
        return true;
    }
    driver_type = PIPE_METER_COLOR_AWARE;
    return requested_meter_type == PD_METER_TYPE_COLOR_AWARE && has_pre_color;
}

pd_status set(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index, const pd_meter_spec& meter_spec,
              uint32_t has_pre_color, uint32_t unit) {
    uint32_t driver_type = 0;
    if (!get_meter_type(meter_spec.meter_type, static_cast<uint8_t>(has_pre_color) != 0, driver_type))
        return PD_STATUS_INVALID;
    const pipe_meter_spec driver_spec = meters::driver_form(meter_spec, driver_type, unit);
    return pipe_mgr_meter_ent_set(sess_hdl, to_driver(dev_tgt), handle, index, &driver_spec, 0);
}

} // namespace

pd_status set_bytes(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                    const pd_meter_spec* meter_spec, uint32_t has_pre_color) noexcept {
    return set(sess_hdl, dev_tgt, handle, index, *meter_spec, has_pre_color, PIPE_METER_UNIT_BYTES);
}

pd_status set_packets(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                      const pd_meter_spec* meter_spec, uint32_t has_pre_color) noexcept {
    return set(sess_hdl, dev_tgt, handle, index, *meter_spec, has_pre_color, PIPE_METER_UNIT_PACKETS);
}

} // namespace vl_pd::generic_meters
