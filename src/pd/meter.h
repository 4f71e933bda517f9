// Meter specs on their way to the driver.
#pragma once

#include <cstdint>

#include "vl_driver/resources.h"
#include "vl_pd/types.h"

namespace vl_pd::meter {

// The driver's meter type for the caller's. Packets are taken to reach the meter with a colour already. A type outside
// the enumeration is a logged assertion, after which the meter is colour aware.
std::uint32_t get_bytes_meter_type(std::uint32_t meter_type) noexcept;

// Fills the driver's form of a byte meter. Its reserved words aren't written.
void fill_bytes_meter(const pd_meter_spec& spec, pipe_meter_spec& driver_spec) noexcept;

} // namespace vl_pd::meter
