// Reads recordings.
#pragma once

#include <cstdint>
#include <istream>
#include <memory>
#include <string>

#include <cjson/cJSON.h>

namespace pd_watch {

struct FreeJson {
    void operator()(cJSON* json) const;
};
using Json = std::unique_ptr<cJSON, FreeJson>;

// The lines of a recording, one by one. A recording whose process was killed ends with zeros or in the middle of a
// line: what comes after the last whole line is left out.
class Recording {
public:
    // Throws a Mistake if the file can't be read or isn't a recording of this version and program.
    explicit Recording(const std::string& path);
    // `tail` is the path of a tail, if there may be one.
    Recording(std::unique_ptr<std::istream> lines, std::string name, std::string tail = {});

    // The next call, or null at the end. Throws a Mistake for a line that is no call of a function.
    Json next();

    const std::string& line() const { // the text of that call
        return line_;
    }
    bool was_cut() const { // whether the recording ends without its end
        return cut_;
    }
    bool is_of_embedded_driver() const {
        return embedded_;
    }
    // Throws a Mistake about the line that was read last.
    [[noreturn]] void refuse(const std::string& why) const;
    // Tells people that the recording was cut, if it was.
    void tell_cut() const;

private:
    bool read_line();
    bool open_tail();

    std::string path_;
    std::string tail_path_;
    std::unique_ptr<std::istream> file_;
    std::string line_;
    uint64_t number_ = 0;
    uint64_t sequence_ = 0; // of the line
    bool in_tail_ = false;
    bool cut_ = false;
    bool embedded_ = false;
};

// A member of an object, or null.
inline const cJSON* member(const cJSON* object, const char* name) {
    return cJSON_GetObjectItemCaseSensitive(object, name);
}

// A whole number of at most 64 bits. A long one is text, because numbers of JSON keep 53 bits.
bool read_number(const cJSON* json, uint64_t& number);
// The number of a member, or 0.
uint64_t number_in(const cJSON* object, const char* name);

std::string text_of(const cJSON* json);

} // namespace pd_watch
