// Whole tables: default entries, properties, field widths and idle time.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family tables_families[] = {
    {.over = Over::default_binding, .shard = Shard::tables,
     .name = "{p}{table}_set_default_action_{action}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [params?const {action_spec} *action_spec, ]"
                  "[meter?const pd_meter_spec *meter_spec, ]pd_entry *entry_hdl",
     .body = "return defaults::set<t::{table}, a::{action}>(sess_hdl, dev_tgt, [params?action_spec|nullptr], "
             "[meter?meter_spec|nullptr], entry_hdl);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_table_get_default_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t read_from_hw, "
                  "[indirect?uint8_t *has_mbr, uint8_t *has_grp, pd_group *grp_hdl, pd_member *mbr_hdl|void "
                  "*action_record]",
     .body = "return [indirect?defaults::get_indirect|defaults::get]<t::{table}>(sess_hdl, dev_tgt, read_from_hw, "
             "[indirect?has_mbr, has_grp, grp_hdl, mbr_hdl|action_record]);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_table_get_default_entry_handle",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry *entry_hdl",
     .body = "return defaults::get_handle<t::{table}>(sess_hdl, dev_tgt, entry_hdl);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_table_reset_default_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .body = "return defaults::reset<t::{table}>(sess_hdl, dev_tgt);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_get_mat_table_handle",
     .result = "pd_status",
     .arguments = "uint32_t *tbl_hdl",
     .body = "return properties::get_handle(t::{table}->handle, tbl_hdl);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_get_property",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t *value, uint32_t *args",
     .body = "return properties::get(sess_hdl, dev_id, t::{table}->handle, property, value, args);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_set_property",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t value, uint32_t args",
     .body = "return properties::set(sess_hdl, dev_id, t::{table}->handle, property, value, args);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_register_mat_update_cb",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .body = "return properties::register_update_callback(sess_hdl, dev_id, t::{table}->handle, callback, cookie);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_supports_entry_priority",
     .result = "int",
     .arguments = "void",
     .body = "return catalog::has_priority(*t::{table});"},

    {.over = Over::key_field, .shard = Shard::tables,
     .name = "{p}{table}_{width_name}_width",
     .result = "int",
     .arguments = "void",
     .body = "return {width};"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_idle_tmo_enable",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_idle_params params",
     .body = "return idle::enable(sess_hdl, dev_id, t::{table}->handle, params);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_idle_tmo_disable",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id",
     .body = "return idle::disable(sess_hdl, dev_id, t::{table}->handle);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_idle_register_tmo_cb",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .body = "return idle::register_timeout_callback(sess_hdl, dev_id, t::{table}->handle, callback, cookie);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_idle_params_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_idle_params *params",
     .body = "return idle::get_params(sess_hdl, dev_id, t::{table}->handle, params);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_set_ttl",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t ttl",
     .body = "return idle::set_ttl(sess_hdl, dev_id, t::{table}->handle, entry_hdl, ttl);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_get_ttl",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t *ttl",
     .body = "return idle::get_ttl(sess_hdl, dev_id, t::{table}->handle, entry_hdl, ttl);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_reset_ttl",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl",
     .body = "return idle::reset_ttl(sess_hdl, dev_id, t::{table}->handle, entry_hdl);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_update_hit_state",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .body = "return idle::update_hit_state(sess_hdl, dev_id, t::{table}->handle, callback, cookie);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_get_hit_state",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t *hit_state",
     .body = "return idle::get_hit_state(sess_hdl, dev_id, t::{table}->handle, entry_hdl, hit_state);"},
};
// clang-format on

} // namespace generator
