// Bytes are integers one behind the other: whole words from the source's end, and what is left at its start.
#include "pd/bitstream.h"

namespace vl_pd {

Bitstream Bitstream::prepended_with_bytes(Bitstream stream, const uint8_t* source, uint32_t width) {
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
