// Learning digests: registrations and acknowledgements go on to the driver. The library keeps nothing. The driver takes
// the low 8 bits of the device.
#pragma once

#include <cstdint>

#include "vl_driver/digests.h"
#include "vl_pd/types.h"

namespace vl_pd::digests {

inline pd_status register_callback(uint32_t digest, pd_session sess_hdl, pd_device dev_id, pd_driver_callback callback,
                                   void* cookie) noexcept {
    return pipe_mgr_lrn_digest_notification_register(sess_hdl, static_cast<uint8_t>(dev_id), digest,
                                                     reinterpret_cast<pipe_digest_cb>(callback), cookie);
}

inline pd_status deregister(uint32_t digest, pd_session sess_hdl, pd_device dev_id) noexcept {
    return pipe_mgr_lrn_digest_notification_deregister(sess_hdl, static_cast<uint8_t>(dev_id), digest);
}

inline pd_status notify_ack(uint32_t digest, pd_session sess_hdl, void* message) noexcept {
    return pipe_mgr_flow_lrn_notify_ack(sess_hdl, digest, static_cast<pipe_digest_msg*>(message));
}

// One value for all digests of the device.
inline pd_status set_timeout(pd_session sess_hdl, pd_device dev_id, uint32_t timeout) noexcept {
    return pipe_mgr_flow_lrn_set_timeout(sess_hdl, static_cast<uint8_t>(dev_id), timeout);
}

} // namespace vl_pd::digests
