// MAC learning. A frame from an unknown source makes the pipeline send a digest, and the callback adds two entries: one
// for the source, so that it sends no more digests, and one for the destination, so that frames to it are no longer
// flooded. Only the source entry shows that a station is silent; then both entries are removed.
#include <algorithm>
#include <map>
#include <utility>

#include "leaf_switch/steps.h"
#include "vl_driver/digests.h"
#include "vl_driver/idle.h"

namespace leaf_switch {

// What the callbacks work with.
struct Learning {
    using Name = std::pair<uint16_t, Mac>; // the VLAN comes first
    struct Known {
        uint32_t interface;
        pd_entry source; // 0 if there is no such entry
        pd_entry destination;
    };
    pd_dev_tgt target;
    std::map<Name, Known> stations;
    std::vector<pd_entry> silent; // source entries that timed out
};

namespace {

constexpr const char* digest = "macLearningDigest";

constexpr uint32_t look_interval = 1'000; // the driver's unit is the millisecond
constexpr uint32_t time_to_live = 300'000;

Learning::Name name_of(const Station& station) {
    return {station.vlan, station.mac};
}

// Sending frames must not change the entries of these hosts.
bool is_configured(const Station& station) {
    return std::ranges::any_of(hosts,
                               [&](const Host& host) { return host.mac == station.mac && host.vlan == station.vlan; });
}

template <class Delete>
pd_status remove(Delete* delete_entry, pd_session session, pd_device device, pd_entry& entry) {
    const pd_status status = entry == 0 ? pd_status{PD_STATUS_OK} : delete_entry(session, device, entry);
    if (status == PD_STATUS_OK) entry = 0;
    return status;
}

pd_status remove_entries(Learning& learning, pd_session session, Learning::Known& known) {
    const pd_device device = learning.target.dev_id;
    const pd_status status = remove(p4_pd_velmar_switch_l2Lookup_table_delete, session, device, known.destination);
    if (status != PD_STATUS_OK) return status;
    const pd_entry source = known.source;
    const pd_status removed = remove(p4_pd_velmar_switch_l2LearningLookup_table_delete, session, device, known.source);
    // The driver may give the handle to another entry, which isn't silent.
    if (removed == PD_STATUS_OK) std::erase(learning.silent, source);
    return removed;
}

pd_status add_entries(pd_session session, pd_dev_tgt target, const Station& station, Learning::Known& known) {
    const auto destination = destination_key(station);
    const p4_pd_velmar_switch_l2LookupKnownUcast_action_spec_t out = {.action_egrL2Aintf = station.interface};
    const pd_status status = p4_pd_velmar_switch_l2Lookup_table_add_with_l2LookupKnownUcast(
        session, target, &destination, &out, &known.destination);
    if (status != PD_STATUS_OK) {
        known.destination = 0;
        return status;
    }
    // Last, because it ends the digests.
    const auto source = source_key(station);
    const pd_status added =
        p4_pd_velmar_switch_l2LearningLookup_table_add_with_noOp(session, target, &source, time_to_live, &known.source);
    if (added != PD_STATUS_OK) known.source = 0;
    return added;
}

pd_status learn(Learning& learning, pd_session session, const Station& station) {
    if (is_configured(station)) return PD_STATUS_OK;
    Learning::Known& known = learning.stations[name_of(station)];
    // Several frames may be in digests before the first one is handled.
    if (known.source != 0 && known.interface == station.interface) return PD_STATUS_OK;
    // If it moved, it is removed from its old place first.
    pd_status status = remove_entries(learning, session, known);
    if (status == PD_STATUS_OK) {
        known.interface = station.interface;
        status = add_entries(session, learning.target, station, known);
    }
    // A destination without a source would remain forever. The station's next frame starts again.
    if (status != PD_STATUS_OK && remove_entries(learning, session, known) == PD_STATUS_OK)
        learning.stations.erase(name_of(station));
    return status;
}

// The driver gives a field's bytes as they are in the packet.
uint32_t field_of(const uint8_t* entry, const char* field) {
    uint32_t size = 0;
    const void* bytes = p4_pd_velmar_switch_get_digest_entry_field(entry, digest, field, &size);
    uint32_t value = 0;
    for (uint32_t i = 0; i < size; ++i)
        value = value << 8 | static_cast<const uint8_t*>(bytes)[i];
    return value;
}

Station station_in(const uint8_t* entry) {
    return {.mac = {.oui = field_of(entry, "ingMd_smacOui"), .station = field_of(entry, "ingMd_smacStation")},
            .vlan = static_cast<uint16_t>(field_of(entry, "ingMd_ingL2Domain")),
            .interface = field_of(entry, "ingMd_ingL2Aintf")};
}

// Handles the whole message and acknowledges it, whatever is refused on the way. Returns the first refusal.
pd_status on_digest(pd_session session, pipe_digest_msg* message, void* cookie) noexcept {
    const uint32_t size = p4_pd_velmar_switch_get_digest_entry_size(digest);
    pd_status first = PD_STATUS_OK;
    for (uint32_t i = 0; i < message->entry_count; ++i) {
        const Station station = station_in(message->entries + size_t{i} * size);
        const pd_status status = learn(*static_cast<Learning*>(cookie), session, station);
        if (first == PD_STATUS_OK) first = status;
    }
    const pd_status status = p4_pd_velmar_switch_macLearningDigest_notify_ack(session, message);
    return first != PD_STATUS_OK ? first : status;
}

// Can't report a refusal, so forget_silent() does the removing.
void on_time_out(pd_device, uint32_t, pd_entry entry, void* cookie) noexcept {
    static_cast<Learning*>(cookie)->silent.push_back(entry);
}

void forget(const Leaf& leaf, std::map<Learning::Name, Learning::Known>::iterator station) {
    expect("forgetting a station", remove_entries(*leaf.learning, leaf.session, station->second));
    leaf.learning->stations.erase(station);
}

// Does what it can, and then throws the first refusal, like the whole shutdown.
void forget_all(const Leaf& leaf) {
    pd_status first = PD_STATUS_OK;
    for (auto& [name, known] : leaf.learning->stations) {
        const pd_status status = remove_entries(*leaf.learning, leaf.session, known);
        if (first == PD_STATUS_OK) first = status;
    }
    leaf.learning->stations.clear();
    expect("forgetting all stations", first);
}

void age_entries(Leaf& leaf) {
    expect("registering for silent stations",
           p4_pd_velmar_switch_l2LearningLookup_idle_register_tmo_cb(leaf.session, leaf.target.dev_id,
                                                                     reinterpret_cast<pd_driver_callback>(on_time_out),
                                                                     leaf.learning.get()));
    at_shut_down(leaf, "ending the registration for silent stations", [](const Leaf& made) {
        return p4_pd_velmar_switch_l2LearningLookup_idle_register_tmo_cb(made.session, made.target.dev_id, nullptr,
                                                                         nullptr);
    });
    const pd_idle_params params = {.mode = PIPE_IDLE_MODE_NOTIFY,
                                   .params_a = look_interval,
                                   .params_b = 0, // no upper limit
                                   .params_c = 0, // entries without a time to live don't age
                                   .params_d = 0,
                                   .params_flag = 0};
    expect("switching the ageing on",
           p4_pd_velmar_switch_l2LearningLookup_idle_tmo_enable(leaf.session, leaf.target.dev_id, params));
    at_shut_down(leaf, "switching the ageing off", [](const Leaf& made) {
        return p4_pd_velmar_switch_l2LearningLookup_idle_tmo_disable(made.session, made.target.dev_id);
    });
}

void take_digests(Leaf& leaf) {
    expect("registering for MAC digests",
           p4_pd_velmar_switch_macLearningDigest_register(
               leaf.session, leaf.target.dev_id, reinterpret_cast<pd_driver_callback>(on_digest), leaf.learning.get()));
    at_shut_down(leaf, "ending the registration for MAC digests", [](const Leaf& made) {
        return p4_pd_velmar_switch_macLearningDigest_deregister(made.session, made.target.dev_id);
    });
    // Stations behind ports and LAGs are learned, but not behind tunnels, and not from a frame that is dropped.
    p4_pd_velmar_switch_learningDigestGeneration_match_spec_t key = {};
    key.learningDigestMd_applicationId = learn_macs;
    key.ingMd_ingL2Aintf = 0;
    key.ingMd_ingL2Aintf_mask = learned_kinds;
    key.ingVlanStpCheck_stpBlocked_mask = 1;
    key.ingVlanStpCheck_invalidVlan_mask = 1;
    make(leaf, "the digests of unknown sources", ENTRY(learningDigestGeneration, generateMacLearningDigest), key,
         any_priority);
}

} // namespace

void learn_stations(Leaf& leaf) {
    leaf.learning = std::make_shared<Learning>();
    leaf.learning->target = leaf.target;
    // Runs when no callback can add stations any more.
    leaf.undo.emplace_back(forget_all);
    set_default(leaf, "the learning of unknown sources", DEFAULT_ENTRY(l2LearningLookup, setL2LearningLookupMiss));
    age_entries(leaf);
    take_digests(leaf);
}

std::vector<Station> learned_stations(const Leaf& leaf) {
    std::vector<Station> stations;
    for (const auto& [name, known] : leaf.learning->stations) {
        if (known.source == 0) continue; // refused; its next frame is learned
        stations.push_back({.mac = name.second, .vlan = name.first, .interface = known.interface});
    }
    return stations;
}

size_t forget_silent(const Leaf& leaf) {
    Learning& learning = *leaf.learning;
    size_t forgotten = 0;
    // Forgetting removes the entry from the list. A station that has sent since then is learned again.
    for (const pd_entry entry : std::vector(learning.silent)) {
        const auto station = std::find_if(learning.stations.begin(), learning.stations.end(),
                                          [&](const auto& known) { return known.second.source == entry; });
        if (station != learning.stations.end()) {
            forget(leaf, station);
            ++forgotten;
        }
    }
    return forgotten;
}

} // namespace leaf_switch
