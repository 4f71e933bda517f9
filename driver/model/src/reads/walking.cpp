// Counting and walking at the boundary: entries, members or groups, by the handle of their table.
#include <vl_driver/tables.h>

#include "core/boundary.h"
#include "core/model.h"

using namespace vl_model;

namespace {

// Runs `body` on the rows of a match table, data table or selector.
template <class Body>
pipe_status with_rows(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl tbl_hdl, Body&& body) {
    return with_device(sess_hdl, target, [&](const Device& device) -> pipe_status {
        if (const auto table = device.tables.find(tbl_hdl); table != device.tables.end())
            return body(table->second->entries);
        if (const auto table = device.data_tables.find(tbl_hdl); table != device.data_tables.end())
            return body(table->second.members);
        const auto selector = device.selectors.find(tbl_hdl);
        return selector == device.selectors.end() ? pipe_status{VL_MODEL_UNKNOWN_TABLE} : body(selector->second.groups);
    });
}

} // namespace

pipe_status pipe_mgr_get_entry_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                     uint32_t always_0, uint32_t* count) {
    const auto body = [&]() -> pipe_status {
        if (count == nullptr) return VL_MODEL_INVALID;
        return with_rows(sess_hdl, dev_tgt, tbl_hdl, [&](const auto& rows) -> pipe_status {
            *count = rows.count();
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_get_entry_count", body, sess_hdl, dev_tgt, tbl_hdl, always_0, count);
}

pipe_status pipe_mgr_get_first_entry_handle(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t* hdl) {
    const auto body = [&]() -> pipe_status {
        if (hdl == nullptr) return VL_MODEL_INVALID;
        return with_rows(sess_hdl, dev_tgt, tbl_hdl, [&](const auto& rows) -> pipe_status {
            const uint32_t first = rows.first();
            if (first == 0) return VL_MODEL_NOT_FOUND;
            *hdl = first;
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_get_first_entry_handle", body, sess_hdl, tbl_hdl, dev_tgt, hdl);
}

pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t hdl, uint32_t n, uint32_t* hdls) {
    const auto body = [&]() -> pipe_status {
        if (hdls == nullptr && n != 0) return VL_MODEL_INVALID;
        return with_rows(sess_hdl, dev_tgt, tbl_hdl, [&](const auto& rows) -> pipe_status {
            if (!rows.was_given_out(hdl)) return VL_MODEL_NOT_FOUND;
            uint32_t last = hdl;
            for (uint32_t i = 0; i < n; ++i) {
                last = rows.next(last);
                if (last == 0) {
                    hdls[i] = PIPE_HDL_END;
                    break;
                }
                hdls[i] = last;
            }
            return VL_MODEL_OK;
        });
    };
    return boundary("pipe_mgr_get_next_entry_handles", body, sess_hdl, tbl_hdl, dev_tgt, hdl, n, hdls);
}
