// Opens and closes the switch. No other file knows how the driver learns about the pipeline.
#include "route_agent/device.h"

#include "vl_model/control.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace route_agent {
namespace {

// All statuses are the driver's except two, which only the library returns.
std::string status_text(pd_status status) {
    if (status == PD_STATUS_UNEXPECTED) return "UNEXPECTED (the driver's answer can't come from this pipeline)";
    if (status == PD_STATUS_MISMATCH) return "MISMATCH (another action than the member's)";
    return std::string(vl_model_status_name(status)) + " (" + vl_model_status_text(status) + ")";
}

} // namespace

Refused::Refused(const std::string& what, pd_status status)
    : std::runtime_error(what + " was refused with status " + std::to_string(status) + ", " + status_text(status)) {}

void check(pd_status status, const char* what) {
    if (status != PD_STATUS_OK) throw Refused(what, status);
}

Device open_device() {
    // Before any device is added: the driver tells the library when a device is removed.
    p4_pd_velmar_switch_init();
    Device device;
    const char* what = "opening a session";
    pd_status status = vl_model_session_open(&device.session);
    if (status == PD_STATUS_OK) {
        what = "adding the device";
        status = vl_model_device_add(device.target.dev_id, &velmar_switch_pipeline);
        if (status == PD_STATUS_OK) return device;
        static_cast<void>(vl_model_session_close(device.session)); // only the first refusal is reported
    }
    static_cast<void>(p4_pd_velmar_switch_cleanup());
    throw Refused(what, status);
}

void close_device(const Device& device) {
    const pd_status removed = vl_model_device_remove(device.target.dev_id);
    const pd_status closed = vl_model_session_close(device.session);
    const pd_status cleaned_up = p4_pd_velmar_switch_cleanup();
    check(removed, "removing the device");
    check(closed, "closing the session");
    check(cleaned_up, "cleaning up the library");
}

} // namespace route_agent
