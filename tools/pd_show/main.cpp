// The command pd-show: shows what the tables of the switch hold, and whether the hardware holds the same.
#include <exception>
#include <iostream>

#include "pd_show/work.h"
#include "route_agent/printable.h"

namespace {

using namespace pd_show;

int run(const Arguments& arguments) {
    Output out;
    if (arguments.answer != nullptr) {
        out.put(arguments.answer);
        out.flush();
        return exit_shown;
    }
    const Library library(arguments.driver, arguments.time);
    const Pipeline pipeline = describe_pipeline(library);
    const pd_dev_tgt target = {.dev_id = arguments.device, .pipe_id = PD_ALL_PIPES, .reserved = 0};
    Complaints complaints;
    const Work work{arguments, library, start(library, arguments), target, pipeline, out, complaints};
    const bool equal = arguments.command(work);
    out.flush();
    // What the embedded driver holds ends with the process.
    static_cast<void>(library.function<decltype(p4_pd_velmar_switch_cleanup)>("cleanup")());
    return equal && !complaints.any() ? exit_shown : exit_failed;
}

int report(ExitStatus status, const char* what) {
    std::cerr << "pd-show: " << route_agent::printable(what) << '\n';
    return status;
}

} // namespace

int main(int count, char** arguments) {
    try {
        return run(read_arguments(count, arguments));
    } catch (const Problem& problem) {
        return report(problem.status, problem.what());
    } catch (const std::exception& error) {
        return report(exit_failed, error.what());
    }
}
