// What a family of exported functions is, and what its snippets may use.
#pragma once

#include <span>
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

// The generated source of a member. The shards from `entries` on are split by seam.
enum class Shard { program, actions, profiles, resources, entries, readback, tables, texts, placement };

// A family of exported functions. It has one member for each row that it runs over; its snippets are expanded for each.
// Snippets may use:
//   {p}                     the prefix of the exported names
//   {dimension}             "[265]": the count of actions
//   {args}                  in `call`: the names of the member's arguments
//   {name}                  in `definition`: the member's name
//   {table} {match_spec}    of table families, with the flags keyed, priority, indirect
//   {width_name} {width}    of key_field families, beside the table's
//   {profile} {data_table} {selector}
//                           of profile families, with the handles of its tables
//   {resource} {handle}     of counters, meters, WRED blocks, registers, digests and value sets: name and handle or id
//   {table_handle}          of table families; of direct counters and meters (flag direct): their match table
//   {cell} {cell_type}      of registers: the cell's form, and the type of its values
//   {calc}                  of hash calculations
//   {action} {action_spec}  of action and binding families, with the flag params
//   flags meter, ttl        of binding families of tables
struct Family {
    Over over;
    std::string_view name;
    std::string_view result = "pd_status";
    std::string_view arguments;
    std::string_view call = {}; // the function in src/ that a member forwards to, with its arguments
    // Instead of `call`, where no C++ function does what is wanted.
    std::string_view definition = {};
    // Of table and profile families: the member of the functions by handle that the family fills. See
    // pd_velmar/by_handle.h.
    std::string_view by_handle = {};
};

// Families whose functions stand in one header of src/.
struct Area {
    std::string_view header;
    std::span<const Family> families;
    Shard shard = Shard::tables; // of the families that run over tables
};

// Data words that the library exports beside its functions.
struct ExportedData {
    std::string_view name;
    std::string_view declaration;
};

} // namespace generator
