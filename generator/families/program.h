// The program as a whole: its life, action names, restore, and walking by handle.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family program_families[] = {
    {.over = Over::program, .shard = Shard::program,
     .name = "{p}init",
     .result = "void",
     .arguments = "void",
     .body = "lifecycle::init();"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}cleanup",
     .result = "pd_status",
     .arguments = "void",
     .body = "return lifecycle::cleanup();"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}device_state_cleanup",
     .result = "void",
     .arguments = "void",
     .body = "lifecycle::device_state_cleanup();"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}action_enum_to_string",
     .result = "const char *",
     .arguments = "uint32_t action_id",
     .body = "return action_names::to_string(action_id);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}action_string_to_enum",
     .result = "uint32_t",
     .arguments = "const char *name",
     .body = "return action_names::to_enum(name);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}restore_virtual_dev_state",
     .result = "pd_status",
     .arguments = "uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5",
     .body = "return restore::restore_virtual_dev_state(a1, a2, a3, a4, a5);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}entry_hdl_first",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry *entry_hdl",
     .body = "return dispatch::entry_hdl_first(sess_hdl, dev_tgt, tbl_hdl, entry_hdl);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}entry_hdl_next",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t n, "
                  "pd_entry *next_entry_hdls",
     .body = "return dispatch::entry_hdl_next(sess_hdl, dev_tgt, tbl_hdl, entry_hdl, n, next_entry_hdls);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}entry_hdl_default",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry *entry_hdl",
     .body = "return dispatch::entry_hdl_default(sess_hdl, dev_tgt, tbl_hdl, entry_hdl);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}member_hdl_first",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member *mbr_hdl",
     .body = "return dispatch::member_hdl_first(sess_hdl, dev_tgt, adt_hdl, mbr_hdl);"},

    {.over = Over::program, .shard = Shard::program,
     .name = "{p}member_hdl_next",
     .result = "pd_status",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member mbr_hdl, uint32_t n, "
                  "pd_member *next_mbr_hdls",
     .body = "return dispatch::member_hdl_next(sess_hdl, dev_tgt, adt_hdl, mbr_hdl, n, next_mbr_hdls);"},
};
// clang-format on

} // namespace generator
