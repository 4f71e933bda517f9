// Fuzzes pd-show: its arguments, and a driver that gives any answers. An input is the arguments, a list of routes for
// `--routes -`, and the answers. In every case the command ends with a result or a Problem, and its output is text, or
// sound JSON. If only the embedded driver answers, nothing differs, unless the user damages entries.
#include <csignal>
#include <iostream>
#include <sstream>

#include <cjson/cJSON.h>
#include <getopt.h>

#include "fuzz/any_answer.h"
#include "pd_show/corrupt.h"
#include "pd_show/in_process.h"
#include "pd_show/loading.h"
#include "vl_model/control.h"
#include "vl_model/testing.h"

namespace {

using fuzz::demand;
using pd_views::Problem;

constexpr const char* vocabulary[] = {"tables",
                                      "table",
                                      "entries",
                                      "counters",
                                      "profiles",
                                      "ecmpMemberActionProfile",
                                      "action=setEcmp",
                                      "verify",
                                      "ipv4Host",
                                      "ipv6Host",
                                      "ecmpGroup",
                                      "trapToCpu",
                                      "queueCounters",
                                      "pdpClassCount",
                                      "trapToCpuCount",
                                      "--routes",
                                      "-",
                                      "--hw",
                                      "--format",
                                      "text",
                                      "json",
                                      "value",
                                      "--time",
                                      "--corrupt",
                                      "3",
                                      "--seed",
                                      "--device",
                                      "0",
                                      "--session",
                                      "--help",
                                      "--version",
                                      "-h",
                                      "--format=json",
                                      "--routes=-",
                                      "--corrupt=99",
                                      "--",
                                      "ipv4host",
                                      "lpm",
                                      "match",
                                      "route",
                                      "ipv4FinalResolve0",
                                      "vrfId=1",
                                      "partIdx=0",
                                      "dip=10.0.0.1",
                                      "nextHop=0x1",
                                      "10.0.0.1",
                                      "::1"};

std::vector<std::string> make_arguments(fuzz::Input& input) {
    std::vector<std::string> arguments = {"pd-show"};
    for (size_t count = input.below(8); count > 0; --count) {
        const uint8_t choice = input.byte();
        arguments.emplace_back(choice < 224 ? vocabulary[choice % std::size(vocabulary)] : input.take(choice % 32));
    }
    return arguments;
}

pd_show::Arguments parse(std::vector<std::string>& texts) {
    std::vector<char*> arguments;
    arguments.reserve(texts.size() + 1);
    for (std::string& text : texts)
        arguments.push_back(text.data());
    arguments.push_back(nullptr);
    optind = 0; // start() of getopt_long()
    return pd_show::read_arguments(static_cast<int>(texts.size()), arguments.data());
}

// The table of a call, whose handle is one of the first arguments.
std::string table_of(const vl_model::Call& call) {
    for (const catalog::Table& table : catalog::tables(catalog::program))
        for (size_t i = 0; i < std::min<size_t>(call.args.size(), 3); ++i)
            if (call.args[i] == table.handle) return table.name;
    return "ipv4Host";
}

uint64_t answer(fuzz::Input& input, const vl_model::AnsweredCall& call) {
    constexpr uint32_t most_cells = 10; // of counters, because all cells are read
    if (call.function == "pipe_mgr_stat_ent_query" && *call.pointer<uint32_t>(3) >= most_cells) return 1;
    return fuzz::any_answer(input, call, table_of(call));
}

// The fuzzer's handler of an abort, which start() replaces.
struct KeptHandler {
    struct sigaction of_fuzzer {};

    KeptHandler() {
        sigaction(SIGABRT, nullptr, &of_fuzzer);
    }
    ~KeptHandler() {
        sigaction(SIGABRT, &of_fuzzer, nullptr);
    }
};

// Replaces standard input.
class Typed {
public:
    explicit Typed(std::string_view text) : in_(std::string(text)), replaced_(std::cin.rdbuf(in_.rdbuf())) {
        std::cin.clear();
    }
    ~Typed() {
        std::cin.rdbuf(replaced_);
    }
    Typed(const Typed&) = delete;
    Typed& operator=(const Typed&) = delete;

private:
    std::istringstream in_;
    std::streambuf* replaced_;
};

pd_session start_typed(const pd_views::Library& library, const pd_show::Arguments& arguments, std::string_view routes) {
    const KeptHandler kept;
    const Typed typed(routes);
    return pd_show::start(library, arguments);
}

void check_text(const std::string& text, bool is_json) {
    const auto is_control = [](char byte) { return (byte >= 0 && byte < ' ' && byte != '\n') || byte == '\x7F'; };
    demand(std::none_of(text.begin(), text.end(), is_control), "the output isn't text: " + text);
    if (!is_json) return;
    cJSON* const json = cJSON_ParseWithOpts(text.c_str(), nullptr, 1);
    demand(json != nullptr, "the output isn't JSON: " + text);
    cJSON_Delete(json);
}

void run(const pd_show::Arguments& arguments, fuzz::Input& input) {
    const pd_show::Loaded loaded = pd_show::load(std::nullopt, arguments.time);
    static const pd_views::Pipeline pipeline = describe_pipeline(loaded.library);
    std::string shown;
    pd_views::Output out(1 << 12, [&](std::string_view text) { shown += text; });
    pd_views::Complaints complaints;
    pd_views::Watcher watcher;
    const pd_session session = start_typed(loaded.library, arguments, input.take(input.byte()));
    const pd_views::Work work{.query = arguments.query,
                              .library = loaded.library,
                              .session = session,
                              .target = {.dev_id = static_cast<pd_device>(arguments.device.value_or(0)),
                                         .pipe_id = PD_ALL_PIPES,
                                         .reserved = 0},
                              .pipeline = pipeline,
                              .out = out,
                              .complaints = complaints,
                              .watcher = watcher,
                              .live = !input.empty() && input.byte() % 2 == 0};
    const bool embedded_alone = input.empty();
    vl_model::answer_calls("*", [&](const vl_model::AnsweredCall& call) { return answer(input, call); });
    if (arguments.corrupt) pd_show::corrupt_hardware(work, *arguments.corrupt, arguments.seed.value_or(1));
    const bool equal = (*command_of(arguments))(work);
    out.flush();
    check_text(shown, arguments.query.format == pd_views::Format::json);
    if (embedded_alone && !arguments.corrupt) demand(equal && !complaints.any(), "something differs");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::cerr.rdbuf(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    vl_model_reset();
    vl_model_log_sink_set([](int, int, const char*, void*) {}, nullptr);
    std::vector<std::string> texts = make_arguments(input);
    try {
        const pd_show::Arguments arguments = parse(texts);
        // The demo is brought up once in a process, and other drivers aren't tested here.
        if (arguments.answer == nullptr && !arguments.demo && !arguments.driver && !arguments.agent)
            run(arguments, input);
    } catch (const Problem& problem) {
        demand(problem.what()[0] != 0, "a problem without a reason");
    }
    vl_model::answer_calls("*", {});
    demand(vl_model::live_allocations() == 0, "memory leaks");
    return 0;
}
