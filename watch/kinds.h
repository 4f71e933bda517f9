// The kinds of mistakes that the layer knows.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pd_watch {

enum class MistakeKind : uint8_t {
    wide_value,
    unmatched_bits,
    match_all,
    hidden_entry,
    long_prefix,
    wrong_action,
    unset_meter,
    unknown_handle,
    foreign_handle,
    stale_handle,
    in_use,
    empty_group,
    before_init,
    after_cleanup,
    gone_device,
    profile_race,
    unacknowledged,
    leftover,
};

struct MistakeRow {
    MistakeKind kind;
    const char* name;
    const char* sentence; // for the help and the manual page
};

inline constexpr MistakeRow mistake_rows[] = {
    {MistakeKind::wide_value, "wide-value", "a value is wider than its field or parameter"},
    {MistakeKind::unmatched_bits, "unmatched-bits",
     "a mask, a prefix, or the value of an exact field has bits that the table doesn't match"},
    {MistakeKind::match_all, "match-all", "an entry of a masked table matches everything"},
    {MistakeKind::hidden_entry, "hidden-entry",
     "an earlier entry of better priority takes all packets of an added one"},
    {MistakeKind::long_prefix, "long-prefix", "a prefix is longer than its field"},
    {MistakeKind::wrong_action, "wrong-action", "the table lacks the action, or doesn't have it for this use"},
    {MistakeKind::unset_meter, "unset-meter", "an entry is added without a spec for its meter"},
    {MistakeKind::unknown_handle, "unknown-handle", "the driver refuses a handle that it never gave"},
    {MistakeKind::foreign_handle, "foreign-handle", "the driver refuses a handle of another table or device"},
    {MistakeKind::stale_handle, "stale-handle", "the driver refuses a handle of something that was deleted"},
    {MistakeKind::in_use, "in-use", "a member or group is deleted while something uses it"},
    {MistakeKind::empty_group, "empty-group", "an entry is made to point at a group without members"},
    {MistakeKind::before_init, "before-init", "the driver is called before the library's init"},
    {MistakeKind::after_cleanup, "after-cleanup", "the driver is called after the library's cleanup"},
    {MistakeKind::gone_device, "gone-device", "the driver is called for a device that was removed"},
    {MistakeKind::profile_race, "profile-race", "two threads change one action profile at once"},
    {MistakeKind::unacknowledged, "unacknowledged", "a digest message is never acknowledged"},
    {MistakeKind::leftover, "leftover", "entries, members or groups are left at the end; only with --leftovers"},
};

constexpr size_t mistake_count = std::size(mistake_rows);

constexpr const MistakeRow& row_of(MistakeKind kind) {
    return mistake_rows[static_cast<size_t>(kind)];
}

static_assert([] {
    for (size_t i = 0; i < mistake_count; ++i)
        if (mistake_rows[i].kind != static_cast<MistakeKind>(i)) return false;
    return true;
}());

// The items of a list with commas between them.
inline std::vector<std::string> split_list(std::string_view list) {
    std::vector<std::string> items;
    while (!list.empty()) {
        const size_t comma = std::min(list.find(','), list.size());
        if (comma != 0) items.emplace_back(list.substr(0, comma));
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return items;
}

} // namespace pd_watch
