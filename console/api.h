// What the socket answers: the commands of views/ by path, the page, and numbers for a monitor.
#pragma once

#include "console/stream.h"

namespace console {

// Answers a request. Throws Gone.
void answer(const Switch& shown, const Server::Load& load, const Request& request, Reply& reply);

} // namespace console
