// Checks that both arms do the same work; otherwise their times can't be compared.
#pragma once

#include <algorithm>
#include <cstdio>
#include <string>

#include "measured_tables.h"

namespace bench {

// A call that reached the driver as one string of bytes, with buffers in place of the pointers to them.
inline std::string observed;

inline void append(const void* memory, size_t size) {
    observed.append(static_cast<const char*>(memory), size);
}

template <class Record>
void append(const Record& record) {
    append(&record, sizeof record);
}

inline void observe(const NullDriverCall& call) {
    append(call.sess_hdl);
    append(call.dev_tgt);
    append(call.tbl_hdl);
    pipe_match_record match = *call.match;
    append(match.key_bytes, match.key_len);
    append(match.mask_bytes, match.key_len);
    match.key_bytes = match.mask_bytes = nullptr;
    append(match);
    append(call.act_hdl);
    if (call.action != nullptr) {
        pipe_action_record action;
        std::memcpy(&action, call.action, sizeof action); // an assignment could lose the bytes between the fields
        observed += action.action.data == nullptr ? "no data" : "data";
        append(action.action.data, action.action.data_len);
        action.action.data = nullptr;
        append(action);
    }
    append(call.ttl);
    append(call.flags);
}

// The effect of a call: its status, what it wrote and what the driver got.
template <class Call>
std::string effect(Call call) {
    observed.clear();
    const pd_status status = call();
    append(status);
    return observed;
}

inline bool same(const char* operation, const char* table, const std::string& library, const std::string& written) {
    if (library == written) return true;
    const auto [left, right] = std::mismatch(library.begin(), library.end(), written.begin(), written.end());
    std::fprintf(stderr, "%s of %s: the library and the code written by hand differ at byte %td of what they did\n",
                 operation, table, left - library.begin());
    return false;
}

template <class Table, class Arm>
std::string effect_of_read(const Arm& arm, bool with_name, bool with_id) {
    Outputs<Table> out;
    std::memset(&out, 0xA5, sizeof out);
    return effect([&] {
        const pd_status status = call_read<Table>(arm.read, out, with_name, with_id);
        append(out);
        return status;
    });
}

template <class Table>
bool same_reads(Random& random) {
    Answer answer;
    for (uint32_t act_hdl = Table::first_handle; act_hdl <= Table::last_handle + 1; ++act_hdl)
        for (int i = 0; i < 200; ++i) {
            randomize<Table>(random, answer);
            answer.driver.act_hdl = act_hdl;
            if (i % 16 == 1) answer.driver.match.key_bytes = nullptr;
            if (i % 16 == 2) answer.driver.kind = PIPE_KIND_MEMBER;
            if (i % 16 == 3) answer.driver.resource_count = static_cast<uint8_t>(random());
            if (i % 16 == 4) answer.driver.slot.tag = PIPE_SLOT_DETACHED;
            null_driver_answer = &answer.driver;
            const bool with_name = i % 8 != 5;
            const bool with_id = i % 8 != 6;
            if (!same("get_entry", Table::name, effect_of_read<Table>(Table::library, with_name, with_id),
                      effect_of_read<Table>(Table::written, with_name, with_id)))
                return false;
        }
    return true;
}

template <class Table>
bool same_effect() {
    Random random;
    pd_entry entry;
    for (int i = 0; i < 2000; ++i) {
        const Record<Table> record = random_record<Table>(random);
        const auto add = [&](auto* function) {
            return effect([&] { return call_add<Table>(function, record, &entry); });
        };
        const auto find = [&](auto* function) {
            return effect([&] { return call_find<Table>(function, record, &entry); });
        };
        if (!same("add", Table::name, add(Table::library.add), add(Table::written.add)) ||
            !same("look-up", Table::name, find(Table::library.find), find(Table::written.find)))
            return false;
    }
    return same_reads<Table>(random);
}

// Prints the first difference, if there is one.
inline bool all_have_same_effect() {
    null_driver_observer = observe;
    bool all = true;
    for_each_table([&]<class Table>() { all = same_effect<Table>() && all; });
    null_driver_observer = nullptr;
    return all;
}

} // namespace bench
