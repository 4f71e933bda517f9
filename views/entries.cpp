// Dumps of entries in all formats.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "views/values.h"
#include "views/work.h"

namespace pd_views {
namespace {

using catalog::Match;
using catalog::Tag;

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

    // `prefix` is the first field of the entry's key that is split between tables, whole.
    void put_json(const Table& table, const Entry& entry, pd_entry handle, bool is_default,
                  std::optional<Number> prefix = {}) {
        out_.append(R"({"table":")").append(table.name).append(R"(","handle":)");
        put_number(handle);
        out_.append(R"(,"default":)").append(is_default ? "true" : "false");
        if (entry.is_default == 0) put_json_fields("key", table.key, entry.key);
        if (prefix) put_prefix(table.key.back(), *prefix, entry.key);
        if (table.has_priority && !is_default) {
            out_ += R"(,"priority":)";
            put_number(static_cast<int32_t>(entry.priority));
        }
        if (table.profile == nullptr) {
            out_ += ",";
            put_json_action(entry.action, entry.params);
        } else if (entry.has_member != 0 || entry.has_group != 0) {
            out_ += entry.has_member != 0 ? R"(,"member":)" : R"(,"group":)";
            put_number(entry.has_member != 0 ? entry.member : entry.group);
        }
        out_ += "}";
    }

    void put_json_action(uint32_t number, const uint8_t* params) {
        const Action& action = pipeline_.actions[number];
        out_.append(R"("action":")").append(action.name).append("\"");
        put_json_fields("params", action.params, params);
    }

private:
    void put_prefix(const Field& field, Number address, const uint8_t* key) {
        out_ += R"(,"prefix":")";
        if (field.shown_as == Tag::v6addr) {
            uint8_t bytes[16];
            for (unsigned i = 16; i > 0; address >>= 8)
                bytes[--i] = static_cast<uint8_t>(address);
            put_v6addr(bytes);
        } else {
            put_address(*print_v4addr_, static_cast<uint32_t>(address));
        }
        out_ += "/";
        put_number(static_cast<int64_t>(number_in(field, &Part::partner, key)));
        out_ += "\"";
    }
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

    void put_shown(const Field& field, PlaceOf place, const uint8_t* record) {
        const auto number = [&](size_t part) {
            return static_cast<uint32_t>(load(record, field.parts[part].*place).low);
        };
        switch (form_of(field, place)) {
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
        const Tag tag = form_of(field, place);
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

// Some route tables split an address: the entry of a first table has its first bits and names a partition of the second
// table, and an entry there has the other bits.
struct Split {
    const char* second;
    const char* first;
    const char* partition; // the parameter of the first table's actions
};

constexpr Split splits[] = {{"ipv4FinalResolve0", "ipv4Partition0", "partIdx"},
                            {"ipv6LgMaskFinalResolve0", "ipv6LgMaskPartition0", "partIdx"},
                            {"ipv6FinalResolve", "ipv6Partition", "partitionIndex"}};

// The first bits of the addresses of each partition of the table. Nothing for a partition that several prefixes lead to.
std::map<uint32_t, std::optional<Number>> partitions_of(const Work& work, const Table& table) {
    std::map<uint32_t, std::optional<Number>> partitions;
    const auto* const split = std::ranges::find(splits, table.name, &Split::second);
    if (split == std::end(splits)) return partitions;
    const Table& first = table_named(work.pipeline, split->first);
    Entry entry;
    visit_entries(work, first, count_entries(work, first), [&](pd_entry handle, bool) {
        if (read_entry(work, first, handle, work.query.from_hw, entry) != PD_STATUS_OK) return true;
        const std::vector<Field>& params = work.pipeline.actions[entry.action].params;
        const auto param = std::ranges::find(params, split->partition, &Field::label);
        if (param == params.end()) return true;
        const auto number = static_cast<uint32_t>(number_in(*param, &Part::value, entry.params));
        const Number address = number_in(first.key.back(), &Part::value, entry.key);
        const auto [place, is_new] = partitions.try_emplace(number, address);
        if (!is_new && place->second != address) place->second.reset();
        return true;
    });
    return partitions;
}

// The entries that a query asks for by the words after the table's name.
struct Filter {
    std::vector<Wanted> fields;
    std::optional<uint32_t> action; // its number in the catalog

    bool lets_pass(const Entry& entry) const {
        if (action && entry.action != *action) return false;
        return fields.empty() || (entry.is_default == 0 && std::ranges::all_of(fields, [&](const Wanted& wanted) {
                                      return wanted.is_in(entry.key);
                                  }));
    }
};

uint32_t action_named(const Work& work, const Table& table, const std::string& name) {
    std::vector<std::string> names;
    for (const Action* action : table.actions) {
        if (action->name == name) return static_cast<uint32_t>(action - work.pipeline.actions.data());
        names.push_back(action->name);
    }
    throw Problem(Fault::bad_value, "table " + table.name + " has no action " + name + near_text(name, names));
}

Filter filter_of(const Work& work) {
    Filter filter;
    if (work.query.words.empty()) return filter;
    const Table& table = table_named(work.pipeline, *work.query.name);
    for (const std::string& word : work.query.words) {
        const size_t end = word.find('=');
        const std::string name = word.substr(0, end);
        const bool is_action = name == "action";
        if (is_action && table.profile != nullptr)
            throw Problem(Fault::bad_value, "the entries of " + table.name + " have no action of their own");
        const Field* const field = is_action ? nullptr : &field_named(table, name);
        if (end == std::string::npos || end + 1 == word.size())
            throw Problem(Fault::bad_value, name + " needs a value");
        if (field == nullptr)
            filter.action = action_named(work, table, word.substr(end + 1));
        else
            filter.fields.push_back(parse_wanted(*field, word.substr(end + 1)));
    }
    return filter;
}

class Dump {
public:
    explicit Dump(const Work& work)
        : work_(work),
          format_(work.query.format),
          filter_(filter_of(work)),
          writer_(work, work.out.text) {}

    void tables(const std::vector<const Table*>& tables) {
        if (format_ == Format::json) array_.emplace(work_.out);
        for (const Table* each : tables)
            table(*each);
        if (array_) array_->end(work_.complaints);
        work_.out.flush();
        if (work_.times != nullptr) *work_.times = {shown_, text_time_};
    }

private:
    void table(const Table& table) {
        const std::optional<uint32_t> counted = count_entries(work_, table);
        const uint32_t count = counted.value_or(0);
        if (format_ == Format::text)
            work_.out.put(table.name + ", " + std::to_string(count) + (count == 1 ? " entry\n" : " entries\n"));
        if (format_ == Format::value) work_.out.put("# " + table.name + "\n");
        partitions_.clear();
        if (format_ == Format::json && counted.value_or(0) != 0) partitions_ = partitions_of(work_, table);
        visit_all_entries(
            work_, table, counted,
            [&](pd_entry handle, bool is_default) {
                if (shown_ == work_.query.limit) return false;
                entry(table, handle, is_default);
                return true;
            },
            work_.query.after);
    }

    void entry(const Table& table, pd_entry handle, bool is_default) {
        const bool from_hw = work_.query.from_hw;
        // A value string doesn't say what a filter asks.
        const bool has_filter = filter_.action || !filter_.fields.empty();
        const bool reads = format_ != Format::value || has_filter;
        bool is_wanted = true;
        const Found found = read_listed(work_, table, handle, [&] {
            if (reads && read_entry(work_, table, handle, from_hw, entry_) != PD_STATUS_OK) return false;
            is_wanted = !has_filter || filter_.lets_pass(entry_);
            if (format_ == Format::value && is_wanted) value_ = value_string(work_, table, handle, from_hw);
            return format_ != Format::value || !is_wanted || !value_.empty();
        });
        if (found == Found::unreadable)
            work_.complaints.add(table.name + ": " +
                                 (is_default ? "the default entry" : "entry #" + std::to_string(handle)) +
                                 " can't be read");
        if (found != Found::read || !is_wanted) return;
        const Stopwatch stopwatch(text_time_);
        put(table, handle, is_default);
        ++shown_;
    }

    void put(const Table& table, pd_entry handle, bool is_default) {
        if (format_ == Format::json) {
            array_->begin();
            return writer_.put_json(table, entry_, handle, is_default, prefix_of(table));
        }
        if (format_ == Format::value)
            work_.out.text += value_;
        else
            writer_.put_text(table, entry_, handle, is_default);
        work_.out.put("\n");
    }

    // The whole address of an entry whose table has only a part of it.
    std::optional<Number> prefix_of(const Table& table) const {
        if (partitions_.empty() || entry_.is_default != 0) return {};
        const auto number = static_cast<uint32_t>(number_in(table.key.front(), &Part::value, entry_.key));
        const auto found = partitions_.find(number);
        if (found == partitions_.end() || !found->second) return {};
        return *found->second | number_in(table.key.back(), &Part::value, entry_.key);
    }

    const Work& work_;
    Format format_;
    Filter filter_;
    EntryWriter writer_;
    std::optional<JsonArray> array_;
    std::map<uint32_t, std::optional<Number>> partitions_; // of the table
    Entry entry_;                                          // the entry that was read last,
    std::string value_;                                    // or its value string in the value format
    size_t shown_ = 0;
    TimeSpent text_time_;
};

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

std::string entry_json(const Work& work, const Table& table, const Entry& entry, pd_entry handle, bool is_default) {
    std::string text;
    EntryWriter(work, text).put_json(table, entry, handle, is_default);
    return text;
}

std::string action_json(const Work& work, uint32_t number, const void* params) {
    std::string text;
    EntryWriter(work, text).put_json_action(number, static_cast<const uint8_t*>(params));
    return text;
}

bool show_entries(const Work& work) {
    const std::vector<const Table*> tables = chosen_tables(work);
    Dump(work).tables(tables);
    return true;
}

} // namespace pd_views
