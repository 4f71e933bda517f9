// The exact bytes of keys and masks for each class of table: masks, prefixes, partitions, and bits beyond a field's
// width.
#include "support/library.h"

#include <cstring>

#include "codec/bytes.h"

namespace {

using namespace support;

class Encoding : public LibraryTest {
protected:
    // Looks an entry up, which sends its key. Whether the driver has the entry doesn't matter here.
    template <class Find, class Key>
    void expect_key(Find* find, const Key& record, const std::string& key, const std::string& mask, uint32_t priority,
                    unsigned bits, uint32_t partition = 0) {
        pd_entry entry;
        if constexpr (std::is_invocable_v<Find*, pd_session, pd_dev_tgt, const Key*, uint32_t, pd_entry*>)
            find(session, target, &record, priority, &entry);
        else
            find(session, target, &record, &entry);
        const vl_model::MatchCopy match = only_call().match.value();
        EXPECT_EQ(hex(match.key), key);
        EXPECT_EQ(hex(match.mask), mask);
        EXPECT_EQ(match.priority, priority);
        EXPECT_EQ(match.key_bits, bits);
        EXPECT_EQ(match.key_len, match.key.size());
        EXPECT_EQ(match.partition_index, partition);
        EXPECT_EQ(match.reserved, 0u);
    }
};

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

TEST_F(Encoding, ExactTables) {
    expect_key(p4_pd_velmar_switch_ipv4Host_match_spec_to_entry_hdl,
               p4_pd_velmar_switch_ipv4Host_match_spec_t{.l3Info_vrfId = 7, .ingIpv4_dip = 0x0A000001},
               "07 0a 00 00 01", "ff ff ff ff ff", 0, 40);
    // Bits beyond a field's width are sent, and an exact mask covers them.
    expect_key(p4_pd_velmar_switch_qosPortProperties_match_spec_to_entry_hdl,
               p4_pd_velmar_switch_qosPortProperties_match_spec_t{.ig_intr_md_ingress_port = 0x2FF}, "02 ff", "ff ff",
               0, 9);
    // The record holds a next hop in 32 bits, the key takes 16 of them.
    expect_key(p4_pd_velmar_switch_ecmpGroup_match_spec_to_entry_hdl,
               p4_pd_velmar_switch_ecmpGroup_match_spec_t{.l3_nextHop = 0xABCD0123}, "01 23", "ff ff", 0, 16);
    // Key order isn't record order: the low part of the VNI comes first in the key.
    expect_key(p4_pd_velmar_switch_vxlanVniResolution_match_spec_to_entry_hdl,
               p4_pd_velmar_switch_vxlanVniResolution_match_spec_t{
                   .ingMd_ingressVniHigh = 0x1122, .ingMd_ingressVniLow = 0x33, .ingMd_tunnelType = 5},
               "33 11 22 05", "ff ff ff ff", 0, 27);
}

TEST_F(Encoding, MaskedTables) {
    p4_pd_velmar_switch_l2LookupMiss_match_spec_t miss = {};
    miss.ig_intr_md_ingress_port = 0xFFFF;
    miss.ig_intr_md_ingress_port_mask = 0xFFFF; // cuts the key before it is cut to the field itself
    miss.egrMd_dmacOui = 0x112233;
    miss.egrMd_dmacOui_mask = 0xFF00FF;
    miss.egrMd_dmacStation = 0x99445566;
    miss.egrMd_dmacStation_mask = 0;
    expect_key(p4_pd_velmar_switch_l2LookupMiss_match_spec_to_entry_hdl, miss, "ff ff 11 00 33 00 00 00",
               "01 ff ff 00 ff 00 00 00", 1234, 57);

    p4_pd_velmar_switch_steerFlowDefault_match_spec_t steer = {};
    steer.velmarCpuHdr_valid = 0xFF; // a plain field: the key has the caller's byte, the mask the field's width
    steer.phase0_ingVPort = 0x3FFF;
    steer.phase0_ingVPort_mask = 0xFFFF;
    steer.ingMd_l2Control = 1;
    steer.ingMd_l2Control_mask = 0xFF;
    std::string zeros;
    for (int i = 0; i < 29; ++i)
        zeros += "00 ";
    expect_key(p4_pd_velmar_switch_steerFlowDefault_match_spec_to_entry_hdl, steer, "ff 3f ff " + zeros + "01",
               "01 3f ff " + zeros + "01", 1, 244);

    p4_pd_velmar_switch_trapToCpu_match_spec_t trap;
    std::memset(&trap, 0xFF, sizeof trap);
    trap.ingMd_igmpSnoopingEnabled = 1;
    for (uint8_t i = 0; i < 16; ++i) {
        trap.ingIpv6_dip[i] = static_cast<uint8_t>(0xA0 + i);
        trap.ingIpv6_dip_mask[i] = i % 2 ? 0xFF : 0x0F;
    }
    expect_key(p4_pd_velmar_switch_trapToCpu_match_spec_to_entry_hdl, trap,
               "ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff ff 01 ff ff ff ff ff ff ff "
               "00 a1 02 a3 04 a5 06 a7 08 a9 0a ab 0c ad 0e af ff ff",
               "ff ff 01 01 07 ff ff ff ff 3f ff 0f ff 01 ff 01 ff ff 01 ff ff ff ff ff 01 07 "
               "0f ff 0f ff 0f ff 0f ff 0f ff 0f ff 0f ff 0f ff 01 ff",
               0xFFFFFFFF, 287);
}

// The priority is the number of bits that the prefix leaves open. A length that is too long sends the whole key, and a
// priority that no prefix has.
TEST_F(Encoding, PrefixTables) {
    p4_pd_velmar_switch_ipv6Partition_match_spec_t v6 = {};
    v6.l3Info_vrfId = 3;
    const uint8_t address[16] = {1, 2, 3, 4, 5, 6, 7, 8, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
    std::memcpy(v6.ingIpv6_dip, address, sizeof address);
    const std::string high = "03 01 02 03 04 05 06 07 08 ", low = "11 22 33 44 55 66 77 88",
                      ones = "ff ff ff ff ff ff ff ff ", zeros = "00 00 00 00 00 00 00 00";
    const struct {
        uint16_t length;
        std::string key, mask;
        uint32_t priority;
    } cases[] = {
        {0, "03 " + zeros + " " + zeros, "ff " + zeros + " " + zeros, 128},
        {61, high + zeros, ones + "f8 " + zeros, 67},
        {64, high + zeros, ones + "ff " + zeros, 64},
        {127, high + low, ones + ones + "fe", 1},
        {128, high + low, ones + ones + "ff", 0},
        {129, high + low, ones + ones + "ff", 137},
        {0xFFFF, high + low, ones + ones + "ff", 137},
    };
    for (const auto& [length, key, mask, priority] : cases) {
        v6.ingIpv6_dip_prefix_length = length;
        expect_key(p4_pd_velmar_switch_ipv6Partition_match_spec_to_entry_hdl, v6, key, mask, priority, 136);
    }

    // The field's mask, which texts apply, has no part in the key.
    p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_t v4 = {
        .l3Info_vrfId = 1, .ingIpv4_dip = 0x0A0B0C0D, .ingIpv4_dip_prefix_length = 32};
    for (; v4.ingIpv4_dip_prefix_length <= 33; ++v4.ingIpv4_dip_prefix_length)
        expect_key(p4_pd_velmar_switch_ipv4ShortMaskLpm_match_spec_to_entry_hdl, v4, "01 0a 0b 0c 0d", "ff ff ff ff ff",
                   v4.ingIpv4_dip_prefix_length == 32 ? 0 : 41, 40);

    // A partition travels beside the key.
    p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_t resolve = {
        .fibV4ResultX_partIdx = 0x1234, .ingIpv4_dip = 0x0A010203, .ingIpv4_dip_prefix_length = 20};
    expect_key(p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_to_entry_hdl, resolve, "00 00 0a 01 00 00",
               "00 00 ff ff f0 00", 12, 48, 0x1234);
    resolve.ingIpv4_dip_prefix_length = 33;
    expect_key(p4_pd_velmar_switch_ipv4FinalResolve0_match_spec_to_entry_hdl, resolve, "00 00 0a 01 02 03",
               "ff ff ff ff ff ff", 49, 48, 0x1234);
    p4_pd_velmar_switch_ipv6FinalResolve_match_spec_t resolve6 = {};
    resolve6.ingIpv6_fibPartitionIndex = 0xFFFF;
    resolve6.ingIpv6_dip_prefix_length = 129;
    expect_key(p4_pd_velmar_switch_ipv6FinalResolve_match_spec_to_entry_hdl, resolve6, "00 00 " + zeros + " " + zeros,
               "ff ff " + ones + "ff ff ff ff ff ff ff ff", 145, 144, 0xFFFF);
}

} // namespace
