// The layout of the entries of learning digests: packed slots, which hold the driver's bytes.
#pragma once

#include <cstdint>
#include <cstring>

#include "catalog/rows.h"

namespace vl_pd::digest_fields {

// Null for a name that no digest has.
inline const catalog::Digest* find_digest(const char* name) {
    const size_t number = catalog::number_of(catalog::program.digests, name);
    return number == catalog::not_found ? nullptr : &catalog::program.digests[number];
}

// Bytes of one entry. 0 for a name that no digest has.
inline uint32_t entry_size(const char* digest) noexcept {
    const catalog::Digest* const row = find_digest(digest);
    uint32_t size = 0;
    if (row != nullptr)
        for (const catalog::DigestField& field : row->fields)
            size += field.bytes;
    return size;
}

// The address of a field in an entry, and the size of its slot. Null and 0 for an unknown digest or field.
inline const void* field(const void* entry, const char* digest, const char* field_name, uint32_t* size) noexcept {
    *size = 0;
    const catalog::Digest* const row = find_digest(digest);
    if (row == nullptr) return nullptr;
    const auto* at = static_cast<const uint8_t*>(entry);
    for (const catalog::DigestField& field : row->fields) {
        if (catalog::same(field.pd_name, field_name)) {
            *size = field.bytes;
            return at;
        }
        at += field.bytes;
    }
    return nullptr;
}

} // namespace vl_pd::digest_fields
