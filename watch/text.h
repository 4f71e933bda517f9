// A text that grows quickly: what a line of a recording is made in, many times in a second.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace pd_watch {

class Text {
public:
    Text& operator+=(char character) {
        make_room(1);
        data_[size_++] = character;
        return *this;
    }
    Text& operator+=(std::string_view text) {
        make_room(text.size());
        std::memcpy(data_.get() + size_, text.data(), text.size());
        size_ += text.size();
        return *this;
    }
    void number(uint64_t number) {
        if (number < 10) {
            *this += static_cast<char>('0' + number);
            return;
        }
        make_room(20);
        char* const at = data_.get() + size_;
        size_ += static_cast<size_t>(std::to_chars(at, at + 20, number).ptr - at);
    }
    void hex(const void* bytes, size_t count) {
        static constexpr char digits[] = "0123456789abcdef";
        make_room(2 * count);
        char* at = data_.get() + size_;
        const auto* byte = static_cast<const uint8_t*>(bytes);
        for (const uint8_t* const end = byte + count; byte != end; ++byte) {
            *at++ = digits[*byte >> 4];
            *at++ = digits[*byte & 0xF];
        }
        size_ += 2 * count;
    }
    char back() const {
        return data_[size_ - 1];
    }
    std::string_view view() const {
        return {data_.get(), size_};
    }
    void clear() {
        size_ = 0;
    }

private:
    void make_room(size_t count) {
        if (count > capacity_ - size_) grow(count);
    }
    void grow(size_t count) {
        const size_t capacity = 2 * (capacity_ + count) + 1024;
        auto data = std::make_unique<char[]>(capacity);
        if (size_ != 0) std::memcpy(data.get(), data_.get(), size_);
        data_ = std::move(data);
        capacity_ = capacity;
    }

    std::unique_ptr<char[]> data_;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

} // namespace pd_watch
