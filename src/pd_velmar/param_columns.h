// The parameters of any action, found by its number: for what isn't worth code of its own for each action.
#pragma once

#include <cstdint>
#include <span>

namespace vl_pd {

struct ParamColumn {
    const char* name;
    std::uint32_t digits; // hexadecimal
    std::uint32_t mask;   // the bits of its width
    std::uint32_t record_offset;
    std::uint32_t record_bytes;
};

// Empty for an action without parameters.
std::span<const ParamColumn> param_columns(std::uint32_t action) noexcept;

} // namespace vl_pd
