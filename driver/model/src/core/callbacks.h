// Registered callbacks. A registration that has ended gets no more calls. Ending one waits for its running calls, so
// that the agent may free its cookie. Callbacks run without the model's mutex. The calls of registrations are counted
// under another mutex, which may be taken while the model's is held.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

namespace vl_model {

struct Registration {
    uint32_t running = 0; // calls
    bool ended = false;
};

// While one exists, its thread is within a callback.
class WithinCallback {
public:
    WithinCallback();
    ~WithinCallback();
    WithinCallback(const WithinCallback&) = delete;
    WithinCallback& operator=(const WithinCallback&) = delete;
};

// A call of a registered callback. If this is false, the registration has ended, and the call must not be made.
class RunningCall {
public:
    explicit RunningCall(std::shared_ptr<Registration> registration);
    ~RunningCall();
    RunningCall(const RunningCall&) = delete;
    RunningCall& operator=(const RunningCall&) = delete;

    explicit operator bool() const {
        return registration_ != nullptr;
    }

private:
    std::shared_ptr<Registration> registration_;
    WithinCallback within_;
};

// Calls the callback that came with a call, unless it is null.
template <class Callback>
void call_once(Callback callback, uint32_t dev_id, void* cookie) {
    if (callback == nullptr) return;
    const WithinCallback within;
    callback(dev_id, cookie);
}

// Ends a registration, unless it is null, and waits for its running calls. Within a callback it doesn't wait: callbacks
// could wait for themselves or for each other forever. The model's mutex must be free.
void end(const std::shared_ptr<Registration>& registration) noexcept;

// A callback with its cookie and registration. Callers take a copy under the mutex and call without it.
template <class Callback>
struct Subscriber {
    Callback callback{};
    void* cookie = nullptr;
    std::shared_ptr<Registration> registration{};

    // Returns the old registration, which the caller must end when the mutex is free again.
    [[nodiscard]] std::shared_ptr<Registration> replace(Callback new_callback, void* new_cookie = nullptr) {
        auto added = new_callback ? std::make_shared<Registration>() : nullptr;
        callback = std::move(new_callback);
        cookie = new_cookie;
        return std::exchange(registration, std::move(added));
    }

    // Calls the callback, with the cookie last, unless there is none or the registration has ended.
    template <class... Args>
    void tell(Args... args) const {
        if (registration != nullptr) {
            if (const RunningCall running{registration}) callback(args..., cookie);
        }
    }
};

} // namespace vl_model
