// Descriptions of what counters count: every piece by its form, the fields with special rules, the order of the pieces,
// and the reads for descriptions of entries.
#include "support/text.h"

#include <cstring>

namespace {

using namespace support;

struct Field {
    const char* name; // as the record has it
    uint32_t value;
    uint32_t mask;
};

// The description of a record in which all fields are zero except these.
std::string describe(const std::string& table, const std::vector<Field>& fields) {
    const catalog::Table& row = table_named(table.c_str());
    const catalog::KeyLayout layout = catalog::key_layout(row);
    Bytes record(layout.record_size);
    for (const Field& field : fields) {
        size_t i = 0;
        while (!catalog::same(row.key.begin()[i].pd_name, field.name))
            ++i;
        const catalog::FieldLayout& place = layout.fields[i];
        std::memcpy(&record[place.record_offset], &field.value, place.record_bytes);
        if (place.partner_bytes != 0) std::memcpy(&record[place.partner_offset], &field.mask, place.partner_bytes);
    }
    return text_of(table + "_match_spec_stringify_for_counter", {word(record.data())});
}

// The piece of one field, without the pieces of the table's exact fields, which are always there.
std::string piece(const std::string& table, const Field& field) {
    std::string text = describe(table, {field});
    std::string before, behind;
    if (table == "l2DmacClassify" || table == "ingressPortDropCheck") before = "Ingress Port 0x00 ";
    if (table == "egressPortDropCheck") behind = "pktGen 0x0 ";
    EXPECT_TRUE(text.starts_with(before) && text.ends_with(behind)) << text;
    return text.substr(before.size(), text.size() - before.size() - behind.size());
}

std::string formatted(const char* format, auto... values) {
    char text[128];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

// Calls body(table, piece) for every piece of this form.
template <class Body>
void for_pieces(catalog::Form form, Body body) {
    for (const catalog::CounterWords& words : catalog::program.counter_words)
        for (const catalog::Piece& each : words.pieces)
            if (each.form == form) {
                SCOPED_TRACE(words.table + std::string(" ") + each.field);
                body(words.table, each);
            }
}

// clang-format off
// Fields with special rules, and look-ups under a mask.
const char* const ether = "ingMd_etherType";
const char* const decap = "egrMd_decapType";
const char* const acl = "haloResultRow1_bestResult";
const char* const port = "egrMd_egrL2AintfUnresolved";
const char* const group = "ig_intr_md_for_tm_mcast_grp_a";
const struct {
    Field field;
    const char* text;
} trap_cases[] = {
    {{ether, 0x800, 0x0800}, "IPv4 "}, {{ether, 0x800, 0x7FFF}, "IPv4 "}, {{ether, 0, 0xFFFF}, "etherType 0x0000 "},
    {{ether, 0x8100, 0xFF00}, "etherType & 0xff00 0x8100 "}, {{"ingMd_protocol", 0xF6, 0x0F}, "TCP "},
    {{decap, 5, 3}, "VxLanDecap "}, {{decap, 2, 0xF}, "CPU-to-Port "}, {{decap, 5, 0xF}, "decapType & 0xf 0x5 "},
    {{decap, 5, 8}, "decapType & 0x8 0x5 "}, {{decap, 0, 8}, "decapType & 0x8 0x0 "}, {{decap, 0, 4}, "NoDecap "},
}, drop_cases[] = {
    {{acl, ~0u, 0}, ""}, {{acl, 0, 0x38000}, " "}, {{acl, 0x7FFF, 0x3FFFF}, " "},
    {{acl, ~0u, 0x38000}, "PACL/RACL Drop+/Log  "}, {{acl, 0x38000, ~0u}, "PACL/RACL Drop+/Log  "},
    {{acl, 0x38000, 0x18000}, "bestResult & 0x18000 0x38000 "},
    {{acl, 0x8000, 0x38000}, "bestResult & 0x38000 0x08000 "},
    {{acl, 0x8001, 7}, "bestResult 0x08000 "}, {{acl, 0x7FFF, 7}, "bestResult 0x00000 "},
    {{acl, 0x40001, 3}, "bestResult & 0x3 0x00000 "}, {{acl, 0x38000, 0x40000}, "bestResult & 0x40000 0x38000 "},
    {{port, ~0u, 0}, ""}, {{port, 0, 0xFFFFF}, " "}, {{port, 0x10000, 0xFFFFF}, " "}, {{port, 0xFFFFF, 0x10000}, " "},
    {{port, 0x1FF, 0xFFFFF}, "Invalid Port  "}, {{port, 0xFFFFF, 0x1FF}, "Invalid Port  "},
    {{port, 0x101FF, 0xFFFFF}, "egrL2AintfUnresolved 0x101ff "},
    {{port, 0x101FF, 0x1000FF}, "egrL2AintfUnresolved & 0x1000ff 0x101ff "},
    {{port, 0xFFF01234, 0x100000}, "egrL2AintfUnresolved & 0x100000 0x01234 "},
    {{group, 0xFFFF, 0}, ""}, {{group, 0, 0xFFFF}, " "}, {{group, 0x0FFF, 0xF000}, " "},
    {{group, 0x123, 0xFFFF}, "mcast_grp_a 0x0123 "}, {{group, 0x1234, 0xF000}, "mcast_grp_a & 0xf000 0x1234 "},
};
// clang-format on

TEST(CounterDescriptions, Flags) {
    for_pieces(catalog::Form::flag, [](const char* table, const catalog::Piece& flag) {
        EXPECT_EQ(piece(table, {flag.field, 1, 0xFE}), "") << "bit 0 of the mask counts";
        EXPECT_EQ(piece(table, {flag.field, 0xFF, 0xFF}), std::string(flag.label) + " ");
        EXPECT_EQ(piece(table, {flag.field, 0xFE, 1}), "!" + std::string(flag.label) + " ")
            << "bit 0 of the value counts";
    });
    for (const uint32_t mask : {0u, 1u, 0xFFu}) {
        EXPECT_EQ(piece("trapToCpu", {"arpHdr_valid", 1, mask}), "");
        EXPECT_EQ(piece("egressPortDropCheck", {"outerIpv4Hdr_valid", 1, mask}), "");
    }
}

TEST(CounterDescriptions, Numbers) {
    const auto check = [](const char* table, const catalog::Piece& number) {
        const uint32_t ones = number.ones, high = ones & ~(ones >> 1); // its highest bit
        const int digits = ones > 0xFFF ? 4 : ones > 0xFF ? 3 : ones > 0xF ? 2 : 1;
        EXPECT_EQ(piece(table, {number.field, ones, 0}), "");
        for (const uint32_t value : {5u, ones, ~0u})
            EXPECT_EQ(piece(table, {number.field, value, ones}),
                      formatted("%s 0x%0*x ", number.label, digits, value & ones));
        EXPECT_EQ(piece(table, {number.field, ~0u, high}),
                  formatted("%s & 0x%x 0x%0*x ", number.label, high, digits, ones))
            << "the value isn't masked";
    };
    for_pieces(catalog::Form::number, check);
    for_pieces(catalog::Form::mapped, check);
}

TEST(CounterDescriptions, WordsForValues) {
    const std::tuple<const char*, uint32_t, const char*> fields[] = {
        {"ingMd_etherType", 0xFFFF, "2048 IPv4 34525 IPv6 "},
        {"ingMd_protocol", 0xFF, "2 IGMP 6 TCP 17 UDP 58 ICMPv6 89 OSPF 103 PIM 112 VRRP "},
        {"egrMd_decapType", 7, "0 NoDecap 1 VxLanDecap 2 CPU-to-Port 3 CPU-to-VLAN "},
        {"egrMd_cpuReasonCode", 0xFF, "16 VxLan Arp 18 ISIS "},
    };
    for (const auto& [field, ones, expected] : fields) {
        std::string words;
        for (uint32_t value = 0; value <= ones; ++value) {
            const std::string text = piece("trapToCpu", {field, value, ones});
            if (text.find("0x") == text.npos) words += std::to_string(value) + " " + text;
        }
        EXPECT_EQ(words, expected) << field;
    }
}

TEST(CounterDescriptions, WordsAndVerdictsGoByTheMaskedValue) {
    for (const auto& [field, text] : trap_cases)
        EXPECT_EQ(piece("trapToCpu", field), text) << std::hex << field.value << " under " << field.mask;
    for (const auto& [field, text] : drop_cases)
        EXPECT_EQ(piece("finalDropControl", field), text) << std::hex << field.value << " under " << field.mask;
}

TEST(CounterDescriptions, ExactFieldsAndAddresses) {
    EXPECT_EQ(describe("steerFlowDefaultCounter", {{"stflowMd_counterIndex", 0xFFFF, 0}}), "counterIndex 0x1ff ");
    EXPECT_EQ(describe("steerFlowDefaultCounter", {}), "counterIndex 0x000 ");
    EXPECT_EQ(describe("haloCounters", {{"haloResultRow1_bestResult", 0xFFFFFFFF, 0}}), "bestResult 0x7fff ");
    EXPECT_EQ(describe("ingressPortDropCheck", {{"ig_intr_md_ingress_port", 0xFF85, 0}}), "Ingress Port 0x05 ");
    EXPECT_EQ(describe("l2DmacClassify", {{"ig_intr_md_ingress_port", 0x1FF, 0}}), "Ingress Port 0x7f ");
    EXPECT_EQ(describe("egressPortDropCheck", {{"pktGen", 0xFF, 0}}), "pktGen 0x1 ");
    EXPECT_EQ(describe("egressPortDropCheck", {{"pktGen", 0xFE, 0}}), "pktGen 0x0 ");
    const Field in = {"ig_intr_md_ingress_port", 5, 0};
    EXPECT_EQ(
        describe("l2DmacClassify", {in, {"outerEthHdr_dmacOui", 0x10000, 0x10000}, {"outerEthHdr_dmacStation", 0, 0}}),
        "Ingress Port 0x05 dmac 0100.0000.0000/0100.0000.0000 ");
    EXPECT_EQ(describe("l2DmacClassify",
                       {in, {"outerEthHdr_dmacOui", 0x180C2, 0xFFFFFF}, {"outerEthHdr_dmacStation", 0xE, 0xFFFFFF}}),
              "Ingress Port 0x05 dmac 0180.c200.000e ");
    EXPECT_EQ(describe("trapToCpu", {{"ingIpv4_dip", 0xE0000001, 0xFFFFFF00}}), "dip 224.0.0.1/24 ");

    p4_pd_velmar_switch_trapToCpu_match_spec_t key = {};
    const auto text = [&] {
        return written(
            [&](char* out) { return p4_pd_velmar_switch_trapToCpu_match_spec_stringify_for_counter(&key, out); });
    };
    key.ingIpv6_dip[0] = 0xFF;
    key.ingIpv6_dip[1] = key.ingIpv6_dip[15] = 2;
    EXPECT_EQ(text(), "");
    key.ingIpv6_dip_mask[0] = key.ingIpv6_dip_mask[1] = 0xFF;
    EXPECT_EQ(text(), "dip ff02::2/ffff:: ");
}

// All fields of the record are described. The record has them in another order than the key.
TEST(CounterDescriptions, PiecesStandInKeyOrder) {
    const auto full = [](const char* table) {
        const Bytes ones(catalog::key_layout(table_named(table)).record_size, 0xFF);
        return text_of(table + std::string("_match_spec_stringify_for_counter"), {word(ones.data())});
    };
    EXPECT_EQ(full("ingressPortDropCheck"), "Ingress Port 0x7f invalidTunnel illegalSmac illegalDmac "
                                            "outerHdrFlags & 0xff 0xf checksumErr ");
    EXPECT_EQ(full("finalDropControl"),
              "Ingress Port & 0xffff 0x7f PACL/RACL Drop+/Log  Ingress Port Drop - See ingressPortDropCount  dropSmac "
              "dropDmac invalidEgressPort samePortBridging pdpDrop routedMartian mlagPrune "
              "Invalid IP Version & 0xff 0x7 egrL2AintfUnresolved & 0xffffffff 0xfffff mcast_grp_a 0xffff Routed Drop  "
              "trapToCpu dropVgwpVxlan Datalink stpBlocked invalidVlan dot1xDrop copy_to_cpu stormControlDrop "
              "Ingress Port Drop - See ingressPortDropCount  bcast mcast ");
    EXPECT_EQ(full("egressPortDropCheck"), "Egress Port & 0xffff 0x7f stpBlocked invalidVlan wredDrop invalidVni "
                                           "ttl 0xff routed pktGen 0x1 ");
    EXPECT_EQ(full("trapToCpu"),
              "etherType 0xffff bcast mcast l4Attr & 0xff 0x7 srcPort 0xffff dstPort 0xffff ingVPort & 0xffff 0x3fff "
              "ingL3Aintf & 0xffff 0xfff L3DmacValid Ttl 0xff ARP opcode 0xffff IGMP snoop dip 255.255.255.255/32 "
              "protocol 0xff VXLAN flood decapType & 0xff 0x7 dip ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/ffff:ffff:"
              "ffff:ffff:ffff:ffff:ffff:ffff CPUinVLan cpuReasonCode 0xff ");
    EXPECT_EQ(
        describe("trapToCpu",
                 {{"ingMd_protocol", 17, 0xFF}, {"ingMd_dstPort", 0x43, 0xFFFF}, {"ingMd_etherType", 0x800, 0xFFFF}}),
        "IPv4 dstPort 0x0043 UDP ");
    EXPECT_EQ(describe("finalDropControl",
                       {{"ig_intr_md_ingress_port", 5, 0x7F}, {"haloResultRow1_bestResult", 0x38000, 0x38000}}),
              "Ingress Port 0x05 PACL/RACL Drop+/Log  ");
}

class CounterDescriptionsOfEntries : public LibraryTest {
protected:
    // By the table's name, by its handle, and what was read for both.
    std::string describe_entry(const catalog::Table& table, pd_entry entry) {
        const uint64_t wide_device = 0xABCDEF00 | device;
        calls();
        const std::string text =
            text_of(std::string(table.name) + "_stringify_counter_match_spec", {dirty(session), wide_device, entry});
        EXPECT_EQ(
            text_of("stringify_counter_matchspec", {dirty(session), wide_device, dirty(table.handle), dirty(entry)}),
            text);
        const std::vector<vl_model::Call> reads = calls_of("pipe_mgr_get_entry");
        EXPECT_EQ(reads.size(), 2u);
        for (const vl_model::Call& read : reads) {
            EXPECT_EQ(read.args[0], session);
            EXPECT_EQ(read.args[1], table.handle);
            EXPECT_EQ(read.args[2], all_pipes_word);
            EXPECT_EQ(read.args[3], entry);
            EXPECT_EQ(read.args[7], 1u) << "counters are the hardware's";
        }
        return text;
    }
};

TEST_F(CounterDescriptionsOfEntries, DefaultsReadAsClearedKeys) {
    for (const catalog::CounterWords& words : catalog::program.counter_words) {
        SCOPED_TRACE(words.table);
        const catalog::Table& table = table_named(words.table);
        pd_entry entry = 0;
        ASSERT_EQ(p4_pd_velmar_switch_entry_hdl_default(session, target, table.handle, &entry), 0u);
        EXPECT_EQ(describe_entry(table, entry), describe(words.table, {}));
        EXPECT_EQ(describe_entry(table, entry + 1000), "") << "no such entry";
    }
}

} // namespace
