// The records of input fields in their two forms, and the stream that the driver hashes.
#include "pd/services/hash.h"

#include "pd/driver_array.h"
#include "pd/services/bitstream.h"
#include "vl_driver/hash.h"

namespace vl_pd::hash {

namespace {

static_assert(sizeof(pd_hash_attribute) == 16);

constexpr uint32_t the_one = 0; // the enumeration value of a calculation's one input and one algorithm

uint32_t input_handle(const Row& calc, uint32_t input) {
    return input == the_one ? calc.input : 0;
}

// The input that the driver has now; 0 if it doesn't say.
uint32_t current_input(const Row& calc, pd_session sess_hdl, pd_device dev_id) {
    pipe_hash_input_hdl input = 0;
    pipe_mgr_hash_calc_input_get(sess_hdl, dev_id, calc.handle, &input);
    return input;
}

// Whether the driver has the calculation's input, but the caller names another one.
bool names_another(const Row& calc, uint32_t current, uint32_t input) {
    return current == calc.input && input != the_one;
}

} // namespace

pd_status algorithm_set(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t algorithm) noexcept {
    return pipe_mgr_hash_calc_algorithm_set(sess_hdl, dev_id, calc.handle, algorithm == the_one ? calc.algorithm : 0, 0,
                                            0);
}

pd_status algorithm_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t* algorithm) noexcept {
    pipe_hash_algo_hdl current = 0;
    const pd_status status = pipe_mgr_hash_calc_algorithm_get(sess_hdl, dev_id, calc.handle, &current, 0, 0);
    if (current != calc.algorithm) return PD_STATUS_INVALID;
    *algorithm = the_one;
    return status;
}

pd_status input_set(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t input) noexcept {
    return pipe_mgr_hash_calc_input_set(sess_hdl, dev_id, calc.handle, input_handle(calc, input));
}

pd_status input_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t* input) noexcept {
    pipe_hash_input_hdl current = 0;
    const pd_status status = pipe_mgr_hash_calc_input_get(sess_hdl, dev_id, calc.handle, &current);
    if (current != calc.input) return PD_STATUS_INVALID;
    *input = the_one;
    return status;
}

pd_status seed_set(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint64_t seed) noexcept {
    return pipe_mgr_hash_calc_seed_set(sess_hdl, dev_id, calc.handle, seed);
}

pd_status seed_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint64_t* seed) noexcept {
    return pipe_mgr_hash_calc_seed_get(sess_hdl, dev_id, calc.handle, seed);
}

pd_status input_field_attribute_set(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t input,
                                    uint32_t count, const pd_hash_attribute* attributes) noexcept {
    const uint32_t handle = input_handle(calc, input);
    if (count == 0)
        return pipe_mgr_hash_calc_input_field_attribute_set(sess_hdl, dev_id, calc.handle, handle, 0, nullptr);
    const DriverArray<pipe_hash_attribute> records(count);
    if (records.get() == nullptr) return PD_STATUS_NO_MEMORY;
    for (uint32_t i = 0; i < count; ++i) {
        records[i].input_field = attributes[i].input_field;
        records[i].input_field_plus_1 = attributes[i].input_field + 1;
        records[i].attr_type = attributes[i].attr_type;
        records[i].attr_value = attributes[i].attr_value;
    }
    return pipe_mgr_hash_calc_input_field_attribute_set(sess_hdl, dev_id, calc.handle, handle, count, records.get());
}

pd_status input_field_attribute_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t input,
                                    uint32_t max_count, pd_hash_attribute* attributes, uint32_t* count) noexcept {
    *count = 0;
    const uint32_t current = current_input(calc, sess_hdl, dev_id);
    if (names_another(calc, current, input)) return PD_STATUS_INVALID;
    if (max_count == 0) return PD_STATUS_OK;
    const DriverArray<pipe_hash_attribute> records(max_count);
    if (records.get() == nullptr) return PD_STATUS_NO_MEMORY;
    const pd_status status = pipe_mgr_hash_calc_input_field_attribute_get(sess_hdl, dev_id, calc.handle, current,
                                                                          max_count, records.get(), count);
    if (status != PD_STATUS_OK) return status;
    for (uint32_t i = 0; i < *count; ++i) {
        attributes[i].input_field = records[i].input_field;
        attributes[i].attr_type = records[i].attr_type;
        attributes[i].attr_value = records[i].attr_value;
    }
    return status;
}

pd_status input_field_attribute_count_get(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t input,
                                          uint32_t* count) noexcept {
    const uint32_t current = current_input(calc, sess_hdl, dev_id);
    if (names_another(calc, current, input)) return PD_STATUS_INVALID;
    *count = 0;
    return pipe_mgr_hash_calc_input_field_attribute_count_get(sess_hdl, dev_id, calc.handle, current, count);
}

pd_status calculate_hash_value(const Row& calc, pd_session sess_hdl, pd_device dev_id, uint32_t count,
                               const pd_hash_attribute* fields, const uint32_t* widths, uint8_t* hash,
                               uint32_t hash_len) noexcept {
    constexpr uint32_t widest_integer = 32;
    uint32_t bits = 0;
    for (uint32_t i = 0; i < count; ++i)
        bits += widths[i];
    const uint32_t length = (bits + 7) / 8;
    const DriverArray<uint8_t> packed(length);
    if (packed.get() == nullptr && length != 0) return PD_STATUS_NO_MEMORY;

    Bitstream stream(packed.get(), length);
    for (uint32_t i = count; i-- > 0;) {
        const uint32_t width = widths[i];
        if (width <= widest_integer) [[likely]]
            stream.prepend_integer(fields[i].attr_value, width);
        else
            stream.prepend_to_bytestream(fields[i].attr_bytes, width);
    }
    stream.finish();
    return pipe_mgr_hash_calc_calculate_hash_value(sess_hdl, dev_id, calc.handle, packed.get(), length, hash, hash_len);
}

} // namespace vl_pd::hash
