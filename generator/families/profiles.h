// Action profiles: their members and selector groups.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family members_families[] = {
    {.over = Over::profile_binding, .name = "{p}{profile}_add_member_with_{action}",
     .doc = "Adds a member to {profile} with action {action}, and writes *mbr_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, "
                  "[params?const {action_spec} *action_spec, ]pd_member *mbr_hdl",
     .call = "members::add<p::{profile}, a::{action}>(sess_hdl, dev_tgt, [params?action_spec|nullptr], mbr_hdl)"},
    {.over = Over::profile_binding, .name = "{p}{profile}_modify_member_with_{action}",
     .doc = "Changes the parameters of a member of {profile}. {member_status} PD_STATUS_MISMATCH: its action isn't "
            "{action}.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, "
                  "pd_member mbr_hdl[params?, const {action_spec} *action_spec]",
     .call = "members::modify<p::{profile}, a::{action}>(sess_hdl, dev_id, mbr_hdl, [params?action_spec|nullptr])"},
    {.over = Over::profile, .name = "{p}{profile}_del_member",
     .doc = "Deletes a member of {profile}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl",
     .call = "members::remove(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_member",
     .doc = "Reads a member of {profile}: its action's number, then its record from byte 4 on. {status} "
            "PD_STATUS_UNEXPECTED: no action of this profile was found; nothing is written.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl, uint32_t read_from_hw, "
                  "void *action_record",
     .call = "members::get<p::{profile}>({args})"},
    {.over = Over::profile, .name = "{p}{profile}_register_adt_update_cb",
     .doc = "Registers a callback for changes to the members of {profile}, of the type pipe_adt_update_cb. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .call = "members::register_update_callback(p::{profile}, {args})"},
};

inline constexpr Family profiles_reading_families[] = {
    {.over = Over::profile, .name = "{p}{profile}_get_first_member",
     .doc = "Writes the handle of the first member of {profile} to *mbr_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member *mbr_hdl",
     .call = "reading::get_first({data_table}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_next_members",
     .doc = "Writes the handles of the n members after mbr_hdl in {profile}; PD_HDL_END ends them. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl, uint32_t n, pd_member *next_mbr_hdls",
     .call = "reading::get_next({data_table}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_act_prof_entry_count",
     .doc = "Writes the number of members of {profile} to *count. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .call = "reading::get_count({data_table}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_first_group",
     .doc = "Writes the handle of the first group of {profile} to *grp_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group *grp_hdl",
     .call = "reading::get_first({selector}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_next_groups",
     .doc = "Writes the handles of the n groups after grp_hdl in {profile}; PD_HDL_END ends them. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, uint32_t n, pd_group *next_grp_hdls",
     .call = "reading::get_next({selector}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_selector_group_count",
     .doc = "Writes the number of groups of {profile} to *count. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .call = "reading::get_count({selector}, {args})"},
};

inline constexpr Family profiles_properties_families[] = {
    {.over = Over::profile, .name = "{p}{profile}_get_adt_table_handle",
     .doc = "Writes the handle {data_table} to *tbl_hdl, which may be null. Returns 0.",
     .arguments = "uint32_t *tbl_hdl",
     .call = "properties::get_handle({data_table}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_sel_table_handle",
     .doc = "Writes the selector's handle {selector} to *tbl_hdl, which may be null. Returns 0.",
     .arguments = "uint32_t *tbl_hdl",
     .call = "properties::get_handle({selector}, {args})"},
};

inline constexpr Family groups_families[] = {
    {.over = Over::profile, .name = "{p}{profile}_create_group",
     .doc = "Creates a group of {profile} for up to max_grp_size members and writes *grp_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t max_grp_size, pd_group *grp_hdl",
     .call = "groups::create(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_del_group",
     .doc = "Deletes a group of {profile}. Returns the driver's status; once the driver has deleted the group, the "
            "shadow's. PD_STATUS_NO_MEMORY: the group remains.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl",
     .call = "groups::remove(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_add_member_to_group",
     .doc = "Adds a member of {profile} to a group, which takes over its action. {member_status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl",
     .call = "groups::add_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_del_member_from_group",
     .doc = "Takes a member of {profile} out of a group. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl",
     .call = "groups::remove_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_group_member_state_set",
     .doc = "Sets the state of a member of {profile} in a group to P4_PD_GRP_MBR_STATE_ACTIVE or _INACTIVE. {status} "
            "PD_STATUS_INVALID: any other state.",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_member mbr_hdl, uint32_t mbr_state",
     .call = "groups::set_member_state(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_group_member_state_get",
     .doc = "Writes the state of a member of {profile} in a group, P4_PD_GRP_MBR_STATE_ACTIVE or _INACTIVE, to "
            "*mbr_state. Any other state isn't written. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_member mbr_hdl, uint32_t *mbr_state",
     .call = "groups::get_member_state(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_set_dynamic_action_selection_fallback_member",
     .doc = "Sets the driver's fallback member of {profile}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl",
     .call = "groups::set_fallback_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_reset_dynamic_action_selection_fallback_member",
     .doc = "Resets the driver's fallback member of {profile}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .call = "groups::reset_fallback_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_first_group_member",
     .doc = "Writes the handle of the first member of a group of {profile} to *mbr_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member *mbr_hdl",
     .call = "groups::get_first_member(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_next_group_members",
     .doc = "Writes the handles of the n members after mbr_hdl in a group of {profile}; PD_HDL_END ends them. "
            "{status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl, uint32_t n, "
                  "pd_member *next_mbr_hdls",
     .call = "groups::get_next_members(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_selector_group_member_count",
     .doc = "Writes the number of members of a group of {profile} to *count. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, uint32_t *count",
     .call = "groups::get_member_count(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_word_llp_active_member_count",
     .doc = "Writes the number of active members in a word of the selector of {profile} to *count. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t word, uint32_t *count",
     .call = "groups::get_word_active_member_count(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_word_llp_active_members",
     .doc = "Writes the handles of the active members in a word of the selector of {profile}. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t word, uint32_t count, pd_member *mbr_hdls",
     .call = "groups::get_word_active_members(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_group_member_get_from_hash",
     .doc = "Writes the member of a group of {profile} that the driver chooses for a hash of hash_len bytes. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, const uint8_t *hash, "
                  "uint32_t hash_len, pd_member *mbr_hdl",
     .call = "groups::get_member_from_hash(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_register_callback",
     .doc = "Registers a callback for changes to the groups of {profile}, of the type pipe_sel_tbl_cb. {status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .call = "groups::register_callback(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_sel_track_updates",
     .doc = "Does the same as {profile}_register_callback, without a session. {status}",
     .arguments = "pd_device dev_id, pd_driver_callback callback, void *cookie",
     .call = "groups::track_updates(p::{profile}, {args})"},
    {.over = Over::profile, .name = "{p}{profile}_register_sel_update_cb",
     .doc = "Registers a callback for changes to the groups of {profile}, of the type pipe_sel_update_cb. {status}",
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
