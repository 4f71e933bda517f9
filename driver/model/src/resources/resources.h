// Counters, meters, WRED blocks and registers of a device, and the search for a cell by handle and index. Only cells
// that were changed take memory, so that long arrays cost nothing. Callers hold the model's mutex.
#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include <vl_driver/registers.h>
#include <vl_driver/resources.h>
#include <vl_model/control.h>

#include "core/boundary.h"

namespace vl_model {

// Cells with a copy in software, which the agent reads, and the hardware's, which packets change.
template <class Value>
class Cells {
public:
    const Value& software(uint32_t cell) const {
        const auto found = touched_.find(cell);
        return found == touched_.end() ? rest_ : found->second.software;
    }
    void set(uint32_t cell, const Value& value) {
        touched_[cell] = {value, value};
    }
    // For a packet to change.
    Value& hardware(uint32_t cell) {
        return touched_.try_emplace(cell, Copies{rest_, rest_}).first->second.hardware;
    }
    void sync(uint32_t cell) {
        const auto found = touched_.find(cell);
        if (found != touched_.end()) found->second.software = found->second.hardware;
    }
    void sync_all() {
        for (auto& [cell, copies] : touched_)
            copies.software = copies.hardware;
    }
    void fill(const Value& value) {
        touched_.clear();
        rest_ = value;
    }
    void forget(uint32_t cell) {
        touched_.erase(cell);
    }

private:
    struct Copies {
        Value software;
        Value hardware;
    };
    std::unordered_map<uint32_t, Copies> touched_;
    Value rest_{}; // both copies of all other cells
};

struct Counter {
    vl_model_resource description{};
    Cells<pipe_counter_record> cells;
};

// Packets don't change specs, so that the software needs no copy.
struct Meter {
    vl_model_resource description{};
    std::unordered_map<uint32_t, pipe_meter_spec> specs; // none in a direct meter, whose specs are in slots of entries
    uint32_t bytecount_adjust = 0;
};

struct WredBlock {
    vl_model_resource description{};
    std::unordered_map<uint32_t, pipe_wred_spec> specs;
};

struct Register {
    vl_model_resource description{};
    std::vector<Cells<pipe_stful_element>> pipes{VL_MODEL_DEFAULT_PIPES};

    // The cells of one pipe that the device has, or of all.
    std::span<Cells<pipe_stful_element>> pipes_of(uint16_t pipe_id) {
        return pipe_id == PIPE_ALL_PIPES ? std::span(pipes) : std::span(pipes).subspan(pipe_id, 1);
    }
};

bool is_sound(const pipe_meter_spec& spec);
pipe_meter_spec meter_spec_of(const pipe_resource_slot& slot);

// Find a resource, a resource with cells by index, and one that has a cell with this index. Refuse if there is none.
template <class Map>
auto& resource_in(Map& resources, pipe_tbl_hdl hdl) {
    return found_in(resources, hdl, VL_MODEL_UNKNOWN_RESOURCE);
}

template <class Map>
auto& array_in(Map& resources, pipe_tbl_hdl hdl) {
    auto& resource = resource_in(resources, hdl);
    refuse_if(resource.description.match_table != 0, VL_MODEL_NOT_SUPPORTED);
    return resource;
}

template <class Map>
auto& array_with_cell(Map& resources, pipe_tbl_hdl hdl, uint32_t index) {
    auto& resource = array_in(resources, hdl);
    refuse_if(index >= resource.description.cell_count, VL_MODEL_OUT_OF_RANGE);
    return resource;
}

} // namespace vl_model
