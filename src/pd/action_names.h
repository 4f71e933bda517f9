// The full names of all actions, and their numbers.
#pragma once

#include <cstdint>

#include "catalog/catalog.h"
#include "vl_pd/velmar_switch/program.h"

namespace vl_pd::action_names {

// Null for a number that no action has.
const char* to_string(uint32_t number) noexcept;

// The count of actions for null and for a name that no action has.
uint32_t to_enum(const char* name) noexcept;

} // namespace vl_pd::action_names
