// An index that finds handles by a hash of what they stand for: open addressing, at most five of eight slots in use.
// The owner keeps the rest, and says whether a handle with the right hash is the wanted one.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace vl_model {

inline uint64_t mix(uint64_t hash, uint64_t word) {
    hash = (hash ^ word) * UINT64_C(0x9E3779B97F4A7C15);
    return hash ^ (hash >> 29);
}

// The hash of all words. A product's upper bits depend on all bits below, its lower bits on few.
inline uint32_t folded(uint64_t hash) {
    return static_cast<uint32_t>((hash ^ hash >> 32) * UINT64_C(0x9E3779B97F4A7C15) >> 32);
}

class HandleIndex {
public:
    // The handle with this hash for which is_wanted(handle); 0 if there is none.
    template <class IsWanted>
    uint32_t find(uint32_t hash, IsWanted is_wanted) const {
        if (slots_.empty()) return 0;
        for (size_t i = home_of(hash); slots_[i] != 0; i = after(i))
            if (hash_of(slots_[i]) == hash && is_wanted(handle_of(slots_[i]))) return handle_of(slots_[i]);
        return 0;
    }

    // Makes room for one more handle. The other changes don't allocate.
    void reserve_one() {
        if (count_ + 1 <= slots_.size() / 8 * 5) return;
        std::vector<uint64_t> old(std::max<size_t>(8, slots_.size() * 2));
        old.swap(slots_);
        for (const uint64_t slot : old)
            if (slot != 0) put(slot);
    }
    // There must be room.
    void insert(uint32_t hash, uint32_t handle) {
        put(slot_of(hash, handle));
        ++count_;
    }
    void replace(uint32_t hash, uint32_t handle, uint32_t by) {
        slots_[place_of(hash, handle)] = slot_of(hash, by);
    }
    void erase(uint32_t hash, uint32_t handle) {
        // Close the gap: a later slot of the run moves up unless that would put it before its home.
        const size_t mask = slots_.size() - 1;
        size_t gap = place_of(hash, handle);
        for (size_t i = after(gap); slots_[i] != 0; i = after(i)) {
            const size_t home = home_of(hash_of(slots_[i]));
            if (((i - home) & mask) >= ((i - gap) & mask)) {
                slots_[gap] = slots_[i];
                gap = i;
            }
        }
        slots_[gap] = 0;
        --count_;
    }

private:
    // A slot is 0, or the hash above the handle.
    static uint64_t slot_of(uint32_t hash, uint32_t handle) {
        return uint64_t{hash} << 32 | handle;
    }
    static uint32_t hash_of(uint64_t slot) {
        return static_cast<uint32_t>(slot >> 32);
    }
    static uint32_t handle_of(uint64_t slot) {
        return static_cast<uint32_t>(slot);
    }
    size_t home_of(uint32_t hash) const {
        return hash & (slots_.size() - 1);
    }
    size_t after(size_t place) const {
        return (place + 1) & (slots_.size() - 1);
    }
    size_t place_of(uint32_t hash, uint32_t handle) const {
        size_t i = home_of(hash);
        while (handle_of(slots_[i]) != handle)
            i = after(i);
        return i;
    }
    void put(uint64_t slot) {
        size_t i = home_of(hash_of(slot));
        while (slots_[i] != 0)
            i = after(i);
        slots_[i] = slot;
    }

    std::vector<uint64_t> slots_; // a power of two of them
    size_t count_ = 0;
};

} // namespace vl_model
