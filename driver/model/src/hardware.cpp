// A hardware that differs from the software, made by tests.
#include "readback.h"

namespace vl_model {

namespace {

// Runs `body` on the match table or data table that has the row.
template <class Body>
uint32_t with_row(uint32_t dev_id, uint32_t tbl_hdl, uint32_t handle, Body&& body) {
    const std::lock_guard lock(model().mutex);
    pipe_status status = VL_MODEL_OK;
    Device* device = find_device(dev_id, status);
    if (device == nullptr) {
        return status;
    }
    const auto on_row = [&](auto& table) -> uint32_t {
        return has_row(table, handle) ? body(table) : uint32_t{VL_MODEL_NOT_FOUND};
    };
    if (const auto table = device->tables.find(tbl_hdl); table != device->tables.end()) {
        return on_row(*table->second);
    }
    const auto table = device->data_tables.find(tbl_hdl);
    return table != device->data_tables.end() ? on_row(table->second) : uint32_t{VL_MODEL_UNKNOWN_TABLE};
}

} // namespace

uint32_t edit_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl,
                       const std::function<void(EntryImage&)>& edit) {
    EntryImage image;
    const uint32_t status = with_row(dev_id, tbl_hdl, ent_hdl, [&](auto& table) -> uint32_t {
        EntryView view;
        const uint32_t found = find_view(table, ent_hdl, true, view);
        if (found == VL_MODEL_OK) {
            image = image_of(view);
        }
        return found;
    });
    if (status != VL_MODEL_OK) {
        return status;
    }
    edit(image);
    return with_row(dev_id, tbl_hdl, ent_hdl, [&](auto& table) -> uint32_t {
        table.hardware[ent_hdl] = std::move(image);
        return VL_MODEL_OK;
    });
}

uint32_t drop_hardware(uint32_t dev_id, uint32_t tbl_hdl, uint32_t ent_hdl) {
    return with_row(dev_id, tbl_hdl, ent_hdl, [&](auto& table) -> uint32_t {
        table.hardware[ent_hdl].reset();
        return VL_MODEL_OK;
    });
}

} // namespace vl_model
