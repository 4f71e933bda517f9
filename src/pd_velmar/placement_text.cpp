// The lines that print forms of placement data have beside those of records.
#include "pd_velmar/placement_text.h"

#include <cstdio>

#include "pd/action_names.h"

namespace vl_pd::placement_text {

void print_failure(int fd, const char* name, const char* suffix) noexcept {
    dprintf(fd, "cannot decode plcmt_data for p4_pd_velmar_switch_%s%s\n", name, suffix);
}

void print_keyless_title(int fd, uint32_t indent, const char* table) noexcept {
    dprintf(fd, "%*sp4_pd_velmar_switch_%s:\n", static_cast<int>(indent), "", table);
}

void print_action(int fd, uint32_t indent, uint32_t action, const void* action_spec) noexcept {
    dprintf(fd, "%*s%s:\n", static_cast<int>(indent), "", action_names::to_string(action));
    print::param_lines(fd, indent, action, action_spec);
}

} // namespace vl_pd::placement_text
