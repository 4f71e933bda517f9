// Holds velmar_switch to the rules of checks.h and to its totals, which change only with the P4 program.
#include "catalog/checks.h"

#include <algorithm>
#include <utility>

namespace catalog {

template <size_t... number>
consteval bool tables_are_sound(std::index_sequence<number...>) {
    return std::min({Sound<table_fault(velmar_switch, number)>::value...});
}

template <size_t... number>
consteval bool actions_are_sound(std::index_sequence<number...>) {
    return std::min({Sound<action_fault(velmar_switch, number)>::value...});
}

static_assert(tables_are_sound(std::make_index_sequence<table_count(velmar_switch)>()));
static_assert(actions_are_sound(std::make_index_sequence<std::size(actions)>()));
static_assert(Sound<reference_and_handle_fault(velmar_switch)>::value);

static_assert(totals(velmar_switch) == Totals{.tables = 131,
                                              .keyless = 19,
                                              .exact = 68,
                                              .masked = 36,
                                              .prefix = 8,
                                              .indirect = 5,
                                              .record_orders = 21,
                                              .key_fields = 405,
                                              .mask_partners = 202,
                                              .bindings = 352,
                                              .entry_bindings = 320,
                                              .default_bindings = 158,
                                              .actions = 265,
                                              .actions_with_params = 137,
                                              .params = 306});

static_assert(std::size(profiles) == 5 && std::size(counters) == 9 && std::size(meters) == 4 &&
              std::size(wred_blocks) == 1 && std::size(registers) == 9 && std::size(digests) == 3 &&
              std::size(value_sets) == 6 && std::size(hash_calculations) == 14);

} // namespace catalog
