// See values.h.
#include "views/values.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include <arpa/inet.h>

#include "views/problem.h"

namespace pd_views {

using catalog::Match;
using catalog::Tag;

namespace {

std::optional<Number> parse_address(int family, size_t length, const std::string& text) {
    uint8_t bytes[sizeof(in6_addr)] = {};
    if (inet_pton(family, text.c_str(), bytes) != 1) return {};
    Number number = 0;
    for (size_t i = 0; i < length; ++i)
        number = number << 8 | bytes[i];
    return number;
}

std::optional<Number> parse_digits(const std::string& digits, int base) {
    uint64_t number = 0;
    const char* const last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, number, base);
    if (error != std::errc() || end != last) return {};
    return number;
}

std::optional<Number> parse(Tag form, const std::string& text) {
    if (form == Tag::v4addr) return parse_address(AF_INET, sizeof(in_addr), text);
    if (form == Tag::v6addr) return parse_address(AF_INET6, sizeof(in6_addr), text);
    if (form != Tag::mac) return text.starts_with("0x") ? parse_digits(text.substr(2), 16) : parse_digits(text, 10);
    if (text.size() != 14 || text[4] != '.' || text[9] != '.') return {};
    return parse_digits(text.substr(0, 4) + text.substr(5, 4) + text.substr(10), 16);
}

std::string form_text(Tag form, unsigned bits) {
    if (form == Tag::mac) return "a MAC address like 0200.0000.0001";
    if (form == Tag::v4addr) return "an IPv4 address";
    if (form == Tag::v6addr) return "an IPv6 address";
    const uint64_t most = (uint64_t{1} << bits) - 1;
    char digits[20];
    const bool decimal = form == Tag::dec;
    return std::string("a number from 0 to ") + (decimal ? "" : "0x") +
           std::string(digits, std::to_chars(digits, digits + sizeof digits, most, decimal ? 10 : 16).ptr);
}

} // namespace

Tag form_of(const Field& field, PlaceOf place) {
    if (place == &Part::value) return field.shown_as;
    if (field.match == Match::lpm) return Tag::dec;
    return field.shown_as == Tag::dec ? Tag::untagged : field.shown_as;
}

unsigned bits_of(const Field& field) {
    unsigned bits = 0;
    for (const Part& part : field.parts)
        bits += part.bits;
    return bits;
}

Number number_in(const Field& field, PlaceOf place, const uint8_t* record) {
    Number number = 0;
    for (const Part& part : field.parts) {
        const Bits bits = load(record, part.*place);
        number = (part.bits < 128 ? number << part.bits : 0) | Number{bits.high} << 64 | bits.low;
    }
    return number;
}

Number parse_number(const Field& field, Tag form, unsigned bits, const std::string& text) {
    const std::optional<Number> number = parse(form, text);
    if (!number || (bits < 128 && *number >> bits != 0))
        throw Problem(Fault::bad_value, field.label + " takes " + form_text(form, bits) + ", not \"" + text + "\"");
    return *number;
}

const Field& field_named(const Table& table, const std::string& name) {
    std::vector<std::string> names;
    for (const Field& field : table.key) {
        if (field.label == name) return field;
        names.push_back(field.label);
    }
    std::string near = near_text(name, names);
    if (near.empty())
        for (const std::string& each : names)
            near += (each == names.front() ? "; its fields are " : ", ") + each;
    throw Problem(Fault::bad_value, "table " + table.name + " has no field \"" + name + "\"" + near);
}

Wanted parse_wanted(const Field& field, const std::string& text) {
    const size_t slash = text.find('/');
    const unsigned bits = bits_of(field);
    Wanted wanted{&field, parse_number(field, field.shown_as, bits, text.substr(0, slash)), {}};
    if (slash == std::string::npos) return wanted;
    if (field.match == Match::exact)
        throw Problem(Fault::bad_value, field.label + " is matched exactly, so it has no mask and no length");
    const unsigned partner_bits = field.match == Match::lpm ? 8 : bits;
    wanted.partner = parse_number(field, form_of(field, &Part::partner), partner_bits, text.substr(slash + 1));
    return wanted;
}

} // namespace pd_views
