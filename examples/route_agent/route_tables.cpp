// What distinguishes the route tables: their functions, and how an entry fills their records. Each table is a struct of
// names, and one template makes the common face from it.
#include "route_agent/route_tables.h"

namespace route_agent {
namespace {

// Parts that several tables have in common. A key part turns an entry into the table's key record (`key`) and that into
// content (`take_key`); an action part does the same for the action's record.

// Keys of the VRF and an IPv6 prefix.
template <class KeyRecord>
struct Ipv6PrefixKey {
    using Key = KeyRecord;
    static Key key(uint8_t vrf, const Entry& entry) {
        Key key{};
        key.l3Info_vrfId = vrf;
        to_ipv6(entry.prefix.address, key.ingIpv6_dip);
        key.ingIpv6_dip_prefix_length = entry.prefix.length;
        return key;
    }
    static void take_key(const Key& key, Content& content) {
        content.scope = key.l3Info_vrfId;
        content.prefix = {from_ipv6(key.ingIpv6_dip), static_cast<uint8_t>(key.ingIpv6_dip_prefix_length),
                          Family::ipv6};
    }
};

// The route leads to an ECMP group.
struct EcmpAction {
    using Action = p4_pd_velmar_switch_setEcmp_action_spec_t;
    static Action action(const Entry& entry) {
        return {.action_ecmpGroup = entry.group};
    }
    static void take_action(const Action& action, Content& content) {
        content.ecmp_group = action.action_ecmpGroup;
    }
    static constexpr uint32_t action_id = p4_pd_velmar_switch_action_setEcmp;
};

// In tables that know next hops alone the route leads to the next hop with the group's number, and this one to the
// group.
template <class ActionRecord>
struct NextHopAction {
    using Action = ActionRecord;
    static Action action(const Entry& entry) {
        Action action{};
        action.action_nextHop = entry.group;
        return action;
    }
    static void take_action(const Action& action, Content& content) {
        content.next_hop = action.action_nextHop;
    }
};

// Actions of a first level. They name the partition alone: a next hop there would be the route of the first level's own
// prefix, which the short-mask tables have.
template <class ActionRecord>
struct PartitionAction {
    using Action = ActionRecord;
    static Action action(const Entry& entry) {
        Action action{};
        action.action_partIdx = entry.partition;
        return action;
    }
    static void take_action(const Action& action, Content& content) {
        content.result_priority = action.action_pri;
        content.partition = action.action_partIdx;
        content.next_hop_table = action.action_nextHopTable;
        content.next_hop = action.action_nextHop;
    }
};

struct Ipv4Host : EcmpAction {
    using Key = p4_pd_velmar_switch_ipv4Host_match_spec_t;
    static Key key(uint8_t vrf, const Entry& entry) {
        return {.l3Info_vrfId = vrf, .ingIpv4_dip = to_ipv4(entry.prefix.address)};
    }
    static void take_key(const Key& key, Content& content) {
        content.scope = key.l3Info_vrfId;
        content.prefix = {from_ipv4(key.ingIpv4_dip), 32, Family::ipv4};
    }

    static constexpr const char* name = "ipv4Host";
    static constexpr auto add = p4_pd_velmar_switch_ipv4Host_table_add_with_setEcmp;
    static constexpr auto find = p4_pd_velmar_switch_ipv4Host_match_spec_to_entry_hdl;
    static constexpr auto remove = p4_pd_velmar_switch_ipv4Host_table_delete_by_match_spec;
    static constexpr auto read = p4_pd_velmar_switch_ipv4Host_get_entry;
    static constexpr auto count = p4_pd_velmar_switch_ipv4Host_get_entry_count;
    static constexpr auto first = p4_pd_velmar_switch_ipv4Host_get_first_entry_handle;
    static constexpr auto next = p4_pd_velmar_switch_ipv4Host_get_next_entry_handles;
    static constexpr auto placement = p4_pd_velmar_switch_ipv4Host_get_plcmt_data;
    static constexpr auto equal_to_hardware = p4_pd_velmar_switch_ipv4Host_plcmt_data_eq_to_hw;
};

struct Ipv4ShortMaskLpm : EcmpAction {
    using Key = p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_t;
    static Key key(uint8_t vrf, const Entry& entry) {
        return {.l3Info_vrfId = vrf,
                .ingIpv4_dip = to_ipv4(entry.prefix.address),
                .ingIpv4_dip_prefix_length = entry.prefix.length};
    }
    static void take_key(const Key& key, Content& content) {
        content.scope = key.l3Info_vrfId;
        content.prefix = {from_ipv4(key.ingIpv4_dip), static_cast<uint8_t>(key.ingIpv4_dip_prefix_length),
                          Family::ipv4};
    }

    static constexpr const char* name = "ipv4ShortMaskLpm";
    static constexpr auto add = p4_pd_velmar_switch_ipv4ShortMaskLpm_table_add_with_setEcmp;
    static constexpr auto find = p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_to_entry_hdl;
    static constexpr auto remove = p4_pd_velmar_switch_ipv4ShortMaskLpm_table_delete_by_match_spec;
    static constexpr auto read = p4_pd_velmar_switch_ipv4ShortMaskLpm_get_entry;
    static constexpr auto count = p4_pd_velmar_switch_ipv4ShortMaskLpm_get_entry_count;
    static constexpr auto first = p4_pd_velmar_switch_ipv4ShortMaskLpm_get_first_entry_handle;
    static constexpr auto next = p4_pd_velmar_switch_ipv4ShortMaskLpm_get_next_entry_handles;
    static constexpr auto placement = p4_pd_velmar_switch_ipv4ShortMaskLpm_get_plcmt_data;
    static constexpr auto equal_to_hardware = p4_pd_velmar_switch_ipv4ShortMaskLpm_plcmt_data_eq_to_hw;
};

struct Ipv4FinalResolve0 : NextHopAction<p4_pd_velmar_switch_setNextHop0First_action_spec_t> {
    using Key = p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t;
    static Key key(uint8_t, const Entry& entry) {
        return {.fibV4ResultX_partIdx = entry.partition,
                .ingIpv4_dip = to_ipv4(entry.prefix.address),
                .ingIpv4_dip_prefix_length = entry.prefix.length};
    }
    static void take_key(const Key& key, Content& content) {
        content.scope = key.fibV4ResultX_partIdx;
        content.prefix = {from_ipv4(key.ingIpv4_dip), static_cast<uint8_t>(key.ingIpv4_dip_prefix_length),
                          Family::ipv4};
    }

    static constexpr const char* name = "ipv4FinalResolve0";
    static constexpr uint32_t action_id = p4_pd_velmar_switch_action_setNextHop0First;
    static constexpr auto add = p4_pd_velmar_switch_ipv4FinalResolve0_table_add_with_setNextHop0First;
    static constexpr auto find = p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_to_entry_hdl;
    static constexpr auto remove = p4_pd_velmar_switch_ipv4FinalResolve0_table_delete_by_match_spec;
    static constexpr auto read = p4_pd_velmar_switch_ipv4FinalResolve0_get_entry;
    static constexpr auto count = p4_pd_velmar_switch_ipv4FinalResolve0_get_entry_count;
    static constexpr auto first = p4_pd_velmar_switch_ipv4FinalResolve0_get_first_entry_handle;
    static constexpr auto next = p4_pd_velmar_switch_ipv4FinalResolve0_get_next_entry_handles;
    static constexpr auto placement = p4_pd_velmar_switch_ipv4FinalResolve0_get_plcmt_data;
    static constexpr auto equal_to_hardware = p4_pd_velmar_switch_ipv4FinalResolve0_plcmt_data_eq_to_hw;
};

struct Ipv4Partition0 : PartitionAction<p4_pd_velmar_switch_setIpv4PrtResultXFirst_action_spec_t> {
    using Key = p4_pd_velmar_switch_ipv4Partition0_match_spec_t;
    static Key key(uint8_t vrf, const Entry& entry) {
        return {.l3Info_vrfId = vrf,
                .ingIpv4_dipAndVrf = to_ipv4(entry.prefix.address),
                .ingIpv4_dipAndVrf_prefix_length = entry.prefix.length};
    }
    static void take_key(const Key& key, Content& content) {
        content.scope = key.l3Info_vrfId;
        content.prefix = {from_ipv4(key.ingIpv4_dipAndVrf), static_cast<uint8_t>(key.ingIpv4_dipAndVrf_prefix_length),
                          Family::ipv4};
    }

    static constexpr const char* name = "ipv4Partition0";
    static constexpr uint32_t action_id = p4_pd_velmar_switch_action_setIpv4PrtResultXFirst;
    static constexpr auto add = p4_pd_velmar_switch_ipv4Partition0_table_add_with_setIpv4PrtResultXFirst;
    static constexpr auto find = p4_pd_velmar_switch_ipv4Partition0_match_spec_to_entry_hdl;
    static constexpr auto remove = p4_pd_velmar_switch_ipv4Partition0_table_delete_by_match_spec;
    static constexpr auto read = p4_pd_velmar_switch_ipv4Partition0_get_entry;
    static constexpr auto count = p4_pd_velmar_switch_ipv4Partition0_get_entry_count;
    static constexpr auto first = p4_pd_velmar_switch_ipv4Partition0_get_first_entry_handle;
    static constexpr auto next = p4_pd_velmar_switch_ipv4Partition0_get_next_entry_handles;
    static constexpr auto placement = p4_pd_velmar_switch_ipv4Partition0_get_plcmt_data;
    static constexpr auto equal_to_hardware = p4_pd_velmar_switch_ipv4Partition0_plcmt_data_eq_to_hw;
};

struct Ipv6Host : EcmpAction {
    using Key = p4_pd_velmar_switch_ipv6Host_match_spec_t;
    static Key key(uint8_t vrf, const Entry& entry) {
        Key key{};
        key.l3Info_vrfId = vrf;
        to_ipv6(entry.prefix.address, key.ingIpv6_dip);
        return key;
    }
    static void take_key(const Key& key, Content& content) {
        content.scope = key.l3Info_vrfId;
        content.prefix = {from_ipv6(key.ingIpv6_dip), 128, Family::ipv6};
    }

    static constexpr const char* name = "ipv6Host";
    static constexpr auto add = p4_pd_velmar_switch_ipv6Host_table_add_with_setEcmp;
    static constexpr auto find = p4_pd_velmar_switch_ipv6Host_match_spec_to_entry_hdl;
    static constexpr auto remove = p4_pd_velmar_switch_ipv6Host_table_delete_by_match_spec;
    static constexpr auto read = p4_pd_velmar_switch_ipv6Host_get_entry;
    static constexpr auto count = p4_pd_velmar_switch_ipv6Host_get_entry_count;
    static constexpr auto first = p4_pd_velmar_switch_ipv6Host_get_first_entry_handle;
    static constexpr auto next = p4_pd_velmar_switch_ipv6Host_get_next_entry_handles;
    static constexpr auto placement = p4_pd_velmar_switch_ipv6Host_get_plcmt_data;
    static constexpr auto equal_to_hardware = p4_pd_velmar_switch_ipv6Host_plcmt_data_eq_to_hw;
};

struct Ipv6ShortMaskLpm : Ipv6PrefixKey<p4_pd_velmar_switch_ipv6ShortMaskLpm_match_spec_t>, EcmpAction {
    static constexpr const char* name = "ipv6ShortMaskLpm";
    static constexpr auto add = p4_pd_velmar_switch_ipv6ShortMaskLpm_table_add_with_setEcmp;
    static constexpr auto find = p4_pd_velmar_switch_ipv6ShortMaskLpm_match_spec_to_entry_hdl;
    static constexpr auto remove = p4_pd_velmar_switch_ipv6ShortMaskLpm_table_delete_by_match_spec;
    static constexpr auto read = p4_pd_velmar_switch_ipv6ShortMaskLpm_get_entry;
    static constexpr auto count = p4_pd_velmar_switch_ipv6ShortMaskLpm_get_entry_count;
    static constexpr auto first = p4_pd_velmar_switch_ipv6ShortMaskLpm_get_first_entry_handle;
    static constexpr auto next = p4_pd_velmar_switch_ipv6ShortMaskLpm_get_next_entry_handles;
    static constexpr auto placement = p4_pd_velmar_switch_ipv6ShortMaskLpm_get_plcmt_data;
    static constexpr auto equal_to_hardware = p4_pd_velmar_switch_ipv6ShortMaskLpm_plcmt_data_eq_to_hw;
};

// Gives the route itself; partition 0 stands for no look-up behind it.
struct Ipv6Partition : Ipv6PrefixKey<p4_pd_velmar_switch_ipv6Partition_match_spec_t> {
    using Action = p4_pd_velmar_switch_setIpv6PrtIdxEcmp_action_spec_t;
    static Action action(const Entry& entry) {
        return {.action_partitionIndex = 0, .action_ecmpGroup = entry.group};
    }
    static void take_action(const Action& action, Content& content) {
        content.partition = action.action_partitionIndex;
        content.ecmp_group = action.action_ecmpGroup;
    }

    static constexpr const char* name = "ipv6Partition";
    static constexpr uint32_t action_id = p4_pd_velmar_switch_action_setIpv6PrtIdxEcmp;
    static constexpr auto add = p4_pd_velmar_switch_ipv6Partition_table_add_with_setIpv6PrtIdxEcmp;
    static constexpr auto find = p4_pd_velmar_switch_ipv6Partition_match_spec_to_entry_hdl;
    static constexpr auto remove = p4_pd_velmar_switch_ipv6Partition_table_delete_by_match_spec;
    static constexpr auto read = p4_pd_velmar_switch_ipv6Partition_get_entry;
    static constexpr auto count = p4_pd_velmar_switch_ipv6Partition_get_entry_count;
    static constexpr auto first = p4_pd_velmar_switch_ipv6Partition_get_first_entry_handle;
    static constexpr auto next = p4_pd_velmar_switch_ipv6Partition_get_next_entry_handles;
    static constexpr auto placement = p4_pd_velmar_switch_ipv6Partition_get_plcmt_data;
    static constexpr auto equal_to_hardware = p4_pd_velmar_switch_ipv6Partition_plcmt_data_eq_to_hw;
};

struct Ipv6LgMaskFinalResolve0 : NextHopAction<p4_pd_velmar_switch_setV6NextHop0First_action_spec_t> {
    using Key = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_match_spec_t;
    static Key key(uint8_t, const Entry& entry) {
        Key key{};
        key.fibV6ResultX_partIdx = entry.partition;
        to_ipv6(entry.prefix.address, key.ingIpv6_dip);
        key.ingIpv6_dip_prefix_length = entry.prefix.length;
        return key;
    }
    static void take_key(const Key& key, Content& content) {
        content.scope = key.fibV6ResultX_partIdx;
        content.prefix = {from_ipv6(key.ingIpv6_dip), static_cast<uint8_t>(key.ingIpv6_dip_prefix_length),
                          Family::ipv6};
    }

    static constexpr const char* name = "ipv6LgMaskFinalResolve0";
    static constexpr uint32_t action_id = p4_pd_velmar_switch_action_setV6NextHop0First;
    static constexpr auto add = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_table_add_with_setV6NextHop0First;
    static constexpr auto find = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_match_spec_to_entry_hdl;
    static constexpr auto remove = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_table_delete_by_match_spec;
    static constexpr auto read = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_get_entry;
    static constexpr auto count = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_get_entry_count;
    static constexpr auto first = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_get_first_entry_handle;
    static constexpr auto next = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_get_next_entry_handles;
    static constexpr auto placement = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_get_plcmt_data;
    static constexpr auto equal_to_hardware = p4_pd_velmar_switch_ipv6LgMaskFinalResolve0_plcmt_data_eq_to_hw;
};

struct Ipv6LgMaskPartition0 : Ipv6PrefixKey<p4_pd_velmar_switch_ipv6LgMaskPartition0_match_spec_t>,
                              PartitionAction<p4_pd_velmar_switch_setIpv6PrtResultXFirst_action_spec_t> {
    static constexpr const char* name = "ipv6LgMaskPartition0";
    static constexpr uint32_t action_id = p4_pd_velmar_switch_action_setIpv6PrtResultXFirst;
    static constexpr auto add = p4_pd_velmar_switch_ipv6LgMaskPartition0_table_add_with_setIpv6PrtResultXFirst;
    static constexpr auto find = p4_pd_velmar_switch_ipv6LgMaskPartition0_match_spec_to_entry_hdl;
    static constexpr auto remove = p4_pd_velmar_switch_ipv6LgMaskPartition0_table_delete_by_match_spec;
    static constexpr auto read = p4_pd_velmar_switch_ipv6LgMaskPartition0_get_entry;
    static constexpr auto count = p4_pd_velmar_switch_ipv6LgMaskPartition0_get_entry_count;
    static constexpr auto first = p4_pd_velmar_switch_ipv6LgMaskPartition0_get_first_entry_handle;
    static constexpr auto next = p4_pd_velmar_switch_ipv6LgMaskPartition0_get_next_entry_handles;
    static constexpr auto placement = p4_pd_velmar_switch_ipv6LgMaskPartition0_get_plcmt_data;
    static constexpr auto equal_to_hardware = p4_pd_velmar_switch_ipv6LgMaskPartition0_plcmt_data_eq_to_hw;
};

template <class Table>
pd_status add_entry(const Device& device, const Entry& entry, pd_entry& handle) {
    const auto key = Table::key(device.vrf, entry);
    const auto action = Table::action(entry);
    return Table::add(device.session, device.target, &key, &action, &handle);
}

template <class Table>
pd_status find_entry(const Device& device, const Entry& entry, pd_entry& handle) {
    const auto key = Table::key(device.vrf, entry);
    return Table::find(device.session, device.target, &key, &handle);
}

template <class Table>
pd_status remove_entry(const Device& device, const Entry& entry) {
    const auto key = Table::key(device.vrf, entry);
    return Table::remove(device.session, device.target, &key);
}

template <class Table>
pd_status read_entry(const Device& device, pd_entry handle, Content& content) {
    constexpr uint32_t read_from_hw = 1;
    typename Table::Key key{};
    typename Table::Action action{}; // no action of a route table has a larger record than the one that is used here
    uint8_t is_default = 0;
    content = {};
    const pd_status status = Table::read(device.session, device.target.dev_id, handle, read_from_hw, &key, nullptr,
                                         &action, &content.action, &is_default);
    if (status == PD_STATUS_OK) {
        content.is_default = is_default != 0;
        Table::take_key(key, content);
        if (content.action == Table::action_id) Table::take_action(action, content);
    }
    return status;
}

template <class Table>
Content meant_content(const Device& device, const Entry& entry) {
    Content content;
    content.action = Table::action_id;
    Table::take_key(Table::key(device.vrf, entry), content);
    Table::take_action(Table::action(entry), content);
    return content;
}

template <class Table>
pd_status count_entries(const Device& device, uint32_t& count) {
    return Table::count(device.session, device.target, &count);
}

template <class Table>
pd_status first_entry(const Device& device, pd_entry& handle) {
    return Table::first(device.session, device.target, &handle);
}

template <class Table>
pd_status next_entries(const Device& device, pd_entry handle, std::span<pd_entry> handles) {
    return Table::next(device.session, device.target, handle, static_cast<uint32_t>(handles.size()), handles.data());
}

template <class Table>
pd_status compare_with_hardware(const Device& device, pd_entry handle, std::string& difference) {
    const void* placement = nullptr;
    const pd_status status = Table::placement(device.session, device.target, 0, handle, &placement);
    if (status != PD_STATUS_OK) return status;
    char message[longest_difference + 1] = "";
    difference.clear();
    if (Table::equal_to_hardware(device.session, device.target.dev_id, 0, handle, placement, message) == 0)
        difference = message;
    return PD_STATUS_OK;
}

template <class Table>
constexpr RouteTable face{
    .name = Table::name,
    .add = add_entry<Table>,
    .find = find_entry<Table>,
    .remove = remove_entry<Table>,
    .read = read_entry<Table>,
    .count = count_entries<Table>,
    .first = first_entry<Table>,
    .next = next_entries<Table>,
    .compare_with_hardware = compare_with_hardware<Table>,
    .meant = meant_content<Table>,
};

} // namespace

const RouteTable& route_table(TableId table) {
    switch (table) {
    case TableId::ipv4Host:
        return face<Ipv4Host>;
    case TableId::ipv4ShortMaskLpm:
        return face<Ipv4ShortMaskLpm>;
    case TableId::ipv4FinalResolve0:
        return face<Ipv4FinalResolve0>;
    case TableId::ipv4Partition0:
        return face<Ipv4Partition0>;
    case TableId::ipv6Host:
        return face<Ipv6Host>;
    case TableId::ipv6ShortMaskLpm:
        return face<Ipv6ShortMaskLpm>;
    case TableId::ipv6Partition:
        return face<Ipv6Partition>;
    case TableId::ipv6LgMaskFinalResolve0:
        return face<Ipv6LgMaskFinalResolve0>;
    case TableId::ipv6LgMaskPartition0:
        return face<Ipv6LgMaskPartition0>;
    }
    throw std::out_of_range("no such route table");
}

std::string to_text(const Content& content) {
    const char* action = p4_pd_velmar_switch_action_enum_to_string(content.action);
    std::string text = content.is_default ? "the default entry" : to_text(content.prefix);
    text += " under " + std::to_string(content.scope) + ", " + (action != nullptr ? action : "an unknown action");
    text += " (pri " + std::to_string(content.result_priority) + ", partition " + std::to_string(content.partition);
    text += ", next-hop table " + std::to_string(content.next_hop_table);
    text += ", next hop " + std::to_string(content.next_hop);
    return text + ", ECMP group " + std::to_string(content.ecmp_group) + ")";
}

} // namespace route_agent
