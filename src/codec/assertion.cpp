// The two ways in which a failed assertion ends. People search logs for these formats.
#include "codec/assertion.h"

#include <execinfo.h>

#include <cstdlib>

#include "vl_driver/system.h"

namespace vl_pd {

void assertion_failed(Condition condition, const char* function, int line) noexcept {
    if (bf_sys_dbg_mode() == 0) {
        if (condition == Condition::zero)
            bf_sys_log_and_trace(BF_SYS_MODULE_NONE, BF_SYS_LEVEL_ERROR, "ASSERTION FAILED: \"0\" (0) from %s:%d",
                                 function, line);
        else
            bf_sys_log_and_trace(BF_SYS_MODULE_NONE, BF_SYS_LEVEL_ERROR,
                                 "ASSERTION FAILED: \"((void *)0)\" (NULL) from %s:%d", function, line);
        return;
    }
    void* frames[128];
    const int count = backtrace(frames, 128);
    if (char** const symbols = backtrace_symbols(frames, count)) // one way: null only without memory
        for (int i = 0; i < count; ++i)
            bf_sys_log_and_trace(BF_SYS_MODULE_NONE, BF_SYS_LEVEL_ERROR, "%s", symbols[i]);
    std::abort();
}

} // namespace vl_pd
