// Numbers for a monitor.
#pragma once

#include "console/stream.h"

namespace console {

// In the Prometheus text format, or in OpenMetrics if the request accepts it.
void write_metrics(const Switch& shown, const Server::Load& load, const Request& request, Reply& reply);

} // namespace console
