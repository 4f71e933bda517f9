// The shadow of an action profile: it answers which action a member or a group has, which the driver wants to be told
// and the agent doesn't pass. It is written only after the driver has accepted a change, or as the driver replays its
// tables; what it says of that is not looked at, but for the deletion of a group. Its calls take the member before the
// group.
#pragma once

#include "pd/lifecycle.h"
#include "vl_driver/member_shadow.h"

namespace vl_pd {

template <catalog::ProfileRef P>
p4_pd_ms_state* shadow() {
    return lifecycle::shadow_of(P.index);
}

} // namespace vl_pd
