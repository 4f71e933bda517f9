/*
 * Hash calculations. Their algorithm, seed and inputs can change at run time.
 * Handles of calculations, inputs and algorithms are constants of the pipeline.
 */
#ifndef VL_DRIVER_HASH_H
#define VL_DRIVER_HASH_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef uint32_t pipe_hash_hdl;
typedef uint32_t pipe_hash_input_hdl;
typedef uint32_t pipe_hash_algo_hdl;

/* An attribute of one input field. Field ids and attribute types are the driver's own numbers. */
typedef struct pipe_hash_attribute {
    uint32_t input_field;
    uint32_t reserved_4;
    uint32_t reserved_8;
    uint32_t input_field_plus_1;
    uint32_t attr_type;
    uint32_t reserved_20;
    uint32_t attr_value;
    uint32_t reserved_28;
} pipe_hash_attribute;

static_assert(sizeof(pipe_hash_attribute) == 32 && offsetof(pipe_hash_attribute, input_field_plus_1) == 12 &&
                  offsetof(pipe_hash_attribute, attr_type) == 16 && offsetof(pipe_hash_attribute, attr_value) == 24,
              "hash attribute");

pipe_status pipe_mgr_hash_calc_algorithm_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                             pipe_hash_algo_hdl algo_hdl, uint64_t always_0, uint64_t always_0_too);

/* Writes *algo_hdl only. The library always sends 0 as the last two arguments. */
pipe_status pipe_mgr_hash_calc_algorithm_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                             pipe_hash_algo_hdl* algo_hdl, uint64_t always_0, uint64_t always_0_too);

pipe_status pipe_mgr_hash_calc_seed_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                        uint64_t seed);

pipe_status pipe_mgr_hash_calc_seed_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                        uint64_t* seed);

pipe_status pipe_mgr_hash_calc_input_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                         pipe_hash_input_hdl input_hdl);

pipe_status pipe_mgr_hash_calc_input_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                         pipe_hash_input_hdl* input_hdl);

/* A count of 0, with null, clears the attributes. */
pipe_status pipe_mgr_hash_calc_input_field_attribute_set(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id,
                                                         pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl,
                                                         uint32_t count, const pipe_hash_attribute* attributes);

/* Fills at most `room` attributes and writes their number to *count. */
pipe_status pipe_mgr_hash_calc_input_field_attribute_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id,
                                                         pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl,
                                                         uint32_t room, pipe_hash_attribute* attributes,
                                                         uint32_t* count);

pipe_status pipe_mgr_hash_calc_input_field_attribute_count_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id,
                                                               pipe_hash_hdl hash_hdl, pipe_hash_input_hdl input_hdl,
                                                               uint32_t* count);

/* Hashes a bit stream as the pipeline does. The stream is one number, most significant byte first. */
pipe_status pipe_mgr_hash_calc_calculate_hash_value(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_hash_hdl hash_hdl,
                                                    const uint8_t* stream, uint32_t stream_len, uint8_t* hash,
                                                    uint32_t hash_len);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
