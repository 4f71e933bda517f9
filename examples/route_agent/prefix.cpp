// Splits ranges, and converts addresses to and from bytes and text. The system's inet_pton and inet_ntop do the text.
#include "route_agent/prefix.h"

#include <algorithm>
#include <array>

#include <arpa/inet.h>

namespace route_agent {

Address from_ipv6(const uint8_t* bytes) {
    Address address = 0;
    for (int i = 0; i < 16; ++i)
        address = address << 8 | bytes[i];
    return address;
}

void to_ipv6(Address address, uint8_t* bytes) {
    for (int i = 0; i < 16; ++i)
        bytes[i] = static_cast<uint8_t>(address >> (120 - 8 * i));
}

std::vector<Prefix> split_range(Family family, Address first, Address last) {
    const unsigned width = address_bits(family);
    last = last_of({last, static_cast<uint8_t>(width), family});
    std::vector<Prefix> prefixes;
    for (;;) {
        Prefix largest = {first, static_cast<uint8_t>(width), family};
        while (largest.length > 0) {
            const Prefix twice = network_of(family, first, largest.length - 1u);
            if (twice.address != first || last_of(twice) > last) break;
            largest = twice;
        }
        prefixes.push_back(largest);
        if (last_of(largest) == last) return prefixes;
        first = last_of(largest) + 1;
    }
}

std::optional<Address> parse_address(Family family, std::string_view text) {
    std::array<char, INET6_ADDRSTRLEN> terminated{};
    // inet_pton would take the part before a NUL for the whole text.
    if (text.size() >= terminated.size() || text.find('\0') != std::string_view::npos) return std::nullopt;
    std::ranges::copy(text, terminated.begin());
    std::array<uint8_t, 16> bytes{};
    if (inet_pton(family == Family::ipv4 ? AF_INET : AF_INET6, terminated.data(), bytes.data()) != 1)
        return std::nullopt;
    return from_ipv6(bytes.data()); // the four bytes of IPv4 end up on top
}

std::string address_text(Family family, Address address) {
    std::array<uint8_t, 16> bytes{};
    to_ipv6(address, bytes.data());
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(family == Family::ipv4 ? AF_INET : AF_INET6, bytes.data(), text.data(), text.size());
    return text.data();
}

std::ostream& operator<<(std::ostream& out, const Prefix& prefix) {
    return out << address_text(prefix.family, prefix.address) << '/' << unsigned{prefix.length};
}

} // namespace route_agent
