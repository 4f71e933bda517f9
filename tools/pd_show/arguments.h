// The command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace pd_show {

enum class Command { help, version, tables, table, entries, counters, verify };
enum class Format { text, json, value };

struct Arguments {
    Command command = Command::help;
    std::optional<std::string> name; // of what the command is about, if not of all
    std::optional<Format> format;
    std::optional<std::string> driver; // the embedded one if none is named
    std::optional<uint32_t> session;
    uint32_t device = 0;
    bool demo = false;
    std::optional<std::string> routes;
    bool from_hw = false;
    bool time = false;
    std::optional<uint32_t> corrupt; // how many entries
    std::optional<uint32_t> seed;
};

extern const char usage[];
extern const char version[];

// Throws Problem.
Arguments read_arguments(int count, char** arguments);

} // namespace pd_show
