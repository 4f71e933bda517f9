// See output.h.
#include "pd_show/output.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include <unistd.h>

#include "views/problem.h"

namespace pd_show {

void StandardOutput::write(std::string_view text) {
    const pd_views::Stopwatch stopwatch(spent);
    while (!text.empty()) {
        const ssize_t result = ::write(STDOUT_FILENO, text.data(), text.size());
        if (result >= 0)
            text.remove_prefix(static_cast<size_t>(result));
        else if (errno != EINTR)
            throw pd_views::Problem(pd_views::Fault::failed,
                                    std::string("the output can't be written: ") + std::strerror(errno));
    }
}

QueuedOutput::~QueuedOutput() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
        waiting_.clear();
    }
    changed_.notify_one();
    thread_.join();
}

void QueuedOutput::add(std::string_view text) {
    {
        const std::lock_guard lock(mutex_);
        if (failure_) std::rethrow_exception(failure_);
        waiting_.emplace_back(text);
    }
    changed_.notify_one();
}

void QueuedOutput::end() {
    {
        const std::lock_guard lock(mutex_);
        ends_ = true;
    }
    changed_.notify_one();
    thread_.join();
    if (failure_) std::rethrow_exception(failure_);
}

void QueuedOutput::write_all() {
    StandardOutput out;
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return ends_ || !waiting_.empty(); });
        if (waiting_.empty()) return;
        const std::string text = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        try {
            out.write(text);
            lock.lock();
        } catch (...) {
            lock.lock();
            failure_ = std::current_exception();
            return;
        }
    }
}

} // namespace pd_show
