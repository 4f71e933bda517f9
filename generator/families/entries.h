// Entries: writing them, reading them back, and the decoders of driver records.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family entries_families[] = {
    {.over = Over::entry_binding, .shard = Shard::entries,
     .name = "{p}{table}_table_add_with_{action}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]"
                  "[params?const {action_spec} *action_spec, ][meter?const pd_meter_spec *meter_spec, ]"
                  "[ttl?uint32_t ttl, ]pd_entry *entry_hdl",
     .body = "return entries::add<t::{table}, a::{action}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0], "
             "[params?action_spec|nullptr], [meter?meter_spec|nullptr], [ttl?ttl|0], entry_hdl);"},

    {.over = Over::entry_binding, .shard = Shard::entries,
     .name = "{p}{table}_table_modify_with_{action}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl"
                  "[params?, const {action_spec} *action_spec][meter?, const pd_meter_spec *meter_spec]",
     .body = "return entries::modify<t::{table}, a::{action}>(sess_hdl, dev_id, entry_hdl, "
             "[params?action_spec|nullptr], [meter?meter_spec|nullptr]);"},

    {.over = Over::entry_binding, .shard = Shard::entries,
     .name = "{p}{table}_table_modify_with_{action}_by_match_spec",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec[priority?, uint32_t "
                  "priority]"
                  "[params?, const {action_spec} *action_spec][meter?, const pd_meter_spec *meter_spec]",
     .body = "return entries::modify_by_match_spec<t::{table}, a::{action}>(sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], [params?action_spec|nullptr], [meter?meter_spec|nullptr]);"},

    {.over = Over::keyed_table, .shard = Shard::entries,
     .name = "{p}{table}_table_delete",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl",
     .body = "return entries::remove<t::{table}>(sess_hdl, dev_id, entry_hdl);"},

    {.over = Over::keyed_table, .shard = Shard::entries,
     .name = "{p}{table}_table_delete_by_match_spec",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec[priority?, uint32_t "
                  "priority]",
     .body = "return entries::remove_by_match_spec<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0]);"},

    {.over = Over::keyed_table, .shard = Shard::entries,
     .name = "{p}{table}_match_spec_to_entry_hdl",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec[priority?, uint32_t "
                  "priority], "
                  "pd_entry *entry_hdl",
     .body = "return entries::find<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0], entry_hdl);"},

    {.over = Over::every_table, .shard = Shard::readback,
     .name = "{p}{table}_get_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw, "
                  "[keyed?{match_spec} *match_spec, ][priority?uint32_t *priority, ]"
                  "[indirect?uint8_t *has_mbr, uint8_t *has_grp, pd_group *grp_hdl, pd_member *mbr_hdl"
                  "|char *action_name, void *action_spec, uint32_t *action_id][keyed?, uint8_t *is_default]",
     .body = "return [indirect?readback::get_indirect_entry|readback::get_entry]<t::{table}>(sess_hdl, dev_id, "
             "entry_hdl, "
             "read_from_hw, [keyed?match_spec|nullptr], [priority?priority|nullptr], "
             "[indirect?has_mbr, has_grp, grp_hdl, mbr_hdl|action_name, action_spec, action_id], "
             "[keyed?is_default|nullptr]);"},

    {.over = Over::every_table, .shard = Shard::readback,
     .name = "{p}{table}_get_entry_count",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .body = "return readback::get_entry_count<t::{table}>(sess_hdl, dev_tgt, count);"},

    {.over = Over::every_table, .shard = Shard::readback,
     .name = "{p}{table}_get_first_entry_handle",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry *entry_hdl",
     .body = "return readback::get_first_entry_handle<t::{table}>(sess_hdl, dev_tgt, entry_hdl);"},

    {.over = Over::every_table, .shard = Shard::readback,
     .name = "{p}{table}_get_next_entry_handles",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl, uint32_t n, pd_entry *next_entry_hdls",
     .body = "return readback::get_next_entry_handles<t::{table}>(sess_hdl, dev_tgt, entry_hdl, n, next_entry_hdls);"},

    {.over = Over::keyed_table, .shard = Shard::readback,
     .name = "unbuild_key_{table}",
     .result = "void",
     .arguments = "const struct pipe_match_record *match_record, {match_spec} *match_spec",
     .body = "readback::unbuild_key<t::{table}>(*match_record, match_spec);"},

    {.over = Over::masked_table, .shard = Shard::readback,
     .name = "unbuild_mask_{table}",
     .result = "void",
     .arguments = "const struct pipe_match_record *match_record, {match_spec} *match_spec",
     .body = "readback::unbuild_mask<t::{table}>(*match_record, match_spec);"},

    {.over = Over::action_with_params, .shard = Shard::actions,
     .name = "unbuild_action_spec_{action}",
     .result = "void",
     .arguments = "const struct pipe_action_data *action_data, const pd_resource_index *resources, "
                  "uint32_t resource_count, {action_spec} *action_spec",
     .body = "readback::unbuild_action_spec<a::{action}>(*action_data, resources, resource_count, action_spec);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_add_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]pd_member mbr_hdl, pd_entry *entry_hdl",
     .body = "return indirect::add<t::{table}, indirect::Target::member>(sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], mbr_hdl, entry_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_modify_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, pd_member mbr_hdl",
     .body = "return indirect::modify<t::{table}, indirect::Target::member>(sess_hdl, dev_id, entry_hdl, mbr_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_modify_entry_by_match_spec",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]pd_member mbr_hdl",
     .body = "return indirect::modify_by_match_spec<t::{table}, indirect::Target::member>(sess_hdl, dev_tgt, "
             "match_spec, [priority?priority|0], mbr_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_set_default_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl, pd_entry *entry_hdl",
     .body = "return indirect::set_default<t::{table}, indirect::Target::member>(sess_hdl, dev_tgt, mbr_hdl, "
             "entry_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_add_entry_with_selector",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]pd_group grp_hdl, pd_entry *entry_hdl",
     .body = "return indirect::add<t::{table}, indirect::Target::group>(sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], grp_hdl, entry_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_modify_entry_with_selector",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, pd_group grp_hdl",
     .body = "return indirect::modify<t::{table}, indirect::Target::group>(sess_hdl, dev_id, entry_hdl, grp_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_modify_entry_with_selector_by_match_spec",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]pd_group grp_hdl",
     .body = "return indirect::modify_by_match_spec<t::{table}, indirect::Target::group>(sess_hdl, dev_tgt, "
             "match_spec, [priority?priority|0], grp_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_set_default_entry_with_selector",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_entry *entry_hdl",
     .body = "return indirect::set_default<t::{table}, indirect::Target::group>(sess_hdl, dev_tgt, grp_hdl, "
             "entry_hdl);"},
};
// clang-format on

} // namespace generator
