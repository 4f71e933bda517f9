// Action profiles: their members and selector groups.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family profiles_families[] = {
    {.over = Over::profile_binding, .shard = Shard::profiles,
     .name = "{p}{profile}_add_member_with_{action}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [params?const {action_spec} *action_spec, ]pd_member "
                  "*mbr_hdl",
     .body = "return members::add<p::{profile}, a::{action}>(sess_hdl, dev_tgt, [params?action_spec|nullptr], "
             "mbr_hdl);"},

    {.over = Over::profile_binding, .shard = Shard::profiles,
     .name = "{p}{profile}_modify_member_with_{action}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl[params?, const {action_spec} *action_spec]",
     .body = "return members::modify<p::{profile}, a::{action}>(sess_hdl, dev_id, mbr_hdl, "
             "[params?action_spec|nullptr]);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_del_member",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl",
     .body = "return members::remove<p::{profile}>(sess_hdl, dev_id, mbr_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_member",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_member mbr_hdl, uint32_t read_from_hw, void "
                  "*action_record",
     .body = "return members::get<p::{profile}>(sess_hdl, dev_id, mbr_hdl, read_from_hw, action_record);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_first_member",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member *mbr_hdl",
     .body = "return members::get_first<p::{profile}>(sess_hdl, dev_tgt, mbr_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_next_members",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl, uint32_t n, pd_member *next_mbr_hdls",
     .body = "return members::get_next<p::{profile}>(sess_hdl, dev_tgt, mbr_hdl, n, next_mbr_hdls);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_act_prof_entry_count",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .body = "return members::get_count<p::{profile}>(sess_hdl, dev_tgt, count);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_register_adt_update_cb",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .body = "return members::register_update_callback<p::{profile}>(sess_hdl, dev_tgt, callback, cookie);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_adt_table_handle",
     .result = "pd_status",
     .arguments = "uint32_t *tbl_hdl",
     .body = "return properties::get_handle(p::{profile}->data_table, tbl_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_create_group",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t max_grp_size, pd_group *grp_hdl",
     .body = "return groups::create<p::{profile}>(sess_hdl, dev_tgt, max_grp_size, grp_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_del_group",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl",
     .body = "return groups::remove<p::{profile}>(sess_hdl, dev_id, grp_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_add_member_to_group",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl",
     .body = "return groups::add_member<p::{profile}>(sess_hdl, dev_id, grp_hdl, mbr_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_del_member_from_group",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl",
     .body = "return groups::remove_member<p::{profile}>(sess_hdl, dev_id, grp_hdl, mbr_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_group_member_state_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_member mbr_hdl, uint32_t mbr_state",
     .body = "return groups::set_member_state<p::{profile}>(sess_hdl, dev_tgt, grp_hdl, mbr_hdl, mbr_state);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_group_member_state_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_member mbr_hdl, uint32_t *mbr_state",
     .body = "return groups::get_member_state<p::{profile}>(sess_hdl, dev_tgt, grp_hdl, mbr_hdl, mbr_state);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_set_dynamic_action_selection_fallback_member",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl",
     .body = "return groups::set_fallback_member<p::{profile}>(sess_hdl, dev_tgt, mbr_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_reset_dynamic_action_selection_fallback_member",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .body = "return groups::reset_fallback_member<p::{profile}>(sess_hdl, dev_tgt);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_first_group",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group *grp_hdl",
     .body = "return groups::get_first<p::{profile}>(sess_hdl, dev_tgt, grp_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_next_groups",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, uint32_t n, pd_group *next_grp_hdls",
     .body = "return groups::get_next<p::{profile}>(sess_hdl, dev_tgt, grp_hdl, n, next_grp_hdls);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_first_group_member",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member *mbr_hdl",
     .body = "return groups::get_first_member<p::{profile}>(sess_hdl, dev_id, grp_hdl, mbr_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_next_group_members",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_group grp_hdl, pd_member mbr_hdl, uint32_t n, "
                  "pd_member *next_mbr_hdls",
     .body = "return groups::get_next_members<p::{profile}>(sess_hdl, dev_id, grp_hdl, mbr_hdl, n, next_mbr_hdls);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_selector_group_count",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .body = "return groups::get_count<p::{profile}>(sess_hdl, dev_tgt, count);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_selector_group_member_count",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, uint32_t *count",
     .body = "return groups::get_member_count<p::{profile}>(sess_hdl, dev_tgt, grp_hdl, count);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_word_llp_active_member_count",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t word, uint32_t *count",
     .body = "return groups::get_word_active_member_count<p::{profile}>(sess_hdl, dev_tgt, word, count);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_word_llp_active_members",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t word, uint32_t count, pd_member *mbr_hdls",
     .body = "return groups::get_word_active_members<p::{profile}>(sess_hdl, dev_tgt, word, count, mbr_hdls);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_group_member_get_from_hash",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, const uint8_t *hash, uint32_t "
                  "hash_len, pd_member *mbr_hdl",
     .body = "return groups::get_member_from_hash<p::{profile}>(sess_hdl, dev_tgt, grp_hdl, hash, hash_len, mbr_hdl);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_register_callback",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .body = "return groups::register_callback<p::{profile}>(sess_hdl, dev_tgt, callback, cookie);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_sel_track_updates",
     .result = "pd_status",
     .arguments = "pd_device dev_id, pd_driver_callback callback, void *cookie",
     .body = "return groups::track_updates<p::{profile}>(dev_id, callback, cookie);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_register_sel_update_cb",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .body = "return groups::register_update_callback<p::{profile}>(sess_hdl, dev_tgt, callback, cookie);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_sel_table_handle",
     .result = "pd_status",
     .arguments = "uint32_t *tbl_hdl",
     .body = "return properties::get_handle(p::{profile}->selector, tbl_hdl);"},
};
// clang-format on

} // namespace generator
