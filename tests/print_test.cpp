// Lines for people: records on a file descriptor, with one write for each line, and addresses in a buffer.
// check_literals.py checks the lines of all records.
#include "support/text.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace support;
using Lines = std::vector<std::string>;

// What each write to a descriptor consisted of. `print(fd)` must return the length of the last write.
template <class Print>
Lines writes_of(Print print) {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    const int result = print(ends[0]);
    close(ends[0]);
    Lines writes;
    char text[512];
    for (ssize_t length; (length = read(ends[1], text, sizeof text)) > 0;)
        writes.emplace_back(text, static_cast<size_t>(length));
    close(ends[1]);
    EXPECT_EQ(result, writes.empty() ? 0 : static_cast<int>(writes.back().size()));
    return writes;
}

TEST(Print, TheResultIsThatOfTheLastWrite) {
    constexpr p4_pd_velmar_switch_ingressPortMapping_match_spec_t key = {.ig_intr_md_ingress_port = 5};
    const auto print = [&](int fd) { return p4_pd_velmar_switch_ingressPortMapping_match_spec_print(fd, 0, &key); };
    const Lines lines = writes_of(print);
    ASSERT_EQ(lines.size(), 2u);
    const auto title = static_cast<int>(lines[0].size()), field = static_cast<int>(lines[1].size());

    // A file that can't grow takes a line if it has room for the whole line.
    const auto print_in_room_of = [&](int size) {
        const int fd = memfd_create("lines", MFD_ALLOW_SEALING);
        EXPECT_EQ(ftruncate(fd, size), 0);
        EXPECT_EQ(fcntl(fd, F_ADD_SEALS, F_SEAL_GROW), 0);
        const int result = print(fd);
        close(fd);
        return result;
    };
    ASSERT_LT(field, title);
    EXPECT_EQ(print_in_room_of(title + field), field);
    EXPECT_LT(print_in_room_of(title + field - 1), 0);
    EXPECT_LT(print_in_room_of(0), 0);
    EXPECT_EQ(print_in_room_of(field), field) << "the failure of the title doesn't show";
}

// The text of an exported printer of addresses.
std::string text(auto print, auto... arguments) {
    return written([&](char* out) { return print(out, arguments...); });
}

TEST(Addresses, Mac) {
    const auto ternary = [](uint32_t oui, uint32_t oui_mask, uint32_t station, uint32_t mask) {
        return text(p4_pd_velmar_switch__print_mac_ternary, "dmac", oui, oui_mask, station, mask);
    };
    EXPECT_EQ(text(p4_pd_velmar_switch__print_mac_exact, "dmac", 0x001122u, 0x334455u), "dmac 0011.2233.4455 ");
    EXPECT_EQ(ternary(0xFF001122, 0xFFFFFFFF, 0xFF334455, 0xFFFFFF), "dmac 0011.2233.4455 ") << "halves of 24 bits";
    EXPECT_EQ(ternary(0x001122, 0, 0x334455, 1), "dmac 0011.2233.4455/0000.0000.0001 ");
    EXPECT_EQ(ternary(0xABCDEF, 0x7FFFFF, 0x123456, 0xFFFFFF), "dmac abcd.ef12.3456/7fff.ffff.ffff ");
    EXPECT_EQ(ternary(0x001122, 0, 0x334455, 0), "");
    EXPECT_EQ(ternary(0x001122, 0xFF000000, 0x334455, 0x01000000), "") << "no bit of the 48";
}

TEST(Addresses, Ipv4) {
    const auto ternary = [](uint32_t address, uint32_t mask) {
        return text(p4_pd_velmar_switch__print_v4addr_ternary, "dip", address, mask);
    };
    EXPECT_EQ(text(p4_pd_velmar_switch__print_v4addr_exact, "%s%n", 0xFFFEFD09), "%s%n 255.254.253.9 ")
        << "a label isn't a format";
    EXPECT_EQ(text(p4_pd_velmar_switch__print_v4addr_lpm, "", 0x0A000001u, 0x10108u), " 10.0.0.1/264 ")
        << "16 bits of the length count";
    EXPECT_EQ(ternary(0x0A000001, 0xFF000000), "dip 10.0.0.1/8 ");
    EXPECT_EQ(ternary(0x0A000001, 0xFFFFFFFF), "dip 10.0.0.1/32 ");
    EXPECT_EQ(ternary(0x0A000001, 0x00FF0000), "dip 10.0.0.1/0 ");
    EXPECT_EQ(ternary(0x0A0B0C0D, 0xFF00FF00), "dip 10.11.12.13/8 ");
    EXPECT_EQ(ternary(0x0A000001, 0), "");
}

TEST(Addresses, Ipv6) {
    const uint8_t address[16] = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    const auto ternary = [&](const Bytes& mask) {
        return text(p4_pd_velmar_switch__print_v6addr_ternary, "dip", address, mask.data());
    };
    Bytes high(16), last(16);
    high[0] = 0xFF;
    high[1] = 0xF0;
    last[15] = 1;
    EXPECT_EQ(text(p4_pd_velmar_switch__print_v6addr_exact, "dip", address), "dip 2001:db8::1")
        << "this text alone doesn't end in a blank";
    EXPECT_EQ(text(p4_pd_velmar_switch__print_v6addr_lpm, "dip", address, 65535u), "dip 2001:db8::1/65535 ");
    EXPECT_EQ(ternary(high), "dip 2001:db8::1/fff0:: ");
    EXPECT_EQ(ternary(last), "dip 2001:db8::1/::1 ");
    EXPECT_EQ(ternary(Bytes(16)), "");
}

} // namespace
