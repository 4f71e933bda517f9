// See match_index.h.
#include "tables/match_index.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace vl_model {

MatchIndex::MatchIndex(const TableStore& entries, const Differences& hardware, const std::vector<uint8_t>& key_mask)
    : entries_(entries),
      hardware_(hardware),
      key_len_(key_mask.size()),
      key_mask_((key_len_ + sizeof(uint64_t) - 1) / sizeof(uint64_t)),
      key_(key_mask_),
      mask_(key_mask_) {
    load(key_mask_, key_mask.data());
}

void MatchIndex::load(Words& words, const uint8_t* bytes) const {
    if (key_len_ != 0) std::memcpy(words.data(), bytes, key_len_);
}

MatchFields MatchIndex::fields(uint32_t handle) const {
    if (!hardware_.empty())
        if (const auto found = hardware_.find(handle); found != hardware_.end())
            return {found->second->key.data(), found->second->mask.data(), found->second->partition_index,
                    found->second->priority};
    return entries_.match_fields(handle);
}

bool MatchIndex::is_before(uint32_t left, uint32_t right) const {
    return std::pair(fields(left).priority, entries_.added(left)) <
           std::pair(fields(right).priority, entries_.added(right));
}

uint32_t MatchIndex::hash(const Words& key, const Words& mask, uint32_t partition_index) {
    uint64_t hash = mix(0, partition_index);
    for (size_t i = 0; i < mask.size(); ++i)
        hash = mix(hash, key[i] & mask[i]);
    return folded(hash);
}

uint32_t MatchIndex::find_root(const Tuples::value_type& tuple, uint32_t hash, const Words& key,
                               uint32_t partition_index) const {
    return tuple.second.roots.find(hash, [&](uint32_t handle) {
        const MatchFields candidate = fields(handle);
        if (candidate.partition_index != partition_index) return false;
        for (size_t i = 0, at = 0; at < key_len_; ++i, at += sizeof(uint64_t)) {
            uint64_t word = 0;
            std::memcpy(&word, candidate.key + at, std::min(sizeof word, key_len_ - at));
            if (((word ^ key[i]) & tuple.first[i]) != 0) return false;
        }
        return true;
    });
}

uint32_t MatchIndex::find(const uint8_t* key, uint32_t partition_index) {
    if (!is_built_ || !is_sorted_ || !noted_.empty()) catch_up();
    load(key_, key);
    uint32_t best = 0;
    uint32_t best_priority = UINT32_MAX;
    for (const Tuples::value_type* tuple : by_priority_) {
        if (best_priority < tuple->second.best_priority) break;
        const uint32_t found = find_root(*tuple, hash(key_, tuple->first, partition_index), key_, partition_index);
        if (found == 0 || (best != 0 && is_before(best, found))) continue;
        best = found;
        best_priority = fields(found).priority;
    }
    return best;
}

void MatchIndex::change(uint32_t handle) noexcept {
    if (!is_built_) return;
    remove(handle);
    // An agent without packets would note changes for ever.
    if (noted_.size() > entries_.count() + size_t{1024}) return forget();
    try {
        noted_.push_back(handle);
    } catch (const std::bad_alloc&) {
        forget();
    }
}

void MatchIndex::forget() noexcept {
    is_built_ = is_sorted_ = false;
    tuples_.clear();
    by_priority_ = {};
    nodes_ = {};
    noted_ = {};
}

void MatchIndex::catch_up() {
    if (!is_built_) {
        forget();
        for (uint32_t handle = entries_.first(); handle != 0; handle = entries_.next(handle))
            insert(handle);
        is_built_ = true;
    }
    for (; !noted_.empty(); noted_.pop_back())
        if (entries_.has(noted_.back())) insert(noted_.back());
    if (is_sorted_) return;
    std::erase_if(tuples_, [](const Tuples::value_type& tuple) { return tuple.second.count == 0; });
    by_priority_.clear();
    for (const Tuples::value_type& tuple : tuples_)
        by_priority_.push_back(&tuple);
    std::sort(by_priority_.begin(), by_priority_.end(),
              [](const auto* a, const auto* b) { return a->second.best_priority < b->second.best_priority; });
    is_sorted_ = true;
}

// All allocations come before the first change that another entry could notice.
void MatchIndex::insert(uint32_t handle) {
    if (nodes_.size() <= handle) nodes_.resize(std::max<size_t>(handle + size_t{1}, nodes_.size() * 2));
    const auto difference = hardware_.find(handle);
    const bool is_lost =
        difference != hardware_.end() && (!difference->second || view_of(*difference->second).key_len != key_len_);
    if (nodes_[handle].tuple != nullptr || is_lost) return;
    const MatchFields added = fields(handle);
    load(key_, added.key);
    load(mask_, added.mask);
    for (size_t i = 0; i < mask_.size(); ++i)
        mask_[i] &= key_mask_[i];
    Tuples::value_type& tuple = *tuples_.try_emplace(mask_).first;
    tuple.second.roots.reserve_one();

    if (tuple.second.count++ == 0 || added.priority < tuple.second.best_priority) {
        tuple.second.best_priority = added.priority;
        is_sorted_ = false;
    }
    const uint32_t key_hash = hash(key_, tuple.first, added.partition_index);
    nodes_[handle] = {.tuple = &tuple, .hash = key_hash};
    const uint32_t root = find_root(tuple, key_hash, key_, added.partition_index);
    if (root == 0)
        tuple.second.roots.insert(key_hash, handle);
    else if (meld(root, handle) == handle)
        tuple.second.roots.replace(key_hash, root, handle);
}

void MatchIndex::remove(uint32_t handle) noexcept {
    if (handle >= nodes_.size() || nodes_[handle].tuple == nullptr) return;
    const Node node = std::exchange(nodes_[handle], {});
    Tuple& tuple = node.tuple->second;
    const uint32_t heir = meld_siblings(node.child); // takes the entry's place
    if (node.previous == 0) {
        if (heir != 0)
            tuple.roots.replace(node.hash, handle, heir);
        else
            tuple.roots.erase(node.hash, handle);
    } else {
        Node& previous = nodes_[node.previous];
        const uint32_t follower = heir != 0 ? heir : node.next;
        (previous.child == handle ? previous.child : previous.next) = follower;
        if (heir != 0) {
            nodes_[heir].previous = node.previous;
            nodes_[heir].next = node.next;
        }
        if (node.next != 0) nodes_[node.next].previous = heir != 0 ? heir : node.previous;
    }
    if (--tuple.count == 0) is_sorted_ = false;
}

// Makes one heap of two, and returns its root. A root has no siblings.
uint32_t MatchIndex::meld(uint32_t left, uint32_t right) noexcept {
    if (is_before(right, left)) std::swap(left, right);
    nodes_[right].previous = left;
    nodes_[right].next = nodes_[left].child;
    if (nodes_[left].child != 0) nodes_[nodes_[left].child].previous = right;
    nodes_[left].child = right;
    return left;
}

// Makes one heap of siblings, and returns its root; 0 for none. First melds pairs from left to right, and then these
// from right to left.
uint32_t MatchIndex::meld_siblings(uint32_t first) noexcept {
    const auto cut = [&](uint32_t handle) {
        const uint32_t next = nodes_[handle].next;
        nodes_[handle].previous = nodes_[handle].next = 0;
        return next;
    };
    uint32_t pairs = 0; // the last one, chained by `previous`
    while (first != 0) {
        const uint32_t second = cut(first);
        uint32_t root = first;
        first = 0;
        if (second != 0) {
            first = cut(second);
            root = meld(root, second);
        }
        nodes_[root].previous = std::exchange(pairs, root);
    }
    uint32_t root = 0;
    while (pairs != 0) {
        const uint32_t next = std::exchange(nodes_[pairs].previous, 0);
        root = root != 0 ? meld(root, pairs) : pairs;
        pairs = next;
    }
    return root;
}

} // namespace vl_model
