// The exported names: every family with its name, signature and the one call that its members forward to.
//
// The writers take everything that they print from here, so a new operation is an entry in the file of its kind and a
// function in src/.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "generator/families/entries.h"
#include "generator/families/placement.h"
#include "generator/families/profiles.h"
#include "generator/families/program.h"
#include "generator/families/resources.h"
#include "generator/families/services.h"
#include "generator/families/tables.h"
#include "generator/families/texts.h"

namespace generator {

inline constexpr ExportedData exported_data[] = {
    {"bf_drv_hdl", "uint32_t bf_drv_hdl"},
    {"{p}action_name_strings", "const char *const {p}action_name_strings{dimension}"},
};

template <size_t... counts>
constexpr auto join_families(const Family (&... areas)[counts]) {
    std::array<Family, (counts + ...)> joined{};
    auto end = joined.begin();
    ((end = std::copy(areas, areas + counts, end)), ...);
    return joined;
}

// In the order in which the public headers declare them.
inline constexpr auto families =
    join_families(program_families, entries_families, tables_families, profiles_families, resources_families,
                  services_families, texts_families, placement_families);

} // namespace generator
