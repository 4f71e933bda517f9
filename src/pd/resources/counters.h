// Counters: cells of two counts. A direct counter has one cell for each entry of its match table, and is named by the
// handle of that table. An indirect counter is an array of cells.
//
// The driver's record has the two counts in the opposite order, so each read and write swaps them.
#pragma once

#include <cstdint>

#include "vl_pd/types.h"

namespace vl_pd::counters {

// If bit 0 of flags is set, the driver first updates the cell from the hardware. Other bits are ignored. If either step
// fails, no value is written.
pd_status read_direct(uint32_t table, pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t flags,
                      pd_counter_value* value) noexcept;
pd_status read_indirect(uint32_t counter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, uint32_t flags,
                        pd_counter_value* value) noexcept;

pd_status write_direct(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl,
                       pd_counter_value value) noexcept;
pd_status write_indirect(uint32_t counter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                         pd_counter_value value) noexcept;

pd_status sync_direct(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback,
                      void* cookie) noexcept;
pd_status sync_indirect(uint32_t counter, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback,
                        void* cookie) noexcept;

} // namespace vl_pd::counters
