// Writing characters where there is room for them: each function returns the end of what it wrote. Dumps spend their
// time here, so that all is in line and nothing is allocated.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace pd_show {

inline char* put(char* out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

// A text that is written again and again, in steps of one size: a copy of a size that the compiler knows is one
// instruction or two. Up to `slack` characters behind the text are overwritten.
class Stamp {
public:
    static constexpr std::size_t slack = 32;

    explicit Stamp(const std::string& text) : text_(text), size_(text.size()) {
        text_.resize((size_ + slack) / slack * slack);
    }

    char* put(char* out) const {
        for (std::size_t done = 0; done < size_; done += slack)
            std::memcpy(out + done, text_.data() + done, slack);
        return out + size_;
    }
    std::size_t size() const {
        return size_;
    }

private:
    std::string text_;
    std::size_t size_;
};

// The following write whole words, of which only the length depends on the value: it differs from entry to entry, and
// branches would be guessed wrong by it. Up to Stamp::slack characters behind the text are overwritten.

inline char* put_decimal(char* out, std::uint32_t number) {
    constexpr std::size_t most = 10;
    char digits[2 * most] = {};
    char* begin = digits + most;
    do
        *--begin = static_cast<char>('0' + number % 10);
    while ((number /= 10) != 0);
    std::memcpy(out, begin, most);
    return out + (digits + most - begin);
}

// The following take one to eight digits of a value string; eight characters from the first one on are read, whatever
// they are.

inline std::uint64_t load_digits(std::string_view digits) {
    std::uint64_t word;
    std::memcpy(&word, digits.data(), sizeof word);
    return word;
}

// The number that the digits say.
inline std::uint32_t number_of(std::string_view digits) {
    // What stands behind the digits goes, and zeros come in front of them.
    const std::uint64_t word = load_digits(digits) << (64 - 8 * digits.size());
    // One nibble in each byte, the most significant one in the lowest; letters are 1 to 6 above a multiple of 16.
    std::uint64_t value = (word & 0x0F0F0F0F0F0F0F0F) + 9 * (word >> 6 & 0x0101010101010101);
    value = (value << 4 | value >> 8) & 0x00FF00FF00FF00FF;
    value = (value << 8 | value >> 16) & 0x0000FFFF0000FFFF;
    return static_cast<std::uint32_t>(value << 16 | value >> 32);
}

inline char* put_hex(char* out, std::string_view digits) {
    std::uint64_t word = load_digits(digits);
    const auto zeros = static_cast<unsigned>(std::countr_zero(word ^ 0x3030303030303030)) / 8;
    const unsigned left_out = std::min(zeros, static_cast<unsigned>(digits.size()) - 1);
    word >>= 8 * left_out;
    std::memcpy(out, "0x", 2);
    std::memcpy(out + 2, &word, sizeof word);
    return out + 2 + digits.size() - left_out;
}

// All numbers of eight bits, each with a dot behind it.
struct Octet {
    char text[4];
    std::uint8_t length;
};

inline constexpr auto octets = [] {
    std::array<Octet, 256> all{};
    for (unsigned number = 0; number < 256; ++number) {
        Octet& octet = all[number];
        for (unsigned unit = 100; unit != 0; unit /= 10)
            if (number >= unit || unit == 1) octet.text[octet.length++] = static_cast<char>('0' + number / unit % 10);
        octet.text[octet.length++] = '.';
    }
    return all;
}();

inline char* put_v4addr(char* out, std::string_view digits) {
    const std::uint32_t address = number_of(digits);
    for (unsigned shift = 32; shift != 0; shift -= 8) {
        const Octet& octet = octets[address >> (shift - 8) & 0xFF];
        std::memcpy(out, octet.text, sizeof octet.text);
        out += octet.length;
    }
    return out - 1;
}

// Of eight groups the first of the longest runs of two or more that are zero, by a set of bits that says which are.
struct ZeroRun {
    std::uint8_t begin = 8;
    std::uint8_t length = 0;
};

inline constexpr auto zero_runs = [] {
    std::array<ZeroRun, 256> all{};
    for (unsigned zeros = 0; zeros < 256; ++zeros) {
        ZeroRun run;
        for (unsigned begin = 0; begin < 8; ++begin) {
            const auto length = static_cast<unsigned>(std::countr_one(zeros >> begin));
            if (length >= 2 && length > run.length)
                run = {static_cast<std::uint8_t>(begin), static_cast<std::uint8_t>(length)};
        }
        all[zeros] = run;
    }
    return all;
}();

// Of 32 digits: without leading zeros in a group, and with "::" for a run of zeros.
inline char* put_v6addr(char* out, std::string_view digits) {
    constexpr unsigned groups = 8;
    std::array<std::uint32_t, groups> letters{}; // of each group, as they stand there
    std::memcpy(letters.data(), digits.data(), sizeof letters);
    unsigned zeros = 0;
#pragma GCC unroll 8
    for (unsigned group = 0; group < groups; ++group)
        zeros |= unsigned{letters[group] == 0x30303030} << group;
    const ZeroRun run = zero_runs[zeros];
    const auto put_groups = [&](unsigned begin, unsigned end) {
        for (unsigned group = begin; group < end; ++group) {
            const int left_out = std::min(std::countr_zero(letters[group] ^ 0x30303030) / 8, 3);
            const std::uint32_t shown = (letters[group] | 0x20202020) >> (8 * left_out); // in lower case
            std::memcpy(out, &shown, sizeof shown);
            out += 4 - left_out;
            *out++ = ':';
        }
    };
    put_groups(0, run.begin);
    if (run.length == 0) return out - 1;
    if (run.begin == 0) *out++ = ':';
    *out++ = ':';
    if (run.begin + run.length == groups) return out;
    put_groups(run.begin + run.length, groups);
    return out - 1;
}

// Two times six digits, as three groups.
inline char* put_mac(char* out, std::string_view oui, std::string_view station) {
    std::memcpy(out, oui.data(), 4);
    out[4] = '.';
    std::memcpy(out + 5, oui.data() + 4, 2);
    std::memcpy(out + 7, station.data(), 2);
    out[9] = '.';
    std::memcpy(out + 10, station.data() + 2, 4);
    return out + 14;
}

} // namespace pd_show
