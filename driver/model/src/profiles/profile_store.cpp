// See profile_store.h. As in match tables, all allocations come before the first change.
#include "profiles/profile_store.h"

#include <bit>
#include <utility>

namespace vl_model {

namespace {

constexpr uint32_t slots_per_word = VL_MODEL_SELECTOR_WORD_SLOTS;
static_assert(slots_per_word == 32, "the bits of SelectorWord::used and active");

uint32_t bit_of(uint32_t position) {
    return UINT32_C(1) << position % slots_per_word;
}

} // namespace

EntryView view_of(const Member& member) {
    EntryView view;
    view.data = member.data.data();
    view.action_hdl = member.action_hdl;
    view.data_bits = member.data_bits;
    view.data_len = static_cast<uint16_t>(member.data.size());
    return view;
}

void Selector::take_word(pipe_grp_hdl grp_hdl, Group& group) {
    uint32_t word = free_words.next(0);
    if (word == LiveSet::none) {
        word = static_cast<uint32_t>(words.size());
        free_words.reserve(word);
        words.emplace_back();
        free_words.set(word);
    }
    group.words.reserve(std::bit_ceil(group.words.size() + 1));
    group.open_words.insert(word);
    free_words.clear(word);
    words[word].owner = grp_hdl;
    group.words.push_back(word);
}

Group& Selector::add_group(pipe_grp_hdl grp_hdl, uint32_t max_size) {
    Group& group = groups.add(grp_hdl, {.max_size = max_size, .uses = 0, .words = {}, .positions = {}});
    try {
        take_word(grp_hdl, group);
    } catch (...) {
        groups.remove(grp_hdl);
        throw;
    }
    return group;
}

void Selector::remove_group(pipe_grp_hdl grp_hdl) {
    const Group& group = *groups.find(grp_hdl);
    for (const auto& [mbr_hdl, position] : group.positions)
        --data_table.members.find(mbr_hdl)->uses;
    for (const uint32_t word : group.words) {
        words[word] = {};
        free_words.set(word);
    }
    groups.remove(grp_hdl);
}

uint32_t Selector::join(pipe_grp_hdl grp_hdl, Group& group, pipe_mbr_hdl mbr_hdl) {
    if (group.open_words.empty()) take_word(grp_hdl, group);
    const auto open = group.open_words.begin();
    SelectorWord& word = words[*open];
    const auto slot = static_cast<uint32_t>(std::countr_one(word.used));
    const uint32_t position = *open * slots_per_word + slot;
    group.positions.emplace(mbr_hdl, position);
    word.used |= bit_of(position);
    word.active |= bit_of(position);
    word.members[slot] = mbr_hdl;
    if (word.used == UINT32_MAX) group.open_words.erase(open);
    ++data_table.members.find(mbr_hdl)->uses;
    return position;
}

void Selector::leave(Group& group, pipe_mbr_hdl mbr_hdl) {
    const auto found = group.positions.find(mbr_hdl);
    const uint32_t position = found->second;
    group.open_words.insert(position / slots_per_word);
    SelectorWord& word = words[position / slots_per_word];
    word.used &= ~bit_of(position);
    word.active &= ~bit_of(position);
    word.members[position % slots_per_word] = 0;
    group.positions.erase(found);
    --data_table.members.find(mbr_hdl)->uses;
}

void Selector::set_active(uint32_t position, bool active) {
    uint32_t& bits = words[position / slots_per_word].active;
    bits = active ? bits | bit_of(position) : bits & ~bit_of(position);
}

bool Selector::is_active(uint32_t position) const {
    return (words[position / slots_per_word].active & bit_of(position)) != 0;
}

} // namespace vl_model
