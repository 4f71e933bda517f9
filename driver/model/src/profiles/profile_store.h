// Members of action data tables and groups of selectors in a device: rows by handle, counts of uses, and the words of a
// selector's memory. Callers check actions and handles first, and hold the model's mutex.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include <vl_driver/profiles.h>
#include <vl_model/control.h>
#include <vl_model/observe.hpp>

#include "core/boundary.h"
#include "core/callbacks.h"
#include "tables/table_store.h"

namespace vl_model {

// Null if there is no such action.
inline const vl_model_action* find_action(const std::vector<vl_model_action>& actions, pipe_act_hdl act_hdl) {
    const auto found = std::find_if(actions.begin(), actions.end(),
                                    [&](const vl_model_action& action) { return action.handle == act_hdl; });
    return found == actions.end() ? nullptr : &*found;
}

// Rows in ascending order of handles, with the walk that TableStore has.
template <class Row>
class RowMap {
public:
    uint32_t count() const {
        return static_cast<uint32_t>(rows_.size());
    }
    Row* find(uint32_t handle) {
        const auto found = rows_.find(handle);
        return found == rows_.end() ? nullptr : &found->second;
    }
    const Row* find(uint32_t handle) const {
        const auto found = rows_.find(handle);
        return found == rows_.end() ? nullptr : &found->second;
    }
    // Refuses a handle without a row.
    Row& at(uint32_t handle) {
        return found_in(rows_, handle, VL_MODEL_NOT_FOUND);
    }
    Row& add(uint32_t handle, Row&& row) {
        Row& added = rows_.emplace(handle, std::move(row)).first->second;
        lowest_ = std::min(lowest_, handle);
        highest_ = std::max(highest_, handle);
        return added;
    }
    void remove(uint32_t handle) {
        rows_.erase(handle);
    }
    uint32_t first() const {
        return rows_.empty() ? 0 : rows_.begin()->first;
    }
    uint32_t next(uint32_t handle) const {
        return following(handle)();
    }
    auto following(uint32_t handle) const {
        return keys_after(rows_, handle);
    }
    // `body` takes a handle and its row.
    template <class Body>
    void for_each(Body&& body) const {
        for (const auto& [handle, row] : rows_)
            body(handle, row);
    }
    bool was_given_out(uint32_t handle) const {
        return handle >= lowest_ && handle <= highest_;
    }

private:
    std::map<uint32_t, Row> rows_;
    uint32_t lowest_ = UINT32_MAX; // ever
    uint32_t highest_ = 0;
};

struct Member {
    pipe_act_hdl action_hdl = 0;
    uint16_t data_bits = 0;
    std::vector<uint8_t> data;
    uint32_t uses = 0;      // by entries, default entries and groups, and as a fallback
    uint32_t placement = 0; // as an entry's
};

// A view of a member has no key and no slots.
EntryView view_of(const Member& member);

struct DataTable {
    std::vector<vl_model_action> actions; // of all match tables that point here
    uint32_t capacity = VL_MODEL_DEFAULT_CAPACITY;
    RowMap<Member> members;

    void require_row(pipe_mbr_hdl mbr_hdl) const {
        refuse_if(members.find(mbr_hdl) == nullptr, VL_MODEL_NOT_FOUND);
    }

    void set_hardware(pipe_mbr_hdl mbr_hdl, std::optional<EntryImage> image) {
        hardware[mbr_hdl] = std::move(image);
    }

    // The hardware of members that differs from the software, as in Table.
    std::unordered_map<pipe_mbr_hdl, std::optional<EntryImage>> hardware;
    Subscriber<pipe_adt_update_cb> updates;
};

struct Group {
    uint32_t max_size = 0;           // 0 for no limit
    uint32_t uses = 0;               // by entries and default entries
    std::vector<uint32_t> words;     // at least one
    std::set<uint32_t> open_words{}; // those with a free slot
    std::map<pipe_mbr_hdl, uint32_t> positions;
    uint32_t placement = 0; // as an entry's
};

// One word of a selector's memory. It belongs to one group at most.
struct SelectorWord {
    pipe_grp_hdl owner = 0;
    uint32_t used = 0; // bits of the slots
    uint32_t active = 0;
    std::array<pipe_mbr_hdl, VL_MODEL_SELECTOR_WORD_SLOTS> members{};
};

struct Selector {
    explicit Selector(DataTable& members) : data_table(members) {}

    DataTable& data_table;
    uint32_t capacity = VL_MODEL_DEFAULT_CAPACITY;
    RowMap<Group> groups;
    std::vector<SelectorWord> words;
    LiveSet free_words;
    pipe_mbr_hdl fallback = 0;
    Subscriber<pipe_sel_update_cb> updates;
    Subscriber<pipe_sel_tbl_cb> memory_updates;

    Group& add_group(pipe_grp_hdl grp_hdl, uint32_t max_size);
    void remove_group(pipe_grp_hdl grp_hdl);

    // Adds an existing member that isn't in the group, and returns its position: the lowest free one of the group's
    // words. If these are full, the group first gets the lowest free word.
    uint32_t join(pipe_grp_hdl grp_hdl, Group& group, pipe_mbr_hdl mbr_hdl);
    void leave(Group& group, pipe_mbr_hdl mbr_hdl);
    void set_active(uint32_t position, bool active);
    bool is_active(uint32_t position) const;

private:
    void take_word(pipe_grp_hdl grp_hdl, Group& group);
};

} // namespace vl_model
