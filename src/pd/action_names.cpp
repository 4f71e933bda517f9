// Look-ups in the table of action names, whose index is the action's number.
#include "pd/action_names.h"

#include <cstring>
#include <iterator>

namespace vl_pd::action_names {

namespace {

constexpr uint32_t count = std::size(catalog::actions);
constexpr const char* const (&names)[count] = p4_pd_velmar_switch_action_name_strings;

} // namespace

const char* to_string(uint32_t number) noexcept {
    return number < count ? names[number] : nullptr;
}

uint32_t to_enum(const char* name) noexcept {
    if (name == nullptr) return count;
    uint32_t number = 0;
    while (number < count && std::strcmp(names[number], name) != 0)
        ++number;
    return number;
}

} // namespace vl_pd::action_names
