// Entries: writing them, reading them back, and the decoders of driver records.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family entries_families[] = {
    {.over = Over::entry_binding, .name = "{p}{table}_table_add_with_{action}",
     .doc = "Adds an entry to {table} with action {action}, and writes *entry_hdl.[meter? A null meter_spec leaves "
            "its meter slot unset.][ttl? ttl is its first time-to-live.] {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ][params?const {action_spec} *action_spec, ]"
                  "[meter?const pd_meter_spec *meter_spec, ][ttl?uint32_t ttl, ]pd_entry *entry_hdl",
     .call = "entries::add<t::{table}, a::{action}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0], "
             "[params?action_spec|nullptr], [meter?meter_spec|nullptr], [ttl?ttl|0], entry_hdl)"},
    {.over = Over::entry_binding, .name = "{p}{table}_table_modify_with_{action}",
     .doc = "Gives an entry of {table} the action {action}.[meter? A null meter_spec leaves its meter as it is.] "
            "{status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, "
                  "pd_entry entry_hdl[params?, const {action_spec} *action_spec]"
                  "[meter?, const pd_meter_spec *meter_spec]",
     .call = "entries::modify<t::{table}, a::{action}>(sess_hdl, dev_id, entry_hdl, [params?action_spec|nullptr], "
             "[meter?meter_spec|nullptr])"},
    {.over = Over::entry_binding, .name = "{p}{table}_table_modify_with_{action}_by_match_spec",
     .doc = "Gives the entry of {table} with this key[priority? and priority] the action {action}.[meter? A null "
            "meter_spec leaves its meter as it is.] {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, "
                  "const {match_spec} *match_spec[priority?, uint32_t priority]"
                  "[params?, const {action_spec} *action_spec][meter?, const pd_meter_spec *meter_spec]",
     .call = "entries::modify_by_match_spec<t::{table}, a::{action}>(sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], [params?action_spec|nullptr], [meter?meter_spec|nullptr])"},
    {.over = Over::keyed_table, .name = "{p}{table}_table_delete",
     .doc = "Deletes an entry of {table}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl",
     .call = "entries::remove({table_handle}, {args})"},
    {.over = Over::keyed_table, .name = "{p}{table}_table_delete_by_match_spec",
     .doc = "Deletes the entry of {table} with this key[priority? and priority]. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, "
                  "const {match_spec} *match_spec[priority?, uint32_t priority]",
     .call = "entries::remove_by_match_spec<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0])"},
    {.over = Over::keyed_table, .name = "{p}{table}_match_spec_to_entry_hdl",
     .doc = "Finds the entry of {table} with this key[priority? and priority] and writes *entry_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, "
                  "const {match_spec} *match_spec[priority?, uint32_t priority], pd_entry *entry_hdl",
     .call = "entries::find<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0], entry_hdl)"},
};

inline constexpr Family reading_families[] = {
    {.over = Over::every_table, .name = "{p}{table}_get_entry",
     .doc = "Reads an entry of {table}: [keyed?its key, ][priority?its priority, ][indirect?and the member (*has_mbr "
            "is 1) or group (*has_grp is 1) of {profile} that it points at. Writes only this handle.|[keyed?and ]its "
            "action: full name ({name_bytes} bytes), record and number. action_name and action_id may be null.[specs? "
            "action_spec needs room for {action_specs}.]][keyed? *is_default is 1 for the default entry; its key is "
            "zero.] {status}[indirect?| PD_STATUS_UNEXPECTED: the answer holds no action of this table. "
            "PD_STATUS_NO_MEMORY: nothing is written.]",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw, "
                  "[keyed?{match_spec} *match_spec, ][priority?uint32_t *priority, ][indirect?uint8_t *has_mbr, "
                  "uint8_t *has_grp, pd_group *grp_hdl, pd_member *mbr_hdl|char *action_name, void *action_spec, "
                  "uint32_t *action_id][keyed?, uint8_t *is_default]",
     .call = "reading::get_entry<t::{table}>(sess_hdl, dev_id, entry_hdl, read_from_hw, "
             "{{[keyed?.match_spec = match_spec, ][priority?.priority = priority, ][keyed?.is_default = is_default, ]"
             "[indirect?.has_mbr = has_mbr, .has_grp = has_grp, .grp_hdl = grp_hdl, .mbr_hdl = mbr_hdl|"
             ".action_name = action_name, .action_number = action_id, .action_spec = action_spec]}})"},
    {.over = Over::every_table, .name = "{p}{table}_get_entry_count",
     .doc = "Writes the number of entries of {table} to *count. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .call = "reading::get_count({table_handle}, {args})"},
    {.over = Over::every_table, .name = "{p}{table}_get_first_entry_handle",
     .doc = "Writes the handle of the first entry of {table} to *entry_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry *entry_hdl",
     .call = "reading::get_first({table_handle}, {args})"},
    {.over = Over::every_table, .name = "{p}{table}_get_next_entry_handles",
     .doc = "Writes the handles of up to n entries after entry_hdl in {table}; PD_HDL_END ends them. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl, uint32_t n, pd_entry *next_entry_hdls",
     .call = "reading::get_next({table_handle}, {args})"},
    {.over = Over::keyed_table, .name = "unbuild_key_{table}",
     .doc = "Decodes the key of a driver's record of {table}. Clears *match_spec first.",
     .result = "void",
     .arguments = "const struct pipe_match_record *match_record, {match_spec} *match_spec",
     .call = "decoding::unbuild_key<t::{table}>(*match_record, match_spec)"},
    {.over = Over::masked_table, .name = "unbuild_mask_{table}",
     .doc = "Adds the [prefix?prefix length|masks] of a driver's record of {table} to a key that unbuild_key_{table} "
            "has decoded.",
     .result = "void",
     .arguments = "const struct pipe_match_record *match_record, {match_spec} *match_spec",
     .call = "decoding::unbuild_mask<t::{table}>(*match_record, match_spec)"},
    {.over = Over::action_with_params, .name = "unbuild_action_spec_{action}",
     .doc = "Decodes the driver's data of action {action}. An index parameter comes from `resources`.",
     .result = "void",
     .arguments = "const struct pipe_action_data *action_data, const pd_resource_index *resources, "
                  "uint32_t resource_count, {action_spec} *action_spec",
     .call = "decoding::unbuild_action_spec<a::{action}>(*action_data, resources, resource_count, action_spec)"},
};

inline constexpr Family indirect_families[] = {
    {.over = Over::indirect_table, .name = "{p}{table}_add_entry",
     .doc = "Adds an entry to {table} that points at a member of {profile}, and writes *entry_hdl. {member_status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ]pd_member mbr_hdl, pd_entry *entry_hdl",
     .call = "indirect::add<t::{table}>(indirect::PointsAt::member, sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], mbr_hdl, entry_hdl)"},
    {.over = Over::indirect_table, .name = "{p}{table}_modify_entry",
     .doc = "Makes an entry of {table} point at a member of {profile}. {member_status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, pd_member mbr_hdl",
     .call = "indirect::modify<t::{table}>(indirect::PointsAt::member, {args})"},
    {.over = Over::indirect_table, .name = "{p}{table}_modify_entry_by_match_spec",
     .doc = "Makes the entry of {table} with this key[priority? and priority] point at a member of {profile}. "
            "{member_status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ]pd_member mbr_hdl",
     .call = "indirect::modify_by_match_spec<t::{table}>(indirect::PointsAt::member, sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], mbr_hdl)"},
    {.over = Over::indirect_table, .name = "{p}{table}_set_default_entry",
     .doc = "Makes the default entry of {table} point at a member of {profile} and writes *entry_hdl. {member_status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl, pd_entry *entry_hdl",
     .call = "indirect::set_default<t::{table}>(indirect::PointsAt::member, {args})"},
    {.over = Over::indirect_table, .name = "{p}{table}_add_entry_with_selector",
     .doc = "Adds an entry to {table} that points at a group of {profile}, and writes *entry_hdl. {group_status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ]pd_group grp_hdl, pd_entry *entry_hdl",
     .call = "indirect::add<t::{table}>(indirect::PointsAt::group, sess_hdl, dev_tgt, match_spec, [priority?priority|0], "
             "grp_hdl, entry_hdl)"},
    {.over = Over::indirect_table, .name = "{p}{table}_modify_entry_with_selector",
     .doc = "Makes an entry of {table} point at a group of {profile}. {group_status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, pd_group grp_hdl",
     .call = "indirect::modify<t::{table}>(indirect::PointsAt::group, {args})"},
    {.over = Over::indirect_table, .name = "{p}{table}_modify_entry_with_selector_by_match_spec",
     .doc = "Makes the entry of {table} with this key[priority? and priority] point at a group of {profile}. "
            "{group_status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, "
                  "[priority?uint32_t priority, ]pd_group grp_hdl",
     .call = "indirect::modify_by_match_spec<t::{table}>(indirect::PointsAt::group, sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], grp_hdl)"},
    {.over = Over::indirect_table, .name = "{p}{table}_set_default_entry_with_selector",
     .doc = "Makes the default entry of {table} point at a group of {profile} and writes *entry_hdl. {group_status}",
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
