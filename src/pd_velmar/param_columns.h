// The parameters of any action, found by its number: for what isn't worth code of its own for each action.
#pragma once

#include <cstdint>
#include <span>

namespace vl_pd {

struct ParamColumn {
    const char* name;
    uint32_t digits; // hexadecimal
    uint32_t mask;   // the bits of its width
    uint32_t record_offset;
    uint32_t record_bytes;
};

// Empty for an action without parameters.
std::span<const ParamColumn> param_columns(uint32_t action) noexcept;

} // namespace vl_pd
