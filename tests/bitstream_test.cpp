// The packed stream that is hashed, against a concatenation of the same values worked out bit by bit.
#include "support/library.h"

#include <algorithm>
#include <random>

#include "pd/services/bitstream.h"

namespace {

using namespace support;

// The fields of a stream as lists of bits, most significant first.
class Bits {
public:
    void append(const Bytes& source, unsigned width) {
        for (unsigned bit = 0; bit < width; ++bit) {
            const unsigned at = static_cast<unsigned>(source.size()) * 8 - width + bit;
            bits_.push_back(source[at / 8] >> (7 - at % 8) & 1);
        }
    }
    Bytes packed() const {
        Bytes bytes((bits_.size() + 7) / 8);
        const size_t spare = bytes.size() * 8 - bits_.size();
        for (size_t i = 0; i < bits_.size(); ++i)
            if (bits_[i]) bytes[(spare + i) / 8] |= static_cast<uint8_t>(0x80 >> (spare + i) % 8);
        return bytes;
    }

private:
    std::vector<bool> bits_;
};

struct Field {
    unsigned width;
    Bytes source; // whole bytes, most significant first
};

Bytes packed(const std::vector<Field>& fields) {
    unsigned bits = 0;
    for (const Field& field : fields)
        bits += field.width;
    Bytes stream((bits + 7) / 8);
    vl_pd::Bitstream out(stream.data(), stream.size());
    for (auto field = fields.rbegin(); field != fields.rend(); ++field)
        out.prepend_to_bytestream(field->source.data(), field->width);
    out.finish();
    return stream;
}

TEST(Bitstream, WorkedExamples) {
    EXPECT_EQ(hex(packed({{3, {0x05}}, {10, {0x02, 0xab}}})), "16 ab");
    EXPECT_EQ(hex(packed({{1, {0x01}}, {17, {0x01, 0x23, 0x45}}, {8, {0xab}}})), "03 23 45 ab");
    EXPECT_EQ(hex(packed({{40, {0x11, 0x22, 0x33, 0x44, 0x55}}, {2, {0x03}}})), "00 44 88 cd 11 57");
}

// The same stream written byte by byte, which is what gives surplus bits their meaning: a byte of the stream is stored
// by the value that begins it, and ORed to by those that follow.
class ByteByByte {
public:
    explicit ByteByByte(Bytes& stream) : stream_(stream), at_(stream.size()) {}

    void prepend(const uint8_t* source, unsigned width) {
        for (const uint8_t* byte = source + (width + 7) / 8; width > 0;) {
            const unsigned taken = std::min(width, 8u);
            prepend_byte(*--byte, taken);
            width -= taken;
        }
    }

private:
    void prepend_byte(uint8_t byte, unsigned width) {
        put(static_cast<uint8_t>(byte << used_));
        const unsigned room = 8 - used_;
        if (width < room) {
            used_ += width;
            return;
        }
        const unsigned rest = width - room;
        used_ = 0;
        --at_;
        if (rest == 0) return;
        put(static_cast<uint8_t>(byte >> room));
        used_ = rest;
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
            left.prepend(source.data(), width);
            if (!integer) {
                right.prepend_to_bytestream(source.data(), width);
                continue;
            }
            // Whole bytes above those of the width play no part.
            uint32_t value = source.size() < 4 && random() % 4 == 0 ? static_cast<uint32_t>(random()) : 0;
            for (uint8_t byte : source)
                value = value << 8 | byte;
            right.prepend_integer(value, width);
        }
        right.finish();
        ASSERT_EQ(hex(stream), hex(expected));
    }
}

TEST(Bitstream, AnyWidthsConcatenate) {
    std::mt19937 random(7);
    for (int trial = 0; trial < 5000; ++trial) {
        std::vector<Field> fields;
        Bits expected;
        for (size_t count = random() % 6 + 1; count > 0; --count) {
            const unsigned width = static_cast<unsigned>(random() % 70); // 0 is a field without bits
            Bytes source((width + 7) / 8);
            for (uint8_t& byte : source)
                byte = static_cast<uint8_t>(random());
            if (width % 8 != 0) source[0] &= static_cast<uint8_t>((1u << width % 8) - 1);
            expected.append(source, width);
            fields.push_back({width, source});
        }
        ASSERT_EQ(hex(packed(fields)), hex(expected.packed()));
    }
}

// Bits above a field's width are not cut: they are ORed into what stands above, as far as their byte reaches.
TEST(Bitstream, ValuesThatDoNotFit) {
    EXPECT_EQ(hex(packed({{3, {0xFF}}})), "ff");
    EXPECT_EQ(hex(packed({{8, {0x00}}, {4, {0xF5}}})), "00 f5") << "the lower field's surplus shows in the upper one";
    EXPECT_EQ(hex(packed({{5, {0xE1}}, {6, {0x00}}})), "38 40") << "or in the first byte's high bits";
    EXPECT_EQ(hex(packed({{2, {0xFF}}, {2, {0x00}}})), "fc") << "and beyond its byte it is lost";
}

} // namespace
