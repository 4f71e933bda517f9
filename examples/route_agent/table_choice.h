// Which of the pipeline's route tables takes a prefix. The tables divide the prefix lengths among themselves; long
// prefixes have two levels, of which the first names the partition in which the second one looks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "route_agent/prefix.h"

namespace route_agent {

// By the pipeline's names. A second level stands before its first level: entries are added in this order, and a
// partition becomes reachable only when its routes are in place.
enum class TableId : uint8_t {
    ipv4Host,
    ipv4ShortMaskLpm,
    ipv4FinalResolve0,
    ipv4Partition0,
    ipv6Host,
    ipv6ShortMaskLpm,
    ipv6Partition,
    ipv6LgMaskFinalResolve0,
    ipv6LgMaskPartition0,
};

inline constexpr size_t table_count = 9;

// One value of any type per table.
template <class Value>
using PerTable = std::array<Value, table_count>;

constexpr size_t index_of(TableId table) {
    return static_cast<size_t>(table);
}

struct TwoLevels {
    TableId first;
    TableId second;
    unsigned first_length; // of the prefixes in the first level
};

inline constexpr TwoLevels two_level_schemes[] = {
    {TableId::ipv4Partition0, TableId::ipv4FinalResolve0, 12},
    {TableId::ipv6LgMaskPartition0, TableId::ipv6LgMaskFinalResolve0, 64},
};

// Partitions are numbered with 16 bits.
inline constexpr size_t max_partitions = 65536;

// ECMP groups are numbered from 1 with the 10 bits of a next hop that choose one.
inline constexpr size_t max_ecmp_groups = 1023;

constexpr TableId table_for(const Prefix& prefix) {
    if (prefix.family == Family::ipv4) {
        return prefix.length <= 12   ? TableId::ipv4ShortMaskLpm
               : prefix.length <= 31 ? TableId::ipv4FinalResolve0
                                     : TableId::ipv4Host;
    }
    return prefix.length <= 22    ? TableId::ipv6ShortMaskLpm
           : prefix.length <= 64  ? TableId::ipv6Partition
           : prefix.length <= 127 ? TableId::ipv6LgMaskFinalResolve0
                                  : TableId::ipv6Host;
}

} // namespace route_agent
