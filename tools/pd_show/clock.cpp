// Stands for the driver's functions that dumps call: it has their names, was loaded before the driver, and passes each
// call on to the driver's own one.
#include "pd_show/clock.h"

#include <dlfcn.h>

#include "vl_driver/tables.h"

namespace {

pd_show::TimeSpent spent;

// The driver's own function behind each of the ones below.
template <auto function>
decltype(function) driven = nullptr;

template <auto function>
bool find(void* driver, const char* name) {
    driven<function> = reinterpret_cast<decltype(function)>(dlsym(driver, name));
    return driven<function> != nullptr;
}

template <auto function, class... Arguments>
pipe_status timed(Arguments... arguments) {
    return pd_show::timed(spent, [&] { return driven<function>(arguments...); });
}

} // namespace

bool pd_show_clock_start(void* driver) {
    return find<&pipe_mgr_get_entry>(driver, "pipe_mgr_get_entry") &&
           find<&pipe_mgr_get_entry_count>(driver, "pipe_mgr_get_entry_count") &&
           find<&pipe_mgr_get_first_entry_handle>(driver, "pipe_mgr_get_first_entry_handle") &&
           find<&pipe_mgr_get_next_entry_handles>(driver, "pipe_mgr_get_next_entry_handles") &&
           find<&pipe_mgr_table_get_default_entry_handle>(driver, "pipe_mgr_table_get_default_entry_handle");
}

void pd_show_clock_read(pd_show::TimeSpent* read) {
    *read = spent;
}

pipe_status pipe_mgr_get_entry(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt, pipe_ent_hdl ent_hdl,
                               pipe_match_record* match, pipe_action_record* action, pipe_act_hdl* act_hdl,
                               uint8_t read_from_hw, uint32_t always_1, uint32_t always_0) {
    return timed<&pipe_mgr_get_entry>(sess_hdl, tbl_hdl, dev_tgt, ent_hdl, match, action, act_hdl, read_from_hw,
                                      always_1, always_0);
}

pipe_status pipe_mgr_get_entry_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                     uint32_t always_0, uint32_t* count) {
    return timed<&pipe_mgr_get_entry_count>(sess_hdl, dev_tgt, tbl_hdl, always_0, count);
}

pipe_status pipe_mgr_get_first_entry_handle(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t* hdl) {
    return timed<&pipe_mgr_get_first_entry_handle>(sess_hdl, tbl_hdl, dev_tgt, hdl);
}

pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t hdl, uint32_t n, uint32_t* hdls) {
    return timed<&pipe_mgr_get_next_entry_handles>(sess_hdl, tbl_hdl, dev_tgt, hdl, n, hdls);
}

pipe_status pipe_mgr_table_get_default_entry_handle(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                    pipe_ent_hdl* ent_hdl) {
    return timed<&pipe_mgr_table_get_default_entry_handle>(sess_hdl, dev_tgt, tbl_hdl, ent_hdl);
}
