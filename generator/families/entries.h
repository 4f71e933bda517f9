// Entries: writing them, reading them back, and the decoders of driver records.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family entries_families[] = {
    {.over = Over::entry_binding, .name = "{p}{table}_table_add_with_{action}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ][params?const {action_spec} *action_spec, ]"
                  "[meter?const pd_meter_spec *meter_spec, ][ttl?uint32_t ttl, ]pd_entry *entry_hdl",
     .call = "entries::add<t::{table}, a::{action}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0], "
             "[params?action_spec|nullptr], [meter?meter_spec|nullptr], [ttl?ttl|0], entry_hdl)"},
    {.over = Over::entry_binding, .name = "{p}{table}_table_modify_with_{action}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, "
                  "pd_entry entry_hdl[params?, const {action_spec} *action_spec]"
                  "[meter?, const pd_meter_spec *meter_spec]",
     .call = "entries::modify<t::{table}, a::{action}>(sess_hdl, dev_id, entry_hdl, [params?action_spec|nullptr], "
             "[meter?meter_spec|nullptr])"},
    {.over = Over::entry_binding, .name = "{p}{table}_table_modify_with_{action}_by_match_spec",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, "
                  "const {match_spec} *match_spec[priority?, uint32_t priority]"
                  "[params?, const {action_spec} *action_spec][meter?, const pd_meter_spec *meter_spec]",
     .call = "entries::modify_by_match_spec<t::{table}, a::{action}>(sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], [params?action_spec|nullptr], [meter?meter_spec|nullptr])"},
    {.over = Over::keyed_table, .name = "{p}{table}_table_delete",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl",
     .call = "entries::remove({table_handle}, {args})"},
    {.over = Over::keyed_table, .name = "{p}{table}_table_delete_by_match_spec",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, "
                  "const {match_spec} *match_spec[priority?, uint32_t priority]",
     .call = "entries::remove_by_match_spec<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0])"},
    {.over = Over::keyed_table, .name = "{p}{table}_match_spec_to_entry_hdl",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, "
                  "const {match_spec} *match_spec[priority?, uint32_t priority], pd_entry *entry_hdl",
     .call = "entries::find<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0], entry_hdl)"},
};

inline constexpr Family reading_families[] = {
    {.over = Over::every_table, .name = "{p}{table}_get_entry",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw, "
                  "[keyed?{match_spec} *match_spec, ][priority?uint32_t *priority, ][indirect?uint8_t *has_mbr, "
                  "uint8_t *has_grp, pd_group *grp_hdl, pd_member *mbr_hdl|char *action_name, void *action_spec, "
                  "uint32_t *action_id][keyed?, uint8_t *is_default]",
     .call = "reading::get_entry<t::{table}>(sess_hdl, dev_id, entry_hdl, read_from_hw, "
             "{{[keyed?.match_spec = match_spec, ][priority?.priority = priority, ][keyed?.is_default = is_default, ]"
             "[indirect?.has_mbr = has_mbr, .has_grp = has_grp, .grp_hdl = grp_hdl, .mbr_hdl = mbr_hdl|"
             ".action_name = action_name, .action_number = action_id, .action_spec = action_spec]}})"},
    {.over = Over::every_table, .name = "{p}{table}_get_entry_count",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .call = "reading::get_count({table_handle}, {args})"},
    {.over = Over::every_table, .name = "{p}{table}_get_first_entry_handle",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry *entry_hdl",
     .call = "reading::get_first({table_handle}, {args})"},
    {.over = Over::every_table, .name = "{p}{table}_get_next_entry_handles",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl, uint32_t n, pd_entry *next_entry_hdls",
     .call = "reading::get_next({table_handle}, {args})"},
    {.over = Over::keyed_table, .name = "unbuild_key_{table}",
     .result = "void",
     .arguments = "const struct pipe_match_record *match_record, {match_spec} *match_spec",
     .call = "decoding::unbuild_key<t::{table}>(*match_record, match_spec)"},
    {.over = Over::masked_table, .name = "unbuild_mask_{table}",
     .result = "void",
     .arguments = "const struct pipe_match_record *match_record, {match_spec} *match_spec",
     .call = "decoding::unbuild_mask<t::{table}>(*match_record, match_spec)"},
    {.over = Over::action_with_params, .name = "unbuild_action_spec_{action}",
     .result = "void",
     .arguments = "const struct pipe_action_data *action_data, const pd_resource_index *resources, "
                  "uint32_t resource_count, {action_spec} *action_spec",
     .call = "decoding::unbuild_action_spec<a::{action}>(*action_data, resources, resource_count, action_spec)"},
};

inline constexpr Family indirect_families[] = {
    {.over = Over::indirect_table, .name = "{p}{table}_add_entry",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ]pd_member mbr_hdl, pd_entry *entry_hdl",
     .call = "indirect::add<t::{table}>(indirect::PointsAt::member, sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], mbr_hdl, entry_hdl)"},
    {.over = Over::indirect_table, .name = "{p}{table}_modify_entry",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, pd_member mbr_hdl",
     .call = "indirect::modify<t::{table}>(indirect::PointsAt::member, {args})"},
    {.over = Over::indirect_table, .name = "{p}{table}_modify_entry_by_match_spec",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ]pd_member mbr_hdl",
     .call = "indirect::modify_by_match_spec<t::{table}>(indirect::PointsAt::member, sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], mbr_hdl)"},
    {.over = Over::indirect_table, .name = "{p}{table}_set_default_entry",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl, pd_entry *entry_hdl",
     .call = "indirect::set_default<t::{table}>(indirect::PointsAt::member, {args})"},
    {.over = Over::indirect_table, .name = "{p}{table}_add_entry_with_selector",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ]pd_group grp_hdl, pd_entry *entry_hdl",
     .call = "indirect::add<t::{table}>(indirect::PointsAt::group, sess_hdl, dev_tgt, match_spec, [priority?priority|0], "
             "grp_hdl, entry_hdl)"},
    {.over = Over::indirect_table, .name = "{p}{table}_modify_entry_with_selector",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, pd_group grp_hdl",
     .call = "indirect::modify<t::{table}>(indirect::PointsAt::group, {args})"},
    {.over = Over::indirect_table, .name = "{p}{table}_modify_entry_with_selector_by_match_spec",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ]pd_group grp_hdl",
     .call = "indirect::modify_by_match_spec<t::{table}>(indirect::PointsAt::group, sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], grp_hdl)"},
    {.over = Over::indirect_table, .name = "{p}{table}_set_default_entry_with_selector",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_entry *entry_hdl",
     .call = "indirect::set_default<t::{table}>(indirect::PointsAt::group, {args})"},
};

inline constexpr Area entries_areas[] = {
    {"pd/tables/entries.h", entries_families, Shard::entries},
    {"pd/tables/reading.h", reading_families, Shard::readback},
    {"pd/tables/indirect.h", indirect_families, Shard::entries},
};
// clang-format on

} // namespace generator
