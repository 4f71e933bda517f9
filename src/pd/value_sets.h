// Parser value sets: values and masks that the parser compares packet fields with. All is forwarded; the set's id
// stands in the third place. Of the target's parser and of read_from_hw 8 bits reach the driver.
#pragma once

#include <cstdint>

#include "vl_pd/types.h"

namespace vl_pd::value_sets {

pd_status add(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t value, uint32_t mask,
              uint32_t* entry_hdl) noexcept;
pd_status modify(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl, uint32_t value,
                 uint32_t mask) noexcept;
pd_status remove(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl) noexcept;
pd_status get(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t entry_hdl, uint32_t* value,
              uint32_t* mask) noexcept;
pd_status get_count(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t read_from_hw,
                    uint32_t* count) noexcept;
pd_status get_handle(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t value, uint32_t mask,
                     uint32_t* entry_hdl) noexcept;
pd_status get_first(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t* entry_hdl) noexcept;
pd_status get_next(uint32_t id, pd_session sess_hdl, pd_pvs_target target, uint32_t entry_hdl, uint32_t count,
                   uint32_t* next_entry_hdls) noexcept;
pd_status set_property(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t value,
                       uint32_t arg) noexcept;
// The value is all ones after a failure.
pd_status get_property(uint32_t id, pd_session sess_hdl, pd_device dev_id, uint32_t property, uint32_t* value,
                       uint32_t arg) noexcept;

} // namespace vl_pd::value_sets
