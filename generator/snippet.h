// Snippets of C text with holes. Names, signatures and bodies are made from them.
//
//   {name}              the value of `name`
//   [flag?text]         `text` if `flag` holds, else nothing
//   [flag?text|other]   `text` if `flag` holds, else `other`
//   {{ }}               braces
//
// Choices may be nested. A name or flag that the context doesn't know is an error, so that a misspelt hole isn't
// left empty.
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

    // Throw std::runtime_error for an unknown name.
    const std::string& value(std::string_view name) const;
    bool holds(std::string_view name) const;

private:
    std::map<std::string, std::string, std::less<>> values_;
    std::map<std::string, bool, std::less<>> flags_;
};

std::string expand(std::string_view snippet, const Context& context);

} // namespace generator
