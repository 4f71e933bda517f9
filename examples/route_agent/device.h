// The switch that the agent drives: the library, a session of the driver, and one device with the pipeline.
#pragma once

#include <stdexcept>
#include <string>

#include "vl_pd/velmar_switch.h"

// The library's name for something of a table, profile or action: PD(ipv4Host, get_entry) is
// p4_pd_velmar_switch_ipv4Host_get_entry.
#define PD(object, name) p4_pd_velmar_switch_##object##_##name

namespace route_agent {

// Where an operation works.
struct Device {
    pd_session session = 0;
    pd_dev_tgt target = {.dev_id = 0, .pipe_id = PD_ALL_PIPES, .reserved = 0};
    uint8_t vrf = 1; // the one VRF that has all routes
};

// A call that the driver or the library refused. The message has the status by name and text.
class Refused : public std::runtime_error {
public:
    Refused(const std::string& what, pd_status status);
};

// Throws Refused for any status except 0.
void check(pd_status status, const char* what);

// Both throw Refused. close_device does all its steps before it throws.
Device open_device();
void close_device(const Device& device);

} // namespace route_agent
