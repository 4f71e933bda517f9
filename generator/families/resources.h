// Counters, meters, WRED blocks and registers.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family counters_families[] = {
    {.over = Over::counter, .name = "{p}counter_read_{resource}",
     .arguments = "pd_session sess_hdl, "
                  "[direct?pd_device dev_id, pd_entry entry_hdl|pd_dev_tgt dev_tgt, uint32_t index], uint32_t flags, "
                  "pd_counter_value *value",
     .call = "counters::read_[direct?direct({table_handle}|indirect({handle}], sess_hdl, "
             "[direct?dev_id, entry_hdl|dev_tgt, index], flags, value)"},
    {.over = Over::counter, .name = "{p}counter_write_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [direct?pd_entry entry_hdl|uint32_t index], "
                  "pd_counter_value value",
     .call = "counters::write_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, "
             "[direct?entry_hdl|index], value)"},
    {.over = Over::counter, .name = "{p}counter_hw_sync_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .call = "counters::sync_[direct?direct({table_handle}|indirect({handle}], {args})"},
};

inline constexpr Family meters_families[] = {
    {.over = Over::meter, .name = "{p}meter_set_{resource}",
     .arguments = "pd_session sess_hdl, "
                  "[direct?pd_device dev_id, pd_entry entry_hdl|pd_dev_tgt dev_tgt, uint32_t index], "
                  "const pd_meter_spec *meter_spec",
     .call = "meters::set_[direct?direct({table_handle}, |indirect(]{handle}, sess_hdl, "
             "[direct?dev_id, entry_hdl|dev_tgt, index], meter_spec)"},
    {.over = Over::meter, .name = "{p}meter_read_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [direct?pd_entry entry_hdl|uint32_t index], "
                  "pd_meter_spec *meter_spec",
     .call = "meters::read_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, "
             "[direct?entry_hdl|index], meter_spec)"},
    {.over = Over::meter, .name = "{p}meter_bytecount_adjust_set_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adjustment",
     .call = "meters::set_bytecount_adjust({handle}, {args})"},
    {.over = Over::meter, .name = "{p}meter_bytecount_adjust_get_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *adjustment",
     .call = "meters::get_bytecount_adjust({handle}, {args})"},
    {.over = Over::wred_block, .name = "{p}wred_set_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, const pd_wred_spec *wred_spec",
     .call = "meters::set_wred({handle}, {args})"},
    {.over = Over::wred_block, .name = "{p}wred_read_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, pd_wred_spec *wred_spec",
     .call = "meters::read_wred({handle}, {args})"},
    {.over = Over::program, .name = "{p}bytes_meter_read",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, "
                  "pd_meter_spec *meter_spec",
     .call = "meters::read_indirect(meter_hdl, sess_hdl, dev_tgt, index, meter_spec)"},
    {.over = Over::program, .name = "{p}packets_meter_read",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, "
                  "pd_meter_spec *meter_spec",
     .call = "meters::read_indirect(meter_hdl, sess_hdl, dev_tgt, index, meter_spec)"},
    {.over = Over::program, .name = "{p}wred_set",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t wred_hdl, uint32_t index, "
                  "const pd_wred_spec *wred_spec",
     .call = "meters::set_wred(wred_hdl, sess_hdl, dev_tgt, index, wred_spec)"},
};

inline constexpr Family resources_by_handle_families[] = {
    {.over = Over::program, .name = "{p}bytes_meter_set",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, "
                  "const pd_meter_spec *meter_spec, uint32_t has_pre_color",
     .call = "by_handle::bytes_meter_set({args})"},
    {.over = Over::program, .name = "{p}packets_meter_set",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, "
                  "const pd_meter_spec *meter_spec, uint32_t has_pre_color",
     .call = "by_handle::packets_meter_set({args})"},
};

inline constexpr Family registers_families[] = {
    {.over = Over::named_register, .name = "{p}register_read_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, uint32_t flags, {cell_type} *values, "
                  "uint32_t *value_count",
     .call = "registers::read(registers::Cell::{cell}, {handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_range_read_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index, int32_t count, uint32_t flags, "
                  "uint32_t *cells_read, {cell_type} *values, uint32_t *value_count",
     .call = "registers::read_range(registers::Cell::{cell}, {handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_write_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, const {cell_type} *value",
     .call = "registers::write(registers::Cell::{cell}, {handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_write_all_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {cell_type} *value",
     .call = "registers::write_all(registers::Cell::{cell}, {handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_reset_all_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .call = "registers::reset_all({handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_range_reset_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index, uint32_t count",
     .call = "registers::reset_range({handle}, {args})"},
    {.over = Over::named_register, .name = "{p}register_hw_sync_{resource}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .call = "registers::sync({handle}, {args})"},
    {.over = Over::program, .name = "{p}register_read_indirect",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t index, uint32_t flags, "
                  "struct pipe_stful_query *query",
     .call = "registers::read_indirect({args})"},
    {.over = Over::program, .name = "{p}register_read_direct",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t flags, "
                  "struct pipe_stful_query *query",
     .call = "registers::read_direct({args})"},
    {.over = Over::program, .name = "{p}register_write_indirect",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t index, "
                  "const struct pipe_stful_element *element",
     .call = "registers::write_indirect({args})"},
    {.over = Over::program, .name = "{p}register_write_direct",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t reg_hdl, pd_entry entry_hdl, "
                  "pd_register_value value",
     .call = "registers::write_direct({args})"},
    {.over = Over::program, .name = "{p}register_write_all_indirect",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, "
                  "const struct pipe_stful_element *element",
     .call = "registers::write_all_indirect({args})"},
    {.over = Over::program, .name = "{p}register_reset_all_indirect",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl",
     .call = "registers::reset_all(reg_hdl, sess_hdl, dev_tgt)"},
    {.over = Over::program, .name = "{p}register_range_reset_indirect",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t first_index, uint32_t count",
     .call = "registers::reset_range(reg_hdl, sess_hdl, dev_tgt, first_index, count)"},
    {.over = Over::program, .name = "{p}register_hw_sync_indirect",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, pd_driver_callback callback, "
                  "void *cookie",
     .call = "registers::sync(reg_hdl, sess_hdl, dev_tgt, callback, cookie)"},
    {.over = Over::program, .name = "{p}register_hw_sync_direct",
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
