// See callbacks.h.
#include "core/callbacks.h"

#include <condition_variable>
#include <mutex>

namespace vl_model {

namespace {

struct Calls {
    std::mutex mutex;
    std::condition_variable ended;
};

// Never destroyed: other objects' destructors may still call the driver.
Calls& calls() {
    static Calls& instance = *new Calls;
    return instance;
}

thread_local uint32_t callbacks_on_this_thread = 0;

} // namespace

WithinCallback::WithinCallback() {
    ++callbacks_on_this_thread;
}

WithinCallback::~WithinCallback() {
    --callbacks_on_this_thread;
}

RunningCall::RunningCall(std::shared_ptr<Registration> registration) {
    const std::lock_guard lock(calls().mutex);
    if (registration != nullptr && !registration->ended) {
        ++registration->running;
        registration_ = std::move(registration);
    }
}

RunningCall::~RunningCall() {
    if (registration_ != nullptr) {
        const std::lock_guard lock(calls().mutex);
        --registration_->running;
        calls().ended.notify_all();
    }
}

void end(const std::shared_ptr<Registration>& registration) noexcept {
    if (registration == nullptr) return;
    std::unique_lock lock(calls().mutex);
    registration->ended = true;
    if (callbacks_on_this_thread == 0) calls().ended.wait(lock, [&] { return registration->running == 0; });
}

} // namespace vl_model
