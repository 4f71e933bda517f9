// Fuzzes the device state that the driver saves for the library. An input is the text of a device state log. After a
// restore that succeeds, the next log is a fixed point: restored again, or on an empty shadow, it is logged unchanged.
#include <memory>
#include <vector>

#include <cjson/cJSON.h>

#include "fuzz/input.h"
#include "vl_model/control.h"
#include "vl_model/testing.h"
#include "vl_pd/velmar_switch.h"
#include "vl_pd/velmar_switch_pipeline.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t most);

namespace {

constexpr uint32_t device = 3;

struct FreeJson {
    void operator()(cJSON* json) const {
        cJSON_Delete(json);
    }
};

std::string state_log() {
    const std::unique_ptr<char, decltype(&std::free)> text(vl_model_state_log(device), std::free);
    fuzz::demand(text != nullptr, "there is no log");
    return text.get();
}

void list_nodes(cJSON* node, std::vector<cJSON*>& all) {
    for (; node != nullptr; node = node->next) {
        all.push_back(node);
        list_nodes(node->child, all);
    }
}

// Changes a number, or copies or deletes an item.
void mutate(cJSON* root, std::minstd_rand& random) {
    std::vector<cJSON*> nodes;
    list_nodes(root, nodes);
    cJSON* const node = nodes[random() % nodes.size()];
    constexpr double numbers[] = {0, 1, 2, 3, -1, 1.5, 0x80000000, 0xFFFFFFFF, 0x100000000, 1e300};
    if (cJSON_IsNumber(node))
        cJSON_SetNumberValue(node, numbers[random() % std::size(numbers)]);
    else if (node->child == nullptr)
        return;
    else if (cJSON_IsArray(node) && random() % 2 == 0)
        cJSON_AddItemToArray(node, cJSON_Duplicate(nodes[random() % nodes.size()], 1));
    else
        cJSON_Delete(cJSON_DetachItemViaPointer(node, node->child));
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed) {
    std::minstd_rand random(seed);
    const std::unique_ptr<cJSON, FreeJson> root(cJSON_ParseWithLength(reinterpret_cast<const char*>(data), size));
    if (root == nullptr || random() % 8 == 0) return LLVMFuzzerMutate(data, size, most);
    mutate(root.get(), random);
    char* const text = cJSON_PrintUnformatted(root.get());
    const size_t length = std::strlen(text);
    if (length <= most) std::copy_n(text, length, data);
    cJSON_free(text);
    return length <= most ? length : size;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    p4_pd_velmar_switch_init();
    vl_model_device_add(device, &velmar_switch_pipeline);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string empty = state_log();
    const std::string given(reinterpret_cast<const char*>(data), size);
    if (vl_model_state_restore(device, given.c_str()) == 0) {
        const std::string log = state_log();
        fuzz::demand(vl_model_state_restore(device, log.c_str()) == 0 && state_log() == log,
                     "a second restore changed the state");
        vl_model_device_state_drop(device);
        fuzz::demand(vl_model_state_restore(device, log.c_str()) == 0 && state_log() == log,
                     "a restored state is logged differently: " + log);
    }
    vl_model_device_state_drop(device);
    fuzz::demand(state_log() == empty, "a dropped state is still logged");
    return 0;
}
