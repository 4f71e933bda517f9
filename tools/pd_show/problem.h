// What ends a run of pd-show early, with the exit status that tells of it, and what is told while it goes on.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace pd_show {

enum ExitStatus {
    exit_shown = 0,
    exit_unreadable = 1, // the driver or the library isn't usable, or didn't do what was asked of it
    exit_different = 1,  // the hardware differs
    exit_bad_usage = 2   // arguments, a name or a list of routes
};

class Problem : public std::runtime_error {
public:
    Problem(ExitStatus with_status, const std::string& what) : std::runtime_error(what), status(with_status) {}

    ExitStatus status;
};

// What couldn't be read, on stderr. The run goes on, and a driver that refuses all reads doesn't flood the screen.
class Complaints {
public:
    void add(const std::string& what);
    // Tells how many were not shown.
    void finish() const;
    bool any() const {
        return count_ != 0;
    }

private:
    static constexpr std::size_t most_shown = 20;
    std::size_t count_ = 0;
};

} // namespace pd_show
