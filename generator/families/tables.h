// Whole tables: default entries, properties, field widths and idle time.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family defaults_families[] = {
    {.over = Over::default_binding, .name = "{p}{table}_set_default_action_{action}",
     .doc = "Makes {action} the default action of {table} and writes *entry_hdl.[meter? A null meter_spec detaches "
            "the meter.] {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [params?const {action_spec} *action_spec, ]"
                  "[meter?const pd_meter_spec *meter_spec, ]pd_entry *entry_hdl",
     .call = "defaults::set<t::{table}, a::{action}>(sess_hdl, dev_tgt, [params?action_spec|nullptr], "
             "[meter?meter_spec|nullptr], entry_hdl)"},
    {.over = Over::every_table, .name = "{p}{table}_table_get_default_entry",
     .doc = "Reads the default entry of {table}: [indirect?the member (*has_mbr is 1) or group (*has_grp is 1) of "
            "{profile} that it points at. Writes only this handle.|the action's number, then its record from byte 4 "
            "on.] {status} PD_STATUS_UNEXPECTED: the answer holds [indirect?neither member nor group|no action of "
            "this table]; nothing is written.[indirect?| PD_STATUS_NO_MEMORY: nothing is written.]",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t read_from_hw, [indirect?uint8_t *has_mbr, "
                  "uint8_t *has_grp, pd_group *grp_hdl, pd_member *mbr_hdl|void *action_record]",
     .call = "defaults::get<t::{table}>(sess_hdl, dev_tgt, read_from_hw, {{[indirect?.has_mbr = has_mbr, "
             ".has_grp = has_grp, .grp_hdl = grp_hdl, .mbr_hdl = mbr_hdl|.action_number = action_record, "
             ".action_spec = decoding::spec_of(action_record)]}})"},
    {.over = Over::every_table, .name = "{p}{table}_table_get_default_entry_handle",
     .doc = "Writes the handle of the default entry of {table} to *entry_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry *entry_hdl",
     .call = "defaults::get_handle({table_handle}, {args})"},
    {.over = Over::every_table, .name = "{p}{table}_table_reset_default_entry",
     .doc = "Restores the default entry that {table} started with. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .call = "defaults::reset({table_handle}, {args})"},
};

inline constexpr Family properties_families[] = {
    {.over = Over::every_table, .name = "{p}{table}_get_mat_table_handle",
     .doc = "Writes the handle {table_handle} of {table} to *tbl_hdl, which may be null. Returns 0.",
     .arguments = "uint32_t *tbl_hdl",
     .call = "properties::get_handle({table_handle}, {args})"},
    {.over = Over::every_table, .name = "{p}{table}_get_property",
     .doc = "Reads a property of {table} to *value and *args; both are 0xFFFFFFFF after a failure. The driver "
            "defines properties. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t *value, uint32_t *args",
     .call = "properties::get(sess_hdl, dev_id, {table_handle}, property, value, args)"},
    {.over = Over::every_table, .name = "{p}{table}_set_property",
     .doc = "Sets a property of {table}. The driver defines properties. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t value, uint32_t args",
     .call = "properties::set(sess_hdl, dev_id, {table_handle}, property, value, args)"},
    {.over = Over::every_table, .name = "{p}{table}_register_mat_update_cb",
     .doc = "Registers a callback for changes to the entries of {table}, of the type pipe_mat_update_cb. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .call = "properties::register_update_callback(sess_hdl, dev_id, {table_handle}, callback, cookie)"},
    {.over = Over::every_table, .name = "{p}{table}_supports_entry_priority",
     .doc = "Returns [priority?1: entries of {table} have a priority.|0: entries of {table} have no priority.]",
     .result = "int",
     .arguments = "void",
     .call = "catalog::has_priority(*t::{table})"},
    {.over = Over::key_field, .name = "{p}{table}_{width_name}_width",
     .doc = "Returns {width}, the width in bits of this key field of {table}.",
     .result = "int",
     .arguments = "void",
     .call = "{width}"},
};

inline constexpr Family idle_families[] = {
    {.over = Over::idle_table, .name = "{p}{table}_idle_tmo_enable",
     .doc = "Sets how {table} ages its entries and starts the ageing, in two driver calls. {status} If the second "
            "call fails, params stay set.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_idle_params params",
     .call = "idle::enable(sess_hdl, dev_id, {table_handle}, params)"},
    {.over = Over::idle_table, .name = "{p}{table}_idle_tmo_disable",
     .doc = "Ends the ageing of the entries of {table}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id",
     .call = "idle::disable(sess_hdl, dev_id, {table_handle})"},
    {.over = Over::idle_table, .name = "{p}{table}_idle_register_tmo_cb",
     .doc = "Registers a callback for entries of {table} that time out, of the type pipe_idle_tmo_cb. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .call = "idle::register_timeout_callback(sess_hdl, dev_id, {table_handle}, callback, cookie)"},
    {.over = Over::idle_table, .name = "{p}{table}_idle_params_get",
     .doc = "Reads how {table} ages its entries: mode, and the other fields only if mode is 1. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_idle_params *params",
     .call = "idle::get_params(sess_hdl, dev_id, {table_handle}, params)"},
    {.over = Over::idle_table, .name = "{p}{table}_set_ttl",
     .doc = "Sets the time-to-live of an entry of {table}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t ttl",
     .call = "idle::set_ttl(sess_hdl, dev_id, {table_handle}, entry_hdl, ttl)"},
    {.over = Over::idle_table, .name = "{p}{table}_get_ttl",
     .doc = "Reads the time-to-live of an entry of {table}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t *ttl",
     .call = "idle::get_ttl(sess_hdl, dev_id, {table_handle}, entry_hdl, ttl)"},
    {.over = Over::idle_table, .name = "{p}{table}_reset_ttl",
     .doc = "Starts the time-to-live of an entry of {table} anew. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl",
     .call = "idle::reset_ttl(sess_hdl, dev_id, {table_handle}, entry_hdl)"},
    {.over = Over::idle_table, .name = "{p}{table}_update_hit_state",
     .doc = "Updates the hit states of {table} from the hardware, then calls the callback, of the type "
            "pipe_idle_hit_state_cb. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .call = "idle::update_hit_state(sess_hdl, dev_id, {table_handle}, callback, cookie)"},
    {.over = Over::idle_table, .name = "{p}{table}_get_hit_state",
     .doc = "Reads the hit state of an entry of {table}. After a failure *hit_state is written, but means nothing. "
            "{status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t *hit_state",
     .call = "idle::get_hit_state(sess_hdl, dev_id, {table_handle}, entry_hdl, hit_state)"},
};

inline constexpr Area tables_areas[] = {
    {"pd/tables/defaults.h", defaults_families, Shard::tables},
    {"pd/tables/properties.h", properties_families, Shard::tables},
    {"pd/tables/idle.h", idle_families, Shard::tables},
};
// clang-format on

} // namespace generator
