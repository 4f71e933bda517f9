// Which spine a flow takes. The library works out the hash of a packet without sending it; vl_model/behaviour.h says
// which member the driver chooses for a hash. For another driver, predicted_next_hop() must change. chosen_next_hop()
// asks the driver, so it needs no such knowledge.
#include <array>

#include "leaf_switch/steps.h"

namespace leaf_switch {
namespace {

using Hash = std::array<uint8_t, 4>;

// The hash that choose_hash() gives to packets with ports.
Hash hash_of(const Leaf& leaf, const Flow& flow) {
    const pd_hash_attribute fields[] = {
        {.input_field = 0, .attr_type = 0, .attr_value = flow.source},
        {.input_field = 1, .attr_type = 0, .attr_value = flow.destination},
        {.input_field = 2, .attr_type = 0, .attr_value = flow.protocol},
        {.input_field = 3, .attr_type = 0, .attr_value = flow.source_port},
        {.input_field = 4, .attr_type = 0, .attr_value = flow.destination_port},
    };
    constexpr uint32_t widths[] = {32, 32, 8, 16, 16};
    static_assert(std::size(widths) == std::size(fields));
    Hash hash = {};
    expect("working out the hash of a flow",
           p4_pd_velmar_switch_hash_calc_hashOuterIpAndL4Hdr_calculate_hash_value(
               leaf.session, leaf.target.dev_id, std::size(fields), fields, widths, hash.data(), hash.size()));
    return hash;
}

// Packets go only to active members.
std::vector<pd_member> active_members(const Leaf& leaf) {
    std::vector<pd_member> active;
    for (const pd_member member : spine_members(leaf)) {
        uint32_t state = 0;
        expect("reading the state of an ECMP member",
               p4_pd_velmar_switch_ecmpMemberActionProfile_group_member_state_get(leaf.session, leaf.target,
                                                                                  leaf.spines, member, &state));
        if (state == P4_PD_GRP_MBR_STATE_ACTIVE) active.push_back(member);
    }
    return active;
}

} // namespace

uint32_t predicted_next_hop(const Leaf& leaf, const Flow& flow) {
    const std::vector<pd_member> active = active_members(leaf);
    if (active.empty()) throw std::runtime_error("no spine takes packets");
    uint32_t number = 0;
    for (const uint8_t byte : hash_of(leaf, flow))
        number = number << 8 | byte;
    return next_hop_of(leaf, active[number % active.size()]);
}

uint32_t chosen_next_hop(const Leaf& leaf, const Flow& flow) {
    const Hash hash = hash_of(leaf, flow);
    pd_member member = 0;
    expect("asking which ECMP member a flow takes",
           p4_pd_velmar_switch_ecmpMemberActionProfile_group_member_get_from_hash(
               leaf.session, leaf.target, leaf.spines, hash.data(), hash.size(), &member));
    return next_hop_of(leaf, member);
}

} // namespace leaf_switch
