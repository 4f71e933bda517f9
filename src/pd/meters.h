// Meters and WRED. A direct meter travels with the entries of its match table, and its operations name that table;
// indirect ones are arrays of cells.
//
// Numbers pass between the two forms of a meter spec unchanged, widened on the way to the driver and cut to their low
// 32 bits on the way back.
#pragma once

#include <cstdint>

#include "vl_driver/resources.h"
#include "vl_pd/types.h"

namespace vl_pd::meters {

// The driver's meter type for the caller's. Packets are taken to reach the meter with a colour already. A type outside
// the enumeration is a logged assertion, after which the meter is colour aware.
uint32_t get_bytes_meter_type(uint32_t meter_type) noexcept;

// The driver's form of a meter spec, by a meter type and a unit that are the driver's already. Reserved words are zero.
pipe_meter_spec driver_form(const pd_meter_spec& spec, uint32_t driver_type, uint32_t unit) noexcept;

// The same for the meters of the pipeline, all of which count bytes.
pipe_meter_spec bytes_meter(const pd_meter_spec& spec) noexcept;

// The type comes back as the driver has it; the units aren't read back.
pd_meter_spec agent_form(const pipe_meter_spec& driver_spec) noexcept;

// The direct meter of a table. `meter` is its resource handle.
pd_status set_direct(uint32_t table, uint32_t meter, pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl,
                     const pd_meter_spec* meter_spec) noexcept;
pd_status read_direct(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl,
                      pd_meter_spec* meter_spec) noexcept;

pd_status set_indirect(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                       const pd_meter_spec* meter_spec) noexcept;
pd_status read_indirect(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                        pd_meter_spec* meter_spec) noexcept;

// By resource handle, for direct meters too.
pd_status set_bytecount_adjust(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adjustment) noexcept;
pd_status get_bytecount_adjust(uint32_t meter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t* adjustment) noexcept;

// A WRED spec is copied, and never looked into.
pd_status set_wred(uint32_t wred, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                   const pd_wred_spec* wred_spec) noexcept;
pd_status read_wred(uint32_t wred, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                    pd_wred_spec* wred_spec) noexcept;

} // namespace vl_pd::meters
