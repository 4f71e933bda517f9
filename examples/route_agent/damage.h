// Says what damaged an entry in the embedded driver's hardware. pd-show uses it, too.
#pragma once

#include <string>

#include "vl_model/testing.h"

namespace route_agent {

inline std::string damage_text(const vl_model_corruption& damage) {
    const auto flipped = [&](const char* part) {
        return "bit " + std::to_string(damage.bit % 8) + " of byte " + std::to_string(damage.bit / 8) + " of the " +
               part + " flipped";
    };
    switch (damage.what) {
    case VL_MODEL_LOST:
        break;
    case VL_MODEL_KEY_BIT:
        return flipped("key");
    case VL_MODEL_MASK_BIT:
        return flipped("mask");
    case VL_MODEL_DATA_BIT:
        return flipped("action data");
    case VL_MODEL_MEMBER_BIT:
        return "bit " + std::to_string(damage.bit) + " of the member's handle flipped";
    }
    return "lost";
}

} // namespace route_agent
