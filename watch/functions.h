// The functions of the driver boundary that the layer watches, and what each argument means. One row makes the function
// that stands in front of the driver's, its lines in a recording, and its replay. Memory and logging of the driver
// (bf_sys_) and the library's shadow of the profiles (p4_pd_ms_) are left out: they don't reach the switch.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include <vl_driver/driver.h>

namespace pd_watch {

enum class Kind : uint8_t {
    none,
    session,
    device,
    target, // device and pipe
    table,  // any handle that is a constant of the pipeline: a match, data or selector table, a resource, a digest, ...
    handle, // made by the driver: of an entry, member or group, as the table says; or of a value set's entry
    member, // of the profile that the table belongs to
    group,
    action,
    snapshot,
    client,
    number,
    wide, // 64 bits
    match,
    data,     // an action record
    slots,    // of resources; count_at says which argument has their number
    bytes,    // that the driver reads; count_at or size says how many
    words,    // of 32 bits, that the driver reads
    by_value, // a record that travels by value in more than eight bytes
    text,
    callback,
    cookie,
    pointer, // of the driver, which only the driver reads
    // Where the driver writes; each may be null.
    out_handle,
    out_member,
    out_group,
    out_action,
    out_snapshot,
    out_client,
    out_number,
    out_byte,
    out_wide,
    out_match,
    out_data,
    out_action_data,
    out_bytes,
    out_handles, // count_at says how many fit; PIPE_HDL_END may end them
    out_members,
    out_counters, // an array of pointers to counter records
    out_queries,  // of a register
    out_pointer,
    out_unknown, // the driver alone knows how many bytes
};

struct Argument {
    Kind kind = Kind::none;
    const char* name = "";
    uint8_t count_at = 0; // the argument with the number of elements; 0 if there is one
    uint16_t size = 0;    // bytes of an element
};

constexpr size_t most_arguments = 10;

struct Function {
    const char* name;
    std::array<Argument, most_arguments> arguments;
    uint8_t count;
};

namespace rows {

constexpr Argument session{Kind::session, "session"};
constexpr Argument device{Kind::device, "device"};
constexpr Argument target{Kind::target, "target"};
constexpr Argument table{Kind::table, "table"};
constexpr Argument handle{Kind::handle, "handle"};
constexpr Argument member{Kind::member, "member"};
constexpr Argument group{Kind::group, "group"};
constexpr Argument action{Kind::action, "action"};
constexpr Argument snapshot{Kind::snapshot, "snapshot"};
constexpr Argument match{Kind::match, "match"};
constexpr Argument data{Kind::data, "data"};
constexpr Argument flags{Kind::number, "flags"};
constexpr Argument index{Kind::number, "index"};
constexpr Argument count{Kind::number, "count"};
constexpr Argument from_hw{Kind::number, "from_hw"};
constexpr Argument property{Kind::number, "property"};
constexpr Argument callback{Kind::callback, "callback"};
constexpr Argument cookie{Kind::cookie, "cookie"};
constexpr Argument pointer{Kind::pointer, "pointer"};
constexpr Argument out_handle{Kind::out_handle, "handle"};
constexpr Argument out_member{Kind::out_member, "member"};
constexpr Argument out_group{Kind::out_group, "group"};
constexpr Argument out_action{Kind::out_action, "action"};
constexpr Argument out_match{Kind::out_match, "match"};
constexpr Argument out_data{Kind::out_data, "data"};
constexpr Argument out_action_data{Kind::out_action_data, "data"};
constexpr Argument out_pointer{Kind::out_pointer, "pointer"};
constexpr Argument element{Kind::bytes, "element", 0, sizeof(pipe_stful_element)};
constexpr Argument counter{Kind::bytes, "counter", 0, sizeof(pipe_counter_record)};
constexpr Argument meter{Kind::bytes, "meter", 0, sizeof(pipe_meter_spec)};
constexpr Argument wred{Kind::bytes, "wred", 0, sizeof(pipe_wred_spec)};
constexpr Argument out_counter{Kind::out_bytes, "counter", 0, sizeof(pipe_counter_record)};
constexpr Argument out_meter{Kind::out_bytes, "meter", 0, sizeof(pipe_meter_spec)};
constexpr Argument out_wred{Kind::out_bytes, "wred", 0, sizeof(pipe_wred_spec)};

constexpr Argument number(const char* name) {
    return {Kind::number, name};
}

constexpr Argument wide(const char* name) {
    return {Kind::wide, name};
}

constexpr Argument by_value(const char* name, uint16_t size) {
    return {Kind::by_value, name, 0, size};
}

constexpr Argument bytes(const char* name, uint8_t count_at, uint16_t size = 1) {
    return {Kind::bytes, name, count_at, size};
}

constexpr Argument out_number(const char* name) {
    return {Kind::out_number, name};
}

constexpr Argument out_handles(Kind kind, uint8_t count_at) {
    return {kind, "handles", count_at};
}

constexpr Argument out_bytes(const char* name, uint8_t count_at, uint16_t size = 1) {
    return {Kind::out_bytes, name, count_at, size};
}

constexpr Argument words(const char* name, uint8_t count_at) {
    return {Kind::words, name, count_at, sizeof(uint32_t)};
}

// An argument of a kind that one function or a few have.
constexpr Argument other(Kind kind, const char* name, uint8_t count_at = 0) {
    return {kind, name, count_at};
}

} // namespace rows

// clang-format off
// row(FUNCTION, ARGUMENT...), in the order of the headers in vl_driver/.
#define PD_WATCH_FUNCTIONS(row) \
    row(pipe_mgr_mat_ent_add, session, target, table, match, action, data, number("ttl"), flags, out_handle) \
    row(pipe_mgr_mat_ent_set_action, session, device, table, handle, action, data, flags) \
    row(pipe_mgr_mat_ent_set_action_by_match_spec, session, target, table, match, action, data, flags) \
    row(pipe_mgr_mat_ent_del, session, device, table, handle, flags) \
    row(pipe_mgr_mat_ent_del_by_match_spec, session, target, table, match, flags) \
    row(pipe_mgr_match_spec_to_ent_hdl, session, target, table, match, out_handle, flags) \
    row(pipe_mgr_mat_default_entry_set, session, target, table, action, data, flags, out_handle) \
    row(pipe_mgr_mat_tbl_default_entry_reset, session, target, table, flags) \
    row(pipe_mgr_table_get_default_entry_handle, session, target, table, out_handle) \
    row(pipe_mgr_table_get_default_entry, session, target, table, out_data, out_action, from_hw, number("always_1"), \
        number("always_0")) \
    row(pipe_mgr_get_entry, session, table, target, handle, out_match, out_data, out_action, from_hw, \
        number("always_1"), number("always_0")) \
    row(pipe_mgr_get_entry_count, session, target, table, number("always_0"), out_number("count")) \
    row(pipe_mgr_get_first_entry_handle, session, table, target, out_handle) \
    row(pipe_mgr_get_next_entry_handles, session, table, target, handle, count, out_handles(Kind::out_handles, 4)) \
    row(pipe_mgr_tbl_get_property, session, device, table, property, out_number("value"), out_number("args")) \
    row(pipe_mgr_tbl_set_property, session, device, table, property, number("value"), number("args")) \
    row(pipe_register_mat_update_cb, session, device, table, callback, cookie) \
    row(pipe_mgr_adt_ent_add, session, target, table, action, number("always_0"), data, out_member, flags) \
    row(pipe_mgr_adt_ent_set, session, device, table, member, action, data, flags) \
    row(pipe_mgr_adt_ent_del, session, device, table, member, flags) \
    row(pipe_mgr_get_action_data_entry, table, target, member, out_action_data, out_action, from_hw) \
    row(pipe_mgr_sel_grp_add, session, target, table, number("always_0"), number("max_size"), number("mark"), \
        out_group, flags) \
    row(pipe_mgr_sel_grp_del, session, device, table, group, flags) \
    row(pipe_mgr_sel_grp_mbr_add, session, device, table, group, action, member, flags) \
    row(pipe_mgr_sel_grp_mbr_del, session, device, table, group, member, flags) \
    row(pipe_mgr_sel_grp_mbr_enable, session, target, table, group, member, flags) \
    row(pipe_mgr_sel_grp_mbr_disable, session, target, table, group, member, flags) \
    row(pipe_mgr_sel_grp_mbr_state_get, session, target, table, group, member, out_number("state")) \
    row(pipe_mgr_sel_fallback_mbr_set, session, target, table, member, flags) \
    row(pipe_mgr_sel_fallback_mbr_reset, session, target, table, flags) \
    row(pipe_mgr_get_sel_grp_mbr_count, session, target, table, group, out_number("count")) \
    row(pipe_mgr_sel_grp_mbrs_get, session, device, table, group, number("room"), out_handles(Kind::out_members, 4), \
        out_bytes("states", 4), out_number("count"), flags) \
    row(pipe_mgr_get_first_group_member, session, table, device, group, out_member) \
    row(pipe_mgr_get_next_group_members, session, table, device, group, member, count, \
        out_handles(Kind::out_members, 5)) \
    row(pipe_mgr_sel_grp_mbr_get_from_hash, session, target, table, group, bytes("hash", 5), number("hash_len"), \
        out_member) \
    row(pipe_mgr_get_word_llp_active_member_count, session, target, table, number("word"), out_number("count")) \
    row(pipe_mgr_get_word_llp_active_members, session, target, table, number("word"), count, \
        out_handles(Kind::out_members, 4)) \
    row(pipe_register_adt_update_cb, session, target, table, callback, cookie) \
    row(pipe_register_sel_update_cb, session, target, table, callback, cookie) \
    row(pipe_mgr_sel_tbl_register_cb, session, target, table, callback, cookie) \
    row(pipe_mgr_hitless_ha_restore_virtual_dev_state, wide("a1"), wide("a2"), wide("a3"), wide("a4"), wide("a5"), \
        callback) \
    row(pipe_mgr_mat_ent_direct_stat_query, session, device, table, handle, out_counter) \
    row(pipe_mgr_mat_ent_direct_stat_set, session, target, table, handle, counter) \
    row(pipe_mgr_direct_stat_ent_database_sync, session, device, table, handle) \
    row(pipe_mgr_direct_stat_database_sync, session, target, table, callback, cookie) \
    row(pipe_mgr_stat_ent_query, session, target, table, words("indices", 4), count, other(Kind::out_counters, \
        "counters", 4)) \
    row(pipe_mgr_stat_ent_set, session, target, table, index, counter) \
    row(pipe_mgr_stat_ent_database_sync, session, target, table, index) \
    row(pipe_mgr_stat_database_sync, session, target, table, callback, cookie) \
    row(pipe_mgr_mat_ent_set_resource, session, device, table, handle, other(Kind::slots, "slots", 5), count, flags) \
    row(pipe_mgr_meter_read_entry, session, target, table, handle, out_meter) \
    row(pipe_mgr_meter_ent_set, session, target, table, index, meter, flags) \
    row(pipe_mgr_meter_read_entry_idx, session, target, table, index, out_meter, flags) \
    row(pipe_mgr_meter_set_bytecount_adjust, session, target, table, number("adjustment")) \
    row(pipe_mgr_meter_get_bytecount_adjust, session, target, table, out_number("adjustment")) \
    row(pipe_mgr_wred_ent_set, session, target, table, index, wred, flags) \
    row(pipe_mgr_wred_read_entry_idx, session, target, table, index, out_wred, flags) \
    row(pipe_stful_query_get_sizes, session, target, table, out_number("size")) \
    row(pipe_stful_ent_query, session, target, table, index, other(Kind::out_queries, "query"), from_hw) \
    row(pipe_stful_ent_query_range, session, target, table, index, count, other(Kind::out_queries, "queries", 4), \
        out_number("cells_read"), from_hw) \
    row(pipe_stful_direct_ent_query, session, target, table, handle, other(Kind::out_queries, "query"), from_hw) \
    row(pipe_stful_ent_set, session, target, table, index, element, flags) \
    row(pipe_stful_table_reset, session, target, table, element) \
    row(pipe_stful_table_reset_range, session, target, table, index, count, element) \
    row(pipe_stful_database_sync, session, target, table, callback, cookie) \
    row(pipe_stful_direct_database_sync, session, target, table, callback, cookie) \
    row(pipe_mgr_idle_set_params, session, device, table, by_value("params", sizeof(pipe_idle_params))) \
    row(pipe_mgr_idle_get_params, session, device, table, out_bytes("params", 0, sizeof(pipe_idle_params))) \
    row(pipe_mgr_idle_tmo_set_enable, session, device, table, number("enable")) \
    row(pipe_mgr_idle_register_tmo_cb, session, device, table, callback, cookie) \
    row(pipe_mgr_mat_ent_set_idle_ttl, session, device, table, handle, number("ttl"), flags, number("always_0")) \
    row(pipe_mgr_mat_ent_get_idle_ttl, session, device, table, handle, out_number("ttl")) \
    row(pipe_mgr_mat_ent_reset_idle_ttl, session, device, table, handle) \
    row(pipe_mgr_idle_time_update_hit_state, session, device, table, callback, cookie) \
    row(pipe_mgr_idle_time_get_hit_state, session, device, table, handle, out_number("hit_state")) \
    row(pipe_mgr_lrn_digest_notification_register, session, device, table, callback, cookie) \
    row(pipe_mgr_lrn_digest_notification_deregister, session, device, table) \
    row(pipe_mgr_flow_lrn_notify_ack, session, table, pointer) \
    row(pipe_mgr_flow_lrn_set_timeout, session, device, number("timeout")) \
    row(pipe_mgr_pvs_entry_add, session, device, table, number("gress"), number("pipe"), number("parser"), \
        number("value"), number("mask"), out_handle) \
    row(pipe_mgr_pvs_entry_modify, session, device, table, handle, number("value"), number("mask")) \
    row(pipe_mgr_pvs_entry_delete, session, device, table, handle) \
    row(pipe_mgr_pvs_entry_get, session, device, table, handle, out_number("value"), out_number("mask"), \
        out_number("gress"), out_number("pipe"), other(Kind::out_byte, "parser")) \
    row(pipe_mgr_pvs_entry_get_count, session, device, table, number("gress"), number("pipe"), number("parser"), \
        from_hw, out_number("count")) \
    row(pipe_mgr_pvs_entry_handle_get, session, device, table, number("gress"), number("pipe"), number("parser"), \
        number("value"), number("mask"), out_handle) \
    row(pipe_mgr_pvs_entry_get_first, session, device, table, number("gress"), number("pipe"), number("parser"), \
        out_handle) \
    row(pipe_mgr_pvs_entry_get_next, session, device, table, number("gress"), number("pipe"), number("parser"), \
        handle, count, out_handles(Kind::out_handles, 7)) \
    row(pipe_mgr_pvs_set_property, session, device, table, property, number("value"), by_value("args", \
        sizeof(pipe_pvs_property_args))) \
    row(pipe_mgr_pvs_get_property, session, device, table, property, out_number("value"), by_value("args", \
        sizeof(pipe_pvs_property_args))) \
    row(pipe_mgr_hash_calc_algorithm_set, session, device, table, number("algorithm"), wide("always_0"), \
        wide("always_0_too")) \
    row(pipe_mgr_hash_calc_algorithm_get, session, device, table, out_number("algorithm"), wide("always_0"), \
        wide("always_0_too")) \
    row(pipe_mgr_hash_calc_seed_set, session, device, table, wide("seed")) \
    row(pipe_mgr_hash_calc_seed_get, session, device, table, other(Kind::out_wide, "seed")) \
    row(pipe_mgr_hash_calc_input_set, session, device, table, number("input")) \
    row(pipe_mgr_hash_calc_input_get, session, device, table, out_number("input")) \
    row(pipe_mgr_hash_calc_input_field_attribute_set, session, device, table, number("input"), count, \
        bytes("attributes", 4, sizeof(pipe_hash_attribute))) \
    row(pipe_mgr_hash_calc_input_field_attribute_get, session, device, table, number("input"), number("room"), \
        out_bytes("attributes", 4, sizeof(pipe_hash_attribute)), out_number("count")) \
    row(pipe_mgr_hash_calc_input_field_attribute_count_get, session, device, table, number("input"), \
        out_number("count")) \
    row(pipe_mgr_hash_calc_calculate_hash_value, session, device, table, bytes("stream", 4), number("stream_len"), \
        out_bytes("hash", 6), number("hash_len")) \
    row(bf_snapshot_create, device, number("pipe"), number("start_stage"), number("end_stage"), number("direction"), \
        other(Kind::out_snapshot, "snapshot")) \
    row(bf_snapshot_delete, snapshot) \
    row(bf_snapshot_capture_trigger_set, snapshot, bytes("value", 0, BF_SNAPSHOT_RECORD_SIZE), bytes("mask", 0, \
        BF_SNAPSHOT_RECORD_SIZE)) \
    row(bf_snapshot_capture_phv_fields_dict_size, snapshot, out_number("total_size"), out_number("stage_size")) \
    row(bf_snapshot_capture_get, snapshot, number("pipe"), other(Kind::out_unknown, "capture"), \
        other(Kind::out_unknown, "control"), out_number("count")) \
    row(pipe_mgr_plcmt_mat_data_get_entry, pointer, out_match, out_data, out_action) \
    row(pipe_mgr_plcmt_adt_data_get_entry, pointer, out_action_data, out_action) \
    row(bf_drv_register, other(Kind::text, "name"), other(Kind::out_client, "client")) \
    row(bf_drv_client_register_callbacks, other(Kind::client, "client"), callback, number("priority")) \
    row(bf_drv_deregister, other(Kind::client, "client"))

// The library hands on whatever arguments its caller gave, because the driver defines them. The embedded driver takes
// these.
#define PD_WATCH_PLACEMENT(row) \
    row(pipe_mgr_plcmt_mat_data_get, session, target, table, handle, out_pointer) \
    row(pipe_mgr_plcmt_adt_data_get, session, target, table, member, out_pointer) \
    row(pipe_mgr_plcmt_sel_data_get, session, target, table, group, out_pointer)
// clang-format on

template <class... Arguments>
constexpr Function function(const char* name, Arguments... arguments) {
    return {name, {arguments...}, sizeof...(Arguments)};
}

namespace rows {

#define PD_WATCH_ROW(name, ...) function(#name, __VA_ARGS__),
inline constexpr Function functions[] = {PD_WATCH_FUNCTIONS(PD_WATCH_ROW) PD_WATCH_PLACEMENT(PD_WATCH_ROW)};
#undef PD_WATCH_ROW

} // namespace rows

using rows::functions;

// The row of a function, or null.
constexpr const Function* function_named(std::string_view name) {
    for (const Function& each : functions)
        if (name == each.name) return &each;
    return nullptr;
}

} // namespace pd_watch
