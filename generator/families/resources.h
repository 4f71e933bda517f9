// Counters, meters, WRED blocks and registers, by name and by handle.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family resources_families[] = {
    {.over = Over::counter, .shard = Shard::resources,
     .name = "{p}counter_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, [direct?pd_device dev_id, pd_entry entry_hdl|pd_dev_tgt dev_tgt, uint32_t "
                  "index], uint32_t flags, pd_counter_value *value",
     .body = "return counters::read_[direct?direct({table_handle}|indirect({handle}], sess_hdl, [direct?dev_id, "
             "entry_hdl|dev_tgt, index], flags, value);"},

    {.over = Over::counter, .shard = Shard::resources,
     .name = "{p}counter_write_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [direct?pd_entry entry_hdl|uint32_t index], "
                  "pd_counter_value value",
     .body = "return counters::write_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, "
             "[direct?entry_hdl|index], value);"},

    {.over = Over::counter, .shard = Shard::resources,
     .name = "{p}counter_hw_sync_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .body = "return counters::sync_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, callback, "
             "cookie);"},

    {.over = Over::meter, .shard = Shard::resources,
     .name = "{p}meter_set_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, [direct?pd_device dev_id, pd_entry entry_hdl|pd_dev_tgt dev_tgt, uint32_t "
                  "index], const pd_meter_spec *meter_spec",
     .body = "return meters::set_[direct?direct({table_handle}, |indirect(]{handle}, sess_hdl, [direct?dev_id, "
             "entry_hdl|dev_tgt, index], meter_spec);"},

    {.over = Over::meter, .shard = Shard::resources,
     .name = "{p}meter_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [direct?pd_entry entry_hdl|uint32_t index], "
                  "pd_meter_spec *meter_spec",
     .body = "return meters::read_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, "
             "[direct?entry_hdl|index], meter_spec);"},

    {.over = Over::meter, .shard = Shard::resources,
     .name = "{p}meter_bytecount_adjust_set_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adjustment",
     .body = "return meters::set_bytecount_adjust({handle}, sess_hdl, dev_tgt, adjustment);"},

    {.over = Over::meter, .shard = Shard::resources,
     .name = "{p}meter_bytecount_adjust_get_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *adjustment",
     .body = "return meters::get_bytecount_adjust({handle}, sess_hdl, dev_tgt, adjustment);"},

    {.over = Over::wred_block, .shard = Shard::resources,
     .name = "{p}wred_set_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, const pd_wred_spec *wred_spec",
     .body = "return meters::set_wred({handle}, sess_hdl, dev_tgt, index, wred_spec);"},

    {.over = Over::wred_block, .shard = Shard::resources,
     .name = "{p}wred_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, pd_wred_spec *wred_spec",
     .body = "return meters::read_wred({handle}, sess_hdl, dev_tgt, index, wred_spec);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}bytes_meter_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, const "
                  "pd_meter_spec *meter_spec, uint32_t has_pre_color",
     .body = "return generic_meters::set_bytes(sess_hdl, dev_tgt, meter_hdl, index, meter_spec, has_pre_color);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}bytes_meter_read",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, pd_meter_spec "
                  "*meter_spec",
     .body = "return meters::read_indirect(meter_hdl, sess_hdl, dev_tgt, index, meter_spec);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}packets_meter_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, const "
                  "pd_meter_spec *meter_spec, uint32_t has_pre_color",
     .body = "return generic_meters::set_packets(sess_hdl, dev_tgt, meter_hdl, index, meter_spec, has_pre_color);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}packets_meter_read",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, pd_meter_spec "
                  "*meter_spec",
     .body = "return meters::read_indirect(meter_hdl, sess_hdl, dev_tgt, index, meter_spec);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}wred_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t wred_hdl, uint32_t index, const pd_wred_spec "
                  "*wred_spec",
     .body = "return meters::set_wred(wred_hdl, sess_hdl, dev_tgt, index, wred_spec);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, uint32_t flags, {cell_type} *values, "
                  "uint32_t *value_count",
     .body = "return registers::read(registers::Cell::{cell}, {handle}, sess_hdl, dev_tgt, index, flags, values, "
             "value_count);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_range_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index, int32_t count, uint32_t flags, "
                  "uint32_t *cells_read, {cell_type} *values, uint32_t *value_count",
     .body = "return registers::read_range(registers::Cell::{cell}, {handle}, sess_hdl, dev_tgt, first_index, "
             "count, flags, cells_read, values, value_count);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_write_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, const {cell_type} *value",
     .body = "return registers::write(registers::Cell::{cell}, {handle}, sess_hdl, dev_tgt, index, value);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_write_all_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {cell_type} *value",
     .body = "return registers::write_all(registers::Cell::{cell}, {handle}, sess_hdl, dev_tgt, value);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_reset_all_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .body = "return registers::reset_all({handle}, sess_hdl, dev_tgt);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_range_reset_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index, uint32_t count",
     .body = "return registers::reset_range({handle}, sess_hdl, dev_tgt, first_index, count);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_hw_sync_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .body = "return registers::sync({handle}, sess_hdl, dev_tgt, callback, cookie);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}register_read_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t index, uint32_t flags, "
                  "struct pipe_stful_query *query",
     .body = "return registers::read_indirect(sess_hdl, dev_tgt, reg_hdl, index, flags, query);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}register_read_direct",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t flags, "
                  "struct pipe_stful_query *query",
     .body = "return registers::read_direct(sess_hdl, dev_tgt, tbl_hdl, entry_hdl, flags, query);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}register_write_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t index, const struct "
                  "pipe_stful_element *element",
     .body = "return registers::write_indirect(sess_hdl, dev_tgt, reg_hdl, index, element);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}register_write_direct",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t reg_hdl, pd_entry entry_hdl, pd_register_value "
                  "value",
     .body = "return registers::write_direct(sess_hdl, dev_id, reg_hdl, entry_hdl, value);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}register_write_all_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, const struct pipe_stful_element "
                  "*element",
     .body = "return registers::write_all_indirect(sess_hdl, dev_tgt, reg_hdl, element);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}register_reset_all_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl",
     .body = "return registers::reset_all(reg_hdl, sess_hdl, dev_tgt);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}register_range_reset_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t first_index, uint32_t count",
     .body = "return registers::reset_range(reg_hdl, sess_hdl, dev_tgt, first_index, count);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}register_hw_sync_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, pd_driver_callback callback, void "
                  "*cookie",
     .body = "return registers::sync(reg_hdl, sess_hdl, dev_tgt, callback, cookie);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}register_hw_sync_direct",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_driver_callback callback, void "
                  "*cookie",
     .body = "return registers::sync_direct(sess_hdl, dev_tgt, tbl_hdl, callback, cookie);"},
};
// clang-format on

} // namespace generator
