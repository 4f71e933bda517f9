// Loads and stores. All conversions between integers and bytes are here.
//
// Records hold integers in the machine's byte order. Keys and action data hold the low-order bytes of a value, most
// significant first. The machine is little-endian.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>

#include "codec/unroll.h"

namespace vl_pd::bytes {

static_assert(std::endian::native == std::endian::little);

using Byte = uint8_t;

// A 128-bit value in two words in the machine's order. `high` holds the first eight bytes of the array.
struct Wide {
    uint64_t high;
    uint64_t low;

    friend Wide operator&(Wide left, Wide right) {
        return {left.high & right.high, left.low & right.low};
    }
};

// 16 bytes in memory order, which is enough for masking.
struct Block {
    uint64_t words[2];

    friend Block operator&(Block left, Block right) {
        return {{left.words[0] & right.words[0], left.words[1] & right.words[1]}};
    }
};

inline Block load_block(const Byte* from) {
    Block block;
    std::memcpy(&block, from, sizeof block);
    return block;
}

inline void store_block(Byte* to, Block block) {
    std::memcpy(to, &block, sizeof block);
}

// What clear() stores.
using Vector = __m128i;

// Clears a large record by stores of vectors. The entry path clears a driver action record in every operation. For a
// memset of that size compilers use a string instruction or a call, which takes longer to start than the stores take to
// finish. The record is aligned like a vector, so that no store crosses a cache line.
template <class Record>
VL_INLINE void clear(Record& record) {
    constexpr size_t count = sizeof record / sizeof(Vector);
    static_assert(sizeof record == count * sizeof(Vector));
    Vector* const vectors = reinterpret_cast<Vector*>(&record);
    unroll<count>([=](auto i) VL_INLINE_LAMBDA { _mm_store_si128(vectors + i, _mm_setzero_si128()); });
}

// Loads an integer from a record.
template <unsigned size>
VL_INLINE uint32_t load(const Byte* from) {
    static_assert(size == 1 || size == 2 || size == 4);
    uint32_t value = 0;
    std::memcpy(&value, from, size);
    return value;
}

template <unsigned size>
VL_INLINE void store(Byte* to, uint32_t value) {
    static_assert(size == 1 || size == 2 || size == 4);
    std::memcpy(to, &value, size);
}

// The `size` low-order bytes of a value, most significant first.
template <unsigned size>
VL_INLINE void store_big_endian(Byte* to, uint32_t value) {
    static_assert(size >= 1 && size <= 4);
    if constexpr (size == 3) {
        store_big_endian<2>(to, value >> 8);
        to[2] = static_cast<Byte>(value);
    } else if constexpr (size == 2) {
        const uint16_t swapped = __builtin_bswap16(static_cast<uint16_t>(value));
        std::memcpy(to, &swapped, size);
    } else {
        value = __builtin_bswap32(value) >> (32 - 8 * size);
        // clang-tidy believes that this stores to an empty bit stream, whose bytes are null.
        std::memcpy(to, &value, size); // NOLINT(clang-analyzer-core.NonNullParamChecker)
    }
}

template <unsigned size>
VL_INLINE uint32_t load_big_endian(const Byte* from) {
    static_assert(size >= 1 && size <= 4);
    if constexpr (size == 3) {
        return load_big_endian<2>(from) << 8 | from[2];
    } else if constexpr (size == 2) {
        uint16_t half = 0;
        std::memcpy(&half, from, size);
        return __builtin_bswap16(half);
    } else {
        uint32_t value = 0;
        std::memcpy(&value, from, size);
        return __builtin_bswap32(value) >> (32 - 8 * size);
    }
}

inline Wide load_wide(const Byte* from) {
    uint64_t words[2];
    std::memcpy(words, from, sizeof words);
    return {__builtin_bswap64(words[0]), __builtin_bswap64(words[1])};
}

inline void store_wide(Byte* to, Wide value) {
    const uint64_t words[2] = {__builtin_bswap64(value.high), __builtin_bswap64(value.low)};
    std::memcpy(to, words, sizeof words);
}

} // namespace vl_pd::bytes
