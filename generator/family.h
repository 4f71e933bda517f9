// Families of exported functions, and the names and flags that their snippets may use.
#pragma once

#include <span>
#include <string_view>

namespace generator {

// The rows for which a family has a member.
enum class Over {
    program, // one member
    every_table,
    keyed_table,
    masked_table,    // keyed tables with masks or a prefix length
    counted_table,   // tables that have a direct counter
    entry_binding,   // the entry actions of direct tables
    default_binding, // the default actions of direct tables, keyless ones included
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

// The generated source that holds a member. The shards from `entries` on have one file per seam.
enum class Shard { program, actions, profiles, resources, entries, readback, tables, texts, placement };

// A family of exported functions. It has one member for each of its rows. Its snippets are expanded for each member.
// Snippets may use:
//   {p}                     the prefix of the exported names
//   {dimension}             "[N]", where N is the count of actions
//   {name_bytes}            in `doc`: the bytes of the longest full name of an action, with its terminator
//   {args}                  in `call`: the names of the member's arguments
//   {name}                  in `definition`: the member's name
//   {table} {match_spec}    in table families, with the flags keyed, priority, indirect
//   {width_name} {width}    in key_field families, besides the names of table families
//   {profile} {data_table} {selector}
//                           in profile families: name, and the handles of the profile's tables
//   {resource} {handle}     for counters, meters, WRED blocks, registers, digests and value sets: name, handle or id
//   {table_handle}          in table families; for direct counters and meters (flag direct): their match table
//   {cell} {cell_type}      for registers: the cell's form, and the type of its values
//   {calc}                  for hash calculations
//   {action} {action_spec}  in action and binding families, with the flag params
//   flags meter, ttl        in binding families of tables
//   {profile}               in families of indirect tables too
//   {table}                 for direct counters and meters too
//   {action_specs}          in `doc` of table families with the flag specs: the union of the records of its actions
//   flag prefix             in table families
// A `doc` may also use the phrases that namer.cpp lists, such as {status}.
struct Family {
    Over over;
    std::string_view name;
    std::string_view doc; // what a member does, its outputs and its statuses; the header shows it above the declaration
    std::string_view result = "pd_status";
    std::string_view arguments;
    std::string_view call = {}; // the function in src/ that a member forwards to, with its arguments
    // Replaces `call` where a C++ function can't do the work.
    std::string_view definition = {};
    // In table and profile families: the field that the family fills in TableFunctions or ProfileFunctions. See
    // pd_velmar/by_handle.h.
    std::string_view by_handle = {};
};

// Families whose functions are in one header of src/.
struct Area {
    std::string_view header;
    std::span<const Family> families;
    Shard shard = Shard::tables; // for families over tables
};

// Data that the library exports besides its functions.
struct ExportedData {
    std::string_view name;
    std::string_view declaration;
};

} // namespace generator
