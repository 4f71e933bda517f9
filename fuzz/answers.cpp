// Fuzzes what a driver answers. An input is the number of a family of exported functions, that of one of its functions,
// and the driver's answers to its calls; then the next family. No answer makes the library touch memory that it doesn't
// own, leak, write an output of its own after a failure, or write a text beyond the room that the public header asks
// for.
#include "fuzz/any_answer.h"
#include "support/every_export.h"

namespace {

using fuzz::demand;
using support::Bytes;
using support::Export;

constexpr uint8_t untouched = 0xEE;

bool is_untouched(const Bytes& output, size_t from = 0) {
    return std::all_of(output.begin() + static_cast<ptrdiff_t>(from), output.end(),
                       [](uint8_t byte) { return byte == untouched; });
}

// The table, profile or other word behind the prefix.
std::string row_of(const std::string& name) {
    const size_t begin = support::exported("").size();
    return name.size() < begin ? name : name.substr(begin, name.find('_', begin) - begin);
}

// Exports that differ only in their row or action, so that a family of one function is called as often as one of many.
const std::vector<std::vector<const Export*>>& families() {
    static const std::vector<std::vector<const Export*>> all = [] {
        std::map<std::string, std::vector<const Export*>> by_name;
        for (const Export& each : support::every_export()) {
            const std::string row = row_of(each.name);
            const std::string rest =
                row == each.name ? row.substr(0, row.rfind('_')) : each.name.substr(each.name.find(row) + row.size());
            by_name[rest.substr(0, std::min(rest.find("_with_"), rest.find("_action_")))].push_back(&each);
        }
        std::vector<std::vector<const Export*>> listed;
        listed.reserve(by_name.size());
        for (const auto& [name, exports] : by_name)
            listed.push_back(exports);
        return listed;
    }();
    return all;
}

// Families that the header exempts: they write outputs whether or not they succeed.
bool writes_always(const Export& each) {
    return each.has("_get_property") || each.has("_hit_state") || each.has("_input_field_attribute_") ||
           each.has("snapshot_capture_data_get") || each.has("_hdl_first") || each.has("_hdl_next");
}

bool is_of_key(const std::string& output) {
    return output == "match_spec" || output == "priority" || output == "is_default";
}

// `passed_on` says whether the driver got the output.
void check_output(const Export& each, uint64_t result, const std::string& what, const Bytes& output, bool passed_on) {
    for (const auto& [name, room] : {std::pair("message", 66), {"action_name", 61}, {"stages", 20 * 676}})
        if (what == name) demand(is_untouched(output, static_cast<size_t>(room)), each.name + ": too long a " + what);
    if (each.result.starts_with("int")) {
        const bool writes = what == "message" ? result == 0 : result != 0;
        if (!writes) demand(is_untouched(output), each.name + ": wrote its output without a reason");
        const auto length = static_cast<size_t>(std::find(output.begin(), output.end(), 0) - output.begin());
        if (writes) demand(length < output.size(), each.name + ": a text without an end");
        if (writes && what == "buffer") demand(length == result, each.name + ": the result isn't the text's length");
        if (each.has("_value")) demand(is_untouched(output, 331), each.name + ": a value of more than 330 characters");
        if (each.has("_counter")) demand(is_untouched(output, 513), each.name + ": more than 512 characters");
    } else if (each.result.starts_with("pd_status") && result != PD_STATUS_OK && !passed_on && !writes_always(each)) {
        const bool has_key = result == PD_STATUS_UNEXPECTED || result == PD_STATUS_INVALID;
        demand(is_untouched(output) || (has_key && is_of_key(what)), each.name + ": wrote " + what + " and failed");
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    GTEST_FLAG_SET(throw_on_failure, true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    support::ExportCalls calls(input.byte());
    while (!input.empty()) {
        const auto& family = families()[input.below(families().size())];
        const Export& each = *family[input.below(family.size())];
        const std::string row = row_of(each.name);
        calls.prepare(each);
        std::vector<bool> passed_on(calls.outputs().size());
        vl_model::answer_calls("*", [&](const vl_model::AnsweredCall& call) {
            for (size_t i = 0; i < passed_on.size(); ++i)
                for (const uint64_t arg : call.args)
                    if (arg == support::word(calls.outputs()[i].second->data())) passed_on[i] = true;
            return fuzz::any_answer(input, call, row);
        });
        const uint64_t result = calls.run();
        vl_model::answer_calls("*", {}); // the embedded driver answers what prepares the next call
        for (size_t i = 0; i < passed_on.size(); ++i)
            check_output(each, result, calls.outputs()[i].first, *calls.outputs()[i].second, passed_on[i]);
        if (result == 0) calls.keep();
    }
    return 0;
}
