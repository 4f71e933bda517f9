// The program as a whole: its life, action names, and walking by handle.
#pragma once

#include "generator/family.h"

namespace generator {

// clang-format off
inline constexpr Family lifecycle_families[] = {
    {.over = Over::program, .name = "{p}init",
     .doc = "Sets up the library and registers it with the driver. Call it once, before any other function. The "
            "process stops if the driver refuses.",
     .result = "void",
     .arguments = "void",
     .call = "lifecycle::init()"},
    {.over = Over::program, .name = "{p}cleanup",
     .doc = "Ends the library's registration with the driver. Call it last. {status}",
     .arguments = "void",
     .call = "lifecycle::cleanup()"},
    {.over = Over::program, .name = "{p}device_state_cleanup",
     .doc = "Does nothing.",
     .result = "void",
     .arguments = "void",
     .call = "lifecycle::device_state_cleanup()"},
    {.over = Over::program, .name = "{p}restore_virtual_dev_state",
     .doc = "Restores the shadow of the action profiles after a restart: the driver replays its members and groups. "
            "The driver defines the five words. {status}",
     .arguments = "uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5",
     .call = "lifecycle::restore_virtual_dev_state({args})"},
};

inline constexpr Family names_families[] = {
    {.over = Over::program, .name = "{p}action_enum_to_string",
     .doc = "Returns the full name of the action with this number, or null.",
     .result = "const char *",
     .arguments = "uint32_t action_id",
     .call = "action_names::to_string({args})"},
    {.over = Over::program, .name = "{p}action_string_to_enum",
     .doc = "Returns the number of the action with this full name, or {p}action_count.",
     .result = "uint32_t",
     .arguments = "const char *name",
     .call = "action_names::to_enum({args})"},
};

inline constexpr Family by_handle_families[] = {
    {.over = Over::program, .name = "{p}entry_hdl_first",
     .doc = "Writes the handle of the first entry of table tbl_hdl to *entry_hdl. {status} An unknown table gives "
            "PD_HDL_END and 0.",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry *entry_hdl",
     .call = "by_handle::entry_hdl_first({args})"},
    {.over = Over::program, .name = "{p}entry_hdl_next",
     .doc = "Writes the handles of the n entries after entry_hdl in table tbl_hdl; PD_HDL_END ends them. {status} An "
            "unknown table gives PD_HDL_END and 0.",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t n, "
                  "pd_entry *next_entry_hdls",
     .call = "by_handle::entry_hdl_next({args})"},
    {.over = Over::program, .name = "{p}entry_hdl_default",
     .doc = "Writes the handle of the default entry of table tbl_hdl to *entry_hdl. {status} An unknown table gives "
            "PD_HDL_END and 0.",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry *entry_hdl",
     .call = "by_handle::entry_hdl_default({args})"},
    {.over = Over::program, .name = "{p}member_hdl_first",
     .doc = "Writes the handle of the first member of profile adt_hdl to *mbr_hdl. {status} An unknown profile gives "
            "PD_HDL_END and PD_STATUS_MISMATCH.",
     .arguments = "pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member *mbr_hdl",
     .call = "by_handle::member_hdl_first({args})"},
    {.over = Over::program, .name = "{p}member_hdl_next",
     .doc = "Writes the handles of the n members after mbr_hdl in profile adt_hdl; PD_HDL_END ends them. {status} An "
            "unknown profile gives PD_HDL_END and PD_STATUS_MISMATCH.",
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
