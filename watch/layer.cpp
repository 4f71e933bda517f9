// See layer.h. The command pd-watch says by environment variables what to do:
//   VL_PD_WATCH_RECORD   the file of a recording
//   VL_PD_WATCH_REPORT   the file of the report, in place of stderr
//   VL_PD_WATCH_FORMAT   of the report: text, or json
//   VL_PD_WATCH_CHECK    if it is set, mistakes are told
//   VL_PD_WATCH_STRICT   if it is set and there was a mistake, the process ends with status 3
//   VL_PD_WATCH_LEFTOVERS  if it is set, what stands at the end is a mistake
//   VL_PD_WATCH_OFF      the kinds of mistakes that aren't told, with commas between them
//   VL_PD_WATCH_ONLY     the tables whose mistakes are told and whose calls are recorded, with commas between them
//   VL_PD_WATCH_SUMMARY  if it is set, a summary is told
#include "watch/layer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <vector>

#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "watch/checker.h"
#include "watch/observer.h"
#include "watch/pipeline.h"
#include "watch/recorder.h"
#include "watch/report.h"
#include "watch/summary.h"

namespace pd_watch {
namespace {

const char* option(const char* name) {
    const char* const value = getenv(name);
    return value != nullptr && *value != 0 ? value : nullptr;
}

// Lets an observer see only calls that name one of these tables, and those that name none.
class OnlyTables : public Observer {
public:
    OnlyTables(const Pipeline& pipeline, const std::vector<std::string>& tables, std::unique_ptr<Observer> observer)
        : pipeline_(pipeline),
          tables_(tables.begin(), tables.end()),
          observer_(std::move(observer)) {}

    void ended(const Call& call, uint32_t thread) override {
        const size_t place = position_of(*call.function, Kind::table);
        if (place != call.function->count) {
            const Table* const table = pipeline_.table(static_cast<uint32_t>(call.words[place]));
            if (table == nullptr || !tables_.contains(table->name)) return;
        }
        observer_->ended(call, thread);
    }
    void finish() override {
        observer_->finish();
    }

private:
    const Pipeline& pipeline_;
    const std::set<std::string> tables_;
    const std::unique_ptr<Observer> observer_;
};

struct Layer {
    Pipeline pipeline;
    std::vector<std::unique_ptr<Observer>> observers;

    Layer() {
        if (const char* const path = option("VL_PD_WATCH_REPORT")) open_report(path);
        const auto list = [](const char* name) {
            const char* const items = option(name);
            return split_list(items != nullptr ? items : "");
        };
        const std::vector<std::string> tables = list("VL_PD_WATCH_ONLY");
        const char* const format = option("VL_PD_WATCH_FORMAT");
        const bool as_json = format != nullptr && format == std::string("json");
        if (const char* const path = option("VL_PD_WATCH_RECORD")) {
            observers.push_back(std::make_unique<Recorder>(pipeline, path, option("VL_PD_WATCH")));
            if (!tables.empty())
                observers.back() = std::make_unique<OnlyTables>(pipeline, tables, std::move(observers.back()));
        }
        if (option("VL_PD_WATCH_CHECK") != nullptr)
            observers.push_back(std::make_unique<Checker>(
                pipeline, CheckOptions{.strict = option("VL_PD_WATCH_STRICT") != nullptr,
                                       .leftovers = option("VL_PD_WATCH_LEFTOVERS") != nullptr,
                                       .as_json = as_json,
                                       .kinds_off = list("VL_PD_WATCH_OFF"),
                                       .tables = tables}));
        if (option("VL_PD_WATCH_SUMMARY") != nullptr) observers.push_back(std::make_unique<Summary>(pipeline, as_json));
    }
};

// Made at the first call, so that processes that never call the driver leave no trace. Never destroyed: other objects'
// destructors may still call the driver.
std::atomic<Layer*> layer = nullptr;
std::atomic<bool> watching = false;
std::atomic<uintptr_t> driver_begin = 0;
std::atomic<uintptr_t> driver_end = 0;

std::atomic<bool> needs_details = false;

// Which functions take a callback.
constexpr auto callbacks = [] {
    std::array<bool, std::size(functions)> all{};
    for (size_t i = 0; i < all.size(); ++i)
        all[i] = position_of(functions[i], Kind::callback) != functions[i].count;
    return all;
}();

std::mutex making; // the layer
pid_t process = 0;

void listen_to_signal();

Layer* the_layer() {
    if (Layer* const made = layer) return made;
    const std::lock_guard lock(making);
    if (layer != nullptr || !watching) return layer;
    try {
        auto made = std::make_unique<Layer>();
        for (const auto& observer : made->observers)
            if (observer->needs_details()) needs_details = true;
        layer = made.release();
        if (option("VL_PD_WATCH_SUMMARY") != nullptr) listen_to_signal();
    } catch (const std::bad_alloc&) {
        tell_fault("memory is short, so nothing is watched");
        watching = false;
    }
    return layer;
}

// Tells what there is to tell when the process gets SIGUSR1. The signal's handler may do next to nothing, so a thread
// does it.
int told_to_tell[2] = {-1, -1};

void* tell_when_told(void*) {
    char signal = 0;
    while (read(told_to_tell[0], &signal, 1) == 1) {
        Layer* const here = layer;
        if (here == nullptr || !watching) continue;
        for (const auto& observer : here->observers)
            observer->tell_now();
    }
    return nullptr;
}

void on_signal(int) {
    const int error = errno;
    [[maybe_unused]] const ssize_t written = write(told_to_tell[1], "", 1);
    errno = error;
}

void listen_to_signal() {
    struct sigaction before_us {};
    if (sigaction(SIGUSR1, nullptr, &before_us) != 0 || before_us.sa_handler != SIG_DFL) return; // it is the agent's
    if (pipe2(told_to_tell, O_CLOEXEC) != 0) return tell_fault("SIGUSR1 tells nothing: there is no pipe");
    pthread_t teller;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before); // the agent's signals go to the agent's threads
    const int refused = pthread_create(&teller, nullptr, tell_when_told, nullptr);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (refused != 0) return tell_fault("SIGUSR1 tells nothing: there is no thread");
    pthread_detach(teller);
    struct sigaction action {};
    action.sa_handler = on_signal;
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, nullptr);
}

// A child after fork() is another agent. Its parent's files aren't its own, so it makes a layer at its first call.
void before_fork() {
    making.lock();
    lock_report();
}

void after_fork() {
    unlock_report();
    making.unlock();
}

void after_fork_in_child() {
    layer = nullptr;
    process = getpid();
    if (told_to_tell[0] >= 0) { // the thread that listens is the parent's
        signal(SIGUSR1, SIG_DFL);
        close(told_to_tell[0]);
        close(told_to_tell[1]);
        told_to_tell[0] = told_to_tell[1] = -1;
    }
    after_fork();
}

// Ends the watching. Returns the exit status, which a mistake may change.
int finish_with(int status) {
    if (!watching.exchange(false)) return status;
    Layer* const here = layer;
    if (here == nullptr) return status;
    int other = 0;
    for (const auto& observer : here->observers) {
        observer->finish();
        other = std::max(other, observer->exit_status());
    }
    return other != 0 ? other : status;
}

// quick_exit() runs no destructors.
void end_quickly() {
    if (const int status = finish_with(0); status != 0) syscall(SYS_exit_group, status);
}

__attribute__((constructor)) void begin() {
    watching = option("VL_PD_WATCH") != nullptr;
    if (!watching) return;
    process = getpid();
    note_stderr();
    pthread_atfork(before_fork, after_fork, after_fork_in_child);
    at_quick_exit(end_quickly);
}

__attribute__((destructor)) void end() {
    const int status = finish_with(0);
    if (status == 0) return;
    fflush(nullptr);
    syscall(SYS_exit_group, status);
}

template <class Look>
void look(Look&& look_with) noexcept {
    const int error = errno;
    try {
        if (Layer* const here = the_layer(); here != nullptr)
            for (const auto& observer : here->observers)
                look_with(*observer);
    } catch (const std::exception& fault) {
        tell_fault(std::string("a call was not watched: ") + fault.what());
    }
    errno = error;
}

} // namespace

bool is_watching() {
    return watching.load(std::memory_order_relaxed);
}

void call_begins(Call& call) noexcept {
    if (needs_details) note_room(call);
    const bool has_callback = callbacks[static_cast<size_t>(call.function - functions)];
    look([&](Observer& observer) {
        observer.begins(call, thread_number());
        if (has_callback) observer.replace_callback(call);
    });
    if (needs_details) call.begin = now();
}

void call_ended(Call& call) noexcept {
    if (needs_details) call.end = now();
    look([&](Observer& observer) { observer.ended(call, thread_number()); });
}

bool is_in_driver(const void* code) {
    const auto address = reinterpret_cast<uintptr_t>(code);
    return driver_begin.load(std::memory_order_relaxed) <= address &&
           address < driver_end.load(std::memory_order_relaxed);
}

// The function of a driver that isn't in the global scope, because a plugin has brought it.
static void* function_of_plugin(const char* name) {
    std::vector<std::string> paths;
    const auto note_path = [](dl_phdr_info* module, size_t, void* all) {
        static_cast<std::vector<std::string>*>(all)->emplace_back(module->dlpi_name);
        return 0;
    };
    dl_iterate_phdr(note_path, &paths);
    Dl_info own{};
    Dl_info other{};
    dladdr(reinterpret_cast<void*>(&function_of_plugin), &own);
    for (const std::string& path : paths) {
        void* const module = path.empty() ? nullptr : dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
        void* const found = module == nullptr ? nullptr : dlsym(module, name);
        if (module != nullptr) dlclose(module);
        if (found != nullptr && dladdr(found, &other) != 0 && other.dli_fbase != own.dli_fbase) return found;
    }
    return nullptr;
}

void* next_function(const char* name) {
    void* found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) found = function_of_plugin(name);
    if (found == nullptr) {
        fprintf(stderr, "pd-watch: no driver has the function %s\n", name);
        syscall(SYS_exit_group, 127);
    }
    const auto note_driver = [](dl_phdr_info* module, size_t, void* address) {
        uintptr_t begin = UINTPTR_MAX;
        uintptr_t end = 0;
        for (unsigned i = 0; i < module->dlpi_phnum; ++i) {
            const ElfW(Phdr)& part = module->dlpi_phdr[i];
            if (part.p_type != PT_LOAD) continue;
            begin = std::min(begin, static_cast<uintptr_t>(module->dlpi_addr + part.p_vaddr));
            end = std::max(end, static_cast<uintptr_t>(module->dlpi_addr + part.p_vaddr + part.p_memsz));
        }
        const auto wanted = reinterpret_cast<uintptr_t>(address);
        if (wanted < begin || wanted >= end) return 0;
        driver_begin = begin;
        driver_end = end;
        return 1;
    };
    if (driver_end == 0) dl_iterate_phdr(note_driver, found);
    return found;
}

} // namespace pd_watch

// _exit() runs no destructors. A child after vfork() has its parent's memory, so only the process itself ends watching.
extern "C" __attribute__((visibility("default"), noreturn)) void _exit(int status) {
    if (getpid() == pd_watch::process) status = pd_watch::finish_with(status);
    while (true)
        syscall(SYS_exit_group, status);
}

extern "C" __attribute__((visibility("default"), noreturn)) void _Exit(int status) {
    _exit(status);
}
