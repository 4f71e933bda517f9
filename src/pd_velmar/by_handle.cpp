// Handles are found by bisection: there is one list of tables, and holes in it need no care.
#include "pd_velmar/by_handle.h"

#include <algorithm>
#include <cstdio>

#include "pd_velmar/text_writer.h"

namespace vl_pd::by_handle {

namespace {

// Null for a handle that the list doesn't have.
template <class Functions>
const Functions* find(std::span<const Functions> list, uint32_t handle) {
    const auto found = std::lower_bound(list.begin(), list.end(), handle,
                                        [](const Functions& each, uint32_t wanted) { return each.handle < wanted; });
    return found != list.end() && found->handle == handle ? &*found : nullptr;
}

pd_status print_not_found(int fd, uint32_t handle) {
    return static_cast<pd_status>(dprintf(fd, "0x%08x table not found\n", handle));
}

} // namespace

const TableFunctions* table(uint32_t handle) noexcept {
    return find(table_functions, handle);
}

const ProfileFunctions* profile(uint32_t handle) noexcept {
    return find(profile_functions, handle);
}

int cli_schema(uint32_t handle, char* buffer) noexcept {
    if (const TableFunctions* const known = table(handle)) return known->schema(buffer);
    if (const ProfileFunctions* const known = profile(handle)) return known->schema(buffer);
    return text::finish(buffer, text::put(buffer, "()"));
}

int entry_value(pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t read_from_hw,
                char* buffer) noexcept {
    const TableFunctions* const known = table(tbl_hdl);
    return known == nullptr ? 0 : known->value(sess_hdl, dev_id, entry_hdl, read_from_hw, buffer);
}

int stringify_counter_matchspec(pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl,
                                char* buffer) noexcept {
    const TableFunctions* const known = table(tbl_hdl);
    if (known == nullptr || known->describe == nullptr) return 0;
    return known->describe(sess_hdl, dev_id, entry_hdl, buffer);
}

pd_status plcmt_data_print(int fd, uint32_t indent, uint32_t tbl_hdl, const void* plcmt_data) noexcept {
    const TableFunctions* const known = table(tbl_hdl);
    return known == nullptr ? print_not_found(fd, tbl_hdl) : known->placement_print(fd, indent, plcmt_data);
}

pd_status adt_plcmt_data_print(int fd, uint32_t indent, uint32_t adt_hdl, const void* plcmt_data) noexcept {
    const ProfileFunctions* const known = profile(adt_hdl);
    return known == nullptr ? print_not_found(fd, adt_hdl) : known->placement_print(fd, indent, plcmt_data);
}

int plcmt_data_value(uint32_t tbl_hdl, const void* plcmt_data, char* buffer) noexcept {
    const TableFunctions* const known = table(tbl_hdl);
    return known == nullptr ? 0 : known->placement_value(plcmt_data, buffer);
}

int adt_plcmt_data_value(uint32_t adt_hdl, const void* plcmt_data, char* buffer) noexcept {
    const ProfileFunctions* const known = profile(adt_hdl);
    return known == nullptr ? 0 : known->placement_value(plcmt_data, buffer);
}

int plcmt_data_eq_to_hw(pd_session sess_hdl, pd_device dev_id, uint32_t tbl_hdl, pd_entry entry_hdl,
                        const void* plcmt_data, char* message) noexcept {
    if (const TableFunctions* const known = table(tbl_hdl))
        return known->placement_equals_hardware(sess_hdl, dev_id, tbl_hdl, entry_hdl, plcmt_data, message);
    text::finish(message, text::put(message, "unknown table"));
    return 0;
}

} // namespace vl_pd::by_handle
