// The module that gives the embedded driver something to show, by the examples of this project. It is linked against
// library and driver, and so has to be loaded when they are.
#pragma once

#include <string>

#include "vl_pd/types.h"

extern "C" {

// Brings up the leaf switch if `leaf_switch`, then programs the list of routes if `routes` isn't null, on device 0, and
// starts the library for that. Returns an exit status; unless it is 0, `problem` says what was wrong.
using pd_show_demo_function = int(bool leaf_switch, const char* routes, pd_session* session, std::string* problem);
__attribute__((visibility("default"))) pd_show_demo_function pd_show_demo;

} // extern "C"
