// What the generator writes, each as one text. None of them holds behaviour: functions forward, asserts compare.
#pragma once

#include <string>

#include "generator/namer.h"

namespace generator {

// Public headers: the program's functions, action records and functions, profiles, resources, and each seam's
// tables.
std::string write_program_header(const Exports& exports);
std::string write_actions_header(const Exports& exports);
std::string write_profiles_header(const Exports& exports);
std::string write_resources_header(const Exports& exports);
std::string write_seam_header(const Exports& exports, const SeamExports& seam);

// One-line definitions. A shard of tables is written for one seam.
std::string write_program_source(const Exports& exports);
std::string write_actions_source(const Exports& exports, Shard shard);
std::string write_profiles_source(const Exports& exports);
std::string write_resources_source(const Exports& exports);
std::string write_seam_source(const Exports& exports, const SeamExports& seam, Shard shard);

// The exported functions that a handle is dispatched to, as constant data.
std::string write_functions_by_handle(const Exports& exports);

// Compares the offsets and sizes that the compiler gives the records with those that the encoders use.
std::string write_record_asserts(const Exports& exports);

// The linker's version script: these names and no others.
std::string write_version_script(const Exports& exports);

// Every exported name with its signature, sorted: "name<tab>result (arguments)", or a data word's declaration.
std::string write_export_list(const Exports& exports);

// What agents and drivers know of the rows beside names: the layout of every record, the handle of every table, action,
// resource and hash calculation, and the sizes of keys and data. Sorted: "subject<tab>facts".
std::string write_row_list(const Exports& exports);

// The pipeline as the embedded driver wants it described.
std::string write_pipeline_description(const catalog::Catalog& rows);

} // namespace generator
