// Writes to standard output by the system call itself, which signals may interrupt.
#include "pd_show/output.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include <unistd.h>

#include "pd_show/clock.h"
#include "pd_show/problem.h"

namespace pd_show {

void Output::put(std::string_view text) {
    while (!text.empty()) {
        const size_t part = std::min(text.size(), capacity);
        char* const out = room(part);
        std::memcpy(out, text.data(), part);
        put_to(out + part);
        text.remove_prefix(part);
    }
}

void Output::flush() {
    const uint64_t start = ticks();
    for (size_t written = 0; written < used_;) {
        const ssize_t result = write(STDOUT_FILENO, buffer_.get() + written, used_ - written);
        if (result >= 0)
            written += static_cast<size_t>(result);
        else if (errno != EINTR)
            throw Problem(exit_failed, std::string("the output can't be written: ") + std::strerror(errno));
    }
    used_ = 0;
    ticks_ += ticks() - start;
}

void Output::make_room(size_t size) {
    if (size > capacity) throw Problem(exit_failed, "a line is too long");
    flush();
}

} // namespace pd_show
