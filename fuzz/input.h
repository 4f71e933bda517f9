// The bytes of a fuzz input, as numbers and texts. Behind the end all bytes are 0.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <string_view>

namespace fuzz {

class Input {
public:
    Input(const uint8_t* data, size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

    bool empty() const {
        return rest_.empty();
    }
    uint8_t byte() {
        if (rest_.empty()) return 0;
        const auto first = static_cast<uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return first;
    }
    // From 0 to count - 1; `count` is at most 65536.
    size_t below(size_t count) {
        const size_t high = count > 256 ? byte() : 0u;
        return (high << 8 | byte()) % count;
    }
    // Mostly a small number.
    uint32_t word() {
        const uint32_t first = byte();
        if (first < 0xE0) return first;
        if (first < 0xF0) return first - 0xF0u; // near the highest
        return uint32_t{byte()} << 24 | uint32_t{byte()} << 16 | uint32_t{byte()} << 8 | byte();
    }
    // Fills memory with zeros, with ones, with random bytes or with bytes of the input.
    void fill(void* memory, size_t size) {
        auto* const bytes = static_cast<uint8_t*>(memory);
        const uint8_t how = byte();
        std::minstd_rand random(how);
        for (size_t i = 0; i < size; ++i)
            bytes[i] = how == 0 ? 0 : how == 1 ? 0xFF : how < 128 ? static_cast<uint8_t>(random() >> 8) : byte();
    }
    std::string_view take(size_t size) {
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        return taken;
    }
    std::string_view take_all() {
        return take(rest_.size());
    }

private:
    std::string_view rest_;
};

// Stops the process, which the fuzzer reports as a find.
inline void demand(bool holds, const std::string& what) {
    if (holds) return;
    std::fprintf(stderr, "fuzz: %s\n", what.c_str());
    std::abort();
}

} // namespace fuzz
