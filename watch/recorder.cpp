// See recorder.h.
#include "watch/recorder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include "watch/line.h"
#include "watch/report.h"

namespace pd_watch {
namespace {

constexpr int least_file = 3; // below are the agent's own, which it may have closed

// The file of this recording, or -1 and errno. A file that another process of the same run of pd-watch has begun is
// left alone: its first line names the run. `path` gets the process's number then.
int open_recording(std::string& path, const std::string& run) {
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK;
    for (const bool is_second : {false, true}) {
        if (is_second) path += "." + std::to_string(getpid());
        const int low = open(path.c_str(), flags, 0666);
        if (low < 0) return -1;
        const int file = fcntl(low, F_DUPFD_CLOEXEC, least_file);
        close(low);
        if (file < 0) return -1;
        char head[512] = {};
        const bool is_free = flock(file, LOCK_EX | LOCK_NB) == 0 && pread(file, head, sizeof head - 1, 0) >= 0 &&
                             std::string_view(head).find("\"run\":\"" + run + "\"") == std::string_view::npos;
        if ((is_free || is_second) && ftruncate(file, 0) == 0) return file;
        const int error = errno;
        close(file);
        if (is_free || is_second) {
            errno = error;
            return -1;
        }
    }
    return -1;
}

// Null, and errno, if the file can't be made. The disk's room for it is reserved: a store to a full disk would kill the
// process.
Tail* map_tail(const std::string& path) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0) return nullptr;
    const int refused = posix_fallocate(file, 0, sizeof(Tail));
    void* const mapped =
        refused != 0 ? MAP_FAILED : mmap(nullptr, sizeof(Tail), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (refused != 0) errno = refused;
    return mapped == MAP_FAILED ? nullptr : static_cast<Tail*>(mapped);
}

// The embedded driver is recognised by a function that no other driver has. It has names for its statuses.
bool has_embedded_driver() {
    return dlsym(RTLD_DEFAULT, "vl_model_status_name") != nullptr;
}

} // namespace

Recorder::Recorder(const Pipeline& pipeline, std::string path, const std::string& run)
    : pipeline_(pipeline),
      path_(std::move(path)),
      began_(now()) {
    const SignalsBlocked blocked;
    file_ = open_recording(path_, run);
    if (file_ < 0) {
        give_up(std::strerror(errno));
        return;
    }
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    tm utc{};
    gmtime_r(&time.tv_sec, &utc);
    char began[32];
    std::strftime(began, sizeof began, "%Y-%m-%dT%H:%M:%SZ", &utc);
    const bool has_head =
        write_all("{\"recording\":" + std::to_string(recording_version) + ",\"program\":\"" + catalog::program.name +
                  "\",\"began\":\"" + began + "\",\"pid\":" + std::to_string(getpid()) + ",\"run\":\"" + run +
                  "\",\"embedded\":" + (has_embedded_driver() ? "true" : "false") + "}\n");
    if (!has_head) return;
    tail_ = map_tail(tail_path(path_));
    if (tail_ == nullptr) give_up(std::strerror(errno));
}

Recorder::~Recorder() {
    if (file_ >= 0 && tail_ != nullptr && flush()) end_file();
}

void Recorder::ended(const Call& call, uint32_t thread) {
    static thread_local Text line;
    line.clear();
    line += ",\"time\":";
    line.number(call.begin - began_);
    line += ",\"thread\":";
    line.number(thread);
    put_call(line, pipeline_, call);
    line += ",\"duration_ns\":";
    line.number(call.end - call.begin);
    line += "}\n";
    const std::lock_guard lock(mutex_);
    if (file_ < 0) return;
    head_.clear();
    head_ += "{\"seq\":";
    head_.number(++sequence_);
    append(head_.view(), line.view());
}

// A line is whole in the tail or whole in the recording.
void Recorder::append(std::string_view head, std::string_view rest) {
    const size_t size = head.size() + rest.size();
    if (tail_->used + size > sizeof tail_->lines && !flush()) return;
    if (size > sizeof tail_->lines) {
        if (write_all(head)) write_all(rest);
        return;
    }
    char* const end = tail_->lines + tail_->used;
    std::memcpy(end, head.data(), head.size());
    std::memcpy(end + head.size(), rest.data(), rest.size());
    tail_->used.store(tail_->used + size, std::memory_order_release);
}

// Writes the lines of the tail to the recording.
bool Recorder::flush() {
    if (!write_all({tail_->lines, tail_->used})) return false;
    tail_->used.store(0, std::memory_order_release);
    return true;
}

bool Recorder::write_all(std::string_view text) {
    const SignalsBlocked blocked;
    while (!text.empty()) {
        const ssize_t count = write(file_, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            give_up(count == 0 ? "nothing could be written" : std::strerror(errno));
            return false;
        }
        text.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

void Recorder::give_up(const char* what) {
    tell_fault("recording to " + path_ + " ends: " + what);
    end_file();
}

void Recorder::finish() {
    const std::lock_guard lock(mutex_);
    if (file_ >= 0 && flush()) end_file();
}

// What is in the tail is lost.
void Recorder::end_file() {
    if (file_ >= 0) ::close(file_);
    file_ = -1;
    if (tail_ == nullptr) return;
    munmap(tail_, sizeof *tail_);
    tail_ = nullptr;
    unlink(tail_path(path_).c_str());
}

} // namespace pd_watch
