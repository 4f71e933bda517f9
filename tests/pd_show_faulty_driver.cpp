// The embedded driver with faults, for the tests of pd-show. In ipv4Host, entries up to handle 99 can't be read from
// the hardware, and those with odd handles can't be read from the driver's copy either. In trapToCpu, entry 1 seems to
// have the highest priority number. In ipv6Host, only the first
// entry is listed. The entries of l2Lookup can't be counted. A counter by index has ten cells, and one of them has
// counted. If REFUSED_CLIENTS is in the environment, the driver refuses to register any client.
#include <cstdlib>

#include <dlfcn.h>

#include "vl_driver/resources.h"
#include "vl_driver/system.h"
#include "vl_driver/tables.h"

namespace {

constexpr pipe_tbl_hdl ipv6_host = 0x1000022;
constexpr pipe_tbl_hdl ipv4_host = 0x1000023;
constexpr pipe_tbl_hdl l2_lookup = 0x1000024;
constexpr pipe_tbl_hdl trap_to_cpu = 0x1000040;

void* embedded(const char* name) {
    static void* const driver = dlopen("libvl_driver_model.so", RTLD_LAZY | RTLD_NOLOAD);
    return dlsym(driver, name);
}

} // namespace

pipe_status bf_drv_register(const char* client_name, bf_drv_client_hdl* hdl) {
    if (std::getenv("REFUSED_CLIENTS") != nullptr) return 99;
    return reinterpret_cast<decltype(&bf_drv_register)>(embedded("bf_drv_register"))(client_name, hdl);
}

pipe_status pipe_mgr_get_entry(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt, pipe_ent_hdl ent_hdl,
                               pipe_match_record* match, pipe_action_record* action, pipe_act_hdl* act_hdl,
                               uint8_t read_from_hw, uint32_t always_1, uint32_t always_0) {
    if (tbl_hdl == ipv4_host && ent_hdl < 100 && (ent_hdl % 2 == 1 || read_from_hw != 0)) return 99;
    static const auto read = reinterpret_cast<decltype(&pipe_mgr_get_entry)>(embedded("pipe_mgr_get_entry"));
    const pipe_status status =
        read(sess_hdl, tbl_hdl, dev_tgt, ent_hdl, match, action, act_hdl, read_from_hw, always_1, always_0);
    if (tbl_hdl == trap_to_cpu && ent_hdl == 1) match->priority = UINT32_MAX;
    return status;
}

pipe_status pipe_mgr_get_next_entry_handles(pipe_sess_hdl sess_hdl, pipe_tbl_hdl tbl_hdl, pipe_dev_tgt dev_tgt,
                                            uint32_t hdl, uint32_t n, uint32_t* hdls) {
    static const auto list =
        reinterpret_cast<decltype(&pipe_mgr_get_next_entry_handles)>(embedded("pipe_mgr_get_next_entry_handles"));
    if (tbl_hdl != ipv6_host) return list(sess_hdl, tbl_hdl, dev_tgt, hdl, n, hdls);
    hdls[0] = PIPE_HDL_END;
    return 0;
}

pipe_status pipe_mgr_get_entry_count(pipe_sess_hdl sess_hdl, pipe_dev_tgt dev_tgt, pipe_tbl_hdl tbl_hdl,
                                     uint32_t always_0, uint32_t* count) {
    if (tbl_hdl == l2_lookup) return 99;
    static const auto read =
        reinterpret_cast<decltype(&pipe_mgr_get_entry_count)>(embedded("pipe_mgr_get_entry_count"));
    return read(sess_hdl, dev_tgt, tbl_hdl, always_0, count);
}

pipe_status pipe_mgr_stat_ent_query(pipe_sess_hdl, pipe_dev_tgt, pipe_tbl_hdl, const uint32_t* indices, uint32_t,
                                    pipe_counter_record* const* records) {
    if (indices[0] >= 10) return 99;
    *records[0] = {};
    if (indices[0] == 7) {
        records[0]->count_a = 3;
        records[0]->count_b = 192;
    }
    return 0;
}
