// Arguments of the driver's calls: the device target in its two forms, and the flags.
#pragma once

#include <bit>

#include "vl_driver/types.h"
#include "vl_pd/types.h"

namespace vl_pd {

// The library sets no flag in any call.
inline constexpr uint32_t no_flags = 0;

// The agent's target becomes the driver's: all eight bytes go on unchanged.
inline pipe_dev_tgt to_driver(pd_dev_tgt dev_tgt) {
    return std::bit_cast<pipe_dev_tgt>(dev_tgt);
}

// For driver calls that take a target where the library has only a device.
inline pipe_dev_tgt on_all_pipes(pd_device dev_id) {
    return {.dev_id = dev_id, .pipe_id = PIPE_ALL_PIPES, .reserved = 0};
}

inline pipe_dev_tgt on_device(pd_device dev_id) {
    return {.dev_id = dev_id, .pipe_id = 0, .reserved = 0};
}

} // namespace vl_pd
