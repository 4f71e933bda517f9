// Loads and stores of the code written by hand: big-endian integers and blocks of 16 bytes.
#pragma once

#include <cstdint>
#include <cstring>

namespace by_hand {

using Byte = uint8_t;

inline void put16(Byte* to, uint16_t value) {
    value = __builtin_bswap16(value);
    std::memcpy(to, &value, 2);
}

inline void put24(Byte* to, uint32_t value) {
    put16(to, static_cast<uint16_t>(value >> 8));
    to[2] = static_cast<Byte>(value);
}

inline void put32(Byte* to, uint32_t value) {
    value = __builtin_bswap32(value);
    std::memcpy(to, &value, 4);
}

inline void put64(Byte* to, uint64_t value) {
    value = __builtin_bswap64(value);
    std::memcpy(to, &value, 8);
}

inline uint16_t get16(const Byte* from) {
    uint16_t value;
    std::memcpy(&value, from, 2);
    return __builtin_bswap16(value);
}

inline uint32_t get24(const Byte* from) {
    return static_cast<uint32_t>(get16(from)) << 8 | from[2];
}

inline uint32_t get32(const Byte* from) {
    uint32_t value;
    std::memcpy(&value, from, 4);
    return __builtin_bswap32(value);
}

inline uint64_t get64(const Byte* from) {
    uint64_t value;
    std::memcpy(&value, from, 8);
    return __builtin_bswap64(value);
}

using Block = Byte __attribute__((vector_size(16)));

inline Block load_block(const Byte* from) {
    Block block;
    std::memcpy(&block, from, sizeof block);
    return block;
}

inline void store_block(Byte* to, Block block) {
    std::memcpy(to, &block, sizeof block);
}

// A field of a masked table at its place in key and mask. The mask is cut to the field's own bits, the key is not.
inline void put_masked8(Byte* key, Byte* mask, unsigned at, Byte value, Byte value_mask, Byte bits) {
    key[at] = value & value_mask;
    mask[at] = value_mask & bits;
}

inline void put_masked16(Byte* key, Byte* mask, unsigned at, uint16_t value, uint16_t value_mask, uint16_t bits) {
    put16(key + at, value & value_mask);
    put16(mask + at, value_mask & bits);
}

inline void put_masked24(Byte* key, Byte* mask, unsigned at, uint32_t value, uint32_t value_mask, uint32_t bits) {
    put24(key + at, value & value_mask);
    put24(mask + at, value_mask & bits);
}

inline void put_masked32(Byte* key, Byte* mask, unsigned at, uint32_t value, uint32_t value_mask, uint32_t bits) {
    put32(key + at, value & value_mask);
    put32(mask + at, value_mask & bits);
}

inline void put_masked_block(Byte* key, Byte* mask, unsigned at, const Byte* value, const Byte* value_mask) {
    store_block(key + at, load_block(value) & load_block(value_mask));
    store_block(mask + at, load_block(value_mask));
}

inline void get_masked8(const Byte* key, const Byte* mask, unsigned at, Byte& value, Byte& value_mask) {
    value = key[at];
    value_mask = mask[at];
}

inline void get_masked16(const Byte* key, const Byte* mask, unsigned at, uint16_t& value, uint16_t& value_mask) {
    value = get16(key + at);
    value_mask = get16(mask + at);
}

inline void get_masked24(const Byte* key, const Byte* mask, unsigned at, uint32_t& value, uint32_t& value_mask) {
    value = get24(key + at);
    value_mask = get24(mask + at);
}

inline void get_masked32(const Byte* key, const Byte* mask, unsigned at, uint32_t& value, uint32_t& value_mask) {
    value = get32(key + at);
    value_mask = get32(mask + at);
}

} // namespace by_hand
