// Hash calculations: algorithm, seed and inputs, and the prediction of a hash. A calculation has one input and one
// algorithm. Callers name both by the enumeration value 0.
#pragma once

#include <cstdint>

#include "catalog/row_types.h"
#include "vl_pd/types.h"

namespace vl_pd::hash {

using Row = catalog::HashCalculation;

// Any other value goes to the driver as handle 0, which the driver refuses.
pd_status algorithm_set(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t algorithm) noexcept;
pd_status input_set(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t input) noexcept;

// PD_STATUS_INVALID, with nothing written, if the driver refuses or answers with another calculation's handle.
pd_status algorithm_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t* algorithm) noexcept;
pd_status input_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t* input) noexcept;

pd_status seed_set(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint64_t seed) noexcept;
pd_status seed_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint64_t* seed) noexcept;

// A count of 0 clears the attributes.
pd_status input_field_attribute_set(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t input,
                                    uint32_t count, const pd_hash_attribute* attributes) noexcept;
// input_field_attribute_get sets *count to 0 first. input_field_attribute_count_get does so after it has checked the
// input.
pd_status input_field_attribute_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t input,
                                    uint32_t max_count, pd_hash_attribute* attributes, uint32_t* count) noexcept;
pd_status input_field_attribute_count_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t input,
                                          uint32_t* count) noexcept;

// Hashes the values of `count` fields, packed into one bit stream with the first at the top. widths[i] is in bits.
pd_status calculate_hash_value(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t count,
                               const pd_hash_attribute* fields, const uint32_t* widths, uint8_t* hash,
                               uint32_t hash_len) noexcept;

} // namespace vl_pd::hash
