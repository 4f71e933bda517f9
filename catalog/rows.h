// The program of this build, and its rows as template arguments.
//
// The build names the program: PD_PROGRAM is the namespace of its rows, and PD_PROGRAM_HEADER the header with the rows.
// Code that includes this header works for any program.
#pragma once

#include "catalog/catalog.h"

#include PD_PROGRAM_HEADER

namespace catalog {

inline constexpr const Catalog& program = PD_PROGRAM::program;

// A row as a template argument. `table("ipv4Host")` doesn't compile if no row has that name.
struct TableRef {
    uint16_t number;

    constexpr const Table& operator*() const {
        return tables(program)[number];
    }
    constexpr const Table* operator->() const {
        return &**this;
    }
    friend bool operator==(TableRef, TableRef) = default;
};

struct ActionRef {
    uint16_t number;

    constexpr const Action& operator*() const {
        return program.actions[number];
    }
    constexpr const Action* operator->() const {
        return &**this;
    }
    friend bool operator==(ActionRef, ActionRef) = default;
};

struct ProfileRef {
    uint16_t number;

    constexpr const Profile& operator*() const {
        return program.profiles[number];
    }
    constexpr const Profile* operator->() const {
        return &**this;
    }
    friend bool operator==(ProfileRef, ProfileRef) = default;
};

// Never defined. A look-up that fails while compiling calls this function, and the compiler's message names it.
void no_row_has_this_name();

consteval uint16_t number_or_error(size_t number) {
    if (number == not_found) no_row_has_this_name();
    return static_cast<uint16_t>(number);
}

consteval TableRef table(const char* name) {
    return {number_or_error(number_of(tables(program), name))};
}

consteval ActionRef action(const char* name) {
    return {number_or_error(number_of(program.actions, name))};
}

consteval ProfileRef profile(const char* name) {
    return {number_or_error(number_of(program.profiles, name))};
}

consteval const HashCalculation& hash_calculation(const char* name) {
    return program.hash_calculations[number_or_error(number_of(program.hash_calculations, name))];
}

constexpr bool is_indirect(const Table& table) {
    return profile_of(program, table) != not_found;
}

} // namespace catalog
