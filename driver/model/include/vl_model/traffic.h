/*
 * What packets do to a device of the embedded driver: they match entries, count, change registers, raise digests and
 * match the triggers of snapshots. For agents and tests, which have no packets.
 */
#ifndef VL_MODEL_TRAFFIC_H
#define VL_MODEL_TRAFFIC_H

#include <stdint.h>

#include "behaviour.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Writes the handle of the entry that a packet takes, as behaviour.h says. `key` has the packet's fields as the key of
 * a match record has them: key_len bytes in the key's order, each field in whole bytes, most significant first. In a
 * partitioned table the first field doesn't count, and partition_index has its value; in others it is 0.
 *
 * If no entry matches, the default entry stands: the status is VL_MODEL_NOT_FOUND, and nothing is written.
 * VL_MODEL_BAD_KEY if key_len isn't the table's; VL_MODEL_NOT_SUPPORTED if the table has no key; VL_MODEL_INVALID for a
 * null pointer.
 *
 * A table's first packet takes long if the table is large, because the driver then indexes all entries. So does a
 * packet after more changes than the table has entries. Other calls wait meanwhile.
 */
uint32_t vl_model_lookup(uint32_t dev_id, uint32_t tbl_hdl, const uint8_t* key, uint32_t key_len,
                         uint32_t partition_index, uint32_t* ent_hdl);

/*
 * As vl_model_lookup, and the packet counts: the entry's idle time starts anew and its hit state shows, as after
 * vl_model_entry_hit. A direct counter of the table adds one packet of this many bytes to the entry's cell. If no entry
 * matches, it adds them to the default entry's cell, if the hardware has a default entry.
 */
uint32_t vl_model_packet(uint32_t dev_id, uint32_t tbl_hdl, const uint8_t* key, uint32_t key_len,
                         uint32_t partition_index, uint32_t bytes, uint32_t* ent_hdl);

/* A packet hits the entry. This has no effect while the table's idle time is off. */
uint32_t vl_model_entry_hit(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl);

/*
 * In the next two, `hdl` and `cell` are an indirect counter or register and an index, or a match table and an entry.
 * The software has its own copy of a cell, which changes when the agent reads the hardware.
 */

uint32_t vl_model_counter_add(uint32_t dev_id, uint32_t hdl, uint32_t cell, uint64_t packets, uint64_t bytes);

#define VL_MODEL_REGISTER_VALUE_SIZE 16

/* A packet writes a register's cell in one pipe, or in all pipes if `pipe` is 0xFFFF. */
uint32_t vl_model_register_write(uint32_t dev_id, uint32_t hdl, uint32_t cell, uint16_t pipe,
                                 const uint8_t value[VL_MODEL_REGISTER_VALUE_SIZE]);

/*
 * Delivers `count` entries, back to back, to the callback of the digest in one message, and returns the callback's
 * status. VL_MODEL_NOT_FOUND if there is no callback. The message stays valid until the agent acknowledges it or
 * removes the device, whatever the callback returned, and even if the registration ends.
 */
uint32_t vl_model_digest_raise(uint32_t dev_id, uint32_t digest_hdl, const uint8_t* entries, uint32_t count);

/* Writes the number of delivered messages that are not acknowledged. */
uint32_t vl_model_digest_unacked(uint32_t dev_id, uint32_t digest_hdl, uint32_t* count);

/* Writes the timeout that the agent has set; 0 at first. */
uint32_t vl_model_learning_timeout(uint32_t dev_id, uint32_t* timeout);

/*
 * The trigger of a snapshot matches a packet in `pipe` at `stage`, whatever its value and mask. The snapshot captures
 * `count` records of 676 bytes for its first stages, and zeros for the others. It keeps one capture until the trigger
 * is set again. VL_MODEL_NOT_FOUND if no trigger is set, or it has matched already.
 */
uint32_t vl_model_snapshot_match(uint32_t snapshot_hdl, uint32_t pipe, uint8_t stage, const uint8_t* records,
                                 uint32_t count);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
