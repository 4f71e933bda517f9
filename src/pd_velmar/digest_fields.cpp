// The slots of an entry follow each other without gaps.
#include "pd_velmar/digest_fields.h"

#include <cstring>

#include "catalog/rows.h"

namespace vl_pd::digest_fields {

namespace {

const catalog::Digest* find_digest(const char* name) {
    for (const catalog::Digest& digest : catalog::program.digests)
        if (std::strcmp(digest.name, name) == 0) return &digest;
    return nullptr;
}

} // namespace

uint32_t entry_size(const char* digest) noexcept {
    const catalog::Digest* const row = find_digest(digest);
    uint32_t size = 0;
    if (row != nullptr)
        for (const catalog::DigestField& field : row->fields)
            size += field.bytes;
    return size;
}

const void* field(const void* entry, const char* digest, const char* field_name, uint32_t* size) noexcept {
    *size = 0;
    const catalog::Digest* const row = find_digest(digest);
    if (row == nullptr) return nullptr;
    const auto* at = static_cast<const uint8_t*>(entry);
    for (const catalog::DigestField& field : row->fields) {
        if (std::strcmp(field.pd_name, field_name) == 0) {
            *size = field.bytes;
            return at;
        }
        at += field.bytes;
    }
    return nullptr;
}

} // namespace vl_pd::digest_fields
