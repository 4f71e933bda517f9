// Damage to the embedded driver's hardware.
#pragma once

#include <cstdint>
#include <string>

#include "views/work.h"

namespace pd_show {

// Damages at most so many entries, and returns a line about each. Throws a Problem.
std::string corrupt_hardware(const pd_views::Work& work, uint32_t most, uint32_t seed);

} // namespace pd_show
