// The logged assertion: how the library reports what can't come from this pipeline, such as a foreign action handle.
#pragma once

namespace vl_pd {

// The condition that failed, as the log line words it.
enum class Condition {
    zero,         // "0" (0)
    null_pointer, // "((void *)0)" (NULL)
};

// In production one log line, after which the caller falls back. In the driver's debug mode the frames of the stack go
// to the log instead, one line each, and the process stops.
void assertion_failed(Condition condition, const char* function, int line) noexcept;

} // namespace vl_pd
