// Runs a command of views/ and sends what it writes while it reads.
#pragma once

#include <functional>
#include <string_view>

#include "console/http.h"
#include "views/work.h"

namespace console {

// A switch that an agent programs.
struct Switch {
    pd_views::Library library;
    pd_views::Pipeline pipeline;
    pd_session session;
    pd_dev_tgt target;
};

// Sends what `run` writes, in pieces of a bounded size, up to the end of the answer. The trailers say what `run`
// returned and complained of. Ends `run` if the client is gone. Throws Gone, and what `run` throws.
void stream(const Switch& shown, const pd_views::Query& query, std::string_view type, Reply& reply,
            const std::function<pd_views::Command>& run);

} // namespace console
