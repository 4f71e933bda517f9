// The files that the generator writes. The build lists them with list_files.cpp before it can run the generator.
#pragma once

#include <string>
#include <vector>

#include "catalog/catalog.h"
#include "generator/family.h"

namespace generator {

enum class Text {
    header,           // public: a shard's declarations, or a seam's tables
    handles,          // public: named constants
    functions_header, // public: all of these headers
    pipeline,         // public: the description for the embedded driver
    pipeline_function,
    json,          // public: the description for programs in any language
    source,        // a shard's functions, of one seam or of all
    row_constants, // the rows that the sources name
    functions_by_handle,
    record_asserts,
    version_script,
    export_list,
    row_list,
    totals,
};

struct File {
    std::string path; // below the output folder
    Text text;
    Shard shard = Shard::program;
    const catalog::Seam* seam = nullptr;
};

inline std::vector<File> files(const catalog::Catalog& rows) {
    struct Named {
        Shard shard;
        const char* name;
    };
    constexpr Named whole[] = {{Shard::program, "program"},
                               {Shard::actions, "actions"},
                               {Shard::profiles, "profiles"},
                               {Shard::resources, "resources"}};
    constexpr Named by_seam[] = {{Shard::entries, "entries"},
                                 {Shard::readback, "readback"},
                                 {Shard::tables, "tables"},
                                 {Shard::texts, "texts"},
                                 {Shard::placement, "placement"}};
    const std::string name = rows.name;
    const std::string headers = "include/vl_pd/" + name + "/";
    std::vector<File> all = {{headers + "functions.h", Text::functions_header},
                             {headers + "handles.h", Text::handles},
                             {"include/vl_pd/" + name + "_pipeline.h", Text::pipeline},
                             {"src/" + name + "_pipeline.c", Text::pipeline_function},
                             {"share/vl_pd/" + name + ".json", Text::json},
                             {"src/rows.h", Text::row_constants},
                             {"src/functions_by_handle.cpp", Text::functions_by_handle},
                             {"src/record_asserts.cpp", Text::record_asserts},
                             {"exports.map", Text::version_script},
                             {"exports.txt", Text::export_list},
                             {"rows.txt", Text::row_list},
                             {"totals.txt", Text::totals}};
    for (const auto& [shard, shard_name] : whole) {
        all.push_back({headers + shard_name + ".h", Text::header, shard});
        all.push_back({std::string("src/") + shard_name + ".cpp", Text::source, shard});
    }
    for (const catalog::Seam& seam : rows.seams) {
        all.push_back({headers + seam.name + ".h", Text::header, Shard::tables, &seam});
        for (const auto& [shard, shard_name] : by_seam)
            all.push_back({std::string("src/") + shard_name + "_" + seam.name + ".cpp", Text::source, shard, &seam});
    }
    return all;
}

} // namespace generator
