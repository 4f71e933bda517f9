// Puts the agent together: takes the arguments, loads the routes, makes the plan, runs the phases and reports.
#include "route_agent/agent.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

#include "route_agent/phases.h"
#include "route_agent/plan.h"
#include "route_agent/printable.h"

namespace route_agent {
namespace {

constexpr const char* usage = R"(Usage: route_agent [FILE]

Programs routes into the route tables of one VRF, and an ECMP group of several paths for each of their next hops. On
the way it restarts twice: it forgets what it knows about the groups, reads it back from the switch and goes on. Then
it reads everything back, ages the host routes, deletes every second route, and proves that the rest remains, and
that the hardware holds it as the driver placed it. Ends with a table of what was done.

Without FILE the routes are the Internet's address allocations, from Debian's package tor-geoipdb, with a next hop per
country. FILE (or - for standard input) has a route per line, of at most 4096 bytes. NEXT_HOP is a decimal number from
0 to 4294967295; a list has at most 1023 different ones. Comments begin with #:

  PREFIX NEXT_HOP      10.1.0.0/16 7
                       2001:db8::/32 8
                       192.0.2.1 9

Exit status: 0 if everything was as planned, 1 if anything differed or was refused, 2 for bad arguments or a bad list.
)";

bool open(std::ifstream& file, const std::string& path, std::ostream& messages) {
    errno = 0;
    file.open(path);
    if (std::filesystem::is_directory(path))
        messages << printable(path) << ": is a directory\n";
    else if (!file)
        messages << printable(path) << ": can't be opened: " << std::strerror(errno) << '\n';
    else
        return true;
    return false;
}

std::optional<std::vector<Route>> load_allocations(std::ostream& messages) {
    constexpr std::pair<const char*, Family> sources[] = {{"/usr/share/tor/geoip", Family::ipv4},
                                                          {"/usr/share/tor/geoip6", Family::ipv6}};
    std::vector<Route> routes;
    CountryNextHops next_hops;
    for (const auto& [path, family] : sources) {
        std::ifstream file;
        if (!open(file, path, messages)) {
            messages << "The allocations come with Debian's package tor-geoipdb.\n";
            return std::nullopt;
        }
        if (!read_range_list(file, path, family, next_hops, routes, messages)) return std::nullopt;
    }
    return routes;
}

std::optional<std::vector<Route>> load_list(const std::string& path, const std::string& name, const Streams& streams) {
    if (path == "-") return read_route_list(streams.in, name, streams.messages);
    std::ifstream file;
    if (!open(file, path, streams.messages)) return std::nullopt;
    return read_route_list(file, name, streams.messages);
}

int drive_switch(const Plan& plan, Progress& progress, std::ostream& out) {
    bool refused = false;
    const auto attempt = [&](const auto& step) {
        try {
            step();
        } catch (const Refused& refusal) {
            progress.message(refusal.what());
            refused = true;
        }
    };
    Device device;
    attempt([&] { device = open_device(); });
    if (refused) return exit_not_as_meant;
    Run run(device, plan, progress);
    attempt([&] {
        program(run, 0);
        restart(run, RestoreBy::log);
        program(run, 1);
        restart(run, RestoreBy::replay);
        program(run, 2);
        read_back(run);
        age_hosts(run);
        remove_every_second(run);
        verify_rest(run);
        compare_with_hardware(run);
    });
    progress.end_phase();
    attempt([&] { count_left(run); });
    attempt([&] { close_device(device); });
    print_report(out, run);
    const bool as_meant = !refused && all_as_meant(run);
    out << (as_meant  ? "Everything was as planned."
            : refused ? "NOT as planned: the driver refused a call."
                      : "NOT as planned: there were differences.")
        << std::endl;
    return as_meant ? exit_as_meant : exit_not_as_meant;
}

} // namespace

int run_agent(const std::vector<std::string>& arguments, const Streams& streams) {
    for (const std::string& argument : arguments) {
        if (argument == "--help" || argument == "-h") {
            streams.out << usage;
            return exit_as_meant;
        }
        if (argument.size() > 1 && argument[0] == '-') {
            streams.messages << "route_agent: unknown option " << printable(argument) << "; try --help\n";
            return exit_bad_input;
        }
    }
    if (arguments.size() > 1) {
        streams.messages << "route_agent: more than one list; try --help\n";
        return exit_bad_input;
    }
    const bool own_list = !arguments.empty();
    const std::string name = !own_list             ? "the Internet's address allocations"
                             : arguments[0] == "-" ? "<stdin>"
                                                   : printable(arguments[0]);
    Progress progress(streams.messages, streams.messages_on_terminal);
    progress.begin_phase("loading " + name);
    progress.end_phase(); // messages about the list begin on a new line
    std::optional<std::vector<Route>> routes =
        own_list ? load_list(arguments[0], name, streams) : load_allocations(streams.messages);
    if (!routes) return exit_bad_input;
    std::string reason;
    const std::optional<Plan> plan = make_plan(*routes, reason);
    if (!plan) {
        streams.messages << name << ": " << reason << '\n';
        return exit_bad_input;
    }
    routes.reset(); // a run is long, and the plan has everything that it needs
    return drive_switch(*plan, progress, streams.out);
}

} // namespace route_agent
