// Reads a list line by line and tells about the bad ones, as FILE:LINE: reason. What the list readers share.
#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace route_agent {

// After this many bad lines a list isn't read on: it is likely no such list at all.
inline constexpr size_t max_bad_lines = 20;

// In bytes, comments included. A file without line ends, such as a device, doesn't fill the memory.
inline constexpr size_t longest_line = 4096;

// Why the line can't be one of a list in UTF-8, or null. The rest of such a file isn't worth reading.
const char* why_no_text(std::string_view line, size_t number);

// Calls `take(line, number)`, which gives the reason why a line is bad, or an empty text. False if any line was bad, or
// if the stream could not be read to its end; the messages say so.
template <class Take>
bool read_lines(std::istream& in, const std::string& name, std::ostream& messages, Take&& take) {
    std::array<char, longest_line + 1> room;
    size_t number = 0;
    size_t bad = 0;
    while (in.getline(room.data(), room.size())) {
        size_t length = static_cast<size_t>(in.gcount());
        if (length != 0 && !in.eof()) --length; // the line's end
        const std::string_view line(room.data(), length);
        ++number;
        if (const char* const reason = why_no_text(line, number)) {
            messages << name << ':' << number << ": " << reason << '\n';
            return false;
        }
        const std::string reason = take(line, number);
        if (reason.empty()) continue;
        messages << name << ':' << number << ": " << reason << '\n';
        if (++bad == max_bad_lines) {
            messages << name << ": stopped after " << bad << " bad lines\n";
            return false;
        }
    }
    if (in.bad()) {
        messages << name << ": can't be read beyond line " << number << '\n';
        return false;
    }
    if (!in.eof()) {
        messages << name << ':' << number + 1 << ": the line is longer than " << longest_line << " bytes\n";
        return false;
    }
    return bad == 0;
}

enum class Parsed { good, no_number, too_large };

// Digits alone, all of the text.
template <class Number>
Parsed parse_decimal(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc::invalid_argument || end != text.data() + text.size()) return Parsed::no_number;
    return error == std::errc::result_out_of_range ? Parsed::too_large : Parsed::good;
}

// For messages: in quotes, shortened and printable.
std::string quoted(std::string_view text);

} // namespace route_agent
