// Parser value sets: values and masks with which the parser compares packet fields. An agent's target is one record;
// the driver takes its members as arguments. The low 8 bits of `parser` and of read_from_hw reach the driver.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vl_driver/value_sets.h"
#include "vl_pd/types.h"

namespace vl_pd::value_sets {

static_assert(sizeof(pd_pvs_target) == 16 && offsetof(pd_pvs_target, parser) == 12);

inline pd_status add(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t value, uint32_t mask,
                     uint32_t* entry_hdl) noexcept {
    return pipe_mgr_pvs_entry_add(sess_hdl, target.dev_id, id, target.gress, target.pipe, target.parser, value, mask,
                                  entry_hdl);
}

inline pd_status modify(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl, uint32_t value,
                        uint32_t mask) noexcept {
    return pipe_mgr_pvs_entry_modify(sess_hdl, dev_id, id, entry_hdl, value, mask);
}

inline pd_status remove(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl) noexcept {
    return pipe_mgr_pvs_entry_delete(sess_hdl, dev_id, id, entry_hdl);
}

inline pd_status get(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl, uint32_t* value,
                     uint32_t* mask) noexcept {
    return pipe_mgr_pvs_entry_get(sess_hdl, dev_id, id, entry_hdl, value, mask, nullptr, nullptr, nullptr);
}

inline pd_status get_count(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t read_from_hw,
                           uint32_t* count) noexcept {
    return pipe_mgr_pvs_entry_get_count(sess_hdl, target.dev_id, id, target.gress, target.pipe, target.parser,
                                        static_cast<uint8_t>(read_from_hw), count);
}

inline pd_status get_handle(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t value, uint32_t mask,
                            uint32_t* entry_hdl) noexcept {
    return pipe_mgr_pvs_entry_handle_get(sess_hdl, target.dev_id, id, target.gress, target.pipe, target.parser, value,
                                         mask, entry_hdl);
}

inline pd_status get_first(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t* entry_hdl) noexcept {
    return pipe_mgr_pvs_entry_get_first(sess_hdl, target.dev_id, id, target.gress, target.pipe, target.parser,
                                        entry_hdl);
}

inline pd_status get_next(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t entry_hdl, uint32_t count,
                          uint32_t* next_entry_hdls) noexcept {
    return pipe_mgr_pvs_entry_get_next(sess_hdl, target.dev_id, id, target.gress, target.pipe, target.parser, entry_hdl,
                                       count, next_entry_hdls);
}

inline pd_status set_property(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t value,
                              uint32_t arg) noexcept {
    const pipe_pvs_property_args args{.arg = arg, .unused = 0};
    return pipe_mgr_pvs_set_property(sess_hdl, dev_id, id, property, value, args);
}

// The value is all ones after a failure.
inline pd_status get_property(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t* value,
                              uint32_t arg) noexcept {
    const pipe_pvs_property_args args{.arg = arg, .unused = 0};
    uint32_t driver_value = 0;
    const pd_status status = pipe_mgr_pvs_get_property(sess_hdl, dev_id, id, property, &driver_value, args);
    *value = status == PD_STATUS_OK ? driver_value : ~uint32_t{0};
    return status;
}

} // namespace vl_pd::value_sets
