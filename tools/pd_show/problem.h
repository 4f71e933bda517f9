// What ends a run of pd-show early, with the exit status that tells of it, and what is told once the rest is shown.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace pd_show {

enum ExitStatus {
    exit_shown = 0,
    // The driver or the library isn't usable or didn't do what was asked of it, or the hardware differs. Both are the
    // same to a script: it can't rely on the hardware.
    exit_failed = 1,
    exit_bad_usage = 2 // arguments, a name or a list of routes
};

class Problem : public std::runtime_error {
public:
    Problem(ExitStatus with_status, const std::string& what) : std::runtime_error(what), status(with_status) {}

    ExitStatus status;
};

// What couldn't be read. Told on stderr at the end, when no progress bar is in the way; a driver that refuses all reads
// doesn't flood the screen.
class Complaints {
public:
    Complaints() = default;
    ~Complaints();
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    void add(const std::string& what) {
        if (++count_ <= most_shown) shown_.push_back(what);
    }
    bool any() const {
        return count_ != 0;
    }

private:
    static constexpr size_t most_shown = 20;
    std::vector<std::string> shown_;
    size_t count_ = 0;
};

} // namespace pd_show
