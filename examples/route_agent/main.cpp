// The command route_agent.
#include <exception>
#include <iostream>

#include <unistd.h>

#include "route_agent/agent.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    try {
        const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
        const int status = route_agent::run_agent(arguments, {.in = std::cin,
                                                              .out = std::cout,
                                                              .messages = std::cerr,
                                                              .messages_on_terminal = isatty(STDERR_FILENO) == 1});
        if (!std::cout.flush()) {
            std::cerr << "route_agent: the report can't be written\n";
            return route_agent::exit_not_as_meant;
        }
        return status;
    } catch (const std::exception& error) {
        std::cerr << "route_agent: " << error.what() << '\n';
        return route_agent::exit_not_as_meant;
    }
}
