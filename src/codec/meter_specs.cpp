// Conversions between the two forms of a meter spec, field by field.
#include "codec/meter_specs.h"

#include "codec/assertion.h"

namespace vl_pd::meters {

uint32_t get_bytes_meter_type(uint32_t meter_type) noexcept {
    switch (meter_type) {
    case PD_METER_TYPE_COLOR_AWARE:
        return PIPE_METER_COLOR_AWARE;
    case PD_METER_TYPE_COLOR_UNAWARE:
        return PIPE_METER_COLOR_UNAWARE;
    default:
        assertion_failed(Condition::zero, "get_bytes_meter_type", __LINE__);
        return PIPE_METER_COLOR_AWARE;
    }
}

pipe_meter_spec driver_form(const pd_meter_spec& spec, uint32_t driver_type, uint32_t unit) noexcept {
    pipe_meter_spec driver_spec{};
    driver_spec.type = driver_type;
    driver_spec.committed_unit = unit;
    driver_spec.committed_rate = spec.committed_rate;
    driver_spec.committed_burst = spec.committed_burst;
    driver_spec.peak_unit = unit;
    driver_spec.peak_rate = spec.peak_rate;
    driver_spec.peak_burst = spec.peak_burst;
    return driver_spec;
}

pipe_meter_spec bytes_meter(const pd_meter_spec& spec) noexcept {
    return driver_form(spec, get_bytes_meter_type(spec.meter_type), PIPE_METER_UNIT_BYTES);
}

pd_meter_spec agent_form(const pipe_meter_spec& driver_spec) noexcept {
    return {.committed_rate = static_cast<uint32_t>(driver_spec.committed_rate),
            .committed_burst = static_cast<uint32_t>(driver_spec.committed_burst),
            .peak_rate = static_cast<uint32_t>(driver_spec.peak_rate),
            .peak_burst = static_cast<uint32_t>(driver_spec.peak_burst),
            .meter_type = driver_spec.type};
}

} // namespace vl_pd::meters
