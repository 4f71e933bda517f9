// What the embedded driver holds: sessions, devices with their tables, clients, allocations, the log sink, the clock.
// One mutex guards it all; callbacks of agents, clients and tests run without it.
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

#include "core/callbacks.h"
#include "profiles/profile_store.h"
#include "reads/placement_store.h"
#include "resources/resources.h"
#include "services/services.h"
#include "tables/ageing.h"
#include "tables/table_store.h"

namespace vl_model {

struct Property {
    uint32_t value = 0;
    uint32_t args = 0;
};

struct Table {
    explicit Table(const vl_model_table& description);

    std::string name;
    std::vector<vl_model_action> actions;
    vl_model_table description; // with name and actions pointing at the copies above
    TableStore entries;
    std::optional<EntryImage> default_entry;
    uint32_t default_placement = 0;
    DataTable* data_table = nullptr; // the device's, as the description names them
    Selector* selector = nullptr;
    std::unique_ptr<Ageing> ageing; // null if entries don't age
    std::array<Property, VL_MODEL_PROPERTIES> properties{};
    Subscriber<pipe_mat_update_cb> updates;

    // The device's resources with a cell for each entry; null where the table has none. A meter's cells are the slots
    // of its entries.
    Counter* counter = nullptr;
    Meter* meter = nullptr;
    Register* stateful = nullptr;

    // Entries, by handle, whose hardware differs from the software: nothing where the hardware has lost the entry. All
    // others are one and the same in both.
    std::unordered_map<uint32_t, std::optional<EntryImage>> hardware;

    bool is_direct() const {
        return description.data_table == 0 && description.selector == 0;
    }
    // Never that of an entry, and never PIPE_HDL_END.
    pipe_ent_hdl default_handle() const {
        return UINT32_C(0x80000000) | (description.handle & UINT32_C(0x00FFFFFF));
    }
    const vl_model_action* find_action(pipe_act_hdl act_hdl) const;
    void reset_default_entry();
    // The number of the placement data that is given out for an entry, the default entry too; 0 for none.
    uint32_t& placement(pipe_ent_hdl ent_hdl) {
        return ent_hdl == default_handle() ? default_placement : entries.placement(ent_hdl);
    }
    // The software changes or removes an entry that exists: its hardware no longer differs, its placement data ends.
    void forget_copies(pipe_ent_hdl ent_hdl);
    // The cells of an entry that goes away.
    void forget_cells(pipe_ent_hdl ent_hdl) const;
    // What the default entry points at counts as used, as with entries.
    void set_default_entry(std::optional<EntryImage> image);

    // The count of uses of what an entry points at; null if that is action data.
    uint32_t* target_uses(uint8_t kind, pipe_mbr_hdl mbr_hdl, pipe_grp_hdl grp_hdl) const;
};

struct Device {
    std::string pipeline;
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
};

// Makes what the description says of resources and services, for the tables that the device has. False if the
// description contradicts itself.
bool add_resources(Device& device, const vl_model_pipeline& pipeline);
bool add_services(Device& device, const vl_model_pipeline& pipeline);

// Ends the registrations of a device that nobody can find any more.
void end_registrations(Device& device) noexcept;

struct Client {
    bf_drv_client_hdl handle;
    std::string name;
    bf_drv_client_callbacks callbacks;
    std::shared_ptr<Registration> registration; // of the callbacks
    uint32_t priority;
};

// Where the handles of members and groups begin. They are never reused, nor those of another table or device, so that a
// handle in the wrong place is refused.
constexpr pipe_mbr_hdl before_members = UINT32_C(0x10000000);
constexpr pipe_grp_hdl before_groups = UINT32_C(0x40000000);
constexpr uint32_t most_profile_handles = UINT32_C(0x2FFFFFFF); // of each sort

struct Model {
    std::mutex mutex;

    uint32_t last_session = 0;
    std::unordered_set<pipe_sess_hdl> sessions;
    std::unordered_map<pipe_dev_id, std::unique_ptr<Device>> devices;

    PlacementStore placements;
    uint64_t now = 0; // milliseconds
    pipe_mbr_hdl last_member = before_members;
    pipe_grp_hdl last_group = before_groups;
    pipe_pvs_ent_hdl last_value_set_entry = 0;
    uint32_t last_snapshot = 0;
    Subscriber<pipe_adt_sel_restore_cb> restore_callback; // of the last restore

    bf_drv_client_hdl last_client = 0;
    std::vector<Client> clients; // in the order of registration

    std::unordered_set<void*> allocations;
    size_t allocations_made = 0;
    std::vector<unsigned> allocation_faults; // calls still to come before each fires

    Subscriber<vl_model_log_sink> log_sink;
    bool debug_mode = false;
};

Model& model();

// What a row's placement data stood for changes or goes away.
void forget_placement(uint32_t& placement);

inline pipe_dev_tgt all_pipes(pipe_dev_id dev_id) {
    return {.dev_id = dev_id, .pipe_id = PIPE_ALL_PIPES, .reserved = 0};
}

// What a call is about: a device and one of its pipes. A call that names no pipe is about all.
struct Target {
    Target(pipe_dev_id id, uint32_t one_pipe = PIPE_ALL_PIPES) : dev_id(id), pipe(one_pipe) {}
    Target(pipe_dev_tgt dev_tgt) : Target(dev_tgt.dev_id, dev_tgt.pipe_id) {}

    pipe_dev_id dev_id;
    uint32_t pipe;
};

// Null if there is no such device, pipe or table; `status` says why. The mutex must be held.
Device* find_device(Target target, pipe_status& status);
Table* find_table(pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_status& status);

template <class Body>
pipe_status on_selector(Device& device, pipe_tbl_hdl sel_hdl, Body&& body) {
    const auto selector = device.selectors.find(sel_hdl);
    return selector == device.selectors.end() ? pipe_status{VL_MODEL_UNKNOWN_TABLE} : body(selector->second);
}

// Run `body` on a device, match table, data table or selector under the mutex, if session, device, pipe and table exist.
template <class Body>
pipe_status with_device(pipe_sess_hdl sess_hdl, Target target, Body&& body) {
    Model& m = model();
    const std::lock_guard lock(m.mutex);
    if (!m.sessions.contains(sess_hdl)) return VL_MODEL_UNKNOWN_SESSION;
    pipe_status status = VL_MODEL_OK;
    Device* device = find_device(target, status);
    return device == nullptr ? status : body(*device);
}

template <class Body>
pipe_status with_table(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl tbl_hdl, Body&& body) {
    return with_device(sess_hdl, target, [&](Device& device) -> pipe_status {
        const auto table = device.tables.find(tbl_hdl);
        return table == device.tables.end() ? pipe_status{VL_MODEL_UNKNOWN_TABLE} : body(*table->second);
    });
}

template <class Body>
pipe_status with_data_table(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl adt_hdl, Body&& body) {
    return with_device(sess_hdl, target, [&](Device& device) -> pipe_status {
        const auto table = device.data_tables.find(adt_hdl);
        return table == device.data_tables.end() ? pipe_status{VL_MODEL_UNKNOWN_TABLE} : body(table->second);
    });
}

template <class Body>
pipe_status with_selector(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl sel_hdl, Body&& body) {
    return with_device(sess_hdl, target,
                       [&](Device& device) -> pipe_status { return on_selector(device, sel_hdl, body); });
}

template <class Body>
pipe_status with_group(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl sel_hdl, pipe_grp_hdl grp_hdl, Body&& body) {
    return with_selector(sess_hdl, target, sel_hdl, [&](Selector& selector) -> pipe_status {
        Group* group = selector.groups.find(grp_hdl);
        return group == nullptr ? pipe_status{VL_MODEL_NOT_FOUND} : body(selector, *group);
    });
}

// Empties the states of the member-selector component. The mutex must be held.
void clear_member_states();

} // namespace vl_model
