// See report.h.
#include "watch/report.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <mutex>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pd_watch {
namespace {

std::mutex report_mutex;
int report_file = STDERR_FILENO;

struct stat stderr_file {};
std::mutex fault_mutex;

// Whether the file is still what it was when the process began.
bool is_ours(int file) {
    struct stat now_there {};
    return file != STDERR_FILENO || (fstat(file, &now_there) == 0 && now_there.st_dev == stderr_file.st_dev &&
                                     now_there.st_ino == stderr_file.st_ino);
}

bool write_all(int file, std::string_view text) {
    if (!is_ours(file)) return false;
    const SignalsBlocked blocked;
    while (!text.empty()) {
        const ssize_t count = write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        text.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

} // namespace

uint64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(time.tv_nsec);
}

uint32_t thread_number() {
    static std::atomic<uint32_t> last{0};
    static thread_local const uint32_t number = ++last;
    return number;
}

SignalsBlocked::SignalsBlocked() {
    sigemptyset(&own_);
    sigaddset(&own_, SIGPIPE);
    sigaddset(&own_, SIGXFSZ);
    sigpending(&pending_);
    pthread_sigmask(SIG_BLOCK, &own_, &before_);
}

SignalsBlocked::~SignalsBlocked() {
    const int error = errno;
    for (const int signal : {SIGPIPE, SIGXFSZ}) { // one that was pending before is the agent's
        if (sigismember(&pending_, signal) != 0) sigdelset(&own_, signal);
    }
    const timespec at_once{};
    while (sigtimedwait(&own_, nullptr, &at_once) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    errno = error;
}

void note_stderr() {
    fstat(STDERR_FILENO, &stderr_file);
}

void lock_report() {
    report_mutex.lock();
    fault_mutex.lock();
}

void unlock_report() {
    fault_mutex.unlock();
    report_mutex.unlock();
}

void report(std::string_view lines) {
    bool written = false;
    {
        const std::lock_guard lock(report_mutex);
        written = write_all(report_file, lines);
    }
    if (!written && report_file != STDERR_FILENO)
        tell_fault("the report can't be written: " + std::string(std::strerror(errno)));
}

void open_report(const std::string& path) {
    const int low = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0666);
    const int file = low < 0 ? -1 : fcntl(low, F_DUPFD_CLOEXEC, STDERR_FILENO + 1); // the agent may have closed stderr
    if (file < 0) tell_fault("the report " + path + " can't be opened: " + std::strerror(errno));
    if (low >= 0) close(low);
    if (file < 0) return;
    fcntl(file, F_SETFL, O_APPEND); // a pipe without a reader is refused, and a slow reader waited for
    report_file = file;
}

void tell_fault(const std::string& what) noexcept {
    try {
        static std::set<std::string> told;
        const std::lock_guard lock(fault_mutex);
        if (told.size() < 100 && told.insert(what).second) write_all(STDERR_FILENO, "pd-watch: " + what + "\n");
    } catch (...) {
        // There is no memory even for this.
    }
}

} // namespace pd_watch
