// The exported names: every family with its name, signature and the one call that its members forward to.
//
// A family is a snippet expanded once for each row that it runs over. The writers take everything that they print from
// here, so a new operation is an entry of `families` and a function in src/.
#pragma once

#include <string_view>

namespace generator {

// The rows that a family has members for.
enum class Over {
    program, // one member
    every_table,
    keyed_table,
    masked_table,  // keyed tables with masks or a prefix length
    entry_binding, // the entry actions of direct tables
    action_with_params,
};

// Which generated source a member goes to; table families are split by seam as well.
enum class Shard { program, actions, entries, readback };

struct Family {
    Over over;
    Shard shard;
    std::string_view name;
    std::string_view result;
    std::string_view arguments;
    std::string_view body;
};

// Data words that are exported beside the functions. src/ defines them.
struct ExportedData {
    std::string_view name;
    std::string_view declaration;
};

// What the snippets may use.
//   {p}                      the prefix of the exported names
//   {dimension}              "[265]": as many as there are actions
//   {table} {match_spec}     of table families; flags keyed, priority, indirect
//   {action} {action_spec}   of action families; of binding families with the flags params, meter, ttl beside the table's
// clang-format off
inline constexpr ExportedData exported_data[] = {
    {"bf_drv_hdl", "uint32_t bf_drv_hdl"},
    {"{p}action_name_strings", "const char *const {p}action_name_strings{dimension}"},
};

inline constexpr Family families[] = {
    {.over = Over::program, .shard = Shard::program,
     .name = "{p}init",
     .result = "void",
     .arguments = "void",
     .body = "lifecycle::init();"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}cleanup",
     .result = "pd_status",
     .arguments = "void",
     .body = "return lifecycle::cleanup();"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}device_state_cleanup",
     .result = "void",
     .arguments = "void",
     .body = "lifecycle::device_state_cleanup();"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}action_enum_to_string",
     .result = "const char *",
     .arguments = "uint32_t action_id",
     .body = "return action_names::to_string(action_id);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}action_string_to_enum",
     .result = "uint32_t",
     .arguments = "const char *name",
     .body = "return action_names::to_enum(name);"},

    {.over = Over::entry_binding, .shard = Shard::entries,
     .name = "{p}{table}_table_add_with_{action}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t priority, ]"
                  "[params?const {action_spec} *action_spec, ][meter?const pd_meter_spec *meter_spec, ]"
                  "[ttl?uint32_t ttl, ]pd_entry *entry_hdl",
     .body = "return entries::add<t::{table}, a::{action}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0], "
             "[params?action_spec|nullptr], [meter?meter_spec|nullptr], [ttl?ttl|0], entry_hdl);"},

    {.over = Over::entry_binding, .shard = Shard::entries,
     .name = "{p}{table}_table_modify_with_{action}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl"
                  "[params?, const {action_spec} *action_spec][meter?, const pd_meter_spec *meter_spec]",
     .body = "return entries::modify<t::{table}, a::{action}>(sess_hdl, dev_id, entry_hdl, "
             "[params?action_spec|nullptr], [meter?meter_spec|nullptr]);"},

    {.over = Over::entry_binding, .shard = Shard::entries,
     .name = "{p}{table}_table_modify_with_{action}_by_match_spec",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec[priority?, uint32_t priority]"
                  "[params?, const {action_spec} *action_spec][meter?, const pd_meter_spec *meter_spec]",
     .body = "return entries::modify_by_match_spec<t::{table}, a::{action}>(sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], [params?action_spec|nullptr], [meter?meter_spec|nullptr]);"},

    {.over = Over::keyed_table, .shard = Shard::entries,
     .name = "{p}{table}_table_delete",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl",
     .body = "return entries::remove<t::{table}>(sess_hdl, dev_id, entry_hdl);"},

    {.over = Over::keyed_table, .shard = Shard::entries,
     .name = "{p}{table}_table_delete_by_match_spec",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec[priority?, uint32_t priority]",
     .body = "return entries::remove_by_match_spec<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0]);"},

    {.over = Over::keyed_table, .shard = Shard::entries,
     .name = "{p}{table}_match_spec_to_entry_hdl",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec[priority?, uint32_t priority], "
                  "pd_entry *entry_hdl",
     .body = "return entries::find<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0], entry_hdl);"},

    {.over = Over::every_table, .shard = Shard::readback,
     .name = "{p}{table}_get_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw, "
                  "[keyed?{match_spec} *match_spec, ][priority?uint32_t *priority, ]"
                  "[indirect?uint8_t *has_mbr, uint8_t *has_grp, pd_group *grp_hdl, pd_member *mbr_hdl"
                  "|char *action_name, void *action_spec, uint32_t *action_id][keyed?, uint8_t *is_default]",
     .body = "return [indirect?readback::get_indirect_entry|readback::get_entry]<t::{table}>(sess_hdl, dev_id, entry_hdl, "
             "read_from_hw, [keyed?match_spec|nullptr], [priority?priority|nullptr], "
             "[indirect?has_mbr, has_grp, grp_hdl, mbr_hdl|action_name, action_spec, action_id], "
             "[keyed?is_default|nullptr]);"},

    {.over = Over::every_table, .shard = Shard::readback,
     .name = "{p}{table}_get_entry_count",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *count",
     .body = "return readback::get_entry_count<t::{table}>(sess_hdl, dev_tgt, count);"},

    {.over = Over::every_table, .shard = Shard::readback,
     .name = "{p}{table}_get_first_entry_handle",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry *entry_hdl",
     .body = "return readback::get_first_entry_handle<t::{table}>(sess_hdl, dev_tgt, entry_hdl);"},

    {.over = Over::every_table, .shard = Shard::readback,
     .name = "{p}{table}_get_next_entry_handles",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl, uint32_t n, pd_entry *next_entry_hdls",
     .body = "return readback::get_next_entry_handles<t::{table}>(sess_hdl, dev_tgt, entry_hdl, n, next_entry_hdls);"},

    {.over = Over::keyed_table, .shard = Shard::readback,
     .name = "unbuild_key_{table}",
     .result = "void",
     .arguments = "const struct pipe_match_record *match_record, {match_spec} *match_spec",
     .body = "readback::unbuild_key<t::{table}>(*match_record, match_spec);"},

    {.over = Over::masked_table, .shard = Shard::readback,
     .name = "unbuild_mask_{table}",
     .result = "void",
     .arguments = "const struct pipe_match_record *match_record, {match_spec} *match_spec",
     .body = "readback::unbuild_mask<t::{table}>(*match_record, match_spec);"},

    {.over = Over::action_with_params, .shard = Shard::actions,
     .name = "unbuild_action_spec_{action}",
     .result = "void",
     .arguments = "const struct pipe_action_data *action_data, const pd_resource_index *resources, "
                  "uint32_t resource_count, {action_spec} *action_spec",
     .body = "readback::unbuild_action_spec<a::{action}>(*action_data, resources, resource_count, action_spec);"},
};
// clang-format on

} // namespace generator
