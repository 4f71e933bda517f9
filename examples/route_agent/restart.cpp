// A restart of the agent while the switch goes on. The switch keeps groups, members and entries; what is lost are the
// agent's handles of members and groups, and the library's shadow of the profile, without which nothing can be added to
// a group.
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "route_agent/ecmp.h"
#include "route_agent/phases.h"
#include "vl_model/control.h"

namespace route_agent {
namespace {

struct FreeText {
    void operator()(char* text) const {
        std::free(text);
    }
};

using StateLog = std::unique_ptr<char, FreeText>;

StateLog take_log(const Device& device) {
    StateLog log(vl_model_state_log(device.target.dev_id));
    if (log == nullptr) throw Refused("logging the device state", PD_STATUS_NO_MEMORY);
    return log;
}

// The words are between the agent and the driver: this one takes the device and the session that it is to name.
void restore_by_replay(const Device& device) {
    check(p4_pd_velmar_switch_restore_virtual_dev_state(device.target.dev_id, device.session, 0, 0, 0),
          "restoring by replay");
}

// Shows what becomes of adding what a group has already. With the shadow the driver says so; without it the library
// can't even ask the driver.
void try_adds(Run& run, const std::string& when, pd_status expected) {
    if (const std::optional<pd_status> status = add_again(run, expected))
        run.progress.message(when + ", adding to a group gives " + vl_model_status_name(*status));
}

} // namespace

void restart(Run& run, RestoreBy by) {
    const Device& device = run.device;
    run.progress.begin_phase(by == RestoreBy::log ? "restart, restored by the device state log"
                                                  : "restart, restored by replay");
    const StateLog log = by == RestoreBy::log ? take_log(device) : nullptr;
    check(vl_model_device_state_drop(device.target.dev_id), "dropping the device state");
    forget_groups(run);

    learn_groups(run); // reading doesn't need the shadow
    try_adds(run, "without the shadow", VL_MODEL_NOT_FOUND);
    if (log != nullptr)
        check(vl_model_state_restore(device.target.dev_id, log.get()), "restoring by the device state log");
    else
        restore_by_replay(device);
    try_adds(run, "with the shadow restored", VL_MODEL_EXISTS); // neither way reports what it couldn't restore
}

} // namespace route_agent
