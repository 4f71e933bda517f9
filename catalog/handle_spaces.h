// The handles that the device allows for each kind of row. The top byte of a handle is its kind.
#pragma once

#include <cstdint>

namespace catalog {

struct HandleSpace {
    uint32_t first;
    uint32_t last;

    constexpr bool holds(uint32_t handle) const {
        return first <= handle && handle <= last;
    }
};

constexpr HandleSpace handles_of_kind(uint32_t kind) {
    return {kind << 24, kind << 24 | 0xFFFFFF};
}

inline constexpr HandleSpace table_handles = handles_of_kind(0x01);
inline constexpr HandleSpace data_table_handles = handles_of_kind(0x02);
inline constexpr HandleSpace selector_handles = handles_of_kind(0x03);
inline constexpr HandleSpace counter_handles = handles_of_kind(0x04);
inline constexpr HandleSpace meter_handles = handles_of_kind(0x05); // WRED blocks too
inline constexpr HandleSpace register_handles = handles_of_kind(0x06);
inline constexpr HandleSpace hash_handles = handles_of_kind(0x08);
inline constexpr HandleSpace digest_handles = handles_of_kind(0x09);
inline constexpr HandleSpace binding_handles = handles_of_kind(0x20);
inline constexpr HandleSpace hash_input_handles = handles_of_kind(0x21);
inline constexpr HandleSpace hash_algorithm_handles = handles_of_kind(0x23);

} // namespace catalog
