// What the library sends and writes must not depend on what was on its stack. All exported functions are called twice
// from the same start, on stacks full of two different bytes. The driver must get the same records, reserved bytes
// included, and outputs and results must be the same.
#include "support/every_export.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>

namespace {

using namespace support;

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

// All functions, called on a stack that is full of one byte.
struct Sweep {
    std::vector<std::string> seen;
    std::map<std::string, uint32_t> results;

    explicit Sweep(uint8_t byte) {
        fill_stack(byte);
        ExportCalls calls(byte);
        vl_model::record_calls(true);
        for (const Export& each : every_export()) {
            calls.prepare(each);
            vl_model::take_calls();
            fill_stack(byte);
            const uint32_t result = calls.run();
            std::string text;
            for (const vl_model::Call& made : vl_model::take_calls())
                append(text, made,
                       made.args.empty() || made.args[0] != calls.session() ? calls.placement_data() : calls.session());
            for (const auto& [what, bytes] : calls.outputs())
                if (what != "blob")
                    text += std::to_string(std::hash<std::string_view>()(
                                {reinterpret_cast<const char*>(bytes->data()), bytes->size()})) +
                            ' ';
            if (result == 0) calls.keep();
            if (!each.result.starts_with("void")) text += std::to_string(results[each.name] = result);
            seen.push_back(text);
        }
        vl_model::record_calls(false);
    }
};

TEST(DirtyStack, NothingOfItGetsOut) {
    const std::vector<Export>& all = every_export();
    const Sweep first(0xA5), second(0x5A);
    ASSERT_GT(all.size(), 10 * all_tables().size());
    for (size_t i = 0; i < all.size(); ++i) {
        EXPECT_TRUE(first.seen[i] == second.seen[i]) << all[i].name;
        const bool needs_a_row = all[i].has("_get_entry") || all[i].has("_get_member") || all[i].has("_modify_");
        EXPECT_EQ(needs_a_row ? first.results.at(all[i].name) : 0, 0u) << all[i].name;
    }
}

} // namespace
