// See line.h.
#include "watch/line.h"

#include <algorithm>
#include <charconv>

#include <arpa/inet.h>

namespace pd_watch {
namespace {

using catalog::Match;
using catalog::Tag;

struct Wide {
    uint64_t high = 0;
    uint64_t low = 0;
};

Wide load(const Part& part, const uint8_t* bytes) {
    Wide value;
    for (unsigned i = 0; i < part.bytes; ++i)
        value = {value.high << 8 | value.low >> 56, value.low << 8 | bytes[part.position + i]};
    return value;
}

void put_signed(Text& out, int64_t number) {
    if (number < 0) out += '-';
    out.number(number < 0 ? -static_cast<uint64_t>(number) : static_cast<uint64_t>(number));
}

void put_hex_number(Text& out, uint64_t number, unsigned digits) {
    static constexpr char hex[] = "0123456789abcdef";
    for (unsigned i = digits; i > 0; --i)
        out += hex[number >> 4 * (i - 1) & 0xF];
}

void put_v4addr(Text& out, uint64_t address) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.number(address >> shift & 0xFF);
        if (shift != 0) out += '.';
    }
}

// All groups are hexadecimal, as pd-show writes them.
void put_v6addr(Text& out, const uint8_t* bytes) {
    char text[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, bytes, text, sizeof text);
    std::string_view shown = text;
    const bool has_v4addr = shown.find('.') != std::string_view::npos;
    if (has_v4addr) shown = shown.substr(0, shown.rfind(':') + 1);
    out += shown;
    if (!has_v4addr) return;
    for (const int i : {12, 14}) {
        char digits[4];
        char* const end = std::to_chars(digits, digits + sizeof digits, bytes[i] << 8 | bytes[i + 1], 16).ptr;
        out += std::string_view(digits, static_cast<size_t>(end - digits));
        if (i == 12) out += ':';
    }
}

bool is_address(const Field& field) {
    return field.tag == Tag::mac || field.tag == Tag::v4addr || field.tag == Tag::v6addr;
}

void put_json_value(Text& out, const Field& field, const uint8_t* bytes) {
    const char* const quote = is_address(field) ? "\"" : "";
    out += quote;
    put_value(out, field, bytes);
    out += quote;
}

const uint8_t no_bytes[256] = {};

// ---- raw arguments and outputs, by the kind of an argument

// The name of a member, with the comma before it unless it is the first.
template <size_t size>
void put_name(Text& out, const char (&name)[size]) {
    if (out.back() != '{') out += ',';
    out += '"';
    out += std::string_view(name, size - 1);
    out += "\":";
}

// The names of each function's arguments, with the comma before them, quotes and colon.
using Names = std::array<std::string, most_arguments>;

const auto all_names = [] {
    std::array<Names, std::size(functions)> made;
    for (size_t i = 0; i < made.size(); ++i)
        for (size_t j = 0; j < functions[i].count; ++j)
            made[i][j] = std::string(",\"") + functions[i].arguments[j].name + "\":";
    return made;
}();

const Names& names_of(const Call& call) {
    return all_names[static_cast<size_t>(call.function - functions)];
}

void put_argument_name(Text& out, const std::string& name) {
    out += std::string_view(name).substr(out.back() == '{' ? 1 : 0);
}

template <size_t size>
void put_member(Text& out, const char (&name)[size], uint64_t number) {
    put_name(out, name);
    out.number(number);
}

// Readers of JSON keep 53 bits of a number, so a longer one is text.
void put_wide(Text& out, uint64_t number) {
    const char* const quote = number >> 53 != 0 ? "\"" : "";
    out += quote;
    out.number(number);
    out += quote;
}

void put_quoted_hex(Text& out, const void* bytes, size_t count) {
    if (bytes == nullptr) {
        out += "null";
        return;
    }
    out += '"';
    out.hex(bytes, count);
    out += '"';
}

void put_match(Text& out, const pipe_match_record& match) {
    out += "{";
    put_name(out, "key");
    put_quoted_hex(out, match.key_bytes, match.key_len);
    put_name(out, "mask");
    put_quoted_hex(out, match.mask_bytes, match.key_len);
    put_member(out, "partition", match.partition_index);
    put_member(out, "priority", match.priority);
    put_member(out, "bits", match.key_bits);
    put_member(out, "bytes", match.key_len);
    out += "}";
}

void put_slot(Text& out, const pipe_resource_slot& slot) {
    out += "{";
    put_member(out, "resource", slot.resource_hdl);
    put_member(out, "index", slot.index);
    put_member(out, "tag", slot.tag);
    if (std::ranges::any_of(slot.spec, [](uint8_t byte) { return byte != 0; })) {
        put_name(out, "spec");
        put_quoted_hex(out, slot.spec, sizeof slot.spec);
    }
    out += "}";
}

template <class Item, class Put>
void put_list(Text& out, const Item* items, size_t count, Put&& put) {
    if (items == nullptr) {
        out += "null";
        return;
    }
    out += "[";
    for (size_t i = 0; i < count; ++i) {
        if (i != 0) out += ',';
        put(items[i]);
    }
    out += "]";
}

void put_action_data(Text& out, const pipe_action_data& data) {
    put_name(out, "data");
    put_quoted_hex(out, data.data, data.data_len);
    put_member(out, "bits", data.data_bits);
    put_member(out, "bytes", data.data_len);
}

void put_data(Text& out, const pipe_action_record& record) {
    out += "{";
    put_member(out, "kind", record.kind);
    put_action_data(out, record.action);
    if (record.member_hdl != 0) put_member(out, "member", record.member_hdl);
    if (record.group_hdl != 0) put_member(out, "group", record.group_hdl);
    if (record.resource_count != 0) {
        put_name(out, "slots");
        put_list(out, record.slots, std::min<size_t>(record.resource_count, PIPE_MAX_SLOTS),
                 [&](const pipe_resource_slot& slot) { put_slot(out, slot); });
    }
    out += "}";
}

void put_text(Text& out, const char* text) {
    out += '"';
    for (const char* at = text; *at != 0; ++at) {
        const auto byte = static_cast<unsigned char>(*at);
        if (byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\') {
            out += *at;
        } else {
            out += "\\u00";
            put_hex_number(out, byte, 2);
        }
    }
    out += '"';
}

// An argument that the driver reads, or the room that the caller gives it.
void put_raw(Text& out, const Call& call, size_t number, const std::string& name) {
    const Argument& argument = call.function->arguments[number];
    const uint64_t word = call.words[number];
    const size_t count = count_of(call, argument);
    if (argument.kind == Kind::number && word == 0) return;
    put_argument_name(out, name);
    const bool is_number = argument.kind < Kind::match;
    if (argument.kind == Kind::target) {
        const pipe_dev_tgt target = target_in(word);
        out += '[';
        out.number(target.dev_id);
        out += ',';
        out.number(target.pipe_id);
        out += ']';
        return;
    }
    if (is_number || argument.kind == Kind::cookie || argument.kind == Kind::pointer) return put_wide(out, word);
    if (word == 0) {
        out += "null";
        return;
    }
    const void* const address = pointer_at<const void>(call, number);
    switch (argument.kind) {
    case Kind::match:
        return put_match(out, *static_cast<const pipe_match_record*>(address));
    case Kind::data:
        return put_data(out, *static_cast<const pipe_action_record*>(address));
    case Kind::slots:
        return put_list(out, static_cast<const pipe_resource_slot*>(address), count,
                        [&](const pipe_resource_slot& slot) { put_slot(out, slot); });
    case Kind::words:
        return put_list(out, static_cast<const uint32_t*>(address), count, [&](uint32_t each) { out.number(each); });
    case Kind::bytes:
        return put_quoted_hex(out, address, count * argument.size);
    case Kind::by_value:
        return put_quoted_hex(out, address, argument.size);
    case Kind::text:
        return put_text(out, static_cast<const char*>(address));
    // How much room there is.
    case Kind::out_match:
        out += "{";
        put_member(out, "bits", call.key_bits);
        put_member(out, "bytes", call.key_room);
        out += "}";
        return;
    case Kind::out_data:
    case Kind::out_action_data:
        return out.number(call.data_room);
    case Kind::out_queries:
        return put_list(out, static_cast<const pipe_stful_query*>(address), count,
                        [&](const pipe_stful_query& query) { out.number(query.count); });
    default:
        out += "true";
    }
}

// How many of the elements that fit the driver has written, if a later argument says so.
size_t written_of(const Call& call, size_t number) {
    const Function& function = *call.function;
    const size_t room = count_of(call, function.arguments[number]);
    for (size_t i = number + 1; i < function.count; ++i)
        if (function.arguments[i].kind == Kind::out_number && call.words[i] != 0)
            return std::min<size_t>(room, *pointer_at<const uint32_t>(call, i));
    return room;
}

void put_output(Text& out, const Call& call, size_t number, const std::string& name) {
    const Argument& argument = call.function->arguments[number];
    const void* const address = pointer_at<const void>(call, number);
    if (argument.kind < Kind::out_handle || argument.kind == Kind::out_unknown || address == nullptr) return;
    put_argument_name(out, name);
    switch (argument.kind) {
    case Kind::out_byte:
        return out.number(*static_cast<const uint8_t*>(address));
    case Kind::out_wide:
    case Kind::out_pointer:
        return put_wide(out, *static_cast<const uint64_t*>(address));
    case Kind::out_match:
        return put_match(out, *static_cast<const pipe_match_record*>(address));
    case Kind::out_data:
        return put_data(out, *static_cast<const pipe_action_record*>(address));
    case Kind::out_action_data:
        out += "{";
        put_action_data(out, *static_cast<const pipe_action_data*>(address));
        out += "}";
        return;
    case Kind::out_bytes:
        return put_quoted_hex(out, address, written_of(call, number) * argument.size);
    case Kind::out_handles:
    case Kind::out_members: {
        const auto* const handles = static_cast<const uint32_t*>(address);
        const size_t room = written_of(call, number);
        const auto end = static_cast<size_t>(std::find(handles, handles + room, PIPE_HDL_END) - handles);
        return put_list(out, handles, std::min(end + 1, room), [&](uint32_t handle) { out.number(handle); });
    }
    case Kind::out_counters:
        return put_list(out, static_cast<const pipe_counter_record* const*>(address), count_of(call, argument),
                        [&](const pipe_counter_record* record) { put_quoted_hex(out, record, sizeof *record); });
    case Kind::out_queries:
        return put_list(out, static_cast<const pipe_stful_query*>(address), written_of(call, number),
                        [&](const pipe_stful_query& query) {
                            put_quoted_hex(out, query.elements, query.count * sizeof *query.elements);
                        });
    default:
        return out.number(*static_cast<const uint32_t*>(address));
    }
}

// ---- what a call means

const Table* table_of(const Pipeline& pipeline, const Call& call) {
    const size_t position = position_of(*call.function, Kind::table);
    return position == call.function->count ? nullptr : pipeline.table(static_cast<uint32_t>(call.words[position]));
}

bool fits(const Table& table, const pipe_match_record& match) {
    return match.key_bytes != nullptr && match.mask_bytes != nullptr && match.key_len == table.key_bytes &&
           table.key_bytes != 0;
}

// The key and the action that the driver reads or, in a read of an entry, writes.
void put_meaning(Text& out, const Table& table, const Call& call) {
    const Function& function = *call.function;
    const auto at = [&](Kind kind) {
        const size_t position = position_of(function, kind);
        return position == function.count ? nullptr : pointer_at<const void>(call, position);
    };
    const bool answered = call.status == 0;
    const void* const match = at(Kind::match) != nullptr ? at(Kind::match) : answered ? at(Kind::out_match) : nullptr;
    if (match != nullptr && fits(table, *static_cast<const pipe_match_record*>(match)))
        put_key(out, table, *static_cast<const pipe_match_record*>(match));
    if (const void* const data = at(Kind::data); data != nullptr) {
        const auto action = static_cast<uint32_t>(call.words[position_of(function, Kind::action)]);
        put_action(out, table, *static_cast<const pipe_action_record*>(data), action);
    } else if (answered && at(Kind::out_data) != nullptr && at(Kind::out_action) != nullptr) {
        put_action(out, table, *static_cast<const pipe_action_record*>(at(Kind::out_data)),
                   *static_cast<const uint32_t*>(at(Kind::out_action)));
    }
}

} // namespace

void put_value(Text& out, const Field& field, const uint8_t* bytes) {
    const Part& part = field.parts.front();
    const Wide value = load(part, bytes);
    switch (field.tag) {
    case Tag::mac:
        if (field.parts.size() == 2) {
            const uint64_t mac =
                (value.low & part.covered_low) << 24 | (load(field.parts[1], bytes).low & field.parts[1].covered_low);
            put_hex_number(out, mac >> 32, 4);
            out += '.';
            put_hex_number(out, mac >> 16, 4);
            out += '.';
            return put_hex_number(out, mac, 4);
        }
        break;
    case Tag::v4addr:
        return put_v4addr(out, value.low & part.covered_low);
    case Tag::v6addr:
        return put_v6addr(out, bytes + part.position);
    default:
        break;
    }
    out.number(value.low & part.covered_low);
}

void put_key(Text& out, const Table& table, const pipe_match_record& match) {
    out += ",\"key\":{";
    for (const Field& field : table.key) {
        if (out.back() != '{') out += ',';
        out += field.json;
        if (table.partitioned && &field == &table.key.front()) {
            out.number(match.partition_index);
            continue;
        }
        if (field.match == Match::exact) {
            put_json_value(out, field, match.key_bytes);
            continue;
        }
        out += "{\"value\":";
        put_json_value(out, field, match.key_bytes);
        if (field.match == Match::lpm) {
            out += ",\"length\":";
            put_signed(out, int64_t{field.parts.front().bits} - match.priority);
        } else {
            out += ",\"mask\":";
            put_json_value(out, field, match.mask_bytes);
        }
        out += '}';
    }
    out += '}';
    if (!table.has_priority()) return;
    out += ",\"priority\":";
    put_signed(out, static_cast<int32_t>(match.priority));
}

void put_action(Text& out, const Table& table, const pipe_action_record& record, uint32_t action_handle) {
    if (record.kind == PIPE_KIND_MEMBER || record.kind == PIPE_KIND_GROUP) {
        out += record.kind == PIPE_KIND_MEMBER ? ",\"member\":" : ",\"group\":";
        return out.number(record.kind == PIPE_KIND_MEMBER ? record.member_hdl : record.group_hdl);
    }
    const Action* const action = table.action(action_handle);
    if (action == nullptr) return;
    out += ",\"action\":\"";
    out += action->name;
    out += "\",\"params\":{";
    const bool has_data = record.action.data != nullptr && record.action.data_len == action->data_bytes;
    for (const Field& param : action->params) {
        if (out.back() != '{') out += ',';
        out += param.json;
        if (param.parts.front().is_slot_index && record.resource_count != 0)
            out.number(record.slots[0].index);
        else
            put_json_value(out, param, has_data ? record.action.data : no_bytes);
    }
    out += '}';
}

void put_call(Text& out, const Pipeline& pipeline, const Call& call) {
    const Function& function = *call.function;
    out += ",\"function\":\"";
    out += function.name;
    out += "\"";
    if (uint32_t device = 0; device_of(call, device)) {
        out += ",\"device\":";
        out.number(device);
    }
    if (const Table* const table = table_of(pipeline, call); table != nullptr) {
        out += ",\"table\":\"";
        out += table->name;
        out += "\"";
        const size_t handle = position_of(function, Kind::handle);
        const size_t new_handle = position_of(function, Kind::out_handle);
        if (handle != function.count) {
            out += ",\"handle\":";
            out.number(call.words[handle]);
        } else if (new_handle != function.count && call.status == 0 && call.words[new_handle] != 0) {
            out += ",\"handle\":";
            out.number(*pointer_at<const uint32_t>(call, new_handle));
        }
        put_meaning(out, *table, call);
    }
    const Names& names = names_of(call);
    out += ",\"raw\":{";
    for (size_t i = 0; i < function.count; ++i)
        put_raw(out, call, i, names[i]);
    out += "},\"status\":";
    out.number(call.status);
    out += ",\"outputs\":{";
    if (call.status == 0)
        for (size_t i = 0; i < function.count; ++i)
            put_output(out, call, i, names[i]);
    out += '}';
}

} // namespace pd_watch
