// See output.h.
#include "pd_show/output.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <unistd.h>

#include "views/problem.h"

namespace pd_show {

void StandardOutput::write(std::string_view text) {
    const pd_views::Stopwatch stopwatch(spent);
    while (!text.empty()) {
        const ssize_t result = ::write(STDOUT_FILENO, text.data(), text.size());
        if (result >= 0)
            text.remove_prefix(static_cast<size_t>(result));
        else if (errno != EINTR)
            throw pd_views::Problem(pd_views::Fault::failed,
                                    std::string("the output can't be written: ") + std::strerror(errno));
    }
}

} // namespace pd_show
