// Puts the agent together: takes the arguments, loads the routes, makes the plan, runs the phases and reports.
#include "route_agent/agent.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

#include "route_agent/phases.h"
#include "route_agent/plan.h"
#include "route_agent/printable.h"
#include "staying_up.h"

namespace route_agent {
namespace {

constexpr const char* usage = R"(Usage: route_agent [OPTION]... [FILE]

Programs routes into the route tables of one VRF, and an ECMP group of several paths for each of their next hops. On
the way it restarts twice: it forgets what it knows about the groups, reads it back from the switch and goes on. Then
it reads everything back, ages the host routes, deletes every second route, and proves that the rest remains, and
that the hardware holds it as the driver placed it. Ends with a table of what was done.

After each restart, and after programming, ageing and removal, it sends packets through the tables of the hardware: to
both ends of each prefix, the addresses beside them, addresses in them, and as many random ones (IPv6 addresses share up
to 64 leading bits with the list). Each must reach the next hop of the longest prefix in the list. It names the first
stray address for each prefix and entry, at most ten each time, and counts all.

Without FILE the routes are the Internet's address allocations, from Debian's package tor-geoipdb, with a next hop per
country. FILE (or - for standard input) has a route per line, of at most 4096 bytes. NEXT_HOP is a decimal number from
0 to 4294967295; a list has at most 1023 different ones. Comments begin with #:

  PREFIX NEXT_HOP      10.1.0.0/16 7
                       2001:db8::/32 8
                       192.0.2.1 9

Options:
  --packets N   sends to at least so many addresses each time (1000000)
  --corrupt N   damages N random entries in the hardware after the removal, and lists them: an entry is lost, or one of
                its bits flips. Then packets go astray, and the comparison with the hardware shows the damage. Some
                damage shows nowhere: a key bit that the table doesn't match, or a data bit beyond a parameter. Packets
                also miss a bit that changes no next hop. The last packets also go to all addresses that differ in one
                bit from the first one of a damaged entry
  --seed S      the seed of the random damage (1); only with --corrupt
  --console SOCKET
                opens a console at SOCKET for pd-show --agent SOCKET. Programs all routes without a restart, reads them
                back, compares them with the hardware, and stays up until SIGINT or SIGTERM. Meanwhile it sends packets
                to random addresses. It also adds up to 256 host routes in another VRF, deletes them, and starts again
  -h, --help    this text

Exit status: 0 if everything was as planned, 1 if anything differed or was refused or the console can't start, 2
for bad arguments or a bad list.
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

struct Options {
    std::optional<std::string> list;
    uint32_t packets = 1'000'000;
    uint32_t corrupt = 0;
    uint32_t seed = 1;
    std::optional<std::string> console;
};

// Adds a host route beside the VRF of the list, or deletes it: 256 rounds add, the next 256 rounds delete.
void change_guest(Run& run, unsigned round) {
    Work work(run, ipv4Host);
    Device guests = run.device;
    ++guests.vrf;
    const Prefix host = {Address{0xC0000200 + round % 256} << 96, 32, Family::ipv4}; // 192.0.2.0/24
    const Entry guest = {.prefix = host, .group = run.plan.first_group};
    pd_entry handle = 0;
    if (round / 256 % 2 == 0)
        work.done(work.table.add(guests, guest, handle), "adding the guest ", host);
    else
        work.done(work.table.remove(guests, guest), "deleting the guest ", host);
}

// The console is there from the start, so that it shows how the tables fill.
void stay_up(Run& run, const std::string& socket, std::ostream& out) {
    const examples::Console console(socket, run.device.session, run.device.target.dev_id);
    out << "The console listens at " << printable(socket) << std::endl;
    for (unsigned load = 0; load < load_count; ++load)
        program(run, load);
    read_back(run);
    compare_with_hardware(run);
    run.progress.begin_phase("sending packets until SIGINT or SIGTERM");
    unsigned round = 0;
    keep_sending(run, [&] {
        change_guest(run, round++);
        return console.ends_within(std::chrono::milliseconds(200));
    });
    for (; round % 512 != 0; ++round)
        change_guest(run, round);
}

int drive_switch(const Plan& plan, std::vector<Route> routes, const Options& options, Progress& progress,
                 std::ostream& out) {
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
    run.routes = std::move(routes);
    run.packets = options.packets;
    attempt([&] {
        if (options.console) return stay_up(run, *options.console, out);
        program(run, 0);
        restart(run, RestoreBy::log);
        send_packets(run, "after restart by log");
        program(run, 1);
        restart(run, RestoreBy::replay);
        send_packets(run, "after restart by replay");
        program(run, 2);
        read_back(run);
        send_packets(run, "after programming");
        age_hosts(run);
        send_packets(run, "after ageing");
        remove_every_second(run);
        verify_rest(run);
        if (options.corrupt != 0)
            send_packets(run, "after the damage", corrupt_hardware(run, options.corrupt, options.seed));
        else
            send_packets(run, "after removal");
        compare_with_hardware(run);
    });
    progress.end_phase();
    attempt([&] { count_left(run); });
    attempt([&] { close_device(device); });
    print_report(out, run);
    const bool as_meant = !refused && all_as_meant(run);
    if (as_meant && options.corrupt != 0) out << "No packet and no comparison met the damage.\n";
    out << (as_meant  ? "Everything was as planned."
            : refused ? "NOT as planned: the driver refused a call."
                      : "NOT as planned: there were differences.")
        << std::endl;
    return as_meant ? exit_as_meant : exit_not_as_meant;
}

} // namespace

int run_agent(const std::vector<std::string>& arguments, const Streams& streams) {
    Options options;
    const std::pair<const char*, uint32_t*> numbers[] = {
        {"--packets", &options.packets}, {"--corrupt", &options.corrupt}, {"--seed", &options.seed}};
    const auto refuse = [&](const std::string& what) {
        streams.messages << "route_agent: " << what << "; try --help\n";
        return exit_bad_input;
    };
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            streams.out << usage;
            return exit_as_meant;
        }
        if (argument == "--console") {
            if (++i == arguments.size() || arguments[i].empty()) return refuse("--console takes the path of a socket");
            options.console = arguments[i];
            continue;
        }
        const auto option = std::ranges::find(numbers, argument, [](const auto& number) { return number.first; });
        if (option != std::end(numbers)) {
            const std::string value = ++i < arguments.size() ? arguments[i] : "";
            if (parse_decimal(value, *option->second) != std::errc{})
                return refuse(argument + " takes a number from 0 to 4294967295, not '" + printable(value) + "'");
        } else if (argument.size() > 1 && argument[0] == '-') {
            return refuse("unknown option " + printable(argument));
        } else if (argument.empty()) {
            return refuse("the list's name is empty");
        } else if (options.list) {
            return refuse("more than one list");
        } else {
            options.list = argument;
        }
    }
    const auto is_given = [&](const char* option) { return std::ranges::find(arguments, option) != arguments.end(); };
    if (is_given("--seed") && !is_given("--corrupt")) return refuse("--seed is only for --corrupt");
    if (options.console && (is_given("--packets") || is_given("--corrupt")))
        return refuse("--packets and --corrupt don't go with --console");
    const std::string name = !options.list          ? "the Internet's address allocations"
                             : *options.list == "-" ? "<stdin>"
                                                    : printable(*options.list);
    Progress progress(streams.messages, streams.messages_on_terminal);
    progress.begin_phase("loading " + name);
    progress.end_phase(); // messages about the list begin on a new line
    std::optional<std::vector<Route>> routes =
        options.list ? load_list(*options.list, name, streams) : load_allocations(streams.messages);
    if (!routes) return exit_bad_input;
    std::string reason;
    const std::optional<Plan> plan = make_plan(*routes, reason);
    if (!plan) {
        streams.messages << name << ": " << reason << '\n';
        return exit_bad_input;
    }
    std::ranges::sort(*routes, {}, &Route::prefix);
    return drive_switch(*plan, std::move(*routes), options, progress, streams.out);
}

} // namespace route_agent
