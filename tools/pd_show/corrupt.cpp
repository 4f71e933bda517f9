// Damage to the embedded driver's hardware, and which of it a comparison can see. That is told by the value strings of
// both sides, and not by the library's comparison, which is there to be checked.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pd_show/commands.h"
#include "pd_show/walk.h"
#include "vl_model/testing.h"

namespace pd_show {
namespace {

unsigned digit_value(char digit) {
    return static_cast<unsigned>(digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10);
}

// A value string with the bits that count alone. Of the fields the library leaves 128-bit ones as they are.
std::string narrowed(const Table& table, std::string_view text) {
    std::string value(text);
    constexpr size_t key = sizeof "((( " - 1;
    for (const Column& column : table.key.all)
        for (size_t i = 0; column.bits == 128 && i < column.digits && !value.empty(); ++i) {
            char& digit = value[key + column.position + i];
            digit = "0123456789ABCDEF"[digit_value(digit) & digit_value(column.covered[i])];
        }
    return value;
}

bool can_be_seen(Values& values, const Table& table, pd_entry handle) {
    const std::string placed = narrowed(table, values.read(table, handle, false));
    return placed != narrowed(table, values.read(table, handle, true));
}

std::string damage_text(const vl_model_corruption& damage) {
    const auto flipped = [&](const char* part) {
        return "bit " + std::to_string(damage.bit % 8) + " of byte " + std::to_string(damage.bit / 8) + " of the " +
               part + " flipped";
    };
    switch (damage.what) {
    case VL_MODEL_LOST:
        break;
    case VL_MODEL_KEY_BIT:
        return flipped("key");
    case VL_MODEL_MASK_BIT:
        return flipped("mask");
    case VL_MODEL_DATA_BIT:
        return flipped("action data");
    case VL_MODEL_MEMBER_BIT:
        return "bit " + std::to_string(damage.bit) + " of the member's handle flipped";
    }
    return "lost";
}

} // namespace

void corrupt_hardware(const Work& work) {
    const auto corrupt =
        work.place.library.driver_function<decltype(vl_model_hardware_corrupt)>("vl_model_hardware_corrupt");
    if (corrupt == nullptr) throw Problem(exit_bad_usage, "this driver's hardware can't be damaged");
    const Walk walk(work.place, work.complaints);
    uint32_t count = 0;
    for (const Table& table : work.pipeline.tables)
        count += walk.count(table).value_or(0);
    std::vector<vl_model_corruption> damages(std::min(*work.arguments.corrupt, count));
    const auto wanted = static_cast<uint32_t>(damages.size());
    const pd_status status =
        corrupt(work.place.target.dev_id, work.arguments.seed.value_or(1), wanted, damages.data(), &count);
    if (status != PD_STATUS_OK)
        throw Problem(exit_failed,
                      "damaging the hardware was refused with status " + work.place.library.status_text(status));
    damages.resize(count);

    std::string lines;
    size_t seen = 0;
    Values values(work.place);
    for (const vl_model_corruption& damage : damages) {
        const auto found = std::ranges::find(work.pipeline.tables, damage.tbl_hdl, &Table::handle);
        if (found == work.pipeline.tables.end())
            throw Problem(exit_failed, "the driver damaged an entry of a table that this pipeline doesn't have");
        const Table& table = *found;
        const bool sees = can_be_seen(values, table, damage.ent_hdl);
        seen += sees ? 1 : 0;
        lines += "  " + table.name + " #" + std::to_string(damage.ent_hdl) + ": " + damage_text(damage) +
                 (sees ? "\n" : ", which no comparison sees\n");
    }
    work.out.put("Damaged in the hardware: " + std::to_string(count) + (count == 1 ? " entry" : " entries") + ", " +
                 std::to_string(seen) + " of them in what a comparison sees\n" + lines + "\n");
}

} // namespace pd_show
