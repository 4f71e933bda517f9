// The restore of the shadow after a restart of the agent, row by row as the driver replays its tables.
#pragma once

#include <cstdint>

#include "vl_pd/types.h"

namespace vl_pd::restore {

// The five words are between agent and driver.
pd_status restore_virtual_dev_state(uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5) noexcept;

} // namespace vl_pd::restore
