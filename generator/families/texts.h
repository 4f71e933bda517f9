// The text surface: schemas, value strings, print lines, and counter descriptions.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family texts_families[] = {
    {.over = Over::keyed_table, .shard = Shard::texts,
     .name = "{p}{table}_match_spec_schema",
     .result = "const char *",
     .arguments = "void",
     .body = "return schema::match_spec<t::{table}>();"},

    {.over = Over::every_table, .shard = Shard::texts,
     .name = "{p}{table}_schema",
     .result = "int",
     .arguments = "char *buffer",
     .body = "return schema::table<t::{table}>(buffer);",
     .by_handle = "schema"},

    {.over = Over::every_action, .shard = Shard::action_texts,
     .name = "{p}{action}_schema",
     .result = "const char *",
     .arguments = "void",
     .body = "return schema::action<a::{action}>();"},

    {.over = Over::profile, .shard = Shard::profiles,
     .name = "{p}{profile}_schema",
     .result = "int",
     .arguments = "char *buffer",
     .body = "return schema::profile<p::{profile}>(buffer);",
     .by_handle = "schema"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}cli_schema",
     .result = "int",
     .arguments = "uint32_t hdl, char *buffer",
     .body = "return by_handle::cli_schema(hdl, buffer);"},

    {.over = Over::keyed_table, .shard = Shard::texts,
     .name = "{p}{table}_match_spec_value",
     .result = "int",
     .arguments = "const {match_spec} *match_spec, char *buffer",
     .body = "return value::match_spec<t::{table}>(match_spec, buffer);"},

    {.over = Over::every_action, .shard = Shard::action_texts,
     .name = "{p}{action}_value",
     .result = "int",
     .arguments = "[params?const {action_spec} *action_spec, ]char *buffer",
     .body = "return value::action<a::{action}>([params?action_spec|nullptr], buffer);"},

    {.over = Over::every_table, .shard = Shard::texts,
     .name = "{p}{table}_value",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw, char *buffer",
     .body = "return value::entry<t::{table}>({p}{table}_get_entry, sess_hdl, dev_id, entry_hdl, read_from_hw, "
             "buffer);",
     .by_handle = "value"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}entry_value",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t read_from_hw, "
                  "char *buffer",
     .body = "return by_handle::entry_value(sess_hdl, dev_id, tbl_hdl, entry_hdl, read_from_hw, buffer);"},

    {.over = Over::keyed_table, .shard = Shard::texts,
     .name = "{p}{table}_match_spec_print",
     .result = "int",
     .arguments = "int fd, uint32_t indent, const {match_spec} *match_spec",
     .body = "return print::match_spec<t::{table}>(fd, indent, match_spec);"},

    {.over = Over::action_with_params, .shard = Shard::action_texts,
     .name = "{p}{action}_print",
     .result = "int",
     .arguments = "int fd, uint32_t indent, const {action_spec} *action_spec",
     .body = "return print::param_lines(fd, indent, a::{action}.number, action_spec);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}_print_mac_exact",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t oui, uint32_t station",
     .body = "return addresses::print_mac_exact(buffer, label, oui, station);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}_print_mac_ternary",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t oui, uint32_t oui_mask, uint32_t station, uint32_t "
                  "station_mask",
     .body = "return addresses::print_mac_ternary(buffer, label, oui, oui_mask, station, station_mask);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}_print_v4addr_exact",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t address",
     .body = "return addresses::print_v4addr_exact(buffer, label, address);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}_print_v4addr_lpm",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t address, uint32_t prefix_length",
     .body = "return addresses::print_v4addr_lpm(buffer, label, address, prefix_length);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}_print_v4addr_ternary",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t address, uint32_t mask",
     .body = "return addresses::print_v4addr_ternary(buffer, label, address, mask);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}_print_v6addr_exact",
     .result = "int",
     .arguments = "char *buffer, const char *label, const uint8_t *address",
     .body = "return addresses::print_v6addr_exact(buffer, label, address);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}_print_v6addr_lpm",
     .result = "int",
     .arguments = "char *buffer, const char *label, const uint8_t *address, uint32_t prefix_length",
     .body = "return addresses::print_v6addr_lpm(buffer, label, address, prefix_length);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}_print_v6addr_ternary",
     .result = "int",
     .arguments = "char *buffer, const char *label, const uint8_t *address, const uint8_t *mask",
     .body = "return addresses::print_v6addr_ternary(buffer, label, address, mask);"},

    {.over = Over::counted_table, .shard = Shard::texts,
     .name = "{p}{table}_match_spec_stringify_for_counter",
     .result = "int",
     .arguments = "const {match_spec} *match_spec, char *buffer",
     .body = "return descriptions::match_spec<t::{table}>(match_spec, buffer);"},

    {.over = Over::counted_table, .shard = Shard::texts,
     .name = "{p}{table}_stringify_counter_match_spec",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, char *buffer",
     .body = "return descriptions::entry<t::{table}>({p}{table}_get_entry, sess_hdl, dev_id, entry_hdl, buffer);",
     .by_handle = "describe"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}stringify_counter_matchspec",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, char *buffer",
     .body = "return by_handle::stringify_counter_matchspec(sess_hdl, dev_id, tbl_hdl, entry_hdl, buffer);"},
};
// clang-format on

} // namespace generator
