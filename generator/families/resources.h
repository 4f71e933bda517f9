// Counters, meters, WRED blocks and registers.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family counters_families[] = {
    {.over = Over::counter, .name = "{p}counter_read_{resource}",
     .doc = "Reads [direct?the count of an entry of {table}|a cell of {resource}] to *value, updated from the "
            "hardware if bit 0 of flags is set. {status}",
     .arguments = "pd_session sess_hdl, "
                  "[direct?pd_device dev_id, pd_entry entry_hdl|pd_dev_tgt dev_tgt, uint32_t index], uint32_t flags, "
                  "pd_counter_value *value",
     .call = "counters::read_[direct?direct({table_handle}|indirect({handle}], sess_hdl, "
             "[direct?dev_id, entry_hdl|dev_tgt, index], flags, value)"},
    {.over = Over::counter, .name = "{p}counter_write_{resource}",
     .doc = "Sets [direct?the count of an entry of {table}|a cell of {resource}]. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [direct?pd_entry entry_hdl|uint32_t index], "
                  "pd_counter_value value",
     .call = "counters::write_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, "
             "[direct?entry_hdl|index], value)"},
    {.over = Over::counter, .name = "{p}counter_hw_sync_{resource}",
     .doc = "Updates the driver's copy of {resource} from the hardware, then calls the callback, of the type "
            "pipe_sync_cb. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .call = "counters::sync_[direct?direct({table_handle}|indirect({handle}], {args})"},
};

inline constexpr Family meters_families[] = {
    {.over = Over::meter, .name = "{p}meter_set_{resource}",
     .doc = "Sets [direct?the meter of an entry of {table}|a cell of {resource}]. An unknown meter_type is a failed "
            "assertion, and is sent as colour aware. {status}",
     .arguments = "pd_session sess_hdl, "
                  "[direct?pd_device dev_id, pd_entry entry_hdl|pd_dev_tgt dev_tgt, uint32_t index], "
                  "const pd_meter_spec *meter_spec",
     .call = "meters::set_[direct?direct({table_handle}, |indirect(]{handle}, sess_hdl, "
             "[direct?dev_id, entry_hdl|dev_tgt, index], meter_spec)"},
    {.over = Over::meter, .name = "{p}meter_read_{resource}",
     .doc = "Reads [direct?the meter of an entry of {table}|a cell of {resource}]. meter_type is the driver's "
            "number. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [direct?pd_entry entry_hdl|uint32_t index], "
                  "pd_meter_spec *meter_spec",
     .call = "meters::read_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, "
             "[direct?entry_hdl|index], meter_spec)"},
    {.over = Over::meter, .name = "{p}meter_bytecount_adjust_set_{resource}",
     .doc = "Sets the byte-count adjustment of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adjustment",
     .call = "meters::set_bytecount_adjust({handle}, {args})"},
    {.over = Over::meter, .name = "{p}meter_bytecount_adjust_get_{resource}",
     .doc = "Reads the byte-count adjustment of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *adjustment",
     .call = "meters::get_bytecount_adjust({handle}, {args})"},
    {.over = Over::wred_block, .name = "{p}wred_set_{resource}",
     .doc = "Sets a cell of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, const pd_wred_spec *wred_spec",
     .call = "meters::set_wred({handle}, {args})"},
    {.over = Over::wred_block, .name = "{p}wred_read_{resource}",
     .doc = "Reads a cell of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, pd_wred_spec *wred_spec",
     .call = "meters::read_wred({handle}, {args})"},
    {.over = Over::program, .name = "{p}bytes_meter_read",
     .doc = "Reads a cell of meter meter_hdl, which counts bytes. meter_type is the driver's number. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, "
                  "pd_meter_spec *meter_spec",
     .call = "meters::read_indirect(meter_hdl, sess_hdl, dev_tgt, index, meter_spec)"},
    {.over = Over::program, .name = "{p}packets_meter_read",
     .doc = "Reads a cell of meter meter_hdl, which counts packets. meter_type is the driver's number. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, "
                  "pd_meter_spec *meter_spec",
     .call = "meters::read_indirect(meter_hdl, sess_hdl, dev_tgt, index, meter_spec)"},
    {.over = Over::program, .name = "{p}wred_set",
     .doc = "Sets a cell of WRED block wred_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t wred_hdl, uint32_t index, "
                  "const pd_wred_spec *wred_spec",
     .call = "meters::set_wred(wred_hdl, sess_hdl, dev_tgt, index, wred_spec)"},
};

inline constexpr Family resources_by_handle_families[] = {
    {.over = Over::program, .name = "{p}bytes_meter_set",
     .doc = "Sets a cell of meter meter_hdl, which counts bytes. {status} {meter_refused}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, "
                  "const pd_meter_spec *meter_spec, uint32_t has_pre_color",
     .call = "by_handle::bytes_meter_set({args})"},
    {.over = Over::program, .name = "{p}packets_meter_set",
     .doc = "Sets a cell of meter meter_hdl, which counts packets. {status} {meter_refused}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, "
                  "const pd_meter_spec *meter_spec, uint32_t has_pre_color",
     .call = "by_handle::packets_meter_set({args})"},
};

inline constexpr Family registers_families[] = {
    {.over = Over::named_register, .name = "{p}register_read_{resource}",
     .doc = "Reads a cell of {resource}. Bit 0 of flags goes to the driver. `values` needs room for a value of each "
            "instance of the cell, for example for each pipe. Writes *value_count. {status} "
            "PD_STATUS_NO_MEMORY: nothing is written.",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, uint32_t flags, {cell_type} *values, "
                  "uint32_t *value_count",
     .call = "registers::read(registers::Cell::{cell}, {handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_range_read_{resource}",
     .doc = "Reads `count` cells of {resource}. Bit 0 of flags goes to the driver. `values` needs room for `count` "
            "times the instances of a cell, for example pipes. Writes *cells_read and *value_count. {status} "
            "PD_STATUS_NO_MEMORY: nothing is written.",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index, int32_t count, uint32_t flags, "
                  "uint32_t *cells_read, {cell_type} *values, uint32_t *value_count",
     .call = "registers::read_range(registers::Cell::{cell}, {handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_write_{resource}",
     .doc = "Writes a cell of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, const {cell_type} *value",
     .call = "registers::write(registers::Cell::{cell}, {handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_write_all_{resource}",
     .doc = "Writes one value to all cells of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {cell_type} *value",
     .call = "registers::write_all(registers::Cell::{cell}, {handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_reset_all_{resource}",
     .doc = "Resets all cells of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .call = "registers::reset_all({handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_range_reset_{resource}",
     .doc = "Resets `count` cells of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index, uint32_t count",
     .call = "registers::reset_range({handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_hw_sync_{resource}",
     .doc = "Updates the driver's copy of {resource} from the hardware, then calls the callback, of the type "
            "pipe_sync_cb. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .call = "registers::sync({handle}, {args})"},
    {.over = Over::program, .name = "{p}register_read_indirect",
     .doc = "Reads a cell of register reg_hdl into the driver's record. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t index, uint32_t flags, "
                  "struct pipe_stful_query *query",
     .call = "registers::read_indirect({args})"},
    {.over = Over::program, .name = "{p}register_read_direct",
     .doc = "Reads the register of an entry of table tbl_hdl into the driver's record. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t flags, "
                  "struct pipe_stful_query *query",
     .call = "registers::read_direct({args})"},
    {.over = Over::program, .name = "{p}register_write_indirect",
     .doc = "Writes a cell of register reg_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t index, "
                  "const struct pipe_stful_element *element",
     .call = "registers::write_indirect({args})"},
    {.over = Over::program, .name = "{p}register_write_direct",
     .doc = "Writes the register of an entry. Sends reg_hdl as the register and as the table. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t reg_hdl, pd_entry entry_hdl, "
                  "pd_register_value value",
     .call = "registers::write_direct({args})"},
    {.over = Over::program, .name = "{p}register_write_all_indirect",
     .doc = "Writes one value to all cells of register reg_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, "
                  "const struct pipe_stful_element *element",
     .call = "registers::write_all_indirect({args})"},
    {.over = Over::program, .name = "{p}register_reset_all_indirect",
     .doc = "Resets all cells of register reg_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl",
     .call = "registers::reset_all(reg_hdl, sess_hdl, dev_tgt)"},
    {.over = Over::program, .name = "{p}register_range_reset_indirect",
     .doc = "Resets `count` cells of register reg_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t first_index, uint32_t count",
     .call = "registers::reset_range(reg_hdl, sess_hdl, dev_tgt, first_index, count)"},
    {.over = Over::program, .name = "{p}register_hw_sync_indirect",
     .doc = "Updates the driver's copy of register reg_hdl from the hardware, then calls the callback, of the type "
            "pipe_sync_cb. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, pd_driver_callback callback, "
                  "void *cookie",
     .call = "registers::sync(reg_hdl, sess_hdl, dev_tgt, callback, cookie)"},
    {.over = Over::program, .name = "{p}register_hw_sync_direct",
     .doc = "Updates the driver's copy of the register of table tbl_hdl from the hardware, then calls the callback, "
            "of the type pipe_sync_cb. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_driver_callback callback, "
                  "void *cookie",
     .call = "registers::sync_direct({args})"},
};

inline constexpr Area resources_areas[] = {
    {"pd/resources/counters.h", counters_families},
    {"pd/resources/meters.h", meters_families},
    {"pd_velmar/by_handle.h", resources_by_handle_families},
    {"pd/resources/registers.h", registers_families},
};
// clang-format on

} // namespace generator
