// A packed stream of bits, built from its end toward its start.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vl_pd {

// The stream is one big-endian number; each value that is prepended stands above those before it, with no alignment.
class Bitstream {
public:
    // `bytes` is zeroed and outlives the stream. With a length of 0 nothing may be prepended.
    Bitstream(std::uint8_t* bytes, std::size_t length) : begin_(bytes), at_(length == 0 ? bytes : bytes + length - 1) {}

    // `source` has whole bytes for `width` bits, most significant first. Bits of its first byte above the width are not
    // cut: they stand in the stream's byte above the value, where the next one is ORed to them.
    void prepend_to_bytestream(const std::uint8_t* source, std::uint32_t width);

    // The same for an integer of up to 32 bits.
    void prepend_integer(std::uint32_t value, std::uint32_t width) {
        if (width < 32 && value >> width != 0) return prepend_misfit(value, width);
        // What stands in the lowest byte already, and the value above it.
        std::uint64_t word = std::uint64_t{value} << used_;
        if (used_ != 0) word |= *at_;
        const std::uint32_t end = used_ + width;
        if (at_ - begin_ >= 7) {
            // Eight bytes at once: above the value they are zero, as they are in the stream.
            const std::uint64_t bytes = __builtin_bswap64(word);
            std::memcpy(at_ - 7, &bytes, sizeof bytes);
        } else {
            for (std::uint32_t done = 0; done < end; done += 8)
                *(at_ - done / 8) = static_cast<std::uint8_t>(word >> done);
        }
        at_ -= end / 8;
        used_ = end % 8;
    }

private:
    void prepend_misfit(std::uint32_t value, std::uint32_t width);
    void prepend_whole_bytes(const std::uint8_t* source, std::uint32_t left);
    void prepend_shifted(const std::uint8_t* source, std::uint32_t left);

    std::uint8_t* begin_;
    std::uint8_t* at_;       // the byte that is written next
    std::uint32_t used_ = 0; // bits of it that are in use, from its low end: 0 to 7
};

} // namespace vl_pd
