// See answers.h.
#include "support/answers.h"

#include <algorithm>
#include <cstring>

namespace support {

namespace {

[[gnu::noinline]] void fill_stack(uint8_t byte) {
    uint8_t room[1 << 16];
    std::memset(room, byte, sizeof room);
    asm volatile("" ::"r"(room) : "memory");
}

template <class Items>
void append(std::string& text, const Items& items) {
    text.append(reinterpret_cast<const char*>(std::data(items)), std::size(items) * sizeof(*std::data(items)));
    text += '|';
}

// Leaves out `given`, the session or placement data, which the driver never gives twice.
void append(std::string& text, const vl_model::Call& call, uint64_t given) {
    text += call.function + call.text;
    std::vector<uint64_t> numbers = call.args;
    if (!numbers.empty() && numbers[0] == given) numbers[0] = 0;
    std::erase_if(numbers, [](uint64_t n) { return n >> 32 != 0 && n >> 47 == 0; }); // addresses
    if (call.match) {
        append(text, call.match->key);
        append(text, call.match->mask);
        numbers.insert(numbers.end(), {call.match->partition_index, call.match->priority, call.match->key_bits,
                                       call.match->key_len, call.match->reserved});
    }
    if (call.action) {
        append(text, call.action->data);
        append(text, call.action->slots);
        append(text, call.action->reserved);
        numbers.insert(numbers.end(),
                       {call.action->kind, call.action->resource_count, call.action->data_bits, call.action->data_len,
                        call.action->data_null, call.action->member_hdl, call.action->group_hdl});
    }
    append(text, numbers);
    append(text, call.handles);
    append(text, call.bytes);
    for (Bytes input : call.inputs) {
        if (call.function.starts_with("pipe_stful_") && call.function.find("query") != call.function.npos)
            for (size_t i = offsetof(pipe_stful_query, elements); i < input.size(); i += sizeof(pipe_stful_query))
                std::fill_n(input.begin() + static_cast<ptrdiff_t>(i), sizeof(void*), 0);
        append(text, input);
    }
}

} // namespace

std::vector<Answer> answers(uint8_t dirt) {
    std::vector<Answer> all;
    fill_stack(dirt);
    ExportCalls calls(dirt);
    vl_model::record_calls(true);
    for (const Export& each : every_export()) {
        calls.prepare(each);
        vl_model::take_calls();
        fill_stack(dirt);
        Answer answer{.name = each.name, .seen = {}, .result = calls.run()};
        for (const vl_model::Call& made : vl_model::take_calls()) {
            const bool has_session = !made.args.empty() && made.args[0] == calls.session();
            append(answer.seen, made, has_session ? calls.session() : calls.placement_data());
        }
        for (const auto& [what, bytes] : calls.outputs())
            if (what != "blob") append(answer.seen, *bytes);
        append(answer.seen, calls.printed());
        const bool is_text = each.result.starts_with("const char") && answer.result != 0;
        if (is_text) append(answer.seen, std::string_view(reinterpret_cast<const char*>(answer.result)));
        if (!each.result.ends_with("*")) append(answer.seen, std::to_string(answer.result));
        if (answer.result == 0) calls.keep();
        all.push_back(std::move(answer));
    }
    vl_model::record_calls(false);
    return all;
}

} // namespace support
