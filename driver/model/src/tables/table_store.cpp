// See table_store.h. All allocations come before the first change, so that a refused call leaves the table unchanged.
#include "tables/table_store.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace vl_model {

namespace {

bool is_zero(const pipe_resource_slot& slot) {
    static constexpr pipe_resource_slot zero{};
    return std::memcmp(&slot, &zero, sizeof(zero)) == 0;
}

uint64_t mix_bytes(uint64_t hash, const uint8_t* bytes, size_t len) {
    for (; len >= sizeof(uint64_t); bytes += sizeof(uint64_t), len -= sizeof(uint64_t)) {
        uint64_t word;
        std::memcpy(&word, bytes, sizeof(word));
        hash = mix(hash, word);
    }
    uint64_t rest = 0;
    if (len >= sizeof(uint32_t)) {
        uint32_t front;
        uint32_t back; // overlaps the front, which does no harm
        std::memcpy(&front, bytes, sizeof(front));
        std::memcpy(&back, bytes + len - sizeof(back), sizeof(back));
        rest = uint64_t{back} << 32 | front;
    } else {
        for (; len != 0; ++bytes, --len)
            rest = rest << 8 | *bytes;
    }
    return mix(hash, rest);
}

} // namespace

EntryFields fields_of(const pipe_match_record* match, uint32_t action_hdl, const pipe_action_record& action) {
    return {.partition_index = match != nullptr ? match->partition_index : 0,
            .priority = match != nullptr ? match->priority : 0,
            .action_hdl = action_hdl,
            .member_hdl = action.member_hdl,
            .group_hdl = action.group_hdl,
            .data_bits = action.action.data_bits,
            .kind = action.kind,
            .resource_count = action.resource_count};
}

EntryImage image_of(const EntryView& view) {
    EntryImage image{view, {}, {}, {}};
    image.key.assign(view.key, view.key + view.key_len);
    image.mask.assign(view.mask, view.mask + view.key_len);
    image.data.assign(view.data, view.data + view.data_len);
    std::copy_n(view.slots, view.slot_count, image.slots.begin());
    return image;
}

EntryView view_of(const EntryImage& image) {
    EntryView view{image};
    view.key = image.key.data();
    view.mask = image.mask.data();
    view.data = image.data.data();
    view.slots = image.slots.data();
    view.slot_count = image.slots.size();
    view.key_len = static_cast<uint16_t>(std::min(image.key.size(), image.mask.size()));
    view.data_len = static_cast<uint16_t>(image.data.size());
    return view;
}

Slots merged_slots(const pipe_action_record& action, const pipe_resource_slot* old_slots, size_t old_count) {
    Slots merged;
    std::copy(std::begin(action.slots), std::end(action.slots), merged.begin());
    for (size_t i = 0; i < action.resource_count; ++i) {
        if (merged[i].tag == PIPE_SLOT_UNCHANGED) {
            const auto* old = std::find_if(old_slots, old_slots + old_count, [&](const pipe_resource_slot& slot) {
                return slot.resource_hdl == merged[i].resource_hdl;
            });
            if (old != old_slots + old_count) merged[i] = *old;
        }
    }
    return merged;
}

bool put_slot(Slots& slots, uint8_t& resource_count, const pipe_resource_slot& slot) {
    uint8_t place = 0;
    while (place < resource_count && slots[place].resource_hdl != slot.resource_hdl)
        ++place;
    if (place == slots.size()) return false;
    slots[place] = slot;
    resource_count = std::max(resource_count, static_cast<uint8_t>(place + 1));
    return true;
}

void LiveSet::reserve(uint32_t position) {
    for (auto& level : words_) {
        position /= 64;
        if (level.size() <= position) level.resize(position + 1);
    }
}

void LiveSet::set(uint32_t position) {
    for (auto& level : words_) {
        level[position / 64] |= UINT64_C(1) << position % 64;
        position /= 64;
    }
}

void LiveSet::clear(uint32_t position) {
    for (auto& level : words_) {
        level[position / 64] &= ~(UINT64_C(1) << position % 64);
        if (level[position / 64] != 0) return;
        position /= 64;
    }
}

bool LiveSet::has(uint32_t position) const {
    return position / 64 < words_[0].size() && (words_[0][position / 64] >> position % 64 & 1) != 0;
}

uint32_t LiveSet::next(uint32_t from) const {
    for (size_t level = 0; level < levels && from / 64 < words_[level].size(); ++level) {
        const uint64_t rest = words_[level][from / 64] >> from % 64;
        if (rest != 0) {
            from += static_cast<uint32_t>(std::countr_zero(rest));
            while (level != 0)
                from = from * 64 + static_cast<uint32_t>(std::countr_zero(words_[--level][from]));
            return from;
        }
        from = from / 64 + 1;
    }
    return none;
}

TableStore::TableStore(uint16_t key_len, uint16_t max_data_len)
    : key_len_(key_len),
      record_size_((sizeof(Head) + 2U * key_len + max_data_len + alignof(Head) - 1) / alignof(Head) * alignof(Head)) {}

TableStore::~TableStore() {
    for (uint32_t handle = first(); handle != 0; handle = next(handle))
        delete[] head(handle).slots;
}

uint8_t* TableStore::data(uint32_t handle) const {
    return key(handle) + 2 * size_t{key_len_};
}

uint32_t TableStore::hash(const pipe_match_record& match) const {
    uint64_t hash = mix(0, uint64_t{match.partition_index} << 32 | match.priority);
    hash = mix_bytes(hash, match.key_bytes, key_len_);
    hash = mix_bytes(hash, match.mask_bytes, key_len_);
    return folded(hash);
}

uint32_t TableStore::find(const pipe_match_record& match, uint32_t wanted) const {
    return index_.find(wanted, [&](uint32_t handle) {
        const Head& h = head(handle);
        const uint8_t* bytes = key(handle);
        return h.partition_index == match.partition_index && h.priority == match.priority &&
               std::memcmp(bytes, match.key_bytes, key_len_) == 0 &&
               std::memcmp(bytes + key_len_, match.mask_bytes, key_len_) == 0;
    });
}

namespace {

KeptSlots kept_slots(const Slots& slots) {
    KeptSlots kept;
    kept.count = PIPE_MAX_SLOTS;
    while (kept.count != 0 && is_zero(slots[kept.count - 1U]))
        --kept.count;
    if (kept.count != 0) {
        kept.slots = std::make_unique_for_overwrite<pipe_resource_slot[]>(kept.count);
        std::copy_n(slots.begin(), kept.count, kept.slots.get());
    }
    return kept;
}

bool has_slots(const pipe_action_record& action) {
    static constexpr pipe_resource_slot none[PIPE_MAX_SLOTS]{};
    return std::memcmp(action.slots, none, sizeof(none)) != 0;
}

} // namespace

uint32_t TableStore::add(const pipe_match_record& match, uint32_t hash, uint32_t action_hdl,
                         const pipe_action_record& action) {
    index_.reserve_one();
    KeptSlots kept;
    if (has_slots(action)) kept = kept_slots(merged_slots(action, nullptr, 0));
    if (free_.empty() && high_water_ == chunks_.size() * chunk_records) {
        free_.reserve(high_water_ + chunk_records);
        live_.reserve(high_water_ + chunk_records);
        chunks_.push_back(std::make_unique_for_overwrite<uint8_t[]>(chunk_records * record_size_));
    }

    uint32_t handle;
    if (free_.empty()) {
        handle = ++high_water_;
    } else {
        handle = free_.back();
        free_.pop_back();
    }
    (new (record(handle)) Head{})->added = ++adds_;
    std::memcpy(key(handle), match.key_bytes, key_len_);
    std::memcpy(key(handle) + key_len_, match.mask_bytes, key_len_);
    write_action(handle, fields_of(&match, action_hdl, action), action.action, std::move(kept));
    index_.insert(hash, handle);
    live_.set(handle);
    ++count_;
    return handle;
}

void TableStore::set_action(uint32_t handle, uint32_t action_hdl, const pipe_action_record& action) {
    const Head& h = head(handle);
    KeptSlots kept;
    if (has_slots(action)) kept = kept_slots(merged_slots(action, h.slots, h.slot_count));
    EntryFields fields = fields_of(nullptr, action_hdl, action);
    fields.partition_index = h.partition_index;
    fields.priority = h.priority;
    write_action(handle, fields, action.action, std::move(kept));
}

void TableStore::set_slots(uint32_t handle, const Slots& slots, uint8_t resource_count) {
    keep_slots(head(handle), kept_slots(slots));
    head(handle).resource_count = resource_count;
}

void TableStore::keep_slots(Head& head, KeptSlots&& kept) {
    delete[] std::exchange(head.slots, kept.slots.release());
    head.slot_count = kept.count;
}

void TableStore::write_action(uint32_t handle, const EntryFields& fields, const pipe_action_data& action_data,
                              KeptSlots&& kept) {
    Head& h = head(handle);
    keep_slots(h, std::move(kept));
    static_cast<EntryFields&>(h) = fields;
    h.data_len = action_data.data_len;
    if (h.data_len != 0) std::memcpy(data(handle), action_data.data, h.data_len);
}

void TableStore::remove(uint32_t handle) {
    pipe_match_record match{};
    match.key_bytes = key(handle);
    match.mask_bytes = key(handle) + key_len_;
    match.partition_index = head(handle).partition_index;
    match.priority = head(handle).priority;
    index_.erase(hash(match), handle);
    delete[] head(handle).slots;
    live_.clear(handle);
    free_.push_back(handle); // has room for all handles
    --count_;
}

uint32_t& TableStore::placement(uint32_t handle) {
    return head(handle).placement;
}

EntryView TableStore::view(uint32_t handle) const {
    const Head& h = head(handle);
    return {h, key(handle), key(handle) + key_len_, data(handle), h.slots, h.slot_count, key_len_, h.data_len};
}

uint32_t TableStore::next(uint32_t handle) const {
    const uint32_t found = live_.next(handle + 1);
    return found == LiveSet::none ? 0 : found;
}

} // namespace vl_model
