// See effects.h.
#include "support/effects.h"

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

} // namespace

std::vector<Effect> effects(uint8_t dirt) {
    std::vector<Effect> all;
    fill_stack(dirt);
    ExportCalls calls(dirt);
    vl_model::record_calls(true);
    for (const Export& each : every_export()) {
        calls.prepare(each);
        vl_model::take_calls();
        fill_stack(dirt);
        Effect effect{.name = each.name, .seen = {}, .result = calls.run()};
        for (const vl_model::Call& made : vl_model::take_calls())
            effect.seen += calls.sent(made);
        for (const auto& [what, bytes] : calls.outputs())
            if (what != "blob") append(effect.seen, *bytes);
        append(effect.seen, calls.printed());
        const bool is_text = each.result.starts_with("const char") && effect.result != 0;
        if (is_text) append(effect.seen, std::string_view(reinterpret_cast<const char*>(effect.result)));
        if (!each.result.ends_with("*")) append(effect.seen, std::to_string(effect.result));
        if (effect.result == 0) calls.keep();
        all.push_back(std::move(effect));
    }
    vl_model::record_calls(false);
    return all;
}

} // namespace support
