// The example agent: how it reads ranges and lists, which table takes a route, and whole runs on the embedded driver:
// runs that succeed, and runs in which the driver doesn't do what it says.
#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "route_agent/agent.h"
#include "route_agent/longest_prefix.h"
#include "route_agent/phases.h"
#include "route_agent/plan.h"
#include "route_agent/printable.h"
#include "vl_model/control.h"
#include "vl_model/observe.hpp"

namespace {

using namespace route_agent;

TEST(RouteAgentRanges, AreCoveredByTheSmallestSetOfPrefixes) {
    const auto split = [](Family family, const std::string& first, const std::string& last) {
        std::string text;
        const Address end = parse_address(family, last).value();
        for (const Prefix& prefix : split_range(family, parse_address(family, first).value(), end))
            text += text_of(text.empty() ? "" : " ", prefix);
        return text;
    };
    EXPECT_EQ(split(Family::ipv4, "0.0.0.0", "255.255.255.255"), "0.0.0.0/0");
    EXPECT_EQ(split(Family::ipv4, "255.255.255.255", "255.255.255.255"), "255.255.255.255/32");
    EXPECT_EQ(split(Family::ipv4, "10.0.0.1", "10.0.0.6"), "10.0.0.1/32 10.0.0.2/31 10.0.0.4/31 10.0.0.6/32");
    EXPECT_EQ(split(Family::ipv4, "0.0.0.0", "10.255.255.255"), "0.0.0.0/5 8.0.0.0/7 10.0.0.0/8");

    const std::string last = "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff";
    EXPECT_EQ(split(Family::ipv6, "::", last), "::/0");
    EXPECT_EQ(split(Family::ipv6, last, last), last + "/128");
    // Across the middle of the address.
    EXPECT_EQ(split(Family::ipv6, "1:2:3:4:ffff:ffff:ffff:ffff", "1:2:3:6::"),
              "1:2:3:4:ffff:ffff:ffff:ffff/128 1:2:3:5::/64 1:2:3:6::/128");
    // All addresses except the first and the last: two prefixes of each length except /0 and /1.
    EXPECT_EQ(std::ranges::count(split(Family::ipv6, "::1", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe"), '/'), 254);
}

TEST(RouteAgentRanges, AreReadWithANextHopPerCountry) {
    std::istringstream ipv4("# comment\n16777216,16777471,AU\n16777472,16778239,CN\n16778240,16778240,AU\n");
    std::istringstream ipv6("\n2001:4:112::,2001:4:112:ffff:ffff:ffff:ffff:ffff,CN\n2001:5::,2001:5::,??\n");
    std::ostringstream messages;
    CountryNextHops next_hops;
    std::vector<Route> routes;
    ASSERT_TRUE(read_range_list(ipv4, "v4", Family::ipv4, next_hops, routes, messages));
    ASSERT_TRUE(read_range_list(ipv6, "v6", Family::ipv6, next_hops, routes, messages));
    std::string seen;
    for (const Route& route : routes)
        seen += text_of(route.prefix, ' ', route.next_hop, '\n');
    EXPECT_EQ(seen, "1.0.0.0/24 1\n1.0.1.0/24 2\n1.0.2.0/23 2\n1.0.4.0/32 1\n2001:4:112::/48 2\n2001:5::/128 3\n");
    EXPECT_EQ(messages.str(), "");

    std::istringstream bad("1,2,AU\n2,3,AU\n9,8,AU\n10,11\n10,4294967296,AU\n10,x,AU\n10,11,AUS\n");
    EXPECT_FALSE(read_range_list(bad, "v4", Family::ipv4, next_hops, routes, messages));
    EXPECT_EQ(messages.str(), "v4:2: '2,3,AU' begins inside or before the range above it\n"
                              "v4:3: '9,8,AU' ends before it begins\n"
                              "v4:4: '10,11' is not FIRST,LAST,CC\n"
                              "v4:5: '10,4294967296,AU' has no IPv4 address at both ends\n"
                              "v4:6: '10,x,AU' has no IPv4 address at both ends\n"
                              "v4:7: country code 'AUS' isn't two letters\n");
}

TEST(RouteAgentLines, GiveARouteOrAReason) {
    const std::pair<std::string, std::string> lines[] = {
        {"10.0.0.0/8 1", "10.0.0.0/8 1"},
        {"\t192.0.2.1   4294967295 # a host\r", "192.0.2.1/32 4294967295"},
        {"0.0.0.0/0 0", "0.0.0.0/0 0"},
        {"::/0 7#x", "::/0 7"},
        {"2001:DB8::1 65536", "2001:db8::1/128 65536"},
        {"2001:db8::/64 65536", "2001:db8::/64 65536"},
        {"2001:db8::/65 65536", "2001:db8::/65 65536"},
        {"", ""},
        {" \t\r", ""},
        {"# 10.0.0.0/8 1", ""},
        {"  #", ""},
        {"10.0.0/8 1", "'10.0.0/8' is not an IPv4 or IPv6 prefix"},
        {"10.0.0.256 1", "'10.0.0.256' is not an IPv4 or IPv6 prefix"},
        {"1:2::3::4/64 1", "'1:2::3::4/64' is not an IPv4 or IPv6 prefix"},
        {std::string("::1\0/64 1", 9), "'::1\\x00/64' is not an IPv4 or IPv6 prefix"},
        {"10.0.0.0/ 1", "prefix length '' is not a number"},
        {"10.0.0.0/-8 1", "prefix length '-8' is not a number"},
        {"10.0.0.0/8/8 1", "prefix length '8/8' is not a number"},
        {"10.0.0.0/33 1", "prefix length '33' is too large, an IPv4 address has 32 bits"},
        {"::/129 1", "prefix length '129' is too large, an IPv6 address has 128 bits"},
        {"::/4294967296 1", "prefix length '4294967296' is too large, an IPv6 address has 128 bits"},
        {"10.0.0.1/31 1", "'10.0.0.1/31' has bits set beyond the prefix length, the prefix is 10.0.0.0/31"},
        {"::1/64 1", "'::1/64' has bits set beyond the prefix length, the prefix is ::/64"},
        {"10.0.0.0/8 # 1", "no next hop after the prefix"},
        {"10.0.0.0/8 0x1", "next hop '0x1' is not a decimal number"},
        {"10.0.0.0/8 -1", "next hop '-1' is not a decimal number"},
        {"10.0.0.0/8 4294967296", "next hop '4294967296' doesn't fit 32 bits"},
        {"10.0.0.0/8 1 via", "trailing 'via' after the next hop"},
    };
    for (const auto& [line, expected] : lines) {
        std::string reason;
        const std::optional<Route> route = parse_route_line(line, reason);
        EXPECT_EQ(route ? text_of(route->prefix, ' ', route->next_hop) : reason, expected) << line;
        EXPECT_TRUE(!route || reason.empty()) << line;
    }
}

TEST(RouteAgentLines, MessagesArePrintable) {
    const std::vector<std::pair<std::string, std::string>> texts = {
        {"~ Stra\u00DFe \u20AC \U0001F500 \u00A0", "~ Stra\u00DFe \u20AC \U0001F500 \u00A0"},
        {std::string("\0\n\x1B\x7F", 4), "\\x00\\x0a\\x1b\\x7f"},
        {"\xC2\x9B[31m", "\\xc2\\x9b[31m"}, // a control character outside ASCII that begins escape sequences
        {"\xC1\xBF \xE0\x9F\xBF \xF0\x8F\xBF\xBF", "\\xc1\\xbf \\xe0\\x9f\\xbf \\xf0\\x8f\\xbf\\xbf"}, // overlong
        {"\xED\xA0\x80 \xF4\x90\x80\x80", "\\xed\\xa0\\x80 \\xf4\\x90\\x80\\x80"}, // code points that are no characters
        {"\x9F \xFF \xE2\x82", "\\x9f \\xff \\xe2\\x82"},
        {"\\x1b", "\\\\x1b"},
    };
    for (const auto& [text, expected] : texts)
        EXPECT_EQ(printable(text), expected);
}

TEST(RouteAgentLines, WhatIsNoListOfRoutesIsRefused) {
    const auto messages_of = [](const std::string& list) {
        std::istringstream in(list);
        std::ostringstream messages;
        const bool read = read_route_list(in, "list", messages).has_value();
        EXPECT_EQ(read, messages.str().empty());
        return messages.str();
    };
    const std::string marked = "list:1: the list begins with a byte order mark; save it as UTF-8 without one\n";
    const std::string utf16 = "list:1: the list is UTF-16; save it as UTF-8 without a byte order mark\n";
    EXPECT_EQ(messages_of("\xEF\xBB\xBF::/0 1\nx\n"), marked);
    EXPECT_EQ(messages_of({'\xFF', '\xFE', '1', '\0', '\n', '\0', 'x', '\n'}), utf16);
    EXPECT_EQ(messages_of({'\xFE', '\xFF', '\0', '1', '\0', '\n', 'x', '\n'}), utf16);
    EXPECT_EQ(messages_of({':', ':', ' ', '1', '\n', '#', '\0', '\n', 'x', '\n'}),
              "list:2: the line has a NUL byte; a list is text\n");
    for (const char* empty : {"", "# no route\n\n"})
        EXPECT_EQ(messages_of(empty), "list: there is no route in this list\n");

    EXPECT_EQ(messages_of("::/0"), "list:1: no next hop after the prefix\n"); // a last line without an end

    const std::string longest = "::/0 1 #" + std::string(longest_line - 8, '#');
    EXPECT_EQ(messages_of(longest), "");
    EXPECT_EQ(messages_of(longest + "\n10.0.0.0/8 1\n"), "");
    for (const char* end : {"#", "#\nx\n"})
        EXPECT_EQ(messages_of("\n" + longest + end), "list:2: the line is longer than 4096 bytes\n");
}

TEST(RouteAgentPlan, PrefixLengthChoosesTheTable) {
    struct Case {
        Family family;
        unsigned shortest;
        unsigned longest;
        TableId table;
    };
    for (const auto& [family, shortest, longest, table] : {Case{Family::ipv4, 0, 12, ipv4ShortMaskLpm},
                                                           {Family::ipv4, 13, 31, ipv4FinalResolve0},
                                                           {Family::ipv4, 32, 32, ipv4Host},
                                                           {Family::ipv6, 0, 22, ipv6ShortMaskLpm},
                                                           {Family::ipv6, 23, 64, ipv6Partition},
                                                           {Family::ipv6, 65, 127, ipv6LgMaskFinalResolve0},
                                                           {Family::ipv6, 128, 128, ipv6Host}}) {
        for (unsigned length = shortest; length <= longest; ++length) {
            EXPECT_EQ(table_for(network_of(family, 0, length)), table) << length;
        }
    }
}

TEST(RouteAgentPlan, PartitionsAreNumberedUpToTheirLimit) {
    std::vector<Route> routes;
    for (unsigned i = 0; i < 65536; ++i)
        routes.push_back({.prefix = {Address{i} << 72, 65, Family::ipv6}, .next_hop = 1});
    std::string reason;
    const std::optional<Plan> full = make_plan(routes, reason);
    ASSERT_TRUE(full);
    EXPECT_EQ(full->tables[ipv6LgMaskFinalResolve0].back().partition, 65535);
    EXPECT_EQ(full->tables[ipv6LgMaskPartition0].back().partition, 65535);
    routes.push_back({.prefix = {Address{65536} << 72, 65, Family::ipv6}, .next_hop = 1});
    EXPECT_FALSE(make_plan(routes, reason));
    EXPECT_EQ(reason, "prefixes longer than /64 lie in more than 65536 different IPv6 prefixes of /64; there are not "
                      "enough partitions");
}

TEST(RouteAgentPlan, PartitionGoesWithItsLastRoute) {
    std::istringstream list("10.16.0.0/13 1\n10.32.0.0/13 1\n10.40.0.0/13 1\n10.48.0.0/13 1\n");
    std::ostringstream messages;
    std::string reason;
    const std::optional<Plan> plan = make_plan(read_route_list(list, "list", messages).value(), reason);
    ASSERT_TRUE(plan);
    const Selection selection = select_every_second(*plan);
    EXPECT_EQ(selection[ipv4FinalResolve0], (std::vector<bool>{false, true, false, true}));
    EXPECT_EQ(selection[ipv4Partition0], (std::vector<bool>{false, false, true}));
}

TEST(RouteAgentPlan, GroupsAreNumberedUpToTheirLimitAndComeInThreeLoads) {
    std::string reason;
    const auto plan_of = [&](uint32_t count) { // hosts from 0.0.0.0, with next hops from the highest down
        std::vector<Route> routes;
        for (uint32_t i = 0; i < count; ++i)
            routes.push_back({.prefix = {from_ipv4(i), 32, Family::ipv4}, .next_hop = 0xFFFFFFFF - i});
        return make_plan(routes, reason);
    };
    const std::optional<Plan> full = plan_of(1023);
    ASSERT_TRUE(full);
    EXPECT_EQ(full->tables[ipv4Host].back().group, 1023);
    EXPECT_EQ(full->groups.back().next_hop, 0xFFFFFFFF - 1022);
    EXPECT_FALSE(plan_of(1024));
    EXPECT_EQ(reason, "there are more than 1023 different next hops; there are not enough numbers for ECMP groups");

    for (const std::string loads : {"", "0", "00", "012", "00000001122"}) {
        const Plan plan = plan_of(static_cast<uint32_t>(loads.size())).value();
        std::string text;
        for (const EcmpGroup& group : plan.groups)
            text += std::to_string(group.load);
        EXPECT_EQ(text, loads);
    }
}

TEST(RouteAgentLongestPrefix, IsThatOfAScan) {
    std::mt19937 engine(1);
    const auto random = [&](unsigned below) { return static_cast<unsigned>(engine() % below); };
    for (const Family family : {Family::ipv4, Family::ipv6}) {
        const unsigned bits = address_bits(family);
        for (int round = 0; round < 200; ++round) {
            // Few different addresses, at both ends of the family, so that prefixes lie in each other and touch.
            const auto address = [&] {
                const Address low = Address{random(32)} << (128 - bits);
                return network_of(family, random(2) == 0 ? low : ~low, bits).address;
            };
            std::map<Prefix, uint32_t> list;
            for (size_t count = random(12); list.size() < count;)
                list[network_of(family, address(), random(3) == 0 ? random(bits) : bits - random(6))] = random(100);
            list[network_of(family == Family::ipv4 ? Family::ipv6 : Family::ipv4, 0, 0)] = 1;
            std::vector<Route> routes;
            routes.reserve(list.size());
            for (const auto& [prefix, next_hop] : list)
                routes.push_back({prefix, next_hop});
            std::vector<Prefix> removed;
            for (const Route& route : routes)
                if (random(4) == 0) removed.push_back(route.prefix);
            const std::vector<Segment> segments = segments_of(family, routes, removed);
            for (const Route& route : routes) {
                EXPECT_TRUE(route.prefix.family != family ||
                            std::ranges::binary_search(segments, route.prefix.address, {}, &Segment::first))
                    << route.prefix;
            }
            for (int i = 0; i < 100; ++i) {
                const Address at = address();
                const Route* longest = nullptr;
                for (const Route& route : routes)
                    if (route.prefix == network_of(family, at, route.prefix.length) &&
                        !std::ranges::binary_search(removed, route.prefix) &&
                        (longest == nullptr || route.prefix.length > longest->prefix.length))
                        longest = &route;
                ASSERT_EQ(longest_prefix(segments, at), longest) << Prefix{at, static_cast<uint8_t>(bits), family};
            }
        }
    }
}

void expect_in(const std::string& text, const std::vector<std::string>& parts) {
    for (const std::string& part : parts) {
        EXPECT_NE(text.find(part), std::string::npos) << part << '\n' << text;
    }
}

// Runs the agent on a fresh driver. A row of its report is kept with single spaces and without commas: added, read
// equal, aged, deleted, left, in hardware, calls per second.
class RouteAgentRun : public testing::Test {
protected:
    RouteAgentRun() {
        vl_model_reset();
    }
    ~RouteAgentRun() override {
        vl_model::set_answer_hook({});
        vl_model::clear_faults();
        vl_model::record_calls(false);
        vl_model_reset();
    }

    int run(const std::string& list, const std::vector<std::string>& arguments = {"--packets", "1000", "-"}) {
        std::istringstream in(list);
        std::ostringstream out_stream;
        std::ostringstream message_stream;
        const int status = run_agent(arguments, {.in = in, .out = out_stream, .messages = message_stream});
        out = out_stream.str();
        std::erase(out, ',');
        const auto both_spaces = [](char a, char b) { return a == ' ' && b == ' '; };
        out.erase(std::unique(out.begin(), out.end(), both_spaces), out.end());
        messages = message_stream.str();
        return status;
    }

    // A run that the driver doesn't refuse, but in which these differences are found. `rows` are of the report.
    void expect_differences(const std::string& list, const std::vector<std::string>& differences,
                            const std::vector<std::string>& rows = {}) {
        EXPECT_EQ(run(list), 1);
        expect_in(messages, differences);
        expect_in(out, rows);
    }

    std::string out;
    std::string messages;
};

// Gives groups 1 to 7; 6 and 7 come with later loads.
constexpr const char* one_of_each = R"(10.0.0.0/8 10
10.0.16.0/20 20
10.1.2.3 30
2001:c00::/22 4000000000
2001:db8::/32 50
2001:db8::4000:0:0:0/66 60
2001:db8::1 70
)";

TEST_F(RouteAgentRun, RoutesReachTheDriverInTheirTables) {
    vl_model::record_calls(true);
    EXPECT_EQ(run(one_of_each), 0) << messages << out;

    struct Sent {
        std::vector<uint8_t> key;
        uint32_t partition;
        uint32_t priority; // the number of address bits after the prefix
        uint32_t action;
        std::vector<uint8_t> data;
    };
    const std::map<uint64_t, Sent> expected = {
        {0x1000023, {{1, 10, 1, 2, 3}, 0, 0, 0x20000069, {0, 0, 0, 3}}},
        {0x1000037, {{1, 10, 0, 0, 0}, 0, 24, 0x20000080, {0, 0, 0, 1}}},
        {0x1000033, {{0, 0, 10, 0, 16, 0}, 0, 12, 0x20000085, {0, 0, 0, 2}}},
        {0x1000025, {{1, 10, 0, 0, 0}, 0, 20, 0x2000006e, {0, 0, 0, 0, 0, 0, 0, 0}}},
        {0x1000022, {{1, 0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 0, 0, 0x20000062, {0, 0, 0, 7}}},
        {0x1000039, {{1, 0x20, 1, 0x0c, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0, 106, 0x2000008f, {0, 0, 0, 4}}},
        {0x1000035,
         {{1, 0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0, 96, 0x2000008d, {0, 0, 0, 0, 0, 5}}},
        {0x1000034, {{0, 0, 0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0x40, 0, 0, 0, 0, 0, 0, 0}, 0, 62, 0x20000099, {0, 6}}},
        {0x1000026,
         {{1, 0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0, 64, 0x20000067, {0, 0, 0, 0, 0, 0, 0, 0}}},
    };
    constexpr uint64_t ecmp_group = 0x1000046;
    size_t adds = 0;
    for (const vl_model::Call& call : vl_model::take_calls()) {
        if (call.function != "pipe_mgr_mat_ent_add" || call.args.at(2) == ecmp_group) continue;
        ++adds;
        const Sent& sent = expected.at(call.args.at(2));
        EXPECT_EQ(call.match->key, sent.key) << std::hex << call.args[2];
        EXPECT_EQ(call.match->partition_index, sent.partition);
        EXPECT_EQ(call.match->priority, sent.priority) << std::hex << call.args[2];
        EXPECT_EQ(call.args.at(4), sent.action);
        EXPECT_EQ(call.action->data, sent.data) << std::hex << call.args[2];
    }
    EXPECT_EQ(adds, expected.size());
}

TEST_F(RouteAgentRun, GroupsGrowAcrossBothRestarts) {
    vl_model::record_calls(true);
    EXPECT_EQ(run("10.0.0.1 4000000000\n10.0.0.2 8\n10.0.0.3 9\n"), 0) << messages << out;

    // What happened, in words: + and a member's data, | for a restart, = and the key of an entry.
    std::string story;
    for (const vl_model::Call& call : vl_model::take_calls()) {
        if (call.function == "pipe_mgr_adt_ent_add") {
            story += '+';
            for (const uint8_t byte : call.action->data)
                story += std::to_string(byte) + '.';
            story.back() = ' ';
        } else if (call.function == "pipe_mgr_mat_ent_add" && call.args.at(2) == 0x1000046) {
            EXPECT_EQ(call.action->kind, 4);
            story += '=' + std::to_string(call.match->key.at(1)) + (call.status == 0 ? " " : "? ");
        } else if (call.function == "p4_pd_ms_destroy_txn_state_for_dev") {
            story += "| ";
        } else if (call.function == "pipe_mgr_hitless_ha_restore_virtual_dev_state") {
            story += "replay ";
        }
    }
    EXPECT_EQ(story, "+0.238.107.40.0 +1.238.107.40.0 +2.238.107.40.0 =1 "
                     "| =1? +3.238.107.40.0 +0.0.0.0.8 +1.0.0.0.8 +2.0.0.0.8 +3.0.0.0.8 =2 "
                     "| replay =1? +4.238.107.40.0 +4.0.0.0.8 +0.0.0.0.9 +1.0.0.0.9 =3 "
                     "| "); // the device is removed
    expect_in(messages, {"without the shadow, adding to a group gives NOT_FOUND\n",
                         "with the shadow restored, adding to a group gives EXISTS\n"});
}

TEST_F(RouteAgentRun, ReportTellsWhatStands) {
    std::string list;
    for (int i = 0; i < 1001; ++i) // more than one batch of a walk
        list += "10." + std::to_string(i / 256) + "." + std::to_string(i % 256) + ".0/24 1\n";
    list += "10.16.0.0/24 1\n10.0.0.1 2\n10.0.0.2 2\n10.0.0.3 2\n10.0.0.4 3\n";
    EXPECT_EQ(run(list), 0) << messages << out;
    expect_in(out, {"\nipv4FinalResolve0 1002 1002 0 501 501 501 ",
                    "\nipv4Partition0 2 2 0 1 1 1 ", // 10.16.0.0/12 lost its only route
                    "\nipv4Host 4 4 1 2 1 1 ", "\nipv6Host 0 0 0 0 0 0 ",
                    "\necmpGroup 3 3 0 1 2 2 ", // the group of 10.0.0.4 lost its only route
                    "\ntotal 1011 1011 1 505 505 505 ", "\nECMP groups 3 3 0 1 2 - ", "\nECMP members 12 12 0 2 10 - ",
                    "\nEverything was as planned.\n"});
}

TEST_F(RouteAgentRun, BadListIsToldInFullAndProgramsNothing) {
    vl_model::record_calls(true);
    EXPECT_EQ(run("10.0.0.0/8 1\n10.0.0.1/8 1\n\n10.0.0.0/8 2\n10.0.0.0/9\n"), 2);
    expect_in(messages, {"<stdin>:2: '10.0.0.1/8' has bits set", "<stdin>:4: 10.0.0.0/8 was already given in line 1\n",
                         "<stdin>:5: no next hop"});
    EXPECT_EQ(out, "");

    std::string hopeless;
    for (int i = 0; i < 30; ++i)
        hopeless += "x\n";
    EXPECT_EQ(run(hopeless), 2);
    expect_in(messages, {"<stdin>:20: "});
    EXPECT_EQ(messages.find("<stdin>:21: "), std::string::npos);
    EXPECT_TRUE(vl_model::take_calls().empty());
}

TEST_F(RouteAgentRun, ArgumentsAreChecked) {
    for (const char* help : {"--help", "-h"}) {
        EXPECT_EQ(run("", {help}), 0);
        EXPECT_EQ(out.rfind("Usage: route_agent", 0), 0u);
    }
    EXPECT_EQ(run("", {"--verbose"}), 2);
    expect_in(messages, {"unknown option --verbose"});
    EXPECT_EQ(run("", {"-", "-"}), 2);
    EXPECT_EQ(run("", {"--seed", "1", "-"}), 2);
    expect_in(messages, {"--seed is only for --corrupt; try --help\n"});
    EXPECT_EQ(run("", {"--console", "socket", "--corrupt", "1", "-"}), 2);
    expect_in(messages, {"--packets and --corrupt don't go with --console; try --help\n"});
    EXPECT_EQ(run("", {"-", "--console"}), 2);
    expect_in(messages, {"--console takes the path of a socket; try --help\n"});
    EXPECT_EQ(run("", {""}), 2);
    expect_in(messages, {"the list's name is empty; try --help\n"});
    for (const char* number : {"--packets", "--corrupt", "--seed"}) {
        EXPECT_EQ(run("", {number}), 2);
        expect_in(messages, {std::string(number) + " takes a number from 0 to 4294967295, not ''"});
        EXPECT_EQ(run("", {number, "4294967296"}), 2);
    }
    const std::pair<const char*, const char*> unreadable[] = {
        {"/nonexistent/list", "/nonexistent/list: can't be opened: No such file or directory"},
        {"/", "/: is a directory"},
        {"/dev/zero", "/dev/zero:1: the line is longer than 4096 bytes"}};
    for (const auto& [path, message] : unreadable) {
        EXPECT_EQ(run("", {path}), 2);
        expect_in(messages, {message});
    }
    for (const char* unprintable : {"/\x1B[2J\n", "-\x1B[2J\n"}) {
        EXPECT_EQ(run("", {unprintable}), 2);
        expect_in(messages, {"\\x1b[2J\\x0a"});
        EXPECT_EQ(messages.find('\x1B'), std::string::npos);
    }
}

TEST_F(RouteAgentRun, RefusalsEndTheRunAndAreNamed) {
    // In each phase, and where the device is opened and closed.
    struct Refusal {
        const char* function;
        unsigned nth;
        const char* message;
    };
    const Refusal refusals[] = {
        {"pipe_mgr_adt_ent_add", 1, "ECMP members: adding one for group 1"},
        {"pipe_mgr_sel_grp_add", 2, "ECMP groups: creating 2"},
        {"pipe_mgr_sel_grp_mbr_add", 1, "ECMP groups: adding a member to group 1"},
        {"pipe_mgr_mat_ent_add", 5, "ecmpGroup: adding 5"},
        {"pipe_mgr_mat_ent_add", 9, "ipv4ShortMaskLpm: adding 10.0.0.0/8"},
        {"pipe_mgr_hitless_ha_restore_virtual_dev_state", 1, "restoring by replay"},
        {"pipe_mgr_get_action_data_entry", 1, "ECMP members: reading "},
        {"pipe_mgr_get_entry", 1, "ecmpGroup: reading handle "},
        {"pipe_mgr_get_entry", 5 + 1, "reading an entry that a packet took"},
        // After the groups of the restarts and of the walk, and the entries and groups that packets took.
        {"pipe_mgr_get_entry", 5 + (8 + 5) + 6 + (10 + 6) + 7 + 1, "ipv4Host: reading 10.1.2.3/32"},
        {"pipe_mgr_get_next_entry_handles", 1, "ECMP members: asking for the next handles"},
        {"pipe_mgr_get_entry_count", 1, "ecmpGroup: counting the entries"},
        {"pipe_mgr_idle_set_params", 1, "ipv4Host: switching idle time on"},
        {"pipe_mgr_idle_time_get_hit_state", 2, "ipv4Host: reading the hit state of 10.1.2.4/32"},
        {"pipe_mgr_mat_ent_del", 1, "ipv4Host: removing 10.1.2.5/32"},
        {"pipe_mgr_mat_ent_del_by_match_spec", 1, "ipv4Host: deleting 10.1.2.4/32"},
        {"pipe_mgr_match_spec_to_ent_hdl", 1, "ipv4Host: looking for 10.1.2.4/32"},
    };
    const std::string list = std::string(one_of_each) + "10.1.2.4 30\n10.1.2.5 30\n";
    for (const auto& [function, nth, message] : refusals) {
        vl_model::fail_call(function, nth, VL_MODEL_NO_MEMORY);
        EXPECT_EQ(run(list), 1) << function;
        const size_t at = messages.find(std::string("\n") + message);
        ASSERT_NE(at, std::string::npos) << message << '\n' << messages;
        expect_in(messages.substr(at + 1, messages.find('\n', at + 1) - at), {" was refused with status 2, NO_MEMORY"});
        expect_in(out, {"\nNOT as planned: the driver refused a call.\n"});
        // The device was closed anyway: it can be opened again.
        EXPECT_EQ(run(list), 0) << messages << out;
    }
}

TEST_F(RouteAgentRun, ReadingsThatDifferAreCountedAndShown) {
    constexpr uint32_t set_ecmp = 0x20000069; // of ipv4Host
    const std::string list = "10.1.2.3 5\n10.1.2.4 6\n";
    const auto expect_with = [&](const vl_model::AnswerHook& hook, const std::vector<std::string>& differences,
                                 const std::string& ipv4_host) {
        vl_model::set_answer_hook(hook);
        expect_differences(list, differences, {"\nipv4Host " + ipv4_host, "\nNOT as planned: there were differences."});
    };
    expect_with(
        [](pipe_match_record&, pipe_action_record& action, uint32_t& action_hdl) {
            if (action_hdl == set_ecmp) action.action.data[3] ^= 2;
        },
        {"ECMP group 1), read 10.1.2.3/32 under 1, p4_pd_velmar_switch_setEcmp (", "ECMP group 3)\n"}, "2 0 0 1 1 0");
    expect_with([](pipe_match_record& match, pipe_action_record&,
                   uint32_t& action_hdl) { match.key_bytes[0] = action_hdl == set_ecmp ? 2 : match.key_bytes[0]; },
                {"read 10.1.2.3/32 under 2"}, "2 0 0 1 1 0");
    expect_with([](pipe_match_record& match, pipe_action_record&,
                   uint32_t& action_hdl) { match.key_len = action_hdl == set_ecmp ? 0 : match.key_len; },
                {"read the default entry"}, "2 0 0 1 1 0");
    // setNextHop2 instead of setEcmp, only in the second walk.
    int reads = 0;
    expect_with(
        [&reads](pipe_match_record&, pipe_action_record&, uint32_t& action_hdl) {
            if (action_hdl == set_ecmp && ++reads == 11) action_hdl = 0x2000006b;
        },
        {"setNextHop2"}, "2 2 0 1 1 1");
    // Only packets read this.
    reads = 0;
    expect_with(
        [&reads](pipe_match_record&, pipe_action_record& action, uint32_t& action_hdl) {
            if (action_hdl == set_ecmp && ++reads == 1) action.action.data[3] ^= 2;
        },
        {"packets: 10.1.2.3 after restart by log: expected next hop 5 by "}, "2 2 0 1 1 1");
    // A member instead of the group, after both restarts.
    int group_reads = 0;
    expect_with(
        [&group_reads](pipe_match_record& match, pipe_action_record& action, uint32_t&) {
            if (action.kind == 4 && ++group_reads > 8 && match.key_bytes[1] == 1) action.kind = 2;
        },
        {"ecmpGroup: entry 1 points at no group", "ecmpGroup: the walk leaves out group 1",
         "ECMP groups: no entry leads to group handle "},
        "2 2 0 1 1 1");
    vl_model::set_answer_hook({});

    vl_model::set_member_answer_hook([](pipe_action_data& data, uint32_t&) { data.data[0] ^= 4; });
    expect_differences(list, {"group 1: expected 3 paths, from 5 of table 0 on, read 5 of table 4, 5 of table 5"},
                       {"\nECMP members 11 0 0 6 5 - "});
    vl_model::set_member_answer_hook([](pipe_action_data&, uint32_t& action_hdl) { action_hdl = 0x200000b6; });
    expect_differences(list, {" has another action, number 1\n"});
    vl_model::set_member_answer_hook({});
}

TEST_F(RouteAgentRun, ChangesThatTheDriverOnlyClaimsAreFound) {
    const auto expect_if_claimed = [&](const char* function, unsigned nth, const std::vector<std::string>& found,
                                       const std::vector<std::string>& rows = {}) {
        vl_model::fail_call(function, nth, VL_MODEL_OK);
        expect_differences("10.1.2.3 5\n10.1.2.4 6\n10.1.2.5 6\n", found, rows);
    };
    expect_if_claimed("pipe_mgr_mat_ent_add", 3, // after the two for ecmpGroup
                      {"the driver counts 2 entries, expected 3", "the walk leaves out 10.1.2.3/32"});
    expect_if_claimed("pipe_mgr_mat_ent_del_by_match_spec", 1,
                      {"10.1.2.4/32 was deleted and still exists", "10.1.2.4/32 was deleted and is still found"},
                      {"\nipv4Host 3 3 1 1 2 1 "});
    // The list of handles isn't written, so it has foreign handles and no end. The groups are read three times before.
    expect_if_claimed("pipe_mgr_get_next_entry_handles", 3 * 3 + 1,
                      {"the walk gives handle 0, which no entry has", "the walk goes on after 3 handles; stopped",
                       "the walk leaves out 10.1.2.4/32"});
    expect_if_claimed("pipe_mgr_sel_grp_mbr_add", 1,
                      {", 5 of table 0, is in no group",
                       "group 1: expected 3 paths, from 5 of table 0 on, read 5 of table 1, 5 of table 2\n"});
    expect_if_claimed("p4_pd_ms_destroy_state_for_dev", 2, // of the second profile
                      {"adding a member again to group 1 gave EXISTS, expected NOT_FOUND",
                       "adding entry 1 again gave EXISTS, expected NOT_FOUND"});
    const std::vector<std::string> not_restored = {"adding a member again to group 1 gave NOT_FOUND, expected EXISTS",
                                                   "with the shadow restored, adding to a group gives NOT_FOUND"};
    expect_if_claimed("p4_pd_ms_restore_state", 2, not_restored);
    expect_if_claimed("pipe_mgr_hitless_ha_restore_virtual_dev_state", 1, not_restored);
    expect_if_claimed("pipe_mgr_idle_tmo_set_enable", 1,
                      {"the hit state of 10.1.2.3/32 is 0", "10.1.2.5/32 got no packet and didn't time out"},
                      {"\nipv4Host 3 3 0 1 2 2 "});
    expect_if_claimed("pipe_mgr_mat_ent_del", 1, {"10.1.2.5/32 was deleted and still exists"});
}

TEST_F(RouteAgentRun, HardwareThatDiffersFromThePlacementIsFound) {
    vl_model::set_placed_entry_answer_hook([](pipe_match_record& match, pipe_action_record& action, uint32_t&) {
        if (action.kind == 4)
            match.key_bytes[1] ^= 8;
        else
            action.action.data[3] ^= 1;
    });
    expect_differences("10.1.2.3 5\n10.1.2.4 6\n10.1.2.5 6\n",
                       {"10.1.2.3/32 in hardware: aspec action_ecmpGroup differs 0x0 vs 0x1",
                        "group 1 in hardware: mspec l3_nextHop differs 0x9 vs 0x1"},
                       {"\nipv4Host 3 3 1 1 1 0 ", "\necmpGroup 2 2 0 1 1 0 "});
    vl_model::set_placed_entry_answer_hook({});
}

// A switch with a programmed list, whose hardware a test can change before it sends packets.
struct Programmed {
    Programmed() {
        vl_model_reset();
        std::istringstream in(std::string(one_of_each) +
                              "10.2.0.0/16 10\n10.32.0.0/13 20\n10.32.16.0/20 30\n10.9.9.9 10\n");
        routes = read_route_list(in, "list", messages).value();
        std::ranges::sort(routes, {}, &Route::prefix);
        std::string reason;
        plan = make_plan(routes, reason).value();
        device = open_device();
        run.emplace(device, plan, progress);
        run->routes = routes;
        run->packets = 1000;
        for (unsigned load = 0; load < load_count; ++load)
            program(*run, load);
        EXPECT_EQ(astray(), 0u) << messages.str();
        EXPECT_GE(run->sent.back().addresses, 1000u);
    }
    ~Programmed() {
        close_device(device);
        vl_model_reset();
    }
    Programmed(const Programmed&) = delete;
    Programmed& operator=(const Programmed&) = delete;

    size_t astray(const std::vector<Prefix>& near = {}) {
        messages.str("");
        send_packets(*run, "now", near);
        return run->sent.back().astray;
    }
    std::pair<uint32_t, pd_entry> place(TableId table, uint32_t row) const {
        uint32_t handle = 0;
        EXPECT_EQ(route_tables[table].handle(&handle), 0u);
        return {handle, std::ranges::find(run->placed[table], row, &Placed::row)->handle};
    }
    void edit(TableId table, uint32_t row, const std::function<void(vl_model::EntryImage&)>& change) const {
        const auto [handle, entry] = place(table, row);
        EXPECT_EQ(vl_model::edit_hardware(0, handle, entry, change), 0u);
    }

    std::ostringstream messages;
    Progress progress{messages, false};
    std::vector<Route> routes;
    Plan plan;
    Device device;
    std::optional<route_agent::Run> run;
};

TEST(RouteAgentPackets, GoAstrayIfEntriesExchangeTheirNextHops) {
    Programmed programmed;
    std::vector<uint8_t> data;
    programmed.edit(ipv4FinalResolve0, 0, [&](auto& image) { data = image.data; });
    programmed.edit(ipv4FinalResolve0, 1, [&](auto& image) { data.swap(image.data); });
    programmed.edit(ipv4FinalResolve0, 0, [&](auto& image) { image.data = data; });
    EXPECT_NE(programmed.astray(), 0u);
    expect_in(programmed.messages.str(),
              {"packets: 10.0.16.0 now: expected next hop 20 by 10.0.16.0/20, found next hop 10 by "
               "ipv4FinalResolve0 10.0.16.0/20\n",
               "10.2.0.0 now: expected next hop 10 by 10.2.0.0/16, found next hop 20 by ipv4FinalResolve0"});
    // Many packets took these two entries. Below the line of the phase, each entry is shown once.
    EXPECT_EQ(std::ranges::count(programmed.messages.str(), '\n'), 1 + 2);
    EXPECT_FALSE(all_as_meant(*programmed.run));
}

TEST(RouteAgentPackets, GoAstrayIfAPrefixLosesAgainstAShorterOneOrIsShifted) {
    const std::pair<std::function<void(vl_model::EntryImage&)>, std::string> changes[] = {
        {[](auto& image) { image.priority += 12; }, "10.32.16.0 now: expected next hop 30 by 10.32.16.0/20, found "
                                                    "next hop 20 by ipv4FinalResolve0 10.32.0.0/13"},
        {[](auto& image) { image.mask[4] ^= 0x08; }, "10.32.31.255 now: expected next hop 30 by 10.32.16.0/20, "
                                                     "found next hop 20 by ipv4FinalResolve0 10.32.0.0/13"},
        {[](auto& image) { image.mask[4] ^= 0x10; },
         "10.32.0.0 now: expected next hop 20 by 10.32.0.0/13, found next hop 30 by ipv4FinalResolve0 10.32."},
    };
    for (const auto& [change, message] : changes) {
        Programmed programmed;
        programmed.edit(ipv4FinalResolve0, 3, change);
        EXPECT_NE(programmed.astray(), 0u);
        expect_in(programmed.messages.str(), {message});
    }
}

TEST(RouteAgentPackets, GoAstrayIfAnEntryIsLost) {
    for (size_t table = 0; table < table_count; ++table) {
        Programmed programmed;
        const auto [handle, entry] = programmed.place(static_cast<TableId>(table), 0);
        ASSERT_EQ(vl_model::drop_hardware(0, handle, entry), 0u);
        EXPECT_NE(programmed.astray(), 0u) << route_tables[table].name;
    }
    Programmed programmed;
    ASSERT_EQ(vl_model::drop_hardware(0, 0x1000046, 1), 0u); // of ecmpGroup
    EXPECT_NE(programmed.astray(), 0u);
    expect_in(programmed.messages.str(), {"found ECMP group 1, which has no entry, by ipv4ShortMaskLpm 10.0.0.0/8\n"});
}

TEST(RouteAgentPackets, GoAstrayIfRemovedRoutesAreLeftOnTheSwitch) {
    Programmed programmed;
    for (const TableId host : {ipv4Host, ipv6Host})
        programmed.run->rows[host][0] = RowState::deleted;
    EXPECT_EQ(programmed.astray(), 2u);
    expect_in(
        programmed.messages.str(),
        {"packets: 10.1.2.3 now: expected next hop 10 by 10.0.0.0/8, found next hop 30 by ipv4Host 10.1.2.3/32\n",
         "2001:db8::1 now: expected next hop 50 by 2001:db8::/32, found next hop 70 by ipv6Host 2001:db8::1/128"});
}

TEST(RouteAgentPackets, MustHitTheirHosts) {
    Programmed programmed;
    programmed.edit(ipv4Host, 0, [](auto& image) { image.key = {1, 10, 9, 9, 9}; });
    programmed.messages.str("");
    age_hosts(*programmed.run);
    expect_in(programmed.messages.str(),
              {"ipv4Host: a packet to 10.1.2.3 took no entry, expected handle ",
               text_of("ipv4Host: a packet to 10.9.9.9 took handle ", programmed.place(ipv4Host, 0).second)});
}

TEST(RouteAgentPackets, GoAstrayIfPathsLeadElsewhere) {
    Programmed programmed;
    vl_model::set_member_answer_hook([](pipe_action_data& data, uint32_t&) { data.data[4] ^= 1; });
    EXPECT_NE(programmed.astray(), 0u);
    expect_in(programmed.messages.str(),
              {"expected next hop 10 by 10.0.0.0/8, found next hop 11 by ipv4ShortMaskLpm 10."});
    // One path, so that the group's paths disagree.
    int reads = 0;
    vl_model::set_member_answer_hook([&](pipe_action_data& data, uint32_t&) {
        if (++reads == 1) data.data[4] ^= 1;
    });
    EXPECT_NE(programmed.astray(), 0u);
    expect_in(programmed.messages.str(), {"found ECMP group 1, whose paths lead to different next hops, by ipv4"});
    vl_model::set_member_answer_hook({});
    // The entry takes a group that the driver doesn't have.
    ASSERT_EQ(vl_model::edit_hardware(0, 0x1000046, 1, [](auto& image) { image.group_hdl ^= 64; }), 0u);
    EXPECT_NE(programmed.astray(), 0u);
    expect_in(programmed.messages.str(), {"found ECMP group 1, which has no member, by ipv4ShortMaskLpm 10.0.0.0/8\n"});
}

TEST(RouteAgentPackets, SeeOnlyBitsThatChangeANextHop) {
    struct Case {
        TableId table;
        bool in_key;
        size_t byte;
        bool is_seen;
    };
    for (const auto& [table, in_key, byte, is_seen] :
         {Case{ipv4Host, true, 0, true},       // the VRF
          {ipv4ShortMaskLpm, true, 4, false},  // beyond the prefix
          {ipv4FinalResolve0, true, 1, false}, // the partition's copy in the key
          {ipv4FinalResolve0, true, 2, false}, // the bits that the first level matches
          {ipv4FinalResolve0, true, 3, true},  // 10.0.16.0 becomes 10.1.16.0
          {ipv4FinalResolve0, false, 3, true}, // the next hop
          {ipv4Partition0, false, 2, true},    // the partition
          {ipv4Partition0, false, 0, false},   // the result's priority
          {ipv4Partition0, false, 6, true},    // a next hop for what the second level doesn't have
          {ipv6Partition, false, 1, false},    // a partition that no table has
          {ipv6LgMaskPartition0, false, 2, true}}) {
        Programmed programmed;
        const auto flip = [](std::vector<uint8_t>& bytes, size_t at) { bytes[at] ^= 1; };
        programmed.edit(table, 0,
                        [&, key = in_key, at = byte](auto& image) { flip(key ? image.key : image.data, at); });
        EXPECT_EQ(programmed.astray() != 0, is_seen) << route_tables[table].name << ' ' << byte;
    }
}

TEST(RouteAgentPackets, GoNearADamagedEntry) {
    Programmed programmed;
    const Prefix host = network_of(Family::ipv4, parse_address(Family::ipv4, "10.9.9.9").value(), 32);
    programmed.edit(ipv4Host, 1, [](auto& image) { image.key[1] ^= 0x80; }); // its own packets take the route to 10/8
    EXPECT_EQ(programmed.astray(), 0u);
    EXPECT_EQ(programmed.astray({host}), 1u);
    expect_in(programmed.messages.str(),
              {"packets: 138.9.9.9 now: expected no route, found next hop 10 by ipv4Host 138.9.9.9/32\n"});
}

TEST_F(RouteAgentRun, DamageShowsInPacketsAndIsListed) {
    EXPECT_EQ(run(one_of_each, {"--packets", "100", "--corrupt", "1000", "--seed", "7", "-"}), 1);
    expect_in(messages, {"Damaged in the hardware: 16 entries\n  ", " of the key flipped\n",
                         "\n  ecmpGroup 1: ", ": expected next hop "});
    expect_in(out, {"\nafter ageing ", "\nafter the damage ", "\nNOT as planned: there were differences.\n"});
    const std::string again = messages;
    EXPECT_EQ(run(one_of_each, {"--packets", "100", "--corrupt", "1000", "--seed", "7", "-"}), 1);
    EXPECT_EQ(messages, again);
}

TEST_F(RouteAgentRun, DamageToAFirstLevelShowsInItsPartition) {
    EXPECT_EQ(run("10.0.0.0/8 4\n10.1.2.0/24 4\n", {"--packets", "1000", "--corrupt", "1", "--seed", "15", "-"}), 1);
    expect_in(messages, {"  ipv4Partition0 10.0.0.0/12: bit 7 of byte 1 of the key flipped\n",
                         "packets: 138.1.2.0 after the damage: expected no route, found next hop 4 by "
                         "ipv4FinalResolve0 10.1.2.0/24\n"});
}

TEST_F(RouteAgentRun, DamageThatNothingMeetsIsSaid) {
    const std::string nothing_met = "\nNo packet and no comparison met the damage.\nEverything was as planned.\n";
    EXPECT_EQ(run("10.0.0.0/8 4\n", {"--packets", "100", "-"}), 0);
    EXPECT_EQ(out.find("met the damage"), std::string::npos);
    int unseen = 0;
    for (int seed = 1; seed <= 40; ++seed) {
        const int status = run("10.0.0.0/8 4\n10.1.2.0/24 4\n",
                               {"--packets", "100", "--corrupt", "1", "--seed", std::to_string(seed), "-"});
        EXPECT_EQ(status == 0, out.find(nothing_met) != std::string::npos) << out;
        unseen += status == 0 ? 1 : 0;
    }
    EXPECT_GT(unseen, 0);
    EXPECT_LT(unseen, 40);
}

} // namespace
