// The driver's services to its clients: memory, whose blocks are counted, log lines, debug mode.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "core/model.h"

using namespace vl_model;

namespace {

void write_to_stderr(int module, int level, const char* line, void* /*cookie*/) {
    std::fprintf(stderr, "driver: module %d level %d: %s\n", module, level, line);
}

std::string formatted(const char* format, va_list args) {
    va_list again;
    va_copy(again, args);
    const int len = std::vsnprintf(nullptr, 0, format, args);
    std::string line(len > 0 ? static_cast<size_t>(len) : 0, '\0');
    std::vsnprintf(line.data(), line.size() + 1, format, again);
    va_end(again);
    return line;
}

} // namespace

void* bf_sys_calloc(size_t count, size_t size) {
    return Boundary(__func__, count, size)([&]() -> void* {
        const auto m = lock_model();
        // Null would be a refusal, so an empty block has an address as well.
        std::unique_ptr<void, decltype(&std::free)> memory(
            count == 0 || size == 0 ? std::calloc(1, 1) : std::calloc(count, size), std::free);
        if (memory != nullptr) {
            m->allocations.insert(memory.get());
            ++m->allocations_made;
        }
        return memory.release();
    });
}

void bf_sys_free(void* memory) {
    Boundary(__func__, memory)([&] {
        if (memory == nullptr) return;
        const auto m = lock_model();
        if (m->allocations.erase(memory) == 0) {
            std::fprintf(stderr, "driver: bf_sys_free of %p, which is not a live block\n", memory);
            std::abort();
        }
        std::free(memory);
    });
}

int bf_sys_dbg_mode(void) {
    return Boundary<>(__func__)([] { return lock_model()->debug_mode ? 1 : 0; });
}

int bf_sys_log_and_trace(int module, int level, const char* format, ...) {
    std::string line;
    try {
        va_list args;
        va_start(args, format);
        line = formatted(format, args);
        va_end(args);
    } catch (const std::bad_alloc&) {
        return VL_MODEL_NO_MEMORY;
    }
    return Boundary(__func__, module, level, format, LogLine{line})([&]() -> int {
        vl_model_log_sink sink = write_to_stderr;
        void* cookie = nullptr;
        std::optional<RunningCall> running;
        {
            const auto m = lock_model();
            if (m->log_sink.callback != nullptr) {
                sink = m->log_sink.callback;
                cookie = m->log_sink.cookie;
                running.emplace(m->log_sink.registration);
            }
        }
        sink(module, level, line.c_str(), cookie);
        return VL_MODEL_OK;
    });
}

void vl_model_debug_mode_set(int on) {
    lock_model()->debug_mode = on != 0;
}

void vl_model_log_sink_set(vl_model_log_sink sink, void* cookie) {
    const auto replaced = lock_model()->log_sink.replace(sink, cookie);
    end(replaced);
}

namespace vl_model {

size_t live_allocations() {
    return lock_model()->allocations.size();
}

size_t allocations_made() {
    return lock_model()->allocations_made;
}

} // namespace vl_model
