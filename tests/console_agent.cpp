// An agent with a console, for tests: console_agent SOCKET [demo] [routes FILE]. Reads commands from standard input, a
// word on each line, and answers "ok" when it has done one. At the end of its input it takes everything down.
//
//   churn    a thread adds and deletes entries, members and counts from now on
//   calm     it stops
//   damage   damages 20 random entries in the hardware, with the seed 1
//   remove   removes the device
#include <atomic>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <thread>

#include "leaf_switch/leaf_switch.h"
#include "route_agent/phases.h"
#include "route_agent/progress.h"
#include "route_agent/route_list.h"
#include "vl_model/control.h"
#include "vl_model/testing.h"
#include "vl_pd/console.h"
#include "vl_pd/velmar_switch.h"

namespace {

// Adds and deletes entries of a VRF that nothing else uses, with members, while it lives.
class Churn {
public:
    explicit Churn(pd_session session) : session_(session), thread_([this] { run(); }) {}
    ~Churn() {
        stops_ = true;
        thread_.join();
    }
    Churn(const Churn&) = delete;
    Churn& operator=(const Churn&) = delete;

private:
    void run() const {
        constexpr pd_dev_tgt target = {0, PD_ALL_PIPES, 0};
        pd_member kept = 0;
        for (uint32_t round = 0; !stops_; ++round) {
            p4_pd_velmar_switch_ipv4Host_match_spec_t key = {};
            key.l3Info_vrfId = 99;
            key.ingIpv4_dip = round % 512;
            p4_pd_velmar_switch_setNextHop_action_spec_t hop = {};
            hop.action_nextHop = round;
            pd_entry entry = 0;
            const bool added =
                p4_pd_velmar_switch_ipv4Host_table_add_with_setNextHop(session_, target, &key, &hop, &entry) == 0;
            if (!added) p4_pd_velmar_switch_ipv4Host_table_delete_by_match_spec(session_, target, &key);
            p4_pd_velmar_switch_setEcmpNextHop_action_spec_t to = {};
            pd_member member = 0;
            if (p4_pd_velmar_switch_ecmpMemberActionProfile_add_member_with_setEcmpNextHop(session_, target, &to,
                                                                                           &member) == 0) {
                if (kept != 0) p4_pd_velmar_switch_ecmpMemberActionProfile_del_member(session_, 0, kept);
                kept = member;
            }
            pd_entry trap = 0;
            if (p4_pd_velmar_switch_entry_hdl_first(session_, target, p4_pd_velmar_switch_table_trapToCpu, &trap) == 0)
                vl_model_counter_add(0, p4_pd_velmar_switch_table_trapToCpu, trap, 1, 64);
        }
        if (kept != 0) p4_pd_velmar_switch_ecmpMemberActionProfile_del_member(session_, 0, kept);
        for (uint32_t address = 0; address < 512; ++address) {
            p4_pd_velmar_switch_ipv4Host_match_spec_t key = {};
            key.l3Info_vrfId = 99;
            key.ingIpv4_dip = address;
            p4_pd_velmar_switch_ipv4Host_table_delete_by_match_spec(session_, target, &key);
        }
    }

    pd_session session_;
    std::atomic<bool> stops_ = false;
    std::thread thread_;
};

void program_routes(const route_agent::Device& device, const char* path) {
    std::ifstream file(path);
    const auto routes = route_agent::read_route_list(file, path, std::cerr);
    std::string reason;
    const auto plan = routes ? route_agent::make_plan(*routes, reason) : std::nullopt;
    if (!plan) throw std::runtime_error("no plan: " + reason);
    std::ostream nowhere(nullptr);
    route_agent::Progress progress(nowhere, false);
    route_agent::Run run(device, *plan, progress);
    for (unsigned load = 0; load < route_agent::load_count; ++load)
        route_agent::program(run, load);
}

void obey(const std::string& command, pd_session session, std::optional<Churn>& churn) {
    if (command == "churn") churn.emplace(session);
    if (command == "calm") churn.reset();
    if (command == "remove") vl_model_device_remove(0);
    if (command != "damage") return;
    vl_model_corruption damages[20];
    uint32_t count = 0;
    vl_model_hardware_corrupt(0, 1, std::size(damages), damages, &count);
}

} // namespace

int main(int count, char** arguments) {
    try {
        std::optional<leaf_switch::Leaf> leaf;
        route_agent::Device device;
        const std::string setup = count > 2 ? arguments[2] : "";
        if (setup == "demo") {
            leaf = leaf_switch::bring_up();
            device.session = leaf->session;
        } else {
            device = route_agent::open_device();
        }
        if (setup == "routes") program_routes(device, arguments[3]);

        const vl_pd_console_options options = {.socket_path = arguments[1],
                                               .session = device.session,
                                               .device = 0,
                                               .mode = 0,
                                               .max_clients = 4,
                                               .timeout_ms = 1000};
        vl_pd_console* console = nullptr;
        if (const int error = vl_pd_console_start(&options, &console)) {
            std::cout << "refused " << error << std::endl;
            return 1;
        }
        std::cout << "ok" << std::endl;
        std::optional<Churn> churn;
        for (std::string command; std::getline(std::cin, command);) {
            obey(command, device.session, churn);
            std::cout << "ok" << std::endl;
        }
        churn.reset();
        vl_pd_console_stop(console);
        return static_cast<int>(p4_pd_velmar_switch_cleanup());
    } catch (const std::exception& error) {
        std::cerr << "console_agent: " << error.what() << '\n';
        return 1;
    }
}
