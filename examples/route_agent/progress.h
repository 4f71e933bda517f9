// Shows the user how far the work is: a bar on a terminal, plain lines elsewhere.
#pragma once

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>

namespace route_agent {

class Progress {
public:
    Progress(std::ostream& out, bool is_terminal) : out_(out), is_terminal_(is_terminal) {}
    ~Progress() {
        end_phase();
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // 0 steps mean that the phase's length isn't known.
    void begin_phase(const std::string& name, size_t steps = 0, const std::string& unit = "entries");
    void step() {
        // Reading the clock takes as long as some steps.
        if ((++done_ & 0xFFF) == 0) show_if_due();
    }
    void end_phase();

    // Prints a line beside the bar.
    void message(const std::string& line);

private:
    using Clock = std::chrono::steady_clock;

    void show_if_due();
    void draw_bar();

    std::ostream& out_;
    bool is_terminal_;
    std::string phase_;
    size_t steps_ = 0;
    size_t done_ = 0;
    size_t drawn_ = 0; // width of the bar on the screen
    Clock::time_point shown_;
};

// With a comma before every three digits: "1,156,976".
std::string grouped(size_t number);

} // namespace route_agent
