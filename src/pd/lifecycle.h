// Start and end of the library, and what the driver calls back between them.
#pragma once

#include <cstddef>

#include "catalog/catalog.h"
#include "vl_driver/member_shadow.h"
#include "vl_pd/types.h"

namespace vl_pd::lifecycle {

void init() noexcept;
pd_status cleanup() noexcept;
void device_state_cleanup() noexcept;

// The shadow of a profile, by the profile's place in catalog::profiles. Null before init(). One state serves all
// devices.
p4_pd_ms_state* shadow_of(size_t profile) noexcept;

} // namespace vl_pd::lifecycle
