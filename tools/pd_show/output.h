// Standard output.
#pragma once

#include <cstddef>
#include <string_view>

#include "views/stopwatch.h"

namespace pd_show {

struct StandardOutput {
    static constexpr size_t capacity = size_t{1} << 18; // worth a call of the system

    pd_views::TimeSpent spent; // in writing

    // A failed write is a Problem.
    void write(std::string_view text);
};

} // namespace pd_show
