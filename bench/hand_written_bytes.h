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

} // namespace by_hand
