// Asks the library for handles, counts and entries by the functions that the public header declares.
#include "views/work.h"

#include <algorithm>
#include <array>

namespace pd_views {
namespace {

// Whether the call succeeded. Complains if it was refused.
bool done(const Work& work, const std::string& call, pd_status status) {
    if (status != PD_STATUS_OK) complain(work, call, status);
    return status == PD_STATUS_OK;
}

} // namespace

void complain(const Work& work, const std::string& call, pd_status status) {
    work.complaints.add(work.library.refusal(call, status));
}

std::vector<const Table*> chosen_tables(const Work& work) {
    if (work.query.name) return {&table_named(work.pipeline, *work.query.name)};
    std::vector<const Table*> tables;
    for (const Table& table : work.pipeline.tables)
        tables.push_back(&table);
    return tables;
}

std::optional<uint32_t> count_entries(const Work& work, const Table& table) {
    if (table.key.empty()) return 0;
    using GetCount = decltype(p4_pd_velmar_switch_ipv4Host_get_entry_count); // of the same type for all tables
    const auto get_count = work.library.function<GetCount>(table.name + "_get_entry_count");
    uint32_t count = 0;
    if (!done(work, table.name + ": counting the entries", get_count(work.session, work.target, &count))) return {};
    return count;
}

pd_entry default_entry(const Work& work, const Table& table) {
    const auto get_default =
        work.library.function<decltype(p4_pd_velmar_switch_entry_hdl_default)>("entry_hdl_default");
    pd_entry handle = PD_HDL_END;
    const pd_status status = get_default(work.session, work.target, table.handle, &handle);
    if (work.library.says_not_found(status)) return PD_HDL_END;
    return done(work, table.name + ": asking for the default entry", status) ? handle : PD_HDL_END;
}

namespace {

constexpr size_t page_size = 256;

// Replaces the page by the handles that follow it. A driver may refuse to go on from a handle that was deleted since;
// then the handles before it lead on, and those of the old page are left out.
pd_status turn(const Work& work, const Listing& listing, std::vector<uint32_t>& page) {
    const std::vector<uint32_t> old = page;
    size_t last = old.size();
    pd_status status = PD_STATUS_OK;
    do {
        page.assign(page_size, PD_HDL_END);
        status = listing.next(old[--last], page_size, page.data());
    } while (status != PD_STATUS_OK && work.live && last > 0);
    page.erase(std::ranges::find(page, PD_HDL_END), page.end());
    std::erase_if(page, [&](uint32_t handle) {
        return std::find(old.begin() + static_cast<std::ptrdiff_t>(last), old.end(), handle) != old.end();
    });
    return status;
}

} // namespace

std::optional<size_t> walk(const Work& work, const std::string& what, const Listing& listing,
                           std::optional<uint32_t> after, const std::function<bool(uint32_t handle)>& visit) {
    std::vector<uint32_t> page(1, after.value_or(PD_HDL_END));
    pd_status status = after ? turn(work, listing, page) : listing.first(page.data());
    if (status != PD_STATUS_OK && after)
        throw Problem(Fault::unknown_name,
                      work.library.refusal(what + ": going on behind handle " + std::to_string(*after), status));
    if (status != PD_STATUS_OK) {
        // Somebody may have deleted the last one since it was counted.
        if (!work.live || !work.library.surely_not_found(status))
            complain(work, what + ": asking for the first", status);
        return {};
    }
    size_t visited = 0;
    while (!page.empty() && page.front() != PD_HDL_END) {
        for (const uint32_t handle : page) {
            ++visited;
            work.watcher.step();
            if (!visit(handle)) return {};
        }
        if (!done(work, what + ": asking for the next", turn(work, listing, page))) return visited;
    }
    return visited;
}

bool visit_entries(const Work& work, const Table& table, std::optional<uint32_t> counted, const Visit& visit,
                   std::optional<pd_entry> after) {
    if (counted.value_or(0) == 0) return true; // drivers give different answers for the first entry of an empty table
    const auto get_first = work.library.function<decltype(p4_pd_velmar_switch_entry_hdl_first)>("entry_hdl_first");
    const auto get_next = work.library.function<decltype(p4_pd_velmar_switch_entry_hdl_next)>("entry_hdl_next");
    const Listing entries{[&](uint32_t* handle) { return get_first(work.session, work.target, table.handle, handle); },
                          [&](uint32_t last, uint32_t count, uint32_t* handles) {
                              return get_next(work.session, work.target, table.handle, last, count, handles);
                          }};
    bool goes_on = true;
    const std::optional<size_t> visited =
        walk(work, table.name, entries, after, [&](uint32_t handle) { return goes_on = visit(handle, false); });
    // Counting and listing are two steps, between which others may add and delete.
    if (visited && *visited != *counted && !work.live && !after)
        work.complaints.add(table.name + ": the driver counts " + std::to_string(*counted) + " entries, but lists " +
                            std::to_string(*visited));
    return goes_on;
}

void visit_all_entries(const Work& work, const Table& table, std::optional<uint32_t> counted, const Visit& visit,
                       std::optional<pd_entry> after) {
    if (!visit_entries(work, table, counted, visit, after)) return;
    const pd_entry handle = default_entry(work, table);
    if (handle != PD_HDL_END) visit(handle, true);
}

std::string entry_name(pd_entry handle, bool is_default) {
    return is_default ? "default" : "#" + std::to_string(handle);
}

pd_status read_entry(const Work& work, const Table& table, pd_entry handle, bool from_hw, Entry& entry) {
    uint64_t words[11] = {work.session, work.target.dev_id, handle, from_hw};
    size_t count = 4;
    const auto add = [&](auto*... outputs) { ((words[count++] = reinterpret_cast<uintptr_t>(outputs)), ...); };
    char* const no_name = nullptr;
    entry.is_default = 1; // the library doesn't set it for a keyless table
    if (!table.key.empty()) add(entry.key);
    if (table.has_priority) add(&entry.priority);
    if (table.profile != nullptr)
        add(&entry.has_member, &entry.has_group, &entry.group, &entry.member);
    else
        add(no_name, entry.params, &entry.action);
    if (!table.key.empty()) add(&entry.is_default);
    return table.get_entry(words[0], words[1], words[2], words[3], words[4], words[5], words[6], words[7], words[8],
                           words[9], words[10]);
}

bool exists(const Work& work, const Table& table, pd_entry handle) {
    Entry entry;
    return !work.library.surely_not_found(read_entry(work, table, handle, false, entry));
}

std::string value_string(const Work& work, const Table& table, pd_entry handle, bool from_hw) {
    static const auto entry_value = work.library.function<decltype(p4_pd_velmar_switch_entry_value)>("entry_value");
    char text[most_bytes];
    const int length = entry_value(work.session, work.target.dev_id, table.handle, handle, from_hw, text);
    return {text, static_cast<size_t>(std::max(length, 0))};
}

} // namespace pd_views
