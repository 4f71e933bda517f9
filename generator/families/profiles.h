// Action profiles: their members and selector groups.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family members_families[] = {
    {.over = Over::profile_binding, .name = "{p}{profile}_add_member_with_{action}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, "
                  "[params?const {action_spec} *action_spec, ]pd_member *mbr_hdl",
     .call = "members::add<p::{profile}, a::{action}>(sess_hdl, dev_tgt, [params?action_spec|nullptr], mbr_hdl)"},
    {.over = Over::profile_binding, .name = "{p}{profile}_modify_member_with_{action}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, "
                  "pd_member mbr_hdl[params?, const {action_spec} *action_spec]",
     .call = "members::modify<p::{profile}, a::{action}>(sess_hdl, dev_id, mbr_hdl, [params?action_spec|nullptr])"},
    {.over = Over::profile, .name = "{p}{profile}_del_member",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl",
     .call = "members::remove(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_member",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl, uint32_t read_from_hw, "
                  "void *action_record",
     .call = "members::get<p::{profile}>({args})"},
    {.over = Over::profile, .name = "{p}{profile}_register_adt_update_cb",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .call = "members::register_update_callback(p::{profile}, {args})"},
};

inline constexpr Family profiles_reading_families[] = {
    {.over = Over::profile, .name = "{p}{profile}_get_first_member",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member *mbr_hdl",
     .call = "reading::get_first({data_table}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_next_members",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl, uint32_t n, pd_member *next_mbr_hdls",
     .call = "reading::get_next({data_table}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_act_prof_entry_count",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .call = "reading::get_count({data_table}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_first_group",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group *grp_hdl",
     .call = "reading::get_first({selector}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_next_groups",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, uint32_t n, pd_group *next_grp_hdls",
     .call = "reading::get_next({selector}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_selector_group_count",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .call = "reading::get_count({selector}, {args})"},
};

inline constexpr Family profiles_properties_families[] = {
    {.over = Over::profile, .name = "{p}{profile}_get_adt_table_handle",
     .arguments = "uint32_t *tbl_hdl",
     .call = "properties::get_handle({data_table}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_sel_table_handle",
     .arguments = "uint32_t *tbl_hdl",
     .call = "properties::get_handle({selector}, {args})"},
};

inline constexpr Family groups_families[] = {
    {.over = Over::profile, .name = "{p}{profile}_create_group",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t max_grp_size, pd_group *grp_hdl",
     .call = "groups::create(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_del_group",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl",
     .call = "groups::remove(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_add_member_to_group",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl",
     .call = "groups::add_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_del_member_from_group",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl",
     .call = "groups::remove_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_group_member_state_set",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_member mbr_hdl, uint32_t mbr_state",
     .call = "groups::set_member_state(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_group_member_state_get",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_member mbr_hdl, uint32_t *mbr_state",
     .call = "groups::get_member_state(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_set_dynamic_action_selection_fallback_member",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl",
     .call = "groups::set_fallback_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_reset_dynamic_action_selection_fallback_member",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .call = "groups::reset_fallback_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_first_group_member",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member *mbr_hdl",
     .call = "groups::get_first_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_next_group_members",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl, uint32_t n, "
                  "pd_member *next_mbr_hdls",
     .call = "groups::get_next_members(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_selector_group_member_count",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, uint32_t *count",
     .call = "groups::get_member_count(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_word_llp_active_member_count",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t word, uint32_t *count",
     .call = "groups::get_word_active_member_count(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_word_llp_active_members",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t word, uint32_t count, pd_member *mbr_hdls",
     .call = "groups::get_word_active_members(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_group_member_get_from_hash",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, const uint8_t *hash, "
                  "uint32_t hash_len, pd_member *mbr_hdl",
     .call = "groups::get_member_from_hash(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_register_callback",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .call = "groups::register_callback(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_sel_track_updates",
     .arguments = "pd_device dev_id, pd_driver_callback callback, void *cookie",
     .call = "groups::track_updates(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_register_sel_update_cb",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .call = "groups::register_update_callback(p::{profile}, {args})"},
};

inline constexpr Area profiles_areas[] = {
    {"pd/profiles/members.h", members_families},
    {"pd/tables/reading.h", profiles_reading_families},
    {"pd/tables/properties.h", profiles_properties_families},
    {"pd/profiles/groups.h", groups_families},
};
// clang-format on

} // namespace generator
