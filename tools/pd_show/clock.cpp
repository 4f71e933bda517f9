// Measures the driver functions that dumps call. It defines functions of the same names and is loaded before the
// driver, so that the library finds these; each passes the call on to the driver.
#include <algorithm>

#include <dlfcn.h>

#include "pd_show/modules.h"
#include "vl_driver/tables.h"

namespace {

pd_views::TimeSpent spent;
void* driver = nullptr;

template <auto function, class... Arguments>
pipe_status timed(const char* name, Arguments... arguments) {
    static const auto driven = reinterpret_cast<decltype(function)>(dlsym(driver, name));
    const pd_views::Stopwatch stopwatch(spent);
    return driven(arguments...);
}

} // namespace

bool pd_show_clock_start(void* loaded_driver) {
    driver = loaded_driver;
    constexpr const char* measured[] = {"pipe_mgr_get_entry", "pipe_mgr_get_entry_count",
                                        "pipe_mgr_get_first_entry_handle", "pipe_mgr_get_next_entry_handles",
                                        "pipe_mgr_table_get_default_entry_handle"};
    return std::ranges::all_of(measured, [](const char* name) { return dlsym(driver, name) != nullptr; });
}

void pd_show_clock_read(pd_views::TimeSpent* read) {
    *read = spent;
}

pipe_status pipe_mgr_get_entry(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt, pipe_ent_hdl ent_hdl,
                               pipe_match_record* match, pipe_action_record* action, pipe_act_hdl* act_hdl,
                               uint8_t read_from_hw, uint32_t always_1, uint32_t always_0) {
    return timed<&pipe_mgr_get_entry>(__func__, sess_hdl, tbl_hdl, dev_tgt, ent_hdl, match, action, act_hdl,
                                      read_from_hw, always_1, always_0);
}

pipe_status pipe_mgr_get_entry_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                     uint32_t always_0, uint32_t* count) {
    return timed<&pipe_mgr_get_entry_count>(__func__, sess_hdl, dev_tgt, tbl_hdl, always_0, count);
}

pipe_status pipe_mgr_get_first_entry_handle(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t* hdl) {
    return timed<&pipe_mgr_get_first_entry_handle>(__func__, sess_hdl, tbl_hdl, dev_tgt, hdl);
}

pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t hdl, uint32_t n, uint32_t* hdls) {
    return timed<&pipe_mgr_get_next_entry_handles>(__func__, sess_hdl, tbl_hdl, dev_tgt, hdl, n, hdls);
}

pipe_status pipe_mgr_table_get_default_entry_handle(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                                    pipe_ent_hdl* ent_hdl) {
    return timed<&pipe_mgr_table_get_default_entry_handle>(__func__, sess_hdl, dev_tgt, tbl_hdl, ent_hdl);
}
