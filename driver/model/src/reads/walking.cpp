// Counting and walking at the boundary: entries, members or groups, by the handle of their table.
#include <vl_driver/tables.h>

#include "core/model.h"

using namespace vl_model;

namespace {

// Runs `body` on the rows of a match table, data table or selector.
template <class Body>
void with_rows(pipe_sess_hdl sess_hdl, Target target, pipe_tbl_hdl tbl_hdl, Body&& body) {
    const auto device = lock_device(sess_hdl, target);
    if (device->tables.contains(tbl_hdl))
        body(device->table(tbl_hdl).entries);
    else if (device->data_tables.contains(tbl_hdl))
        body(device->data_table(tbl_hdl).members);
    else
        body(device->selector(tbl_hdl).groups);
}

} // namespace

pipe_status pipe_mgr_get_entry_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                     uint32_t always_0, uint32_t* count) {
    return Boundary(__func__, sess_hdl, dev_tgt, tbl_hdl, always_0, count)(
        [&] { with_rows(sess_hdl, dev_tgt, tbl_hdl, [&](const auto& rows) { *count = rows.count(); }); });
}

pipe_status pipe_mgr_get_first_entry_handle(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t* hdl) {
    return Boundary(__func__, sess_hdl, tbl_hdl, dev_tgt, hdl)(
        [&] { with_rows(sess_hdl, dev_tgt, tbl_hdl, [&](const auto& rows) { write_first(rows.first(), hdl); }); });
}

pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t hdl, uint32_t n, uint32_t* hdls) {
    return Boundary(__func__, sess_hdl, tbl_hdl, dev_tgt, hdl, n, room(hdls, n))([&] {
        with_rows(sess_hdl, dev_tgt, tbl_hdl, [&](const auto& rows) {
            refuse_if(!rows.was_given_out(hdl), VL_MODEL_NOT_FOUND);
            write_following(n, hdls, rows.following(hdl));
        });
    });
}
