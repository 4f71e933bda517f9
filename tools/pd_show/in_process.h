// Runs a command on a driver and a library in this process.
#pragma once

#include "pd_show/arguments.h"

namespace pd_show {

// Returns the exit status. Throws a Problem.
int run_in_process(const Arguments& arguments);

} // namespace pd_show
