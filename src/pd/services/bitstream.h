// A packed stream of bits, built from its end toward its start. Less than a word waits in a register, because reading
// back bytes that were just stored costs more than everything else.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "codec/bytes.h"

namespace vl_pd {

// The stream is one big-endian number. Each new value goes above the values before it, without alignment. A value that
// is wider than its given width is cut to whole bytes. Its surplus bits fill the rest of the topmost byte, and the next
// value is ORed to them; surplus beyond that byte is lost.
class Bitstream {
public:
    // `bytes` outlives the stream. finish() completes them, from the end as far as the values reach.
    Bitstream(uint8_t* bytes, size_t length) : unset_end_(bytes + length) {}

    // `source` has whole bytes for `width` bits, most significant first.
    void prepend_to_bytestream(const uint8_t* source, uint32_t width) {
        *this = prepended_with_bytes(*this, source, width);
    }

    // The same for an integer; `width` is up to 32.
    void prepend_integer(uint32_t value, uint32_t width) {
        uint64_t bits = value;
        if (bits >> width != 0) [[unlikely]] {
            const uint32_t room = whole_bytes(used_ + width) - used_;
            bits &= (uint64_t{1} << std::min(whole_bytes(width), room)) - 1;
        }
        pending_ |= bits << used_;
        used_ += width;
        if (used_ < word_bits) return;
        unset_end_ -= sizeof(uint32_t);
        bytes::store_big_endian<sizeof(uint32_t)>(unset_end_, static_cast<uint32_t>(pending_));
        pending_ >>= word_bits;
        used_ -= word_bits;
    }

    // Stores the rest. Must be the last call.
    void finish() {
        for (uint32_t done = 0; done < used_; done += 8)
            *--unset_end_ = static_cast<uint8_t>(pending_ >> done);
    }

private:
    static constexpr uint32_t word_bits = 32;

    static constexpr uint32_t whole_bytes(uint32_t width) {
        return (width + 7) / 8 * 8;
    }

    // By value, because a stream doesn't stay in registers once its address is known to a function.
    static Bitstream prepended_with_bytes(Bitstream stream, const uint8_t* source, uint32_t width);

    uint8_t* unset_end_;   // of the bytes that aren't stored yet
    uint64_t pending_ = 0; // the bits that come before unset_end_, and the surplus of the topmost value
    uint32_t used_ = 0;    // the count of these bits, without the surplus; below word_bits between calls
};

// Takes whole words from the end of the source, and then the rest at its start.
[[gnu::noinline]] inline Bitstream Bitstream::prepended_with_bytes(Bitstream stream, const uint8_t* source,
                                                                   uint32_t width) {
    const uint8_t* end = source + (size_t{width} + 7) / 8;
    for (; width > word_bits; width -= word_bits) {
        end -= sizeof(uint32_t);
        stream.prepend_integer(bytes::load_big_endian<sizeof(uint32_t)>(end), word_bits);
    }
    uint32_t top = 0;
    for (; source != end; ++source)
        top = top << 8 | *source;
    stream.prepend_integer(top, width);
    return stream;
}

} // namespace vl_pd
