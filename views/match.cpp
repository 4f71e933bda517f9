// Looks at all entries of a table for those that a packet matches, and compares the best one with the driver's choice.
// Entries are matched as the driver has them, because a record doesn't show damage to the mask of an exact field.
#include "views/match.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

#include "views/values.h"
#include "vl_driver/tables.h"
#include "vl_model/traffic.h"

namespace pd_views {
namespace {

using catalog::Match;
using catalog::Tag;

// Moves the lowest bytes of a number into a key.
void store(Number& number, const Part& part, std::vector<uint8_t>& key) {
    for (unsigned i = (part.bits + 7) / 8; i > 0; number >>= 8)
        key[part.key_position + --i] = static_cast<uint8_t>(number);
}

// The bits of a key that count.
std::vector<uint8_t> key_mask(const Table& table) {
    std::vector<uint8_t> mask(table.key_bytes);
    for (const Field& field : table.key)
        for (const Part& part : field.parts) {
            Number covered = Number{part.value.covered.high} << 64 | part.value.covered.low;
            store(covered, part, mask);
        }
    return mask;
}

} // namespace

void Packet::set(const Field& field, const std::string& text, Tag form) {
    Number value = parse_number(field, form, bits_of(field), text);
    if (table.partitioned && &field == table.key.data()) {
        partition_index = static_cast<uint32_t>(value);
        return;
    }
    for (size_t i = field.parts.size(); i > 0;) // the halves of a MAC address have whole bytes
        store(value, field.parts[--i], key);
}

std::vector<Candidate> matching_entries(const Work& work, const Packet& packet) {
    const Table& table = packet.table;
    const auto read = work.library.driver_function<decltype(pipe_mgr_get_entry)>("pipe_mgr_get_entry");
    if (read == nullptr) throw Problem(Fault::failed, "the driver has no function that reads an entry");
    const pipe_dev_tgt target = {work.target.dev_id, work.target.pipe_id, 0};
    const std::vector<uint8_t> counted = key_mask(table);
    std::vector<uint8_t> key(counted.size());
    std::vector<uint8_t> mask(counted.size());
    uint8_t data[most_bytes];
    std::vector<Candidate> found;
    const auto look = [&](pd_entry handle) {
        pipe_match_record match{};
        match.key_bytes = key.data();
        match.mask_bytes = mask.data();
        match.key_len = static_cast<uint16_t>(key.size());
        pipe_action_record action{};
        action.action.data = data;
        action.action.data_len = sizeof data;
        pipe_act_hdl action_handle = 0;
        const pipe_status status =
            read(work.session, table.handle, target, handle, &match, &action, &action_handle, 1, 1, 0);
        // The hardware may have lost an entry.
        if (status != PD_STATUS_OK && work.library.says_not_found(status)) return;
        if (status != PD_STATUS_OK)
            return complain(work, table.name + ": reading entry #" + std::to_string(handle), status);
        if (match.partition_index != packet.partition_index) return;
        for (size_t i = 0; i < key.size(); ++i)
            if (((key[i] ^ packet.key[i]) & mask[i] & counted[i]) != 0) return;
        found.push_back({handle, match.priority});
    };
    visit_entries(work, table, count_entries(work, table), [&](pd_entry handle, bool) {
        look(handle);
        return true;
    });
    std::ranges::stable_sort(found, {}, &Candidate::priority);

    const auto lookup = work.library.driver_function<decltype(vl_model_lookup)>("vl_model_lookup");
    const bool is_tie = found.size() > 1 && found[0].priority == found[1].priority;
    // The embedded driver's first look-up in a table makes an index, for which a running agent would have to wait. And in
    // a table that changes meanwhile, a difference says nothing.
    if (lookup == nullptr || (work.live && !is_tie)) return found;
    pipe_ent_hdl taken = PD_HDL_END;
    const pd_status status = lookup(work.target.dev_id, table.handle, packet.key.data(),
                                    static_cast<uint32_t>(packet.key.size()), packet.partition_index, &taken);
    if (status != PD_STATUS_OK && !work.library.says_not_found(status)) {
        complain(work, table.name + ": asking for the entry that a packet takes", status);
        return found;
    }
    // Among equals the driver knows which one was added first.
    const auto chosen = std::ranges::find(found, taken, &Candidate::handle);
    if (chosen != found.end() && chosen->priority == found.front().priority)
        std::rotate(found.begin(), chosen, chosen + 1);
    else if (!work.live && (status == PD_STATUS_OK || !found.empty()))
        work.complaints.add(
            table.name + ": by the driver a packet takes " +
            (status == PD_STATUS_OK ? entry_name(taken, false) : "no entry") + ", but of the entries in the hardware " +
            (found.empty() ? "none matches" : entry_name(found.front().handle, false) + " is the best"));
    return found;
}

bool read_hardware(const Work& work, const Table& table, pd_entry handle, bool is_default, Entry& entry) {
    const bool read = read_entry(work, table, handle, true, entry) == PD_STATUS_OK;
    if (!read)
        work.complaints.add(table.name + ": " +
                            (is_default ? "the default entry" : "entry " + entry_name(handle, false)) +
                            " can't be read");
    return read;
}

namespace {

constexpr size_t most_losers = 5;

std::string entry_line(const Work& work, const Table& table, pd_entry handle, bool is_default) {
    Entry entry;
    return read_hardware(work, table, handle, is_default, entry)
               ? entry_text(work, table, entry, handle, is_default)
               : entry_name(handle, is_default) + ", which can't be read";
}

// Why the first of several matching entries wins.
std::string reason(const Work& work, const Table& table, const std::vector<Candidate>& found) {
    const Candidate& winner = found.front();
    const auto equals = static_cast<size_t>(std::ranges::count(found, winner.priority, &Candidate::priority));
    const std::string all = std::to_string(found.size());
    const bool is_prefix = table.key.back().match == Match::lpm;
    const bool driver_decides = work.library.driver_function<decltype(vl_model_lookup)>("vl_model_lookup") != nullptr;
    const std::string first = std::string(" this one was ") + (driver_decides ? "added first" : "listed first");
    if (!is_prefix && !table.has_priority) return all + " entries match, and" + first;
    std::string text = "it has the lowest priority number, " + std::to_string(static_cast<int32_t>(winner.priority));
    Entry entry;
    if (is_prefix)
        text = read_entry(work, table, winner.handle, true, entry) == PD_STATUS_OK
                   ? "it has the longest prefix, /" +
                         std::to_string(load(entry.key, table.key.back().parts[0].partner).low)
                   : "it has the longest prefix";
    text = "of " + all + " entries that match, " + text;
    return equals == 1 ? text : text + "; " + std::to_string(equals) + " have that, and" + first;
}

Packet packet_of(const Table& table, const std::vector<std::string>& words) {
    Packet packet(table);
    std::vector<const Field*> set;
    for (const std::string& word : words) {
        const size_t end = word.find('=');
        const Field& field = field_named(table, word.substr(0, end));
        if (end == std::string::npos || end + 1 == word.size())
            throw Problem(Fault::bad_value, field.label + " needs a value");
        if (std::ranges::find(set, &field) != set.end())
            throw Problem(Fault::bad_value, field.label + " is given twice");
        set.push_back(&field);
        packet.set(field, word.substr(end + 1), field.shown_as);
    }
    return packet;
}

std::string why(const Work& work, const Table& table, const std::vector<Candidate>& found) {
    return found.empty()       ? "no entry matches"
           : found.size() == 1 ? "no other entry matches"
                               : reason(work, table, found);
}

void show_match_in_text(const Work& work, const Table& table, const std::vector<Candidate>& found) {
    std::string text = table.name + ", a packet with ";
    for (const std::string& word : work.query.words)
        text += word + " ";
    text += work.query.words.empty() ? "all fields 0\n" : "and other fields 0\n";
    text += "  takes      ";
    const pd_entry handle = found.empty() ? default_entry(work, table) : found.front().handle;
    text +=
        handle != PD_HDL_END ? entry_line(work, table, handle, found.empty()) : "nothing: there is no default entry";
    text += "\n  because    " + why(work, table, found) + "\n";
    for (size_t i = 1; i < found.size() && i <= most_losers; ++i)
        text += (i == 1 ? "  next best  " : "             ") + entry_line(work, table, found[i].handle, false) + "\n";
    if (found.size() > most_losers + 1)
        text += "             and " + std::to_string(found.size() - most_losers - 1) + " more\n";
    work.out.put(text);
}

std::string hardware_json(const Work& work, const Table& table, pd_entry handle, bool is_default) {
    Entry entry;
    return handle != PD_HDL_END && read_hardware(work, table, handle, is_default, entry)
               ? entry_json(work, table, entry, handle, is_default)
               : "null";
}

void show_match_in_json(const Work& work, const Table& table, const std::vector<Candidate>& found) {
    std::string& out = work.out.text;
    out += R"({"table":")" + table.name + R"(","packet":{)";
    for (const std::string& word : work.query.words) {
        const size_t end = word.find('=');
        if (out.back() != '{') out += ",";
        put_json_string(out, std::string_view(word).substr(0, end));
        out += ":";
        put_json_string(out, std::string_view(word).substr(end + 1));
    }
    const pd_entry handle = found.empty() ? default_entry(work, table) : found.front().handle;
    out += "},\"takes\":" + hardware_json(work, table, handle, found.empty()) + ",\"because\":";
    put_json_string(out, why(work, table, found));
    out += ",\"next_best\":[";
    for (size_t i = 1; i < found.size() && i <= most_losers; ++i)
        out += (i == 1 ? "" : ",") + hardware_json(work, table, found[i].handle, false);
    out += "],\"more\":" + std::to_string(found.size() > most_losers + 1 ? found.size() - most_losers - 1 : 0);
    end_json_object(work.out, work.complaints);
}

} // namespace

bool show_match(const Work& work) {
    const Table& table = table_named(work.pipeline, *work.query.name);
    if (table.key.empty())
        throw Problem(Fault::bad_value, "table " + table.name + " has no key: every packet takes its default entry");
    const std::vector<Candidate> found = matching_entries(work, packet_of(table, work.query.words));
    if (work.query.format == Format::json)
        show_match_in_json(work, table, found);
    else
        show_match_in_text(work, table, found);
    return true;
}

} // namespace pd_views
