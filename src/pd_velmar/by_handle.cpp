// Handles are found by bisection in the lists of functions. For a known handle, the function of its row is called; the
// walks call the driver, which takes the handle.
#include "pd_velmar/by_handle.h"

#include <algorithm>
#include <cstdio>

#include "codec/driver_args.h"
#include "codec/meter_specs.h"
#include "pd/tables/defaults.h"
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

const TableFunctions* table(uint32_t handle) {
    return find(table_functions, handle);
}

const ProfileFunctions* profile(uint32_t handle) {
    return find(profile_functions, handle);
}

pd_status end_of_list(uint32_t* out, pd_status status) {
    *out = PD_HDL_END;
    return status;
}

pd_status print_not_found(int fd, uint32_t handle) {
    return static_cast<pd_status>(dprintf(fd, "0x%08x table not found\n", handle));
}

// False for an unknown type, and for a colour aware meter without colours.
bool get_meter_type(uint32_t requested_meter_type, bool has_pre_color, uint32_t& driver_type) {
    if (requested_meter_type == PD_METER_TYPE_COLOR_UNAWARE) {
        driver_type = PIPE_METER_COLOR_UNAWARE;
        return true;
    }
    driver_type = PIPE_METER_COLOR_AWARE;
    return requested_meter_type == PD_METER_TYPE_COLOR_AWARE && has_pre_color;
}

pd_status set_meter(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                    const pd_meter_spec& meter_spec, uint32_t has_pre_color, uint32_t unit) {
    uint32_t driver_type = 0;
    if (!get_meter_type(meter_spec.meter_type, static_cast<uint8_t>(has_pre_color) != 0, driver_type))
        return PD_STATUS_INVALID;
    const pipe_meter_spec driver_spec = meters::driver_form(meter_spec, driver_type, unit);
    return pipe_mgr_meter_ent_set(sess_hdl, to_driver(dev_tgt), handle, index, &driver_spec, no_flags);
}

} // namespace

pd_status entry_hdl_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry* entry_hdl) noexcept {
    if (table(tbl_hdl) == nullptr) return end_of_list(entry_hdl, PD_STATUS_OK);
    return reading::get_first(tbl_hdl, sess_hdl, dev_tgt, entry_hdl);
}

pd_status entry_hdl_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry entry_hdl, uint32_t n,
                         pd_entry* next_entry_hdls) noexcept {
    if (table(tbl_hdl) == nullptr) return end_of_list(next_entry_hdls, PD_STATUS_OK);
    return reading::get_next(tbl_hdl, sess_hdl, dev_tgt, entry_hdl, n, next_entry_hdls);
}

pd_status entry_hdl_default(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t tbl_hdl, pd_entry* entry_hdl) noexcept {
    if (table(tbl_hdl) == nullptr) return end_of_list(entry_hdl, PD_STATUS_OK);
    return defaults::get_handle(tbl_hdl, sess_hdl, dev_tgt, entry_hdl);
}

pd_status member_hdl_first(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member* mbr_hdl) noexcept {
    if (profile(adt_hdl) == nullptr) return end_of_list(mbr_hdl, PD_STATUS_MISMATCH);
    return reading::get_first(adt_hdl, sess_hdl, dev_tgt, mbr_hdl);
}

pd_status member_hdl_next(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t adt_hdl, pd_member mbr_hdl, uint32_t n,
                          pd_member* next_mbr_hdls) noexcept {
    if (profile(adt_hdl) == nullptr) return end_of_list(next_mbr_hdls, PD_STATUS_MISMATCH);
    return reading::get_next(adt_hdl, sess_hdl, dev_tgt, mbr_hdl, n, next_mbr_hdls);
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

pd_status bytes_meter_set(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                          const pd_meter_spec* meter_spec, uint32_t has_pre_color) noexcept {
    return set_meter(sess_hdl, dev_tgt, handle, index, *meter_spec, has_pre_color, PIPE_METER_UNIT_BYTES);
}

pd_status packets_meter_set(pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t handle, uint32_t index,
                            const pd_meter_spec* meter_spec, uint32_t has_pre_color) noexcept {
    return set_meter(sess_hdl, dev_tgt, handle, index, *meter_spec, has_pre_color, PIPE_METER_UNIT_PACKETS);
}

} // namespace vl_pd::by_handle
