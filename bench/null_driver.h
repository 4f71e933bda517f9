// What a benchmark says to the null driver, a driver that accepts everything and keeps nothing.
#pragma once

#include <cstdint>

#include "vl_driver/types.h"

// What pipe_mgr_get_entry answers. A record without key bytes stands for an entry without a key.
struct NullDriverAnswer {
    pipe_match_record match;
    pipe_act_hdl act_hdl;
    uint16_t data_len;
    const uint8_t* data;
    uint8_t kind;
    uint8_t resource_count;
    pipe_resource_slot slot;
};

// An add, or a look-up, whose action arguments are 0 and null then.
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
// Is shown all calls that send a match record. Null while measuring.
extern void (*null_driver_observer)(const NullDriverCall& call);
#pragma GCC visibility pop
