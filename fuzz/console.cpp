// Fuzzes what the console answers. An input is a path with parameters, made of words that mean something and of any
// bytes. In every case there is a status, sound JSON unless another form was asked for, and the agent's tables stay as
// they were.
#include <string>
#include <vector>

#include <cjson/cJSON.h>
#include <unistd.h>

#include "console/http.h"
#include "fuzz/input.h"
#include "leaf_switch/leaf_switch.h"
#include "vl_pd/console.h"

namespace {

using fuzz::demand;

constexpr const char* vocabulary[] = {"/v1",
                                      "/tables",
                                      "/entries",
                                      "/verify",
                                      "/lookup",
                                      "/profiles",
                                      "/counters",
                                      "/routes",
                                      "/metrics",
                                      "/",
                                      "?",
                                      "&",
                                      "=",
                                      "/ipv4Host",
                                      "/l2Lookup",
                                      "/trapToCpu",
                                      "/lagGroup",
                                      "/ingStpCheck",
                                      "/lagPortActionProfile",
                                      "/trapToCpuCount",
                                      "/pdpClassCount",
                                      "/10.0.10.5",
                                      "/::1",
                                      "format=text",
                                      "format=value",
                                      "hw=1",
                                      "after=1",
                                      "limit=2",
                                      "limit=0",
                                      "vrf=1",
                                      "vrfId=1",
                                      "dip=10.0.0.0/8",
                                      "dmac=0200.0000.0011",
                                      "field.dmac=0200.0000.0011/ffff.ffff.ffff",
                                      "action=setEcmp",
                                      "action=l2LookupDrop",
                                      "%2F"};

// Brings a switch up and its console, once for all inputs.
class Agent {
public:
    Agent() : leaf_(leaf_switch::bring_up()), path_("/tmp/fuzz_console." + std::to_string(getpid())) {
        vl_pd_console_options options{};
        options.socket_path = path_.c_str();
        options.session = leaf_.session;
        demand(vl_pd_console_start(&options, &console_) == 0, "the console doesn't start");
    }
    ~Agent() {
        vl_pd_console_stop(console_);
        leaf_switch::shut_down(leaf_);
    }
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    std::string ask(const std::string& target, console::Answer& answer) const {
        std::string body;
        answer = console::get(path_, target, "", [&](const console::Answer&, std::string_view text) { body += text; });
        return body;
    }

private:
    leaf_switch::Leaf leaf_;
    std::string path_;
    vl_pd_console* console_ = nullptr;
};

std::string make_target(fuzz::Input& input) {
    std::string target = "/";
    for (size_t count = input.below(10); count > 0; --count) {
        const uint8_t choice = input.byte();
        if (choice < 224)
            target += vocabulary[choice % std::size(vocabulary)];
        else
            target += console::percent_encoded(input.take(choice % 16));
    }
    return target.starts_with("//") ? target.substr(1) : target;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Agent agent;
    console::Answer answer;
    static const std::string tables = agent.ask("/v1/entries", answer);
    fuzz::Input input(data, size);
    const std::string target = make_target(input);
    const std::string body = agent.ask(target, answer);
    demand(answer.status == 200 || answer.status == 400 || answer.status == 404 || answer.status == 414,
           "a strange status for " + target);
    if (answer.type == "application/json") {
        cJSON* const json = cJSON_ParseWithLengthOpts(body.c_str(), body.size() + 1, nullptr, 1);
        demand(json != nullptr, "no JSON at " + target + ": " + body);
        const bool is_error = cJSON_GetObjectItemCaseSensitive(json, "error") != nullptr;
        demand(is_error == (answer.status != 200), "an error without its status at " + target);
        cJSON_Delete(json);
    }
    static unsigned inputs = 0;
    if (++inputs % 16 == 0) // reading all takes longer than most answers
        demand(agent.ask("/v1/entries", answer) == tables, "the tables have changed by " + target);
    return 0;
}
