// Texts and comparisons for callers that hold the handle of a table or profile as data: which function a handle stands
// for, and what is answered for one that is nobody's.
#pragma once

#include <cstdint>
#include <span>

#include "vl_pd/types.h"

namespace vl_pd::by_handle {

// The exported functions of a table. The lists are made from the catalog; both are sorted by handle.
struct TableFunctions {
    uint32_t handle;
    int (*schema)(char* buffer) noexcept;
    int (*value)(pd_session, pd_device, pd_entry, uint32_t read_from_hw, char* buffer) noexcept;
    int (*describe)(pd_session, pd_device, pd_entry, char* buffer) noexcept = nullptr; // of counted tables
    pd_status (*placement_print)(int fd, uint32_t indent, const void* plcmt_data) noexcept;
    int (*placement_value)(const void* plcmt_data, char* buffer) noexcept;
    int (*placement_equals_hardware)(pd_session, pd_device, uint32_t tbl_hdl, pd_entry, const void* plcmt_data,
                                     char* message) noexcept;
};

struct ProfileFunctions {
    uint32_t handle;
    int (*schema)(char* buffer) noexcept;
    pd_status (*placement_print)(int fd, uint32_t indent, const void* plcmt_data) noexcept;
    int (*placement_value)(const void* plcmt_data, char* buffer) noexcept;
};

extern const std::span<const TableFunctions> table_functions;
extern const std::span<const ProfileFunctions> profile_functions;

// Null for a handle that is no table's, or no profile's.
const TableFunctions* table(uint32_t handle) noexcept;
const ProfileFunctions* profile(uint32_t handle) noexcept;

// The schema of a table or profile; "()" for any other handle.
int cli_schema(uint32_t handle, char* buffer) noexcept;

// These are 0, with nothing written, for a handle that is no table's, and the second for a table without a counter.
int entry_value(pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t read_from_hw,
                char* buffer) noexcept;
int stringify_counter_matchspec(pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl,
                                char* buffer) noexcept;

// For a handle that is nobody's the prints write a line that says so, and return what that write returns; the values
// are 0, with nothing written.
pd_status plcmt_data_print(int fd, uint32_t indent, uint32_t tbl_hdl, const void* plcmt_data) noexcept;
pd_status adt_plcmt_data_print(int fd, uint32_t indent, uint32_t adt_hdl, const void* plcmt_data) noexcept;
int plcmt_data_value(uint32_t tbl_hdl, const void* plcmt_data, char* buffer) noexcept;
int adt_plcmt_data_value(uint32_t adt_hdl, const void* plcmt_data, char* buffer) noexcept;

// 0 with the message "unknown table" for a handle that is no table's.
int plcmt_data_eq_to_hw(pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl,
                        const void* plcmt_data, char* message) noexcept;

} // namespace vl_pd::by_handle
