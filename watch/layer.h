// What looks at the calls while an agent runs: a recorder, a checker and a summary, as the environment asks for them.
#pragma once

#include "watch/call.h"

namespace pd_watch {

// Whether somebody looks. Everything else costs nothing then.
bool is_watching();

// Looks at a call before the driver gets it, and when the driver has answered. Neither throws, nor changes errno.
void call_begins(Call& call) noexcept;
void call_ended(Call& call) noexcept;

// Whether this code belongs to the driver: its own calls of its functions aren't the agent's.
bool is_in_driver(const void* code);

// The driver's function behind this layer. Ends the process if there is none, as the linker would.
void* next_function(const char* name);

} // namespace pd_watch
