// Sends packets through the route tables as the switch does, and compares where they go with the list. On a real switch
// a traffic generator would do this; here the driver tells which entry in the hardware a packet takes.
#include <random>
#include <set>
#include <unordered_map>

#include "route_agent/damage.h"
#include "route_agent/longest_prefix.h"
#include "route_agent/phases.h"
#include "vl_model/testing.h"
#include "vl_model/traffic.h"

namespace route_agent {
namespace {

// A table that a packet meets. The second level follows a first level in which the packet has found its partition.
struct Stage {
    TableId table;
    std::optional<TableId> second_level = {};
};

// In the order in which the first match wins.
constexpr Stage ipv4_stages[] = {{ipv4Host}, {ipv4Partition0, ipv4FinalResolve0}, {ipv4ShortMaskLpm}};
constexpr Stage ipv6_stages[] = {
    {ipv6Host}, {ipv6LgMaskPartition0, ipv6LgMaskFinalResolve0}, {ipv6Partition}, {ipv6ShortMaskLpm}};

constexpr std::span<const Stage> stages(Family family) {
    if (family == Family::ipv4) return ipv4_stages;
    return ipv6_stages;
}

// What an entry of a route table leads to.
struct Hop {
    TableId table;
    Content content;
    bool is_known = false; // it has the action that the agent uses in the table
    uint32_t number = 0;   // of the ECMP group, also if the action names a next hop; 0 for none
};

// The hardware during one round of packets. It doesn't change meanwhile, so this reads each entry once.
class Hardware {
public:
    explicit Hardware(Run& run) : run_(run) {
        for (size_t i = 0; i < table_count; ++i)
            check(route_tables[i].handle(&handles_[i]), "asking for a table's handle");
    }

    // Begins another round.
    void forget() {
        hops_ = {};
        groups_.clear();
    }

    // Where a packet goes; null if there is no route.
    const Hop* route(Family family, Address address) {
        for (const auto& [table, second_level] : stages(family)) {
            const Hop* hop = match(table, false, run_.device.vrf, family, address);
            if (hop != nullptr && second_level && hop->is_known) {
                const unsigned partition = hop->content.partition.value_or(0);
                const Hop* const within = match(*second_level, true, partition, family, address);
                if (within != nullptr) return within;
                if (hop->number == 0) continue; // a first level that only names the partition
            }
            if (hop != nullptr) return hop;
        }
        return nullptr;
    }

    std::optional<uint32_t> next_hop(const Hop& hop) {
        return hop.is_known ? behind(hop.number).next_hop : std::nullopt;
    }

    std::string text(const Hop& hop) {
        const char* const table = route_tables[hop.table].name;
        if (!hop.is_known) return text_of("another action in ", table, ": ", hop.content);
        const BehindGroup& end = behind(hop.number);
        return text_of(end.next_hop ? text_of("next hop ", *end.next_hop)
                                    : text_of("ECMP group ", hop.number, ", ", end.fault, ','),
                       " by ", table, ' ', hop.content.prefix);
    }

private:
    const Hop* match(TableId table, bool is_second_level, unsigned scope, Family family, Address address) {
        const PacketKey key = packet_key(is_second_level ? 2 : 1, scope, family, address);
        pd_entry entry = 0;
        const pd_status status = vl_model_lookup(run_.device.target.dev_id, handles_[table], key.bytes.data(),
                                                 key.length, is_second_level ? scope : 0, &entry);
        if (status == VL_MODEL_NOT_FOUND) return nullptr;
        check(status, "looking a packet up");
        const auto [known, is_new] = hops_[table].try_emplace(entry, Hop{.table = table, .content = {}});
        if (is_new) read(known->second, entry);
        return &known->second;
    }

    void read(Hop& hop, pd_entry entry) {
        const RouteTable& table = route_tables[hop.table];
        check(table.read(run_.device, entry, hop.content), "reading an entry that a packet took");
        hop.is_known = hop.content.action == table.meant(run_.device, {}).action;
        hop.number = hop.content.ecmp_group.value_or(hop.content.next_hop.value_or(0));
    }

    const BehindGroup& behind(uint32_t number) {
        const auto [known, is_new] = groups_.try_emplace(number);
        if (is_new) known->second = next_hop_behind(run_, number);
        return known->second;
    }

    Run& run_;
    PerTable<uint32_t> handles_{};
    PerTable<std::unordered_map<pd_entry, Hop>> hops_;
    std::unordered_map<uint32_t, BehindGroup> groups_; // by number
};

// What the packets of both families share in one round.
struct Round {
    Run& run;
    Sent& sent;
    Hardware hardware{run};
    std::set<std::pair<const Route*, const Hop*>> shown = {}; // what strays should have taken, and took

    void astray(Family family, Address address, const Route* meant, const Hop* hop) {
        constexpr size_t most_shown = 10;
        ++sent.astray;
        if (shown.size() > most_shown || !shown.emplace(meant, hop).second) return;
        if (shown.size() > most_shown)
            return run.progress.message("packets: more addresses went astray " + sent.when + "; they are only counted");
        run.progress.message(
            text_of("packets: ", address_text(family, address), ' ', sent.when, ": expected ",
                    meant != nullptr ? text_of("next hop ", meant->next_hop, " by ", meant->prefix) : "no route",
                    ", found ", hop != nullptr ? hardware.text(*hop) : "no route"));
    }
};

// Sorted. The routes that are not on the switch yet count as removed.
std::vector<Prefix> removed_prefixes(const Run& run) {
    std::vector<Prefix> removed;
    for (size_t i = 0; i < table_count; ++i)
        for (size_t row = 0; row < run.rows[i].size(); ++row) {
            const Entry& entry = run.plan.tables[i][row];
            if (entry.group != 0 && run.rows[i][row] != RowState::standing) removed.push_back(entry.prefix);
        }
    std::ranges::sort(removed);
    return removed;
}

Address random_address(Family family, std::mt19937_64& random) {
    const Address address = Address{random()} << 64 | random();
    return network_of(family, address, address_bits(family)).address;
}

// The packets of one family.
class Packets {
public:
    Packets(Round& round, Family family, std::span<const Prefix> removed)
        : round_(round),
          family_(family),
          segments_(segments_of(family, round.run.routes, removed)) {
        for (size_t i = 0; i < segments_.size(); ++i)
            if (segments_[i].first != last_of_segment(i)) wide_.push_back(i);
    }

    // How many addresses send_all() sends.
    size_t count(size_t least) const {
        return std::max(segments_.size() + wide_.size(), (least + 1) / 2) * 2;
    }

    // Half of them are ends of segments, or in segments. The ends of segments are the ends of all prefixes and the
    // addresses beside them. The other half are random.
    void send_all(size_t least) {
        const size_t half = count(least) / 2;
        for (const Segment& segment : segments_)
            send(segment.first);
        for (const size_t i : wide_)
            send(last_of_segment(i));
        for (size_t sent = segments_.size() + wide_.size(); sent < half; ++sent)
            send(random_in_segment());
        for (size_t sent = 0; sent < half; ++sent)
            send(random_start(random_address(family_, random_)));
    }

    void send_random(size_t count) {
        for (size_t sent = 0; sent < count; ++sent) {
            const Hop* const hop =
                send(sent % 2 == 0 ? random_in_segment() : random_start(random_address(family_, random_)));
            if (hop == nullptr) continue;
            constexpr uint64_t bytes = 64;
            check(vl_model_counter_add(round_.run.device.target.dev_id,
                                       p4_pd_velmar_switch_counter_egressPortQueueCount, hop->number, 1, bytes),
                  "counting a packet in its queue");
        }
    }

    void send_near(const Prefix& prefix) {
        for (unsigned bit = 0; bit < address_bits(family_); ++bit)
            send(prefix.address ^ Address{1} << (127 - bit));
    }

private:
    Address last_of_segment(size_t i) const {
        const Address last = i + 1 < segments_.size() ? segments_[i + 1].first - 1 : ~Address{0};
        return network_of(family_, last, address_bits(family_)).address;
    }

    Address random_in_segment() {
        const size_t i = wide_[random_() % wide_.size()];
        const Address room = last_of_segment(i) - segments_[i].first;
        return segments_[i].first + random_address(family_, random_) % room;
    }

    // Random IPv6 addresses would hardly ever meet a prefix. So they have up to 64 bits of the start of a segment.
    Address random_start(Address address) {
        if (family_ == Family::ipv4) return address;
        const auto length = static_cast<unsigned>(random_() % 65);
        const Address start = network_of(family_, segments_[random_() % segments_.size()].first, length).address;
        return start | (address ^ network_of(family_, address, length).address);
    }

    // Returns where the packet went; null if there was no route.
    const Hop* send(Address address) {
        const Route* const meant = longest_prefix(segments_, address);
        const Hop* const hop = round_.hardware.route(family_, address);
        ++round_.sent.addresses;
        round_.sent.in_list += meant != nullptr ? 1 : 0;
        round_.run.progress.step();
        const std::optional<uint32_t> next_hop = hop != nullptr ? round_.hardware.next_hop(*hop) : std::nullopt;
        if (meant == nullptr ? hop != nullptr : next_hop != meant->next_hop)
            round_.astray(family_, address, meant, hop);
        return hop;
    }

    Round& round_;
    const Family family_;
    const std::vector<Segment> segments_;
    std::vector<size_t> wide_; // the segments of more than one address
    std::mt19937_64 random_;
};

} // namespace

void send_packets(Run& run, const std::string& when, const std::vector<Prefix>& near) {
    const std::vector<Prefix> removed = removed_prefixes(run);
    Sent& sent = run.sent.emplace_back(Sent{.when = when});
    Round round{.run = run, .sent = sent};
    Packets ipv4(round, Family::ipv4, removed);
    Packets ipv6(round, Family::ipv6, removed);
    const auto ipv6_routes =
        std::ranges::count_if(run.routes, [](const Route& route) { return route.prefix.family == Family::ipv6; });
    const size_t ipv6_least = run.packets * static_cast<size_t>(ipv6_routes) / run.routes.size();
    const size_t ipv4_least = run.packets - ipv6_least;
    run.progress.begin_phase("sending packets " + when, ipv4.count(ipv4_least) + ipv6.count(ipv6_least), "addresses");
    const Clock::time_point start = Clock::now();
    ipv4.send_all(ipv4_least);
    ipv6.send_all(ipv6_least);
    for (const Prefix& prefix : near)
        (prefix.family == Family::ipv4 ? ipv4 : ipv6).send_near(prefix);
    sent.busy = Clock::now() - start;
}

void keep_sending(Run& run, const std::function<bool()>& is_over) {
    Sent& sent = run.sent.emplace_back(Sent{.when = "while it stayed up"});
    Round round{.run = run, .sent = sent};
    Packets ipv4(round, Family::ipv4, {});
    Packets ipv6(round, Family::ipv6, {});
    constexpr size_t addresses = 500;
    while (!is_over()) {
        const Clock::time_point start = Clock::now();
        round.hardware.forget();
        ipv4.send_random(addresses);
        ipv6.send_random(addresses);
        // Updates the driver's copy of the counts, for readers that don't ask the hardware.
        check(p4_pd_velmar_switch_counter_hw_sync_egressPortQueueCount(run.device.session, run.device.target, nullptr,
                                                                       nullptr),
              "updating the counts of queues");
        sent.busy += Clock::now() - start;
    }
}

namespace {

// Damage to a first level also concerns the prefixes of its partition in the second level.
void add_damaged(const Plan& plan, size_t table, const Entry& entry, std::vector<Prefix>& prefixes) {
    prefixes.push_back(entry.prefix);
    for (const auto& [first_level, second_level] : stages(entry.prefix.family)) {
        if (first_level != table || !second_level) continue;
        const std::vector<Entry>& routes = plan.tables[*second_level]; // sorted by partition
        auto route = std::ranges::lower_bound(routes, entry.partition, {}, &Entry::partition);
        for (; route != routes.end() && route->partition == entry.partition; ++route)
            prefixes.push_back(route->prefix);
    }
}

} // namespace

std::vector<Prefix> corrupt_hardware(Run& run, uint32_t count, uint32_t seed) {
    size_t entries = run.ecmp_entries.added;
    for (const Tally& tally : run.tallies)
        entries += tally.added;
    std::vector<vl_model_corruption> damages(std::min<size_t>(count, entries));
    check(vl_model_hardware_corrupt(run.device.target.dev_id, seed, static_cast<uint32_t>(damages.size()),
                                    damages.data(), &count),
          "damaging the hardware");
    damages.resize(count);
    run.progress.message(text_of("Damaged in the hardware: ", grouped(count), count == 1 ? " entry" : " entries"));
    std::vector<Prefix> prefixes;
    for (const vl_model_corruption& damage : damages) {
        std::string entry;
        for (size_t i = 0; i < table_count; ++i) {
            uint32_t table = 0;
            check(route_tables[i].handle(&table), "asking for a table's handle");
            if (table != damage.tbl_hdl) continue;
            const Work work(run, i);
            const Placed* const placed = work.row_of(damage.ent_hdl);
            if (placed == nullptr) continue;
            add_damaged(run.plan, i, work.entries[placed->row], prefixes);
            entry = text_of(work.name, ' ', work.entries[placed->row].prefix);
        }
        if (entry.empty()) entry = text_of("ecmpGroup ", group_number(run, damage.ent_hdl));
        run.progress.message("  " + entry + ": " + damage_text(damage));
    }
    return prefixes;
}

} // namespace route_agent
