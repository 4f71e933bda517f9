// The resources and services of a device, made from the pipeline's description.
#include <unordered_set>

#include "core/model.h"

namespace vl_model {

namespace {

// Binds a direct resource to its table, which has one of a kind at most.
template <class Resource>
bool attach(Device& device, Resource* Table::*place, Resource& resource) {
    const auto table = device.tables.find(resource.description.match_table);
    if (table == device.tables.end() || (*table->second).*place != nullptr) return false;
    (*table->second).*place = &resource;
    return true;
}

// `attach_direct` says whether a resource may be direct, and binds it.
template <class Resource, class Attach>
bool add_all(std::map<pipe_tbl_hdl, Resource>& resources, const vl_model_resource* descriptions, uint32_t count,
             std::unordered_set<uint32_t>& handles, Attach&& attach_direct) {
    if (count != 0 && descriptions == nullptr) return false;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t handle = descriptions[i].handle;
        if (handle == 0 || !handles.insert(handle).second) return false;
        Resource& resource = resources[handle];
        resource.description = descriptions[i];
        if (resource.description.cell_count == 0) resource.description.cell_count = VL_MODEL_DEFAULT_CELLS;
        if (resource.description.match_table != 0 && !attach_direct(resource)) return false;
    }
    return true;
}

bool is_known_algorithm(pipe_hash_algo_hdl algorithm) {
    return algorithm != 0 && (algorithm & 0xFF) <= VL_MODEL_HASH_CRC32;
}

} // namespace

bool add_resources(Device& device, const vl_model_pipeline& pipeline) {
    std::unordered_set<uint32_t> handles; // all resources share one space
    return add_all(device.counters, pipeline.counters, pipeline.counter_count, handles,
                   [&](Counter& counter) { return attach(device, &Table::counter, counter); }) &&
           add_all(device.meters, pipeline.meters, pipeline.meter_count, handles,
                   [&](Meter& meter) { return attach(device, &Table::meter, meter); }) &&
           add_all(device.wred_blocks, pipeline.wred_blocks, pipeline.wred_block_count, handles,
                   [](const WredBlock&) { return false; }) &&
           add_all(device.registers, pipeline.registers, pipeline.register_count, handles,
                   [&](Register& stateful) { return attach(device, &Table::stateful, stateful); });
}

bool add_services(Device& device, const vl_model_pipeline& pipeline) {
    if ((pipeline.digest_count != 0 && pipeline.digests == nullptr) ||
        (pipeline.value_set_count != 0 && pipeline.value_sets == nullptr) ||
        (pipeline.hash_calculation_count != 0 && pipeline.hash_calculations == nullptr))
        return false;
    for (uint32_t i = 0; i < pipeline.digest_count; ++i) {
        const vl_model_digest& digest = pipeline.digests[i];
        const auto [added, is_new] = device.digests.try_emplace(digest.handle);
        if (digest.handle == 0 || digest.entry_size == 0 || !is_new) return false;
        added->second.entry_size = digest.entry_size;
    }
    for (uint32_t i = 0; i < pipeline.value_set_count; ++i)
        if (!device.value_sets.try_emplace(pipeline.value_sets[i]).second) return false;
    for (uint32_t i = 0; i < pipeline.hash_calculation_count; ++i) {
        const vl_model_hash_calculation& calc = pipeline.hash_calculations[i];
        const auto [added, is_new] = device.hash_calculations.try_emplace(calc.handle);
        if (calc.handle == 0 || calc.input == 0 || !is_known_algorithm(calc.algorithm) || !is_new) return false;
        added->second.description = calc;
        added->second.algorithm = calc.algorithm;
    }
    return true;
}

} // namespace vl_model
