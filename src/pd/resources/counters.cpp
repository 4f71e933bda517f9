// A direct and an indirect counter differ only in the driver's calls.
#include "pd/resources/counters.h"

#include "codec/driver_args.h"
#include "vl_driver/resources.h"

namespace vl_pd::counters {

namespace {

constexpr uint32_t from_hardware = 1;

pd_counter_value to_agent(const pipe_counter_record& record) {
    return {.count_a = record.count_a, .count_b = record.count_b};
}

pipe_counter_record to_driver_record(pd_counter_value value) {
    return {.count_b = value.count_b, .count_a = value.count_a};
}

} // namespace

pd_status read_direct(uint32_t table, pd_session sess_hdl, pd_device dev_id, pd_entry entry_hdl, uint32_t flags,
                      pd_counter_value* value) noexcept {
    if ((flags & from_hardware) != 0) {
        const pd_status refused = pipe_mgr_direct_stat_ent_database_sync(sess_hdl, dev_id, table, entry_hdl);
        if (refused != PD_STATUS_OK) return refused;
    }
    pipe_counter_record record;
    const pd_status refused = pipe_mgr_mat_ent_direct_stat_query(sess_hdl, dev_id, table, entry_hdl, &record);
    if (refused != PD_STATUS_OK) return refused;
    *value = to_agent(record);
    return PD_STATUS_OK;
}

pd_status read_indirect(uint32_t counter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index, uint32_t flags,
                        pd_counter_value* value) noexcept {
    if ((flags & from_hardware) != 0) {
        const pd_status refused = pipe_mgr_stat_ent_database_sync(sess_hdl, to_driver(dev_tgt), counter, index);
        if (refused != PD_STATUS_OK) return refused;
    }
    // The driver reads lists of cells; this is a list of one.
    pipe_counter_record record{};
    pipe_counter_record* const records[] = {&record};
    const pd_status refused = pipe_mgr_stat_ent_query(sess_hdl, to_driver(dev_tgt), counter, &index, 1, records);
    if (refused != PD_STATUS_OK) return refused;
    *value = to_agent(record);
    return PD_STATUS_OK;
}

pd_status write_direct(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_entry entry_hdl,
                       pd_counter_value value) noexcept {
    const pipe_counter_record record = to_driver_record(value);
    return pipe_mgr_mat_ent_direct_stat_set(sess_hdl, to_driver(dev_tgt), table, entry_hdl, &record);
}

pd_status write_indirect(uint32_t counter, pd_session sess_hdl, pd_dev_tgt dev_tgt, uint32_t index,
                         pd_counter_value value) noexcept {
    const pipe_counter_record record = to_driver_record(value);
    return pipe_mgr_stat_ent_set(sess_hdl, to_driver(dev_tgt), counter, index, &record);
}

pd_status sync_direct(uint32_t table, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback,
                      void* cookie) noexcept {
    return pipe_mgr_direct_stat_database_sync(sess_hdl, to_driver(dev_tgt), table,
                                              reinterpret_cast<pipe_sync_cb>(callback), cookie);
}

pd_status sync_indirect(uint32_t counter, pd_session sess_hdl, pd_dev_tgt dev_tgt, pd_driver_callback callback,
                        void* cookie) noexcept {
    return pipe_mgr_stat_database_sync(sess_hdl, to_driver(dev_tgt), counter, reinterpret_cast<pipe_sync_cb>(callback),
                                       cookie);
}

} // namespace vl_pd::counters
