// JSON strings, and errors in JSON.
#include "views/output.h"

#include <algorithm>
#include <cstdio>

namespace pd_views {
namespace {

constexpr char error_begin[] = R"({"status":500,"message":)"; // as an HTTP server says that it failed

// The bytes of the UTF-8 character that the text begins with; 0 if it begins with none.
size_t length_of_character(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const size_t length = first < 0x80   ? 1
                          : first < 0xC2 ? 0
                          : first < 0xE0 ? 2
                          : first < 0xF0 ? 3
                          : first < 0xF5 ? 4
                                         : 0;
    if (length > text.size()) return 0;
    for (size_t i = 1; i < length; ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
    const auto second = static_cast<unsigned char>(length > 2 ? text[1] : 0);
    const bool is_too_long = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool is_surrogate = first == 0xED && second > 0x9F;
    const bool is_beyond = first == 0xF4 && second > 0x8F;
    return is_too_long || is_surrogate || is_beyond ? 0 : length;
}

} // namespace

void put_json_string(std::string& out, std::string_view text) {
    out += '"';
    for (size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const size_t length = length_of_character(text.substr(i));
        if (length == 0) {
            out += "\\ufffd";
        } else if (byte < ' ' || byte == 0x7F) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
            out += escaped;
        } else {
            if (byte == '"' || byte == '\\') out += '\\';
            out += text.substr(i, length);
        }
        i += std::max<size_t>(length, 1);
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
