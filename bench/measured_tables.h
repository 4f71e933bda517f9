// The measured tables with both arms: the library's functions and those written by hand.
#pragma once

#include <dlfcn.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <type_traits>

#include "hand_written.h"
#include "medians.h"
#include "null_driver.h"
#include "vl_pd/velmar_switch.h"

namespace bench {

struct NoSpec {};

// The arguments of an add or a look-up.
template <class Table>
struct Record {
    typename Table::MatchSpec match_spec;
    typename Table::ActionSpec action_spec;
    uint32_t priority;
};

// The three functions of one arm. Both arms have the same types.
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

// What follows from the names of a table and an action. `first` and `last` are the handles of all actions of the table.
#define VL_MEASURED_TABLE(table, action, handle, first, last, resource)                                                \
    static constexpr const char* name = #table;                                                                        \
    static constexpr uint32_t action_hdl = (handle), first_handle = (first), last_handle = (last);                     \
    static constexpr uint32_t resource_hdl = (resource);                                                               \
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
    VL_MEASURED_TABLE(ipv4Host, setNextHop, 0x2000006A, 0x20000069, 0x2000006D, 0);
    using ActionSpec = p4_pd_velmar_switch_setNextHop_action_spec_t;
};

struct Ipv6Partition {
    VL_MEASURED_TABLE(ipv6Partition, setIpv6PrtIdxNextHop, 0x2000008A, 0x2000008A, 0x2000008E, 0);
    using ActionSpec = p4_pd_velmar_switch_setIpv6PrtIdxNextHop_action_spec_t;
    static constexpr unsigned prefix_bits = 128;
    static constexpr uint16_t MatchSpec::*prefix_length = &MatchSpec::ingIpv6_dip_prefix_length;
};

struct Ipv4FinalResolve0 {
    VL_MEASURED_TABLE(ipv4FinalResolve0, setNextHop0First, 0x20000085, 0x20000085, 0x20000089, 0);
    using ActionSpec = p4_pd_velmar_switch_setNextHop0First_action_spec_t;
    static constexpr unsigned prefix_bits = 32;
    static constexpr uint16_t MatchSpec::*prefix_length = &MatchSpec::ingIpv4_dip_prefix_length;
};

struct TrapToCpu {
    VL_MEASURED_TABLE(trapToCpu, copyPacket, 0x200000C5, 0x200000C4, 0x200000C8, 0x4000004);
    using ActionSpec = p4_pd_velmar_switch_copyPacket_action_spec_t;
};

struct FinalDropControl {
    VL_MEASURED_TABLE(finalDropControl, dropCountAndMirror, 0x20000109, 0x20000104, 0x2000010B, 0x4000007);
    using ActionSpec = p4_pd_velmar_switch_dropCountAndMirror_action_spec_t;
};

struct FlowWatchlist {
    VL_MEASURED_TABLE(flowWatchlist, intPermit, 0x200000F1, 0x200000F1, 0x200000F2, 0);
    using ActionSpec = NoSpec;
};

struct MirrorPacketEncap {
    VL_MEASURED_TABLE(mirrorPacketEncap, setMirrorPacketEncapIntIpv4, 0x20000159, 0x20000156, 0x2000015A, 0x6000008);
    using ActionSpec = p4_pd_velmar_switch_setMirrorPacketEncapIntIpv4_action_spec_t;
};

#undef VL_MEASURED_TABLE

// Calls visit.operator()<Table>() for each table.
template <class Visit>
void for_each_table(Visit visit) {
    const auto visit_all = [&]<class... Table>() { (visit.template operator()<Table>(), ...); };
    visit_all.template operator()<Ipv4Host, Ipv6Partition, Ipv4FinalResolve0, TrapToCpu, FinalDropControl,
                                  FlowWatchlist, MirrorPacketEncap>();
}

inline constexpr pd_session session = 3;
inline constexpr pd_dev_tgt target{.dev_id = 1, .pipe_id = 2, .reserved = 0};

// Exported functions lack the arguments that their table or action doesn't have.
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

// The outputs of a read, with room for the largest action record of all tables.
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

// Every byte is random, including padding. A prefix length is seldom longer than its field.
template <class Table>
Record<Table> random_record(Random& random) {
    Record<Table> record;
    fill(random, &record, sizeof record);
    if constexpr (requires { Table::prefix_bits; })
        record.match_spec.*Table::prefix_length = static_cast<uint16_t>(random() % (Table::prefix_bits + 3));
    return record;
}

// An answer of the driver, with its buffers.
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
    if constexpr (requires { Table::prefix_bits; }) {
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
