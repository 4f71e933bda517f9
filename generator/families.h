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
    masked_table,    // keyed tables with masks or a prefix length
    entry_binding,   // the entry actions of direct tables
    default_binding, // the default actions of direct and keyless tables
    key_field,
    idle_table,
    indirect_table,
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
enum class Shard { program, actions, profiles, resources, entries, readback, tables };

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
//   {p}                     the prefix of the exported names
//   {dimension}             "[265]": as many as there are actions
//   {table} {match_spec}    of table families, with the flags keyed, priority, indirect
//   {width_name} {width}    of key_field families, beside the table's
//   {profile}               of profile families
//   {resource} {handle}     of counters, meters, WRED blocks, registers, digests and value sets: name and handle or id
//   {table_handle}          of counters and meters, with the flag direct: of the match table of a direct one
//   {cell} {cell_type}      of registers: the cell's form, and the type of its values
//   {calc}                  of hash calculations
//   {action} {action_spec}  of action and binding families, with the flag params
//   flags meter, ttl        of binding families of tables
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

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}restore_virtual_dev_state",
     .result = "pd_status",
     .arguments = "uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5",
     .body = "return restore::restore_virtual_dev_state(a1, a2, a3, a4, a5);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}entry_hdl_first",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry *entry_hdl",
     .body = "return dispatch::entry_hdl_first(sess_hdl, dev_tgt, tbl_hdl, entry_hdl);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}entry_hdl_next",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t n, "
                  "pd_entry *next_entry_hdls",
     .body = "return dispatch::entry_hdl_next(sess_hdl, dev_tgt, tbl_hdl, entry_hdl, n, next_entry_hdls);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}entry_hdl_default",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry *entry_hdl",
     .body = "return dispatch::entry_hdl_default(sess_hdl, dev_tgt, tbl_hdl, entry_hdl);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}member_hdl_first",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member *mbr_hdl",
     .body = "return dispatch::member_hdl_first(sess_hdl, dev_tgt, adt_hdl, mbr_hdl);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}member_hdl_next",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member mbr_hdl, uint32_t n, "
                  "pd_member *next_mbr_hdls",
     .body = "return dispatch::member_hdl_next(sess_hdl, dev_tgt, adt_hdl, mbr_hdl, n, next_mbr_hdls);"},

    {.over = Over::entry_binding, .shard = Shard::entries,
     .name = "{p}{table}_table_add_with_{action}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]"
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
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec[priority?, uint32_t "
                  "priority]"
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
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec[priority?, uint32_t "
                  "priority]",
     .body = "return entries::remove_by_match_spec<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0]);"},

    {.over = Over::keyed_table, .shard = Shard::entries,
     .name = "{p}{table}_match_spec_to_entry_hdl",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec[priority?, uint32_t "
                  "priority], "
                  "pd_entry *entry_hdl",
     .body = "return entries::find<t::{table}>(sess_hdl, dev_tgt, match_spec, [priority?priority|0], entry_hdl);"},

    {.over = Over::every_table, .shard = Shard::readback,
     .name = "{p}{table}_get_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t read_from_hw, "
                  "[keyed?{match_spec} *match_spec, ][priority?uint32_t *priority, ]"
                  "[indirect?uint8_t *has_mbr, uint8_t *has_grp, pd_group *grp_hdl, pd_member *mbr_hdl"
                  "|char *action_name, void *action_spec, uint32_t *action_id][keyed?, uint8_t *is_default]",
     .body = "return [indirect?readback::get_indirect_entry|readback::get_entry]<t::{table}>(sess_hdl, dev_id, "
             "entry_hdl, "
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

    {.over = Over::default_binding, .shard = Shard::tables,
     .name = "{p}{table}_set_default_action_{action}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [params?const {action_spec} *action_spec, ]"
                  "[meter?const pd_meter_spec *meter_spec, ]pd_entry *entry_hdl",
     .body = "return defaults::set<t::{table}, a::{action}>(sess_hdl, dev_tgt, [params?action_spec|nullptr], "
             "[meter?meter_spec|nullptr], entry_hdl);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_table_get_default_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t read_from_hw, "
                  "[indirect?uint8_t *has_mbr, uint8_t *has_grp, pd_group *grp_hdl, pd_member *mbr_hdl|void "
                  "*action_record]",
     .body = "return [indirect?defaults::get_indirect|defaults::get]<t::{table}>(sess_hdl, dev_tgt, read_from_hw, "
             "[indirect?has_mbr, has_grp, grp_hdl, mbr_hdl|action_record]);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_table_get_default_entry_handle",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry *entry_hdl",
     .body = "return defaults::get_handle<t::{table}>(sess_hdl, dev_tgt, entry_hdl);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_table_reset_default_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .body = "return defaults::reset<t::{table}>(sess_hdl, dev_tgt);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_get_mat_table_handle",
     .result = "pd_status",
     .arguments = "uint32_t *tbl_hdl",
     .body = "return properties::get_handle(t::{table}->handle, tbl_hdl);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_get_property",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t *value, uint32_t *args",
     .body = "return properties::get(sess_hdl, dev_id, t::{table}->handle, property, value, args);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_set_property",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t value, uint32_t args",
     .body = "return properties::set(sess_hdl, dev_id, t::{table}->handle, property, value, args);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_register_mat_update_cb",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .body = "return properties::register_update_callback(sess_hdl, dev_id, t::{table}->handle, callback, cookie);"},

    {.over = Over::every_table, .shard = Shard::tables,
     .name = "{p}{table}_supports_entry_priority",
     .result = "int",
     .arguments = "void",
     .body = "return catalog::has_priority(*t::{table});"},

    {.over = Over::key_field, .shard = Shard::tables,
     .name = "{p}{table}_{width_name}_width",
     .result = "int",
     .arguments = "void",
     .body = "return {width};"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_idle_tmo_enable",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_idle_params params",
     .body = "return idle::enable(sess_hdl, dev_id, t::{table}->handle, params);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_idle_tmo_disable",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id",
     .body = "return idle::disable(sess_hdl, dev_id, t::{table}->handle);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_idle_register_tmo_cb",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .body = "return idle::register_timeout_callback(sess_hdl, dev_id, t::{table}->handle, callback, cookie);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_idle_params_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_idle_params *params",
     .body = "return idle::get_params(sess_hdl, dev_id, t::{table}->handle, params);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_set_ttl",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t ttl",
     .body = "return idle::set_ttl(sess_hdl, dev_id, t::{table}->handle, entry_hdl, ttl);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_get_ttl",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t *ttl",
     .body = "return idle::get_ttl(sess_hdl, dev_id, t::{table}->handle, entry_hdl, ttl);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_reset_ttl",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl",
     .body = "return idle::reset_ttl(sess_hdl, dev_id, t::{table}->handle, entry_hdl);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_update_hit_state",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .body = "return idle::update_hit_state(sess_hdl, dev_id, t::{table}->handle, callback, cookie);"},

    {.over = Over::idle_table, .shard = Shard::tables,
     .name = "{p}{table}_get_hit_state",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t *hit_state",
     .body = "return idle::get_hit_state(sess_hdl, dev_id, t::{table}->handle, entry_hdl, hit_state);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_add_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]pd_member mbr_hdl, pd_entry *entry_hdl",
     .body = "return indirect::add<t::{table}, indirect::Target::member>(sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], mbr_hdl, entry_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_modify_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, pd_member mbr_hdl",
     .body = "return indirect::modify<t::{table}, indirect::Target::member>(sess_hdl, dev_id, entry_hdl, mbr_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_modify_entry_by_match_spec",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]pd_member mbr_hdl",
     .body = "return indirect::modify_by_match_spec<t::{table}, indirect::Target::member>(sess_hdl, dev_tgt, "
             "match_spec, [priority?priority|0], mbr_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_set_default_entry",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_member mbr_hdl, pd_entry *entry_hdl",
     .body = "return indirect::set_default<t::{table}, indirect::Target::member>(sess_hdl, dev_tgt, mbr_hdl, "
             "entry_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_add_entry_with_selector",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]pd_group grp_hdl, pd_entry *entry_hdl",
     .body = "return indirect::add<t::{table}, indirect::Target::group>(sess_hdl, dev_tgt, match_spec, "
             "[priority?priority|0], grp_hdl, entry_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_modify_entry_with_selector",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, pd_group grp_hdl",
     .body = "return indirect::modify<t::{table}, indirect::Target::group>(sess_hdl, dev_id, entry_hdl, grp_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_modify_entry_with_selector_by_match_spec",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {match_spec} *match_spec, [priority?uint32_t "
                  "priority, ]pd_group grp_hdl",
     .body = "return indirect::modify_by_match_spec<t::{table}, indirect::Target::group>(sess_hdl, dev_tgt, "
             "match_spec, [priority?priority|0], grp_hdl);"},

    {.over = Over::indirect_table, .shard = Shard::entries,
     .name = "{p}{table}_set_default_entry_with_selector",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_group grp_hdl, pd_entry *entry_hdl",
     .body = "return indirect::set_default<t::{table}, indirect::Target::group>(sess_hdl, dev_tgt, grp_hdl, "
             "entry_hdl);"},

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

    {.over = Over::counter, .shard = Shard::resources,
     .name = "{p}counter_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, [direct?pd_device dev_id, pd_entry entry_hdl|pd_dev_tgt dev_tgt, uint32_t "
                  "index], uint32_t flags, pd_counter_value *value",
     .body = "return counters::read_[direct?direct({table_handle}|indirect({handle}], sess_hdl, [direct?dev_id, "
             "entry_hdl|dev_tgt, index], flags, value);"},

    {.over = Over::counter, .shard = Shard::resources,
     .name = "{p}counter_write_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [direct?pd_entry entry_hdl|uint32_t index], "
                  "pd_counter_value value",
     .body = "return counters::write_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, "
             "[direct?entry_hdl|index], value);"},

    {.over = Over::counter, .shard = Shard::resources,
     .name = "{p}counter_hw_sync_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .body = "return counters::sync_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, callback, "
             "cookie);"},

    {.over = Over::meter, .shard = Shard::resources,
     .name = "{p}meter_set_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, [direct?pd_device dev_id, pd_entry entry_hdl|pd_dev_tgt dev_tgt, uint32_t "
                  "index], const pd_meter_spec *meter_spec",
     .body = "return meters::set_[direct?direct({table_handle}, |indirect(]{handle}, sess_hdl, [direct?dev_id, "
             "entry_hdl|dev_tgt, index], meter_spec);"},

    {.over = Over::meter, .shard = Shard::resources,
     .name = "{p}meter_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, [direct?pd_entry entry_hdl|uint32_t index], "
                  "pd_meter_spec *meter_spec",
     .body = "return meters::read_[direct?direct({table_handle}|indirect({handle}], sess_hdl, dev_tgt, "
             "[direct?entry_hdl|index], meter_spec);"},

    {.over = Over::meter, .shard = Shard::resources,
     .name = "{p}meter_bytecount_adjust_set_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adjustment",
     .body = "return meters::set_bytecount_adjust({handle}, sess_hdl, dev_tgt, adjustment);"},

    {.over = Over::meter, .shard = Shard::resources,
     .name = "{p}meter_bytecount_adjust_get_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t *adjustment",
     .body = "return meters::get_bytecount_adjust({handle}, sess_hdl, dev_tgt, adjustment);"},

    {.over = Over::wred_block, .shard = Shard::resources,
     .name = "{p}wred_set_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, const pd_wred_spec *wred_spec",
     .body = "return meters::set_wred({handle}, sess_hdl, dev_tgt, index, wred_spec);"},

    {.over = Over::wred_block, .shard = Shard::resources,
     .name = "{p}wred_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, pd_wred_spec *wred_spec",
     .body = "return meters::read_wred({handle}, sess_hdl, dev_tgt, index, wred_spec);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}bytes_meter_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, const "
                  "pd_meter_spec *meter_spec, uint32_t has_pre_color",
     .body = "return generic_meters::set_bytes(sess_hdl, dev_tgt, meter_hdl, index, meter_spec, has_pre_color);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}bytes_meter_read",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, pd_meter_spec "
                  "*meter_spec",
     .body = "return meters::read_indirect(meter_hdl, sess_hdl, dev_tgt, index, meter_spec);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}packets_meter_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, const "
                  "pd_meter_spec *meter_spec, uint32_t has_pre_color",
     .body = "return generic_meters::set_packets(sess_hdl, dev_tgt, meter_hdl, index, meter_spec, has_pre_color);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}packets_meter_read",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t meter_hdl, uint32_t index, pd_meter_spec "
                  "*meter_spec",
     .body = "return meters::read_indirect(meter_hdl, sess_hdl, dev_tgt, index, meter_spec);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}wred_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t wred_hdl, uint32_t index, const pd_wred_spec "
                  "*wred_spec",
     .body = "return meters::set_wred(wred_hdl, sess_hdl, dev_tgt, index, wred_spec);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, uint32_t flags, {cell_type} *values, "
                  "uint32_t *value_count",
     .body = "return registers::read(registers::Cell::{cell}, {handle}, sess_hdl, dev_tgt, index, flags, values, "
             "value_count);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_range_read_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index, int32_t count, uint32_t flags, "
                  "uint32_t *cells_read, {cell_type} *values, uint32_t *value_count",
     .body = "return registers::read_range(registers::Cell::{cell}, {handle}, sess_hdl, dev_tgt, first_index, "
             "count, flags, cells_read, values, value_count);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_write_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, const {cell_type} *value",
     .body = "return registers::write(registers::Cell::{cell}, {handle}, sess_hdl, dev_tgt, index, value);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_write_all_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, const {cell_type} *value",
     .body = "return registers::write_all(registers::Cell::{cell}, {handle}, sess_hdl, dev_tgt, value);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_reset_all_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt",
     .body = "return registers::reset_all({handle}, sess_hdl, dev_tgt);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_range_reset_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t first_index, uint32_t count",
     .body = "return registers::reset_range({handle}, sess_hdl, dev_tgt, first_index, count);"},

    {.over = Over::named_register, .shard = Shard::resources,
     .name = "{p}register_hw_sync_{resource}",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback, void *cookie",
     .body = "return registers::sync({handle}, sess_hdl, dev_tgt, callback, cookie);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}register_read_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t index, uint32_t flags, "
                  "struct pipe_stful_query *query",
     .body = "return registers::read_indirect(sess_hdl, dev_tgt, reg_hdl, index, flags, query);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}register_read_direct",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t flags, "
                  "struct pipe_stful_query *query",
     .body = "return registers::read_direct(sess_hdl, dev_tgt, tbl_hdl, entry_hdl, flags, query);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}register_write_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t index, const struct "
                  "pipe_stful_element *element",
     .body = "return registers::write_indirect(sess_hdl, dev_tgt, reg_hdl, index, element);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}register_write_direct",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, pd_register_value "
                  "value",
     .body = "return registers::write_direct(sess_hdl, dev_id, tbl_hdl, entry_hdl, value);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}register_write_all_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, const struct pipe_stful_element "
                  "*element",
     .body = "return registers::write_all_indirect(sess_hdl, dev_tgt, reg_hdl, element);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}register_reset_all_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl",
     .body = "return registers::reset_all(reg_hdl, sess_hdl, dev_tgt);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}register_range_reset_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, uint32_t first_index, uint32_t count",
     .body = "return registers::reset_range(reg_hdl, sess_hdl, dev_tgt, first_index, count);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}register_hw_sync_indirect",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t reg_hdl, pd_driver_callback callback, void "
                  "*cookie",
     .body = "return registers::sync(reg_hdl, sess_hdl, dev_tgt, callback, cookie);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}register_hw_sync_direct",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_driver_callback callback, void "
                  "*cookie",
     .body = "return registers::sync_direct(sess_hdl, dev_tgt, tbl_hdl, callback, cookie);"},

    {.over = Over::digest, .shard = Shard::resources,
     .name = "{p}{resource}_register",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .body = "return digests::register_callback({handle}, sess_hdl, dev_id, callback, cookie);"},

    {.over = Over::digest, .shard = Shard::resources,
     .name = "{p}{resource}_deregister",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id",
     .body = "return digests::deregister({handle}, sess_hdl, dev_id);"},

    {.over = Over::digest, .shard = Shard::resources,
     .name = "{p}{resource}_notify_ack",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, void *message",
     .body = "return digests::notify_ack({handle}, sess_hdl, message);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}set_learning_timeout",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t timeout",
     .body = "return digests::set_timeout(sess_hdl, dev_id, timeout);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}get_digest_entry_size",
     .result = "uint32_t",
     .arguments = "const char *digest",
     .body = "return digest_fields::entry_size(digest);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}get_digest_entry_field",
     .result = "const void *",
     .arguments = "const void *entry, const char *digest, const char *field, uint32_t *size",
     .body = "return digest_fields::field(entry, digest, field, size);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_entry_add",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t value, uint32_t mask, uint32_t *entry_hdl",
     .body = "return value_sets::add({handle}, sess_hdl, target, value, mask, entry_hdl);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_entry_modify",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl, uint32_t value, uint32_t mask",
     .body = "return value_sets::modify({handle}, sess_hdl, dev_id, entry_hdl, value, mask);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_entry_delete",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl",
     .body = "return value_sets::remove({handle}, sess_hdl, dev_id, entry_hdl);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_entry_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl, uint32_t *value, uint32_t *mask",
     .body = "return value_sets::get({handle}, sess_hdl, dev_id, entry_hdl, value, mask);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_entry_get_count",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t read_from_hw, uint32_t *count",
     .body = "return value_sets::get_count({handle}, sess_hdl, target, read_from_hw, count);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_entry_handle_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t value, uint32_t mask, uint32_t *entry_hdl",
     .body = "return value_sets::get_handle({handle}, sess_hdl, target, value, mask, entry_hdl);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_entry_get_first_entry_handle",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t *entry_hdl",
     .body = "return value_sets::get_first({handle}, sess_hdl, target, entry_hdl);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_entry_get_next_entry_handles",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t entry_hdl, uint32_t count, uint32_t "
                  "*next_entry_hdls",
     .body = "return value_sets::get_next({handle}, sess_hdl, target, entry_hdl, count, next_entry_hdls);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_set_property",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t value, uint32_t arg",
     .body = "return value_sets::set_property({handle}, sess_hdl, dev_id, property, value, arg);"},

    {.over = Over::value_set, .shard = Shard::resources,
     .name = "{p}pvs_{resource}_get_property",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t *value, uint32_t arg",
     .body = "return value_sets::get_property({handle}, sess_hdl, dev_id, property, value, arg);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_algorithm_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t algorithm",
     .body = "return hash::algorithm_set(h::{calc}, sess_hdl, dev_id, algorithm);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_algorithm_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t *algorithm",
     .body = "return hash::algorithm_get(h::{calc}, sess_hdl, dev_id, algorithm);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_seed_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint64_t seed",
     .body = "return hash::seed_set(h::{calc}, sess_hdl, dev_id, seed);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_seed_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint64_t *seed",
     .body = "return hash::seed_get(h::{calc}, sess_hdl, dev_id, seed);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_input_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t input",
     .body = "return hash::input_set(h::{calc}, sess_hdl, dev_id, input);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_input_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t *input",
     .body = "return hash::input_get(h::{calc}, sess_hdl, dev_id, input);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_input_field_attribute_set",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t input, uint32_t count, const pd_hash_attribute "
                  "*attributes",
     .body = "return hash::input_field_attribute_set(h::{calc}, sess_hdl, dev_id, input, count, attributes);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_input_field_attribute_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t input, uint32_t max_count, pd_hash_attribute "
                  "*attributes, uint32_t *count",
     .body = "return hash::input_field_attribute_get(h::{calc}, sess_hdl, dev_id, input, max_count, attributes, "
             "count);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_input_field_attribute_count_get",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t input, uint32_t *count",
     .body = "return hash::input_field_attribute_count_get(h::{calc}, sess_hdl, dev_id, input, count);"},

    {.over = Over::hash_calculation, .shard = Shard::resources,
     .name = "{p}hash_calc_{calc}_calculate_hash_value",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t count, const pd_hash_attribute *fields, const "
                  "uint32_t *widths, uint8_t *hash, uint32_t hash_len",
     .body = "return hash::calculate_hash_value(h::{calc}, sess_hdl, dev_id, count, fields, widths, hash, hash_len);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}snapshot_create",
     .result = "pd_status",
     .arguments = "pd_dev_tgt dev_tgt, uint32_t start_stage, uint32_t end_stage, uint32_t direction, uint32_t "
                  "*snapshot_hdl",
     .body = "return snapshot::create(dev_tgt, start_stage, end_stage, direction, snapshot_hdl);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}snapshot_delete",
     .result = "pd_status",
     .arguments = "uint32_t snapshot_hdl",
     .body = "return snapshot::remove(snapshot_hdl);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}snapshot_capture_trigger_set",
     .result = "pd_status",
     .arguments = "uint32_t snapshot_hdl, const pd_snapshot_record *value, const pd_snapshot_record *mask",
     .body = "return snapshot::capture_trigger_set(snapshot_hdl, value, mask);"},

    {.over = Over::program, .shard = Shard::resources,
     .name = "{p}snapshot_capture_data_get",
     .result = "pd_status",
     .arguments = "uint32_t snapshot_hdl, uint32_t pipe, pd_snapshot_record *stages, struct "
                  "bf_snapshot_capture_ctrl *capture_ctrl, uint32_t *count",
     .body = "return snapshot::capture_data_get(snapshot_hdl, pipe, stages, capture_ctrl, count);"},
};
// clang-format on

} // namespace generator
