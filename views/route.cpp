// Follows an address through the route tables, in the order in which the route agent uses them, to the next hop.
#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <arpa/inet.h>

#include "views/match.h"
#include "views/values.h"

namespace pd_views {
namespace {

using catalog::Tag;

// The first table with a route has the longest prefix. A table of partitions comes before the table that they divide.
constexpr const char* ipv4_tables[] = {"ipv4Host", "ipv4Partition0", "ipv4FinalResolve0", "ipv4ShortMaskLpm"};
constexpr const char* ipv6_tables[] = {"ipv6Host", "ipv6LgMaskPartition0", "ipv6LgMaskFinalResolve0", "ipv6Partition",
                                       "ipv6ShortMaskLpm"};

// Writes what an address meets on its way, as lines or as the members of an object.
class Way {
public:
    explicit Way(const Work& work) : work_(work), json_(work.query.format == Format::json) {}

    void begin(const std::string& address, const std::string& vrf) {
        if (!json_) return put(address + " in VRF " + vrf + "\n");
        put("{\"address\":");
        put_json_string(work_.out.text, address);
        put(",\"vrf\":");
        put_json_string(work_.out.text, vrf);
    }
    // What follows, up to end_list(), is an array with this name.
    void begin_list(const char* name) {
        if (json_) put(std::string(",\"") + name + "\":[");
        before_ = "";
    }
    void end_list() {
        if (json_) put("]");
    }
    void entry(const Table& table, const Entry& entry, pd_entry handle) {
        if (json_)
            item(R"({"table":")" + table.name + R"(","entry":)" + entry_json(work_, table, entry, handle, false) + "}");
        else
            put(line(table.name) + entry_text(work_, table, entry, handle, false) + "\n");
    }
    void no_entry(const Table& table, const std::string& text) {
        if (json_)
            item(R"({"table":")" + table.name + R"(","entry":null,"text":")" + text + "\"}");
        else
            put(line(table.name) + text + "\n");
    }
    void member(pd_member member, const pd_action_record& action) {
        char name[32];
        std::snprintf(name, sizeof name, "member 0x%x -> ", member);
        if (json_)
            item("{\"member\":" + std::to_string(member) + "," + action_json(work_, action.action_id, action.spec) +
                 "}");
        else
            put(line("") + name + action_text(work_, action.action_id, action.spec) + "\n");
    }
    // About the members of a group.
    void note(const char* text) {
        if (json_)
            item(std::string(R"({"text":")") + text + "\"}");
        else
            put(line("") + text + "\n");
    }
    // `table` is null if there is no route.
    void result(const Table* table, const std::string& to) {
        if (json_)
            put(table != nullptr ? R"(,"route":{"table":")" + table->name + R"(","to":")" + to + "\"}"
                                 : ",\"route\":null");
        else
            put(table != nullptr ? "Route from " + table->name + ": " + to + "\n" : "No route\n");
    }
    void end() {
        if (json_) end_json_object(work_.out, work_.complaints);
    }

private:
    // Starts a line; the second column begins at the same place in all of them.
    static std::string line(std::string title) {
        constexpr size_t column = 25;
        title.resize(std::max(column, title.size() + 2), ' ');
        return "  " + title;
    }
    void item(const std::string& text) {
        put(std::exchange(before_, ",") + text);
    }
    void put(const std::string& text) {
        work_.out.put(text);
    }

    const Work& work_;
    bool json_;
    const char* before_ = "";
};

// A parameter of the entry's action. Nothing if the action has no parameter with this name.
std::optional<uint32_t> param(const Work& work, const Entry& entry, std::string_view name) {
    for (const Field& field : work.pipeline.actions[entry.action].params)
        if (field.label == name) return static_cast<uint32_t>(load(entry.params, field.parts[0].value).low);
    return {};
}

// Shows the entry that the packet takes, and reads it. False if there is none, or it can't be read.
bool take(const Work& work, Way& way, const Packet& packet, const std::string& otherwise, Entry& entry) {
    const Table& table = packet.table;
    const std::vector<Candidate> found = matching_entries(work, packet);
    if (!found.empty() && read_hardware(work, table, found.front().handle, false, entry)) {
        way.entry(table, entry, found.front().handle);
        return true;
    }
    way.no_entry(table, found.empty() ? otherwise : "an entry that can't be read");
    return false;
}

void show_member(const Work& work, Way& way, pd_member member) {
    const auto get_member = work.library.function<decltype(p4_pd_velmar_switch_ecmpMemberActionProfile_get_member)>(
        "ecmpMemberActionProfile_get_member");
    pd_action_record action{};
    const pd_status status = get_member(work.session, work.target.dev_id, member, 1, &action);
    if (status != PD_STATUS_OK) return complain(work, "reading member " + std::to_string(member), status);
    way.member(member, action);
}

void show_group(const Work& work, Way& way, pd_group group) {
    const auto get_first =
        work.library.function<decltype(p4_pd_velmar_switch_ecmpMemberActionProfile_get_first_group_member)>(
            "ecmpMemberActionProfile_get_first_group_member");
    const auto get_next =
        work.library.function<decltype(p4_pd_velmar_switch_ecmpMemberActionProfile_get_next_group_members)>(
            "ecmpMemberActionProfile_get_next_group_members");
    std::array<pd_member, 33> members{}; // the last one is not shown
    members.fill(PD_HDL_END);
    pd_status status = get_first(work.session, work.target.dev_id, group, members.data());
    if (work.library.says_not_found(status)) return way.note("the group has no members");
    if (status == PD_STATUS_OK && members[0] != PD_HDL_END)
        status = get_next(work.session, work.target.dev_id, group, members[0],
                          static_cast<uint32_t>(members.size() - 1), members.data() + 1);
    if (status != PD_STATUS_OK) return complain(work, "listing the members of group " + std::to_string(group), status);
    for (size_t i = 0; i + 1 < members.size() && members[i] != PD_HDL_END; ++i)
        show_member(work, way, members[i]);
    if (std::ranges::find(members, PD_HDL_END) == members.end()) way.note("and more members");
}

// Shows what a next hop or an ECMP group leads to. Both are numbers in the same table, which sees the low 16 bits.
void show_next_hop(const Work& work, Way& way, uint32_t number, bool is_group) {
    const auto packet_for = [&](const char* name) {
        const Table& table = table_named(work.pipeline, name);
        Packet packet(table);
        packet.set(table.key[0], std::to_string(number & 0xFFFF), Tag::dec);
        return packet;
    };
    Entry entry;
    way.begin_list("next_hop");
    const bool found =
        take(work, way, packet_for("ecmpGroup"), is_group ? "no entry" : "no entry: the next hop isn't a group", entry);
    Entry other;
    if (!found && !is_group)
        for (const char* name : {"routerNextHop0", "nextHop0"})
            take(work, way, packet_for(name), "no entry", other);
    way.end_list();
    if (!found) return;
    way.begin_list("members");
    if (entry.has_member != 0) show_member(work, way, entry.member);
    if (entry.has_group != 0) show_group(work, way, entry.group);
    way.end_list();
}

// Where a route leads.
struct Result {
    const Table* table;
    const Action* action;
    uint32_t number;
    bool is_group;
};

// The result of an entry's action. Nothing if the action is a miss.
std::optional<Result> result_of(const Work& work, const Table& table, const Entry& entry) {
    const Action& action = work.pipeline.actions[entry.action];
    if (const auto group = param(work, entry, "ecmpGroup")) return Result{&table, &action, *group, true};
    if (const auto next_hop = param(work, entry, "nextHop")) return Result{&table, &action, *next_hop, false};
    return {};
}

// "next hop 0x5 of table 2". The names of some actions have the number of the next hop's table.
std::string result_text(const Result& result) {
    char text[32];
    std::snprintf(text, sizeof text, result.is_group ? "ECMP group 0x%x" : "next hop 0x%x", result.number);
    const std::string& name = result.action->name;
    const size_t digit = result.is_group ? std::string::npos : name.find_first_of("0123", name.find("NextHop"));
    return digit == std::string::npos ? text : text + std::string(" of table ") + name[digit];
}

// The packet in each table that can have a route for the address.
std::vector<Packet> packets_to(const Work& work, const std::string& address, const std::string& vrf) {
    in6_addr parsed{};
    const bool is_ipv6 = inet_pton(AF_INET6, address.c_str(), &parsed) == 1;
    if (!is_ipv6 && inet_pton(AF_INET, address.c_str(), &parsed) != 1)
        throw Problem(Fault::bad_value, address + " is not an IPv4 or IPv6 address");
    std::vector<Packet> packets;
    for (const char* name : is_ipv6 ? std::span<const char* const>(ipv6_tables) : ipv4_tables) {
        const Table& table = table_named(work.pipeline, name);
        Packet& packet = packets.emplace_back(table);
        packet.set(table.key[1], address, is_ipv6 ? Tag::v6addr : Tag::v4addr);
        if (!table.partitioned) packet.set(table.key[0], vrf, Tag::dec);
    }
    return packets;
}

} // namespace

bool show_route(const Work& work) {
    const std::string vrf = work.query.words.empty() ? std::to_string(work.query.usual_vrf) : work.query.words[0];
    std::vector<Packet> packets = packets_to(work, *work.query.name, vrf);

    Way way(work);
    way.begin(*work.query.name, vrf);
    way.begin_list("steps");
    std::optional<uint32_t> partition;
    std::optional<Result> first_level; // the route if its partition has none
    std::optional<Result> result;
    for (Packet& packet : packets) {
        const Table& table = packet.table;
        std::string otherwise = "no entry";
        if (table.partitioned) {
            if (!partition) {
                way.no_entry(table, "no partition");
                continue;
            }
            packet.partition_index = *partition;
            otherwise += " in partition " + std::to_string(*partition);
        }
        Entry entry;
        if (!take(work, way, packet, otherwise, entry)) {
            if (table.partitioned && !result) result = first_level;
            continue;
        }
        partition = param(work, entry, "partIdx");
        const std::optional<Result> found = result_of(work, table, entry);
        // A first level that only names the partition has next hop 0.
        if (partition)
            first_level = found && found->number != 0 ? found : std::nullopt;
        else if (!result)
            result = found;
    }
    way.end_list();
    way.result(result ? result->table : nullptr, result ? result_text(*result) : "");
    if (result) show_next_hop(work, way, result->number, result->is_group);
    way.end();
    return true;
}

} // namespace pd_views
