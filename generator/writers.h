// What the generator writes: one text per file. The texts implement nothing: functions forward, asserts compare.
#pragma once

#include <string>

#include "generator/files.h"
#include "generator/namer.h"

namespace generator {

// Public headers: the declarations of a shard, or of a seam's tables with their records; and one header that includes
// all others.
std::string write_header(const Exports& exports, const File& file);
std::string write_functions_header(const Exports& exports);

// Public header: the handle of each row as a constant.
std::string write_handles_header(const Exports& exports);

// Functions of one line each, of one seam or of all.
std::string write_source(const Exports& exports, const File& file);

// The rows as constants for the functions.
std::string write_row_constants(const Exports& exports);

// The functions of each table and profile, for calls by handle, as constant data.
std::string write_functions_by_handle(const Exports& exports);

// Compares the offsets and sizes that the compiler gives the records with those that the encoders use.
std::string write_record_asserts(const Exports& exports);

// The linker's version script, which names only the exports.
std::string write_version_script(const Exports& exports);

// Every exported name with its signature, sorted: "name<tab>result (arguments)", or the declaration of a data word.
std::string write_export_list(const Exports& exports);

// What agents and drivers rely on besides names: the layout of each record, the handle of each table, action, resource
// and hash calculation, and the sizes of keys and data. Sorted: "subject<tab>facts".
std::string write_row_list(const Exports& exports);

// How many rows of each kind there are: "kind<tab>count".
std::string write_totals(const Exports& exports);

// Everything about the pipeline as JSON, for programs in any language.
std::string write_json(const catalog::Catalog& rows);

// The pipeline in the form that the embedded driver takes.
std::string write_pipeline_description(const catalog::Catalog& rows);

// A function that returns it.
std::string write_pipeline_function(const catalog::Catalog& rows);

} // namespace generator
