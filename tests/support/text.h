// What the tests of texts share: a buffer that shows every byte that a writer touches.
#pragma once

#include <algorithm>
#include <string>

#include "support/library.h"

namespace support {

// The text that `write(buffer)` writes. The function must return its length, write a terminator, and nothing after
// that. If it returns 0, it must not write at all.
template <class Write>
std::string written(Write write) {
    constexpr char untouched = '\xA5';
    char buffer[4096];
    std::fill(std::begin(buffer), std::end(buffer), untouched);
    const int length = static_cast<int>(write(static_cast<char*>(buffer)));
    if (length < 0 || length >= static_cast<int>(sizeof buffer)) {
        ADD_FAILURE() << "a length of " << length;
        return {};
    }
    const std::string text(buffer, static_cast<size_t>(length));
    EXPECT_EQ(text.find_first_of(std::string{untouched, '\0'}), text.npos) << "the result is the text's length";
    const char* behind = buffer + length;
    if (length != 0) {
        EXPECT_EQ(*behind++, '\0');
    }
    EXPECT_TRUE(std::all_of(behind, std::cend(buffer), [](char byte) { return byte == untouched; }))
        << "nothing is written after '" << text << "'";
    return text;
}

// The text of an exported writer, called by its name with the buffer as the last argument.
inline std::string text_of(const std::string& name, std::vector<uint64_t> words) {
    return written([&](char* buffer) {
        words.push_back(word(buffer));
        return call(exported(name), words);
    });
}

// The value string of an entry, which is the same by the table's name and by its handle.
inline std::string value_of_entry(const catalog::Table& table, pd_session session, pd_entry entry) {
    const std::string text =
        text_of(std::string(table.name) + "_value", {dirty(session), dirty(device), dirty(entry), 0});
    EXPECT_EQ(text_of("entry_value", {dirty(session), dirty(device), dirty(table.handle), dirty(entry), 0}), text);
    return text;
}

} // namespace support
