// Brings up the leaf switch and programs lists of routes by the code of the examples. No exception leaves the module.
#include <cerrno>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "leaf_switch/leaf_switch.h"
#include "leaf_switch/topology.h"
#include "pd_show/messages.h"
#include "pd_show/modules.h"
#include "route_agent/phases.h"
#include "route_agent/printable.h"
#include "route_agent/route_list.h"

namespace {

using pd_views::Fault;
using pd_views::Problem;

static_assert(pd_show::routes_vrf == route_agent::Device{}.vrf && pd_show::routes_vrf_beside_demo != leaf_switch::vrf);

std::vector<route_agent::Route> read_routes(const std::string& path) {
    std::ifstream file;
    const bool from_stdin = path == "-";
    if (!from_stdin) {
        errno = 0;
        file.open(path);
        if (!file) throw Problem(Fault::bad_value, path + " can't be opened: " + std::strerror(errno));
    }
    std::optional<std::vector<route_agent::Route>> routes = route_agent::read_route_list(
        from_stdin ? std::cin : file, from_stdin ? "<stdin>" : route_agent::printable(path), std::cerr);
    if (!routes) throw Problem(Fault::bad_value, "the list of routes is bad");
    return std::move(*routes);
}

// If the leaf switch is up, the routes get a separate VRF, and ECMP groups with higher numbers than its next hops and
// its group.
void program_routes(route_agent::Device device, const std::string& path, bool beside_leaf_switch) {
    std::string reason;
    const std::optional<route_agent::Plan> plan = route_agent::make_plan(
        read_routes(path), reason, beside_leaf_switch ? uint16_t{leaf_switch::spines_ecmp + 1} : uint16_t{1});
    if (!plan) throw Problem(Fault::bad_value, path + ": " + reason);
    if (beside_leaf_switch) device.vrf = pd_show::routes_vrf_beside_demo;
    pd_show::TerminalProgress progress;
    route_agent::Run run(device, *plan, progress.bar);
    for (unsigned load = 0; load < route_agent::load_count; ++load)
        route_agent::program(run, load);
}

} // namespace

int pd_show_demo(bool with_leaf_switch, const char* routes, pd_session* session, std::string* problem) {
    try {
        route_agent::Device device;
        if (with_leaf_switch) {
            static const leaf_switch::Leaf leaf = leaf_switch::bring_up(); // static: must last as long as the driver
            device.session = leaf.session;
        } else {
            device = route_agent::open_device();
        }
        if (routes != nullptr) program_routes(device, routes, with_leaf_switch);
        *session = device.session;
        return pd_show::exit_shown;
    } catch (const Problem& known) {
        *problem = known.what();
        return pd_show::status_of(known);
    } catch (const std::exception& error) {
        *problem = error.what();
        return pd_show::exit_failed;
    }
}
