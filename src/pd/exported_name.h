// Names of exported symbols as constants, put together from rows while compiling.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace vl_pd {

inline constexpr std::string_view name_prefix = "p4_pd_velmar_switch_";

template <size_t size>
constexpr std::array<char, size + 1> join_names(std::string_view first, std::string_view second,
                                                std::string_view third = {}) {
    std::array<char, size + 1> joined{};
    auto end = std::copy(first.begin(), first.end(), joined.begin());
    end = std::copy(second.begin(), second.end(), end);
    std::copy(third.begin(), third.end(), end);
    return joined;
}

} // namespace vl_pd
