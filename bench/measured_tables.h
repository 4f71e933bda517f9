// The tables that are measured, with the two arms of each: the library's functions and those written by hand.
#pragma once

#include <dlfcn.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <type_traits>

#include "hand_written.h"
#include "null_driver.h"
#include "vl_pd/velmar_switch.h"

namespace bench {

struct NoSpec {};

// What an add or a look-up is called with.
template <class Table>
struct Record {
    typename Table::MatchSpec match_spec;
    typename Table::ActionSpec action_spec;
    uint32_t priority;
};

// The three functions of one arm, whose types are the same in both.
template <class Add, class Find, class Read>
struct Functions {
    Add* add;
    Find* find;
    Read* read;
};

template <class Add, class Find, class Read>
Functions(Add*, Find*, Read*) -> Functions<Add, Find, Read>;

template <class Function>
void find_symbol(void* library, const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(dlsym(library, name));
}

// What a table's names decide. Beside it a table has the handle of the action that is added and read, and the first and
// the last of the handles of all its actions.
#define VL_MEASURED_TABLE(table, action)                                                                               \
    static constexpr const char* name = #table;                                                                        \
    using MatchSpec = p4_pd_velmar_switch_##table##_match_spec_t;                                                      \
    static constexpr Functions library{p4_pd_velmar_switch_##table##_table_add_with_##action,                          \
                                       p4_pd_velmar_switch_##table##_match_spec_to_entry_hdl,                          \
                                       p4_pd_velmar_switch_##table##_get_entry};                                       \
    static constexpr Functions written{by_hand::table##_add, by_hand::table##_find, by_hand::table##_read};            \
    static auto functions_of(void* other_library) {                                                                    \
        auto functions = library;                                                                                      \
        find_symbol(other_library, "p4_pd_velmar_switch_" #table "_table_add_with_" #action, functions.add);           \
        find_symbol(other_library, "p4_pd_velmar_switch_" #table "_match_spec_to_entry_hdl", functions.find);          \
        find_symbol(other_library, "p4_pd_velmar_switch_" #table "_get_entry", functions.read);                        \
        return functions;                                                                                              \
    }                                                                                                                  \
    static_assert(true)

struct Ipv4Host {
    VL_MEASURED_TABLE(ipv4Host, setNextHop);
    using ActionSpec = p4_pd_velmar_switch_setNextHop_action_spec_t;
    static constexpr uint32_t action_hdl = 0x2000006A, first_handle = 0x20000069, last_handle = 0x2000006D;
    static constexpr unsigned prefix_bits = 0;
    static constexpr uint32_t resource_hdl = 0;
};

struct Ipv6Partition {
    VL_MEASURED_TABLE(ipv6Partition, setIpv6PrtIdxNextHop);
    using ActionSpec = p4_pd_velmar_switch_setIpv6PrtIdxNextHop_action_spec_t;
    static constexpr uint32_t action_hdl = 0x2000008A, first_handle = 0x2000008A, last_handle = 0x2000008E;
    static constexpr unsigned prefix_bits = 128;
    static constexpr uint32_t resource_hdl = 0;
    static void set_prefix_length(MatchSpec& spec, uint16_t length) {
        spec.ingIpv6_dip_prefix_length = length;
    }
};

struct Ipv4FinalResolve0 {
    VL_MEASURED_TABLE(ipv4FinalResolve0, setNextHop0First);
    using ActionSpec = p4_pd_velmar_switch_setNextHop0First_action_spec_t;
    static constexpr uint32_t action_hdl = 0x20000085, first_handle = 0x20000085, last_handle = 0x20000089;
    static constexpr unsigned prefix_bits = 32;
    static constexpr uint32_t resource_hdl = 0;
    static void set_prefix_length(MatchSpec& spec, uint16_t length) {
        spec.ingIpv4_dip_prefix_length = length;
    }
};

struct TrapToCpu {
    VL_MEASURED_TABLE(trapToCpu, copyPacket);
    using ActionSpec = p4_pd_velmar_switch_copyPacket_action_spec_t;
    static constexpr uint32_t action_hdl = 0x200000C5, first_handle = 0x200000C4, last_handle = 0x200000C8;
    static constexpr unsigned prefix_bits = 0;
    static constexpr uint32_t resource_hdl = 0x4000004;
};

struct FinalDropControl {
    VL_MEASURED_TABLE(finalDropControl, dropCountAndMirror);
    using ActionSpec = p4_pd_velmar_switch_dropCountAndMirror_action_spec_t;
    static constexpr uint32_t action_hdl = 0x20000109, first_handle = 0x20000104, last_handle = 0x2000010B;
    static constexpr unsigned prefix_bits = 0;
    static constexpr uint32_t resource_hdl = 0x4000007;
};

struct FlowWatchlist {
    VL_MEASURED_TABLE(flowWatchlist, intPermit);
    using ActionSpec = NoSpec;
    static constexpr uint32_t action_hdl = 0x200000F1, first_handle = 0x200000F1, last_handle = 0x200000F2;
    static constexpr unsigned prefix_bits = 0;
    static constexpr uint32_t resource_hdl = 0;
};

struct MirrorPacketEncap {
    VL_MEASURED_TABLE(mirrorPacketEncap, setMirrorPacketEncapIntIpv4);
    using ActionSpec = p4_pd_velmar_switch_setMirrorPacketEncapIntIpv4_action_spec_t;
    static constexpr uint32_t action_hdl = 0x20000159, first_handle = 0x20000156, last_handle = 0x2000015A;
    static constexpr unsigned prefix_bits = 0;
    static constexpr uint32_t resource_hdl = 0x6000008;
};

#undef VL_MEASURED_TABLE

// Calls visit.operator()<Table>() for each of them.
template <class Visit>
void for_each_table(Visit visit) {
    visit.template operator()<Ipv4Host>();
    visit.template operator()<Ipv6Partition>();
    visit.template operator()<Ipv4FinalResolve0>();
    visit.template operator()<TrapToCpu>();
    visit.template operator()<FinalDropControl>();
    visit.template operator()<FlowWatchlist>();
    visit.template operator()<MirrorPacketEncap>();
}

inline constexpr pd_session session = 3;
inline constexpr pd_dev_tgt target{.dev_id = 1, .pipe_id = 2, .reserved = 0};

// The signatures of exported functions leave out what a table or an action doesn't have.
template <class Table, class Add>
pd_status call_add(Add* add, const Record<Table>& record, pd_entry* entry) {
    using Spec = const typename Table::ActionSpec*;
    using Match = const typename Table::MatchSpec*;
    if constexpr (std::is_invocable_v<Add*, pd_session, pd_dev_tgt, Match, uint32_t, Spec, pd_entry*>)
        return add(session, target, &record.match_spec, record.priority, &record.action_spec, entry);
    else if constexpr (std::is_invocable_v<Add*, pd_session, pd_dev_tgt, Match, Spec, pd_entry*>)
        return add(session, target, &record.match_spec, &record.action_spec, entry);
    else
        return add(session, target, &record.match_spec, record.priority, entry);
}

template <class Table, class Find>
pd_status call_find(Find* find, const Record<Table>& record, pd_entry* entry) {
    if constexpr (std::is_invocable_v<Find*, pd_session, pd_dev_tgt, const typename Table::MatchSpec*, uint32_t,
                                      pd_entry*>)
        return find(session, target, &record.match_spec, record.priority, entry);
    else
        return find(session, target, &record.match_spec, entry);
}

// What a read writes. The action record has room for the largest of all tables.
template <class Table>
struct Outputs {
    typename Table::MatchSpec match_spec;
    uint32_t priority;
    char action_name[64];
    alignas(8) uint8_t action_spec[64];
    uint32_t action_id;
    uint8_t is_default;
};

template <class Table, class Read>
pd_status call_read(Read* read, Outputs<Table>& out, bool with_name = true, bool with_id = true) {
    char* const name = with_name ? out.action_name : nullptr;
    uint32_t* const id = with_id ? &out.action_id : nullptr;
    if constexpr (std::is_invocable_v<Read*, pd_session, pd_device, pd_entry, uint32_t, typename Table::MatchSpec*,
                                      uint32_t*, char*, void*, uint32_t*, uint8_t*>)
        return read(session, target.dev_id, 1, 0, &out.match_spec, &out.priority, name, out.action_spec, id,
                    &out.is_default);
    else
        return read(session, target.dev_id, 1, 0, &out.match_spec, name, out.action_spec, id, &out.is_default);
}

using Random = std::mt19937;

inline void fill(Random& random, void* memory, size_t size) {
    for (size_t i = 0; i < size; ++i)
        static_cast<uint8_t*>(memory)[i] = static_cast<uint8_t>(random());
}

// Every byte is random, padding included. A prefix length seldom lies beyond its field.
template <class Table>
Record<Table> random_record(Random& random) {
    Record<Table> record;
    fill(random, &record, sizeof record);
    if constexpr (Table::prefix_bits != 0)
        Table::set_prefix_length(record.match_spec, static_cast<uint16_t>(random() % (Table::prefix_bits + 3)));
    return record;
}

// An answer of the driver, with the buffers that it names.
struct Answer {
    uint8_t key[48];
    uint8_t mask[48];
    uint8_t data[32];
    NullDriverAnswer driver;

    Answer() = default;
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
};

template <class Table>
void randomize(Random& random, Answer& answer) {
    fill(random, answer.key, sizeof answer.key);
    fill(random, answer.mask, sizeof answer.mask);
    fill(random, answer.data, sizeof answer.data);
    if constexpr (Table::prefix_bits != 0) {
        // A random last byte alone would hardly vary the prefix length.
        const size_t zeros = random() % (Table::prefix_bits / 8 + 1);
        constexpr size_t key_len = Table::prefix_bits == 32 ? 6 : 17;
        std::memset(answer.mask + key_len - zeros, 0, zeros);
    }
    answer.driver = {.match = {.key_bytes = answer.key,
                               .mask_bytes = answer.mask,
                               .partition_index = static_cast<uint32_t>(random()),
                               .priority = static_cast<uint32_t>(random()),
                               .key_bits = 0,
                               .key_len = 0,
                               .reserved = 0},
                     .act_hdl = Table::action_hdl,
                     .data_len = 24,
                     .data = answer.data,
                     .kind = PIPE_KIND_ACTION_DATA,
                     .resource_count = Table::resource_hdl != 0,
                     .slot = {}};
    answer.driver.slot.resource_hdl = Table::resource_hdl;
    answer.driver.slot.index = static_cast<uint32_t>(random());
    answer.driver.slot.tag = PIPE_SLOT_ATTACHED;
}

// Records and answers vary from one iteration to the next, and are few enough to stay in the first cache.
inline constexpr size_t ring_size = 64;

template <class Table>
const std::array<Answer, ring_size>& answers() {
    static std::array<Answer, ring_size> ring;
    static const bool filled [[maybe_unused]] = [] {
        Random random;
        for (Answer& answer : ring)
            randomize<Table>(random, answer);
        return true;
    }();
    return ring;
}

} // namespace bench
