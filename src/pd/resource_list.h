// The attached resources of an entry that was read, as plain pairs.
#pragma once

#include <cstdint>

#include "vl_driver/system.h"
#include "vl_driver/types.h"
#include "vl_pd/types.h"

namespace vl_pd {

// Owns the list for the length of a call. It is allocated only if the record has slots, whether or not the entry's
// action needs it, and freed on every path.
class ResourceList {
public:
    ResourceList() = default;
    ResourceList(const ResourceList&) = delete;
    ResourceList& operator=(const ResourceList&) = delete;
    ~ResourceList() {
        if (pairs_ != nullptr) bf_sys_free(pairs_);
    }

    // Lists the record's attached slots. False if there was no memory for the list.
    bool build_pd_res_spec(const pipe_action_record& record) noexcept {
        return record.resource_count == 0 || list_slots(record);
    }

    const pd_resource_index* pairs() const {
        return pairs_;
    }
    uint32_t count() const {
        return count_;
    }

private:
    bool list_slots(const pipe_action_record& record) noexcept;

    pd_resource_index* pairs_ = nullptr;
    uint32_t count_ = 0;
};

} // namespace vl_pd
