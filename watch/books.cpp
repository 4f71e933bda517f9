// See books.h.
#include "watch/books.h"

#include <algorithm>

namespace pd_watch {
namespace {

bool is_under(const std::string& narrow, const std::string& wide) {
    for (size_t i = 0; i < narrow.size(); ++i)
        if ((narrow[i] & ~wide[i]) != 0) return false;
    return true;
}

} // namespace

Book::Row& Book::slot(uint32_t handle) {
    const size_t last = slots_.size() - 1;
    size_t at = (handle ^ handle >> 16) & last; // drivers count handles up
    while (slots_[at].state != State::empty && slots_[at].handle != handle)
        at = (at + 1) & last;
    return slots_[at];
}

// Ended rows are kept to tell a handle that ended from one that never was, but not if they are the most.
void Book::make_room() {
    if (4 * (used_ + 1) <= 3 * slots_.size()) return;
    const bool drops_ended = ended_ > used_ / 2 && used_ > 100'000;
    const std::vector<Row> rows = std::move(slots_);
    slots_.assign(std::max<size_t>(64, drops_ended ? rows.size() : 2 * rows.size()), {});
    used_ = 0;
    for (const Row& row : rows) {
        if (row.state == State::empty || (drops_ended && row.state == State::ended)) continue;
        slot(row.handle) = row;
        ++used_;
    }
    if (drops_ended) ended_ = 0;
}

Book::Row& Book::put(uint32_t handle) {
    if (find(handle) != nullptr) end(handle);
    make_room();
    Row& row = slot(handle);
    if (row.state == State::empty) ++used_;
    if (row.state == State::ended) --ended_;
    row = {.handle = handle, .state = State::stands};
    return row;
}

void Book::put_key(uint32_t handle, uint64_t key_hash) {
    Row* const row = find(handle);
    if (row == nullptr || row->key_hash != 0) return;
    row->key_hash = key_hash;
    if (!places_.empty()) index(*row);
}

void Book::index(const Row& row) {
    if (4 * (places_used_ + 1) > 3 * places_.size()) return index_all();
    const size_t last = places_.size() - 1;
    size_t at = row.key_hash & last;
    while (places_[at].handle != 0)
        at = (at + 1) & last;
    places_[at] = {static_cast<uint32_t>(row.key_hash >> 32), row.handle};
    ++places_used_;
}

void Book::index_all() {
    size_t count = 0;
    for (const Row& row : slots_)
        count += row.state == State::stands && row.key_hash != 0;
    size_t size = 64;
    while (size < 2 * count)
        size *= 2;
    places_.assign(size, {});
    places_used_ = 0;
    for (const Row& row : slots_)
        if (row.state == State::stands && row.key_hash != 0) index(row);
}

uint32_t Book::handle_of(uint64_t key_hash) {
    if (places_.empty()) index_all();
    const size_t last = places_.size() - 1;
    for (size_t at = key_hash & last; places_[at].handle != 0; at = (at + 1) & last) {
        if (places_[at].key != static_cast<uint32_t>(key_hash >> 32)) continue;
        const Row* const row = find(places_[at].handle);
        if (row != nullptr && row->key_hash == key_hash) return row->handle;
    }
    return 0;
}

void Book::end(uint32_t handle) {
    if (slots_.empty()) make_room();
    Row& row = slot(handle);
    if (row.state == State::empty) return;
    if (row.state != State::ended) ++ended_;
    row = {.handle = handle, .state = State::ended};
    if (!groups_.empty()) groups_.erase(handle);
    if (masked_.empty()) return;
    const auto masked = masked_.find(handle);
    if (masked == masked_.end()) return;
    const auto tuple = by_mask_.find(masked->second.mask);
    const auto entries = tuple->second.find(masked->second.key);
    std::erase_if(entries->second, [&](const auto& entry) { return entry.second == handle; });
    if (entries->second.empty()) tuple->second.erase(entries);
    if (tuple->second.empty()) by_mask_.erase(tuple);
    masked_.erase(masked);
}

void Book::doubt_all() {
    Book doubted;
    for (Row& row : slots_)
        if (row.state == State::stands || row.state == State::doubted) doubted.put(row.handle).state = State::doubted;
    *this = std::move(doubted);
}

void Book::put_masked(uint32_t handle, MaskedKey key) {
    if (masked_.contains(handle)) return;
    by_mask_[key.mask][key.key].emplace_back(key.priority, handle);
    masked_[handle] = std::move(key);
}

uint32_t Book::hides(const MaskedKey& key) const {
    std::string under;
    for (const auto& [mask, tuple] : by_mask_) {
        if (!is_under(mask, key.mask)) continue;
        under = key.key;
        for (size_t i = 0; i < under.size(); ++i)
            under[i] = static_cast<char>(under[i] & mask[i]);
        const auto entries = tuple.find(under);
        if (entries == tuple.end()) continue;
        for (const auto& [priority, handle] : entries->second)
            if (priority < key.priority) return handle;
    }
    return 0;
}

} // namespace pd_watch
