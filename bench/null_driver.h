// How a benchmark controls the null driver, which accepts everything and keeps nothing.
#pragma once

#include <cstdint>

#include "vl_driver/types.h"

// The answer of pipe_mgr_get_entry. A record without key bytes is an entry without a key.
struct NullDriverAnswer {
    pipe_match_record match;
    pipe_act_hdl act_hdl;
    uint16_t data_len;
    const uint8_t* data;
    uint8_t kind;
    uint8_t resource_count;
    pipe_resource_slot slot;
};

// An add or a look-up. A look-up has 0 and null for the action.
struct NullDriverCall {
    pipe_sess_hdl sess_hdl;
    pipe_dev_tgt dev_tgt;
    pipe_tbl_hdl tbl_hdl;
    const pipe_match_record* match;
    pipe_act_hdl act_hdl;
    const pipe_action_record* action;
    uint32_t ttl;
    uint32_t flags;
};

#pragma GCC visibility push(default)
// Variables, not functions: a benchmark changes the answer in every iteration, for the price of one store.
extern const NullDriverAnswer* null_driver_answer;
// Sees all adds and look-ups. It is null while a benchmark measures.
extern void (*null_driver_observer)(const NullDriverCall& call);
#pragma GCC visibility pop
