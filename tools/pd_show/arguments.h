// The command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pd_show {

struct Work;
using Command = bool(const Work& work);

enum class Format { text, json, value };

struct Arguments {
    const char* answer = nullptr; // the help or the version; if it is set, there is no command
    Command* command = nullptr;
    std::optional<std::string> name; // of a table or counter; the command is about all of them if there is none
    std::vector<std::string> more;   // the words after the name
    std::optional<Format> format;
    std::optional<std::string> driver; // the embedded driver if none is given
    std::optional<uint32_t> session;
    uint32_t device = 0;
    bool demo = false;
    std::optional<std::string> routes;
    bool from_hw = false;
    bool time = false;
    std::optional<uint32_t> corrupt; // how many entries
    std::optional<uint32_t> seed;
};

// Throws Problem.
Arguments read_arguments(int count, char** arguments);

} // namespace pd_show
