// The device target in its two forms: what agents pass, and what the driver takes.
#pragma once

#include <bit>

#include "vl_driver/types.h"
#include "vl_pd/types.h"

namespace vl_pd {

// The eight bytes go on as they are, whatever stands in them.
inline pipe_dev_tgt to_driver(pd_dev_tgt dev_tgt) {
    return std::bit_cast<pipe_dev_tgt>(dev_tgt);
}

inline pipe_dev_tgt on_all_pipes(pd_device dev_id) {
    return {.dev_id = dev_id, .pipe_id = PIPE_ALL_PIPES, .reserved = 0};
}

// Where the driver takes a target but the library has a device alone: the device, with nothing above it.
inline pipe_dev_tgt on_device(pd_device dev_id) {
    return {.dev_id = dev_id, .pipe_id = 0, .reserved = 0};
}

} // namespace vl_pd
