// Setting any meter by handle, of bytes or of packets. The caller says whether packets reach the meter with a colour.
#pragma once

#include <cstdint>

#include "vl_pd/types.h"

namespace vl_pd::generic_meters {

// A meter type that is none, or one that is colour aware where packets have no colour, is PD_STATUS_INVALID without a
// driver call. Of has_pre_color 8 bits count.
pd_status set_bytes(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                    const pd_meter_spec* meter_spec, uint32_t has_pre_color) noexcept;
pd_status set_packets(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                      const pd_meter_spec* meter_spec, uint32_t has_pre_color) noexcept;

} // namespace vl_pd::generic_meters
