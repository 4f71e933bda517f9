// Reading back: how many entries each table has, who is in a group, and what an entry and a default entry say.
#include <cstring>
#include <iomanip>
#include <span>

#include "leaf_switch/steps.h"

namespace leaf_switch {
namespace {

struct Counted {
    const char* name;
    pd_status (*count)(pd_session, pd_dev_tgt, uint32_t*);
};

// In the pipeline's order. Every table that a step fills must be here, or the shutdown doesn't check that it is empty.
#define TABLE(name)                                                                                                    \
    { #name, p4_pd_velmar_switch_##name##_get_entry_count }
constexpr Counted counted[] = {
    {"value set vxlan_ports", count_vxlan_ports},
    TABLE(ingressPortMapping),
    TABLE(l2DomainLookup),
    TABLE(untaggedPktToL3),
    TABLE(taggedPktToL3),
    TABLE(vlanProperties),
    TABLE(l3DmacCheck),
    TABLE(l2LearningLookup),
    TABLE(haloPaclCrlId),
    TABLE(haloXformDstPort),
    TABLE(ipv4Host),
    TABLE(l2Lookup),
    TABLE(l2LookupMiss),
    TABLE(haloKeyMaskForRow1Stage2),
    TABLE(haloRow1Stage2),
    TABLE(ipv4ShortMaskLpm),
    TABLE(ecmpHashSelection),
    TABLE(learningDigestGeneration),
    TABLE(trapToCpu),
    TABLE(ecmpGroup),
    TABLE(routerNextHop0),
    TABLE(nextHop0),
    TABLE(haloCounters),
    TABLE(lagGroup),
    TABLE(finalDropControl),
    {"members of ecmpMemberActionProfile", p4_pd_velmar_switch_ecmpMemberActionProfile_get_act_prof_entry_count},
    {"groups of ecmpMemberActionProfile", p4_pd_velmar_switch_ecmpMemberActionProfile_get_selector_group_count},
    {"members of lagPortActionProfile", p4_pd_velmar_switch_lagPortActionProfile_get_act_prof_entry_count},
    {"groups of lagPortActionProfile", p4_pd_velmar_switch_lagPortActionProfile_get_selector_group_count},
};

// The functions of a profile that read a group.
struct Profile {
    const char* name;
    pd_status (*first)(pd_session, pd_device, pd_group, pd_member*);
    pd_status (*next)(pd_session, pd_device, pd_group, pd_member, uint32_t, pd_member*);
    pd_status (*read)(pd_session, pd_device, pd_member, uint32_t, void*);
};

constexpr Profile ecmp_profile = {"the ECMP group", p4_pd_velmar_switch_ecmpMemberActionProfile_get_first_group_member,
                                  p4_pd_velmar_switch_ecmpMemberActionProfile_get_next_group_members,
                                  p4_pd_velmar_switch_ecmpMemberActionProfile_get_member};
constexpr Profile lag_profile = {"the LAG", p4_pd_velmar_switch_lagPortActionProfile_get_first_group_member,
                                 p4_pd_velmar_switch_lagPortActionProfile_get_next_group_members,
                                 p4_pd_velmar_switch_lagPortActionProfile_get_member};

std::vector<pd_member> members_of(const Leaf& leaf, const Profile& profile, pd_group group) {
    pd_member first = 0;
    expect(std::string("finding the first member of ") + profile.name,
           profile.first(leaf.session, leaf.target.dev_id, group, &first));
    std::vector<pd_member> members = {first};
    // A walk goes on after its last handle, and ends at the first PD_HDL_END.
    for (;;) {
        pd_member more[4] = {};
        expect(std::string("finding more members of ") + profile.name,
               profile.next(leaf.session, leaf.target.dev_id, group, members.back(), std::size(more), more));
        for (const pd_member member : more) {
            if (member == PD_HDL_END) return members;
            members.push_back(member);
        }
    }
}

template <class Spec>
Spec read_member(const Leaf& leaf, const Profile& profile, pd_member member) {
    pd_action_record record = {};
    expect(std::string("reading a member of ") + profile.name,
           profile.read(leaf.session, leaf.target.dev_id, member, 0, &record));
    Spec spec = {};
    std::memcpy(&spec, record.spec, sizeof spec);
    return spec;
}

std::string dotted(uint32_t address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += std::to_string(address >> shift & 0xFF) + (shift > 0 ? "." : "");
    return text;
}

void print_list(std::ostream& out, const char* title, std::span<const uint32_t> numbers) {
    out << title;
    for (const uint32_t number : numbers)
        out << ' ' << number;
    out << '\n';
}

void print_host_route(const Leaf& leaf, const Host& host, std::ostream& out) {
    // An entry is found by its key. This gives a handle, by which it is read.
    p4_pd_velmar_switch_ipv4Host_match_spec_t key = {.l3Info_vrfId = vrf, .ingIpv4_dip = host.address};
    const std::string name = std::string("the route to ") + host.name;
    pd_entry entry = 0;
    expect("finding " + name,
           p4_pd_velmar_switch_ipv4Host_match_spec_to_entry_hdl(leaf.session, leaf.target, &key, &entry));
    char action[61] = {};
    p4_pd_velmar_switch_setNextHop_action_spec_t hop = {};
    uint8_t is_default = 0;
    expect("reading " + name, p4_pd_velmar_switch_ipv4Host_get_entry(leaf.session, leaf.target.dev_id, entry, 0, &key,
                                                                     action, &hop, nullptr, &is_default));
    out << "ipv4Host, " << dotted(key.ingIpv4_dip) << " in VRF " << unsigned{key.l3Info_vrfId} << ": " << action << ' '
        << hop.action_nextHop << '\n';
}

void print_last_decision(const Leaf& leaf, std::ostream& out) {
    pd_action_record record = {};
    expect("reading the last decision",
           p4_pd_velmar_switch_finalDropControl_table_get_default_entry(leaf.session, leaf.target, 0, &record));
    out << "finalDropControl, by default: " << p4_pd_velmar_switch_action_enum_to_string(record.action_id) << '\n';
}

} // namespace

std::vector<TableCount> table_counts(const Leaf& leaf) {
    std::vector<TableCount> counts;
    for (const auto& [name, count] : counted) {
        counts.push_back({name, 0});
        expect(std::string("counting ") + name, count(leaf.session, leaf.target, &counts.back().count));
    }
    return counts;
}

std::vector<pd_member> spine_members(const Leaf& leaf) {
    return members_of(leaf, ecmp_profile, leaf.spines);
}

uint32_t next_hop_of(const Leaf& leaf, pd_member member) {
    return read_member<p4_pd_velmar_switch_setEcmpNextHop_action_spec_t>(leaf, ecmp_profile, member).action_nextHop;
}

std::vector<uint32_t> spine_next_hops(const Leaf& leaf) {
    std::vector<uint32_t> hops;
    for (const pd_member member : spine_members(leaf))
        hops.push_back(next_hop_of(leaf, member));
    return hops;
}

std::vector<uint32_t> lag_ports_in_use(const Leaf& leaf) {
    std::vector<uint32_t> ports;
    for (const pd_member member : members_of(leaf, lag_profile, leaf.lag)) {
        const auto spec = read_member<p4_pd_velmar_switch_setLagPort_action_spec_t>(leaf, lag_profile, member);
        ports.push_back(spec.action_egrL2AintfPort);
    }
    return ports;
}

void print_summary(const Leaf& leaf, std::ostream& out) {
    out << "Entries, members and groups:\n";
    for (const TableCount& table : table_counts(leaf))
        out << "  " << std::left << std::setw(36) << table.name << std::right << std::setw(3) << table.count << '\n';
    print_list(out, "ECMP group, next hops:", spine_next_hops(leaf));
    print_list(out, "LAG, ports:", lag_ports_in_use(leaf));
    print_host_route(leaf, hosts[0], out);
    print_last_decision(leaf, out);
}

} // namespace leaf_switch
