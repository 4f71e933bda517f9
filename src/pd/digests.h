// Learning digests: registrations and acknowledgements on their way to the driver. Callbacks and messages are not
// looked at, and nothing is kept. The driver takes 8 bits of the device.
#pragma once

#include <cstdint>

#include "vl_pd/types.h"

namespace vl_pd::digests {

pd_status register_callback(uint32_t digest, pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback,
                            void* cookie) noexcept;
pd_status deregister(uint32_t digest, pd_session sess_hdl, pd_device dev_id) noexcept;
pd_status notify_ack(uint32_t digest, pd_session sess_hdl, void* message) noexcept;
// One value for the device, whatever the digest.
pd_status set_timeout(pd_session sess_hdl, pd_device dev_id, uint32_t timeout) noexcept;

} // namespace vl_pd::digests
