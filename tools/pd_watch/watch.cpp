// Becomes a command, with the layer loaded in front of its driver.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>

#include <unistd.h>

#include "tools/pd_watch/commands.h"
#include "views/problem.h"
#include "watch/kinds.h"
#include "watch/pipeline.h"

namespace pd_watch {
namespace {

// The layer beside this program: in the library folder of the build or of the install.
std::filesystem::path layer_path() {
    const std::filesystem::path here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return (here / PD_WATCH_LIBRARY_FOLDER / "vl_bf_pd/libvl_pd_watch.so").lexically_normal();
}

void set(const char* name, const std::string& value) {
    if (setenv(name, value.c_str(), 1) != 0) throw std::runtime_error("the environment is full");
}

// The whole path, because the process may have another working directory when it opens the file. A pipe is only opened
// when there is something to write.
std::string writable(const std::string& path) {
    const bool is_plain = std::filesystem::is_regular_file(path) || !std::filesystem::exists(path);
    if (is_plain && !std::ofstream(path, std::ios::app))
        throw Mistake(path + " can't be written: " + std::strerror(errno));
    return std::filesystem::absolute(path).string();
}

// Refuses a name that isn't known before the command begins.
void require_name(const char* what, const std::string& name, const std::vector<std::string>& names) {
    if (std::ranges::find(names, name) == names.end())
        throw Mistake(std::string("there is no ") + what + " " + name + pd_views::near_text(name, names));
}

void require_names(const char* what, const std::string& list, const std::vector<std::string>& names) {
    const Words items = split_list(list);
    if (items.empty()) throw Mistake(std::string("name a ") + what);
    for (const std::string& name : items)
        require_name(what, name, names);
}

} // namespace

int watch(const Words& words) {
    size_t next = 0;
    const auto value_of = [&](const std::string& option) {
        if (++next == words.size()) throw Mistake(option + " needs a value");
        return words[next];
    };
    // By option: what it does. An option with a value takes it by value_of.
    const std::map<std::string, std::function<void(const std::string&)>> options = {
        {"--record",
         [&](const std::string& option) {
             const std::string path = writable(value_of(option));
             if (!std::filesystem::is_regular_file(path)) throw Mistake(path + " is no plain file");
             set("VL_PD_WATCH_RECORD", path);
         }},
        {"--summary", [&](const std::string&) { set("VL_PD_WATCH_SUMMARY", "1"); }},
        {"--check", [&](const std::string&) { set("VL_PD_WATCH_CHECK", "1"); }},
        {"--strict",
         [&](const std::string&) {
             set("VL_PD_WATCH_CHECK", "1");
             set("VL_PD_WATCH_STRICT", "1");
         }},
        {"--leftovers",
         [&](const std::string&) {
             set("VL_PD_WATCH_CHECK", "1");
             set("VL_PD_WATCH_LEFTOVERS", "1");
         }},
        {"--off",
         [&](const std::string& option) {
             const std::string kinds = value_of(option);
             std::vector<std::string> names;
             for (const MistakeRow& row : mistake_rows)
                 names.push_back(row.name);
             require_names("kind of mistake", kinds, names);
             set("VL_PD_WATCH_CHECK", "1");
             set("VL_PD_WATCH_OFF", kinds);
         }},
        {"--only",
         [&](const std::string& option) {
             const std::string tables = value_of(option);
             std::set<std::string> names;
             const Pipeline pipeline;
             for (const auto& [handle, table] : pipeline.tables())
                 names.insert(table.name);
             require_names("table", tables, {names.begin(), names.end()});
             set("VL_PD_WATCH_ONLY", tables);
         }},
        {"--format",
         [&](const std::string& option) {
             const std::string format = value_of(option);
             require_name("format", format, {"text", "json"});
             set("VL_PD_WATCH_FORMAT", format);
         }},
        {"--report", [&](const std::string& option) { set("VL_PD_WATCH_REPORT", writable(value_of(option))); }},
    };
    for (; next < words.size() && words[next].starts_with("-"); ++next) {
        if (words[next] == "--") {
            ++next;
            break;
        }
        const auto option = options.find(words[next]);
        if (option == options.end()) throw Mistake("there is no option " + words[next]);
        option->second(words[next]);
    }
    if (next == words.size()) throw Mistake("name a command to watch");
    const std::filesystem::path layer = layer_path();
    if (!std::filesystem::exists(layer)) throw std::runtime_error(layer.string() + " is missing");
    const char* const loaded = getenv("LD_PRELOAD");
    set("LD_PRELOAD", loaded != nullptr && *loaded != 0 ? layer.string() + ":" + loaded : layer.string());
    const char* const recording = getenv("VL_PD_WATCH_RECORD");
    const char* const report = getenv("VL_PD_WATCH_REPORT");
    if (report != nullptr && recording != nullptr && std::filesystem::equivalent(report, recording))
        throw Mistake("the recording and the report can't be one file");
    if (report != nullptr && std::filesystem::is_regular_file(report)) std::filesystem::resize_file(report, 0);
    // Names this run, for the processes that share a recording.
    set("VL_PD_WATCH",
        std::to_string(getpid()) + "-" + std::to_string(std::chrono::system_clock::now().time_since_epoch().count()));
    std::vector<char*> arguments;
    for (; next < words.size(); ++next)
        arguments.push_back(const_cast<char*>(words[next].c_str()));
    const std::string command = arguments[0];
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    const int error = errno;
    fprintf(stderr, "pd-watch: %s can't be run: %s\n", command.c_str(), std::strerror(error));
    return error == ENOENT ? 127 : 126; // as a shell
}

} // namespace pd_watch
