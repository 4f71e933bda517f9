// The command leaf_switch: brings the switch up, prints what it made, shows the switch at work, and takes it down. With
// a console it stays up instead of the show.
#include <algorithm>
#include <exception>
#include <iostream>

#include "leaf_switch/leaf_switch.h"
#include "staying_up.h"

namespace {

constexpr const char* usage = R"(Usage: leaf_switch [--console SOCKET]

Brings a small leaf switch up on the embedded driver, prints what it made, shows the switch at work, and takes
everything down again.

Options:
  --console SOCKET  doesn't show the switch at work, but sends it packets until SIGINT or SIGTERM. Meanwhile a console
                    listens at SOCKET: pd-show --agent SOCKET tables. Counters move, and stations come, move and go. All
                    other entries stay
  -h, --help        this text

Exit status: 0; 1 if a step is refused, the switch doesn't do what was planned, something is left at the end, or the
console can't start; 2 for bad arguments.
)";

void stay_up(const leaf_switch::Leaf& leaf, const std::string& socket) {
    const examples::Console console(socket, leaf.session, leaf.target.dev_id);
    std::cout << "The console listens at " << socket << std::endl;
    constexpr std::chrono::milliseconds round_time(1000 / leaf_switch::rounds_per_second);
    for (unsigned round = 0; !console.ends_within(round_time); ++round)
        leaf_switch::send_round(leaf, round);
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        std::cout << usage;
        return 0;
    }
    const bool has_console = arguments.size() == 2 && arguments[0] == "--console" && !arguments[1].empty();
    if (!arguments.empty() && !has_console) {
        std::cerr << "leaf_switch: takes no arguments, or --console and the path of a socket; try --help\n";
        return 2;
    }
    try {
        leaf_switch::Leaf leaf = leaf_switch::bring_up();
        leaf_switch::print_summary(leaf, std::cout);
        if (has_console)
            stay_up(leaf, arguments[1]);
        else
            leaf_switch::take_tour(leaf, std::cout);
        leaf_switch::shut_down(leaf);
        std::cout << "Everything is taken down again, and the tables are empty." << std::endl;
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "leaf_switch: " << error.what() << '\n';
        return 1;
    }
}
