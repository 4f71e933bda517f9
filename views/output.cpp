// JSON strings, and errors in JSON.
#include "views/output.h"

#include <cstdio>

namespace pd_views {
namespace {

constexpr char error_begin[] = R"({"status":500,"message":)"; // as an HTTP server says that it failed

} // namespace

void put_json_string(std::string& out, std::string_view text) {
    out += '"';
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte < ' ' || byte >= 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            out += escaped;
            continue;
        }
        if (letter == '"' || letter == '\\') out += '\\';
        out += letter;
    }
    out += '"';
}

void JsonArray::end(const Complaints& complaints) {
    for (const std::string& line : complaints.lines()) {
        begin();
        out_.text.append(R"({"error":)").append(error_begin);
        put_json_string(out_.text, line);
        out_.text += "}}";
    }
    out_.put("\n]\n");
}

void end_json_object(Output& out, const Complaints& complaints) {
    const char* before = R"(,"errors":[)";
    for (const std::string& line : complaints.lines()) {
        out.text.append(std::exchange(before, ",")).append(error_begin);
        put_json_string(out.text, line);
        out.text += "}";
    }
    out.put(complaints.any() ? "]}\n" : "}\n");
}

} // namespace pd_views
