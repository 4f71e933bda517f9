// Exit statuses, messages on stderr, and a progress bar for people.
#pragma once

#include <iostream>

#include <unistd.h>

#include "route_agent/progress.h"
#include "views/problem.h"

namespace pd_show {

enum ExitStatus {
    exit_shown = 0,
    // The driver or the library can't be used or refused a request, or the hardware differs. Both mean the same to a
    // script: it can't rely on the hardware.
    exit_failed = 1,
    exit_bad_usage = 2 // wrong arguments, an unknown name or a bad list of routes
};

inline ExitStatus status_of(const pd_views::Problem& problem) {
    return problem.fault == pd_views::Fault::failed ? exit_failed : exit_bad_usage;
}

// A progress bar if stderr is a terminal. Scripts see nothing of it.
class TerminalProgress {
    std::ostream nowhere_{nullptr};
    bool on_terminal_ = isatty(STDERR_FILENO) == 1;

public:
    route_agent::Progress bar{on_terminal_ ? std::cerr : nowhere_, on_terminal_};
};

} // namespace pd_show
