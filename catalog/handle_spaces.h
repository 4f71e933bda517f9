// The ranges in which the handles of each kind lie. A handle in a range needn't be anybody's.
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

inline constexpr HandleSpace table_handles{0x1000001, 0x1000084};
inline constexpr HandleSpace data_table_handles{0x2000019, 0x2000030};
inline constexpr HandleSpace selector_handles{0x3000001, 0x3000005};
inline constexpr HandleSpace counter_handles{0x4000001, 0x4000009};
inline constexpr HandleSpace meter_handles{0x5000001, 0x5000005};
inline constexpr HandleSpace register_handles{0x6000001, 0x600000e};
inline constexpr HandleSpace hash_handles{0x8000000, 0x800000d};
inline constexpr HandleSpace digest_handles{0x9000000, 0x9000002};
inline constexpr HandleSpace binding_handles{0x20000000, 0x20000160};
inline constexpr HandleSpace hash_input_handles{0x21000000, 0x2100000d};
inline constexpr HandleSpace hash_algorithm_handles{0x23000000, 0x23000002};
inline constexpr HandleSpace value_set_ids{506, 511};

} // namespace catalog
