// The command pd-show: shows what the tables of the switch hold, and whether the hardware holds the same.
#include <exception>
#include <iostream>

#include "pd_show/commands.h"
#include "route_agent/printable.h"

namespace {

using namespace pd_show;

int run(const Arguments& arguments) {
    Output out;
    if (arguments.command == Command::help || arguments.command == Command::version) {
        out.put(arguments.command == Command::help ? usage : version);
        out.flush();
        return exit_shown;
    }
    const Library library(arguments.driver, arguments.time);
    const Pipeline pipeline = describe_pipeline(library);
    const Place place = open_place(library, arguments);
    Complaints complaints;
    const Work work{arguments, place, pipeline, out, complaints};
    bool equal = true;
    switch (arguments.command) {
    case Command::help:
    case Command::version:
        break;
    case Command::tables:
        show_tables(work);
        break;
    case Command::table:
        show_table(work);
        break;
    case Command::entries:
        show_entries(work);
        break;
    case Command::counters:
        show_counters(work);
        break;
    case Command::verify:
        if (arguments.corrupt) corrupt_hardware(work);
        equal = verify(work);
        break;
    }
    out.flush();
    close_place(place);
    return equal && !complaints.any() ? exit_shown : exit_failed;
}

} // namespace

int main(int count, char** arguments) {
    try {
        return run(read_arguments(count, arguments));
    } catch (const Problem& problem) {
        std::cerr << "pd-show: " << route_agent::printable(problem.what()) << '\n';
        return problem.status;
    } catch (const std::exception& error) {
        std::cerr << "pd-show: " << route_agent::printable(error.what()) << '\n';
        return exit_failed;
    }
}
