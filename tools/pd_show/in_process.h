// Runs a command on a driver and a library in this process.
#pragma once

#include "pd_show/arguments.h"
#include "views/work.h"

namespace pd_show {

// What the arguments ask for. Throws a Problem if it isn't a command of this process.
pd_views::Command* command_of(const Arguments& arguments);

// Returns the exit status. Throws a Problem.
int run_in_process(const Arguments& arguments);

} // namespace pd_show
