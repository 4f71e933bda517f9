// Texts: schemas, value strings, prints, addresses, and counter descriptions.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family schema_families[] = {
    {.over = Over::keyed_table, .name = "{p}{table}_match_spec_schema",
     .doc = "Returns the schema of the key of {table}, a constant text.",
     .result = "const char *",
     .arguments = "void",
     .call = "schema::match_spec<t::{table}>()"},
    {.over = Over::every_table, .name = "{p}{table}_schema",
     .doc = "Writes the schema of {table}. {written}",
     .result = "int",
     .arguments = "char *buffer",
     .call = "schema::table<t::{table}>({args})",
     .by_handle = "schema"},
    {.over = Over::every_action, .name = "{p}{action}_schema",
     .doc = "Returns the schema of action {action}, a constant text.",
     .result = "const char *",
     .arguments = "void",
     .call = "schema::action<a::{action}>()"},
    {.over = Over::profile, .name = "{p}{profile}_schema",
     .doc = "Writes the schema of {profile}. {written}",
     .result = "int",
     .arguments = "char *buffer",
     .call = "schema::profile<p::{profile}>({args})",
     .by_handle = "schema"},
};

inline constexpr Family texts_by_handle_families[] = {
    {.over = Over::program, .name = "{p}cli_schema",
     .doc = "Writes the schema of the table or profile with this handle; \"()\" for any other handle. {written}",
     .result = "int",
     .arguments = "uint32_t hdl, char *buffer",
     .call = "by_handle::cli_schema({args})"},
    {.over = Over::program, .name = "{p}entry_value",
     .doc = "Writes an entry of table tbl_hdl as a value string. {length}",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, "
                  "uint32_t read_from_hw, char *buffer",
     .call = "by_handle::entry_value({args})"},
    {.over = Over::program, .name = "{p}stringify_counter_matchspec",
     .doc = "Writes what the counter of an entry of table tbl_hdl counts, in at most 512 characters. {length}",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, char *buffer",
     .call = "by_handle::stringify_counter_matchspec({args})"},
};

inline constexpr Family value_families[] = {
    {.over = Over::keyed_table, .name = "{p}{table}_match_spec_value",
     .doc = "Writes a key of {table} as a value string. {written}",
     .result = "int",
     .arguments = "const {match_spec} *match_spec, char *buffer",
     .call = "value::match_spec<t::{table}>({args})"},
    {.over = Over::every_action, .name = "{p}{action}_value",
     .doc = "Writes action {action}[params? with its parameters] as a value string. {written}",
     .result = "int",
     .arguments = "[params?const {action_spec} *action_spec, ]char *buffer",
     .call = "value::action<a::{action}>([params?action_spec|nullptr], buffer)"},
    {.over = Over::every_table, .name = "{p}{table}_value",
     .doc = "Writes an entry of {table} as a value string. {length}",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw, char *buffer",
     .call = "value::entry<t::{table}>({args})",
     .by_handle = "value"},
};

inline constexpr Family print_families[] = {
    {.over = Over::keyed_table, .name = "{p}{table}_match_spec_print",
     .doc = "Prints a key of {table} to fd: a title, and a line for each column. {last_write}",
     .result = "int",
     .arguments = "int fd, uint32_t indent, const {match_spec} *match_spec",
     .call = "print::match_spec<t::{table}>({args})"},
    {.over = Over::action_with_params, .name = "{p}{action}_print",
     .doc = "Prints the parameters of action {action} to fd, a line for each. {last_write}",
     .result = "int",
     .arguments = "int fd, uint32_t indent, const {action_spec} *action_spec",
     .call = "print::param_lines(fd, indent, a::{action}.number, action_spec)"},
};

inline constexpr Family addresses_families[] = {
    {.over = Over::program, .name = "{p}_print_mac_exact",
     .doc = "Writes label and MAC address. {written}",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t oui, uint32_t station",
     .call = "addresses::print_mac_exact({args})"},
    {.over = Over::program, .name = "{p}_print_mac_ternary",
     .doc = "Writes label, MAC address and mask; nothing if the mask is zero. {written}",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t oui, uint32_t oui_mask, uint32_t station, "
                  "uint32_t station_mask",
     .call = "addresses::print_mac_ternary({args})"},
    {.over = Over::program, .name = "{p}_print_v4addr_exact",
     .doc = "Writes label and IPv4 address. {written}",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t address",
     .call = "addresses::print_v4addr_exact({args})"},
    {.over = Over::program, .name = "{p}_print_v4addr_lpm",
     .doc = "Writes label, IPv4 address and prefix length. {written}",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t address, uint32_t prefix_length",
     .call = "addresses::print_v4addr_lpm({args})"},
    {.over = Over::program, .name = "{p}_print_v4addr_ternary",
     .doc = "Writes label, IPv4 address and the mask's leading ones; nothing if the mask is zero. {written}",
     .result = "int",
     .arguments = "char *buffer, const char *label, uint32_t address, uint32_t mask",
     .call = "addresses::print_v4addr_ternary({args})"},
    {.over = Over::program, .name = "{p}_print_v6addr_exact",
     .doc = "Writes label and IPv6 address of 16 bytes. {written}",
     .result = "int",
     .arguments = "char *buffer, const char *label, const uint8_t *address",
     .call = "addresses::print_v6addr_exact({args})"},
    {.over = Over::program, .name = "{p}_print_v6addr_lpm",
     .doc = "Writes label, IPv6 address of 16 bytes and prefix length. {written}",
     .result = "int",
     .arguments = "char *buffer, const char *label, const uint8_t *address, uint32_t prefix_length",
     .call = "addresses::print_v6addr_lpm({args})"},
    {.over = Over::program, .name = "{p}_print_v6addr_ternary",
     .doc = "Writes label, IPv6 address and mask of 16 bytes each; nothing if the mask is zero. {written}",
     .result = "int",
     .arguments = "char *buffer, const char *label, const uint8_t *address, const uint8_t *mask",
     .call = "addresses::print_v6addr_ternary({args})"},
};

inline constexpr Family counter_descriptions_families[] = {
    {.over = Over::counted_table, .name = "{p}{table}_match_spec_stringify_for_counter",
     .doc = "Writes what the counter of an entry of {table} with this key counts, in at most 512 characters. {length}",
     .result = "int",
     .arguments = "const {match_spec} *match_spec, char *buffer",
     .call = "descriptions::match_spec<t::{table}>({args})"},
    {.over = Over::counted_table, .name = "{p}{table}_stringify_counter_match_spec",
     .doc = "Writes what the counter of an entry of {table} counts, in at most 512 characters. {length}",
     .result = "int",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, char *buffer",
     .call = "descriptions::entry<t::{table}>({args})",
     .by_handle = "describe"},
};

inline constexpr Area texts_areas[] = {
    {"pd_velmar/schema.h", schema_families, Shard::texts},
    {"pd_velmar/by_handle.h", texts_by_handle_families},
    {"pd_velmar/value.h", value_families, Shard::texts},
    {"pd_velmar/print.h", print_families, Shard::texts},
    {"pd_velmar/addresses.h", addresses_families},
    {"pd_velmar/counter_descriptions.h", counter_descriptions_families, Shard::texts},
};
// clang-format on

} // namespace generator
