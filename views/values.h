// Values of fields in the forms that people type and read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "views/pipeline.h"

namespace pd_views {

__extension__ typedef unsigned __int128 Number;

// The value of a part, or its mask or prefix length.
using PlaceOf = Place Part::*;

// A mask is shown in the form of its value, or in hexadecimal if the value is decimal. A prefix length is decimal.
catalog::Tag form_of(const Field& field, PlaceOf place);

unsigned bits_of(const Field& field);

// The field as one number; the halves of a MAC address are joined.
Number number_in(const Field& field, PlaceOf place, const uint8_t* record);

// Throws a Problem if the text doesn't have the form, or the number has more bits.
Number parse_number(const Field& field, catalog::Tag form, unsigned bits, const std::string& text);

// The key field of the table with this label. Throws a Problem with near names if there is none.
const Field& field_named(const Table& table, const std::string& name);

// A value of a key field that somebody asked for: "10.1.0.0", or with a mask or length "10.1.0.0/16".
struct Wanted {
    const Field* field;
    Number value;
    std::optional<Number> partner;

    bool is_in(const uint8_t* key) const {
        return number_in(*field, &Part::value, key) == value &&
               (!partner || number_in(*field, &Part::partner, key) == *partner);
    }
};

Wanted parse_wanted(const Field& field, const std::string& text);

} // namespace pd_views
