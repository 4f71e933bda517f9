// Registers: stateful cells that packets read and change. A cell has one value for each of its instances in the
// hardware. A read asks the driver how many there are, makes room for them, and lays the values out for the caller.
#pragma once

#include <cstdint>

#include "catalog/row_types.h"
#include "vl_driver/registers.h"
#include "vl_pd/types.h"

namespace vl_pd::registers {

using catalog::Cell;

// The caller must provide room for all values of the cell or cells, and can't ask how many the driver has. After a
// failure nothing is written. PD_STATUS_NO_MEMORY: no memory for the driver's answer.
pd_status read(Cell cell, uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, uint32_t flags,
               void* values, uint32_t* value_count) noexcept;

// The values of the cells follow each other without gaps.
pd_status read_range(Cell cell, uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index,
                     int32_t count, uint32_t flags, uint32_t* cells_read, void* values, uint32_t* value_count) noexcept;

// A flag becomes 0 or 1.
pd_status write(Cell cell, uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                const void* value) noexcept;
pd_status write_all(Cell cell, uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, const void* value) noexcept;

// Resets cells to the register's initial value. The resets and sync() are also used for registers by handle.
pd_status reset_all(uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt) noexcept;
pd_status reset_range(uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index,
                      uint32_t count) noexcept;
pd_status sync(uint32_t handle, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback,
               void* cookie) noexcept;

// Registers by handle, with the driver's records as they are.
pd_status read_indirect(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index, uint32_t flags,
                        pipe_stful_query* query) noexcept;
pd_status read_direct(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t table, pd_entry entry_hdl, uint32_t flags,
                      pipe_stful_query* query) noexcept;
pd_status write_indirect(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                         const pipe_stful_element* element) noexcept;
pd_status write_all_indirect(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle,
                             const pipe_stful_element* element) noexcept;
pd_status sync_direct(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t table, pd_driver_callback callback,
                      void* cookie) noexcept;

// A register attached to a match entry. Only the low 8 bits of dev_id reach the driver.
pd_status write_direct(pd_session sess_hdl, pd_device dev_id, uint32_t handle, pd_entry entry_hdl,
                       pd_register_value value) noexcept;

} // namespace vl_pd::registers
