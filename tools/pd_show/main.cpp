// The command pd-show: shows what the tables of the switch hold, and whether the hardware holds the same.
#include <exception>
#include <iostream>

#include "pd_show/agent.h"
#include "pd_show/in_process.h"
#include "pd_show/messages.h"
#include "pd_show/output.h"
#include "route_agent/printable.h"

namespace {

using namespace pd_show;

int run(const Arguments& arguments) {
    if (arguments.answer != nullptr) {
        StandardOutput().write(arguments.answer);
        return exit_shown;
    }
    if (arguments.command == CommandName::serve) return serve(arguments);
    return arguments.agent ? run_on_agent(arguments) : run_in_process(arguments);
}

int report(ExitStatus status, const char* what) {
    std::cerr << "pd-show: " << route_agent::printable(what) << '\n';
    return status;
}

} // namespace

int main(int count, char** arguments) {
    try {
        return run(read_arguments(count, arguments));
    } catch (const pd_views::Problem& problem) {
        return report(status_of(problem), problem.what());
    } catch (const std::exception& error) {
        return report(exit_failed, error.what());
    }
}
