// From nothing to a running switch and back. For another driver below the library, start() and the text of statuses
// must change.
#include "leaf_switch/leaf_switch.h"

#include <exception>

#include "leaf_switch/steps.h"
#include "vl_model/control.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace leaf_switch {
namespace {

// All statuses are the driver's except two, which only the library returns.
std::string answer(pd_status status) {
    switch (status) {
    case PD_STATUS_UNEXPECTED:
        return "the driver said what can't come from this pipeline";
    case PD_STATUS_MISMATCH:
        return "the member has another action";
    default:
        return std::string(vl_model_status_name(status)) + " (" + vl_model_status_text(status) + ")";
    }
}

void expect_empty_tables(const Leaf& leaf) {
    for (const TableCount& table : table_counts(leaf))
        if (table.count != 0)
            throw std::runtime_error(std::to_string(table.count) + " left at the end in " + table.name);
}

} // namespace

Refused::Refused(const std::string& what, pd_status status)
    : std::runtime_error(what + " was refused with status " + std::to_string(status) + ": " + answer(status)) {}

void expect(const std::string& what, pd_status status) {
    if (status != PD_STATUS_OK) throw Refused(what, status);
}

void at_shut_down(Leaf& leaf, const std::string& what, const std::function<pd_status(const Leaf&)>& undo) {
    leaf.undo.emplace_back([=](const Leaf& made) { expect(what, undo(made)); });
}

void start(Leaf& leaf) {
    // Before any device is added: the driver tells the library when a device is removed.
    p4_pd_velmar_switch_init();
    at_shut_down(leaf, "cleaning up the library", [](const Leaf&) { return p4_pd_velmar_switch_cleanup(); });

    expect("opening a session", vl_model_session_open(&leaf.session));
    at_shut_down(leaf, "closing the session", [](const Leaf& made) { return vl_model_session_close(made.session); });

    expect("adding the device", vl_model_device_add(leaf.target.dev_id, &velmar_switch_pipeline));
    at_shut_down(leaf, "removing the device",
                 [](const Leaf& made) { return vl_model_device_remove(made.target.dev_id); });

    // Runs when all later steps are undone and the device still exists.
    leaf.undo.emplace_back(expect_empty_tables);
}

Leaf bring_up() {
    Leaf leaf;
    try {
        for (const auto step : {start, map_ports, recognise_vxlan, set_up_vlans, fill_mac_table, limit_broadcasts,
                                learn_stations, bundle_ports, open_vrf, add_next_hops, choose_hash, join_spines,
                                add_routes, forbid_telnet, decide_drops, trap_to_cpu})
            step(leaf);
    } catch (...) {
        try {
            shut_down(leaf);
        } catch (const std::exception&) { // only the first refusal is reported
        }
        throw;
    }
    return leaf;
}

void shut_down(Leaf& leaf) {
    std::exception_ptr first;
    while (!leaf.undo.empty()) {
        const std::function<void(const Leaf&)> step = std::move(leaf.undo.back());
        leaf.undo.pop_back();
        try {
            step(leaf);
        } catch (...) {
            if (!first) first = std::current_exception();
        }
    }
    if (first) std::rethrow_exception(first);
}

} // namespace leaf_switch
