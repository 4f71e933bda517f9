// How an entry of the plan fills the records of each route table. The rows at the end describe the tables.
#include "route_agent/route_tables.h"

#include <utility>

namespace route_agent {
namespace {

// The members of a table's key record: the VRF or partition, the address, and the prefix length. In a host table
// `length` is nullptr.
template <class KeyRecord, auto scope, auto address, auto length>
struct KeyMembers {
    using Key = KeyRecord;
    static constexpr bool is_ipv6 = requires(Key key) {
        key.ingIpv6_dip;
    };

    static Key key(uint8_t vrf, const Entry& entry) {
        Key key{};
        if constexpr (requires { key.l3Info_vrfId; })
            key.*scope = vrf;
        else
            key.*scope = entry.partition;
        if constexpr (is_ipv6)
            to_ipv6(entry.prefix.address, key.*address);
        else
            key.*address = to_ipv4(entry.prefix.address);
        if constexpr (length != nullptr) key.*length = entry.prefix.length;
        return key;
    }
    static void take(const Key& key, Content& content) {
        content.scope = key.*scope;
        if constexpr (is_ipv6)
            content.prefix = {from_ipv6(key.*address), 128, Family::ipv6};
        else
            content.prefix = {from_ipv4(key.*address), 32, Family::ipv4};
        if constexpr (length != nullptr) content.prefix.length = static_cast<uint8_t>(key.*length);
    }
};

template <class Action>
Action action_of(const Entry& entry) {
    Action action{};
    if constexpr (requires { action.action_ecmpGroup; })
        action.action_ecmpGroup = entry.group;
    else if constexpr (requires { action.action_partIdx; })
        // A first level names only the partition. A next hop here would be the route of the first level's own prefix,
        // which the short-mask tables have.
        action.action_partIdx = entry.partition;
    else
        action.action_nextHop = entry.group; // the next hop with the group's number leads to the group
    return action;
}

template <class Action>
void take_action(const Action& action, Content& content) {
    if constexpr (requires { action.action_ecmpGroup; }) content.ecmp_group = action.action_ecmpGroup;
    if constexpr (requires { action.action_nextHop; }) content.next_hop = action.action_nextHop;
    // In ipv6Partition, which gives the route itself, partition 0 means that no second level follows.
    if constexpr (requires { action.action_partitionIndex; }) content.partition = action.action_partitionIndex;
    if constexpr (requires { action.action_partIdx; }) {
        content.result_priority = action.action_pri;
        content.partition = action.action_partIdx;
        content.next_hop_table = action.action_nextHopTable;
    }
}

// Wraps the library's typed functions as those of RouteTable.
template <class Members, class Action, uint32_t action_id, auto add, auto find, auto remove, auto read>
constexpr RouteTable row(const char* name, GetHandle* table_handle, GetCount* count, GetFirst* first, GetNext* next,
                         GetPlacement* placement, EqualToHardware* equal_to_hardware) {
    return {
        .name = name,
        .handle = table_handle,
        .add =
            [](const Device& device, const Entry& entry, pd_entry& handle) {
                const auto key = Members::key(device.vrf, entry);
                const auto action = action_of<Action>(entry);
                return add(device.session, device.target, &key, &action, &handle);
            },
        .find =
            [](const Device& device, const Entry& entry, pd_entry& handle) {
                const auto key = Members::key(device.vrf, entry);
                return find(device.session, device.target, &key, &handle);
            },
        .remove =
            [](const Device& device, const Entry& entry) {
                const auto key = Members::key(device.vrf, entry);
                return remove(device.session, device.target, &key);
            },
        .read =
            [](const Device& device, pd_entry handle, Content& content) {
                constexpr uint32_t read_from_hw = 1;
                typename Members::Key key{};
                Action action{}; // no other action of the table has a larger record
                uint8_t is_default = 0;
                content = {};
                const pd_status status = read(device.session, device.target.dev_id, handle, read_from_hw, &key, nullptr,
                                              &action, &content.action, &is_default);
                if (status != PD_STATUS_OK) return status;
                content.is_default = is_default != 0;
                Members::take(key, content);
                if (content.action == action_id) take_action(action, content);
                return status;
            },
        .meant =
            [](const Device& device, const Entry& entry) {
                Content content;
                content.action = action_id;
                Members::take(Members::key(device.vrf, entry), content);
                take_action(action_of<Action>(entry), content);
                return content;
            },
        .count = count,
        .first = first,
        .next = next,
        .placement = placement,
        .equal_to_hardware = equal_to_hardware,
    };
}

#define KEY_MEMBER(table, member) &PD(table, match_spec_t)::member
#define ROUTE_TABLE(table, action, scope, address, length)                                                             \
    row<KeyMembers<PD(table, match_spec_t), KEY_MEMBER(table, scope), KEY_MEMBER(table, address), length>,             \
        PD(action, action_spec_t), p4_pd_velmar_switch_action_##action, PD(table, table_add_with_##action),            \
        PD(table, match_spec_to_entry_hdl), PD(table, table_delete_by_match_spec), PD(table, get_entry)>(              \
        #table, PD(table, get_mat_table_handle), PD(table, get_entry_count), PD(table, get_first_entry_handle),        \
        PD(table, get_next_entry_handles), PD(table, get_plcmt_data), PD(table, plcmt_data_eq_to_hw))
#define HOST_TABLE(table, action, scope, address) ROUTE_TABLE(table, action, scope, address, nullptr)
#define LPM_TABLE(table, action, scope, address)                                                                       \
    ROUTE_TABLE(table, action, scope, address, KEY_MEMBER(table, address##_prefix_length))

} // namespace

// In the order of TableId: the table, the action that the agent uses in it, and the members of its key.
constexpr PerTable<RouteTable> route_tables = {
    HOST_TABLE(ipv4Host, setEcmp, l3Info_vrfId, ingIpv4_dip),
    LPM_TABLE(ipv4ShortMaskLpm, setEcmp, l3Info_vrfId, ingIpv4_dip),
    LPM_TABLE(ipv4FinalResolve0, setNextHop0First, fibV4ResultX_partIdx, ingIpv4_dip),
    LPM_TABLE(ipv4Partition0, setIpv4PrtResultXFirst, l3Info_vrfId, ingIpv4_dipAndVrf),
    HOST_TABLE(ipv6Host, setEcmp, l3Info_vrfId, ingIpv6_dip),
    LPM_TABLE(ipv6ShortMaskLpm, setEcmp, l3Info_vrfId, ingIpv6_dip),
    LPM_TABLE(ipv6Partition, setIpv6PrtIdxEcmp, l3Info_vrfId, ingIpv6_dip),
    LPM_TABLE(ipv6LgMaskFinalResolve0, setV6NextHop0First, fibV6ResultX_partIdx, ingIpv6_dip),
    LPM_TABLE(ipv6LgMaskPartition0, setIpv6PrtResultXFirst, l3Info_vrfId, ingIpv6_dip),
};

PacketKey packet_key(unsigned scope_bytes, unsigned scope, Family family, Address address) {
    PacketKey key;
    if (scope_bytes == 2) key.bytes[key.length++] = static_cast<uint8_t>(scope >> 8);
    key.bytes[key.length++] = static_cast<uint8_t>(scope);
    to_ipv6(address, &key.bytes[key.length]); // an IPv4 address is the first four bytes
    key.length += address_bits(family) / 8;
    return key;
}

pd_status compare_placement(const Device& device, GetPlacement* placement, EqualToHardware* equal_to_hardware,
                            pd_entry handle, std::string& difference) {
    constexpr size_t longest_difference = 65; // characters that the library writes at most
    const void* placed = nullptr;
    const pd_status status = placement(device.session, device.target, 0, handle, &placed);
    char message[longest_difference + 1] = "";
    if (status == PD_STATUS_OK) // writes nothing if they are equal
        equal_to_hardware(device.session, device.target.dev_id, 0, handle, placed, message);
    difference = message;
    return status;
}

std::ostream& operator<<(std::ostream& out, const Content& content) {
    const char* action = p4_pd_velmar_switch_action_enum_to_string(content.action);
    if (content.is_default)
        out << "the default entry";
    else
        out << content.prefix;
    out << " under " << content.scope << ", " << (action != nullptr ? action : "an unknown action");
    const std::pair<const char*, std::optional<uint32_t>> parameters[] = {{"pri ", content.result_priority},
                                                                          {"partition ", content.partition},
                                                                          {"next-hop table ", content.next_hop_table},
                                                                          {"next hop ", content.next_hop},
                                                                          {"ECMP group ", content.ecmp_group}};
    const char* before = " (";
    for (const auto& [name, value] : parameters)
        if (value) out << std::exchange(before, ", ") << name << *value;
    return out << (before[0] == ',' ? ")" : "");
}

} // namespace route_agent
