// Registered callbacks. A registration that has ended gets no more calls, and whoever ends it waits for those that run,
// so that the agent may free its cookie. Callbacks run without the model's mutex; the calls of registrations are
// counted under a mutex of their own, which may be taken while the model's is held.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

namespace vl_model {

struct Registration {
    uint32_t running = 0; // calls
    bool ended = false;
};

// While it lives, this thread is within a callback.
class WithinCallback {
public:
    WithinCallback();
    ~WithinCallback();
    WithinCallback(const WithinCallback&) = delete;
    WithinCallback& operator=(const WithinCallback&) = delete;
};

// A call of a registered callback, which must not be made if this is false: the registration has ended.
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

// Calls a callback that a call brought along, if it did.
template <class Callback>
void call_once(Callback callback, uint32_t dev_id, void* cookie) {
    if (callback == nullptr) return;
    const WithinCallback within;
    callback(dev_id, cookie);
}

// Ends a registration, if there is one, and waits for its calls that run, but not within a callback: one that waited
// for itself, or two that waited for each other, would wait for ever. The model's mutex must be free.
void end(const std::shared_ptr<Registration>& registration) noexcept;

// Who is told of something. The place of a registration and those who are about to call have one each.
template <class Callback>
struct Subscriber {
    Callback callback{};
    void* cookie = nullptr;
    std::shared_ptr<Registration> registration{};

    // Gives the registration that the new one replaces, to be ended when the mutex is free again.
    [[nodiscard]] std::shared_ptr<Registration> replace(Callback new_callback, void* new_cookie = nullptr) {
        auto added = new_callback ? std::make_shared<Registration>() : nullptr;
        callback = std::move(new_callback);
        cookie = new_cookie;
        return std::exchange(registration, std::move(added));
    }

    // Calls a callback that takes the cookie last, unless there is none or the registration has ended.
    template <class... Args>
    void tell(Args... args) const {
        if (registration != nullptr) {
            if (const RunningCall running{registration}) callback(args..., cookie);
        }
    }
};

} // namespace vl_model
