/*
 * Learning digests: packed records that the pipeline sends to the control plane.
 * The driver takes the device id in 8 bits here.
 */
#ifndef VL_DRIVER_DIGESTS_H
#define VL_DRIVER_DIGESTS_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef uint32_t pipe_digest_hdl;

/* A batch of digest entries, back to back. It belongs to the driver and stays valid until it is acknowledged. */
typedef struct pipe_digest_msg {
    pipe_dev_tgt dev_tgt;
    uint32_t entry_count;
    uint32_t reserved;
    const uint8_t* entries;
} pipe_digest_msg;

typedef pipe_status (*pipe_digest_cb)(pipe_sess_hdl sess_hdl, pipe_digest_msg* msg, void* cookie);

/* The driver keeps callback and cookie until the registration ends. */
pipe_status pipe_mgr_lrn_digest_notification_register(pipe_sess_hdl sess_hdl, uint8_t dev_id,
                                                      pipe_digest_hdl digest_hdl, pipe_digest_cb callback,
                                                      void* cookie);

pipe_status pipe_mgr_lrn_digest_notification_deregister(pipe_sess_hdl sess_hdl, uint8_t dev_id,
                                                        pipe_digest_hdl digest_hdl);

/* Gives a message back to the driver. */
pipe_status pipe_mgr_flow_lrn_notify_ack(pipe_sess_hdl sess_hdl, pipe_digest_hdl digest_hdl, pipe_digest_msg* msg);

/* Sets how long the device may hold digests back: one value for all digests. */
pipe_status pipe_mgr_flow_lrn_set_timeout(pipe_sess_hdl sess_hdl, uint8_t dev_id, uint32_t timeout);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
