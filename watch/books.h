// What the checker knows of the switch: which entries, members and groups stand, by the driver's answers.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "watch/pipeline.h"

namespace pd_watch {

// A masked entry's place among others, for finding those that hide it.
struct MaskedKey {
    std::string mask; // the bits that the table matches
    std::string key;  // under the mask
    uint32_t priority = 0;
};

struct Reference {
    uint32_t member = 0;
    uint32_t group = 0;

    bool operator==(const Reference&) const = default;
};

// What stands in one table of one device. Not safe for several threads. Agents make millions of calls, so rows and
// index are flat tables: the slot of a handle or a key is near the one that its bits name.
class Book {
public:
    enum class State : uint8_t { empty, stands, ended, doubted };
    struct Row {
        uint32_t handle = 0;
        State state = State::empty;
        bool knows_members = false; // of a group: all of them
        bool was_added = false;     // as the layer saw
        uint32_t uses = 0;          // of a member or group, by entries and groups
        Reference points_at = {};
        uint64_t key_hash = 0; // 0: the key isn't known
    };

    // Null if the handle isn't known to stand.
    Row* find(uint32_t handle) {
        Row* const row = slots_.empty() ? nullptr : &slot(handle);
        return row != nullptr && row->state == State::stands ? row : nullptr;
    }
    State state_of(uint32_t handle) {
        return slots_.empty() ? State::empty : slot(handle).state;
    }
    // Each may move the rows.
    Row& put(uint32_t handle);
    void put_key(uint32_t handle, uint64_t key_hash);

    // The handle of the entry with this key; 0 if none is known.
    uint32_t handle_of(uint64_t key_hash);
    void end(uint32_t handle);

    // The device went away, or the agent forgot it: these handles may stand or not.
    void doubt_all();

    void put_masked(uint32_t handle, MaskedKey key);
    // The handle of an entry of better priority that takes all packets of this one; 0 if there is none.
    uint32_t hides(const MaskedKey& key) const;

    uint32_t default_handle = 0; // of the default entry, if the agent set one
    uint32_t fallback = 0;       // the member, in a selector's book

    std::unordered_map<uint32_t, std::unordered_set<uint32_t>>& groups() {
        return groups_;
    }
    const std::vector<Row>& rows() const {
        return slots_;
    }

private:
    using Entries = std::vector<std::pair<uint32_t, uint32_t>>; // priority and handle

    struct Place {
        uint32_t key = 0; // the high bits of its hash; 0 if the place is free
        uint32_t handle = 0;
    };

    Row& slot(uint32_t handle);
    void make_room();
    void index(const Row& row);
    void index_all();

    std::vector<Row> slots_; // none, or a power of two
    size_t used_ = 0;
    size_t ended_ = 0;
    // Handles by key, once somebody has asked. A row that ends stays in it.
    std::vector<Place> places_;
    size_t places_used_ = 0;
    std::unordered_map<uint32_t, MaskedKey> masked_;
    std::unordered_map<std::string, std::unordered_map<std::string, Entries>> by_mask_;
    std::unordered_map<uint32_t, std::unordered_set<uint32_t>> groups_; // members by group
};

// All books, by device and table.
class Books {
public:
    Book& of(uint32_t device, uint32_t table) {
        return books_[uint64_t{device} << 32 | table];
    }
    template <class Visit>
    void for_each(Visit&& visit) {
        for (auto& [key, book] : books_)
            visit(static_cast<uint32_t>(key >> 32), static_cast<uint32_t>(key), book);
    }

private:
    std::unordered_map<uint64_t, Book> books_;
};

} // namespace pd_watch
