// What a family of exported functions is, and what its snippets may use.
#pragma once

#include <string_view>

namespace generator {

// The rows that a family has members for.
enum class Over {
    program, // one member
    every_table,
    keyed_table,
    masked_table,    // keyed tables with masks or a prefix length
    counted_table,   // tables with a counter of their own
    entry_binding,   // the entry actions of direct tables
    default_binding, // the default actions of direct and keyless tables
    key_field,
    idle_table,
    indirect_table,
    every_action,
    action_with_params,
    profile,
    profile_binding,
    counter,
    meter,
    wred_block,
    named_register,
    digest,
    value_set,
    hash_calculation,
};

// Which generated source a member goes to; table families are split by seam as well.
enum class Shard { program, actions, action_texts, profiles, resources, entries, readback, tables, texts, placement };

// A snippet is expanded once for each row that the family runs over. Snippets may use:
//   {p}                     the prefix of the exported names
//   {dimension}             "[265]": as many as there are actions
//   {table} {match_spec}    of table families, with the flags keyed, priority, indirect
//   {width_name} {width}    of key_field families, beside the table's
//   {profile} {data_table} {selector}
//                           of profile families, with the handles of its tables
//   {resource} {handle}     of counters, meters, WRED blocks, registers, digests and value sets: name and handle or id
//   {table_handle}          of table families, and of counters and meters with the flag direct: of the match table
//   {cell} {cell_type}      of registers: the cell's form, and the type of its values
//   {calc}                  of hash calculations
//   {action} {action_spec}  of action and binding families, with the flag params
//   flags meter, ttl        of binding families of tables
struct Family {
    Over over;
    Shard shard;
    std::string_view name;
    std::string_view result;
    std::string_view arguments;
    std::string_view body = {};
    // The member of the functions by handle that this family fills, of table and profile families; see
    // pd_velmar/by_handle.h.
    std::string_view by_handle = {};
    // In place of signature and body, where no C++ function does what is wanted. It may use {name}, the member's.
    std::string_view definition = {};
};

// Data words that are exported beside the functions. src/ defines them.
struct ExportedData {
    std::string_view name;
    std::string_view declaration;
};

} // namespace generator
