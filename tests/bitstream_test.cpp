// The packed stream that is hashed: worked examples, and random streams against one that is packed byte by byte.
#include "support/library.h"

#include <algorithm>
#include <random>

#include "pd/services/bitstream.h"

namespace {

using namespace support;

struct Field {
    unsigned width;
    Bytes source; // whole bytes, most significant first
};

// Bits above a field's width aren't cut. They are ORed into what comes before, as far as their byte reaches.
TEST(Bitstream, WorkedExamples) {
    const struct {
        std::vector<Field> fields;
        const char *stream, *reason;
    } cases[] = {
        {{{3, {0x05}}, {10, {0x02, 0xab}}}, "16 ab", ""},
        {{{1, {0x01}}, {17, {0x01, 0x23, 0x45}}, {8, {0xab}}}, "03 23 45 ab", ""},
        {{{40, {0x11, 0x22, 0x33, 0x44, 0x55}}, {2, {0x03}}}, "00 44 88 cd 11 57", ""},
        {{{3, {0xFF}}}, "ff", "surplus bits stay"},
        {{{8, {0x00}}, {4, {0xF5}}}, "00 f5", "the lower field's surplus shows in the upper field"},
        {{{5, {0xE1}}, {6, {0x00}}}, "38 40", "or in the high bits of the first byte"},
        {{{2, {0xFF}}, {2, {0x00}}}, "fc", "beyond its byte it is lost"},
    };
    for (const auto& [fields, expected, reason] : cases) {
        unsigned bits = 0;
        for (const Field& field : fields)
            bits += field.width;
        Bytes stream((bits + 7) / 8);
        vl_pd::Bitstream out(stream.data(), stream.size());
        for (auto field = fields.rbegin(); field != fields.rend(); ++field)
            out.prepend_to_bytestream(field->source.data(), field->width);
        out.finish();
        EXPECT_EQ(hex(stream), expected) << reason;
    }
}

// The same stream byte by byte. The value that begins a byte of the stream stores it, those that follow are ORed to it.
class ByteByByte {
public:
    explicit ByteByByte(Bytes& stream) : stream_(stream), at_(stream.size()) {}

    void prepend(const Bytes& source, unsigned width) {
        for (size_t i = source.size(); i-- > 0; width -= 8)
            prepend_byte(source[i], std::min(width, 8u));
    }

private:
    void prepend_byte(uint8_t byte, unsigned width) {
        put(static_cast<uint8_t>(byte << used_));
        const unsigned room = 8 - used_;
        used_ += width;
        if (width < room) return;
        used_ = width - room;
        --at_;
        if (used_ != 0) stream_[at_ - 1] = static_cast<uint8_t>(byte >> room);
    }
    void put(uint8_t byte) {
        uint8_t& to = stream_[at_ - 1];
        to = used_ == 0 ? byte : to | byte;
    }

    Bytes& stream_;
    size_t at_;
    unsigned used_ = 0;
};

// Values with and without surplus bits, as integers and as bytes, in streams up to the last bit of their memory.
TEST(Bitstream, EqualsByteByByte) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 20000; ++trial) {
        const size_t length = random() % 24 + 1;
        Bytes expected(length), stream(length);
        ByteByByte left(expected);
        vl_pd::Bitstream right(stream.data(), length);
        for (size_t room = length * 8; random() % 16 != 0;) {
            const bool integer = random() % 2 == 0;
            const unsigned width = static_cast<unsigned>(random() % (integer ? 33 : 90));
            if (width > room) continue;
            room -= width;
            Bytes source((width + 7) / 8);
            for (uint8_t& byte : source)
                byte = static_cast<uint8_t>(random());
            if (random() % 4 != 0 && width % 8 != 0) source[0] &= static_cast<uint8_t>((1u << width % 8) - 1);
            left.prepend(source, width);
            if (!integer) {
                right.prepend_to_bytestream(source.data(), width);
                continue;
            }
            // Whole bytes above the width's bytes are ignored.
            uint32_t value = source.size() < 4 && random() % 4 == 0 ? static_cast<uint32_t>(random()) : 0;
            for (uint8_t byte : source)
                value = value << 8 | byte;
            right.prepend_integer(value, width);
        }
        right.finish();
        ASSERT_EQ(hex(stream), hex(expected));
    }
}

} // namespace
