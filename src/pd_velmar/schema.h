// Schemas: tables, actions and profiles described as Python literals.
//
// The texts are constants. The productions below make them from the rows at compile time, and a table's schema is a
// join of several. Blanks and trailing commas belong to the form, because readers may compare schemas as text.
#pragma once

#include <array>
#include <initializer_list>
#include <span>
#include <string_view>

#include "pd_velmar/columns.h"
#include "pd_velmar/text_writer.h"

namespace vl_pd::schema {

using catalog::ActionRef;
using catalog::ProfileRef;
using catalog::TableRef;

// A production runs twice: first it measures its text, then it writes into an array of that length.
struct Measure {
    size_t length = 0;

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

constexpr void put_number(auto& out, uint32_t number) {
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

// In the order of names, not of handles.
constexpr void put_action_list(auto& out, catalog::List<catalog::Binding> bindings) {
    std::string_view last;
    for (size_t i = 0; i < bindings.size(); ++i) {
        const char* next = nullptr;
        for (const catalog::Binding& binding : bindings) {
            const std::string_view name = binding.action;
            if (name > last && (next == nullptr || name < next)) next = binding.action;
        }
        put_action_schema(out, catalog::program.actions[catalog::number_of(catalog::program.actions, next)]);
        out.put(",");
        last = next;
    }
}

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
    constexpr size_t length = [] {
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

// The parts of a table's schema before and after its key.
template <TableRef T>
inline constexpr auto head_text = make_text([](auto& out) { put_table_head(out, *T, catalog::is_indirect(*T)); });

template <TableRef T>
inline constexpr auto tail_text = make_text([](auto& out) {
    if (catalog::is_indirect(*T)) return out.put(handle_tuples);
    out.put(T->key.size() == 0 ? "(),(" : ",(");
    put_action_list(out, T->actions);
    out.put("))");
});

template <ProfileRef P>
inline constexpr auto profile_text = make_text([](auto& out) {
    out.put("(");
    put_action_list(out, P->actions);
    out.put(")");
});

template <size_t size>
constexpr std::string_view view(const std::array<char, size>& text) {
    return {text.data(), size - 1};
}

// Writes the parts and a terminator; returns the length of the text. Not inlined: for known lengths, the compiler
// copies by a string instruction, which is several times slower than the C library's copy.
[[gnu::noinline]] inline int join(char* buffer, std::initializer_list<std::string_view> parts) noexcept {
    char* end = buffer;
    for (const std::string_view part : parts)
        end = text::put(end, part);
    return text::finish(buffer, end);
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
    if constexpr (T->key.size() == 0)
        return join(buffer, {view(head_text<T>), view(tail_text<T>)});
    else
        return join(buffer, {view(head_text<T>), view(match_text<T>), view(tail_text<T>)});
}

template <ProfileRef P>
int profile(char* buffer) noexcept {
    return join(buffer, {view(profile_text<P>)});
}

} // namespace vl_pd::schema
