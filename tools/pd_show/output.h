// Standard output.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "views/stopwatch.h"

namespace pd_show {

// For one thread.
struct StandardOutput {
    static constexpr size_t capacity = size_t{1} << 18; // worth a call of the system

    pd_views::TimeSpent spent; // in writing

    // A failed write is a Problem.
    void write(std::string_view text);
};

// Standard output behind a queue, so that the agent never waits for a reader that pauses. What the reader hasn't taken
// stays in this process's memory.
class QueuedOutput {
public:
    QueuedOutput() : thread_([this] { write_all(); }) {}
    ~QueuedOutput();
    QueuedOutput(const QueuedOutput&) = delete;
    QueuedOutput& operator=(const QueuedOutput&) = delete;

    // Throws a Problem if what was added before couldn't be written.
    void add(std::string_view text);
    // Waits until all is written. Throws a Problem if it can't be.
    void end();

private:
    void write_all();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::string> waiting_;
    bool ends_ = false;
    std::exception_ptr failure_;
    std::thread thread_;
};

} // namespace pd_show
