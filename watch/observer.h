// What looks at calls: each part of the layer is one.
#pragma once

#include "watch/call.h"

namespace pd_watch {

class Observer {
public:
    virtual ~Observer() = default;
    virtual void begins(const Call& /*call*/, uint32_t /*thread*/) {}
    // Puts a callback of its own in place of the agent's. Only for calls with a callback.
    virtual void replace_callback(Call& /*call*/) {}
    virtual void ended(const Call& call, uint32_t thread) = 0;
    // The process ends.
    virtual void finish() {}
    // Whether it reads the times of calls and the room for answers.
    virtual bool needs_details() const {
        return true;
    }
    // What the process returns in place of its own status, if it isn't 0. Asked after finish().
    virtual int exit_status() const {
        return 0;
    }
    // The process got SIGUSR1.
    virtual void tell_now() {}
};

} // namespace pd_watch
