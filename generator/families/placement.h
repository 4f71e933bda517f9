// Placement data: fetching it, decoding it, showing it, and comparing it with the hardware.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family placement_families[] = {
    {.over = Over::every_table, .name = "{p}{table}_get_plcmt_data",
     .doc = "Fetches the placement data of an entry of {table}. The driver defines the arguments after `ignored`. "
            "{status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t ignored, ...",
     .definition = "VL_PASS_THROUGH({name}, pipe_mgr_plcmt_mat_data_get, {table_handle});"},
    {.over = Over::profile, .name = "{p}{profile}_get_plcmt_data",
     .doc = "Fetches the placement data of a member of {profile}. The driver defines the arguments after `ignored`. "
            "{status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t ignored, ...",
     .definition = "VL_PASS_THROUGH({name}, pipe_mgr_plcmt_adt_data_get, {data_table});"},
    {.over = Over::profile, .name = "{p}{profile}_sel_get_plcmt_data",
     .doc = "Fetches the placement data of a group of {profile}. The driver defines the arguments after `ignored`. "
            "{status}",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t ignored, ...",
     .definition = "VL_PASS_THROUGH({name}, pipe_mgr_plcmt_sel_data_get, {selector});"},
    {.over = Over::profile, .name = "{p}{profile}_get_member_from_plcmt_data",
     .doc = "Decodes a member of {profile}: its action's number, then its record from byte 4 on. {status} "
            "PD_STATUS_UNEXPECTED: no action of this profile was found; nothing is written.",
     .arguments = "const void *plcmt_data, void *action_record",
     .call = "placement::decode_member<p::{profile}>({args})"},
    {.over = Over::profile, .name = "{p}{profile}_get_full_member_info_from_plcmt_data",
     .doc = "Does the same as {profile}_get_member_from_plcmt_data.",
     .arguments = "pd_device dev_id, pd_member mbr_hdl, const void *plcmt_data, void *action_record",
     .call = "placement::decode_full_member<p::{profile}>({args})"},
};

inline constexpr Family placement_reading_families[] = {
    {.over = Over::every_table, .name = "{p}{table}_get_entry_from_plcmt_data",
     .doc = "Decodes an entry of {table}: [keyed?its key, ][priority?its priority, ][indirect?and the member "
            "(*has_mbr is 1) or group (*has_grp is 1) of {profile} that it points at.|[keyed?and ]its action in "
            "action_record: the number, then the record from byte 4 on.][keyed? *is_default is 1 for the default "
            "entry; its key is zero.| *is_default is always 1.] {status}[indirect?| PD_STATUS_INVALID: the data "
            "holds no action of this table. PD_STATUS_NO_MEMORY: nothing is written.]",
     .arguments = "const void *plcmt_data, [keyed?{match_spec} *match_spec, ][priority?uint32_t *priority, ]"
                  "[indirect?pd_member *mbr_hdl, pd_group *grp_hdl, uint8_t *has_mbr, uint8_t *has_grp|"
                  "void *action_record], uint8_t *is_default",
     .call = "reading::decode_entry<t::{table}>(plcmt_data, {{[keyed?.match_spec = match_spec, ]"
             "[priority?.priority = priority, ].is_default = is_default, [indirect?.has_mbr = has_mbr, "
             ".has_grp = has_grp, .grp_hdl = grp_hdl, .mbr_hdl = mbr_hdl|.action_number = action_record, "
             ".action_spec = decoding::spec_of(action_record)]}})"},
};

inline constexpr Family placement_print_families[] = {
    {.over = Over::every_table, .name = "{p}{table}_plcmt_data_print",
     .doc = "Prints an entry of {table} from its placement data to fd. Returns the status of decoding it.",
     .arguments = "int fd, uint32_t indent, const void *plcmt_data",
     .call = "print::placed_entry<t::{table}>({args})",
     .by_handle = "placement_print"},
    {.over = Over::profile, .name = "{p}{profile}_adt_plcmt_data_print",
     .doc = "Prints a member of {profile} from its placement data to fd. Returns the status of decoding it.",
     .arguments = "int fd, uint32_t indent, const void *plcmt_data",
     .call = "print::placed_member<p::{profile}>({args})",
     .by_handle = "placement_print"},
};

inline constexpr Family placement_value_families[] = {
    {.over = Over::every_table, .name = "{p}{table}_plcmt_data_value",
     .doc = "Writes an entry of {table} from its placement data as a value string. {length}",
     .result = "int",
     .arguments = "const void *plcmt_data, char *buffer",
     .call = "value::placed_entry<t::{table}>({args})",
     .by_handle = "placement_value"},
    {.over = Over::profile, .name = "{p}{profile}_plcmt_data_value",
     .doc = "Writes a member of {profile} from its placement data as a value string. {length}",
     .result = "int",
     .arguments = "const void *plcmt_data, char *buffer",
     .call = "value::placed_member<p::{profile}>({args})",
     .by_handle = "placement_value"},
};

inline constexpr Family comparison_families[] = {
    {.over = Over::keyed_table, .name = "{p}{table}_match_specs_are_equal",
     .doc = "Compares two keys of {table}. {compared}",
     .result = "int",
     .arguments = "const {match_spec} *pd, const {match_spec} *hw, char *message",
     .call = "comparison::match_specs<t::{table}>({args})"},
    {.over = Over::action_with_params, .name = "{p}{action}_action_specs_are_equal",
     .doc = "Compares two records of action {action}. {compared}",
     .result = "int",
     .arguments = "const {action_spec} *pd, const {action_spec} *hw, char *message",
     .call = "comparison::action_specs(a::{action}.number, {args})"},
    {.over = Over::every_table, .name = "{p}{table}_plcmt_data_eq_to_hw",
     .doc = "Compares the placement data of an entry of {table} with the hardware. tbl_hdl isn't used. {compared}",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, "
                  "const void *plcmt_data, char *message",
     .call = "comparison::entry<t::{table}>(sess_hdl, dev_id, entry_hdl, plcmt_data, message)",
     .by_handle = "placement_equals_hardware"},
};

inline constexpr Family placement_by_handle_families[] = {
    {.over = Over::program, .name = "{p}plcmt_data_print",
     .doc = "Prints an entry of table tbl_hdl from its placement data to fd. Returns the status of decoding it. For "
            "an unknown table it prints one line and returns its length.",
     .arguments = "int fd, uint32_t indent, uint32_t tbl_hdl, const void *plcmt_data",
     .call = "by_handle::plcmt_data_print({args})"},
    {.over = Over::program, .name = "{p}adt_plcmt_data_print",
     .doc = "Prints a member of profile adt_hdl from its placement data to fd. Returns the status of decoding it. "
            "For an unknown profile it prints one line and returns its length.",
     .arguments = "int fd, uint32_t indent, uint32_t adt_hdl, const void *plcmt_data",
     .call = "by_handle::adt_plcmt_data_print({args})"},
    {.over = Over::program, .name = "{p}plcmt_data_value",
     .doc = "Writes an entry of table tbl_hdl from its placement data as a value string. {length}",
     .result = "int",
     .arguments = "uint32_t tbl_hdl, const void *plcmt_data, char *buffer",
     .call = "by_handle::plcmt_data_value({args})"},
    {.over = Over::program, .name = "{p}adt_plcmt_data_value",
     .doc = "Writes a member of profile adt_hdl from its placement data as a value string. {length}",
     .result = "int",
     .arguments = "uint32_t adt_hdl, const void *plcmt_data, char *buffer",
     .call = "by_handle::adt_plcmt_data_value({args})"},
    {.over = Over::program, .name = "{p}plcmt_data_eq_to_hw",
     .doc = "Compares the placement data of an entry of table tbl_hdl with the hardware. {compared}",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, "
                  "const void *plcmt_data, const void *unused, char *message",
     .call = "by_handle::plcmt_data_eq_to_hw(sess_hdl, dev_id, tbl_hdl, entry_hdl, plcmt_data, message)"},
};

inline constexpr Area placement_areas[] = {
    {"pd/placement.h", placement_families, Shard::placement},
    {"pd/tables/reading.h", placement_reading_families, Shard::placement},
    {"pd_velmar/print.h", placement_print_families, Shard::placement},
    {"pd_velmar/value.h", placement_value_families, Shard::placement},
    {"pd_velmar/comparison.h", comparison_families, Shard::placement},
    {"pd_velmar/by_handle.h", placement_by_handle_families},
};
// clang-format on

} // namespace generator
