// The entries of one match table: records of one size in chunks that never move. A handle is a position; keys are found
// by an index. An entry takes the room of key, mask and the table's largest action data, plus about 80 bytes. Callers
// check keys and actions against the table first, and hold the model's mutex.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include <vl_driver/types.h>
#include <vl_model/observe.hpp>

#include "tables/handle_index.h"

namespace vl_model {

// An entry in a store or an image. Valid until the entry changes.
struct EntryView : EntryFields {
    const uint8_t* key = nullptr;
    const uint8_t* mask = nullptr;
    const uint8_t* data = nullptr;
    const pipe_resource_slot* slots = nullptr;
    size_t slot_count = 0; // slots beyond are all zero
    uint16_t key_len = 0;
    uint16_t data_len = 0;
};

// The fields of an entry with this action. The match record is null for a default entry.
EntryFields fields_of(const pipe_match_record* match, uint32_t action_hdl, const pipe_action_record& action);

EntryImage image_of(const EntryView& view);
EntryView view_of(const EntryImage& image);

using Slots = std::array<pipe_resource_slot, PIPE_MAX_SLOTS>;

// The slots that an entry keeps from an action. An unchanged slot keeps what the entry had for its resource.
Slots merged_slots(const pipe_action_record& action, const pipe_resource_slot* old_slots, size_t old_count);

// Replaces the slot of the same resource, or adds one after the last slot in use. Returns false if there is no room.
bool put_slot(Slots& slots, uint8_t& resource_count, const pipe_resource_slot& slot);

// Positions of live entries, as bits with levels of summaries, so that the next one is found quickly across any hole.
class LiveSet {
public:
    static constexpr uint32_t none = UINT32_MAX;

    void reserve(uint32_t position);
    void set(uint32_t position);
    void clear(uint32_t position);
    bool has(uint32_t position) const;
    // The first live position that is not below `from`.
    uint32_t next(uint32_t from) const;

private:
    static constexpr size_t levels = 6; // one word at the top of 2^32 positions
    std::vector<uint64_t> words_[levels];
};

// Slots on the heap, without the zero ones at the end: most entries have one slot or none.
struct KeptSlots {
    std::unique_ptr<pipe_resource_slot[]> slots;
    uint8_t count = 0;
};

struct MatchFields {
    const uint8_t* key;
    const uint8_t* mask;
    uint32_t partition_index;
    uint32_t priority;
};

class TableStore {
public:
    TableStore(uint16_t key_len, uint16_t max_data_len);
    ~TableStore();
    TableStore(const TableStore&) = delete;
    TableStore& operator=(const TableStore&) = delete;

    uint32_t count() const {
        return count_;
    }

    // The hash of an entry's key, mask, partition and priority. An add needs it twice.
    uint32_t hash(const pipe_match_record& match) const;
    // 0 if there is no such entry.
    uint32_t find(const pipe_match_record& match, uint32_t hash) const;
    // There must be no such entry. Returns the handle.
    uint32_t add(const pipe_match_record& match, uint32_t hash, uint32_t action_hdl, const pipe_action_record& action);
    bool has(uint32_t handle) const {
        return live_.has(handle);
    }
    void set_action(uint32_t handle, uint32_t action_hdl, const pipe_action_record& action);
    void set_slots(uint32_t handle, const Slots& slots, uint8_t resource_count);
    void remove(uint32_t handle);
    // A number that the caller keeps here; 0 at first.
    uint32_t& placement(uint32_t handle);
    EntryView view(uint32_t handle) const;
    // What packets are matched with.
    MatchFields match_fields(uint32_t handle) const {
        const Head& h = head(handle);
        return {key(handle), key(handle) + key_len_, h.partition_index, h.priority};
    }
    // A number that is higher than those of all entries that were there when this one was added.
    uint64_t added(uint32_t handle) const {
        return head(handle).added;
    }

    // Handles in ascending order; 0 if there is none. A walk may go on from an entry that was removed.
    uint32_t first() const {
        return next(0);
    }
    uint32_t next(uint32_t handle) const;
    // Gives the handles after this one, one by each call, and then 0.
    auto following(uint32_t handle) const {
        return [this, handle]() mutable { return handle = next(handle); };
    }
    bool was_given_out(uint32_t handle) const {
        return handle != 0 && handle <= high_water_;
    }

private:
    static constexpr uint32_t chunk_records = 512;

    struct Head : EntryFields {
        pipe_resource_slot* slots; // owned; null when the entry has none
        uint64_t added;
        uint32_t placement;
        uint16_t data_len;
        uint8_t slot_count;
    };

    uint8_t* record(uint32_t handle) const {
        const uint32_t position = handle - 1;
        return chunks_[position / chunk_records].get() + position % chunk_records * record_size_;
    }
    Head& head(uint32_t handle) const {
        return *std::launder(reinterpret_cast<Head*>(record(handle)));
    }
    uint8_t* key(uint32_t handle) const {
        return record(handle) + sizeof(Head);
    }
    uint8_t* data(uint32_t handle) const;
    void write_action(uint32_t handle, const EntryFields& fields, const pipe_action_data& action_data,
                      KeptSlots&& kept);
    static void keep_slots(Head& head, KeptSlots&& kept);

    uint16_t key_len_;
    size_t record_size_;
    uint32_t count_ = 0;
    uint32_t high_water_ = 0;
    std::vector<std::unique_ptr<uint8_t[]>> chunks_;
    std::vector<uint32_t> free_;
    HandleIndex index_; // by key, mask, partition and priority
    uint64_t adds_ = 0;
    LiveSet live_;
};

} // namespace vl_model
