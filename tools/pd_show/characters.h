// Writing characters where there is room for them: each function returns the end of what it wrote. Dumps spend much of
// their time here, so that nothing is allocated. The library's print functions aren't used: they take numbers where
// value strings have digits, and put labels and blanks of their own around what they print.
#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace pd_show {

inline char* put(char* out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

inline char* put_decimal(char* out, uint32_t number) {
    return std::to_chars(out, out + 10, number).ptr;
}

// The rest takes hexadecimal digits of a value string.

// The number that at most eight digits say.
inline uint32_t number_of(std::string_view digits) {
    uint32_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return number;
}

inline std::string_view without_leading_zeros(std::string_view digits) {
    while (digits.size() > 1 && digits.front() == '0')
        digits.remove_prefix(1);
    return digits;
}

inline char* put_hex(char* out, std::string_view digits) {
    return put(put(out, "0x"), without_leading_zeros(digits));
}

inline char* put_v4addr(char* out, std::string_view digits) {
    const uint32_t address = number_of(digits);
    for (unsigned shift = 32; shift != 0;) {
        shift -= 8;
        out = put_decimal(out, address >> shift & 0xFF);
        if (shift != 0) *out++ = '.';
    }
    return out;
}

// Of 32 digits: without leading zeros in a group, and with "::" for the first of the longest runs of two or more groups
// that are zero.
inline char* put_v6addr(char* out, std::string_view digits) {
    constexpr unsigned count = 8;
    std::array<uint32_t, count> groups{};
    for (unsigned i = 0; i < count; ++i)
        groups[i] = number_of(digits.substr(4 * i, 4));
    unsigned run_begin = count;
    unsigned run_length = 1;
    for (unsigned begin = 0; begin < count; ++begin) {
        unsigned end = begin;
        while (end < count && groups[end] == 0)
            ++end;
        if (end - begin > run_length) {
            run_begin = begin;
            run_length = end - begin;
        }
    }
    for (unsigned i = 0; i < count; ++i) {
        if (i == run_begin) {
            out = put(out, "::");
            i += run_length - 1;
            continue;
        }
        if (i != 0 && out[-1] != ':') *out++ = ':';
        out = std::to_chars(out, out + 4, groups[i], 16).ptr;
    }
    return out;
}

// Two times six digits, as three groups.
inline char* put_mac(char* out, std::string_view oui, std::string_view station) {
    out = put(put(out, oui.substr(0, 4)), ".");
    out = put(put(put(out, oui.substr(4)), station.substr(0, 2)), ".");
    return put(out, station.substr(2));
}

} // namespace pd_show
