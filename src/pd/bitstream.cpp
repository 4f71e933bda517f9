// Bytes are taken from the last of the source to its first. On a byte boundary they are stored as they are; elsewhere
// each is split over two bytes of the stream.
#include "pd/bitstream.h"

#include "pd/bytes.h"

namespace vl_pd {

void Bitstream::prepend_to_bytestream(const std::uint8_t* source, std::uint32_t width) {
    if (width == 0) return;
    const std::uint8_t* const last = source + (width + 7) / 8 - 1;
    if (used_ == 0)
        prepend_whole_bytes(last, width);
    else
        prepend_shifted(last, width);
}

// An integer with bits above its width goes the way of bytes, whose surplus has a meaning.
void Bitstream::prepend_misfit(std::uint32_t value, std::uint32_t width) {
    std::uint8_t source[4];
    bytes::store_big_endian<4>(source, value);
    prepend_to_bytestream(source + sizeof source - (width + 7) / 8, width);
}

void Bitstream::prepend_whole_bytes(const std::uint8_t* source, std::uint32_t left) {
    for (; left >= 8; left -= 8)
        *at_-- = *source--;
    if (left != 0) *at_ = *source;
    used_ = left;
}

void Bitstream::prepend_shifted(const std::uint8_t* source, std::uint32_t left) {
    const std::uint32_t shift = used_;
    const std::uint32_t room = 8 - shift;
    while (true) {
        *at_ = static_cast<std::uint8_t>(*at_ | *source << shift);
        if (room > left) {
            used_ = shift + left;
            return;
        }
        --at_;
        left -= room;
        used_ = 0;
        if (left == 0) return;

        *at_ = static_cast<std::uint8_t>(*at_ | *source >> room);
        if (shift > left) {
            used_ = left;
            return;
        }
        left -= shift;
        used_ = shift;
        if (left == 0) return;
        --source;
    }
}

} // namespace vl_pd
