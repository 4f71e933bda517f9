// Foreign text in messages: on one line, and without characters that would control a terminal.
#pragma once

#include <bit>
#include <cstddef>
#include <string>
#include <string_view>

namespace route_agent {

// The bytes of the UTF-8 character that the text begins with; 0 if it begins with none, or with a control character.
inline size_t character_length(std::string_view text) {
    constexpr char32_t least[] = {0x20, 0, 0xA0, 0x800, 0x10000}; // control characters are below 0x20 and 0xA0
    const auto lead = static_cast<unsigned char>(text[0]);
    const auto ones = static_cast<size_t>(std::countl_one(lead));
    const size_t length = ones == 0 ? 1 : ones;
    if (ones == 1 || ones > 4 || text.size() < length) return 0;
    char32_t code = lead & (0x7Fu >> ones);
    for (size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >> 6 != 2) return 0;
        code = code << 6 | (byte & 0x3F);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= least[ones] && code != 0x7F && code <= 0x10FFFF && !surrogate ? length : 0;
}

// Writes "\x1b" for a byte that can't be printed, and "\\" for a backslash.
inline std::string printable(std::string_view text) {
    constexpr char digits[] = "0123456789abcdef";
    std::string result;
    while (!text.empty()) {
        const size_t length = character_length(text);
        if (text[0] == '\\') {
            result += "\\\\";
        } else if (length != 0) {
            result += text.substr(0, length);
        } else {
            const auto byte = static_cast<unsigned char>(text[0]);
            result += {'\\', 'x', digits[byte >> 4], digits[byte & 0xF]};
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result;
}

} // namespace route_agent
