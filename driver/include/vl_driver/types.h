/*
 * The generic records that this library and the driver exchange, and their handles.
 *
 * Every record is passed by address and lives in the caller's frame. The driver reads or fills it during the call and
 * keeps no pointer to it or to its buffers. The layouts are binding and asserted below. Integers inside the records are
 * in the machine's byte order; key, mask and action data bytes are most significant byte first.
 *
 * Every reserved byte has a name, so that any compiler zeroes all bytes of an initialised record.
 */
#ifndef VL_DRIVER_TYPES_H
#define VL_DRIVER_TYPES_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* 0 is success. Every other value is a refusal, which the library passes on unchanged. */
typedef uint32_t pipe_status;

typedef uint32_t pipe_sess_hdl; /* a session that the agent opened; the library passes it on */
typedef uint32_t pipe_dev_id;
typedef uint32_t pipe_tbl_hdl; /* a match, action data, selector or resource table: a constant of the pipeline */
typedef uint32_t pipe_act_hdl; /* one action of one table: a constant of the pipeline */
typedef uint32_t pipe_ent_hdl; /* a match entry, made by the driver */
typedef uint32_t pipe_mbr_hdl; /* a member of an action data table, made by the driver; 0 is none */
typedef uint32_t pipe_grp_hdl; /* a selector group, made by the driver; 0 is none */

/* Walking calls write this after the last handle of a list. */
#define PIPE_HDL_END UINT32_C(0xFFFFFFFF)

#define PIPE_ALL_PIPES UINT16_C(0xFFFF)

/* A device and one of its pipes, passed by value in one register. */
typedef struct pipe_dev_tgt {
    pipe_dev_id dev_id;
    uint16_t pipe_id; /* PIPE_ALL_PIPES for all of them */
    uint16_t reserved;
} pipe_dev_tgt;

/* The key of an entry. */
typedef struct pipe_match_record {
    uint8_t* key_bytes;
    uint8_t* mask_bytes;      /* as long as key_bytes; matched bits are 1 */
    uint32_t partition_index; /* the partition in a partitioned prefix table; 0 elsewhere */
    uint32_t priority;        /* orders overlapping entries; in prefix tables, the number of unmatched address bits */
    uint16_t key_bits;        /* sum of the key fields' widths */
    uint16_t key_len;         /* sum of the key fields' whole bytes */
    uint32_t reserved;
} pipe_match_record;

/* Action data. On a read, the caller sets data_len to the room in data. */
typedef struct pipe_action_data {
    uint16_t data_bits; /* sum of the parameters' widths */
    uint16_t data_len;  /* sum of the parameters' whole bytes */
    uint32_t reserved;
    uint8_t* data;
} pipe_action_data;

/* How an action uses the resource of a slot. */
enum { PIPE_SLOT_UNCHANGED = 0, PIPE_SLOT_ATTACHED = 1, PIPE_SLOT_DETACHED = 2 };

#define PIPE_RESOURCE_SPEC_SIZE 56

/* A counter, meter or register that travels with an entry. */
typedef struct pipe_resource_slot {
    uint32_t resource_hdl;
    uint32_t index;                        /* a cell, for resources that are addressed by index */
    uint8_t spec[PIPE_RESOURCE_SPEC_SIZE]; /* the values of a direct resource: see pipe_meter_spec */
    uint32_t tag;                          /* PIPE_SLOT_... */
    uint32_t reserved;
} pipe_resource_slot;

/* An entry has action data, a member or a group. */
enum { PIPE_KIND_ACTION_DATA = 1, PIPE_KIND_MEMBER = 2, PIPE_KIND_GROUP = 4 };

#define PIPE_MAX_SLOTS 4

typedef struct pipe_action_record {
    uint8_t kind;           /* PIPE_KIND_...; 0 when a member of an action data table is sent */
    uint8_t resource_count; /* slots in use, from the first */
    uint8_t reserved[6];
    pipe_action_data action;
    pipe_mbr_hdl member_hdl; /* PIPE_KIND_MEMBER only */
    pipe_grp_hdl group_hdl;  /* PIPE_KIND_GROUP only */
    pipe_resource_slot slots[PIPE_MAX_SLOTS];
} pipe_action_record;

static_assert(sizeof(pipe_dev_tgt) == 8, "travels in one register");
static_assert(sizeof(pipe_match_record) == 32 && offsetof(pipe_match_record, partition_index) == 16 &&
                  offsetof(pipe_match_record, key_bits) == 24 && offsetof(pipe_match_record, key_len) == 26,
              "match record");
static_assert(sizeof(pipe_action_data) == 16 && offsetof(pipe_action_data, data_len) == 2 &&
                  offsetof(pipe_action_data, reserved) == 4 && offsetof(pipe_action_data, data) == 8,
              "action data");
static_assert(sizeof(pipe_resource_slot) == 72 && offsetof(pipe_resource_slot, spec) == 8 &&
                  offsetof(pipe_resource_slot, tag) == 64,
              "resource slot");
static_assert(sizeof(pipe_action_record) == 320 && offsetof(pipe_action_record, action) == 8 &&
                  offsetof(pipe_action_record, member_hdl) == 24 && offsetof(pipe_action_record, group_hdl) == 28 &&
                  offsetof(pipe_action_record, slots) == 32,
              "action record");

#ifdef __cplusplus
}
#endif

#endif
