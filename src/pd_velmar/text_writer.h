// Writes text into a caller's buffer. Each function writes at `out` and returns the new end. Only finish() adds a
// terminator, and nothing after the end is touched.
#pragma once

#include <bit>
#include <cstring>
#include <string_view>

#include "codec/bytes.h"

namespace vl_pd::text {

using bytes::Byte;

// A literal; its length is known while compiling.
template <size_t size>
char* put(char* out, const char (&literal)[size]) {
    std::memcpy(out, literal, size - 1);
    return out + size - 1;
}

inline char* put(char* out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

enum class Case { lower, upper };

// Eight hexadecimal digits as eight characters, the most significant one in the lowest byte.
template <Case letters>
uint64_t hex_characters(uint32_t value) {
    // One nibble into each byte.
    uint64_t nibbles = value;
    nibbles = (nibbles | nibbles << 16) & 0x0000FFFF0000FFFF;
    nibbles = (nibbles | nibbles << 8) & 0x00FF00FF00FF00FF;
    nibbles = (nibbles | nibbles << 4) & 0x0F0F0F0F0F0F0F0F;
    // 1 where the nibble is a letter.
    const uint64_t letter = (nibbles + 0x0606060606060606) >> 4 & 0x0101010101010101;
    constexpr uint64_t step = (letters == Case::lower ? 'a' : 'A') - ('0' + 10);
    return __builtin_bswap64(nibbles + 0x3030303030303030 + letter * step);
}

// The low `digits` digits, with leading zeros.
template <unsigned digits>
char* put_hex(char* out, uint32_t value) {
    static_assert(digits >= 1 && digits <= 8);
    const uint64_t characters = hex_characters<Case::lower>(value) >> (64 - 8 * digits);
    std::memcpy(out, &characters, digits);
    return out + digits;
}

// Without leading zeros.
inline char* put_hex(char* out, uint32_t value) {
    const unsigned digits = (35 - static_cast<unsigned>(std::countl_zero(value | 1))) / 4;
    const uint64_t characters = hex_characters<Case::lower>(value) >> (64 - 8 * digits);
    std::memcpy(out, &characters, digits);
    return out + digits;
}

inline constexpr size_t wide_digits = 32;

// 16 bytes in their own order, in upper case.
inline char* put_wide_hex(char* out, const Byte* value) {
    for (unsigned i = 0; i < 16; i += 4) {
        const uint64_t characters = hex_characters<Case::upper>(bytes::load_big_endian<4>(value + i));
        std::memcpy(out + 2 * i, &characters, sizeof characters);
    }
    return out + wide_digits;
}

// The digits as a text, in the caller's memory: threads that print at the same time must not share one.
using WideText = char[wide_digits + 1];

inline const char* decode(WideText& out, const Byte* value) {
    *put_wide_hex(out, value) = 0;
    return out;
}

// The digits as an element of a tuple, "0x...,", without a terminator.
inline char* decodev(char* out, const Byte* value) {
    return put(put_wide_hex(put(out, "0x"), value), ",");
}

inline char* put_decimal(char* out, uint32_t value) {
    char digits[10];
    char* begin = digits + sizeof digits;
    do
        *--begin = static_cast<char>('0' + value % 10);
    while ((value /= 10) != 0);
    return put(out, {begin, static_cast<size_t>(digits + sizeof digits - begin)});
}

inline char* put_signed(char* out, int32_t value) {
    if (value >= 0) return put_decimal(out, static_cast<uint32_t>(value));
    *out = '-';
    return put_decimal(out + 1, 0 - static_cast<uint32_t>(value));
}

// Terminates the text and returns its length.
inline int finish(const char* begin, char* end) {
    *end = 0;
    return static_cast<int>(end - begin);
}

} // namespace vl_pd::text
