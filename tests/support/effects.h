// What the library does in a call of each exported function.
#pragma once

#include "support/every_export.h"

namespace support {

struct Effect {
    std::string name;
    std::string seen; // the driver calls with every byte of their records, the outputs, what was printed, the result
    uint64_t result = 0;
};

// Calls all of every_export(), each on a stack that is full of this byte, as are the unused bits of its arguments.
std::vector<Effect> effects(uint8_t dirt);

} // namespace support
