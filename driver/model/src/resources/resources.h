// Counters, meters, WRED blocks and registers as a device holds them, and how a handle and an index find a cell. Only
// cells that were touched take memory, so that the length of an array costs nothing. Callers hold the model's mutex.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include <vl_driver/registers.h>
#include <vl_driver/resources.h>
#include <vl_model/control.h>

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

// Packets don't change a spec: software and hardware are one.
struct Meter {
    vl_model_resource description{};
    std::unordered_map<uint32_t, pipe_meter_spec> specs; // of a direct meter none: its specs are slots of entries
    uint32_t bytecount_adjust = 0;
};

struct WredBlock {
    vl_model_resource description{};
    std::unordered_map<uint32_t, pipe_wred_spec> specs;
};

struct Register {
    vl_model_resource description{};
    std::vector<Cells<pipe_stful_element>> pipes{VL_MODEL_DEFAULT_PIPES};
};

bool is_sound(const pipe_meter_spec& spec);
pipe_meter_spec meter_spec_of(const pipe_resource_slot& slot);

// Run `body` on a resource, on one with cells by index, and on one of which a cell has this index.
template <class Map, class Body>
pipe_status on_resource(Map& resources, pipe_tbl_hdl hdl, Body&& body) {
    const auto found = resources.find(hdl);
    return found == resources.end() ? pipe_status{VL_MODEL_UNKNOWN_RESOURCE} : body(found->second);
}

template <class Map, class Body>
pipe_status on_array(Map& resources, pipe_tbl_hdl hdl, Body&& body) {
    return on_resource(resources, hdl, [&](auto& resource) -> pipe_status {
        return resource.description.match_table != 0 ? pipe_status{VL_MODEL_NOT_SUPPORTED} : body(resource);
    });
}

template <class Map, class Body>
pipe_status on_cell(Map& resources, pipe_tbl_hdl hdl, uint32_t index, Body&& body) {
    return on_array(resources, hdl, [&](auto& resource) -> pipe_status {
        return index >= resource.description.cell_count ? pipe_status{VL_MODEL_OUT_OF_RANGE} : body(resource);
    });
}

// The pipes of a register that a target names, if the device has them.
struct PipeRange {
    uint32_t first;
    uint32_t count;
};
PipeRange pipes_of(const Register& stateful, uint16_t pipe_id);

} // namespace vl_model
