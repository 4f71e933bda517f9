// The names of exported functions and of actions, as texts and log lines show them.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "catalog/rows.h"

namespace vl_pd {

inline constexpr std::string_view name_prefix = catalog::program.prefix;

template <auto row>
inline constexpr std::string_view name_of = row->name;

// The parts as one text with a terminator, put together while compiling.
template <const std::string_view&... parts>
inline constexpr auto joined = [] {
    std::array<char, (parts.size() + ... + 1)> text{};
    auto end = text.begin();
    ((end = std::copy(parts.begin(), parts.end(), end)), ...);
    return text;
}();

namespace action_names {

// The full names of all actions, by number: the exported array.
extern const std::span<const char* const> all;

// The full name; null for a number that no action has.
inline const char* to_string(uint32_t number) noexcept {
    return number < all.size() ? all[number] : nullptr;
}

// The number of a full name. For null, and for a name that no action has, the count of actions.
inline uint32_t to_enum(const char* name) noexcept {
    uint32_t number = 0;
    while (number < all.size() && (name == nullptr || std::strcmp(all[number], name) != 0))
        ++number;
    return number;
}

} // namespace action_names

} // namespace vl_pd
