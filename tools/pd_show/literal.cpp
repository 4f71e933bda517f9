// A parser by recursive descent. It relies on schemas alone: texts have no escapes, and numbers are unsigned.
#include "pd_show/literal.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include "pd_show/problem.h"

namespace pd_show {
namespace {

[[noreturn]] void refuse() {
    throw Problem(exit_failed, "a schema of the library has an unknown form");
}

class Parser {
public:
    explicit Parser(std::string_view text) : rest_(text) {}

    Literal whole() {
        Literal literal = value();
        skip_blanks();
        if (!rest_.empty()) refuse();
        return literal;
    }

private:
    Literal value() {
        skip_blanks();
        if (take("(")) return parenthesis();
        if (take("'")) {
            const size_t length = rest_.find('\'');
            if (length == std::string_view::npos) refuse();
            Literal literal = word(Literal::Kind::text, length);
            rest_.remove_prefix(1);
            return literal;
        }
        if (take("None")) return {};
        for (const char* truth : {"True", "False"})
            if (take(truth)) return {.kind = Literal::Kind::boolean, .text = truth, .items = {}};
        const size_t length = rest_.find_first_not_of("0123456789abcdefx");
        if (length == 0 || rest_.empty()) refuse();
        return word(Literal::Kind::number, std::min(length, rest_.size()));
    }

    // A comma makes the tuple: without one, parentheses stand for what they hold.
    Literal parenthesis() {
        Literal tuple{.kind = Literal::Kind::tuple, .text = {}, .items = {}};
        bool comma = true;
        for (;;) {
            skip_blanks();
            if (take(")")) break;
            if (!comma) refuse();
            tuple.items.push_back(value());
            skip_blanks();
            comma = take(",");
        }
        if (tuple.items.size() == 1 && !comma) {
            Literal only = std::move(tuple.items.front());
            return only;
        }
        return tuple;
    }

    Literal word(Literal::Kind kind, size_t length) {
        Literal literal{.kind = kind, .text = std::string(rest_.substr(0, length)), .items = {}};
        rest_.remove_prefix(length);
        return literal;
    }

    bool take(std::string_view expected) {
        if (!rest_.starts_with(expected)) return false;
        rest_.remove_prefix(expected.size());
        return true;
    }

    void skip_blanks() {
        while (take(" ")) {
        }
    }

    std::string_view rest_;
};

} // namespace

const std::vector<Literal>& Literal::tuple() const {
    if (kind != Kind::tuple) refuse();
    return items;
}

const Literal& Literal::at(size_t position) const {
    if (kind != Kind::tuple || position >= items.size()) refuse();
    return items[position];
}

const std::string& Literal::name() const {
    if (kind != Kind::text) refuse();
    return text;
}

unsigned Literal::number() const {
    const bool hex = text.starts_with("0x");
    const char* const begin = text.data() + (hex ? 2 : 0);
    const char* const end = text.data() + text.size();
    uint32_t value = 0;
    const auto [last, error] = std::from_chars(begin, end, value, hex ? 16 : 10);
    if (kind != Kind::number || error != std::errc() || last != end) refuse();
    return value;
}

bool Literal::truth() const {
    if (kind != Kind::boolean) refuse();
    return text == "True";
}

std::string Literal::hex_digits() const {
    if (kind != Kind::number || !text.starts_with("0x")) refuse();
    return text.substr(2);
}

Literal parse_literal(std::string_view text) {
    return Parser(text).whole();
}

} // namespace pd_show
