// The switch that the agent drives: the library started, a session of the driver, one device with the pipeline.
#pragma once

#include <stdexcept>
#include <string>

#include "vl_pd/velmar_switch.h"

namespace route_agent {

// All that an operation needs to know where it works.
struct Device {
    pd_session session = 0;
    pd_dev_tgt target = {.dev_id = 0, .pipe_id = PD_ALL_PIPES, .reserved = 0};
    uint8_t vrf = 1; // the one VRF that has all routes
};

// A call that the driver, or the library, did not do. The message has the status by name and text.
class Refused : public std::runtime_error {
public:
    Refused(const std::string& what, pd_status status);
};

// Throws Refused for any status but 0.
void check(pd_status status, const char* what);

// Both throw Refused. Closing does all its steps before it throws.
Device open_device();
void close_device(const Device& device);

} // namespace route_agent
