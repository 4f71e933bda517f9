// Schemas: tables, actions and profiles described as Python literals.
//
// The texts are constants, made from the rows while compiling by the productions below; a table's is a join of them.
// Blanks and trailing commas are part of the form: readers may compare schemas as text.
#pragma once

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

#include "pd/visit_action.h"
#include "pd_velmar/columns.h"

namespace vl_pd::schema {

using catalog::ActionRef;
using catalog::ProfileRef;
using catalog::TableRef;

// Where a production puts its text: first into a length, then into room of that length.
struct Measure {
    std::size_t length = 0;

    constexpr void put(std::string_view text) {
        length += text.size();
    }
};

struct Writer {
    char* end;

    constexpr void put(std::string_view text) {
        for (const char letter : text)
            *end++ = letter;
    }
};

constexpr void put_number(auto& out, std::uint32_t number) {
    if (number >= 10) put_number(out, number / 10);
    const char digit[] = {static_cast<char>('0' + number % 10)};
    out.put({digit, 1});
}

// Without leading zeros.
constexpr void put_hex(auto& out, catalog::FieldMask number) {
    constexpr std::string_view digits = "0123456789abcdef";
    int shift = 124;
    const auto nibble = [&] { return (shift >= 64 ? number.high >> (shift - 64) : number.low >> shift) & 0xF; };
    while (shift > 0 && nibble() == 0)
        shift -= 4;
    for (; shift >= 0; shift -= 4)
        out.put(digits.substr(nibble(), 1));
}

constexpr std::string_view tag_text(catalog::Tag tag) {
    switch (tag) {
    case catalog::Tag::untagged:
        return "None";
    case catalog::Tag::mac:
        return "'mac'";
    case catalog::Tag::v4addr:
        return "'v4addr'";
    case catalog::Tag::v6addr:
        return "'v6addr'";
    case catalog::Tag::port:
        return "'port'";
    case catalog::Tag::vport:
        return "'vport'";
    case catalog::Tag::dec:
        return "'dec'";
    }
    return {};
}

constexpr void put_key_tuple(auto& out, const Column& column) {
    out.put("( '");
    out.put(column.name);
    out.put(column.name_suffix);
    out.put("','");
    out.put(column.pd_name);
    out.put(column.pd_suffix);
    out.put("',");
    put_number(out, column.bits);
    out.put(",0x");
    put_hex(out, column.mask);
    out.put(",");
    out.put(tag_text(column.tag));
    out.put(",None,None)");
}

constexpr void put_match_schema(auto& out, std::span<const Column> columns) {
    out.put("(");
    for (const Column& column : columns) {
        put_key_tuple(out, column);
        out.put(",");
    }
    out.put(")");
}

constexpr void put_action_schema(auto& out, const catalog::Action& action) {
    out.put("( ('");
    out.put(action.name);
    out.put("'),(");
    for (const catalog::Param& param : action.params) {
        out.put("('");
        out.put(param.name);
        out.put("',");
        out.put(tag_text(param.tag));
        out.put(",");
        put_number(out, param.bits);
        out.put(",None),");
    }
    out.put("))");
}

// Up to the key.
constexpr void put_table_head(auto& out, const catalog::Table& table, bool indirect) {
    out.put("( ('");
    out.put(table.name);
    out.put(indirect ? "','mat',(True,))," : "','mat',(False,)),");
}

// What the entries of an indirect table hold.
inline constexpr std::string_view handle_tuples =
    ",( ('setMbrHdl',(('mbrHdl',None,32,None),)),( 'setGrpHdl', ( ( 'grpHdl', None, 32, None ), ) ) ))";

// The text of a production, with a terminator.
template <class Produce>
consteval auto make_text(Produce) {
    constexpr std::size_t length = [] {
        Measure measure;
        Produce{}(measure);
        return measure.length;
    }();
    std::array<char, length + 1> text{};
    Writer writer{text.data()};
    Produce{}(writer);
    return text;
}

template <TableRef T>
inline constexpr auto match_text = make_text([](auto& out) { put_match_schema(out, columns<T>); });

template <ActionRef A>
inline constexpr auto action_text = make_text([](auto& out) { put_action_schema(out, *A); });

template <TableRef T>
inline constexpr auto head_text = make_text([](auto& out) { put_table_head(out, *T, is_indirect<T>); });

template <std::size_t size>
constexpr std::string_view view(const std::array<char, size>& text) {
    return {text.data(), size - 1};
}

// The action schemas of a table or profile as a tuple.
template <auto row>
inline constexpr auto action_list = [] {
    constexpr std::size_t count = row->actions.size();
    std::array<ActionRef, count> sorted{};
    for (std::size_t i = 0; i < count; ++i)
        sorted[i] = {
            static_cast<std::uint16_t>(catalog::action_number(catalog::velmar_switch, row->actions.begin()[i].action))};
    // By name, whatever the order of the handles.
    std::sort(sorted.begin(), sorted.end(), [](ActionRef left, ActionRef right) {
        return std::string_view(left->name) < std::string_view(right->name);
    });
    return sorted;
}();

// Parts of a joined text; which of them it has, and in which order, is known while compiling.
template <std::size_t count>
struct Parts {
    std::array<std::string_view, count> views{};
    std::size_t end = 0;

    constexpr void put(std::string_view part) {
        views[end++] = part;
    }
};

template <auto row, std::size_t count>
constexpr void put_action_list(Parts<count>& parts) {
    [&]<std::size_t... i>(std::index_sequence<i...>) {
        ((parts.put(view(action_text<action_list<row>[i]>)), parts.put(",")), ...);
    }
    (std::make_index_sequence<action_list<row>.size()>());
}

template <TableRef T>
inline constexpr auto table_parts = [] {
    Parts<2 * T->actions.size() + 4> parts;
    parts.put(view(head_text<T>));
    if constexpr (T->key.size() == 0)
        parts.put("()");
    else
        parts.put(view(match_text<T>));
    if constexpr (is_indirect<T>) {
        parts.put(handle_tuples);
    } else {
        parts.put(",(");
        put_action_list<T>(parts);
        parts.put("))");
    }
    return parts;
}();

template <ProfileRef P>
inline constexpr auto profile_parts = [] {
    Parts<2 * P->actions.size() + 2> parts;
    parts.put("(");
    put_action_list<P>(parts);
    parts.put(")");
    return parts;
}();

// Writes the parts and a terminator; returns their length.
inline int join(std::span<const std::string_view> parts, char* buffer) {
    char* end = buffer;
    for (const std::string_view part : parts) {
        std::memcpy(end, part.data(), part.size());
        end += part.size();
    }
    *end = 0;
    return static_cast<int>(end - buffer);
}

template <std::size_t count>
int join(const Parts<count>& parts, char* buffer) {
    return join({parts.views.data(), parts.end}, buffer);
}

template <TableRef T>
const char* match_spec() noexcept {
    return match_text<T>.data();
}

template <ActionRef A>
const char* action() noexcept {
    return action_text<A>.data();
}

template <TableRef T>
int table(char* buffer) noexcept {
    return join(table_parts<T>, buffer);
}

template <ProfileRef P>
int profile(char* buffer) noexcept {
    return join(profile_parts<P>, buffer);
}

} // namespace vl_pd::schema
