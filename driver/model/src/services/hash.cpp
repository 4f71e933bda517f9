// Hash calculations at the boundary. The CRCs are liblzma's.
#include <algorithm>
#include <array>

#include <lzma.h>

#include <vl_driver/hash.h>

#include "core/model.h"

using namespace vl_model;

namespace {

// Refuses an input that isn't the calculation's.
HashCalculation& calc_of(Device& device, pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl) {
    HashCalculation& calc = resource_in(device.hash_calculations, hash_hdl);
    refuse_if(input_hdl != calc.description.input, VL_MODEL_NOT_FOUND);
    return calc;
}

// Puts a number into the last bytes of `hash`, or as many of its low bytes as there is room for.
void put_number(const uint8_t* number, size_t number_len, uint8_t* hash, size_t hash_len) {
    const size_t len = std::min(number_len, hash_len);
    std::fill_n(hash, hash_len - len, uint8_t{0});
    std::copy_n(number + number_len - len, len, hash + hash_len - len);
}

std::array<uint8_t, 8> big_endian(uint64_t value) {
    std::array<uint8_t, 8> bytes{};
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, value >>= 8)
        *byte = static_cast<uint8_t>(value);
    return bytes;
}

void put_identity(const uint8_t* stream, size_t stream_len, uint64_t seed, uint8_t* hash, size_t hash_len) {
    put_number(stream, stream_len, hash, hash_len);
    for (size_t i = hash_len; i != 0 && seed != 0; --i, seed >>= 8)
        hash[i - 1] = static_cast<uint8_t>(hash[i - 1] ^ seed);
}

void put_hash(const HashCalculation& calc, const uint8_t* stream, size_t stream_len, uint8_t* hash, size_t hash_len) {
    const uint32_t algorithm = calc.algorithm & 0xFF;
    if (algorithm == VL_MODEL_HASH_IDENTITY) return put_identity(stream, stream_len, calc.seed, hash, hash_len);
    const auto crc =
        big_endian(algorithm == VL_MODEL_HASH_CRC64 ? lzma_crc64(stream, stream_len, calc.seed)
                                                    : lzma_crc32(stream, stream_len, static_cast<uint32_t>(calc.seed)));
    put_number(crc.data(), crc.size(), hash, hash_len);
}

} // namespace

pipe_status pipe_mgr_hash_calc_algorithm_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                             pipe_hash_algo_hdl algo_hdl, uint64_t always_0, uint64_t always_0_too) {
    return Boundary(__func__, sess_hdl, dev_id, hash_hdl, algo_hdl, always_0, always_0_too)([&] {
        const auto device = lock_device(sess_hdl, dev_id);
        const auto& calcs = device->hash_calculations;
        HashCalculation& calc = resource_in(device->hash_calculations, hash_hdl);
        const bool is_known = std::any_of(calcs.begin(), calcs.end(), [&](const auto& other) {
            return other.second.description.algorithm == algo_hdl;
        });
        refuse_if(!is_known, VL_MODEL_NOT_FOUND);
        calc.algorithm = algo_hdl;
    });
}

pipe_status pipe_mgr_hash_calc_algorithm_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                             pipe_hash_algo_hdl* algo_hdl, uint64_t always_0, uint64_t always_0_too) {
    return device_call(__func__, sess_hdl, dev_id, hash_hdl, algo_hdl, always_0, always_0_too)(
        [&](Device& device) { *algo_hdl = resource_in(device.hash_calculations, hash_hdl).algorithm; });
}

pipe_status pipe_mgr_hash_calc_seed_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                        uint64_t seed) {
    return device_call(__func__, sess_hdl, dev_id, hash_hdl,
                       seed)([&](Device& device) { resource_in(device.hash_calculations, hash_hdl).seed = seed; });
}

pipe_status pipe_mgr_hash_calc_seed_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                        uint64_t* seed) {
    return device_call(__func__, sess_hdl, dev_id, hash_hdl,
                       seed)([&](Device& device) { *seed = resource_in(device.hash_calculations, hash_hdl).seed; });
}

pipe_status pipe_mgr_hash_calc_input_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                         pipe_hash_input_hdl input_hdl) {
    return device_call(__func__, sess_hdl, dev_id, hash_hdl,
                       input_hdl)([&](Device& device) { calc_of(device, hash_hdl, input_hdl); });
}

pipe_status pipe_mgr_hash_calc_input_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                         pipe_hash_input_hdl* input_hdl) {
    return device_call(__func__, sess_hdl, dev_id, hash_hdl, input_hdl)(
        [&](Device& device) { *input_hdl = resource_in(device.hash_calculations, hash_hdl).description.input; });
}

pipe_status pipe_mgr_hash_calc_input_field_attribute_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id,
                                                         pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl,
                                                         uint32_t count, const pipe_hash_attribute* attributes) {
    return device_call(__func__, sess_hdl, dev_id, hash_hdl, input_hdl, count,
                       input(attributes, count))([&](Device& device) {
        calc_of(device, hash_hdl, input_hdl).attributes.assign(attributes, attributes + count);
    });
}

pipe_status pipe_mgr_hash_calc_input_field_attribute_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id,
                                                         pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl,
                                                         uint32_t room_for, pipe_hash_attribute* attributes,
                                                         uint32_t* count) {
    return device_call(__func__, sess_hdl, dev_id, hash_hdl, input_hdl, room_for, room(attributes, room_for),
                       count)([&](Device& device) {
        const auto& known = calc_of(device, hash_hdl, input_hdl).attributes;
        *count = static_cast<uint32_t>(std::min<size_t>(room_for, known.size()));
        std::copy_n(known.begin(), *count, attributes);
    });
}

pipe_status pipe_mgr_hash_calc_input_field_attribute_count_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id,
                                                               pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl,
                                                               uint32_t* count) {
    return device_call(__func__, sess_hdl, dev_id, hash_hdl, input_hdl, count)([&](Device& device) {
        *count = static_cast<uint32_t>(calc_of(device, hash_hdl, input_hdl).attributes.size());
    });
}

pipe_status pipe_mgr_hash_calc_calculate_hash_value(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                                    const uint8_t* stream, uint32_t stream_len, uint8_t* hash,
                                                    uint32_t hash_len) {
    return Boundary(__func__, sess_hdl, dev_id, hash_hdl, list(stream, stream_len), stream_len, hash, hash_len)([&] {
        refuse_if(hash_len == 0, VL_MODEL_INVALID);
        const auto device = lock_device(sess_hdl, dev_id);
        put_hash(resource_in(device->hash_calculations, hash_hdl), stream, stream_len, hash, hash_len);
    });
}
