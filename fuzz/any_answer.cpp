// What a driver may write where a call's pointers lead. The rows below hold the calls whose outputs the library reads.
// The outputs of other calls go to the agent unseen.
#include "fuzz/any_answer.h"

#include <vector>

#include "catalog/layout.h"
#include "catalog/rows.h"
#include "vl_driver/driver.h"

namespace fuzz {

namespace {

using vl_model::AnsweredCall;

struct Writing {
    Input& input;
    const AnsweredCall& call;
    const std::string& row;

    template <class Pointee>
    Pointee& output(size_t arg) const {
        return *call.pointer<Pointee>(arg);
    }
    void write_word(size_t arg) const {
        output<uint32_t>(arg) = input.word();
    }
    // A count of at most `room`, which it returns.
    uint32_t write_count(size_t arg, uint64_t room) const {
        return output<uint32_t>(arg) = static_cast<uint32_t>(input.word() % (room + 1));
    }
};

uint32_t capture_size = 0; // of the last snapshot

// An action of the row, or any number.
void write_action_handle(const Writing& to, size_t arg) {
    std::vector<uint32_t> handles;
    for (const catalog::Table& table : catalog::tables(catalog::program))
        if (table.name == to.row)
            for (const catalog::Binding& binding : actions_of(catalog::program, table))
                handles.push_back(binding.handle);
    for (const catalog::Profile& profile : catalog::program.profiles)
        if (profile.name == to.row)
            for (const catalog::Binding& binding : profile.actions)
                handles.push_back(binding.handle);
    const size_t choice = to.input.byte();
    to.output<uint32_t>(arg) = choice == 0 || handles.empty() ? to.input.word() : handles[choice % handles.size()];
}

// The driver sets the length of placement data's key. It is that of any table.
void write_match(const Writing& to, size_t arg, bool is_placed) {
    auto& match = to.output<pipe_match_record>(arg);
    const auto tables = catalog::tables(catalog::program);
    const size_t length =
        is_placed ? catalog::key_layout(tables[to.input.below(tables.size())]).bytes : size_t{match.key_len};
    if (match.key_bytes != nullptr) {
        to.input.fill(match.key_bytes, length);
        to.input.fill(match.mask_bytes, length);
    }
    match.partition_index = to.input.word();
    match.priority = to.input.word();
    match.key_bits = static_cast<uint16_t>(to.input.word());
    switch (to.input.below(4)) {
    case 0:
        match.key_len = 0;
        break;
    case 1:
        match.key_bytes = nullptr;
        break;
    case 2:
        match.key_len = static_cast<uint16_t>(to.input.word());
        break;
    default:
        match.key_len = static_cast<uint16_t>(length);
    }
}

constexpr size_t data_room = 32; // more than the data of any action

void write_data(const Writing& to, pipe_action_data& action) {
    if (action.data != nullptr) to.input.fill(action.data, action.data_len != 0 ? action.data_len : data_room);
    action.data_len = static_cast<uint16_t>(to.input.word());
    action.data_bits = static_cast<uint16_t>(to.input.word());
}

void write_action(const Writing& to, size_t arg) {
    auto& action = to.output<pipe_action_record>(arg);
    const uint8_t kind = to.input.byte();
    action.kind = kind < 128 ? uint8_t{PIPE_KIND_ACTION_DATA} : kind;
    write_data(to, action.action);
    action.member_hdl = to.input.word();
    action.group_hdl = to.input.word();
    action.resource_count = to.input.byte();
    for (size_t i = 0; i < PIPE_MAX_SLOTS && i < action.resource_count; ++i) {
        const auto& counters = catalog::program.counters;
        pipe_resource_slot& slot = action.slots[i];
        to.input.fill(&slot, sizeof slot);
        slot.tag = to.input.word() % 4;
        slot.resource_hdl = counters[to.input.below(counters.size())].handle;
    }
}

void write_query(const Writing& to, pipe_stful_query& query) {
    query.count -= to.input.word() % (query.count + 1);
    to.input.fill(query.elements, query.count * sizeof *query.elements);
}

template <class Record, size_t arg>
void write_record(const Writing& to) {
    to.input.fill(&to.output<Record>(arg), sizeof(Record));
}

struct Row {
    const char* function;
    void (*write)(const Writing& to);
    bool may_refuse = false; // a driver may refuse the call when it has written
};

constexpr Row rows[] = {
    {"pipe_mgr_get_entry",
     [](const Writing& to) {
         write_match(to, 4, false);
         write_action(to, 5);
         write_action_handle(to, 6);
     },
     true},
    {"pipe_mgr_table_get_default_entry",
     [](const Writing& to) {
         write_action(to, 3);
         write_action_handle(to, 4);
     },
     true},
    {"pipe_mgr_plcmt_mat_data_get_entry",
     [](const Writing& to) {
         write_match(to, 1, true);
         write_action(to, 2);
         write_action_handle(to, 3);
     },
     true},
    {"pipe_mgr_get_action_data_entry",
     [](const Writing& to) {
         write_data(to, to.output<pipe_action_data>(3));
         write_action_handle(to, 4);
     },
     true},
    {"pipe_mgr_plcmt_adt_data_get_entry",
     [](const Writing& to) {
         write_data(to, to.output<pipe_action_data>(1));
         write_action_handle(to, 2);
     },
     true},
    {"pipe_mgr_get_entry_count", [](const Writing& to) { to.write_word(4); }},
    {"pipe_mgr_get_first_entry_handle", [](const Writing& to) { to.write_word(3); }},
    {"pipe_mgr_get_next_entry_handles",
     [](const Writing& to) {
         const auto room = static_cast<uint32_t>(to.call.args[4]);
         const uint32_t count = to.input.word() % (room + 1);
         to.input.fill(to.call.pointer<uint32_t>(5), count * sizeof(uint32_t));
         if (count < room) to.call.pointer<uint32_t>(5)[count] = PIPE_HDL_END;
     }},
    {"pipe_mgr_adt_ent_add", [](const Writing& to) { to.write_word(6); }},
    {"pipe_mgr_sel_grp_add", [](const Writing& to) { to.write_word(6); }},
    {"pipe_mgr_get_sel_grp_mbr_count", [](const Writing& to) { to.write_word(4); }},
    {"pipe_mgr_sel_grp_mbrs_get",
     [](const Writing& to) {
         const uint32_t count = to.write_count(7, to.call.args[4]);
         to.input.fill(to.call.pointer<uint32_t>(5), count * sizeof(uint32_t));
         to.input.fill(to.call.pointer<uint8_t>(6), count);
     }},
    {"pipe_mgr_sel_grp_mbr_state_get", [](const Writing& to) { to.write_word(5); }, true},
    {"p4_pd_ms_get_mbr_act", [](const Writing& to) { write_action_handle(to, 3); }},
    {"p4_pd_ms_get_grp_act", [](const Writing& to) { write_action_handle(to, 3); }},
    {"pipe_mgr_hitless_ha_restore_virtual_dev_state",
     [](const Writing& to) {
         const auto restore = reinterpret_cast<pipe_adt_sel_restore_cb>(to.call.args[5]);
         const auto& profiles = catalog::program.profiles;
         while (!to.input.empty()) {
             const catalog::Profile& profile = profiles[to.input.below(profiles.size())];
             const uint32_t action = profile.actions.begin()[to.input.below(profile.actions.size())].handle;
             const uint32_t group = to.input.word(), member = to.input.word();
             restore(1, 3, to.input.byte() == 0 ? 0 : profile.data_table, action, group, member, to.input.word());
         }
     }},
    {"pipe_stful_query_get_sizes",
     [](const Writing& to) {
         // The caller has room for so many values of a cell. The library can't know that.
         constexpr int32_t most_values = 512;
         const auto size = static_cast<int32_t>(to.input.word());
         to.output<int32_t>(3) = size > 0 ? size % (most_values + 1) : size;
     }},
    {"pipe_stful_ent_query", [](const Writing& to) { write_query(to, to.output<pipe_stful_query>(4)); }, true},
    {"pipe_stful_ent_query_range",
     [](const Writing& to) {
         const uint32_t count = to.write_count(6, to.call.args[4]);
         for (uint32_t i = 0; i < count; ++i)
             write_query(to, to.call.pointer<pipe_stful_query>(5)[i]);
     },
     true},
    {"pipe_mgr_mat_ent_direct_stat_query", write_record<pipe_counter_record, 4>, true},
    {"pipe_mgr_stat_ent_query",
     [](const Writing& to) {
         for (size_t i = 0; i < to.call.args[4]; ++i)
             to.input.fill(to.call.pointer<pipe_counter_record*>(5)[i], sizeof(pipe_counter_record));
     },
     true},
    {"pipe_mgr_meter_read_entry", write_record<pipe_meter_spec, 4>, true},
    {"pipe_mgr_meter_read_entry_idx", write_record<pipe_meter_spec, 4>, true},
    {"pipe_mgr_idle_get_params",
     [](const Writing& to) {
         write_record<pipe_idle_params, 3>(to);
         to.output<pipe_idle_params>(3).mode = to.input.word();
     },
     true},
    {"pipe_mgr_hash_calc_algorithm_get", [](const Writing& to) { to.write_word(3); }},
    {"pipe_mgr_hash_calc_input_get", [](const Writing& to) { to.write_word(3); }},
    {"pipe_mgr_hash_calc_input_field_attribute_get",
     [](const Writing& to) {
         const uint32_t count = to.write_count(6, to.call.args[4]);
         to.input.fill(to.call.pointer<pipe_hash_attribute>(5), count * sizeof(pipe_hash_attribute));
     },
     true},
    {"bf_snapshot_capture_phv_fields_dict_size",
     [](const Writing& to) {
         to.output<uint32_t>(1) = capture_size = to.input.word() << to.input.below(12);
         to.output<uint32_t>(2) = BF_SNAPSHOT_RECORD_SIZE + to.input.word() % UINT16_MAX;
     }},
    {"bf_snapshot_capture_get",
     [](const Writing& to) {
         to.input.fill(to.call.pointer<uint8_t>(2), capture_size);
         to.write_word(4);
     }},
};

const Row* find_row(const std::string& function) {
    for (const Row& row : rows)
        if (function == row.function) return &row;
    return nullptr;
}

} // namespace

uint64_t any_answer(Input& input, const AnsweredCall& call, const std::string& row) {
    const Row* const known = find_row(call.function);
    if (call.function == "bf_sys_calloc") {
        constexpr uint64_t most = 1 << 20;
        const bool fits = call.args[0] <= most && call.args[1] <= most && call.args[0] * call.args[1] <= most;
        return fits && input.byte() < 0xF0 ? call.driver() : 0;
    }
    // Memory, the log and the debug mode work in every driver.
    if (call.function.starts_with("bf_sys_")) return call.driver();
    const bool is_snapshot = call.function.starts_with("bf_snapshot_capture_");
    if (call.function == "bf_snapshot_capture_phv_fields_dict_size") capture_size = 0;
    const uint8_t how = input.byte();
    const uint32_t refusal = std::max(input.word(), 1u);
    if (how % 8 == 1 || (is_snapshot && how == 0)) return refusal;
    if (how == 0 || known == nullptr) return call.driver();
    known->write({input, call, row});
    return known->may_refuse && how % 8 == 2 ? refusal : 0;
}

} // namespace fuzz
