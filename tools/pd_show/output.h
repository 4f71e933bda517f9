// What pd-show writes: its output, and messages on stderr with the exit status that goes with them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "route_agent/progress.h"

namespace pd_show {

enum ExitStatus {
    exit_shown = 0,
    // The driver or the library can't be used or refused a request, or the hardware differs. Both mean the same to a
    // script: it can't rely on the hardware.
    exit_failed = 1,
    exit_bad_usage = 2 // wrong arguments, an unknown name or a bad list of routes
};

// Ends the run.
class Problem : public std::runtime_error {
public:
    Problem(ExitStatus with_status, const std::string& what) : std::runtime_error(what), status(with_status) {}

    ExitStatus status;
};

// Standard output through a large buffer. A failed write is a Problem.
struct Output {
    static constexpr size_t capacity = size_t{1} << 18;

    std::string text;   // not yet written; a line can be made here piece by piece
    uint64_t ticks = 0; // spent in writing

    // Ends what was added to `text`, and writes the text if it has grown large.
    void put(std::string_view more);
    void flush();
};

// Collects what couldn't be read, and prints it at the end, when no progress bar is in the way. Only the first
// complaints are printed, so that a driver that refuses all reads doesn't flood the screen.
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

// ": did you mean ipv4Host or ipv6Host?", the nearest name first. Empty if no name is near.
std::string near_text(std::string_view typed, std::span<const std::string> names);

// A progress bar if stderr is a terminal. Scripts see nothing of it.
class TerminalProgress {
    std::ostream nowhere_{nullptr};
    bool on_terminal_ = isatty(STDERR_FILENO) == 1;

public:
    route_agent::Progress bar{on_terminal_ ? std::cerr : nowhere_, on_terminal_};
};

} // namespace pd_show
