// Finds the entry that a packet takes in one match table, among the entries as the hardware has them.
//
// This is a tuple space search: the entries with the same mask are a tuple, in which an index finds them by the bits
// under the mask. A look-up asks one tuple after another, the one with the best priority first, until no better entry
// can follow. Entries that look the same under the mask form a pairing heap, and the index knows the best one.
//
// The first look-up indexes the entries. Later changes are only noted, and the next look-up indexes them. So a table
// that packets never meet pays only for the number that tells the order of adding. Callers hold the model's mutex.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include <vl_model/observe.hpp>

#include "tables/handle_index.h"
#include "tables/table_store.h"

namespace vl_model {

class MatchIndex {
public:
    // By handle, the hardware of entries that differs from the software.
    using Differences = std::unordered_map<uint32_t, std::optional<EntryImage>>;

    // The mask has the bits that the table matches, for all bytes of a key.
    MatchIndex(const TableStore& entries, const Differences& hardware, const std::vector<uint8_t>& key_mask);

    // An entry has been added, or its hardware is about to change or to go away.
    void change(uint32_t handle) noexcept;
    // The entry that a packet with this key takes; 0 if none matches.
    uint32_t find(const uint8_t* key, uint32_t partition_index);

private:
    using Words = std::vector<uint64_t>; // the bytes of a key or a mask, filled up with zeros
    struct Tuple {
        HandleIndex roots; // of the heaps, by key and partition
        size_t count = 0;
        // No entry of the tuple has a lower one. It stays when the best entry goes away; then look-ups ask this tuple
        // earlier than they must.
        uint32_t best_priority = UINT32_MAX;
    };
    using Tuples = std::map<Words, Tuple>;

    // The place of an entry, by its handle.
    struct Node {
        Tuples::value_type* tuple = nullptr; // null while the entry isn't indexed
        uint32_t hash = 0;
        uint32_t child = 0;    // the first
        uint32_t previous = 0; // the sibling before it, or the parent; 0 for a root
        uint32_t next = 0;     // sibling
    };

    void load(Words& words, const uint8_t* bytes) const;
    MatchFields fields(uint32_t handle) const; // of the hardware
    bool is_before(uint32_t left, uint32_t right) const;
    // Both compare what a mask leaves of the key.
    static uint32_t hash(const Words& key, const Words& mask, uint32_t partition_index);
    uint32_t find_root(const Tuples::value_type& tuple, uint32_t hash, const Words& key,
                       uint32_t partition_index) const;

    void catch_up();
    void forget() noexcept;
    void insert(uint32_t handle);
    void remove(uint32_t handle) noexcept;
    uint32_t meld(uint32_t left, uint32_t right) noexcept;
    uint32_t meld_siblings(uint32_t first) noexcept;

    const TableStore& entries_;
    const Differences& hardware_;
    const size_t key_len_;
    Words key_mask_;

    bool is_built_ = false;
    bool is_sorted_ = false;
    Tuples tuples_;
    std::vector<const Tuples::value_type*> by_priority_;
    std::vector<Node> nodes_;
    std::vector<uint32_t> noted_; // changed since the last look-up
    Words key_, mask_;            // of the look-up or the insertion that runs
};

} // namespace vl_model
