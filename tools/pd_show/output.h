// Standard output, through a large buffer of our own. What can't be written is a Problem, not silence.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace pd_show {

class Output {
public:
    // Room for at least `size` characters, which `put_to` tells the end of.
    char* room(size_t size) {
        if (size > capacity - used_) make_room(size);
        return buffer_.get() + used_;
    }
    void put_to(const char* end) {
        used_ = static_cast<size_t>(end - buffer_.get());
    }
    void put(std::string_view text);
    void flush();

    // In ticks, of writing to the system.
    uint64_t time_spent() const {
        return ticks_;
    }

private:
    static constexpr size_t capacity = size_t{1} << 18;

    void make_room(size_t size);

    std::unique_ptr<char[]> buffer_{new char[capacity]};
    size_t used_ = 0;
    uint64_t ticks_ = 0;
};

} // namespace pd_show
