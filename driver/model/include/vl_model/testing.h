/*
 * What tests do to the embedded driver: small tables, damaged hardware, made-up rows of a replay, a fresh start. C++
 * tests find more in observe.hpp.
 */
#ifndef VL_MODEL_TESTING_H
#define VL_MODEL_TESTING_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Sets the capacity of a match, data or selector table. Rows beyond a lowered capacity stay. */
uint32_t vl_model_table_set_capacity(uint32_t dev_id, uint32_t tbl_hdl, uint32_t capacity);

typedef enum vl_model_damage {
    VL_MODEL_LOST = 0, /* the hardware has lost the entry */
    VL_MODEL_KEY_BIT = 1,
    VL_MODEL_MASK_BIT = 2,
    VL_MODEL_DATA_BIT = 3,  /* of the action data */
    VL_MODEL_MEMBER_BIT = 4 /* of the handle of the entry's member */
} vl_model_damage;

/* The damage to an entry's hardware. */
typedef struct vl_model_corruption {
    uint32_t tbl_hdl;
    uint32_t ent_hdl;
    vl_model_damage what;
    uint32_t bit; /* the flipped one: bit % 8 of byte bit / 8, where bit 0 is the lowest; in a handle the bit itself */
} vl_model_corruption;

/*
 * Damages `count` random entries of the device's match tables, or all if there are fewer, in hardware only: an entry is
 * lost, or one random bit of it flips. Default entries and entries whose hardware already differs are left alone.
 * Writes the damage to `corrupted`, which has room for `count`, and the number of damaged entries to *corrupted_count.
 * The same entries, seed and count give the same damage. The next change of an entry by the software repairs its
 * hardware.
 */
uint32_t vl_model_hardware_corrupt(uint32_t dev_id, uint64_t seed, uint32_t count, vl_model_corruption* corrupted,
                                   uint32_t* corrupted_count);

/*
 * Arms a fault: the nth call of a function of the boundary from now, where 1 is the next, is refused with `status` and
 * has no other effect. Each fault refuses one call. bf_sys_calloc and other functions that return a pointer return null.
 * VL_MODEL_INVALID for null, or an nth of 0.
 */
uint32_t vl_model_fail_call(const char* function, uint32_t nth, uint32_t status);

/* Disarms the faults that have not fired. */
void vl_model_clear_faults(void);

/* A row of a replay, as pipe_adt_sel_restore_cb takes it. */
typedef struct vl_model_row {
    uint32_t sess_hdl;
    uint32_t dev_id;
    uint32_t data_table;
    uint32_t act_hdl;
    uint32_t grp_hdl;
    uint32_t mbr_hdl;
    uint32_t resource_count;
} vl_model_row;

/* Calls the callback of the last restore with any row. VL_MODEL_NOT_FOUND if there has been no restore. */
uint32_t vl_model_replay_row(const vl_model_row* row);

/*
 * Forgets devices, sessions, clients, member-selector content, log sink, debug mode, the time, the callback of the last
 * restore, and the faults, recording and answers of observe.hpp. Calls no callback. Memory that clients have, and their
 * member-selector states, stay valid.
 */
void vl_model_reset(void);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
