// See stream.h. A command mustn't slow the agent down much, so it leaves time to the agent when the agent needs it.
#include "console/stream.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <string>
#include <thread>

#include "console/trailers.h"

namespace console {
namespace {

using std::chrono::nanoseconds;

// What this thread has computed.
nanoseconds thread_time() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

// The reads and the agent's own calls may have to wait for each other, in the driver or for a core. If nobody else is
// at work, the reads go on at full speed. If reads had to wait in a round, the command pauses for several times as long
// as the round took.
class Pace : public pd_views::Watcher {
public:
    explicit Pace(Reply& reply) : reply_(reply) {}

    void step() override {
        constexpr unsigned steps_between_looks = 32; // at the clock
        constexpr auto round = std::chrono::microseconds(100);
        if (++steps_ % steps_between_looks != 0 || Clock::now() - begun_ < round) return;
        end_round();
        reply_.check();
        begin_round();
    }
    // Runs `write`. Time spent waiting for the client doesn't count as waiting for the driver.
    template <class Write>
    void write(Write&& write) {
        end_round();
        write();
        begin_round();
    }

private:
    using Clock = std::chrono::steady_clock;

    void end_round() const {
        constexpr int crowded = 8; // at least this part of the time was spent in waiting
        constexpr int times = 4;
        constexpr nanoseconds longest = std::chrono::milliseconds(2);
        const nanoseconds took = Clock::now() - begun_;
        const nanoseconds waited = took - (thread_time() - computed_);
        if (waited * crowded > took) std::this_thread::sleep_for(std::min(took * times, longest));
    }
    void begin_round() {
        begun_ = Clock::now();
        computed_ = thread_time();
    }

    Reply& reply_;
    unsigned steps_ = 0;
    Clock::time_point begun_ = Clock::now();
    nanoseconds computed_ = thread_time();
};

} // namespace

void stream(const Switch& shown, const pd_views::Query& query, std::string_view type, Reply& reply,
            const std::function<pd_views::Command>& run) {
    constexpr size_t piece = size_t{1} << 16;
    Pace pace(reply);
    pd_views::Output out(piece, [&](std::string_view text) {
        pace.write([&] {
            if (!reply.begun()) reply.begin(type, trailer_names);
            reply.write(text);
            reply.flush();
        });
    });
    pd_views::Complaints complaints;
    const bool equal = run({.query = query,
                            .library = shown.library,
                            .session = shown.session,
                            .target = shown.target,
                            .pipeline = shown.pipeline,
                            .out = out,
                            .complaints = complaints,
                            .watcher = pace,
                            .live = true});
    out.flush();
    Fields trailers = {{status_trailer, equal && !complaints.any() ? "0" : "1"}};
    for (const std::string& line : complaints.lines())
        trailers.emplace_back(complaint_trailer, line);
    reply.end(trailers);
}

} // namespace console
