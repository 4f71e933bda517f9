// What the tests of the library share: a device on the embedded driver, the calls that reached the driver, and calls of
// exported functions by name, for tests that go through all rows of the catalog.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "catalog/layout.h"
#include "catalog/rows.h"
#include "vl_model/control.h"
#include "vl_model/observe.hpp"
#include "vl_pd/velmar_switch.h"

namespace support {

using Bytes = std::vector<uint8_t>;

inline constexpr pd_device device = 3;
inline constexpr pd_dev_tgt target = {.dev_id = device, .pipe_id = 2, .reserved = 0x1234};
// The target's eight bytes as a recorded call shows them.
inline constexpr uint64_t target_word = uint64_t{0x12340002} << 32 | device;
// The target that reads by handle send: the device on all pipes.
inline constexpr uint64_t all_pipes_word = uint64_t{0xFFFF} << 32 | device;

// The library started on a fresh driver with one device and one session, every call recorded.
class LibraryTest : public testing::Test {
protected:
    LibraryTest();
    ~LibraryTest() override;

    // The calls since the last look: all of them, those that aren't for logging or memory, and those of one function.
    std::vector<vl_model::Call> calls();
    std::vector<vl_model::Call> driver_calls();
    std::vector<vl_model::Call> calls_of(std::string_view function);
    // The call that driver_calls() has. The test fails if there isn't exactly one.
    vl_model::Call only_call();
    // Lines that went to the driver's log since the last look.
    std::vector<std::string> log_lines();

    pd_session session = 0;
};

// The tables of the catalog: all of them, and those with a key.
std::vector<const catalog::Table*> all_tables();
std::vector<const catalog::Table*> keyed_tables();
const catalog::Table& table_named(const char* name);
const catalog::Action& action_of(const catalog::Binding& binding);

// Records with random values in every field. Padding and bits above a field's width are zero.
Bytes random_match_spec(const catalog::Table& table, std::mt19937& random);
Bytes random_action_spec(const catalog::Action& action, std::mt19937& random);

// Handles that a look-up doesn't know, if it knows those of all tables, of all profiles, or of both. They are the gaps
// between the rows' handles, the first handles below and above, handles of other kinds of row, 0 and all ones.
enum class Known { tables, profiles, both };
std::vector<uint32_t> unknown_handles(Known known);

// Calls an exported function by its name, with each argument in a 64-bit word as x86-64 passes it: integers and
// pointers as they are, a pd_dev_tgt as its eight bytes. A word without a value is an argument that the function
// doesn't have.
using Word = std::optional<uint64_t>;
uint32_t call(const std::string& name, std::initializer_list<Word> words);
uint32_t call(const std::string& name, const std::vector<uint64_t>& words);
// The same for a function that may return a pointer.
uint64_t call_for_word(const std::string& name, const std::vector<uint64_t>& words);
// The address of an exported function. The test fails if there is none.
void* address_of(const std::string& name);
inline constexpr size_t most_words = 12;
// Calls the function at this address.
[[gnu::always_inline]] inline uint64_t call_at(void* function, const std::vector<uint64_t>& words) {
    uint64_t w[most_words] = {};
    std::copy_n(words.begin(), std::min(words.size(), most_words), w);
    using Function = uint64_t (*)(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t,
                                  uint64_t, uint64_t, uint64_t, uint64_t);
    return reinterpret_cast<Function>(function)(w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8], w[9], w[10],
                                                w[11]);
}

template <class Pointee>
uint64_t word(Pointee* pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

// An argument with garbage in the bits that a callee must ignore.
constexpr uint64_t dirty(uint32_t value) {
    return uint64_t{0xDEADBEEF} << 32 | value;
}

inline std::string exported(const std::string& name) {
    return "p4_pd_velmar_switch_" + name;
}

// "07 0a 00" for byte strings in expectations.
std::string hex(const Bytes& bytes);

bool is_clear(const void* memory, size_t size);

} // namespace support
