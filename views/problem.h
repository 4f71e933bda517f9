// What ends a command, and the names that a user may have meant.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace pd_views {

enum class Fault {
    failed,      // the driver or the library can't be used or refused a request
    bad_value,   // an argument is wrong
    unknown_name // nothing has this name
};

class Problem : public std::runtime_error {
public:
    Problem(Fault of_kind, const std::string& what) : std::runtime_error(what), fault(of_kind) {}

    Fault fault;
};

// ": did you mean ipv4Host or ipv6Host?", the nearest name first. Empty if no name is near.
std::string near_text(std::string_view typed, std::span<const std::string> names);

} // namespace pd_views
