// Reading selectors at the boundary: a group's members and their states, the choice by hash, and the words of the
// memory.
#include <bit>

#include <vl_driver/profiles.h>

#include "core/boundary.h"
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

// The hash as one number, most significant byte first, modulo `divisor`.
uint64_t remainder_of(const uint8_t* hash, uint32_t hash_len, uint64_t divisor) {
    uint64_t rest = 0;
    for (uint32_t i = 0; i < hash_len; ++i)
        rest = (rest << 8 | hash[i]) % divisor;
    return rest;
}

template <class Body>
pipe_status with_word(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl sel_hdl, uint32_t word, Body&& body) {
    return with_selector(sess_hdl, target, sel_hdl, [&](const Selector& selector) -> pipe_status {
        if (word >= selector.words.size() || selector.words[word].owner == 0) return VL_MODEL_NOT_FOUND;
        body(selector.words[word]);
        return VL_MODEL_OK;
    });
}

} // namespace

pipe_status pipe_mgr_sel_grp_mbr_state_get(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                           pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t* state) {
    const auto read = [&](const Selector& selector, const Group& group) -> pipe_status {
        const auto membership = group.positions.find(mbr_hdl);
        if (membership == group.positions.end()) return VL_MODEL_NOT_FOUND;
        *state = selector.is_active(membership->second) ? PIPE_MBR_STATE_ACTIVE : PIPE_MBR_STATE_INACTIVE;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (state == nullptr) return VL_MODEL_INVALID;
        return with_group(sess_hdl, dev_tgt, sel_hdl, grp_hdl, read);
    };
    return boundary("pipe_mgr_sel_grp_mbr_state_get", body, sess_hdl, dev_tgt, sel_hdl, grp_hdl, mbr_hdl, state);
}

pipe_status pipe_mgr_get_sel_grp_mbr_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                           pipe_grp_hdl grp_hdl, uint32_t* count) {
    const auto body = [&]() -> pipe_status {
        if (count == nullptr) return VL_MODEL_INVALID;
        return with_group(sess_hdl, dev_tgt, sel_hdl, grp_hdl, [&](const Selector&, const Group& group) -> pipe_status {
            *count = static_cast<uint32_t>(group.positions.size());
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_get_sel_grp_mbr_count", body, sess_hdl, dev_tgt, sel_hdl, grp_hdl, count);
}

pipe_status pipe_mgr_sel_grp_mbrs_get(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl sel_hdl,
                                      pipe_grp_hdl grp_hdl, uint32_t room, pipe_mbr_hdl* mbr_hdls, uint8_t* states,
                                      uint32_t* count, uint32_t flags) {
    const auto read = [&](const Selector& selector, const Group& group) -> pipe_status {
        uint32_t written = 0;
        for (auto member = group.positions.begin(); member != group.positions.end() && written < room; ++member) {
            mbr_hdls[written] = member->first;
            states[written] = selector.is_active(member->second) ? PIPE_MBR_STATE_ACTIVE : PIPE_MBR_STATE_INACTIVE;
            ++written;
        }
        *count = written;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (count == nullptr || (room != 0 && (mbr_hdls == nullptr || states == nullptr))) return VL_MODEL_INVALID;
        return with_group(sess_hdl, dev_id, sel_hdl, grp_hdl, read);
    };
    return boundary("pipe_mgr_sel_grp_mbrs_get", body, sess_hdl, dev_id, sel_hdl, grp_hdl, room, mbr_hdls, states,
                    count, flags);
}

pipe_status pipe_mgr_get_first_group_member(pipe_sess_hdl sess_hdl, pipe_tbl_hdl sel_hdl, pipe_dev_id dev_id,
                                            pipe_grp_hdl grp_hdl, pipe_mbr_hdl* mbr_hdl) {
    const auto body = [&]() -> pipe_status {
        if (mbr_hdl == nullptr) return VL_MODEL_INVALID;
        return with_group(sess_hdl, dev_id, sel_hdl, grp_hdl, [&](const Selector&, const Group& group) -> pipe_status {
            if (group.positions.empty()) return VL_MODEL_NOT_FOUND;
            *mbr_hdl = group.positions.begin()->first;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_get_first_group_member", body, sess_hdl, sel_hdl, dev_id, grp_hdl, mbr_hdl);
}

pipe_status pipe_mgr_get_next_group_members(pipe_sess_hdl sess_hdl, pipe_tbl_hdl sel_hdl, pipe_dev_id dev_id,
                                            pipe_grp_hdl grp_hdl, pipe_mbr_hdl mbr_hdl, uint32_t n,
                                            pipe_mbr_hdl* mbr_hdls) {
    const auto read = [&](const Selector& selector, const Group& group) -> pipe_status {
        if (!selector.data_table.members.was_given_out(mbr_hdl)) return VL_MODEL_NOT_FOUND;
        auto member = group.positions.upper_bound(mbr_hdl);
        for (uint32_t i = 0; i < n; ++i, ++member) {
            if (member == group.positions.end()) {
                mbr_hdls[i] = PIPE_HDL_END;
                break;
            }
            mbr_hdls[i] = member->first;
        }
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (mbr_hdls == nullptr && n != 0) return VL_MODEL_INVALID;
        return with_group(sess_hdl, dev_id, sel_hdl, grp_hdl, read);
    };
    return boundary("pipe_mgr_get_next_group_members", body, sess_hdl, sel_hdl, dev_id, grp_hdl, mbr_hdl, n, mbr_hdls);
}

pipe_status pipe_mgr_sel_grp_mbr_get_from_hash(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                               pipe_grp_hdl grp_hdl, const uint8_t* hash, uint32_t hash_len,
                                               pipe_mbr_hdl* mbr_hdl) {
    const auto choose = [&](const Selector& selector, const Group& group) -> pipe_status {
        const std::vector<pipe_mbr_hdl> active = active_members(selector, group);
        const pipe_mbr_hdl chosen =
            active.empty() ? selector.fallback : active[remainder_of(hash, hash_len, active.size())];
        if (chosen == 0) return VL_MODEL_NOT_FOUND;
        *mbr_hdl = chosen;
        return VL_MODEL_OK;
    };
    const auto body = [&]() -> pipe_status {
        if (hash == nullptr || hash_len == 0 || mbr_hdl == nullptr) return VL_MODEL_INVALID;
        return with_group(sess_hdl, dev_tgt, sel_hdl, grp_hdl, choose);
    };
    return boundary("pipe_mgr_sel_grp_mbr_get_from_hash", body, sess_hdl, dev_tgt, sel_hdl, grp_hdl,
                    ArrayArgument<uint8_t>{hash, hash_len}, hash_len, mbr_hdl);
}

pipe_status pipe_mgr_get_word_llp_active_member_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt,
                                                      pipe_tbl_hdl sel_hdl, uint32_t word, uint32_t* count) {
    const auto body = [&]() -> pipe_status {
        if (count == nullptr) return VL_MODEL_INVALID;
        return with_word(sess_hdl, dev_tgt, sel_hdl, word, [&](const SelectorWord& found) {
            *count = static_cast<uint32_t>(std::popcount(found.active));
        });
    };
    return boundary("pipe_mgr_get_word_llp_active_member_count", body, sess_hdl, dev_tgt, sel_hdl, word, count);
}

pipe_status pipe_mgr_get_word_llp_active_members(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl sel_hdl,
                                                 uint32_t word, uint32_t count, pipe_mbr_hdl* mbr_hdls) {
    const auto body = [&]() -> pipe_status {
        if (mbr_hdls == nullptr && count != 0) return VL_MODEL_INVALID;
        return with_word(sess_hdl, dev_tgt, sel_hdl, word, [&](const SelectorWord& found) {
            uint32_t written = 0;
            for (uint32_t rest = found.active; rest != 0 && written < count; rest &= rest - 1)
                mbr_hdls[written++] = found.members[static_cast<size_t>(std::countr_zero(rest))];
            if (written < count) mbr_hdls[written] = PIPE_HDL_END;
        });
    };
    return boundary("pipe_mgr_get_word_llp_active_members", body, sess_hdl, dev_tgt, sel_hdl, word, count, mbr_hdls);
}
