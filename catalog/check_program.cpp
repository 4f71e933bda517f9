// Checks the rows of the program against the rules of checks.h while this file compiles.
#include <algorithm>
#include <utility>

#include "catalog/checks.h"
#include "catalog/rows.h"

namespace catalog {

template <size_t... number>
consteval bool tables_are_sound(std::index_sequence<number...>) {
    return std::min({Sound<table_fault(program, number)>::value...});
}

template <size_t... number>
consteval bool actions_are_sound(std::index_sequence<number...>) {
    return std::min({Sound<action_fault(program, number)>::value...});
}

static_assert(tables_are_sound(std::make_index_sequence<tables(program).size()>()));
static_assert(actions_are_sound(std::make_index_sequence<program.actions.size()>()));
static_assert(Sound<reference_and_handle_fault(program)>::value);

} // namespace catalog
