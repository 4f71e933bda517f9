// Learning digests, parser value sets, hash calculations and snapshots.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family services_families[] = {
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

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}set_learning_timeout",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t timeout",
     .body = "return digests::set_timeout(sess_hdl, dev_id, timeout);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}get_digest_entry_size",
     .result = "uint32_t",
     .arguments = "const char *digest",
     .body = "return digest_fields::entry_size(digest);"},

    {.over = Over::program, .shard = Shard::program,
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

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}snapshot_create",
     .result = "pd_status",
     .arguments = "pd_dev_tgt dev_tgt, uint32_t start_stage, uint32_t end_stage, uint32_t direction, uint32_t "
                  "*snapshot_hdl",
     .body = "return snapshot::create(dev_tgt, start_stage, end_stage, direction, snapshot_hdl);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}snapshot_delete",
     .result = "pd_status",
     .arguments = "uint32_t snapshot_hdl",
     .body = "return snapshot::remove(snapshot_hdl);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}snapshot_capture_trigger_set",
     .result = "pd_status",
     .arguments = "uint32_t snapshot_hdl, const pd_snapshot_record *value, const pd_snapshot_record *mask",
     .body = "return snapshot::capture_trigger_set(snapshot_hdl, value, mask);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}snapshot_capture_data_get",
     .result = "pd_status",
     .arguments = "uint32_t snapshot_hdl, uint32_t pipe, pd_snapshot_record *stages, struct "
                  "bf_snapshot_capture_ctrl *capture_ctrl, uint32_t *count",
     .body = "return snapshot::capture_data_get(snapshot_hdl, pipe, stages, capture_ctrl, count);"},
};
// clang-format on

} // namespace generator
