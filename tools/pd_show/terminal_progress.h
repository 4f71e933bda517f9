// A progress bar where stderr is a terminal, and nothing elsewhere: scripts don't want to hear of it.
#pragma once

#include <iostream>
#include <ostream>

#include <unistd.h>

#include "route_agent/progress.h"

namespace pd_show {

class TerminalProgress {
    std::ostream nowhere_{nullptr};
    bool on_terminal_ = isatty(STDERR_FILENO) == 1;

public:
    route_agent::Progress bar{on_terminal_ ? std::cerr : nowhere_, on_terminal_};
};

} // namespace pd_show
