/*
 * Registers: stateful cells that packets read and change. A cell has one value for each instance of it in the hardware.
 * Readers first ask for the number of values, and provide room for them.
 */
#ifndef VL_DRIVER_REGISTERS_H
#define VL_DRIVER_REGISTERS_H

#include "resources.h"
#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* One value: a flag in byte 0, a word in bytes 0 to 3, or a pair of words. A writer sets only the bytes that count. */
typedef struct pipe_stful_element {
    uint8_t bytes[16];
} pipe_stful_element;

/* The room for one cell's values. The driver may lower count to the number of values that it wrote. */
typedef struct pipe_stful_query {
    uint32_t count;
    uint32_t reserved;
    pipe_stful_element* elements;
} pipe_stful_query;

static_assert(sizeof(pipe_stful_element) == 16, "register value");
static_assert(sizeof(pipe_stful_query) == 16 && offsetof(pipe_stful_query, elements) == 8, "register query");

/* Writes the number of values of one cell. */
pipe_status pipe_stful_query_get_sizes(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                       int32_t* size);

/* from_hw is 1 to read the hardware first, else 0. */
pipe_status pipe_stful_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl, uint32_t index,
                                 pipe_stful_query* query, uint32_t from_hw);

/* Reads at most `count` cells into as many queries, and writes the number of cells read to *cells_read. */
pipe_status pipe_stful_ent_query_range(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                       uint32_t first_index, int32_t count, pipe_stful_query* queries,
                                       uint32_t* cells_read, uint32_t from_hw);

/* Reads a register that is attached to match entries. tbl_hdl is the match table. */
pipe_status pipe_stful_direct_ent_query(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                        pipe_ent_hdl ent_hdl, pipe_stful_query* query, uint32_t from_hw);

pipe_status pipe_stful_ent_set(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl, uint32_t index,
                               const pipe_stful_element* element, uint32_t flags);

/* Sets all cells to `element`, or to the register's initial value if `element` is null. */
pipe_status pipe_stful_table_reset(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                   const pipe_stful_element* element);

pipe_status pipe_stful_table_reset_range(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                         uint32_t first_index, uint32_t count, const pipe_stful_element* element);

pipe_status pipe_stful_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl stful_hdl,
                                     pipe_sync_cb callback, void* cookie);

pipe_status pipe_stful_direct_database_sync(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                            pipe_sync_cb callback, void* cookie);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
