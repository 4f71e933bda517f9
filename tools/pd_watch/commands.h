// The commands of pd-watch. Each gets its own arguments, and returns the exit status.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace pd_watch {

// Wrong arguments, or a file that is no recording: exit status 2.
struct Mistake : std::runtime_error {
    using std::runtime_error::runtime_error;
};

using Words = std::vector<std::string>;

// Becomes the command, with the layer loaded in front of its driver. Returns only if it can't.
int watch(const Words& words);

int show(const Words& words);
int replay(const Words& words);
int diff(const Words& words);

} // namespace pd_watch
