// Text and bytes of addresses. Relies on the system's inet_pton and inet_ntop for the text forms.
#include "route_agent/prefix.h"

#include <algorithm>
#include <array>

#include <arpa/inet.h>

namespace route_agent {

Address from_ipv6(const uint8_t* bytes) {
    Address address;
    for (int i = 0; i < 8; ++i) {
        address.high = address.high << 8 | bytes[i];
        address.low = address.low << 8 | bytes[8 + i];
    }
    return address;
}

void to_ipv6(Address address, uint8_t* bytes) {
    for (int i = 0; i < 8; ++i) {
        bytes[i] = static_cast<uint8_t>(address.high >> (56 - 8 * i));
        bytes[8 + i] = static_cast<uint8_t>(address.low >> (56 - 8 * i));
    }
}

std::optional<Address> parse_address(Family family, std::string_view text) {
    std::array<char, INET6_ADDRSTRLEN> terminated{};
    // inet_pton would take what stands before a NUL for the whole.
    if (text.size() >= terminated.size() || text.find('\0') != std::string_view::npos) return std::nullopt;
    std::copy(text.begin(), text.end(), terminated.begin());
    std::array<uint8_t, 16> bytes{};
    if (inet_pton(family == Family::ipv4 ? AF_INET : AF_INET6, terminated.data(), bytes.data()) != 1)
        return std::nullopt;
    return from_ipv6(bytes.data()); // the four bytes of IPv4 come out on top
}

std::string to_text(Family family, Address address) {
    std::array<uint8_t, 16> bytes{};
    to_ipv6(address, bytes.data());
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(family == Family::ipv4 ? AF_INET : AF_INET6, bytes.data(), text.data(), text.size());
    return text.data();
}

std::string to_text(const Prefix& prefix) {
    return to_text(prefix.family, prefix.address) + "/" + std::to_string(prefix.length);
}

} // namespace route_agent
