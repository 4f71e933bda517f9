// Snippets of C text with holes, from which names, signatures and bodies are made.
//
//   {name}              the value of `name`
//   [flag?text]         `text` where `flag` holds, else nothing
//   [flag?text|other]   `text` where `flag` holds, else `other`
//   {{ }}               braces
//
// Choices may be nested. A name or flag that the context doesn't know is an error: a misspelt hole must not become an
// empty one.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace generator {

class Context {
public:
    void set(std::string_view name, std::string value) {
        values_.insert_or_assign(std::string(name), std::move(value));
    }
    void flag(std::string_view name, bool holds) {
        flags_.insert_or_assign(std::string(name), holds);
    }

    // Throw std::runtime_error for what isn't known.
    const std::string& value(std::string_view name) const;
    bool holds(std::string_view name) const;

private:
    std::map<std::string, std::string, std::less<>> values_;
    std::map<std::string, bool, std::less<>> flags_;
};

std::string expand(std::string_view snippet, const Context& context);

} // namespace generator
