// Draws the bar with a carriage return, so the terminal needs only about 80 columns.
#include "route_agent/progress.h"

namespace route_agent {

std::string grouped(size_t number) {
    std::string text = std::to_string(number);
    for (size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, 1, ',');
    }
    return text;
}

void Progress::begin_phase(const std::string& name, size_t steps, const std::string& unit) {
    end_phase();
    phase_ = name;
    steps_ = steps;
    done_ = 0;
    shown_ = Clock::now();
    if (is_terminal_)
        draw_bar();
    else
        out_ << phase_ << (steps_ != 0 ? ": " + grouped(steps_) + " " + unit : "") << std::endl;
}

void Progress::show_if_due() {
    const Clock::time_point now = Clock::now();
    if (now - shown_ < (is_terminal_ ? std::chrono::milliseconds(100) : std::chrono::milliseconds(1000))) return;
    shown_ = now;
    if (is_terminal_)
        draw_bar();
    else if (steps_ != 0)
        out_ << phase_ << ": " << grouped(done_) << " of " << grouped(steps_) << std::endl;
}

void Progress::draw_bar() {
    std::string line = phase_;
    if (steps_ != 0) {
        constexpr size_t width = 30;
        const size_t full = std::min(done_, steps_) * width / steps_;
        line.resize(std::max<size_t>(line.size(), 12), ' ');
        line.append(" [").append(full, '#').append(width - full, '.').append("] ");
        line.append(grouped(done_)).append(" of ").append(grouped(steps_));
    }
    const size_t length = line.size();
    line.resize(std::max(length, drawn_), ' '); // wipes what a longer line left
    drawn_ = length;
    out_ << '\r' << line << std::flush;
}

void Progress::end_phase() {
    if (is_terminal_ && !phase_.empty()) {
        draw_bar();
        out_ << std::endl;
        drawn_ = 0;
    }
    phase_.clear();
}

void Progress::message(const std::string& line) {
    if (drawn_ != 0) {
        out_ << '\r' << std::string(drawn_, ' ') << '\r';
        drawn_ = 0;
    }
    out_ << line << std::endl;
}

} // namespace route_agent
