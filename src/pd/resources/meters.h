// Meters and WRED. A direct meter belongs to the entries of a match table, and its operations name that table. An
// indirect meter is an array of cells.
#pragma once

#include <cstdint>

#include "vl_pd/types.h"

namespace vl_pd::meters {

// The direct meter of a table. `meter` is its resource handle.
pd_status set_direct(uint32_t table, uint32_t meter, pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl,
                     const pd_meter_spec* meter_spec) noexcept;
pd_status read_direct(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl,
                      pd_meter_spec* meter_spec) noexcept;

pd_status set_indirect(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                       const pd_meter_spec* meter_spec) noexcept;
pd_status read_indirect(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                        pd_meter_spec* meter_spec) noexcept;

// By the meter's resource handle, even for a direct meter.
pd_status set_bytecount_adjust(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adjustment) noexcept;
pd_status get_bytecount_adjust(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t* adjustment) noexcept;

// A WRED spec is copied as a whole.
pd_status set_wred(uint32_t wred, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                   const pd_wred_spec* wred_spec) noexcept;
pd_status read_wred(uint32_t wred, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                    pd_wred_spec* wred_spec) noexcept;

} // namespace vl_pd::meters
