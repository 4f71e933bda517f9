// The two forms of a meter spec: what agents fill, and what the driver takes. Numbers are widened on the way to the
// driver, and cut to their low 32 bits on the way back.
#pragma once

#include <cstdint>

#include "vl_driver/resources.h"
#include "vl_pd/types.h"

namespace vl_pd::meters {

// The driver's meter type for the agent's. Packets are taken to reach the meter with a colour. An unknown type fails a
// logged assertion and becomes colour aware.
uint32_t get_bytes_meter_type(uint32_t meter_type) noexcept;

// `driver_type` and `unit` are the driver's. Reserved words are zero.
pipe_meter_spec driver_form(const pd_meter_spec& spec, uint32_t driver_type, uint32_t unit) noexcept;

// The driver's form for the meters of the pipeline, all of which count bytes.
pipe_meter_spec bytes_meter(const pd_meter_spec& spec) noexcept;

// Keeps the driver's type, and leaves out the units.
pd_meter_spec agent_form(const pipe_meter_spec& driver_spec) noexcept;

} // namespace vl_pd::meters
