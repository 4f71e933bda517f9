// Reading selectors at the boundary: a group's members and their states, the choice by hash, and the words of the
// memory.
#include <bit>

#include <vl_driver/profiles.h>

#include "core/model.h"

using namespace vl_model;

namespace {

// In ascending order.
std::vector<pipe_mbr_hdl> active_members(const Selector& selector, const Group& group) {
    std::vector<pipe_mbr_hdl> active;
    for (const auto& [mbr_hdl, position] : group.positions)
        if (selector.is_active(position)) active.push_back(mbr_hdl);
    return active;
}

uint32_t state_of(const Selector& selector, uint32_t position) {
    return selector.is_active(position) ? PIPE_MBR_STATE_ACTIVE : PIPE_MBR_STATE_INACTIVE;
}

// The hash as one number, most significant byte first, modulo `divisor`.
uint64_t remainder_of(const uint8_t* hash, uint32_t hash_len, uint64_t divisor) {
    uint64_t rest = 0;
    for (uint32_t i = 0; i < hash_len; ++i)
        rest = (rest << 8 | hash[i]) % divisor;
    return rest;
}

// Refuses a word of the selector's memory that belongs to no group.
const SelectorWord& word_of(const Selector& selector, uint32_t word) {
    refuse_if(word >= selector.words.size() || selector.words[word].owner == 0, VL_MODEL_NOT_FOUND);
    return selector.words[word];
}

} // namespace

pipe_status pipe_mgr_sel_grp_mbr_state_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                           pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t* state) {
    return device_call(__func__, sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl, state)([&](Device& device) {
        const Group& group = device.group(sel_hdl, grp_hdl);
        *state = state_of(device.selector(sel_hdl), found_in(group.positions, mbr_hdl, VL_MODEL_NOT_FOUND));
    });
}

pipe_status pipe_mgr_get_sel_grp_mbr_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                           pipe_grp_hdl grp_hdl, uint32_t* count) {
    return device_call(__func__, sess_hdl, dev_tgt, sel_hdl, grp_hdl, count)(
        [&](Device& device) { *count = static_cast<uint32_t>(device.group(sel_hdl, grp_hdl).positions.size()); });
}

pipe_status pipe_mgr_sel_grp_mbrs_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                      pipe_grp_hdl grp_hdl, uint32_t room_for, pipe_mbr_hdl* mbr_hdls, uint8_t* states,
                                      uint32_t* count, uint32_t flags) {
    return device_call(__func__, sess_hdl, dev_id, sel_hdl, grp_hdl, room_for, room(mbr_hdls, room_for),
                       room(states, room_for), count, flags)([&](Device& device) {
        uint32_t written = 0;
        for (const auto& [mbr_hdl, position] : device.group(sel_hdl, grp_hdl).positions) {
            if (written == room_for) break;
            mbr_hdls[written] = mbr_hdl;
            states[written] = static_cast<uint8_t>(state_of(device.selector(sel_hdl), position));
            ++written;
        }
        *count = written;
    });
}

pipe_status pipe_mgr_get_first_group_member(pipe_sess_hdl sess_hdl, pipe_tbl_hdl sel_hdl, pipe_dev_id dev_id,
                                            pipe_grp_hdl grp_hdl, pipe_mbr_hdl* mbr_hdl) {
    return Boundary(__func__, sess_hdl, sel_hdl, dev_id, grp_hdl, mbr_hdl)([&] {
        const auto device = lock_device(sess_hdl, dev_id);
        write_first(keys_after(device->group(sel_hdl, grp_hdl).positions, 0)(), mbr_hdl);
    });
}

pipe_status pipe_mgr_get_next_group_members(pipe_sess_hdl sess_hdl, pipe_tbl_hdl sel_hdl, pipe_dev_id dev_id,
                                            pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t n,
                                            pipe_mbr_hdl* mbr_hdls) {
    return Boundary(__func__, sess_hdl, sel_hdl, dev_id, grp_hdl, mbr_hdl, n, room(mbr_hdls, n))([&] {
        const auto device = lock_device(sess_hdl, dev_id);
        const Group& group = device->group(sel_hdl, grp_hdl);
        refuse_if(!device->selector(sel_hdl).data_table.members.was_given_out(mbr_hdl), VL_MODEL_NOT_FOUND);
        write_following(n, mbr_hdls, keys_after(group.positions, mbr_hdl));
    });
}

pipe_status pipe_mgr_sel_grp_mbr_get_from_hash(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                               pipe_grp_hdl grp_hdl, const uint8_t* hash, uint32_t hash_len,
                                               pipe_mbr_hdl* mbr_hdl) {
    return Boundary(__func__, sess_hdl, dev_tgt, sel_hdl, grp_hdl, list(hash, hash_len), hash_len, mbr_hdl)([&] {
        refuse_if(hash_len == 0, VL_MODEL_INVALID);
        const auto device = lock_device(sess_hdl, dev_tgt);
        const Selector& selector = device->selector(sel_hdl);
        const std::vector<pipe_mbr_hdl> active = active_members(selector, device->group(sel_hdl, grp_hdl));
        write_first(active.empty() ? selector.fallback : active[remainder_of(hash, hash_len, active.size())], mbr_hdl);
    });
}

pipe_status pipe_mgr_get_word_llp_active_member_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt,
                                                      pipe_tbl_hdl sel_hdl, uint32_t word, uint32_t* count) {
    return device_call(__func__, sess_hdl, dev_tgt, sel_hdl, word, count)([&](Device& device) {
        *count = static_cast<uint32_t>(std::popcount(word_of(device.selector(sel_hdl), word).active));
    });
}

pipe_status pipe_mgr_get_word_llp_active_members(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                                 uint32_t word, uint32_t count, pipe_mbr_hdl* mbr_hdls) {
    return device_call(__func__, sess_hdl, dev_tgt, sel_hdl, word, count, room(mbr_hdls, count))([&](Device& device) {
        const SelectorWord& found = word_of(device.selector(sel_hdl), word);
        uint32_t written = 0;
        for (uint32_t rest = found.active; rest != 0 && written < count; rest &= rest - 1)
            mbr_hdls[written++] = found.members[static_cast<size_t>(std::countr_zero(rest))];
        if (written < count) mbr_hdls[written] = PIPE_HDL_END;
    });
}
