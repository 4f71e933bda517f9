// Writes everything that is made from the catalog below one folder:
//
//   pd_generator OUTPUT_FOLDER
//
// A file is rewritten only if its text changes, so that what depends on it isn't built again for nothing.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

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

void write_all(const std::filesystem::path& folder) {
    using namespace generator;
    const catalog::Catalog& rows = catalog::velmar_switch;
    const Exports exports = name_exports(rows);
    const std::filesystem::path headers = folder / "include" / "vl_pd";
    const std::filesystem::path parts = headers / rows.program;
    const std::filesystem::path sources = folder / "src";

    write_if_changed(parts / "program.h", write_program_header(exports));
    write_if_changed(parts / "actions.h", write_actions_header(exports));
    write_if_changed(parts / "profiles.h", write_profiles_header(exports));
    write_if_changed(parts / "resources.h", write_resources_header(exports));
    write_if_changed(sources / "program.cpp", write_program_source(exports));
    write_if_changed(sources / "actions.cpp", write_actions_source(exports, Shard::actions));
    write_if_changed(sources / "action_texts.cpp", write_actions_source(exports, Shard::action_texts));
    write_if_changed(sources / "functions_by_handle.cpp", write_functions_by_handle(exports));
    write_if_changed(sources / "profiles.cpp", write_profiles_source(exports));
    write_if_changed(sources / "resources.cpp", write_resources_source(exports));
    for (const SeamExports& seam : exports.seams) {
        const std::string name = seam.seam->name;
        write_if_changed(parts / (name + ".h"), write_seam_header(exports, seam));
        write_if_changed(sources / ("entries_" + name + ".cpp"), write_seam_source(exports, seam, Shard::entries));
        write_if_changed(sources / ("tables_" + name + ".cpp"), write_seam_source(exports, seam, Shard::tables));
        write_if_changed(sources / ("readback_" + name + ".cpp"), write_seam_source(exports, seam, Shard::readback));
        write_if_changed(sources / ("texts_" + name + ".cpp"), write_seam_source(exports, seam, Shard::texts));
        write_if_changed(sources / ("placement_" + name + ".cpp"), write_seam_source(exports, seam, Shard::placement));
    }
    write_if_changed(sources / "record_asserts.cpp", write_record_asserts(exports));
    write_if_changed(folder / "exports.map", write_version_script(exports));
    write_if_changed(folder / "exports.txt", write_export_list(exports));
    write_if_changed(folder / "rows.txt", write_row_list(exports));
    write_if_changed(headers / (std::string(rows.program) + "_pipeline.h"), write_pipeline_description(rows));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT_FOLDER\n", argv[0]);
        return 2;
    }
    try {
        write_all(argv[1]);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
        return 1;
    }
    return 0;
}
