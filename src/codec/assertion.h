// The logged assertion. It reports a driver's answer that can't come from this pipeline, such as a foreign action
// handle, and an unknown meter type.
#pragma once

namespace vl_pd {

// The condition that failed, as the log line words it.
enum class Condition {
    zero,         // "0" (0)
    null_pointer, // "((void *)0)" (NULL)
};

// Writes one log line, after which the caller goes on. In the driver's debug mode it logs the frames of the stack
// instead, one line each, and stops the process.
void assertion_failed(Condition condition, const char* function, int line) noexcept;

} // namespace vl_pd
