// Reads a list line by line and tells about the bad ones, as FILE:LINE: reason. What the list readers share.
#pragma once

#include <charconv>
#include <cstddef>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace route_agent {

// After this many bad lines a list isn't read on: it is likely no such list at all.
inline constexpr std::size_t max_bad_lines = 20;

// Calls `take(line, number)`, which gives the reason why a line is bad, or an empty text. False if any line was bad, or
// if the stream could not be read to its end; the messages say so.
template <class Take>
bool read_lines(std::istream& in, const std::string& name, std::ostream& messages, Take&& take) {
    std::size_t number = 0;
    std::size_t bad = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        const std::string reason = take(std::string_view(line), number);
        if (reason.empty()) {
            continue;
        }
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
    return bad == 0;
}

enum class Parsed { good, no_number, too_large };

// Digits alone, all of the text.
template <class Number>
Parsed parse_decimal(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc::invalid_argument || end != text.data() + text.size()) {
        return Parsed::no_number;
    }
    return error == std::errc::result_out_of_range ? Parsed::too_large : Parsed::good;
}

// For messages: in quotes, shortened, and without what would upset a terminal.
std::string quoted(std::string_view text);

} // namespace route_agent
