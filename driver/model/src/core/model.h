// The embedded driver's state: sessions, devices with their tables, clients, allocations, the log sink, the clock.
// One mutex guards everything; callbacks of agents, clients and tests run without it.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <vl_driver/profiles.h>
#include <vl_driver/system.h>
#include <vl_driver/tables.h>
#include <vl_driver/types.h>
#include <vl_model/control.h>
#include <vl_model/observe.hpp>

#include "core/boundary.h"
#include "core/callbacks.h"
#include "profiles/profile_store.h"
#include "reads/placement_store.h"
#include "resources/resources.h"
#include "services/services.h"
#include "tables/ageing.h"
#include "tables/match_index.h"
#include "tables/table_store.h"

namespace vl_model {

// A call is about a device and one of its pipes. A call that names no pipe is about all pipes.
struct Target {
    Target(pipe_dev_id id, uint32_t one_pipe = PIPE_ALL_PIPES) : dev_id(id), pipe(one_pipe) {}
    Target(pipe_dev_tgt dev_tgt) : Target(dev_tgt.dev_id, dev_tgt.pipe_id) {}

    pipe_dev_id dev_id;
    uint32_t pipe;
};

inline pipe_dev_tgt all_pipes(pipe_dev_id dev_id) {
    return {.dev_id = dev_id, .pipe_id = PIPE_ALL_PIPES, .reserved = 0};
}

struct Property {
    uint32_t value = 0;
    uint32_t args = 0;
};

struct Table {
    explicit Table(const vl_model_table& description);

    std::vector<vl_model_action> actions;
    vl_model_table description; // without the name, and with the actions above
    TableStore entries;
    std::optional<EntryImage> default_entry;
    uint32_t default_placement = 0;
    DataTable* data_table = nullptr; // the device's, as the description names them
    Selector* selector = nullptr;
    std::unique_ptr<Ageing> ageing; // null if entries don't age
    std::array<Property, VL_MODEL_PROPERTIES> properties{};
    Subscriber<pipe_mat_update_cb> updates;

    // The device's resources with a cell for each entry; null where the table has none. A direct meter has no cells:
    // the slots of the entries hold its specs.
    Counter* counter = nullptr;
    Meter* meter = nullptr;
    Register* stateful = nullptr;

    // By handle, the hardware of entries that differs from the software: nothing where the hardware has lost the entry.
    MatchIndex::Differences hardware;
    MatchIndex matches;

    bool is_direct() const {
        return description.data_table == 0 && description.selector == 0;
    }
    // The handle of the default entry. No entry has it, and it isn't PIPE_HDL_END.
    pipe_ent_hdl default_handle() const {
        return UINT32_C(0x80000000) | (description.handle & UINT32_C(0x00FFFFFF));
    }
    void reset_default_entry();
    // True for an entry, and for the default entry by its handle.
    bool has_row(pipe_ent_hdl ent_hdl) const {
        return ent_hdl == default_handle() ? default_entry.has_value() : entries.has(ent_hdl);
    }
    void require_row(pipe_ent_hdl ent_hdl) const {
        refuse_if(!has_row(ent_hdl), VL_MODEL_NOT_FOUND);
    }
    Ageing& ageing_entries() const {
        refuse_if(ageing == nullptr, VL_MODEL_NOT_SUPPORTED);
        return *ageing;
    }
    // The default entry doesn't age.
    Ageing& ageing_of(pipe_ent_hdl ent_hdl) const {
        Ageing& found = ageing_entries();
        refuse_if(!entries.has(ent_hdl), VL_MODEL_NOT_FOUND);
        return found;
    }
    // The number of the placement data that an entry or the default entry has; 0 for none.
    uint32_t& placement(pipe_ent_hdl ent_hdl) {
        return ent_hdl == default_handle() ? default_placement : entries.placement(ent_hdl);
    }
    // The software changes or removes an entry. Its hardware no longer differs, and its placement data ends.
    void forget_copies(pipe_ent_hdl ent_hdl);
    // The hardware of an entry differs from now on.
    void set_hardware(pipe_ent_hdl ent_hdl, std::optional<EntryImage> image);
    // Clears the cells of an entry that goes away.
    void forget_cells(pipe_ent_hdl ent_hdl) const;
    // The default entry uses what it points at, as entries do.
    void set_default_entry(std::optional<EntryImage> image);

    // The count of uses of the member or group that an entry points at; null if the entry has action data.
    uint32_t* target_uses(uint8_t kind, pipe_mbr_hdl mbr_hdl, pipe_grp_hdl grp_hdl) const;
};

struct Device {
    uint32_t pipes = VL_MODEL_DEFAULT_PIPES;
    std::unordered_map<pipe_tbl_hdl, std::unique_ptr<Table>> tables;
    std::map<pipe_tbl_hdl, DataTable> data_tables; // in the order of a replay
    std::map<pipe_tbl_hdl, Selector> selectors;

    std::map<pipe_tbl_hdl, Counter> counters;
    std::map<pipe_tbl_hdl, Meter> meters;
    std::map<pipe_tbl_hdl, WredBlock> wred_blocks;
    std::map<pipe_tbl_hdl, Register> registers;

    std::map<pipe_digest_hdl, Digest> digests;
    uint32_t learning_timeout = 0;
    std::map<pipe_pvs_id, ValueSet> value_sets;
    std::map<pipe_hash_hdl, HashCalculation> hash_calculations;
    std::map<bf_snapshot_hdl, Snapshot> snapshots;

    bool has_pipe(uint32_t pipe) const {
        return pipe == PIPE_ALL_PIPES || pipe < pipes;
    }

    // These refuse a handle that the device doesn't know.
    Table& table(pipe_tbl_hdl tbl_hdl) {
        return *found_in(tables, tbl_hdl, VL_MODEL_UNKNOWN_TABLE);
    }
    DataTable& data_table(pipe_tbl_hdl adt_hdl) {
        return found_in(data_tables, adt_hdl, VL_MODEL_UNKNOWN_TABLE);
    }
    Selector& selector(pipe_tbl_hdl sel_hdl) {
        return found_in(selectors, sel_hdl, VL_MODEL_UNKNOWN_TABLE);
    }
    Group& group(pipe_tbl_hdl sel_hdl, pipe_grp_hdl grp_hdl) {
        return selector(sel_hdl).groups.at(grp_hdl);
    }
};

// Makes a device of the pipeline's description. Refuses a description that contradicts itself.
std::unique_ptr<Device> make_device(const vl_model_pipeline& pipeline);

// Ends the registrations of a device that has been taken out of the model.
void end_registrations(Device& device) noexcept;

struct Client {
    bf_drv_client_hdl handle;
    std::string name;
    bf_drv_client_callbacks callbacks{};
    std::shared_ptr<Registration> registration{}; // of the callbacks
    uint32_t priority = 0;
};

constexpr uint32_t most_rows = UINT32_C(0x7FFFFFFF); // of a table: handles with the top bit are default entries'

// Handles of members and groups begin here. All tables of all devices share them and none is ever reused, so that a
// handle in the wrong place is refused.
constexpr pipe_mbr_hdl before_members = UINT32_C(0x10000000);
constexpr pipe_grp_hdl before_groups = UINT32_C(0x40000000);
constexpr uint32_t most_profile_handles = UINT32_C(0x2FFFFFFF); // of each kind

// What a reset sets back to the beginning.
struct ModelState {
    std::unordered_set<pipe_sess_hdl> sessions;
    std::unordered_map<pipe_dev_id, std::unique_ptr<Device>> devices;
    std::vector<Client> clients; // in the order of registration

    uint64_t now = 0; // milliseconds
    pipe_mbr_hdl last_member = before_members;
    pipe_grp_hdl last_group = before_groups;
    pipe_pvs_ent_hdl last_value_set_entry = 0;
    uint32_t last_snapshot = 0;
    Subscriber<pipe_adt_sel_restore_cb> restore_callback; // of the last restore
    size_t allocations_made = 0;
    Subscriber<vl_model_log_sink> log_sink;
    bool debug_mode = false;
};

struct Model : ModelState {
    std::mutex mutex;
    uint32_t last_session = 0;
    bf_drv_client_hdl last_client = 0;
    PlacementStore placements;
    std::unordered_set<void*> allocations;
};

Model& model();

// Ends the placement data of a row that changes or goes away.
void forget_placement(uint32_t& placement);

// Something that the model holds, with the model's mutex for as long as this lives.
template <class Held>
class Locked {
public:
    // `find` runs under the mutex.
    template <class Find>
    explicit Locked(const Find& find) : lock_(model().mutex),
                                        held_(find()) {}

    Held* operator->() const {
        return &held_;
    }
    Held& operator*() const {
        return held_;
    }

private:
    const std::lock_guard<std::mutex> lock_;
    Held& held_;
};

inline Locked<Model> lock_model() {
    return Locked<Model>(model);
}

// These refuse a session, device or pipe that doesn't exist. The first is for calls without a session.
Locked<Device> lock_device(Target target);
Locked<Device> lock_device(pipe_sess_hdl sess_hdl, Target target);

// A boundary function's call about a device. Its work gets the device, under the mutex. The result keeps references to
// the arguments, so it must be called in the same expression.
template <class DeviceArg, class... Args>
auto device_call(const char* function, const pipe_sess_hdl& sess_hdl, const DeviceArg& device, const Args&... args) {
    return [&, function](auto&& work) {
        return Boundary(function, sess_hdl, device, args...)([&] { return work(*lock_device(sess_hdl, device)); });
    };
}

// Writes the first handle of a walk; refuses 0, which is none.
inline void write_first(uint32_t first, uint32_t* hdl) {
    refuse_if(first == 0, VL_MODEL_NOT_FOUND);
    *hdl = first;
}

// Writes up to n handles, and PIPE_HDL_END after the last one if there is room. Each call of `next` gives a handle, or
// 0 if there are no more.
template <class Next>
void write_following(uint32_t n, uint32_t* hdls, Next&& next) {
    for (uint32_t i = 0; i < n; ++i) {
        const uint32_t hdl = next();
        hdls[i] = hdl != 0 ? hdl : PIPE_HDL_END;
        if (hdl == 0) break;
    }
}

// A row as the software or the hardware has it. They refuse a row that doesn't exist or that the hardware has lost. See
// reads/readback.cpp; the mutex must be held.
EntryView view_of_row(const Table& table, pipe_ent_hdl ent_hdl, bool from_hw);
EntryView view_of_row(const DataTable& table, pipe_mbr_hdl mbr_hdl, bool from_hw);

// Fill a caller's records from a row. The buffers for key and mask have room; of action data, at most `room` bytes are
// written.
void read_match(const Table& table, const EntryView& entry, pipe_match_record& match);
void read_action(const EntryView& entry, uint16_t room, pipe_action_record& action, pipe_act_hdl& act_hdl);
void read_data(const EntryView& row, uint16_t room, pipe_action_data& data);

// Empties the states of the member-selector component. The mutex must be held.
void clear_member_states();

} // namespace vl_model
