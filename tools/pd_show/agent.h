// Shows the switch of an agent whose console listens at a socket.
#pragma once

#include "pd_show/arguments.h"

namespace pd_show {

// Asks the console, which makes the same text and JSON. Returns the exit status. Throws a Problem.
int run_on_agent(const Arguments& arguments);

// Offers the console to a browser or a monitor until a signal comes. Returns the exit status. Throws a Problem.
int serve(const Arguments& arguments);

} // namespace pd_show
