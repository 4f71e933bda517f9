// The command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "views/query.h"

namespace pd_show {

enum class CommandName { tables, table, entries, profiles, counters, verify, match, route, serve };

struct Arguments {
    const char* answer = nullptr; // the help or the version; if it is set, there is no command
    CommandName command = CommandName::tables;
    pd_views::Query query;
    std::optional<std::string> agent;  // the socket of a running agent
    std::optional<std::string> listen; // for serve: the address
    bool allow_remote = false;
    std::optional<std::string> driver; // the embedded driver if none is given
    std::optional<uint32_t> session;
    std::optional<uint32_t> device; // 0 if none is given
    bool demo = false;
    std::optional<std::string> routes;
    bool time = false;
    std::optional<uint32_t> corrupt; // how many entries
    std::optional<uint32_t> seed;
};

// Throws a Problem.
Arguments read_arguments(int count, char** arguments);

} // namespace pd_show
