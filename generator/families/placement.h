// Placement data: fetching it, decoding it, showing it, and comparing it with the hardware.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family placement_families[] = {
    {.over = Over::every_table, .shard = Shard::placement,
     .name = "{p}{table}_get_plcmt_data",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t ignored, ...",
     .definition = "VL_PASS_THROUGH({name}, pipe_mgr_plcmt_mat_data_get, {table_handle});"},

    {.over = Over::every_table, .shard = Shard::placement,
     .name = "{p}{table}_get_entry_from_plcmt_data",
     .result = "pd_status",
     .arguments = "const void *plcmt_data, [keyed?{match_spec} *match_spec, ][priority?uint32_t *priority, ]"
                  "[indirect?pd_member *mbr_hdl, pd_group *grp_hdl, uint8_t *has_mbr, uint8_t *has_grp"
                  "|void *action_record], uint8_t *is_default",
     .body = "return [indirect?placement::decode_indirect_entry|placement::decode_entry]<t::{table}>(plcmt_data, "
             "[keyed?match_spec|nullptr], [priority?priority|nullptr], "
             "[indirect?mbr_hdl, grp_hdl, has_mbr, has_grp|action_record], is_default);"},

    {.over = Over::every_table, .shard = Shard::placement,
     .name = "{p}{table}_plcmt_data_print",
     .result = "pd_status",
     .arguments = "int fd, uint32_t indent, const void *plcmt_data",
     .body = "return placement_text::print<t::{table}>({p}{table}_get_entry_from_plcmt_data, fd, indent, plcmt_data);",
     .by_handle = "placement_print"},

    {.over = Over::every_table, .shard = Shard::placement,
     .name = "{p}{table}_plcmt_data_value",
     .result = "int",
     .arguments = "const void *plcmt_data, char *buffer",
     .body = "return placement_text::value<t::{table}>({p}{table}_get_entry_from_plcmt_data, plcmt_data, buffer);",
     .by_handle = "placement_value"},

    {.over = Over::keyed_table, .shard = Shard::placement,
     .name = "{p}{table}_match_specs_are_equal",
     .result = "int",
     .arguments = "const {match_spec} *pd, const {match_spec} *hw, char *message",
     .body = "return comparison::match_specs<t::{table}>(pd, hw, message);"},

    {.over = Over::action_with_params, .shard = Shard::action_texts,
     .name = "{p}{action}_action_specs_are_equal",
     .result = "int",
     .arguments = "const {action_spec} *pd, const {action_spec} *hw, char *message",
     .body = "return comparison::action_specs(a::{action}.number, pd, hw, message);"},

    {.over = Over::every_table, .shard = Shard::placement,
     .name = "{p}{table}_plcmt_data_eq_to_hw",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, "
                  "const void *plcmt_data, char *message",
     .body = "return comparison::entry<t::{table}>({p}{table}_get_entry_from_plcmt_data, "
             "{p}{table}_get_entry, sess_hdl, dev_id, entry_hdl, plcmt_data, message);",
     .by_handle = "placement_equals_hardware"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_plcmt_data",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t ignored, ...",
     .definition = "VL_PASS_THROUGH({name}, pipe_mgr_plcmt_adt_data_get, {data_table});"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_sel_get_plcmt_data",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t ignored, ...",
     .definition = "VL_PASS_THROUGH({name}, pipe_mgr_plcmt_sel_data_get, {selector});"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_member_from_plcmt_data",
     .result = "pd_status",
     .arguments = "const void *plcmt_data, void *action_record",
     .body = "return placement::decode_member<p::{profile}>(plcmt_data, action_record);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_get_full_member_info_from_plcmt_data",
     .result = "pd_status",
     .arguments = "pd_device dev_id, pd_member mbr_hdl, const void *plcmt_data, void *action_record",
     .body = "return placement::decode_full_member<p::{profile}>(dev_id, mbr_hdl, plcmt_data, action_record);"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_adt_plcmt_data_print",
     .result = "pd_status",
     .arguments = "int fd, uint32_t indent, const void *plcmt_data",
     .body = "return placement_text::print_member<p::{profile}>({p}{profile}_get_member_from_plcmt_data, fd, indent, "
             "plcmt_data);",
     .by_handle = "placement_print"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_plcmt_data_value",
     .result = "int",
     .arguments = "const void *plcmt_data, char *buffer",
     .body = "return placement_text::member_value<p::{profile}>({p}{profile}_get_member_from_plcmt_data, plcmt_data, "
             "buffer);",
     .by_handle = "placement_value"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}plcmt_data_print",
     .result = "pd_status",
     .arguments = "int fd, uint32_t indent, uint32_t tbl_hdl, const void *plcmt_data",
     .body = "return by_handle::plcmt_data_print(fd, indent, tbl_hdl, plcmt_data);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}adt_plcmt_data_print",
     .result = "pd_status",
     .arguments = "int fd, uint32_t indent, uint32_t adt_hdl, const void *plcmt_data",
     .body = "return by_handle::adt_plcmt_data_print(fd, indent, adt_hdl, plcmt_data);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}plcmt_data_value",
     .result = "int",
     .arguments = "uint32_t tbl_hdl, const void *plcmt_data, char *buffer",
     .body = "return by_handle::plcmt_data_value(tbl_hdl, plcmt_data, buffer);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}adt_plcmt_data_value",
     .result = "int",
     .arguments = "uint32_t adt_hdl, const void *plcmt_data, char *buffer",
     .body = "return by_handle::adt_plcmt_data_value(adt_hdl, plcmt_data, buffer);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}plcmt_data_eq_to_hw",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, "
                  "const void *plcmt_data, const void *unused, char *message",
     .body = "return by_handle::plcmt_data_eq_to_hw(sess_hdl, dev_id, tbl_hdl, entry_hdl, "
             "plcmt_data, message);"},
};
// clang-format on

} // namespace generator
