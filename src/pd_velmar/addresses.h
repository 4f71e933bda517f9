// Addresses as people write them, after a label. Each function adds a terminator and returns the length of its text. If
// there is nothing to show, it returns 0 and leaves the buffer untouched. Each text ends in a blank, except that of
// print_v6addr_exact.
//
// The halves of a MAC address are 24-bit values. IPv4 addresses are in the machine's byte order, IPv6 addresses 16
// bytes in network order.
#pragma once

#include <cstdint>

namespace vl_pd::addresses {

int print_mac_exact(char* buffer, const char* label, uint32_t oui, uint32_t station) noexcept;
// The mask is shown unless it is all ones. If it is zero, there is nothing to show.
int print_mac_ternary(char* buffer, const char* label, uint32_t oui, uint32_t oui_mask, uint32_t station,
                      uint32_t station_mask) noexcept;

int print_v4addr_exact(char* buffer, const char* label, uint32_t address) noexcept;
// The low 16 bits of prefix_length count.
int print_v4addr_lpm(char* buffer, const char* label, uint32_t address, uint32_t prefix_length) noexcept;
// The mask is shown as the length of its leading run of ones. The address is shown whole.
int print_v4addr_ternary(char* buffer, const char* label, uint32_t address, uint32_t mask) noexcept;

int print_v6addr_exact(char* buffer, const char* label, const uint8_t* address) noexcept;
int print_v6addr_lpm(char* buffer, const char* label, const uint8_t* address, uint32_t prefix_length) noexcept;
// The mask is shown as an address.
int print_v6addr_ternary(char* buffer, const char* label, const uint8_t* address, const uint8_t* mask) noexcept;

} // namespace vl_pd::addresses
