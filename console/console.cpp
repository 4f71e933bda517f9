// Starts and stops the console: finds the library and the driver in this process, makes the socket, and answers.
#include <atomic>
#include <cerrno>
#include <exception>
#include <new>
#include <optional>
#include <system_error>

#include <dlfcn.h>
#include <unistd.h>

#include "console/api.h"
#include "vl_model/control.h"
#include "vl_pd/console.h"

namespace {

using console::Switch;

constexpr uint32_t most_timeout_ms = 3600000; // an hour
constexpr uint32_t most_clients = 1000;

// A session of the embedded driver, which the console opened itself.
class OwnSession {
public:
    OwnSession(const pd_views::Library& library, bool is_wanted)
        : close_(library.driver_function<decltype(vl_model_session_close)>("vl_model_session_close")) {
        const auto open = library.driver_function<decltype(vl_model_session_open)>("vl_model_session_open");
        if (!is_wanted || open == nullptr || close_ == nullptr) return;
        if (open(&session_) != VL_MODEL_OK) throw std::system_error(EPROTO, std::generic_category());
        is_open_ = true;
    }
    ~OwnSession() {
        if (is_open_) close_(session_);
    }
    OwnSession(const OwnSession&) = delete;
    OwnSession& operator=(const OwnSession&) = delete;

    std::optional<pd_session> session() const {
        return is_open_ ? std::optional(session_) : std::nullopt;
    }

private:
    decltype(&vl_model_session_close) close_;
    pd_session session_ = 0;
    bool is_open_ = false;
};

pd_views::Library this_process() {
    return {RTLD_DEFAULT, RTLD_DEFAULT};
}

Switch find_switch(const vl_pd_console_options& options, const OwnSession& own) {
    const pd_views::Library library = this_process();
    return {library,
            describe_pipeline(library),
            own.session().value_or(options.session),
            {.dev_id = options.device, .pipe_id = PD_ALL_PIPES, .reserved = 0}};
}

} // namespace

struct vl_pd_console {
    explicit vl_pd_console(const vl_pd_console_options& options)
        : own(this_process(), options.session == 0),
          shown(find_switch(options, own)),
          socket(options.socket_path, options.mode != 0 ? options.mode : 0600),
          server(
              socket.fd(),
              {.clients = options.max_clients != 0 ? options.max_clients : 8,
               .timeout_ms = options.timeout_ms != 0 ? options.timeout_ms : 5000},
              [this](int client) { return console::may_use(client, socket.mode(), socket.gid()); },
              [this](const console::Request& request, console::Reply& reply) {
                  is_made.wait(false); // a client may come before the server is a member
                  answer(shown, server.load(), request, reply);
              }) {
        is_made = true;
        is_made.notify_all();
    }

    const pid_t owner = getpid();
    OwnSession own;
    Switch shown;
    std::atomic<bool> is_made = false;
    console::ListeningSocket socket;
    console::Server server;
};

int vl_pd_console_start(const vl_pd_console_options* options, vl_pd_console** console) {
    if (options == nullptr || console == nullptr || options->socket_path == nullptr || options->socket_path[0] == 0 ||
        options->mode > 0777 || options->timeout_ms > most_timeout_ms || options->max_clients > most_clients)
        return EINVAL;
    try {
        *console = new vl_pd_console(*options);
        return 0;
    } catch (const std::system_error& error) {
        return error.code().value();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    } catch (const std::exception&) {
        return EPROTO;
    }
}

void vl_pd_console_stop(vl_pd_console* console) {
    if (console != nullptr && console->owner == getpid()) delete console;
}
