// What the tests of resources and services share: operations that are one driver call. The embedded driver doesn't
// carry them out. Each succeeds, unless a test gives another answer.
#pragma once

#include <cstring>
#include <utility>

#include "support/library.h"

namespace support {

using Words = std::vector<uint64_t>;
using vl_model::AnsweredCall;
using vl_model::Call;

// In expected arguments: any address inside the library.
inline constexpr uint64_t some_address = ~0ull;

inline Words operator+(Words first, const Words& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

template <class Record>
Bytes bytes_of(const Record& record) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&record);
    return Bytes(bytes, bytes + sizeof record);
}

// An operation that is one driver call. Names and arguments lack the beginning that all operations of a row share.
struct Operation {
    std::string name;
    Words words;
    const char* function;
    Words args;
};

class ForwardingTest : public LibraryTest {
protected:
    ForwardingTest() {
        for (const char* const functions : {"pipe_*", "bf_snapshot_*"})
            vl_model::answer_calls_with(functions, 0);
    }

    // These calls were made since the last look, and no others. Returns them.
    std::vector<Call> expect_calls(const std::vector<std::pair<std::string, Words>>& expected) {
        std::vector<Call> made = driver_calls();
        std::vector<std::pair<std::string, Words>> shown;
        for (const Call& call : made) {
            Words args = call.args;
            const Words wanted = shown.size() < expected.size() ? expected[shown.size()].second : Words{};
            for (size_t i = 0; i < std::min(args.size(), wanted.size()); ++i)
                if (wanted[i] == some_address && args[i] != 0) args[i] = some_address;
            shown.emplace_back(call.function, args);
        }
        EXPECT_EQ(shown, expected);
        made.resize(expected.size());
        return made;
    }
    Call expect_call(const std::string& function, const Words& args) {
        return expect_calls({{function, args}})[0];
    }

    // Calls an operation that is one driver call and returns its status. Returns the call.
    Call expect_forwarded(const std::string& operation, const Words& words, const std::string& function,
                          const Words& args) {
        SCOPED_TRACE(operation);
        vl_model::fail_call(function, 1, 0x87654321);
        EXPECT_EQ(call(exported(operation), words), 0x87654321u);
        expect_call(function, args);
        EXPECT_EQ(call(exported(operation), words), 0u);
        return expect_call(function, args);
    }

    // The same for the operations of a row. Returns their calls.
    std::vector<Call> expect_operations(const std::vector<Operation>& operations, const std::string& name_start,
                                        const Words& first_words, const std::string& function_start,
                                        const Words& first_args) {
        std::vector<Call> made;
        made.reserve(operations.size());
        for (const auto& [name, words, function, args] : operations)
            made.push_back(
                expect_forwarded(name_start + name, first_words + words, function_start + function, first_args + args));
        return made;
    }
};

} // namespace support
