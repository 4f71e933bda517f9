// Start and end of the library, the shadow of the action profiles, and what the driver calls back.
//
// The shadow of a profile holds the action of each member and group. The driver's calls take this action, but the agent
// doesn't pass it. The shadow is written only after the driver has accepted a change, or while the driver replays its
// tables. The status of a write to the shadow is ignored, except when a group is deleted.
#pragma once

#include <cstddef>

#include "catalog/rows.h"
#include "vl_driver/member_shadow.h"
#include "vl_pd/types.h"

namespace vl_pd::lifecycle {

void init() noexcept;
pd_status cleanup() noexcept;
void device_state_cleanup() noexcept;

// Rebuilds the shadow after a restart of the agent, from the rows that the driver replays. The five words pass from
// the agent to the driver.
pd_status restore_virtual_dev_state(uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5) noexcept;

// The shadow of a profile, for all devices. Null before init().
p4_pd_ms_state* shadow_of(size_t profile) noexcept;

inline p4_pd_ms_state* shadow_of(catalog::ProfileRef profile) noexcept {
    return shadow_of(size_t{profile.number});
}

} // namespace vl_pd::lifecycle
