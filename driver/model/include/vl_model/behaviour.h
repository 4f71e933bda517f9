/*
 * The choices of the embedded driver where the driver boundary leaves one. The library relies on none of them. An agent
 * that does works with this driver only.
 */
#ifndef VL_MODEL_BEHAVIOUR_H
#define VL_MODEL_BEHAVIOUR_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Which entry a packet takes. All matching entries compete, by their priority in the match record as the hardware has
 * it: the lowest number wins, unsigned. So the longest prefix wins, because the priority of a prefix is the number of
 * bits after it. Among equals the entry that was added first wins; changing an entry doesn't move it.
 *
 * An entry matches if the packet's key has the entry's key bits wherever the entry's mask and the table's key mask have
 * a one, and the packet's partition is the entry's, with all 32 bits. So two entries of an exact table can match one
 * packet, if they differ only in bits that the key mask leaves out. If no entry matches, the default entry stands.
 */

/*
 * Update callbacks: what happened to an entry, member or group. Changes of the default entry are reported, too.
 * Enabling or disabling a member of a group changes the member. Session and target are those of the call that made the
 * change; a call without a pipe means all pipes.
 */
enum { PIPE_UPDATE_ADDED = 1, PIPE_UPDATE_CHANGED = 2, PIPE_UPDATE_DELETED = 3 };

/*
 * Idle time. Times are in milliseconds. Entries age in PIPE_IDLE_MODE_NOTIFY only; in other modes the driver just keeps
 * hit states. It reads these members of pipe_idle_params:
 *
 *   params_a  the interval at which it looks for time-outs, from the switching on; 0: at each step of the clock
 *   params_b  the longest time to live: longer ones are cut to this; 0: no limit
 *   params_c  the time to live of entries that were added with 0; 0: these don't age
 *
 * Switching it on restarts the time of all entries and forgets their hits, even if it was on before. The callback is
 * called once for each entry that times out, and again if the entry was hit or renewed and times out once more. While a
 * table has no callback, time-outs wait for the next one. An entry whose own time to live is set to 0 doesn't age.
 */
enum { PIPE_IDLE_NOT_HIT = 0, PIPE_IDLE_HIT = 1 };

/* Properties of a table or a value set have the numbers from 1 to this. Each starts with value and arguments 0. */
#define VL_MODEL_PROPERTIES 8

/*
 * Selectors. Members of a group are listed in ascending order of their handles.
 *
 * The hash that selects a member is one number, most significant byte first. Its remainder by the count of the group's
 * active members is the position of the member among them, counted from 0 in the order of handles. If none is active,
 * the selector's fallback member is selected; without a fallback the call is refused.
 *
 * A word of a selector's memory has this many positions: position p is slot p % 32 of word p / 32. A word belongs to
 * one group or none; the driver refuses to read a word that belongs to none. A group starts with one word, and takes
 * another when all are full. A member takes the lowest free position of its group. A new group reports its first
 * position. A group that is deleted reports its first position and all positions that led to members.
 */
#define VL_MODEL_SELECTOR_WORD_SLOTS 32

/*
 * Replay: a1 is the device id, a2 the session that the callback gets; the other words are ignored. The driver replays
 * one data table after another: first all members, then all groups, with action 0, then the members of each group.
 */

/*
 * The algorithms of hash calculations, by the low byte of their handles. The hash is one number. A reader gets its low
 * bytes, most significant first. A CRC continues from the seed as if it were the checksum of bytes before the stream,
 * so a seed of 0 gives the usual CRC. CRC-32 takes the low 32 bits of the seed. The driver keeps the attributes of
 * input fields, but they change nothing.
 */
typedef enum vl_model_hash_algorithm {
    VL_MODEL_HASH_IDENTITY = 0, /* the stream itself, XORed with the seed */
    VL_MODEL_HASH_CRC64 = 1,    /* of ECMA-182, reflected: CRC-64/XZ */
    VL_MODEL_HASH_CRC32 = 2     /* of IEEE 802.3 */
} vl_model_hash_algorithm;

/* Counters: count_a of pipe_counter_record counts packets, count_b bytes. Both wrap. */

/* Learning digests are delivered at once, whatever the timeout. */

/* Snapshots: the state of a trigger. */
enum { BF_SNAPSHOT_IDLE = 0, BF_SNAPSHOT_ARMED = 1, BF_SNAPSHOT_CAPTURED = 2 };

typedef struct bf_snapshot_capture_ctrl {
    uint32_t state;         /* BF_SNAPSHOT_...; idle before the first trigger */
    uint32_t trigger_stage; /* the stage where the trigger matched; 0 unless captured */
} bf_snapshot_capture_ctrl;

/* The size of one stage in a capture, with bytes of 0 after the record. */
#define VL_MODEL_SNAPSHOT_STAGE_SIZE 704

#ifdef __cplusplus
}
#endif

#endif
