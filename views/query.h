// What a command shows, of what, and how.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vl_pd/types.h"

namespace pd_views {

enum class Format { text, json, value };

struct Query {
    std::optional<std::string> name; // of a table, counter or profile; the command is about all if there is none
    std::vector<std::string> words;  // the words after the name
    Format format = Format::text;
    bool from_hw = false;
    unsigned usual_vrf = 1;        // of a route
    std::optional<pd_entry> after; // of the entries of one table: those that follow this handle
    std::optional<uint32_t> limit; // of them: at most so many
};

} // namespace pd_views
