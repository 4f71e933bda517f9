// See placement_store.h.
#include "reads/placement_store.h"

namespace vl_model {

namespace {

// No address of a program has the top bit set, so that no blob is an address.
constexpr uint64_t blob_bit = UINT64_C(1) << 63;
constexpr uint32_t last_use = UINT32_C(0x7FFFFFFF);

static_assert(sizeof(void*) == sizeof(uint64_t));

} // namespace

uint32_t PlacementStore::add(pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, uint32_t handle) {
    uint32_t number = first_free_;
    if (number == 0) {
        places_.push_back({});
        number = static_cast<uint32_t>(places_.size());
    }
    Placement& place = places_[number - 1];
    first_free_ = place.handle;
    place.dev_id = dev_id;
    place.tbl_hdl = tbl_hdl;
    place.handle = handle;
    return number;
}

void PlacementStore::remove(uint32_t number) {
    Placement& place = places_[number - 1];
    place.tbl_hdl = 0;
    // A place whose uses are spent isn't used again: an old blob would become valid.
    if (place.use != last_use) {
        ++place.use;
        place.handle = first_free_;
        first_free_ = number;
    }
}

void PlacementStore::remove_device(pipe_dev_id dev_id) {
    for (uint32_t number = 1; number <= places_.size(); ++number) {
        const Placement& place = places_[number - 1];
        if (place.tbl_hdl != 0 && place.dev_id == dev_id) remove(number);
    }
}

const void* PlacementStore::blob(uint32_t number) const {
    const uint64_t use = places_[number - 1].use;
    return reinterpret_cast<const void*>(blob_bit | use << 32 | number);
}

const Placement* PlacementStore::find(const void* blob) const {
    const uint64_t word = reinterpret_cast<uintptr_t>(blob);
    const auto number = static_cast<uint32_t>(word);
    if ((word & blob_bit) == 0 || number == 0 || number > places_.size()) return nullptr;
    const Placement& place = places_[number - 1];
    return place.tbl_hdl != 0 && place.use == (word >> 32 & last_use) ? &place : nullptr;
}

} // namespace vl_model
