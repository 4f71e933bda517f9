// IPv4 and IPv6 addresses and prefixes: their text, and the smallest set of prefixes that covers a range.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace route_agent {

enum class Family : uint8_t { ipv4, ipv6 };

constexpr unsigned address_bits(Family family) {
    return family == Family::ipv4 ? 32 : 128;
}

constexpr const char* family_name(Family family) {
    return family == Family::ipv4 ? "IPv4" : "IPv6";
}

// An IPv4 address is in the top 32 bits, above zeros, so that a prefix length means the same in both families.
__extension__ typedef unsigned __int128 Address;

constexpr Address from_ipv4(uint32_t bits) {
    return Address{bits} << 96;
}

constexpr uint32_t to_ipv4(Address address) {
    return static_cast<uint32_t>(address >> 96);
}

// Sixteen bytes in network order.
Address from_ipv6(const uint8_t* bytes);
void to_ipv6(Address address, uint8_t* bytes);

struct Prefix {
    Address address = 0;
    uint8_t length = 0;
    Family family = Family::ipv4;

    friend constexpr auto operator<=>(const Prefix&, const Prefix&) = default;
};

// The prefix of this length that contains the address.
constexpr Prefix network_of(Family family, Address address, unsigned length) {
    // A shift by the whole width is undefined.
    const Address mask = length == 0 ? 0 : ~Address{0} << (128 - length);
    return {address & mask, static_cast<uint8_t>(length), family};
}

// The last of 128 bits that has the prefix, in both families.
constexpr Address last_of(const Prefix& prefix) {
    return prefix.length == 0 ? ~Address{0} : prefix.address + ((Address{1} << (128 - prefix.length)) - 1);
}

// The smallest set of prefixes that covers the range, ends included, in ascending order. `first` must not be above
// `last`.
std::vector<Prefix> split_range(Family family, Address first, Address last);

std::optional<Address> parse_address(Family family, std::string_view text);
std::string address_text(Family family, Address address);          // "10.0.0.0"
std::ostream& operator<<(std::ostream& out, const Prefix& prefix); // "10.0.0.0/8"

// Joins what the parts print.
template <class... Parts>
std::string text_of(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

} // namespace route_agent
