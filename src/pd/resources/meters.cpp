// The driver calls that carry meter and WRED specs.
#include "pd/resources/meters.h"

#include <bit>
#include <cstring>

#include "codec/driver_args.h"
#include "codec/meter_specs.h"

namespace vl_pd::meters {

pd_status set_direct(uint32_t table, uint32_t meter, pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl,
                     const pd_meter_spec* meter_spec) noexcept {
    const pipe_meter_spec driver_spec = bytes_meter(*meter_spec);
    pipe_resource_slot slot{};
    slot.resource_hdl = meter;
    std::memcpy(slot.spec, &driver_spec, sizeof driver_spec);
    slot.tag = PIPE_SLOT_ATTACHED;
    return pipe_mgr_mat_ent_set_resource(sess_hdl, dev_id, table, entry_hdl, &slot, 1, no_flags);
}

pd_status read_direct(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl,
                      pd_meter_spec* meter_spec) noexcept {
    pipe_meter_spec driver_spec{};
    const pd_status refused = pipe_mgr_meter_read_entry(sess_hdl, to_driver(dev_tgt), table, entry_hdl, &driver_spec);
    if (refused != PD_STATUS_OK) return refused;
    *meter_spec = agent_form(driver_spec);
    return PD_STATUS_OK;
}

pd_status set_indirect(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                       const pd_meter_spec* meter_spec) noexcept {
    const pipe_meter_spec driver_spec = bytes_meter(*meter_spec);
    return pipe_mgr_meter_ent_set(sess_hdl, to_driver(dev_tgt), meter, index, &driver_spec, no_flags);
}

pd_status read_indirect(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                        pd_meter_spec* meter_spec) noexcept {
    pipe_meter_spec driver_spec{};
    const pd_status refused =
        pipe_mgr_meter_read_entry_idx(sess_hdl, to_driver(dev_tgt), meter, index, &driver_spec, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    *meter_spec = agent_form(driver_spec);
    return PD_STATUS_OK;
}

pd_status set_bytecount_adjust(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adjustment) noexcept {
    return pipe_mgr_meter_set_bytecount_adjust(sess_hdl, to_driver(dev_tgt), meter, adjustment);
}

pd_status get_bytecount_adjust(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t* adjustment) noexcept {
    return pipe_mgr_meter_get_bytecount_adjust(sess_hdl, to_driver(dev_tgt), meter, adjustment);
}

pd_status set_wred(uint32_t wred, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                   const pd_wred_spec* wred_spec) noexcept {
    const auto copy = std::bit_cast<pipe_wred_spec>(*wred_spec);
    return pipe_mgr_wred_ent_set(sess_hdl, to_driver(dev_tgt), wred, index, &copy, no_flags);
}

pd_status read_wred(uint32_t wred, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                    pd_wred_spec* wred_spec) noexcept {
    pipe_wred_spec copy{};
    const pd_status refused = pipe_mgr_wred_read_entry_idx(sess_hdl, to_driver(dev_tgt), wred, index, &copy, no_flags);
    if (refused != PD_STATUS_OK) return refused;
    *wred_spec = std::bit_cast<pd_wred_spec>(copy);
    return PD_STATUS_OK;
}

} // namespace vl_pd::meters
