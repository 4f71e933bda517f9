// Functions that take the handle of a table, profile or meter, for callers that hold it as data: walks, texts,
// comparisons and meters. Each function says what it answers to a handle that no row has.
#pragma once

#include <cstdint>
#include <span>

#include "vl_pd/types.h"

namespace vl_pd::by_handle {

// The exported functions of a table. The generator makes both lists, sorted by handle.
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

// Walks. A handle that no table has ends the walk: the end mark and status 0. A handle that no profile has gives the
// end mark and PD_STATUS_MISMATCH. Otherwise the answer is that of the table's or profile's own function.
pd_status entry_hdl_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry* entry_hdl) noexcept;
pd_status entry_hdl_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t n,
                         pd_entry* next_entry_hdls) noexcept;
pd_status entry_hdl_default(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry* entry_hdl) noexcept;
pd_status member_hdl_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member* mbr_hdl) noexcept;
pd_status member_hdl_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member mbr_hdl, uint32_t n,
                          pd_member* next_mbr_hdls) noexcept;

// The schema of a table or profile; "()" for any other handle.
int cli_schema(uint32_t handle, char* buffer) noexcept;

// entry_value and stringify_counter_matchspec return 0 and write nothing for a handle that no table has.
// stringify_counter_matchspec does the same for a table without a counter.
int entry_value(pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t read_from_hw,
                char* buffer) noexcept;
int stringify_counter_matchspec(pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl,
                                char* buffer) noexcept;

// For a handle that no row has, the prints write a line that says so, and return the result of that write. The values
// return 0 and write nothing.
pd_status plcmt_data_print(int fd, uint32_t indent, uint32_t tbl_hdl, const void* plcmt_data) noexcept;
pd_status adt_plcmt_data_print(int fd, uint32_t indent, uint32_t adt_hdl, const void* plcmt_data) noexcept;
int plcmt_data_value(uint32_t tbl_hdl, const void* plcmt_data, char* buffer) noexcept;
int adt_plcmt_data_value(uint32_t adt_hdl, const void* plcmt_data, char* buffer) noexcept;

// For a handle that no table has: 0, and the message "unknown table".
int plcmt_data_eq_to_hw(pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl,
                        const void* plcmt_data, char* message) noexcept;

// Set any meter, of bytes or of packets. The caller says whether packets reach the meter with a colour; the low 8 bits
// of has_pre_color count. PD_STATUS_INVALID, without a driver call: the meter type is unknown, or is colour aware
// although packets have no colour.
pd_status bytes_meter_set(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                          const pd_meter_spec* meter_spec, uint32_t has_pre_color) noexcept;
pd_status packets_meter_set(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                            const pd_meter_spec* meter_spec, uint32_t has_pre_color) noexcept;

} // namespace vl_pd::by_handle
