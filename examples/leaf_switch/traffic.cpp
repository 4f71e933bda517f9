// Packets and time. Does what the pipeline does between tables; each table decides itself which entry a packet takes.
#include <algorithm>

#include "leaf_switch/packets.h"
#include "vl_driver/snapshot.h"
#include "vl_model/control.h"
#include "vl_model/traffic.h"

namespace leaf_switch {
namespace {

constexpr uint32_t frame_bytes = 64;

// The time to live of a known source starts anew. For an unknown source, a second table decides whether the pipeline
// sends a digest.
bool asks_for_digest(const Leaf& leaf, const Station& sender) {
    const pd_action_record known =
        send_for_action(leaf, KEYS_AND_ACTIONS(l2LearningLookup), source_key(sender), frame_bytes);
    if (known.action_id != p4_pd_velmar_switch_action_setL2LearningLookupMiss) return false;
    p4_pd_velmar_switch_learningDigestGeneration_match_spec_t unknown = {};
    unknown.learningDigestMd_applicationId = learn_macs;
    unknown.ingMd_ingL2Aintf = sender.interface;
    return send_for_action(leaf, KEYS_AND_ACTIONS(learningDigestGeneration), unknown, frame_bytes).action_id ==
           p4_pd_velmar_switch_action_generateMacLearningDigest;
}

void append(std::vector<uint8_t>& bytes, uint32_t value, unsigned size) {
    while (size-- > 0)
        bytes.push_back(static_cast<uint8_t>(value >> 8 * size));
}

// What the rules of the port say; 0 if no rule matches.
uint32_t rule_result(const Leaf& leaf, const Packet& packet) {
    const p4_pd_velmar_switch_haloPaclCrlId_match_spec_t origin = {.ingMd_v4V6Valid = !packet.is_arp,
                                                                   .ig_intr_md_ingress_port = packet.ingress_port};
    p4_pd_velmar_switch_haloXformDstPort_match_spec_t port = {};
    port.ingMd_dstPort = packet.destination_port;
    const auto list = send_for_parameters(leaf, ACTION(haloPaclCrlId, setHaloCrlId2), origin, packet.bytes);
    const auto name = send_for_parameters(leaf, ACTION(haloXformDstPort, setHaloXformDstPort), port, packet.bytes);
    const auto mask = send_for_parameters(leaf, ACTION(haloKeyMaskForRow1Stage2, haloKeyMaskedRow1Stage2),
                                          {.haloKeyOrig_crlId = list.action_crlId}, packet.bytes);
    p4_pd_velmar_switch_haloRow1Stage2_match_spec_t masked = {};
    masked.haloKeyOrig_crlId = list.action_crlId;
    masked.haloKeyMaskedRow1_dstPort = name.action_val & mask.action_dstPort;
    masked.haloKeyMaskedRow1_proto = packet.protocol & mask.action_proto;
    const auto rule = send_for_parameters(leaf, ACTION(haloRow1Stage2, haloSetBestResultRow1), masked, packet.bytes);
    return rule.action_res != 0 ? rule.action_res : list.action_defaultResult;
}

// One packet meets the tables that mark, copy, trap and drop packets, in the pipeline's order.
void send_packet(const Leaf& leaf, const Packet& packet) {
    p4_pd_velmar_switch_l3DmacCheck_match_spec_t routed = {};
    routed.ingMd_dmacOui = packet.destination_mac.oui;
    routed.ingMd_dmacStation = packet.destination_mac.station;
    const bool is_for_router = send(leaf, KEYS(l3DmacCheck), routed, packet.bytes) != 0;

    p4_pd_velmar_switch_l2LookupMiss_match_spec_t flooded = {};
    flooded.egrMd_dmacOui = packet.destination_mac.oui;
    flooded.egrMd_dmacStation = packet.destination_mac.station;
    flooded.ig_intr_md_ingress_port = packet.ingress_port;
    const bool has_limit = send(leaf, KEYS(l2LookupMiss), flooded, packet.bytes) != 0;

    const uint32_t result = rule_result(leaf, packet);

    p4_pd_velmar_switch_trapToCpu_match_spec_t for_cpu = {};
    for_cpu.l3Info_ingL3DmacValid = is_for_router;
    for_cpu.arpHdr_valid = packet.is_arp;
    for_cpu.ingIpv4_dip = packet.destination;
    for_cpu.ingMd_protocol = packet.protocol;
    for_cpu.ingMd_dstPort = packet.destination_port;
    send(leaf, KEYS(trapToCpu), for_cpu, packet.bytes);

    send(leaf, KEYS(haloCounters), {.haloResultRow1_bestResult = result}, packet.bytes);
    p4_pd_velmar_switch_lagGroup_match_spec_t leaving = {};
    leaving.egrMd_egrL2AintfUnresolved = packet.interface;
    const bool has_port = send(leaf, KEYS(lagGroup), leaving, packet.bytes) != 0;

    p4_pd_velmar_switch_finalDropControl_match_spec_t marks = {};
    marks.haloResultRow1_bestResult = result;
    marks.ingMd_invalidEgressPort = !has_port;
    marks.ingMd_stormControlDrop = has_limit && packet.is_over_limit;
    marks.ig_intr_md_ingress_port = packet.ingress_port;
    send(leaf, KEYS(finalDropControl), marks, packet.bytes);
}

} // namespace

size_t send_frames(const Leaf& leaf, std::span<const Station> senders) {
    constexpr uint32_t mac_learning_digest = 0x9000000;
    std::vector<uint8_t> entries;
    uint32_t unknown = 0;
    for (const Station& sender : senders) {
        if (!asks_for_digest(leaf, sender)) continue;
        append(entries, sender.mac.oui, 4);
        append(entries, sender.mac.station, 4);
        append(entries, sender.vlan, 2);
        append(entries, sender.interface, 4);
        ++unknown;
    }
    if (unknown != 0) {
        expect("learning from a digest",
               vl_model_digest_raise(leaf.target.dev_id, mac_learning_digest, entries.data(), unknown));
    }
    return unknown;
}

Way route_packet(const Leaf& leaf, uint32_t destination) {
    const p4_pd_velmar_switch_ipv4Host_match_spec_t host = {.l3Info_vrfId = vrf, .ingIpv4_dip = destination};
    p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_t prefix = {};
    prefix.l3Info_vrfId = vrf;
    prefix.ingIpv4_dip = destination;
    uint32_t number = send_for_parameters(leaf, ACTION(ipv4Host, setNextHop), host, frame_bytes).action_nextHop;
    if (number == 0)
        number = send_for_parameters(leaf, ACTION(ipv4ShortMaskLpm, setEcmp), prefix, frame_bytes).action_ecmpGroup;
    if (send(leaf, KEYS(ecmpGroup), {.l3_nextHop = number}, frame_bytes) != 0) return {.number = number};
    const auto out =
        send_for_parameters(leaf, ACTION(routerNextHop0, setRouterNextHopDetails), {.l3_nextHop = number}, frame_bytes);
    const auto header =
        send_for_parameters(leaf, ACTION(nextHop0, setNextHopDetails), {.l3_nextHop = number}, frame_bytes);
    return {.number = number,
            .interface = out.action_egrL2AintfUnresolved,
            .mac = {.oui = header.action_dmacOui, .station = header.action_dmacStation},
            .vlan = header.action_domain};
}

void send_packets(const Leaf& leaf, const Packet& packet, unsigned count, const std::vector<std::string>& counted_as) {
    const std::vector<PacketCount> before = packet_counts(leaf);
    for (unsigned i = 0; i < count; ++i)
        send_packet(leaf, packet);
    const std::vector<PacketCount> after = packet_counts(leaf);
    for (size_t i = 0; i < after.size(); ++i) {
        const uint64_t packets = after[i].packets - before[i].packets;
        const unsigned planned = std::ranges::count(counted_as, after[i].what) != 0 ? count : 0;
        if (packets != planned || after[i].bytes - before[i].bytes != uint64_t{planned} * packet.bytes) {
            throw std::runtime_error("of " + std::to_string(count) + " packets " + packet.what + ", " +
                                     std::to_string(packets) + " were " + after[i].what + " instead of " +
                                     std::to_string(planned));
        }
    }
}

void send_through_snapshot(uint32_t snapshot, unsigned trigger_stage, std::span<const uint16_t> field) {
    constexpr uint32_t pipe = 0;
    std::vector<uint8_t> stages(field.size() * BF_SNAPSHOT_RECORD_SIZE);
    for (size_t i = 0; i < field.size(); ++i) {
        stages[i * BF_SNAPSHOT_RECORD_SIZE + snapshot_field] = static_cast<uint8_t>(field[i] >> 8);
        stages[i * BF_SNAPSHOT_RECORD_SIZE + snapshot_field + 1] = static_cast<uint8_t>(field[i]);
    }
    expect("matching a trigger", vl_model_snapshot_match(snapshot, pipe, static_cast<uint8_t>(trigger_stage),
                                                         stages.data(), static_cast<uint32_t>(field.size())));
}

void pass_time(uint32_t seconds) {
    expect("moving the clock", vl_model_clock_advance(seconds * 1000));
}

} // namespace leaf_switch
