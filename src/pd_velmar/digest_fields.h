// How the entries of learning digests are laid out: packed slots, whose bytes are the driver's and aren't converted.
#pragma once

#include <cstdint>

namespace vl_pd::digest_fields {

// Bytes of one entry; 0 for a name that is no digest's.
uint32_t entry_size(const char* digest) noexcept;

// The address of a field in an entry, and the size of its slot. Null and 0 for a digest or field that isn't known.
const void* field(const void* entry, const char* digest, const char* field_name, uint32_t* size) noexcept;

} // namespace vl_pd::digest_fields
