// The mapping of meter types and the widening of a meter's numbers.
#include "pd/meter.h"

#include "pd/assertion.h"

namespace vl_pd::meter {

std::uint32_t get_bytes_meter_type(std::uint32_t meter_type) noexcept {
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

void fill_bytes_meter(const pd_meter_spec& spec, pipe_meter_spec& driver_spec) noexcept {
    driver_spec.type = get_bytes_meter_type(spec.meter_type);
    driver_spec.committed_unit = PIPE_METER_UNIT_BYTES;
    driver_spec.committed_rate = spec.committed_rate;
    driver_spec.committed_burst = spec.committed_burst;
    driver_spec.peak_unit = PIPE_METER_UNIT_BYTES;
    driver_spec.peak_rate = spec.peak_rate;
    driver_spec.peak_burst = spec.peak_burst;
}

} // namespace vl_pd::meter
