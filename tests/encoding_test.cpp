// The bytes that reach the driver, exactly, for each class of table: what the encoders do with values, masks, prefixes,
// partitions and bits beyond a field's width.
#include "support/library.h"

#include <cstring>

#include "codec/bytes.h"

namespace {

using support::hex;
using support::target;
using vl_model::MatchCopy;

class Encoding : public support::LibraryTest {
protected:
    // The match record of the one call that was made. Whether the driver took it doesn't matter here.
    MatchCopy sent() {
        return only_call().match.value_or(MatchCopy{});
    }
};

void expect_key(const MatchCopy& match, const char* key, const char* mask, uint32_t priority, unsigned bits) {
    EXPECT_EQ(hex(match.key), key);
    EXPECT_EQ(hex(match.mask), mask);
    EXPECT_EQ(match.priority, priority);
    EXPECT_EQ(match.key_bits, bits);
    EXPECT_EQ(match.key_len, match.key.size());
    EXPECT_EQ(match.reserved, 0u);
}

TEST(Bytes, StoreAndLoadAreInverseAndBigEndian) {
    const auto check = []<unsigned size>(uint32_t value) {
        uint8_t bytes[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
        vl_pd::bytes::store_big_endian<size>(bytes, value);
        for (unsigned i = 0; i < size; ++i)
            ASSERT_EQ(bytes[i], static_cast<uint8_t>(value >> (8 * (size - 1 - i)))) << value;
        ASSERT_EQ(bytes[size], 0xEE);
        ASSERT_EQ(vl_pd::bytes::load_big_endian<size>(bytes),
                  size == 4 ? value : value & ((1u << (8 * size % 32)) - 1));
    };
    for (uint32_t value = 0; value <= 0x10100; ++value) {
        check.operator()<1>(value);
        check.operator()<2>(value);
        check.operator()<3>(value * 251);
        check.operator()<4>(value * 65521);
    }
}

TEST_F(Encoding, ExactTable) {
    p4_pd_velmar_switch_ipv4Host_match_spec_t key = {.l3Info_vrfId = 7, .ingIpv4_dip = 0x0A000001};
    pd_entry entry;
    p4_pd_velmar_switch_ipv4Host_match_spec_to_entry_hdl(session, target, &key, &entry);
    expect_key(sent(), "07 0a 00 00 01", "ff ff ff ff ff", 0, 40);

    // Bits beyond a field's width travel, and an exact mask covers even the bits that no value has.
    p4_pd_velmar_switch_qosPortProperties_match_spec_t port = {.ig_intr_md_ingress_port = 0x2FF};
    p4_pd_velmar_switch_qosPortProperties_match_spec_to_entry_hdl(session, target, &port, &entry);
    expect_key(sent(), "02 ff", "ff ff", 0, 9);

    // The record holds a next hop in 32 bits, the key takes 16 of them.
    p4_pd_velmar_switch_ecmpGroup_match_spec_t hop = {.l3_nextHop = 0xABCD0123};
    p4_pd_velmar_switch_ecmpGroup_match_spec_to_entry_hdl(session, target, &hop, &entry);
    expect_key(sent(), "01 23", "ff ff", 0, 16);

    // Key order isn't record order: the low part of the VNI comes first in the key.
    p4_pd_velmar_switch_vxlanVniResolution_match_spec_t vni = {
        .ingMd_ingressVniHigh = 0x1122, .ingMd_ingressVniLow = 0x33, .ingMd_tunnelType = 5};
    p4_pd_velmar_switch_vxlanVniResolution_match_spec_to_entry_hdl(session, target, &vni, &entry);
    expect_key(sent(), "33 11 22 05", "ff ff ff ff", 0, 27);
}

TEST_F(Encoding, MaskedTableCutsTheKeyBeforeTheMaskIsTrimmed) {
    p4_pd_velmar_switch_l2LookupMiss_match_spec_t key = {};
    key.ig_intr_md_ingress_port = 0xFFFF;
    key.ig_intr_md_ingress_port_mask = 0xFFFF;
    key.egrMd_dmacOui = 0x112233;
    key.egrMd_dmacOui_mask = 0xFF00FF;
    key.egrMd_dmacStation = 0x99445566; // bits above the field never reach the key: it takes three bytes
    key.egrMd_dmacStation_mask = 0;
    pd_entry entry;
    p4_pd_velmar_switch_l2LookupMiss_match_spec_to_entry_hdl(session, target, &key, 1234, &entry);
    expect_key(sent(), "ff ff 11 00 33 00 00 00", "01 ff ff 00 ff 00 00 00", 1234, 57);
}

TEST_F(Encoding, PlainFieldsOfAMaskedTable) {
    p4_pd_velmar_switch_steerFlowDefault_match_spec_t key = {};
    key.velmarCpuHdr_valid = 0xFF; // a plain field: the key has the caller's byte, the mask the field's width
    key.phase0_ingVPort = 0x3FFF;
    key.phase0_ingVPort_mask = 0xFFFF;
    key.ingMd_l2Control = 1;
    key.ingMd_l2Control_mask = 0xFF;
    p4_pd_velmar_switch_steerFlowDefault_table_delete_by_match_spec(session, target, &key, 1);
    const MatchCopy match = sent();
    EXPECT_EQ(match.key_bits, 244);
    ASSERT_EQ(match.key.size(), 33u);
    EXPECT_EQ(hex({match.key.begin(), match.key.begin() + 3}), "ff 3f ff");
    EXPECT_EQ(hex({match.mask.begin(), match.mask.begin() + 3}), "01 3f ff");
    EXPECT_EQ(match.key[32], 1);
    EXPECT_EQ(match.mask[32], 1);
}

TEST_F(Encoding, WideMaskedTable) {
    p4_pd_velmar_switch_trapToCpu_match_spec_t key;
    std::memset(&key, 0xFF, sizeof key);
    key.ingMd_igmpSnoopingEnabled = 1;
    for (uint8_t i = 0; i < 16; ++i) {
        key.ingIpv6_dip[i] = static_cast<uint8_t>(0xA0 + i);
        key.ingIpv6_dip_mask[i] = i % 2 ? 0xFF : 0x0F;
    }
    p4_pd_velmar_switch_trapToCpu_table_delete_by_match_spec(session, target, &key, 0xFFFFFFFF);
    expect_key(sent(),
               "ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff 01 ff ff ff ff ff ff ff "
               "00 a1 02 a3 04 a5 06 a7 08 a9 0a ab 0c ad 0e af ff ff",
               "ff ff 01 01 07 ff ff ff ff 3f ff 0f ff 01 ff 01 ff ff 01 ff ff ff ff ff 01 07 "
               "0f ff 0f ff 0f ff 0f ff 0f ff 0f ff 0f ff 0f ff 01 ff",
               0xFFFFFFFF, 287);
}

TEST_F(Encoding, PrefixTable) {
    p4_pd_velmar_switch_ipv6Partition_match_spec_t key = {};
    key.l3Info_vrfId = 3;
    const uint8_t address[16] = {1, 2, 3, 4, 5, 6, 7, 8, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
    std::memcpy(key.ingIpv6_dip, address, sizeof address);
    const std::string whole = "03 01 02 03 04 05 06 07 08 11 22 33 44 55 66 77 88";
    const std::string ones = "ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff";
    const struct {
        uint16_t length;
        std::string key;
        std::string mask;
        uint32_t priority;
    } cases[] = {
        {61, "03 01 02 03 04 05 06 07 08 00 00 00 00 00 00 00 00", "ff ff ff ff ff ff ff ff f8 00 00 00 00 00 00 00 00",
         67},
        {128, whole, ones, 0},
        {127, whole, "ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff fe", 1},
        {64, "03 01 02 03 04 05 06 07 08 00 00 00 00 00 00 00 00", "ff ff ff ff ff ff ff ff ff 00 00 00 00 00 00 00 00",
         64},
        {0, "03 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00", "ff 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
         128},
        {129, whole, ones, 137},
        {0xFFFF, whole, ones, 137},
    };
    for (const auto& expected : cases) {
        key.ingIpv6_dip_prefix_length = expected.length;
        p4_pd_velmar_switch_ipv6Partition_table_delete_by_match_spec(session, target, &key);
        expect_key(sent(), expected.key.c_str(), expected.mask.c_str(), expected.priority, 136);
    }

    p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_t v4 = {
        .l3Info_vrfId = 1, .ingIpv4_dip = 0x0A0B0C0D, .ingIpv4_dip_prefix_length = 33};
    p4_pd_velmar_switch_ipv4ShortMaskLpm_table_delete_by_match_spec(session, target, &v4);
    expect_key(sent(), "01 0a 0b 0c 0d", "ff ff ff ff ff", 41, 40);
    // The mask that readers look through has no part in the key.
    v4.ingIpv4_dip_prefix_length = 32;
    p4_pd_velmar_switch_ipv4ShortMaskLpm_table_delete_by_match_spec(session, target, &v4);
    expect_key(sent(), "01 0a 0b 0c 0d", "ff ff ff ff ff", 0, 40);
}

TEST_F(Encoding, PartitionTable) {
    p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t key = {
        .fibV4ResultX_partIdx = 0x1234, .ingIpv4_dip = 0x0A010203, .ingIpv4_dip_prefix_length = 20};
    p4_pd_velmar_switch_ipv4FinalResolve0_table_delete_by_match_spec(session, target, &key);
    MatchCopy match = sent();
    expect_key(match, "00 00 0a 01 00 00", "00 00 ff ff f0 00", 12, 48);
    EXPECT_EQ(match.partition_index, 0x1234u);

    key.ingIpv4_dip_prefix_length = 33;
    p4_pd_velmar_switch_ipv4FinalResolve0_table_delete_by_match_spec(session, target, &key);
    match = sent();
    expect_key(match, "00 00 0a 01 02 03", "ff ff ff ff ff ff", 49, 48);
    EXPECT_EQ(match.partition_index, 0x1234u);

    p4_pd_velmar_switch_ipv6FinalResolve_match_spec_t v6 = {};
    v6.ingIpv6_fibPartitionIndex = 0xFFFF;
    v6.ingIpv6_dip_prefix_length = 129;
    p4_pd_velmar_switch_ipv6FinalResolve_table_delete_by_match_spec(session, target, &v6);
    match = sent();
    EXPECT_EQ(match.priority, 145u);
    EXPECT_EQ(match.key_bits, 144);
    EXPECT_EQ(match.partition_index, 0xFFFFu);
}

} // namespace
