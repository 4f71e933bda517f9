// Where the agent called from.
#pragma once

#include <string>

namespace pd_watch {

// The place on this thread's stack at which the agent's code was left for the library or the driver; null if none.
const void* agent_code();

// The place as people find it: the function with an offset, or an address in a module.
std::string code_name(const void* code);

} // namespace pd_watch
