// The program as a whole: its life, action names, and walking by handle.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family lifecycle_families[] = {
    {.over = Over::program, .name = "{p}init",
     .result = "void",
     .arguments = "void",
     .call = "lifecycle::init()"},
    {.over = Over::program, .name = "{p}cleanup",
     .arguments = "void",
     .call = "lifecycle::cleanup()"},
    {.over = Over::program, .name = "{p}device_state_cleanup",
     .result = "void",
     .arguments = "void",
     .call = "lifecycle::device_state_cleanup()"},
    {.over = Over::program, .name = "{p}restore_virtual_dev_state",
     .arguments = "uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5",
     .call = "lifecycle::restore_virtual_dev_state({args})"},
};

inline constexpr Family names_families[] = {
    {.over = Over::program, .name = "{p}action_enum_to_string",
     .result = "const char *",
     .arguments = "uint32_t action_id",
     .call = "action_names::to_string({args})"},
    {.over = Over::program, .name = "{p}action_string_to_enum",
     .result = "uint32_t",
     .arguments = "const char *name",
     .call = "action_names::to_enum({args})"},
};

inline constexpr Family by_handle_families[] = {
    {.over = Over::program, .name = "{p}entry_hdl_first",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry *entry_hdl",
     .call = "by_handle::entry_hdl_first({args})"},
    {.over = Over::program, .name = "{p}entry_hdl_next",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t n, "
                  "pd_entry *next_entry_hdls",
     .call = "by_handle::entry_hdl_next({args})"},
    {.over = Over::program, .name = "{p}entry_hdl_default",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry *entry_hdl",
     .call = "by_handle::entry_hdl_default({args})"},
    {.over = Over::program, .name = "{p}member_hdl_first",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member *mbr_hdl",
     .call = "by_handle::member_hdl_first({args})"},
    {.over = Over::program, .name = "{p}member_hdl_next",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member mbr_hdl, uint32_t n, "
                  "pd_member *next_mbr_hdls",
     .call = "by_handle::member_hdl_next({args})"},
};

inline constexpr Area program_areas[] = {
    {"pd/lifecycle.h", lifecycle_families},
    {"pd/names.h", names_families},
    {"pd_velmar/by_handle.h", by_handle_families},
};
// clang-format on

} // namespace generator
