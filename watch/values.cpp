// See values.h.
#include "watch/values.h"

#include <algorithm>

namespace pd_watch {
namespace {

using catalog::KeyShape;
using catalog::Match;

// A byte of a part, the most significant first.
uint8_t byte_of(uint64_t high, uint64_t low, const Part& part, unsigned i) {
    const unsigned number = part.bytes - 1 - i;
    return static_cast<uint8_t>(number < 8 ? low >> 8 * number : high >> 8 * (number - 8));
}

uint8_t width_of(const Part& part, unsigned i) {
    const unsigned below = 8 * (part.bytes - 1 - i);
    return part.bits >= below + 8 ? 0xFF : static_cast<uint8_t>((1u << (part.bits - below)) - 1);
}

uint8_t matched_of(const Part& part, unsigned i) {
    return byte_of(part.covered_high, part.covered_low, part, i);
}

// The bits that the mask of a prefix may have: not those below all that are matched.
uint8_t prefix_bits_of(const Part& part, unsigned i) {
    for (unsigned below = i + 1; below < part.bytes; ++below)
        if (matched_of(part, below) != 0) return 0xFF;
    const unsigned matched = matched_of(part, i);
    return static_cast<uint8_t>(~((matched & -matched) - 1));
}

std::string hex_of(const uint8_t* bytes, const Part& part) {
    static constexpr char hex[] = "0123456789abcdef";
    std::string digits;
    for (unsigned i = 0; i < part.bytes; ++i) {
        digits += hex[bytes[part.position + i] >> 4];
        digits += hex[bytes[part.position + i] & 0xF];
    }
    digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    return "0x" + digits;
}

template <class Bits>
bool has_bits(const uint8_t* bytes, const Part& part, Bits bits) {
    for (unsigned i = 0; i < part.bytes; ++i)
        if ((bytes[part.position + i] & bits(i)) != 0) return true;
    return false;
}

bool is_too_wide(const uint8_t* bytes, const Part& part) {
    return has_bits(bytes, part, [&](unsigned i) { return static_cast<uint8_t>(~width_of(part, i)); });
}

bool has_unmatched(const uint8_t* bytes, const Part& part) {
    return has_bits(bytes, part,
                    [&](unsigned i) { return static_cast<uint8_t>(width_of(part, i) & ~matched_of(part, i)); });
}

// The bits of a value that the table doesn't match.
std::string unmatched_hex(const uint8_t* bytes, const Part& part) {
    std::vector<uint8_t> bits(part.position + part.bytes);
    for (unsigned i = 0; i < part.bytes; ++i)
        bits[part.position + i] =
            static_cast<uint8_t>(bytes[part.position + i] & width_of(part, i) & ~matched_of(part, i));
    return hex_of(bits.data(), part);
}

bool is_within(const uint8_t* bytes, const std::string& allowed) {
    for (size_t i = 0; i < allowed.size(); ++i)
        if ((bytes[i] & ~static_cast<uint8_t>(allowed[i])) != 0) return false;
    return true;
}

std::string width_text(const Part& part) {
    return " is wider than " + std::to_string(part.bits) + (part.bits == 1 ? " bit" : " bits");
}

} // namespace

bool has_key(const Table& table, const pipe_match_record& match) {
    return table.key_bytes != 0 && match.key_bytes != nullptr && match.mask_bytes != nullptr &&
           match.key_len == table.key_bytes;
}

Values::Values(const Pipeline& pipeline) {
    for (const auto& [handle, table] : pipeline.tables()) {
        if (table.key.empty()) continue;
        Bits& bits = tables_[handle];
        for (std::string* each : {&bits.key, &bits.mask, &bits.matched, &bits.exact})
            each->resize(table.key_bytes);
        for (const Field& field : table.key)
            for (const Part& part : field.parts)
                for (unsigned i = 0; i < part.bytes; ++i) {
                    const size_t at = part.position + i;
                    const bool is_exact = field.match == Match::exact;
                    bits.matched[at] = static_cast<char>(matched_of(part, i));
                    bits.exact[at] = is_exact ? bits.matched[at] : '\0';
                    bits.key[at] = is_exact ? bits.matched[at] : static_cast<char>(width_of(part, i));
                    bits.mask[at] = field.match == Match::ternary ? bits.matched[at]
                                    : field.match == Match::lpm   ? static_cast<char>(prefix_bits_of(part, i))
                                                                  : '\xFF';
                }
    }
}

void Values::check_key(const Table& table, const pipe_match_record& match, bool is_add,
                       std::vector<Finding>& findings) const {
    if (!has_key(table, match)) return;
    const Bits& bits = tables_.at(table.handle);
    if (table.shape == KeyShape::prefix) {
        const Field& prefix = table.key.back();
        if (match.priority > prefix.parts.back().bits)
            findings.push_back({MistakeKind::long_prefix, &table, nullptr, prefix.label,
                                "the prefix is longer than the field",
                                std::to_string(prefix.parts.back().bits) + " bits"});
    }
    if (table.partitioned && match.partition_index >> table.key.front().parts.front().bits != 0)
        findings.push_back({MistakeKind::wide_value, &table, nullptr, table.key.front().label,
                            "the value" + width_text(table.key.front().parts.front()),
                            std::to_string(match.partition_index)});
    if (!is_within(match.key_bytes, bits.key) || !is_within(match.mask_bytes, bits.mask)) {
        for (const Field& field : table.key) {
            if (table.partitioned && &field == &table.key.front()) continue;
            for (const Part& part : field.parts) {
                const std::string name = field.parts.size() == 1 ? field.label : part.name;
                const auto tell = [&](MistakeKind kind, const std::string& what, std::string value) {
                    findings.push_back({kind, &table, nullptr, name, what, std::move(value)});
                };
                if (is_too_wide(match.key_bytes, part))
                    tell(MistakeKind::wide_value, "the value" + width_text(part), hex_of(match.key_bytes, part));
                if (field.match == Match::exact && has_unmatched(match.key_bytes, part))
                    tell(MistakeKind::unmatched_bits, "the value has bits that the table doesn't match",
                         unmatched_hex(match.key_bytes, part));
                if (field.match == Match::lpm && match.priority <= part.bits &&
                    has_bits(match.mask_bytes, part,
                             [&](unsigned i) { return static_cast<uint8_t>(~prefix_bits_of(part, i)); }))
                    tell(MistakeKind::unmatched_bits, "the prefix has bits that the table doesn't match",
                         "length " + std::to_string(part.bits - match.priority));
                if (field.match != Match::ternary) continue;
                if (is_too_wide(match.mask_bytes, part))
                    tell(MistakeKind::wide_value, "the mask" + width_text(part), hex_of(match.mask_bytes, part));
                if (has_unmatched(match.mask_bytes, part))
                    tell(MistakeKind::unmatched_bits, "the mask has bits that the table doesn't match",
                         unmatched_hex(match.mask_bytes, part));
            }
        }
    }
    if (!is_add || table.shape != KeyShape::masked) return;
    for (size_t i = 0; i < bits.matched.size(); ++i)
        if (((match.mask_bytes[i] | bits.exact[i]) & bits.matched[i]) != 0) return;
    findings.push_back({MistakeKind::match_all, &table, nullptr, "",
                        "the masks have no bit that the table matches, so the "
                        "entry matches everything",
                        "priority " + std::to_string(static_cast<int32_t>(match.priority))});
}

void Values::check_action(const Table& table, uint32_t action_handle, const pipe_action_record& record, Use use,
                          bool is_add, std::vector<Finding>& findings) const {
    if (record.kind == PIPE_KIND_MEMBER || record.kind == PIPE_KIND_GROUP) return;
    const Action* const action = table.action(action_handle);
    const bool is_for_use =
        action != nullptr && (use == Use::default_entry ? action->for_default : action->for_entries);
    if (!is_for_use) {
        findings.push_back({MistakeKind::wrong_action, &table, action != nullptr ? action->name : nullptr, "",
                            action == nullptr           ? "the table doesn't have the action"
                            : use == Use::default_entry ? "the action isn't for the default entry"
                                                        : "the action is for the default entry only",
                            "handle " + std::to_string(action_handle)});
    }
    if (action == nullptr) return;
    const bool has_data = record.action.data != nullptr && record.action.data_len == action->data_bytes;
    for (const Field& field : action->params)
        for (const Part& part : field.parts) {
            const std::string name = field.parts.size() == 1 ? field.label : part.name;
            const auto tell = [&](std::string value) {
                findings.push_back({MistakeKind::wide_value, &table, action->name, name, "the value" + width_text(part),
                                    std::move(value)});
            };
            if (has_data && part.bits % 8 != 0 && is_too_wide(record.action.data, part))
                tell(hex_of(record.action.data, part));
            else if (part.is_slot_index && record.resource_count != 0 && part.bits < 32 &&
                     record.slots[0].index >> part.bits != 0)
                tell(std::to_string(record.slots[0].index));
        }
    if (!is_add || use != Use::entry || table.resource.kind != catalog::ResourceKind::meter ||
        table.resource.addressing != catalog::Addressing::direct)
        return;
    for (size_t i = 0; i < std::min<size_t>(record.resource_count, PIPE_MAX_SLOTS); ++i)
        if (record.slots[i].resource_hdl == table.resource.handle && record.slots[i].tag == PIPE_SLOT_ATTACHED) return;
    findings.push_back(
        {MistakeKind::unset_meter, &table, action->name, "", "the entry is added without a meter spec", ""});
}

void Values::matched_bits(const Table& table, const pipe_match_record& match, std::string& mask,
                          std::string& key) const {
    const Bits& bits = tables_.at(table.handle);
    mask.resize(table.key_bytes);
    key.resize(table.key_bytes);
    for (size_t i = 0; i < mask.size(); ++i) {
        mask[i] = static_cast<char>((match.mask_bytes[i] | bits.exact[i]) & bits.matched[i]);
        key[i] = static_cast<char>(match.key_bytes[i] & mask[i]);
    }
}

} // namespace pd_watch
