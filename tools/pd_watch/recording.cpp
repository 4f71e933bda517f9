// See recording.h.
#include "tools/pd_watch/recording.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string_view>
#include <utility>

#include "catalog/rows.h"
#include "tools/pd_watch/commands.h"
#include "watch/functions.h"
#include "watch/line.h"
#include "watch/recorder.h"

namespace pd_watch {

void FreeJson::operator()(cJSON* json) const {
    cJSON_Delete(json);
}

namespace {

// The number of a call, by which its line begins; 0 for the first line.
uint64_t sequence_of(std::string_view line) {
    static constexpr std::string_view begin = "{\"seq\":";
    uint64_t sequence = 0;
    if (line.starts_with(begin)) std::from_chars(line.data() + begin.size(), line.data() + line.size(), sequence);
    return sequence;
}

} // namespace

Recording::Recording(const std::string& path)
    : Recording(std::make_unique<std::ifstream>(path, std::ios::binary), path, tail_path(path)) {}

Recording::Recording(std::unique_ptr<std::istream> lines, std::string name, std::string tail)
    : path_(std::move(name)),
      tail_path_(std::move(tail)),
      file_(std::move(lines)) {
    if (!*file_) throw Mistake(path_ + " can't be read");
    if (!read_line()) throw Mistake(path_ + " is no recording");
    const Json head(cJSON_ParseWithLength(line_.data(), line_.size()));
    const cJSON* const version = member(head.get(), "recording");
    const cJSON* const program = member(head.get(), "program");
    if (!cJSON_IsNumber(version) || !cJSON_IsString(program)) throw Mistake(path_ + " is no recording");
    if (version->valuedouble != recording_version)
        throw Mistake(path_ + " is a recording of another version of pd-watch");
    if (std::string(program->valuestring) != catalog::program.name)
        throw Mistake(path_ + " is a recording of another pipeline, " + program->valuestring);
    embedded_ = cJSON_IsTrue(member(head.get(), "embedded")) != 0;
}

Json Recording::next() {
    if (!read_line()) return nullptr;
    Json call(cJSON_ParseWithLength(line_.data(), line_.size()));
    const cJSON* const function = member(call.get(), "function");
    uint64_t status = 0;
    if (!cJSON_IsString(function) || !cJSON_IsObject(member(call.get(), "raw")) ||
        !cJSON_IsObject(member(call.get(), "outputs")) || !read_number(member(call.get(), "status"), status))
        refuse("this is no call");
    if (function_named(function->valuestring) == nullptr)
        refuse(std::string("there is no function ") + function->valuestring);
    return call;
}

void Recording::refuse(const std::string& why) const {
    throw Mistake(path_ + ", line " + std::to_string(number_) + ": " + why);
}

void Recording::tell_cut() const {
    if (cut_) fprintf(stderr, "pd-watch: %s was cut after line %lu\n", path_.c_str(), number_);
}

bool Recording::read_line() {
    while (true) {
        if (!std::getline(*file_, line_) || file_->eof()) { // the last line has its end unless it was cut
            if (open_tail()) continue;
            cut_ = cut_ || !line_.empty();
            return false;
        }
        ++number_;
        const uint64_t sequence = sequence_of(line_);
        if (in_tail_ && number_ > 1 && sequence <= sequence_)
            continue; // it was written, and the process was killed then
        sequence_ = sequence;
        return true;
    }
}

// Goes on with the tail that a killed process has left. False if there is none.
bool Recording::open_tail() {
    if (std::exchange(in_tail_, true) || tail_path_.empty()) return false;
    std::ifstream tail(tail_path_, std::ios::binary);
    uint64_t used = 0;
    if (!tail.read(reinterpret_cast<char*>(&used), sizeof used) || used > sizeof Tail::lines) return false;
    std::string lines(used, 0);
    tail.read(lines.data(), static_cast<std::streamsize>(used));
    lines.resize(static_cast<size_t>(tail.gcount()));
    file_ = std::make_unique<std::istringstream>(std::move(lines));
    return true;
}

bool read_number(const cJSON* json, uint64_t& number) {
    if (cJSON_IsString(json)) {
        const char* const end = json->valuestring + std::strlen(json->valuestring);
        const auto [at, error] = std::from_chars(json->valuestring, end, number);
        return error == std::errc() && at == end;
    }
    if (!cJSON_IsNumber(json) || !(json->valuedouble >= 0 && json->valuedouble <= 0x1p53) ||
        json->valuedouble != std::floor(json->valuedouble))
        return false;
    number = static_cast<uint64_t>(json->valuedouble);
    return true;
}

uint64_t number_in(const cJSON* object, const char* name) {
    uint64_t number = 0;
    return read_number(member(object, name), number) ? number : 0;
}

std::string text_of(const cJSON* json) {
    if (json == nullptr) return "nothing";
    const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(json), cJSON_free);
    return text == nullptr ? "" : text.get();
}

} // namespace pd_watch
