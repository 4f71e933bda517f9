/*
 * What packets do to a device of the embedded driver, for agents and tests that have no packets: they count, change
 * registers, raise digests and match the triggers of snapshots. Hits of entries stand in control.h.
 */
#ifndef VL_MODEL_TRAFFIC_H
#define VL_MODEL_TRAFFIC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Cells are named as the boundary does: an indirect counter or register and an index, or a match table and an entry.
 * The software's copy stays as it is until it is brought up to date.
 */

/* Packets count. Of the driver's record count_a is packets and count_b bytes; both wrap. */
uint32_t vl_model_counter_add(uint32_t dev_id, uint32_t hdl, uint32_t cell, uint64_t packets, uint64_t bytes);

#define VL_MODEL_REGISTER_VALUE_SIZE 16

/* A packet writes a register's cell in one pipe, or in all for a pipe of 0xFFFF. */
uint32_t vl_model_register_write(uint32_t dev_id, uint32_t hdl, uint32_t cell, uint16_t pipe,
                                 const uint8_t value[VL_MODEL_REGISTER_VALUE_SIZE]);

/*
 * Delivers `count` entries, back to back, to the callback of the digest as one message of the device's pipes, and
 * returns what the callback does. Nobody registered: VL_MODEL_NOT_FOUND. The message stays the agent's until it is
 * acknowledged, whatever the callback returned and also if the registration ends; removing the device takes it back.
 */
uint32_t vl_model_digest_raise(uint32_t dev_id, uint32_t digest_hdl, const uint8_t* entries, uint32_t count);

/* How many messages have been delivered and not acknowledged. */
uint32_t vl_model_digest_unacked(uint32_t dev_id, uint32_t digest_hdl, uint32_t* count);

/* As the agent last set it; 0 at first. Digests are delivered at once all the same. */
uint32_t vl_model_learning_timeout(uint32_t dev_id, uint32_t* timeout);

/* Bytes from one stage's record to the next in a capture. */
#define VL_MODEL_SNAPSHOT_STAGE_SIZE 704

/*
 * The trigger of a snapshot matches a packet in `pipe` at `stage`, whatever its value and mask, and the snapshot keeps
 * `count` records of 676 bytes, for its stages from the first; stages beyond have zeros. It keeps one capture, until
 * the trigger is set again. No trigger is set, or it has matched already: VL_MODEL_NOT_FOUND.
 */
uint32_t vl_model_snapshot_match(uint32_t snapshot_hdl, uint32_t pipe, uint8_t stage, const uint8_t* records,
                                 uint32_t count);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
