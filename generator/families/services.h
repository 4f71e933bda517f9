// Learning digests, parser value sets, hash calculations and snapshots.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family digests_families[] = {
    {.over = Over::digest, .name = "{p}{resource}_register",
     .doc = "Registers a callback for {resource}, of the type pipe_digest_cb. The message holds "
            "entries of the type {p}{resource}_entry_t. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback, void *cookie",
     .call = "digests::register_callback({handle}, {args})"},
    {.over = Over::digest, .name = "{p}{resource}_deregister",
     .doc = "Ends the registration for {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id",
     .call = "digests::deregister({handle}, {args})"},
    {.over = Over::digest, .name = "{p}{resource}_notify_ack",
     .doc = "Returns a message of {resource} to the driver, after handling it. {status}",
     .arguments = "pd_session sess_hdl, void *message",
     .call = "digests::notify_ack({handle}, {args})"},
    {.over = Over::program, .name = "{p}set_learning_timeout",
     .doc = "Sets how long the device may hold digests back: one time for all digests. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t timeout",
     .call = "digests::set_timeout({args})"},
};

inline constexpr Family digest_fields_families[] = {
    {.over = Over::program, .name = "{p}get_digest_entry_size",
     .doc = "Returns the bytes of an entry of the digest with this name; 0 for an unknown name.",
     .result = "uint32_t",
     .arguments = "const char *digest",
     .call = "digest_fields::entry_size({args})"},
    {.over = Over::program, .name = "{p}get_digest_entry_field",
     .doc = "Returns the address of a field in an entry of a digest and writes its bytes to *size; null and 0 for an "
            "unknown name.",
     .result = "const void *",
     .arguments = "const void *entry, const char *digest, const char *field, uint32_t *size",
     .call = "digest_fields::field({args})"},
};

inline constexpr Family value_sets_families[] = {
    {.over = Over::value_set, .name = "{p}pvs_{resource}_entry_add",
     .doc = "Adds a value with its mask to {resource} and writes *entry_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t value, uint32_t mask, uint32_t *entry_hdl",
     .call = "value_sets::add({handle}, {args})"},
    {.over = Over::value_set, .name = "{p}pvs_{resource}_entry_modify",
     .doc = "Changes an entry of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl, uint32_t value, uint32_t mask",
     .call = "value_sets::modify({handle}, {args})"},
    {.over = Over::value_set, .name = "{p}pvs_{resource}_entry_delete",
     .doc = "Deletes an entry of {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl",
     .call = "value_sets::remove({handle}, {args})"},
    {.over = Over::value_set, .name = "{p}pvs_{resource}_entry_get",
     .doc = "Reads an entry of {resource} to *value and *mask. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl, uint32_t *value, uint32_t *mask",
     .call = "value_sets::get({handle}, {args})"},
    {.over = Over::value_set, .name = "{p}pvs_{resource}_entry_get_count",
     .doc = "Writes the number of entries of {resource} to *count. {status}",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t read_from_hw, uint32_t *count",
     .call = "value_sets::get_count({handle}, {args})"},
    {.over = Over::value_set, .name = "{p}pvs_{resource}_entry_handle_get",
     .doc = "Finds the entry of {resource} with this value and mask and writes *entry_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t value, uint32_t mask, uint32_t *entry_hdl",
     .call = "value_sets::get_handle({handle}, {args})"},
    {.over = Over::value_set, .name = "{p}pvs_{resource}_entry_get_first_entry_handle",
     .doc = "Writes the handle of the first entry of {resource} to *entry_hdl. {status}",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t *entry_hdl",
     .call = "value_sets::get_first({handle}, {args})"},
    {.over = Over::value_set, .name = "{p}pvs_{resource}_entry_get_next_entry_handles",
     .doc = "Writes the handles of up to `count` entries after entry_hdl in {resource}. {status}",
     .arguments = "pd_session sess_hdl, pd_pvs_target target, uint32_t entry_hdl, uint32_t count, "
                  "uint32_t *next_entry_hdls",
     .call = "value_sets::get_next({handle}, {args})"},
    {.over = Over::value_set, .name = "{p}pvs_{resource}_set_property",
     .doc = "Sets a property of {resource}. The driver defines properties. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t value, uint32_t arg",
     .call = "value_sets::set_property({handle}, {args})"},
    {.over = Over::value_set, .name = "{p}pvs_{resource}_get_property",
     .doc = "Reads a property of {resource} to *value; 0xFFFFFFFF after a failure. The driver defines properties. "
            "{status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t *value, uint32_t arg",
     .call = "value_sets::get_property({handle}, {args})"},
};

inline constexpr Family hash_families[] = {
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_algorithm_set",
     .doc = "Sets the algorithm of {calc}. Its only algorithm is 0. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t algorithm",
     .call = "hash::algorithm_set(h::{calc}, {args})"},
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_algorithm_get",
     .doc = "Writes the algorithm of {calc}, which is 0. Returns 0, or PD_STATUS_INVALID if the driver reports another "
            "one or fails; then nothing is written.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t *algorithm",
     .call = "hash::algorithm_get(h::{calc}, {args})"},
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_seed_set",
     .doc = "Sets the seed of {calc}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint64_t seed",
     .call = "hash::seed_set(h::{calc}, {args})"},
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_seed_get",
     .doc = "Reads the seed of {calc}. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint64_t *seed",
     .call = "hash::seed_get(h::{calc}, {args})"},
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_input_set",
     .doc = "Sets the input of {calc}. Its only input is 0. {status}",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t input",
     .call = "hash::input_set(h::{calc}, {args})"},
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_input_get",
     .doc = "Writes the input of {calc}, which is 0. Returns 0, or PD_STATUS_INVALID if the driver reports another "
            "one or fails; then nothing is written.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t *input",
     .call = "hash::input_get(h::{calc}, {args})"},
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_input_field_attribute_set",
     .doc = "Sets `count` attributes of the input fields of {calc}. {status} PD_STATUS_NO_MEMORY: no memory.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t input, uint32_t count, "
                  "const pd_hash_attribute *attributes",
     .call = "hash::input_field_attribute_set(h::{calc}, {args})"},
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_input_field_attribute_get",
     .doc = "Reads up to max_count attributes of the input fields of {calc} and writes *count. {status} "
            "PD_STATUS_INVALID: input isn't 0, though the driver has input 0; *count is 0. PD_STATUS_NO_MEMORY: "
            "*count is 0.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t input, uint32_t max_count, "
                  "pd_hash_attribute *attributes, uint32_t *count",
     .call = "hash::input_field_attribute_get(h::{calc}, {args})"},
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_input_field_attribute_count_get",
     .doc = "Writes the number of attributes of the input fields of {calc} to *count. {status} PD_STATUS_INVALID: "
            "input isn't 0, though the driver has input 0; nothing is written.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t input, uint32_t *count",
     .call = "hash::input_field_attribute_count_get(h::{calc}, {args})"},
    {.over = Over::hash_calculation, .name = "{p}hash_calc_{calc}_calculate_hash_value",
     .doc = "Predicts the hash of {calc} for a packet with these `count` fields of the given widths, and writes "
            "hash_len bytes. {status} PD_STATUS_NO_MEMORY: no memory.",
     .arguments = "pd_session sess_hdl, pd_device dev_id, uint32_t count, const pd_hash_attribute *fields, "
                  "const uint32_t *widths, uint8_t *hash, uint32_t hash_len",
     .call = "hash::calculate_hash_value(h::{calc}, {args})"},
};

inline constexpr Family snapshot_families[] = {
    {.over = Over::program, .name = "{p}snapshot_create",
     .doc = "Creates a snapshot of some stages and writes *snapshot_hdl. {status}",
     .arguments = "pd_dev_tgt dev_tgt, uint32_t start_stage, uint32_t end_stage, uint32_t direction, "
                  "uint32_t *snapshot_hdl",
     .call = "snapshot::create({args})"},
    {.over = Over::program, .name = "{p}snapshot_delete",
     .doc = "Deletes a snapshot. {status}",
     .arguments = "uint32_t snapshot_hdl",
     .call = "snapshot::remove({args})"},
    {.over = Over::program, .name = "{p}snapshot_capture_trigger_set",
     .doc = "Sets the packet fields that trigger a snapshot, as value and mask. {status}",
     .arguments = "uint32_t snapshot_hdl, const pd_snapshot_record *value, const pd_snapshot_record *mask",
     .call = "snapshot::capture_trigger_set({args})"},
    {.over = Over::program, .name = "{p}snapshot_capture_data_get",
     .doc = "Reads a capture: a record for each stage, up to PD_SNAPSHOT_MAX_STAGES, the driver's *capture_ctrl and "
            "*count. {status} PD_STATUS_NO_MEMORY: *count is 0.",
     .arguments = "uint32_t snapshot_hdl, uint32_t pipe, pd_snapshot_record *stages, "
                  "struct bf_snapshot_capture_ctrl *capture_ctrl, uint32_t *count",
     .call = "snapshot::capture_data_get({args})"},
};

inline constexpr Area services_areas[] = {
    {"pd/services/digests.h", digests_families},
    {"pd_velmar/digest_fields.h", digest_fields_families},
    {"pd/services/value_sets.h", value_sets_families},
    {"pd/services/hash.h", hash_families},
    {"pd/services/snapshot.h", snapshot_families},
};
// clang-format on

} // namespace generator
