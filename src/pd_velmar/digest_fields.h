// The layout of the entries of learning digests: packed slots, which hold the driver's bytes.
#pragma once

#include <cstdint>

namespace vl_pd::digest_fields {

// Bytes of one entry. 0 for a name that no digest has.
uint32_t entry_size(const char* digest) noexcept;

// The address of a field in an entry, and the size of its slot. Null and 0 for an unknown digest or field.
const void* field(const void* entry, const char* digest, const char* field_name, uint32_t* size) noexcept;

} // namespace vl_pd::digest_fields
