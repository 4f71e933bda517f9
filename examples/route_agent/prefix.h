// IPv4 and IPv6 addresses and prefixes: their text, and the least set of prefixes that covers a range.
#pragma once

#include <bit>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace route_agent {

enum class Family : uint8_t { ipv4, ipv6 };

constexpr unsigned address_bits(Family family) {
    return family == Family::ipv4 ? 32 : 128;
}

constexpr const char* family_name(Family family) {
    return family == Family::ipv4 ? "IPv4" : "IPv6";
}

// An IPv4 address stands in the top 32 bits, above zeros, so that a prefix length means the same in both families.
struct Address {
    uint64_t high = 0;
    uint64_t low = 0;

    friend constexpr auto operator<=>(const Address&, const Address&) = default;
};

constexpr Address operator&(Address a, Address b) {
    return {a.high & b.high, a.low & b.low};
}

constexpr Address operator|(Address a, Address b) {
    return {a.high | b.high, a.low | b.low};
}

constexpr Address operator~(Address a) {
    return {~a.high, ~a.low};
}

constexpr Address next_address(Address a) {
    ++a.low;
    return {a.low == 0 ? a.high + 1 : a.high, a.low};
}

// The top `length` bits, 128 at most.
constexpr Address mask_of(unsigned length) {
    // A shift by the whole width of a word is undefined, hence the cases.
    const auto top = [](unsigned bits) { return bits == 0 ? 0 : ~uint64_t{0} << (64 - bits); };
    return length <= 64 ? Address{top(length), 0} : Address{~uint64_t{0}, top(length - 64)};
}

constexpr Address from_ipv4(uint32_t bits) {
    return {uint64_t{bits} << 32, 0};
}

constexpr uint32_t to_ipv4(Address address) {
    return static_cast<uint32_t>(address.high >> 32);
}

// Sixteen bytes in network order.
Address from_ipv6(const uint8_t* bytes);
void to_ipv6(Address address, uint8_t* bytes);

struct Prefix {
    Address address;
    uint8_t length = 0;
    Family family = Family::ipv4;

    friend constexpr auto operator<=>(const Prefix&, const Prefix&) = default;
};

// The prefix of that length around the address.
constexpr Prefix network_of(Family family, Address address, unsigned length) {
    return {address & mask_of(length), static_cast<uint8_t>(length), family};
}

std::optional<Address> parse_address(Family family, std::string_view text);
std::string to_text(Family family, Address address);
std::string to_text(const Prefix& prefix); // "10.0.0.0/8"

// Covers the range, ends included, with the least number of prefixes, in ascending order. `first` must not be above
// `last`.
template <class Sink>
void split_range(Family family, Address first, Address last, Sink&& sink) {
    last = last | ~mask_of(address_bits(family));
    for (;;) {
        const int zeros = first.low != 0 ? std::countr_zero(first.low) : 64 + std::countr_zero(first.high);
        // The largest block that may begin here, halved until it ends inside the range.
        unsigned length = 128 - static_cast<unsigned>(zeros);
        while ((first | ~mask_of(length)) > last)
            ++length;
        sink(Prefix{first, static_cast<uint8_t>(length), family});
        const Address end = first | ~mask_of(length);
        if (end == last) return;
        first = next_address(end);
    }
}

} // namespace route_agent
