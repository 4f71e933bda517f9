// Fuzzes recordings: any text, or calls whose arguments have the form that their functions want. Each call is shown, is
// the same as itself, and is played against the embedded driver.
#include <sstream>
#include <string>

#include "fuzz/input.h"
#include "tools/pd_watch/call_text.h"
#include "tools/pd_watch/commands.h"
#include "tools/pd_watch/player.h"
#include "vl_model/control.h"
#include "vl_model/testing.h"
#include "watch/line.h"

namespace {

using fuzz::demand;
using pd_watch::Kind;

const pd_watch::Pipeline& pipeline() {
    static const pd_watch::Pipeline made;
    return made;
}

std::string hex(fuzz::Input& input, size_t count) {
    std::string bytes(count, 0);
    input.fill(bytes.data(), count);
    pd_watch::Text text;
    text += '"';
    text.hex(bytes.data(), count);
    text += '"';
    return std::string(text.view());
}

const pd_watch::Table& any_table(fuzz::Input& input) {
    static const std::vector<const pd_watch::Table*> tables = [] {
        std::vector<const pd_watch::Table*> all;
        for (const auto& [handle, table] : pipeline().tables())
            all.push_back(&table);
        std::ranges::sort(all, {}, &pd_watch::Table::handle);
        return all;
    }();
    return *tables[input.below(tables.size())];
}

class Line {
public:
    Line(fuzz::Input& input) : input_(input), table_(any_table(input)) {}

    std::string text(uint64_t sequence) {
        const pd_watch::Function& function = pd_watch::functions[input_.below(std::size(pd_watch::functions))];
        std::array<size_t, pd_watch::most_arguments> counts{};
        for (size_t i = 0; i < function.count; ++i)
            counts[i] = input_.below(4);
        std::string raw;
        std::string outputs;
        for (size_t i = 0; i < function.count; ++i) {
            const pd_watch::Argument& argument = function.arguments[i];
            const size_t count = argument.count_at == 0 ? 1 : counts[argument.count_at];
            bool counts_elements = false;
            for (size_t other = 0; other < function.count; ++other)
                counts_elements |= function.arguments[other].count_at == i && i != 0;
            const std::string name = std::string(raw.empty() ? "" : ",") + '"' + argument.name + "\":";
            raw += name + (counts_elements ? std::to_string(counts[i]) : value(argument, count));
            if (argument.kind >= Kind::out_handle && argument.kind <= Kind::out_number && input_.byte() < 128)
                outputs +=
                    std::string(outputs.empty() ? "" : ",") + '"' + argument.name + "\":" + handle(argument.kind);
        }
        return "{\"seq\":" + std::to_string(sequence) + ",\"time\":1,\"thread\":1,\"function\":\"" + function.name +
               "\",\"table\":\"" + table_.name + "\",\"raw\":{" + raw +
               "},\"status\":" + std::to_string(input_.byte() < 200 ? 0 : input_.below(20)) + ",\"outputs\":{" +
               outputs + "}}\n";
    }

private:
    // A number that the embedded driver gives.
    std::string handle(Kind kind) {
        const bool is_group = kind == Kind::group || kind == Kind::out_group;
        const bool is_member = kind == Kind::member || kind == Kind::out_member;
        return std::to_string((is_group ? 0x40000000 : is_member ? 0x10000000 : 0) + input_.below(6));
    }

    std::string slots(size_t count) {
        std::string text = "[";
        for (size_t i = 0; i < count; ++i)
            text += std::string(i == 0 ? "" : ",") + "{\"resource\":" + std::to_string(any_table(input_).handle) +
                    ",\"index\":" + std::to_string(input_.word()) + ",\"tag\":" + std::to_string(input_.below(4)) +
                    (input_.byte() < 128 ? "}" : ",\"spec\":" + hex(input_, PIPE_RESOURCE_SPEC_SIZE) + "}");
        return text + "]";
    }

    std::string list(size_t count) {
        std::string text = "[";
        for (size_t i = 0; i < count; ++i)
            text += (i == 0 ? "" : ",") + std::to_string(input_.below(16));
        return text + "]";
    }

    std::string value(const pd_watch::Argument& argument, size_t count) {
        const uint8_t choice = input_.byte();
        switch (argument.kind) {
        case Kind::session:
            return choice < 240 ? "1" : std::to_string(input_.word());
        case Kind::device:
            return choice < 240 ? "0" : std::to_string(input_.below(3));
        case Kind::target:
            return "[0," + std::to_string(choice < 200 ? 65535 : choice % 5) + "]";
        case Kind::table:
            return std::to_string(table_.handle);
        case Kind::action: {
            action_ = table_.actions.begin();
            for (size_t steps = table_.actions.empty() ? 0 : choice % table_.actions.size(); steps > 0; --steps)
                ++action_;
            return std::to_string(action_ == table_.actions.end() ? 0 : action_->first);
        }
        case Kind::match:
        case Kind::out_match: {
            const size_t bytes = choice < 240 ? table_.key_bytes : choice - 240u;
            if (argument.kind == Kind::out_match) return "{\"bits\":0,\"bytes\":" + std::to_string(bytes) + "}";
            return "{\"key\":" + hex(input_, bytes) + ",\"mask\":" + hex(input_, bytes) +
                   ",\"partition\":0,\"priority\":" + std::to_string(input_.word()) +
                   ",\"bits\":" + std::to_string(8 * bytes) + ",\"bytes\":" + std::to_string(bytes) + "}";
        }
        case Kind::data: {
            const bool known = action_ != table_.actions.end();
            const size_t bytes = choice < 240 && known ? action_->second.data_bytes : choice % 16u;
            return "{\"kind\":" + std::to_string(uint8_t{1} << input_.below(3)) + ",\"data\":" + hex(input_, bytes) +
                   ",\"bits\":" + std::to_string(8 * bytes) + ",\"bytes\":" + std::to_string(bytes) +
                   ",\"member\":" + handle(Kind::member) + ",\"group\":" + handle(Kind::group) +
                   ",\"slots\":" + slots(choice % 3) + "}";
        }
        case Kind::slots:
            return slots(count);
        case Kind::words:
        case Kind::out_queries:
            return list(count);
        case Kind::bytes:
        case Kind::by_value:
            return hex(input_, count * argument.size);
        case Kind::text:
            return "\"client\"";
        case Kind::out_data:
        case Kind::out_action_data:
            return std::to_string(choice);
        default:
            if (argument.kind >= Kind::out_handle || argument.kind == Kind::callback)
                return choice < 250 ? "true" : "null";
            if (argument.kind == Kind::number || argument.kind == Kind::wide) return std::to_string(input_.word());
            return handle(argument.kind);
        }
    }

    fuzz::Input& input_;
    const pd_watch::Table& table_;
    std::unordered_map<uint32_t, pd_watch::Action>::const_iterator action_ = table_.actions.end();
};

std::string recording_from(fuzz::Input& input) {
    if (input.byte() < 64) return std::string(input.take_all());
    std::string lines = R"({"recording":1,"program":"velmar_switch","embedded":true})"
                        "\n";
    for (uint64_t sequence = 1; !input.empty() && sequence <= 200; ++sequence)
        lines += Line(input).text(sequence);
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    vl_model_reset();
    vl_model_log_sink_set([](int, int, const char*, void*) {}, nullptr);
    try {
        pd_watch::Recording recording(std::make_unique<std::istringstream>(recording_from(input)), "the input");
        static const pd_watch::CallText text(pipeline(), false, true);
        pd_watch::Player player(pipeline(), {});
        pd_watch::Comparison itself(pipeline());
        for (pd_watch::Json call = recording.next(); call != nullptr; call = recording.next()) {
            demand(!text.line(call.get()).empty(), "a call isn't shown");
            demand(itself.differences(call.get(), call.get(), true).empty(),
                   "a call isn't itself: " + recording.line());
            player.play(call.get());
        }
    } catch (const pd_watch::Mistake&) {
        // It isn't a recording.
    }
    return 0;
}
