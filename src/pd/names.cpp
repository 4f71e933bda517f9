// Look-ups in the list of action names.
#include "pd/names.h"

#include <cstring>

namespace vl_pd::action_names {

const char* to_string(uint32_t number) noexcept {
    return number < all.size() ? all[number] : nullptr;
}

uint32_t to_enum(const char* name) noexcept {
    uint32_t number = 0;
    while (number < all.size() && (name == nullptr || std::strcmp(all[number], name) != 0))
        ++number;
    return number;
}

} // namespace vl_pd::action_names
