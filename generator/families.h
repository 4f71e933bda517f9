// All families of exported functions. The writers print all of them. So a new operation needs only an entry in the file
// of its kind, and a function in src/.
#pragma once

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

// The public headers declare them in this order.
inline constexpr std::span<const Area> areas[] = {program_areas,   entries_areas,  tables_areas, profiles_areas,
                                                  resources_areas, services_areas, texts_areas,  placement_areas};

consteval bool all_have_docs() {
    for (const std::span<const Area> list : areas)
        for (const Area& area : list)
            for (const Family& family : area.families)
                if (family.doc.empty()) return false;
    return true;
}
static_assert(all_have_docs(), "a family tells its users what its functions do");

} // namespace generator
