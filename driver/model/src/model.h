// What the embedded driver holds: sessions, devices with their tables, clients, allocations, the log sink. One mutex
// guards it all; callbacks of clients and tests run without it.
#ifndef VL_MODEL_SRC_MODEL_H
#define VL_MODEL_SRC_MODEL_H

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <vl_driver/system.h>
#include <vl_driver/types.h>
#include <vl_model/control.h>
#include <vl_model/observe.h>

#include "table_store.h"

namespace vl_model {

struct Table {
    explicit Table(const vl_model_table& description);

    std::string name;
    std::vector<vl_model_action> actions;
    vl_model_table description; // with name and actions pointing at the copies above
    TableStore entries;
    std::optional<EntryImage> default_entry;

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
};

struct Device {
    std::string pipeline;
    std::unordered_map<pipe_tbl_hdl, std::unique_ptr<Table>> tables;
};

struct Client {
    bf_drv_client_hdl handle;
    std::string name;
    bf_drv_client_callbacks callbacks;
    uint32_t priority;
};

struct Model {
    std::mutex mutex;

    uint32_t last_session = 0;
    std::unordered_set<pipe_sess_hdl> sessions;
    std::unordered_map<pipe_dev_id, std::unique_ptr<Device>> devices;

    bf_drv_client_hdl last_client = 0;
    std::vector<Client> clients; // in the order of registration

    std::unordered_set<void*> allocations;
    std::size_t allocations_made = 0;
    std::vector<unsigned> allocation_faults; // calls still to come before each fires

    vl_model_log_sink log_sink = nullptr;
    void* log_cookie = nullptr;
    bool debug_mode = false;
};

Model& model();

// Null if there is no such table; `status` says why. The mutex must be held.
Table* find_table(pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, pipe_status& status);

// Runs `body` on a table under the mutex, if session, device and table exist.
template <class Body>
pipe_status with_table(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl, Body&& body) {
    Model& m = model();
    const std::lock_guard lock(m.mutex);
    if (!m.sessions.contains(sess_hdl)) {
        return VL_MODEL_UNKNOWN_SESSION;
    }
    pipe_status status = VL_MODEL_OK;
    Table* table = find_table(dev_id, tbl_hdl, status);
    return table == nullptr ? status : body(*table);
}

// Empties the states of the member-selector component. The mutex must be held.
void clear_member_states();

} // namespace vl_model

#endif
