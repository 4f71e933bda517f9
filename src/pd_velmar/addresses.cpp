// Labels are copied, never used as formats: they may hold percent signs.
#include "pd_velmar/addresses.h"

#include <arpa/inet.h>

#include <bit>

#include "pd_velmar/text_writer.h"

namespace vl_pd::addresses {

namespace {

using namespace text;

constexpr uint32_t half = 0xFFFFFF; // of a MAC address

char* put_label(char* out, const char* label) {
    return put(put(out, std::string_view(label)), " ");
}

char* put_mac(char* out, uint32_t oui, uint32_t station) {
    out = put(put_hex<4>(out, oui >> 8 & 0xFFFF), ".");
    out = put(put_hex<4>(out, (oui & 0xFF) << 8 | (station >> 16 & 0xFF)), ".");
    return put_hex<4>(out, station & 0xFFFF);
}

char* put_v4(char* out, uint32_t address) {
    out = put(put_decimal(out, address >> 24), ".");
    out = put(put_decimal(out, address >> 16 & 0xFF), ".");
    out = put(put_decimal(out, address >> 8 & 0xFF), ".");
    return put_decimal(out, address & 0xFF);
}

char* put_v6(char* out, const uint8_t* address) {
    char shown[INET6_ADDRSTRLEN] = "Decode error";
    inet_ntop(AF_INET6, address, shown, sizeof shown);
    return put(out, std::string_view(shown));
}

bool all_zero(const uint8_t* bytes16) {
    const bytes::Block block = bytes::load_block(bytes16);
    return (block.words[0] | block.words[1]) == 0;
}

} // namespace

int print_mac_exact(char* buffer, const char* label, uint32_t oui, uint32_t station) noexcept {
    return finish(buffer, put(put_mac(put_label(buffer, label), oui, station), " "));
}

int print_mac_ternary(char* buffer, const char* label, uint32_t oui, uint32_t oui_mask, uint32_t station,
                      uint32_t station_mask) noexcept {
    const uint64_t mask = uint64_t{oui_mask & half} << 24 | (station_mask & half);
    if (mask == 0xFFFFFFFFFFFF) return print_mac_exact(buffer, label, oui, station);
    if (mask == 0) return 0;
    char* const out = put(put_mac(put_label(buffer, label), oui, station), "/");
    return finish(buffer, put(put_mac(out, oui_mask, station_mask), " "));
}

int print_v4addr_exact(char* buffer, const char* label, uint32_t address) noexcept {
    return finish(buffer, put(put_v4(put_label(buffer, label), address), " "));
}

int print_v4addr_lpm(char* buffer, const char* label, uint32_t address, uint32_t prefix_length) noexcept {
    char* const out = put(put_v4(put_label(buffer, label), address), "/");
    return finish(buffer, put(put_decimal(out, prefix_length & 0xFFFF), " "));
}

int print_v4addr_ternary(char* buffer, const char* label, uint32_t address, uint32_t mask) noexcept {
    if (mask == 0) return 0;
    return print_v4addr_lpm(buffer, label, address, static_cast<uint32_t>(std::countl_one(mask)));
}

int print_v6addr_exact(char* buffer, const char* label, const uint8_t* address) noexcept {
    return finish(buffer, put_v6(put_label(buffer, label), address));
}

int print_v6addr_lpm(char* buffer, const char* label, const uint8_t* address, uint32_t prefix_length) noexcept {
    char* const out = put(put_v6(put_label(buffer, label), address), "/");
    return finish(buffer, put(put_decimal(out, prefix_length & 0xFFFF), " "));
}

int print_v6addr_ternary(char* buffer, const char* label, const uint8_t* address, const uint8_t* mask) noexcept {
    if (all_zero(mask)) return 0;
    char* const out = put(put_v6(put_label(buffer, label), address), "/");
    return finish(buffer, put(put_v6(out, mask), " "));
}

} // namespace vl_pd::addresses
