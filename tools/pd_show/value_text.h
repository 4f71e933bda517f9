// The library's value string of an entry, taken apart. Value strings have their digits at places that the schema alone
// decides, so that nothing is searched for.
#pragma once

#include <string_view>

#include "pd_show/pipeline.h"

namespace pd_show {

// What a value string says; its columns are at `position` of what is pointed at.
struct EntryText {
    enum class Target { none, action, member, group };

    const char* key = nullptr; // null in a default entry
    Target target = Target::none;
    const Action* action = nullptr;
    const char* params = nullptr;
    std::string_view handle; // hexadecimal digits, of a member or group
    std::string_view priority;
};

// False if the text has another form than the table's schema announces. `entry` may be that of another entry of the
// table; its action is the first to be looked for.
bool split(const Table& table, std::string_view text, EntryText& entry);

// `values` are a key or the parameters of an action. What writes returns the end of what was written.

// As the field is best shown.
char* put_value(char* out, const Field& field, const Columns& columns, const char* values);

// Of fields that have a mask.
char* put_mask(char* out, const Field& field, const Columns& columns, const char* values);
bool matches_anything(const Field& field, const Columns& columns, const char* values);
bool matches_whole(const Field& field, const Columns& columns, const char* values);

} // namespace pd_show
