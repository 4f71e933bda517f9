// For agents that stay up: a console at a socket, and the signals that end the agent.
#pragma once

#include <chrono>
#include <csignal>
#include <string>
#include <system_error>

#include "vl_pd/console.h"

namespace examples {

// The console listens as long as this exists.
class Console {
public:
    // Throws std::system_error if the console can't start. Blocks SIGINT and SIGTERM, so that they wait for
    // ends_within(). Threads that start later inherit this.
    Console(const std::string& socket, pd_session session, pd_device device) {
        sigemptyset(&ends_);
        sigaddset(&ends_, SIGINT);
        sigaddset(&ends_, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &ends_, nullptr);
        vl_pd_console_options options = {};
        options.socket_path = socket.c_str();
        options.session = session;
        options.device = device;
        const int error = vl_pd_console_start(&options, &console_);
        if (error != 0) throw std::system_error(error, std::generic_category(), "the console can't start");
    }
    ~Console() {
        vl_pd_console_stop(console_);
    }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // Waits for SIGINT or SIGTERM. Returns false if none of them came in this time.
    bool ends_within(std::chrono::milliseconds time) const {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
        const std::chrono::nanoseconds rest = time - seconds;
        const timespec timeout = {.tv_sec = seconds.count(), .tv_nsec = rest.count()};
        return sigtimedwait(&ends_, nullptr, &timeout) > 0;
    }

private:
    vl_pd_console* console_ = nullptr;
    sigset_t ends_;
};

} // namespace examples
