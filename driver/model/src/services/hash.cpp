// Hash calculations at the boundary. The CRCs are liblzma's.
#include <algorithm>
#include <array>

#include <lzma.h>

#include <vl_driver/hash.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

template <class Body>
pipe_status with_calc(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl, Body&& body) {
    return with_device(sess_hdl, dev_id,
                       [&](Device& device) { return on_resource(device.hash_calculations, hash_hdl, body); });
}

// Runs `body` if the calculation has this input.
template <class Body>
pipe_status with_input(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                       pipe_hash_input_hdl input_hdl, Body&& body) {
    return with_calc(sess_hdl, dev_id, hash_hdl, [&](HashCalculation& calc) -> pipe_status {
        return input_hdl != calc.description.input ? pipe_status{VL_MODEL_NOT_FOUND} : body(calc);
    });
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
    switch (calc.algorithm & 0xFF) {
    case VL_MODEL_HASH_IDENTITY:
        put_identity(stream, stream_len, calc.seed, hash, hash_len);
        break;
    case VL_MODEL_HASH_CRC64: {
        const auto crc = big_endian(lzma_crc64(stream, stream_len, calc.seed));
        put_number(crc.data(), crc.size(), hash, hash_len);
        break;
    }
    default: {
        const auto crc = big_endian(lzma_crc32(stream, stream_len, static_cast<uint32_t>(calc.seed)));
        put_number(crc.data(), crc.size(), hash, hash_len);
        break;
    }
    }
}

} // namespace

pipe_status pipe_mgr_hash_calc_algorithm_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                             pipe_hash_algo_hdl algo_hdl, uint64_t always_0, uint64_t always_0_too) {
    const auto set = [&](Device& device) -> pipe_status {
        const auto calc = device.hash_calculations.find(hash_hdl);
        if (calc == device.hash_calculations.end()) return VL_MODEL_UNKNOWN_RESOURCE;
        const bool is_known =
            std::any_of(device.hash_calculations.begin(), device.hash_calculations.end(),
                        [&](const auto& other) { return other.second.description.algorithm == algo_hdl; });
        if (!is_known) return VL_MODEL_NOT_FOUND;
        calc->second.algorithm = algo_hdl;
        return VL_MODEL_OK;
    };
    const auto body = [&] { return with_device(sess_hdl, dev_id, set); };
    return boundary("pipe_mgr_hash_calc_algorithm_set", body, sess_hdl, dev_id, hash_hdl, algo_hdl, always_0,
                    always_0_too);
}

pipe_status pipe_mgr_hash_calc_algorithm_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                             pipe_hash_algo_hdl* algo_hdl, uint64_t always_0, uint64_t always_0_too) {
    const auto body = [&]() -> pipe_status {
        if (algo_hdl == nullptr) return VL_MODEL_INVALID;
        return with_calc(sess_hdl, dev_id, hash_hdl, [&](const HashCalculation& calc) -> pipe_status {
            *algo_hdl = calc.algorithm;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_hash_calc_algorithm_get", body, sess_hdl, dev_id, hash_hdl, algo_hdl, always_0,
                    always_0_too);
}

pipe_status pipe_mgr_hash_calc_seed_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                        uint64_t seed) {
    const auto body = [&]() -> pipe_status {
        return with_calc(sess_hdl, dev_id, hash_hdl, [&](HashCalculation& calc) -> pipe_status {
            calc.seed = seed;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_hash_calc_seed_set", body, sess_hdl, dev_id, hash_hdl, seed);
}

pipe_status pipe_mgr_hash_calc_seed_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                        uint64_t* seed) {
    const auto body = [&]() -> pipe_status {
        if (seed == nullptr) return VL_MODEL_INVALID;
        return with_calc(sess_hdl, dev_id, hash_hdl, [&](const HashCalculation& calc) -> pipe_status {
            *seed = calc.seed;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_hash_calc_seed_get", body, sess_hdl, dev_id, hash_hdl, seed);
}

pipe_status pipe_mgr_hash_calc_input_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                         pipe_hash_input_hdl input_hdl) {
    const auto body = [&] {
        return with_input(sess_hdl, dev_id, hash_hdl, input_hdl,
                          [](const HashCalculation&) -> pipe_status { return VL_MODEL_OK; });
    };
    return boundary("pipe_mgr_hash_calc_input_set", body, sess_hdl, dev_id, hash_hdl, input_hdl);
}

pipe_status pipe_mgr_hash_calc_input_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                         pipe_hash_input_hdl* input_hdl) {
    const auto body = [&]() -> pipe_status {
        if (input_hdl == nullptr) return VL_MODEL_INVALID;
        return with_calc(sess_hdl, dev_id, hash_hdl, [&](const HashCalculation& calc) -> pipe_status {
            *input_hdl = calc.description.input;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_hash_calc_input_get", body, sess_hdl, dev_id, hash_hdl, input_hdl);
}

pipe_status pipe_mgr_hash_calc_input_field_attribute_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id,
                                                         pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl,
                                                         uint32_t count, const pipe_hash_attribute* attributes) {
    const auto body = [&]() -> pipe_status {
        if (count != 0 && attributes == nullptr) return VL_MODEL_INVALID;
        return with_input(sess_hdl, dev_id, hash_hdl, input_hdl, [&](HashCalculation& calc) -> pipe_status {
            calc.attributes.assign(attributes, attributes + count);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_hash_calc_input_field_attribute_set", body, sess_hdl, dev_id, hash_hdl, input_hdl, count,
                    input(attributes, count));
}

pipe_status pipe_mgr_hash_calc_input_field_attribute_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id,
                                                         pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl,
                                                         uint32_t room, pipe_hash_attribute* attributes,
                                                         uint32_t* count) {
    const auto body = [&]() -> pipe_status {
        if ((room != 0 && attributes == nullptr) || count == nullptr) return VL_MODEL_INVALID;
        return with_input(sess_hdl, dev_id, hash_hdl, input_hdl, [&](const HashCalculation& calc) -> pipe_status {
            const size_t written = std::min<size_t>(room, calc.attributes.size());
            std::copy_n(calc.attributes.begin(), written, attributes);
            *count = static_cast<uint32_t>(written);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_hash_calc_input_field_attribute_get", body, sess_hdl, dev_id, hash_hdl, input_hdl, room,
                    attributes, count);
}

pipe_status pipe_mgr_hash_calc_input_field_attribute_count_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id,
                                                               pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl,
                                                               uint32_t* count) {
    const auto body = [&]() -> pipe_status {
        if (count == nullptr) return VL_MODEL_INVALID;
        return with_input(sess_hdl, dev_id, hash_hdl, input_hdl, [&](const HashCalculation& calc) -> pipe_status {
            *count = static_cast<uint32_t>(calc.attributes.size());
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_hash_calc_input_field_attribute_count_get", body, sess_hdl, dev_id, hash_hdl, input_hdl,
                    count);
}

pipe_status pipe_mgr_hash_calc_calculate_hash_value(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                                    const uint8_t* stream, uint32_t stream_len, uint8_t* hash,
                                                    uint32_t hash_len) {
    const auto body = [&]() -> pipe_status {
        if ((stream == nullptr && stream_len != 0) || hash == nullptr || hash_len == 0) return VL_MODEL_INVALID;
        return with_calc(sess_hdl, dev_id, hash_hdl, [&](const HashCalculation& calc) -> pipe_status {
            put_hash(calc, stream, stream_len, hash, hash_len);
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_hash_calc_calculate_hash_value", body, sess_hdl, dev_id, hash_hdl,
                    ArrayArgument<uint8_t>{stream, stream_len}, stream_len, hash, hash_len);
}
