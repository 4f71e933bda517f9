// Plays a recording again.
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <map>

#include <dlfcn.h>

#include <vl_pd/console.h>
#include <vl_pd/velmar_switch.h>

#include "tools/pd_watch/call_text.h"
#include "tools/pd_watch/commands.h"
#include "tools/pd_watch/player.h"

namespace pd_watch {
namespace {

struct Options {
    std::string file;
    std::string driver;
    std::string console;
    std::optional<uint32_t> session;
    uint64_t until = UINT64_MAX;
};

template <class Number>
Number number_from(const std::string& option, const std::string& text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw Mistake(option + " needs a number, not " + text);
    return number;
}

Options options_from(const Words& words) {
    Options options;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& option = words[i];
        const auto value = [&]() -> const std::string& {
            if (++i == words.size() || words[i].empty()) throw Mistake(option + " needs a value");
            return words[i];
        };
        if (option == "--driver")
            options.driver = value();
        else if (option == "--console")
            options.console = value();
        else if (option == "--until")
            options.until = number_from<uint64_t>(option, value());
        else if (option == "--session")
            options.session = number_from<uint32_t>(option, value());
        else if (option.starts_with("-") || !options.file.empty())
            throw Mistake("replay takes a file, --driver, --session, --until and --console, not " + option);
        else
            options.file = option;
    }
    if (options.file.empty()) throw Mistake("name a recording to replay");
    return options;
}

void* load(const std::string& path, const char* what) {
    void* const handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_GLOBAL);
    if (handle == nullptr) throw std::runtime_error(std::string(what) + " can't be loaded: " + dlerror());
    return handle;
}

template <class Function>
Function* function_in(void* library, const char* name) {
    void* const function = dlsym(library, name);
    if (function == nullptr) throw std::runtime_error(std::string("there is no function ") + name);
    return reinterpret_cast<Function*>(function);
}

// Opens a console and stays up until SIGINT or SIGTERM.
void stay_up(Player& player, const std::string& socket) {
    void* const library = load(library_path("libvl_bf_pd_default.so"), "the library");
    void* const console_library = load(library_path("libvl_pd_console.so"), "the console");
    player.deregister_clients(); // the library is one of them, under the same name
    if (player.devices().empty()) player.add_device(0);
    if (player.devices().empty()) throw std::runtime_error("the driver refuses the device");
    const auto device = static_cast<uint32_t>(*player.devices().begin());
    function_in<decltype(p4_pd_velmar_switch_init)>(library, "p4_pd_velmar_switch_init")();
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    vl_pd_console_options options = {};
    options.socket_path = socket.c_str();
    options.device = device;
    vl_pd_console* console = nullptr;
    const auto start = function_in<decltype(vl_pd_console_start)>(console_library, "vl_pd_console_start");
    if (const int error = start(&options, &console); error != 0)
        throw std::runtime_error(std::string("the console can't start: ") + std::strerror(error));
    printf("The console listens at %s\n", socket.c_str());
    fflush(stdout);
    int signal = 0;
    sigwait(&ends, &signal);
    function_in<decltype(vl_pd_console_stop)>(console_library, "vl_pd_console_stop")(console);
    function_in<decltype(p4_pd_velmar_switch_cleanup)>(library, "p4_pd_velmar_switch_cleanup")();
}

struct Span {
    uint64_t thread = 0;
    uint64_t sequence = 0;
    uint64_t begin = 0;
    uint64_t end = 0;
};

Span span_of(const cJSON* call) {
    const uint64_t begin = number_in(call, "time");
    return {number_in(call, "thread"), number_in(call, "seq"), begin, begin + number_in(call, "duration_ns")};
}

// A recording doesn't know the order of calls that ran at once, and another order may give another answer. Returns the
// number of such a call of another thread, or 0. `earlier`: the last call of each thread.
uint64_t ran_at_once(const cJSON* call, const std::map<uint64_t, Span>& earlier, Recording& later) {
    const Span span = span_of(call);
    const auto at_once = [&](const Span& other) {
        return other.thread != span.thread && other.begin < span.end && span.begin < other.end;
    };
    for (const auto& [thread, other] : earlier)
        if (at_once(other)) return other.sequence;
    constexpr int most_later = 100;
    for (int i = 0; i < most_later; ++i) {
        const Json next = later.next();
        if (next == nullptr) break;
        if (const Span other = span_of(next.get()); at_once(other)) return other.sequence;
    }
    return 0;
}

const char* calls(uint64_t count) {
    return count == 1 ? "call" : "calls";
}

} // namespace

int replay(const Words& words) {
    const Options options = options_from(words);
    Recording recording(options.file);
    load(options.driver.empty() ? library_path("libvl_driver_model.so") : options.driver, "the driver");
    const bool embedded = Player::has_embedded_driver();
    if (embedded && options.session)
        throw Mistake("--session is for other drivers; with the embedded driver, sessions are opened");
    if (!embedded && !options.session)
        throw Mistake("a session can't be opened with this driver; choose one by --session");
    if (!embedded && !options.console.empty()) throw Mistake("--console needs the embedded driver");
    const Pipeline pipeline;
    const CallText text(pipeline, false, embedded);
    Player player(pipeline, options.session);
    uint64_t played = 0;
    uint64_t left_out = 0;
    uint64_t by_packets = 0;
    bool same = true;
    std::map<uint64_t, Span> last_calls; // by thread
    for (Json call = recording.next(); call != nullptr; call = recording.next()) {
        const uint64_t sequence = number_in(call.get(), "seq");
        if (sequence > options.until) break;
        Outcome outcome = Outcome::same;
        try {
            outcome = player.play(call.get());
        } catch (const Mistake& mistake) {
            recording.refuse(mistake.what());
        }
        played += outcome != Outcome::left_out;
        left_out += outcome == Outcome::left_out;
        by_packets += outcome == Outcome::by_packets;
        if (outcome != Outcome::differs) {
            last_calls[number_in(call.get(), "thread")] = span_of(call.get());
            continue;
        }
        printf("Call %lu differs:\n%s\n", sequence, text.line(call.get()).c_str());
        for (const Difference& each : player.differences()) {
            const bool is_status = each.name == "status";
            const auto shown = [&](const std::string& value) {
                return is_status ? text.status(std::strtoul(value.c_str(), nullptr, 10)) : value;
            };
            printf("%s: recorded %s, came %s\n", each.name.c_str(), shown(each.first).c_str(),
                   shown(each.second).c_str());
        }
        if (const uint64_t other = ran_at_once(call.get(), last_calls, recording); other != 0)
            printf("It ran at once with call %lu of another thread, so their order isn't known.\n", other);
        same = false;
        break;
    }
    if (same) printf("%lu %s, the same answers\n", played, calls(played));
    if (by_packets != 0) printf("%lu of them differ in what packets change; packets aren't recorded\n", by_packets);
    if (left_out != 0) printf("%lu %s left out, because an argument can't be made again\n", left_out, calls(left_out));
    fflush(stdout);
    recording.tell_cut();
    if (!options.console.empty()) stay_up(player, options.console);
    return same ? 0 : 1;
}

} // namespace pd_watch
