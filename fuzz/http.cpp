// Fuzzes requests to the console. An input is what a client sends. The server finds it sound, finds an error or waits
// for more. Bytes behind that decision change nothing.
#include "console/http.h"
#include "fuzz/input.h"

namespace {

using console::Parsed;
using fuzz::demand;

constexpr size_t most_bytes = 512;

void check(const Parsed& parsed) {
    if (parsed.status != 200) {
        demand(parsed.status >= 400 && parsed.status < 500 && !parsed.message.empty(),
               "an error has no status or text");
        return;
    }
    const console::Request& request = parsed.request;
    demand(request.method == "GET" || request.method == "HEAD", "a method that isn't allowed");
    demand(request.path.starts_with('/'), "a path without its root");
    std::string target = console::percent_encoded(request.path), separator = "?";
    const auto is_sound = [](const std::string& text) { return text.find('\0') == text.npos; };
    demand(is_sound(request.path), "a path with a NUL");
    for (const auto& [name, value] : request.query) {
        demand(is_sound(name) && is_sound(value), "a query with a NUL");
        target += separator + console::percent_encoded(name) + "=" + console::percent_encoded(value);
        separator = "&";
    }
    // The same request, written as a client of ours does.
    target.replace(0, 3, "/"); // %2F
    const Parsed again = console::parse_request("GET " + target + " HTTP/1.1\r\n\r\n", 4 * most_bytes);
    demand(again.status == 200 && again.request.path == request.path && again.request.query == request.query,
           "an encoded target is read differently: " + target);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), std::min(size, most_bytes + 16));
    bool decided = false;
    Parsed first;
    for (size_t count = 0; count <= bytes.size(); ++count) {
        const Parsed parsed = console::parse_request(bytes.substr(0, count), most_bytes);
        if (decided) {
            demand(parsed.status == first.status && parsed.message == first.message, "later bytes change the decision");
        } else if (parsed.status != 0) {
            check(parsed);
            first = parsed;
            decided = true;
        }
    }
    demand(decided || bytes.size() < most_bytes, "a request without an end has no limit");
    return 0;
}
