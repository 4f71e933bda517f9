// Expansion of snippets by recursive descent.
#include "generator/snippet.h"

#include <stdexcept>

namespace generator {

namespace {

[[noreturn]] void refuse(std::string_view what, std::string_view snippet) {
    throw std::runtime_error(std::string(what) + " in snippet: " + std::string(snippet));
}

// The first position from `from` on that has one of `stops` at the same nesting level.
size_t find_at_level(std::string_view snippet, size_t from, std::string_view stops) {
    int depth = 0;
    for (size_t at = from; at < snippet.size(); ++at) {
        if (depth == 0 && stops.find(snippet[at]) != std::string_view::npos) return at;
        if (snippet[at] == '[') ++depth;
        if (snippet[at] == ']') --depth;
    }
    refuse("an unclosed choice", snippet);
}

} // namespace

const std::string& Context::value(std::string_view name) const {
    const auto found = values_.find(name);
    if (found == values_.end()) throw std::runtime_error("no value has the name " + std::string(name));
    return found->second;
}

bool Context::holds(std::string_view name) const {
    const auto found = flags_.find(name);
    if (found == flags_.end()) throw std::runtime_error("no flag has the name " + std::string(name));
    return found->second;
}

std::string expand(std::string_view snippet, const Context& context) {
    std::string text;
    for (size_t at = 0; at < snippet.size(); ++at) {
        if (snippet.substr(at, 2) == "{{" || snippet.substr(at, 2) == "}}") {
            text += snippet[at++];
        } else if (snippet[at] == '{') {
            const size_t close = snippet.find('}', at);
            if (close == std::string_view::npos) refuse("an unclosed name", snippet);
            text += context.value(snippet.substr(at + 1, close - at - 1));
            at = close;
        } else if (snippet[at] == '[') {
            const size_t question = snippet.find('?', at);
            if (question == std::string_view::npos) refuse("a choice without a flag", snippet);
            const size_t bar = find_at_level(snippet, question + 1, "|]");
            const size_t close = snippet[bar] == ']' ? bar : find_at_level(snippet, bar + 1, "]");
            if (context.holds(snippet.substr(at + 1, question - at - 1)))
                text += expand(snippet.substr(question + 1, bar - question - 1), context);
            else if (bar != close)
                text += expand(snippet.substr(bar + 1, close - bar - 1), context);
            at = close;
        } else if (snippet[at] == ']' || snippet[at] == '}') {
            refuse("a stray bracket", snippet);
        } else {
            text += snippet[at];
        }
    }
    return text;
}

} // namespace generator
