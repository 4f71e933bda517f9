// Lists live in the driver's memory, like everything that the library allocates.
#include "pd/resource_list.h"

#include <algorithm>

namespace vl_pd {

bool ResourceList::list_slots(const pipe_action_record& record) noexcept {
    pairs_ = static_cast<pd_resource_index*>(bf_sys_calloc(record.resource_count, sizeof(pd_resource_index)));
    if (pairs_ == nullptr) return false;
    // A count beyond the record's slots can't be meant: what lies behind them isn't the driver's answer.
    const int slots = std::min<int>(record.resource_count, PIPE_MAX_SLOTS);
    for (int i = 0; i < slots; ++i)
        if (const pipe_resource_slot& slot = record.slots[i]; slot.tag == PIPE_SLOT_ATTACHED)
            pairs_[count_++] = {.resource_hdl = slot.resource_hdl, .index = slot.index};
    return true;
}

} // namespace vl_pd
