// See handles.h.
#include "watch/handles.h"

#include <algorithm>
#include <cstring>

namespace pd_watch {
namespace {

uint16_t pipe_of(const View& view) {
    const size_t position = position_of(*view.call.function, Kind::target);
    return position == view.call.function->count ? PIPE_ALL_PIPES : target_in(view.call.words[position]).pipe_id;
}

// A driver may keep entries for each pipe.
uint64_t hash_of(const pipe_match_record& match, uint16_t pipe) {
    uint64_t hash =
        ((uint64_t{match.partition_index} << 32 | match.priority) ^ uint64_t{pipe} << 20) * 0x9E3779B97F4A7C15;
    const auto mix = [&](const uint8_t* bytes) {
        for (size_t i = 0; i < match.key_len; i += sizeof(uint64_t)) {
            uint64_t word = 0;
            std::memcpy(&word, bytes + i, std::min<size_t>(sizeof word, match.key_len - i));
            hash = (hash ^ word) * 0x9E3779B97F4A7C15;
            hash ^= hash >> 29;
        }
    };
    mix(match.key_bytes);
    mix(match.mask_bytes);
    return hash | 1; // 0 is none
}

std::string handle_text(uint32_t handle) {
    return "handle " + std::to_string(handle);
}

} // namespace

void Handles::look(const View& view, uint32_t table, uint32_t handle, const char* what, Findings& findings) {
    Book& book = books_.of(table == 0 ? no_device : view.device, table);
    if (book.find(handle) != nullptr) return;
    if (view.call.status == 0) {
        book.put(handle);
        if (view.plan.deed == Deed::read_entry)
            note_entry(view, handle, view.record<pipe_match_record>(view.plan.out_match), false, findings);
        return;
    }
    const Book::State state = book.state_of(handle);
    if (state == Book::State::doubted) return;
    const std::string text = std::string("the ") + what;
    if (state == Book::State::ended) {
        findings.push_back(
            {MistakeKind::stale_handle, view.table, nullptr, "", text + " was deleted before", handle_text(handle)});
        return;
    }
    std::string home;
    books_.for_each([&](uint32_t device, uint32_t other, Book& each) {
        if (!home.empty() || table == 0 || other == 0 || each.find(handle) == nullptr) return;
        const Table* const owner = pipeline_.table(other);
        if (other == table)
            home = "device " + std::to_string(device);
        else if (device == view.device && owner != nullptr)
            home = owner->name;
    });
    if (home.empty())
        findings.push_back({MistakeKind::unknown_handle, view.table, nullptr, "",
                            "the driver never gave the " + std::string(what), handle_text(handle)});
    else
        findings.push_back(
            {MistakeKind::foreign_handle, view.table, nullptr, "", text + " belongs to " + home, handle_text(handle)});
}

void Handles::check(const View& view, Findings& findings) {
    const Plan& plan = view.plan;
    if (view.has(plan.snapshot)) look(view, 0, view.number(plan.snapshot), "snapshot", findings);
    if (view.table == nullptr || !view.has_device) return;
    const Table& table = *view.table;
    if (view.has(plan.handle)) look(view, table.handle, view.number(plan.handle), "entry", findings);
    if (view.has(plan.member)) look(view, table.data_table, view.number(plan.member), "member", findings);
    if (view.has(plan.group)) look(view, table.selector, view.number(plan.group), "group", findings);
    const Reference reference = view.reference();
    if (reference.member != 0) look(view, table.data_table, reference.member, "member", findings);
    if (reference.group != 0) look(view, table.selector, reference.group, "group", findings);
}

void Handles::count_uses(const View& view, const Reference& reference, int change) {
    const auto count = [&](uint32_t table, uint32_t handle) {
        if (handle == 0) return;
        Book::Row* const row = books_.of(view.device, table).find(handle);
        if (row != nullptr && (change > 0 || row->uses != 0)) row->uses += static_cast<uint32_t>(change);
    };
    count(view.table->data_table, reference.member);
    count(view.table->selector, reference.group);
}

void Handles::note_entry(const View& view, uint32_t handle, const pipe_match_record* match, bool is_new,
                         Findings& findings) {
    Book& book = books_.of(view.device, view.table->handle);
    if (is_new)
        book.put(handle).was_added = true;
    else if (book.find(handle) == nullptr)
        book.put(handle);
    if (match == nullptr || !has_key(*view.table, *match)) return;
    if (book.find(handle)->key_hash != 0) return;
    book.put_key(handle, hash_of(*match, pipe_of(view)));
    if (!view.table->has_priority()) return;
    MaskedKey key{.mask = {}, .key = {}, .priority = match->priority};
    values_.matched_bits(*view.table, *match, key.mask, key.key);
    const uint16_t pipe = pipe_of(view);
    key.mask.append(sizeof pipe, '\xFF');
    key.key.append(reinterpret_cast<const char*>(&pipe), sizeof pipe);
    if (const uint32_t other = is_new ? book.hides(key) : 0; other != 0)
        findings.push_back({MistakeKind::hidden_entry, view.table, nullptr, "",
                            "an earlier entry of better priority takes all packets of this one",
                            handle_text(other) + " hides " + handle_text(handle)});
    book.put_masked(handle, std::move(key));
}

// The entry points at what the call says from now on.
void Handles::note_action(const View& view, uint32_t entry, Findings& findings) {
    if (view.table->data_table == 0) return;
    const Reference reference = view.reference();
    Book::Row* const row = books_.of(view.device, view.table->handle).find(entry);
    if (row != nullptr) {
        count_uses(view, row->points_at, -1);
        row->points_at = reference;
        count_uses(view, reference, 1);
    }
    if (reference.group == 0) return;
    Book& groups = books_.of(view.device, view.table->selector);
    const Book::Row* const group = groups.find(reference.group);
    if (group != nullptr && group->knows_members && groups.groups()[reference.group].empty())
        findings.push_back({MistakeKind::empty_group, view.table, nullptr, "",
                            "the entry points at a group without members", "group " + std::to_string(reference.group)});
}

void Handles::note(const View& view, Findings& findings) {
    const Plan& plan = view.plan;
    if (plan.deed == Deed::add_snapshot || plan.deed == Deed::delete_snapshot) {
        Book& snapshots = books_.of(no_device, 0);
        if (const uint32_t made = view.made(Kind::out_snapshot); made != 0) snapshots.put(made);
        if (view.has(plan.snapshot) && view.call.status == 0) snapshots.end(view.number(plan.snapshot));
        return;
    }
    if (view.table == nullptr || !view.has_device || plan.deed == Deed::other || plan.deed == Deed::read_entry) return;
    const Table& table = *view.table;
    const bool is_indirect = table.data_table != 0;
    Book& members = is_indirect ? books_.of(view.device, table.data_table) : no_book_;
    Book& groups = is_indirect ? books_.of(view.device, table.selector) : no_book_;
    const uint32_t member = view.number(plan.member);
    const uint32_t group = view.number(plan.group);
    if (view.call.status != 0) {
        const bool is_member = plan.deed == Deed::delete_member;
        if (!is_member && plan.deed != Deed::delete_group) return;
        const Book::Row* const row = is_member ? members.find(member) : groups.find(group);
        if (row == nullptr || row->uses == 0) return;
        findings.push_back({MistakeKind::in_use, view.table, nullptr, "",
                            is_member ? "an entry or a group uses the member" : "an entry uses the group",
                            handle_text(is_member ? member : group)});
        return;
    }
    Book& book = books_.of(view.device, table.handle);
    const auto end = [&](uint32_t handle) {
        if (const Book::Row* const row = book.find(handle)) count_uses(view, row->points_at, -1);
        book.end(handle);
    };
    const auto handle_by_key = [&] {
        const pipe_match_record* const match = view.match();
        return match != nullptr && has_key(table, *match) ? book.handle_of(hash_of(*match, pipe_of(view))) : 0;
    };
    switch (plan.deed) {
    case Deed::add_entry: {
        const uint32_t handle = view.made(Kind::out_handle);
        if (handle == 0) return;
        note_entry(view, handle, view.match(), true, findings);
        return note_action(view, handle, findings);
    }
    case Deed::find_entry:
        if (const uint32_t handle = view.made(Kind::out_handle); handle != 0)
            note_entry(view, handle, view.match(), false, findings);
        return;
    case Deed::change_entry:
        return note_action(view, view.number(plan.handle), findings);
    case Deed::change_entry_by_key:
        return note_action(view, handle_by_key(), findings);
    case Deed::delete_entry:
        return end(view.number(plan.handle));
    case Deed::delete_entry_by_key:
        if (const uint32_t handle = handle_by_key(); handle != 0) end(handle);
        return;
    case Deed::set_default: {
        const uint32_t handle = view.made(Kind::out_handle);
        if (handle == 0) return;
        if (book.find(handle) == nullptr) book.put(handle);
        book.default_handle = handle;
        return note_action(view, handle, findings);
    }
    case Deed::reset_default:
        return note_action(view, book.default_handle, findings);
    case Deed::add_member:
        if (const uint32_t made = view.made(Kind::out_member); made != 0) members.put(made).was_added = true;
        return;
    case Deed::delete_member:
        return members.end(member);
    case Deed::add_group: {
        const uint32_t made = view.made(Kind::out_group);
        if (made == 0) return;
        Book::Row& row = groups.put(made);
        row.was_added = row.knows_members = true;
        groups.groups()[made] = {};
        return;
    }
    case Deed::delete_group:
        for (const uint32_t each : groups.groups()[group])
            count_uses(view, {.member = each}, -1);
        return groups.end(group);
    case Deed::join_group:
        if (groups.groups()[group].insert(member).second) count_uses(view, {.member = member}, 1);
        return;
    case Deed::leave_group:
        if (groups.groups()[group].erase(member) != 0) count_uses(view, {.member = member}, -1);
        return;
    case Deed::set_fallback:
    case Deed::reset_fallback:
        count_uses(view, {.member = groups.fallback}, -1);
        groups.fallback = plan.deed == Deed::set_fallback ? member : 0;
        return count_uses(view, {.member = groups.fallback}, 1);
    default:
        return;
    }
}

void Handles::doubt(uint32_t device) {
    books_.for_each([&](uint32_t of_device, uint32_t, Book& book) {
        if (of_device == device) book.doubt_all();
    });
}

std::vector<Finding> Handles::leftovers() {
    std::vector<Finding> leftovers;
    books_.for_each([&](uint32_t device, uint32_t handle, const Book& book) {
        const Table* const table = pipeline_.table(handle);
        const auto standing = std::ranges::count_if(book.rows(), &Book::Row::was_added);
        if (table == nullptr || standing == 0) return;
        const char* const thing = table->thing == Thing::data_table ? " member"
                                  : table->thing == Thing::selector ? " group"
                                                                    : " entry";
        const char* const things = table->thing == Thing::data_table ? " members"
                                   : table->thing == Thing::selector ? " groups"
                                                                     : " entries";
        leftovers.push_back(
            {MistakeKind::leftover, table, nullptr, "", "left at the end",
             std::to_string(standing) + (standing == 1 ? thing : things) + " of device " + std::to_string(device)});
    });
    std::ranges::sort(leftovers, {},
                      [](const Finding& each) { return std::pair(std::string_view(each.table->name), each.value); });
    return leftovers;
}

} // namespace pd_watch
