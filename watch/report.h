// Where the layer tells what it saw, and its own faults.
#pragma once

#include <csignal>
#include <cstdint>
#include <string>
#include <string_view>

namespace pd_watch {

// Nanoseconds of the monotonic clock.
uint64_t now();

// A small number for the calling thread, from 1 on in the order of their first calls.
uint32_t thread_number();

// Writes whole lines to the report, which is stderr unless somebody named a file. Lines of several threads don't mix.
void report(std::string_view lines);

// Keeps signals from the agent that the layer's own writes would cause, because a pipe has no reader any more or a file
// may not grow: SIGPIPE and SIGXFSZ.
class SignalsBlocked {
public:
    SignalsBlocked();
    ~SignalsBlocked();
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t own_;
    sigset_t before_;
    sigset_t pending_;
};

// Notes which file stderr is. If the agent closes it, or opens another in its place, nothing is written there.
void note_stderr();

// Around a fork, so that the child finds no lock of another thread.
void lock_report();
void unlock_report();

// Opens the report's file. Without one, or if it can't be opened, lines go to stderr.
void open_report(const std::string& path);

// Tells a fault of the layer itself, on stderr: memory short, disk full, a file that can't be written. Once for each
// text. The agent doesn't notice.
void tell_fault(const std::string& what) noexcept;

} // namespace pd_watch
