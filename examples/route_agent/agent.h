// The agent as a command: arguments in, exit status out. The caller passes the streams, so tests can run it.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

namespace route_agent {

enum ExitStatus { exit_as_meant = 0, exit_not_as_meant = 1, exit_bad_input = 2 };

struct Streams {
    std::istream& in;
    std::ostream& out;      // the report
    std::ostream& messages; // everything else
    bool messages_on_terminal = false;
};

int run_agent(const std::vector<std::string>& arguments, const Streams& streams);

} // namespace route_agent
