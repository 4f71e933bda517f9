// Damages the embedded driver's hardware, and predicts which damage a comparison sees. The prediction compares the
// entries that the library reads from both sides. It doesn't use the library's comparison, which it checks.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "pd_show/corrupt.h"
#include "route_agent/damage.h"
#include "vl_model/testing.h"

namespace pd_show {

using namespace pd_views;

namespace {

using Words = std::vector<uint64_t>;

// A comparison ignores the bits that don't count, even in 128-bit numbers.
void append(Words& words, const std::vector<Field>& fields, const uint8_t* record) {
    for (const Field& field : fields)
        for (const Part& part : field.parts)
            for (const Place& place : {part.value, part.partner}) {
                const Bits seen = load(record, place) & place.covered;
                words.insert(words.end(), {seen.high, seen.low});
            }
}

// The part of an entry that a comparison sees. Nothing if the entry can't be read.
std::optional<Words> seen_of(const Work& work, const Table& table, pd_entry handle, bool from_hw) {
    Entry entry;
    if (read_entry(work, table, handle, from_hw, entry) != PD_STATUS_OK) return {};
    Words words = {entry.is_default, table.has_priority ? entry.priority : 0};
    if (entry.is_default == 0) append(words, table.key, entry.key);
    if (table.profile == nullptr) {
        words.push_back(entry.action);
        append(words, work.pipeline.actions[entry.action].params, entry.params);
    } else {
        words.insert(words.end(), {entry.has_member, entry.has_group});
        words.push_back(entry.has_member != 0 ? entry.member : entry.has_group != 0 ? entry.group : 0);
    }
    return words;
}

} // namespace

std::string corrupt_hardware(const Work& work, uint32_t most, uint32_t seed) {
    const auto corrupt = work.library.driver_function<decltype(vl_model_hardware_corrupt)>("vl_model_hardware_corrupt");
    if (corrupt == nullptr) throw Problem(Fault::bad_value, "this driver's hardware can't be damaged");
    uint32_t count = 0;
    for (const Table& table : work.pipeline.tables)
        count += count_entries(work, table).value_or(0);
    std::vector<vl_model_corruption> damages(std::min(most, count));
    const pd_status status =
        corrupt(work.target.dev_id, seed, static_cast<uint32_t>(damages.size()), damages.data(), &count);
    if (status != PD_STATUS_OK) throw Problem(Fault::failed, work.library.refusal("damaging the hardware", status));
    damages.resize(count);

    std::string lines;
    size_t seen = 0;
    for (const vl_model_corruption& damage : damages) {
        const auto table = std::ranges::find(work.pipeline.tables, damage.tbl_hdl, &Table::handle);
        if (table == work.pipeline.tables.end())
            throw Problem(Fault::failed, "the driver damaged an entry of a table that this pipeline doesn't have");
        const std::optional<Words> placed = seen_of(work, *table, damage.ent_hdl, false);
        const bool sees = placed != seen_of(work, *table, damage.ent_hdl, true);
        seen += sees ? 1 : 0;
        lines += "  " + table->name + " #" + std::to_string(damage.ent_hdl) + ": " + route_agent::damage_text(damage) +
                 (sees ? "\n" : ", which no comparison sees\n");
    }
    return "Damaged in the hardware: " + std::to_string(count) + (count == 1 ? " entry" : " entries") + ", " +
           std::to_string(seen) + " of them in what a comparison sees\n" + lines + "\n";
}

} // namespace pd_show
