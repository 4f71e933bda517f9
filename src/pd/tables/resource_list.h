// The attached resources of an entry that was read, as plain pairs.
#pragma once

#include <algorithm>
#include <cstdint>

#include "pd/driver_array.h"
#include "vl_driver/types.h"
#include "vl_pd/types.h"

namespace vl_pd {

// Holds the list for the length of a call. The list is allocated only if the record has slots, whether or not the
// entry's action needs it.
class ResourceList {
public:
    // Lists the record's attached slots. False if there was no memory for the list.
    bool build_pd_res_spec(const pipe_action_record& record) noexcept {
        return record.resource_count == 0 || list_slots(record);
    }

    const pd_resource_index* pairs() const {
        return pairs_.get();
    }
    uint32_t count() const {
        return count_;
    }

private:
    [[gnu::noinline]] bool list_slots(const pipe_action_record& record) noexcept {
        pairs_.allocate(record.resource_count);
        if (pairs_.get() == nullptr) return false;
        // The driver can count more slots than the record has. Nothing after them belongs to the answer.
        const int slots = std::min<int>(record.resource_count, PIPE_MAX_SLOTS);
        for (int i = 0; i < slots; ++i)
            if (const pipe_resource_slot& slot = record.slots[i]; slot.tag == PIPE_SLOT_ATTACHED)
                pairs_[count_++] = {.resource_hdl = slot.resource_hdl, .index = slot.index};
        return true;
    }

    DriverArray<pd_resource_index> pairs_;
    uint32_t count_ = 0;
};

} // namespace vl_pd
