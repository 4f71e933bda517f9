// Writes everything that is made from the program's catalog into one folder:
//
//   pd_generator OUTPUT_FOLDER
//
// It writes a file only if its text changes, so that nothing is rebuilt without need.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "catalog/rows.h"
#include "generator/writers.h"

namespace {

void write_if_changed(const std::filesystem::path& path, const std::string& text) {
    {
        std::ifstream present(path, std::ios::binary);
        if (present && std::string(std::istreambuf_iterator<char>(present), {}) == text) return;
    }
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out.flush()) throw std::runtime_error("cannot write " + path.string());
}

std::string text_of(const generator::Exports& exports, const generator::File& file) {
    using generator::Text;
    switch (file.text) {
    case Text::header:
        return write_header(exports, file);
    case Text::handles:
        return write_handles_header(exports);
    case Text::functions_header:
        return write_functions_header(exports);
    case Text::pipeline:
        return generator::write_pipeline_description(*exports.rows);
    case Text::pipeline_function:
        return generator::write_pipeline_function(*exports.rows);
    case Text::json:
        return generator::write_json(*exports.rows);
    case Text::source:
        return write_source(exports, file);
    case Text::row_constants:
        return write_row_constants(exports);
    case Text::functions_by_handle:
        return write_functions_by_handle(exports);
    case Text::record_asserts:
        return write_record_asserts(exports);
    case Text::version_script:
        return write_version_script(exports);
    case Text::export_list:
        return write_export_list(exports);
    case Text::row_list:
        return write_row_list(exports);
    case Text::totals:
        return write_totals(exports);
    }
    return {};
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT_FOLDER\n", argv[0]);
        return 2;
    }
    try {
        const generator::Exports exports = generator::name_exports(catalog::program);
        for (const generator::File& file : generator::files(catalog::program))
            write_if_changed(std::filesystem::path(argv[1]) / file.path, text_of(exports, file));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
        return 1;
    }
    return 0;
}
