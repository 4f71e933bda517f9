// Whole tables: default entries, properties, field widths and idle time.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family defaults_families[] = {
    {.over = Over::default_binding, .name = "{p}{table}_set_default_action_{action}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [params?const {action_spec} *action_spec, ]"
                  "[meter?const pd_meter_spec *meter_spec, ]pd_entry *entry_hdl",
     .call = "defaults::set<t::{table}, a::{action}>(sess_hdl, dev_tgt, [params?action_spec|nullptr], "
             "[meter?meter_spec|nullptr], entry_hdl)"},
    {.over = Over::every_table, .name = "{p}{table}_table_get_default_entry",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t read_from_hw, [indirect?uint8_t *has_mbr, "
                  "uint8_t *has_grp, pd_group *grp_hdl, pd_member *mbr_hdl|void *action_record]",
     .call = "defaults::get<t::{table}>(sess_hdl, dev_tgt, read_from_hw, {{[indirect?.has_mbr = has_mbr, "
             ".has_grp = has_grp, .grp_hdl = grp_hdl, .mbr_hdl = mbr_hdl|.action_number = action_record, "
             ".action_spec = decoding::spec_of(action_record)]}})"},
    {.over = Over::every_table, .name = "{p}{table}_table_get_default_entry_handle",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry *entry_hdl",
     .call = "defaults::get_handle({table_handle}, {args})"},
    {.over = Over::every_table, .name = "{p}{table}_table_reset_default_entry",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .call = "defaults::reset({table_handle}, {args})"},
};

inline constexpr Family properties_families[] = {
    {.over = Over::every_table, .name = "{p}{table}_get_mat_table_handle",
     .arguments = "uint32_t *tbl_hdl",
     .call = "properties::get_handle({table_handle}, {args})"},
    {.over = Over::every_table, .name = "{p}{table}_get_property",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t *value, uint32_t *args",
     .call = "properties::get(sess_hdl, dev_id, {table_handle}, property, value, args)"},
    {.over = Over::every_table, .name = "{p}{table}_set_property",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t value, uint32_t args",
     .call = "properties::set(sess_hdl, dev_id, {table_handle}, property, value, args)"},
    {.over = Over::every_table, .name = "{p}{table}_register_mat_update_cb",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .call = "properties::register_update_callback(sess_hdl, dev_id, {table_handle}, callback, cookie)"},
    {.over = Over::every_table, .name = "{p}{table}_supports_entry_priority",
     .result = "int",
     .arguments = "void",
     .call = "catalog::has_priority(*t::{table})"},
    {.over = Over::key_field, .name = "{p}{table}_{width_name}_width",
     .result = "int",
     .arguments = "void",
     .call = "{width}"},
};

inline constexpr Family idle_families[] = {
    {.over = Over::idle_table, .name = "{p}{table}_idle_tmo_enable",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_idle_params params",
     .call = "idle::enable(sess_hdl, dev_id, {table_handle}, params)"},
    {.over = Over::idle_table, .name = "{p}{table}_idle_tmo_disable",
     .arguments = "pd_session sess_hdl, pd_device dev_id",
     .call = "idle::disable(sess_hdl, dev_id, {table_handle})"},
    {.over = Over::idle_table, .name = "{p}{table}_idle_register_tmo_cb",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .call = "idle::register_timeout_callback(sess_hdl, dev_id, {table_handle}, callback, cookie)"},
    {.over = Over::idle_table, .name = "{p}{table}_idle_params_get",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_idle_params *params",
     .call = "idle::get_params(sess_hdl, dev_id, {table_handle}, params)"},
    {.over = Over::idle_table, .name = "{p}{table}_set_ttl",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t ttl",
     .call = "idle::set_ttl(sess_hdl, dev_id, {table_handle}, entry_hdl, ttl)"},
    {.over = Over::idle_table, .name = "{p}{table}_get_ttl",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t *ttl",
     .call = "idle::get_ttl(sess_hdl, dev_id, {table_handle}, entry_hdl, ttl)"},
    {.over = Over::idle_table, .name = "{p}{table}_reset_ttl",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl",
     .call = "idle::reset_ttl(sess_hdl, dev_id, {table_handle}, entry_hdl)"},
    {.over = Over::idle_table, .name = "{p}{table}_update_hit_state",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .call = "idle::update_hit_state(sess_hdl, dev_id, {table_handle}, callback, cookie)"},
    {.over = Over::idle_table, .name = "{p}{table}_get_hit_state",
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
