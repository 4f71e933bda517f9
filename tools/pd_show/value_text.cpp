// Takes value strings apart by the places that the schema tells. That columns have widths which can be shown was
// checked when the pipeline was described.
#include "pd_show/value_text.h"

#include <cstring>

#include "pd_show/characters.h"

namespace pd_show {
namespace {

// Goes through a text; once something isn't as expected, nothing is any more.
class Cursor {
public:
    explicit Cursor(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

    bool take(std::string_view expected) {
        if (!starts_with(expected)) return false;
        at_ += expected.size();
        return true;
    }
    std::string_view take_until(char end) {
        const void* const found = std::memchr(at_, end, static_cast<size_t>(end_ - at_));
        const char* const last = found == nullptr ? end_ : static_cast<const char*>(found);
        const std::string_view taken(at_, static_cast<size_t>(last - at_));
        at_ = last;
        return taken;
    }
    // The values of the columns; null if they aren't there.
    const char* take_values(const Columns& columns) {
        if (columns.length > static_cast<size_t>(end_ - at_)) return nullptr;
        for (const Column& column : columns.all) {
            const char* const digits = at_ + column.position;
            if (digits[-2] != '0' || digits[-1] != 'x' || digits[column.digits] != ',') return nullptr;
        }
        const char* const values = at_;
        at_ += columns.length;
        return values;
    }
    bool at_end() const {
        return at_ == end_;
    }

private:
    bool starts_with(std::string_view expected) const {
        return static_cast<size_t>(end_ - at_) >= expected.size() &&
               std::memcmp(at_, expected.data(), expected.size()) == 0;
    }

    const char* at_;
    const char* end_;
};

bool take_key(Cursor& cursor, const Table& table, EntryText& entry) {
    entry.key = nullptr;
    if (cursor.take("(),")) return true;
    if (!cursor.take("( ")) return false;
    entry.key = cursor.take_values(table.key);
    return entry.key != nullptr && cursor.take("),");
}

// Entries with the same action often stand together, so the last one's is tried first.
bool take_action(Cursor& cursor, const Table& table, const Action*& action) {
    if (action != nullptr && cursor.take(action->opening)) return true;
    for (const Action& each : table.actions) {
        action = &each;
        if (cursor.take(each.opening)) return true;
    }
    return false;
}

bool take_target(Cursor& cursor, const Table& table, EntryText& entry) {
    using Target = EntryText::Target;
    if (!table.indirect) {
        entry.target = Target::action;
        if (!take_action(cursor, table, entry.action)) return false;
        entry.params = cursor.take_values(entry.action->params);
        return entry.params != nullptr && cursor.take(")),");
    }
    entry.target = cursor.take("('setMbrHdl',(0x")   ? Target::member
                   : cursor.take("('setGrpHdl',(0x") ? Target::group
                                                     : Target::none;
    if (entry.target == Target::none) return true;
    entry.handle = cursor.take_until(',');
    return !entry.handle.empty() && entry.handle.size() <= 8 && cursor.take(",))");
}

bool only_zeros(const char* digits, size_t count) {
    constexpr std::string_view zeros = "00000000000000000000000000000000";
    return std::memcmp(digits, zeros.data(), count) == 0;
}

std::string_view digits_of(const Columns& columns, size_t column, const char* values) {
    return {values + columns.all[column].position, columns.all[column].digits};
}

char* put_shown(char* out, Field::Display display, const Columns& columns, size_t column, size_t station,
                const char* values) {
    const std::string_view digits = digits_of(columns, column, values);
    switch (display) {
    case Field::Display::mac:
        return put_mac(out, digits, digits_of(columns, station, values));
    case Field::Display::v4addr:
        return put_v4addr(out, digits);
    case Field::Display::v6addr:
        return put_v6addr(out, digits);
    case Field::Display::dec:
        return put_decimal(out, number_of(digits));
    case Field::Display::hex:
        return put_hex(out, digits);
    }
    return out;
}

} // namespace

bool split(const Table& table, std::string_view text, EntryText& entry) {
    Cursor cursor(text);
    if (!cursor.take("((") || !take_key(cursor, table, entry) || !take_target(cursor, table, entry) ||
        !cursor.take("),("))
        return false;
    if (!table.has_priority) return cursor.take("0,True))") && cursor.at_end();
    entry.priority = cursor.take_until(',');
    if (entry.priority.size() > 10) return false; // 32 bits
    return cursor.take(",True))") && cursor.at_end();
}

char* put_value(char* out, const Field& field, const Columns& columns, const char* values) {
    return put_shown(out, field.display, columns, field.value, field.station, values);
}

char* put_mask(char* out, const Field& field, const Columns& columns, const char* values) {
    const Field::Display display = field.display == Field::Display::dec ? Field::Display::hex : field.display;
    return put_shown(out, display, columns, field.mask, field.station_mask, values);
}

bool matches_anything(const Field& field, const Columns& columns, const char* values) {
    for (const size_t mask : {field.mask, field.station_mask}) {
        if (mask == Field::none) continue;
        const std::string_view digits = digits_of(columns, mask, values);
        if (!only_zeros(digits.data(), digits.size())) return false;
    }
    return true;
}

bool matches_whole(const Field& field, const Columns& columns, const char* values) {
    for (const size_t mask : {field.mask, field.station_mask})
        if (mask != Field::none && digits_of(columns, mask, values) != columns.all[mask].covered) return false;
    return true;
}

} // namespace pd_show
