// Sends packets through the route tables as the switch does, and compares where they go with the list. On a real switch
// a traffic generator would do this; here the driver tells which entry in the hardware a packet takes.
#include <random>
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
    pd_entry entry;
    bool is_known = false;  // it has the action that the agent uses in the table
    uint32_t number = 0;    // of the next hop or ECMP group; 0 for none
    unsigned partition = 0; // in a first level
};

// The hardware during one round of packets. It doesn't change meanwhile, so this reads each entry once.
class Hardware {
public:
    explicit Hardware(Run& run) : run_(run) {
        for (size_t i = 0; i < table_count; ++i)
            check(route_tables[i].handle(&handles_[i]), "asking for a table's handle");
    }

    // Where a packet goes; null if there is no route.
    const Hop* route(Family family, Address address) {
        for (const auto& [table, second_level] : stages(family)) {
            const Hop* hop = match(table, false, run_.device.vrf, family, address);
            if (hop != nullptr && second_level && hop->is_known) {
                const Hop* const within = match(*second_level, true, hop->partition, family, address);
                if (within != nullptr) return within;
                if (hop->number == 0) continue; // a first level that only names the partition
            }
            if (hop != nullptr) return hop;
        }
        return nullptr;
    }

    std::optional<uint32_t> next_hop(const Hop& hop) {
        if (!hop.is_known) return std::nullopt;
        const auto [known, is_new] = next_hops_.try_emplace(hop.number);
        if (is_new) known->second = next_hop_behind(run_, hop.number);
        return known->second;
    }

    std::string text(const Hop& hop, std::optional<uint32_t> next_hop) const {
        Content content;
        check(route_tables[hop.table].read(run_.device, hop.entry, content), "reading an entry that a packet took");
        return text_of(next_hop ? text_of("next hop ", *next_hop) : "an entry without a next hop", " in ",
                       route_tables[hop.table].name, ": ", content);
    }

private:
    const Hop* match(TableId table, bool is_second_level, unsigned scope, Family family, Address address) {
        std::array<uint8_t, 2 + 16> key{};
        uint32_t length = 0;
        if (is_second_level) key[length++] = static_cast<uint8_t>(scope >> 8);
        key[length++] = static_cast<uint8_t>(scope);
        to_ipv6(address, &key[length]); // an IPv4 address is the first four bytes
        length += address_bits(family) / 8;
        pd_entry entry = 0;
        const pd_status status = vl_model_lookup(run_.device.target.dev_id, handles_[table], key.data(), length,
                                                 is_second_level ? scope : 0, &entry);
        if (status == VL_MODEL_NOT_FOUND) return nullptr;
        check(status, "looking a packet up");
        const auto [known, is_new] = hops_[table].try_emplace(entry, Hop{.table = table, .entry = entry});
        if (is_new) read(known->second);
        return &known->second;
    }

    void read(Hop& hop) {
        Content content;
        check(route_tables[hop.table].read(run_.device, hop.entry, content), "reading an entry that a packet took");
        hop.is_known = content.action == route_tables[hop.table].meant(run_.device, {}).action;
        hop.number = std::max(content.ecmp_group, content.next_hop); // a table has only one of them
        hop.partition = content.partition;
    }

    Run& run_;
    PerTable<uint32_t> handles_{};
    PerTable<std::unordered_map<pd_entry, Hop>> hops_;
    std::unordered_map<uint32_t, std::optional<uint32_t>> next_hops_; // by number
};

std::vector<Route> standing_routes(const Run& run) {
    std::vector<Prefix> others;
    for (size_t i = 0; i < table_count; ++i)
        for (size_t row = 0; row < run.rows[i].size(); ++row) {
            const Entry& entry = run.plan.tables[i][row];
            if (entry.group != 0 && run.rows[i][row] != RowState::standing) others.push_back(entry.prefix);
        }
    std::ranges::sort(others);
    std::vector<Route> standing;
    std::ranges::copy_if(run.routes, std::back_inserter(standing),
                         [&](const Route& route) { return !std::ranges::binary_search(others, route.prefix); });
    return standing;
}

Address random_address(Family family, std::mt19937_64& random) {
    const Address address = Address{random()} << 64 | random();
    return network_of(family, address, address_bits(family)).address;
}

// The packets of one family.
class Packets {
public:
    Packets(Account& account, Hardware& hardware, Sent& sent, Family family, const std::vector<Route>& routes)
        : account_(account),
          hardware_(hardware),
          sent_(sent),
          family_(family),
          segments_(segments_of(family, routes)) {}

    // How many addresses send_all() sends.
    size_t count(size_t least) const {
        return std::max(2 * segments_.size(), (least + 1) / 2) * 2;
    }

    // Half of them are ends of segments, or in segments. The ends of segments are the ends of all prefixes and the
    // addresses beside them. The other half are random.
    void send_all(size_t least) {
        const size_t half = count(least) / 2;
        for (size_t i = 0; i < segments_.size(); ++i) {
            send(segments_[i].first);
            send(last_of_segment(i));
        }
        for (size_t sent = 2 * segments_.size(); sent < half; ++sent) {
            const size_t i = random_() % segments_.size();
            const Address room = last_of_segment(i) - segments_[i].first;
            send(segments_[i].first + (room == 0 ? 0 : random_address(family_, random_) % room));
        }
        for (size_t sent = 0; sent < half; ++sent)
            send(random_start(random_address(family_, random_)));
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

    // Random IPv6 addresses would hardly ever meet a prefix. So they have up to 64 bits of the start of a segment.
    Address random_start(Address address) {
        if (family_ == Family::ipv4) return address;
        const auto length = static_cast<unsigned>(random_() % 65);
        const Address start = network_of(family_, segments_[random_() % segments_.size()].first, length).address;
        return start | (address ^ network_of(family_, address, length).address);
    }

    void send(Address address) {
        const Route* const meant = longest_prefix(segments_, address);
        const Hop* const hop = hardware_.route(family_, address);
        ++sent_.addresses;
        sent_.routed += meant != nullptr ? 1 : 0;
        account_.run.progress.step();
        const std::optional<uint32_t> next_hop = hop != nullptr ? hardware_.next_hop(*hop) : std::nullopt;
        if (meant == nullptr ? hop == nullptr : next_hop == meant->next_hop) return;
        ++sent_.astray;
        const Prefix host = {address, static_cast<uint8_t>(address_bits(family_)), family_};
        const std::string expected =
            meant != nullptr ? text_of("next hop ", meant->next_hop, " by ", meant->prefix) : "no route";
        account_.differs(host, ' ', sent_.when, ": expected ", expected, ", found ",
                         hop == nullptr ? "no route" : hardware_.text(*hop, next_hop));
    }

    Account& account_;
    Hardware& hardware_;
    Sent& sent_;
    const Family family_;
    const std::vector<Segment> segments_;
    std::mt19937_64 random_;
};

} // namespace

void send_packets(Run& run, const std::string& when, const std::vector<Prefix>& near) {
    const std::vector<Route> routes = standing_routes(run);
    Sent& sent = run.sent.emplace_back(Sent{.when = when});
    Account account(run, "packets", run.astray);
    Hardware hardware(run);
    Packets ipv4(account, hardware, sent, Family::ipv4, routes);
    Packets ipv6(account, hardware, sent, Family::ipv6, routes);
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
        std::string entry = text_of("ecmpGroup handle ", damage.ent_hdl);
        for (size_t i = 0; i < table_count; ++i) {
            uint32_t table = 0;
            check(route_tables[i].handle(&table), "asking for a table's handle");
            if (table != damage.tbl_hdl) continue;
            const Work work(run, i);
            const Placed* const placed = work.row_of(damage.ent_hdl);
            if (placed == nullptr) continue;
            prefixes.push_back(work.entries[placed->row].prefix);
            entry = text_of(work.name, ' ', prefixes.back());
        }
        run.progress.message("  " + entry + ": " + damage_text(damage));
    }
    return prefixes;
}

} // namespace route_agent
