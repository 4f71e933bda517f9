// Dumps of entries in all formats, and the time that they take.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "pd_show/work.h"

namespace pd_show {
namespace {

using catalog::Match;
using catalog::Tag;

// The value of a part, or its mask or prefix length.
using PlaceOf = Place Part::*;

// Appends entries to `out`. It allocates nothing itself, because dumps spend much of their time here.
class EntryWriter {
public:
    EntryWriter(const Work& work, std::string& out)
        : out_(out),
          pipeline_(work.pipeline),
          print_mac_(work.library.function<decltype(p4_pd_velmar_switch__print_mac_exact)>("_print_mac_exact")),
          print_v4addr_(
              work.library.function<decltype(p4_pd_velmar_switch__print_v4addr_exact)>("_print_v4addr_exact")),
          print_v6addr_(
              work.library.function<decltype(p4_pd_velmar_switch__print_v6addr_exact)>("_print_v6addr_exact")) {}

    void put_text(const Table& table, const Entry& entry, pd_entry handle, bool is_default) {
        if (is_default) {
            out_ += "  default";
        } else {
            out_ += "  #";
            put_number(handle);
            if (entry.is_default == 0) put_key_text(table.key, entry.key);
            if (table.has_priority) {
                out_ += " priority ";
                put_number(static_cast<int32_t>(entry.priority));
            }
        }
        out_ += " -> ";
        if (table.profile == nullptr) {
            put_action(entry.action, entry.params);
        } else if (entry.has_member != 0 || entry.has_group != 0) {
            out_ += entry.has_member != 0 ? "member 0x" : "group 0x";
            put_number(entry.has_member != 0 ? entry.member : entry.group, 16);
        } else {
            out_ += "neither member nor group";
        }
    }

    void put_action(uint32_t number, const uint8_t* params) {
        const Action& action = pipeline_.actions[number];
        out_ += action.name;
        for (const Field& param : action.params) {
            put_label(param);
            put_shown(param, &Part::value, params);
        }
    }

    void put_json(const Table& table, const Entry& entry, pd_entry handle, bool is_default) {
        out_.append(R"({"table":")").append(table.name).append(R"(","handle":)");
        put_number(handle);
        out_.append(R"(,"default":)").append(is_default ? "true" : "false");
        if (entry.is_default == 0) put_json_fields("key", table.key, entry.key);
        if (table.has_priority && !is_default) {
            out_ += R"(,"priority":)";
            put_number(static_cast<int32_t>(entry.priority));
        }
        if (table.profile == nullptr) {
            const Action& action = pipeline_.actions[entry.action];
            out_.append(R"(,"action":")").append(action.name).append("\"");
            put_json_fields("params", action.params, entry.params);
        } else if (entry.has_member != 0 || entry.has_group != 0) {
            out_ += entry.has_member != 0 ? R"(,"member":)" : R"(,"group":)";
            put_number(entry.has_member != 0 ? entry.member : entry.group);
        }
        out_ += "}";
    }

private:
    void put_number(int64_t number, int base = 10) {
        char digits[20];
        out_.append(digits, std::to_chars(digits, digits + sizeof digits, number, base).ptr);
    }

    void put_label(const Field& field) {
        out_.append(" ").append(field.label).append("=");
    }

    // Whether the masks of the field's parts have all bits that count, or none at all.
    static bool mask_is(const Field& field, bool whole, const uint8_t* record) {
        return std::ranges::all_of(field.parts, [&](const Part& part) {
            return load(record, part.partner) == (whole ? part.partner.covered : Bits{});
        });
    }

    // Leaves out fields that match anything, and masks of a whole field.
    void put_key_text(const std::vector<Field>& key, const uint8_t* record) {
        const size_t begin = out_.size();
        for (const Field& field : key) {
            const bool masked = field.match == Match::ternary;
            if (masked && mask_is(field, false, record)) continue;
            put_label(field);
            put_shown(field, &Part::value, record);
            if (field.match == Match::exact || (masked && mask_is(field, true, record))) continue;
            out_ += "/";
            put_shown(field, &Part::partner, record);
        }
        if (out_.size() == begin) out_ += " anything";
    }

    // A mask is shown in the form of its value, or in hexadecimal if the value is decimal. A prefix length is decimal.
    static Tag tag_of(const Field& field, PlaceOf place) {
        if (place == &Part::value) return field.shown_as;
        if (field.match == Match::lpm) return Tag::dec;
        return field.shown_as == Tag::dec ? Tag::untagged : field.shown_as;
    }

    void put_shown(const Field& field, PlaceOf place, const uint8_t* record) {
        const auto number = [&](size_t part) {
            return static_cast<uint32_t>(load(record, field.parts[part].*place).low);
        };
        switch (tag_of(field, place)) {
        case Tag::mac:
            return put_address(*print_mac_, number(0), number(1));
        case Tag::v4addr:
            return put_address(*print_v4addr_, number(0));
        case Tag::v6addr:
            return put_v6addr(record + (field.parts[0].*place).offset);
        case Tag::dec:
            return put_number(number(0));
        case Tag::untagged:
        case Tag::port:
        case Tag::vport:
            out_ += "0x";
            return put_number(number(0), 16);
        }
    }

    // Cuts off the blanks that the library prints before and after an address.
    template <class Print, class... Numbers>
    void put_address(Print& print, Numbers... numbers) {
        char text[64];
        const int length = print(text, "", numbers...);
        out_.append(text + 1, static_cast<size_t>(length) - 2);
    }

    // The library prints the end of some addresses as an IPv4 address. Here all groups are hexadecimal.
    void put_v6addr(const uint8_t* address) {
        char text[64];
        print_v6addr_(text, "", address);
        std::string_view shown = text + 1;
        const bool has_v4addr = shown.find('.') != std::string_view::npos;
        if (has_v4addr) shown = shown.substr(0, shown.rfind(':') + 1);
        out_ += shown;
        if (!has_v4addr) return;
        put_number(address[12] << 8 | address[13], 16);
        out_ += ":";
        put_number(address[14] << 8 | address[15], 16);
    }

    void put_json_fields(const char* name, const std::vector<Field>& fields, const uint8_t* record) {
        out_.append(",\"").append(name).append("\":{");
        for (const Field& field : fields) {
            if (out_.back() != '{') out_ += ",";
            out_.append("\"").append(field.label).append("\":");
            if (field.match == Match::exact) {
                put_json_value(field, &Part::value, record);
                continue;
            }
            out_ += R"({"value":)";
            put_json_value(field, &Part::value, record);
            out_ += field.match == Match::lpm ? R"(,"length":)" : R"(,"mask":)";
            put_json_value(field, &Part::partner, record);
            out_ += "}";
        }
        out_ += "}";
    }

    // An address is a string, and everything else is a number.
    void put_json_value(const Field& field, PlaceOf place, const uint8_t* record) {
        const Tag tag = tag_of(field, place);
        if (tag != Tag::mac && tag != Tag::v4addr && tag != Tag::v6addr)
            return put_number(static_cast<int64_t>(load(record, field.parts[0].*place).low));
        out_ += "\"";
        put_shown(field, place, record);
        out_ += "\"";
    }

    std::string& out_;
    const Pipeline& pipeline_;
    decltype(&p4_pd_velmar_switch__print_mac_exact) print_mac_;
    decltype(&p4_pd_velmar_switch__print_v4addr_exact) print_v4addr_;
    decltype(&p4_pd_velmar_switch__print_v6addr_exact) print_v6addr_;
};

class Dump {
public:
    explicit Dump(const Work& work)
        : work_(work),
          format_(work.arguments.format.value_or(Format::text)),
          writer_(work, work.out.text) {}

    void tables(const std::vector<const Table*>& tables) {
        if (format_ == Format::json) work_.out.put("[");
        for (const Table* each : tables)
            table(*each);
        if (format_ == Format::json) work_.out.put("\n]\n");
        work_.out.flush();
    }

    size_t shown = 0;
    TimeSpent text_time;

private:
    void table(const Table& table) {
        const std::optional<uint32_t> counted = count_entries(work_, table);
        const uint32_t count = counted.value_or(0);
        if (format_ == Format::text)
            work_.out.put(table.name + ", " + std::to_string(count) + (count == 1 ? " entry\n" : " entries\n"));
        if (format_ == Format::value) work_.out.put("# " + table.name + "\n");
        visit_all_entries(work_, table, counted,
                          [&](pd_entry handle, bool is_default) { entry(table, handle, is_default); });
    }

    void entry(const Table& table, pd_entry handle, bool is_default) {
        const bool from_hw = work_.arguments.from_hw;
        const bool read = format_ == Format::value ? !(value_ = value_string(work_, table, handle, from_hw)).empty()
                                                   : read_entry(work_, table, handle, from_hw, entry_);
        if (!read)
            return work_.complaints.add(table.name + ": " +
                                        (is_default ? "the default entry" : "entry #" + std::to_string(handle)) +
                                        " can't be read");
        const Stopwatch stopwatch(text_time);
        put(table, handle, is_default);
        ++shown;
    }

    void put(const Table& table, pd_entry handle, bool is_default) {
        if (format_ == Format::json) {
            work_.out.put(shown == 0 ? "\n" : ",\n");
            return writer_.put_json(table, entry_, handle, is_default);
        }
        if (format_ == Format::value)
            work_.out.text += value_;
        else
            writer_.put_text(table, entry_, handle, is_default);
        work_.out.put("\n");
    }

    const Work& work_;
    Format format_;
    EntryWriter writer_;
    Entry entry_;       // the entry that was read last,
    std::string value_; // or its value string in the value format
};

// The ticks that an empty measurement takes. The least of many is the right one, because the others were interrupted.
uint64_t clock_cost() {
    uint64_t least = UINT64_MAX;
    for (unsigned i = 0; i < 10000; ++i) {
        TimeSpent spent;
        { const Stopwatch stopwatch(spent); }
        least = std::min(least, spent.ticks);
    }
    return least;
}

// A measurement also costs as many ticks outside of its result as in it. This is an estimate: a time below its error is
// shown as 0.
void tell_times(size_t shown, double seconds, TimeSpent all, TimeSpent driver, TimeSpent text, uint64_t output) {
    const auto cost = static_cast<double>(clock_cost());
    const auto without_clock = [&](TimeSpent spent, double times) {
        return std::max(0.0, static_cast<double>(spent.ticks) - times * cost * static_cast<double>(spent.calls));
    };
    const double in_driver = without_clock(driver, 1);
    const auto in_output = static_cast<double>(output);
    const double in_text =
        std::max(0.0, without_clock(text, 1) - in_output); // writing a full buffer is part of the text's time
    const double in_library =
        std::max(0.0, without_clock({driver.calls + text.calls, all.ticks}, 2) - in_driver - in_text - in_output);
    const double in_all = std::max(1.0, in_driver + in_library + in_text + in_output);
    const double seconds_per_tick = seconds / static_cast<double>(all.ticks);
    std::fprintf(stderr, "pd-show: %zu entries in %.3f s, of which\n", shown, in_all * seconds_per_tick);
    const auto line = [&](double spent, const char* what) {
        std::fprintf(stderr, "  %8.3f s %5.1f %%  %s\n", spent * seconds_per_tick, 100 * spent / in_all, what);
    };
    line(in_driver, "the driver's reads");
    line(in_library, "the library: decoding and value strings");
    line(in_text, "text");
    line(in_output, "output");
}

} // namespace

std::string entry_text(const Work& work, const Table& table, const Entry& entry, pd_entry handle, bool is_default) {
    std::string text;
    EntryWriter(work, text).put_text(table, entry, handle, is_default);
    return text.substr(2); // without the indent
}

std::string action_text(const Work& work, uint32_t number, const void* params) {
    std::string text;
    EntryWriter(work, text).put_action(number, static_cast<const uint8_t*>(params));
    return text;
}

bool show_entries(const Work& work) {
    const std::vector<const Table*> tables = chosen_tables(work);
    Dump dump(work);
    TimeSpent all;
    const auto start = std::chrono::steady_clock::now();
    {
        const Stopwatch stopwatch(all);
        dump.tables(tables);
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    if (work.arguments.time)
        tell_times(dump.shown, seconds.count(), all, work.library.driver_time(), dump.text_time, work.out.ticks);
    return true;
}

} // namespace pd_show
