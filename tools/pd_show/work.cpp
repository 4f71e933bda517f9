// Asks the library for handles, counts and entries by the functions that the public header declares.
#include "pd_show/work.h"

#include <algorithm>
#include <array>

namespace pd_show {
namespace {

// Whether the call succeeded. Complains if it was refused.
bool done(const Work& work, const Table& table, const char* call, pd_status status) {
    if (status != PD_STATUS_OK) complain(work, table.name + ": " + call, status);
    return status == PD_STATUS_OK;
}

} // namespace

void complain(const Work& work, const std::string& call, pd_status status) {
    work.complaints.add(work.library.refusal(call, status));
}

std::vector<const Table*> chosen_tables(const Work& work) {
    if (work.arguments.name) return {&table_named(work.pipeline, *work.arguments.name)};
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
    if (!done(work, table, "counting the entries", get_count(work.session, work.target, &count))) return {};
    return count;
}

pd_entry default_entry(const Work& work, const Table& table) {
    const auto get_default =
        work.library.function<decltype(p4_pd_velmar_switch_entry_hdl_default)>("entry_hdl_default");
    pd_entry handle = PD_HDL_END;
    const pd_status status = get_default(work.session, work.target, table.handle, &handle);
    if (work.library.says_not_found(status)) return PD_HDL_END;
    return done(work, table, "asking for the default entry", status) ? handle : PD_HDL_END;
}

void visit_entries(const Work& work, const Table& table, std::optional<uint32_t> counted, const Visit& visit) {
    if (counted.value_or(0) == 0) return; // drivers give different answers for the first entry of an empty table
    const auto get_first = work.library.function<decltype(p4_pd_velmar_switch_entry_hdl_first)>("entry_hdl_first");
    const auto get_next = work.library.function<decltype(p4_pd_velmar_switch_entry_hdl_next)>("entry_hdl_next");
    std::array<pd_entry, 256> handles{};
    pd_status status = get_first(work.session, work.target, table.handle, handles.data());
    bool more = done(work, table, "asking for the first entry", status) && handles[0] != PD_HDL_END;
    size_t listed = 1;
    size_t visited = 0;
    while (more) {
        for (size_t i = 0; i < listed; ++i)
            visit(handles[i], false);
        visited += listed;
        status = get_next(work.session, work.target, table.handle, handles[listed - 1],
                          static_cast<uint32_t>(handles.size()), handles.data());
        listed = static_cast<size_t>(std::ranges::find(handles, PD_HDL_END) - handles.begin());
        more = done(work, table, "asking for the next entries", status) && listed != 0;
    }
    if (visited != *counted)
        work.complaints.add(table.name + ": the driver counts " + std::to_string(*counted) + " entries, but lists " +
                            std::to_string(visited));
}

void visit_all_entries(const Work& work, const Table& table, std::optional<uint32_t> counted, const Visit& visit) {
    visit_entries(work, table, counted, visit);
    const pd_entry handle = default_entry(work, table);
    if (handle != PD_HDL_END) visit(handle, true);
}

std::string entry_name(pd_entry handle, bool is_default) {
    return is_default ? "default" : "#" + std::to_string(handle);
}

bool read_entry(const Work& work, const Table& table, pd_entry handle, bool from_hw, Entry& entry) {
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
                           words[9], words[10]) == PD_STATUS_OK;
}

std::string value_string(const Work& work, const Table& table, pd_entry handle, bool from_hw) {
    static const auto entry_value = work.library.function<decltype(p4_pd_velmar_switch_entry_value)>("entry_value");
    char text[most_bytes];
    const int length = entry_value(work.session, work.target.dev_id, table.handle, handle, from_hw, text);
    return {text, static_cast<size_t>(std::max(length, 0))};
}

} // namespace pd_show
