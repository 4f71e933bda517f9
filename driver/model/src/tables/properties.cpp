// Properties of match tables, and the registration for their updates.
#include <vl_driver/tables.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

// Null if no table has this property.
Property* find_property(Table& table, uint32_t property) {
    return property >= 1 && property <= table.properties.size() ? &table.properties[property - 1] : nullptr;
}

} // namespace

pipe_status pipe_mgr_tbl_get_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                      uint32_t property, uint32_t* value, uint32_t* args) {
    const auto body = [&]() -> pipe_status {
        if (value == nullptr || args == nullptr) return VL_MODEL_INVALID;
        return with_table(sess_hdl, dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            const Property* found = find_property(table, property);
            if (found == nullptr) return VL_MODEL_INVALID;
            *value = found->value;
            *args = found->args;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_tbl_get_property", body, sess_hdl, dev_id, tbl_hdl, property, value, args);
}

pipe_status pipe_mgr_tbl_set_property(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                      uint32_t property, uint32_t value, uint32_t args) {
    const auto body = [&]() -> pipe_status {
        return with_table(sess_hdl, dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            Property* found = find_property(table, property);
            if (found == nullptr) return VL_MODEL_INVALID;
            *found = {.value = value, .args = args};
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_tbl_set_property", body, sess_hdl, dev_id, tbl_hdl, property, value, args);
}

pipe_status pipe_register_mat_update_cb(pipe_sess_hdl sess_hdl, pipe_dev_id dev_id, pipe_tbl_hdl tbl_hdl,
                                        pipe_mat_update_cb callback, void* cookie) {
    const auto body = [&]() -> pipe_status {
        std::shared_ptr<Registration> replaced;
        const pipe_status status = with_table(sess_hdl, dev_id, tbl_hdl, [&](Table& table) -> pipe_status {
            replaced = table.updates.replace(callback, cookie);
            return VL_MODEL_OK;
        });
        end(replaced);
        return status;
    };
    return boundary("pipe_register_mat_update_cb", body, sess_hdl, dev_id, tbl_hdl, callback, cookie);
}
