// Python literals, as far as schemas have them: tuples, quoted names, numbers, True, False and None.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pd_show {

struct Literal {
    enum class Kind { none, boolean, number, text, tuple };

    // These throw Problem if the literal is of another kind, or has no such item.
    const std::vector<Literal>& tuple() const;
    const Literal& at(size_t position) const;
    const std::string& name() const;
    unsigned number() const; // of at most 32 bits
    bool truth() const;
    // The digits of a hexadecimal number, which may have any width.
    std::string hex_digits() const;

    Kind kind = Kind::none;
    std::string text; // of a text or a number, as it stands there
    std::vector<Literal> items;
};

// Throws Problem if the text is no such literal.
Literal parse_literal(std::string_view text);

} // namespace pd_show
