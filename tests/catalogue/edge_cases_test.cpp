// Single messages at their edges: positions, counts and orders that a peer relies on, each said
// once with the numbers written out.
//
// Room: tests.
#include "tests/catalogue/every_message.h"
#include "tests/reference/navigation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace catalogue;

namespace {

#define ROW_OF(M) row_of(#M)

class EdgeCase : public EveryMessage {};

// Whether a decode of these bytes, at each alignment of the buffer, yields the record.
template <class M>
void expect_at_every_alignment(const message &message, const bytes &wire, const M &record) {
  for (size_t shift = 0; shift < 8; shift++) {
    bytes shifted(shift + wire.size());
    std::copy(wire.begin(), wire.end(), shifted.begin() + static_cast<ptrdiff_t>(shift));
    decoding decoded(message, shifted.data() + shift, static_cast<uint32_t>(wire.size()));
    EXPECT_EQ(std::memcmp(decoded.record(), &record, sizeof record), 0) << "shifted by " << shift;
  }
}

// ---- the layouts

TEST_F(EdgeCase, AMessageOfScalarsThatAreZeroIsAHeaderAndNothingElse) {
  const uint8_t zeros[32] = {};
  const auto expect_header = [&zeros](const message &message, uint32_t slots) {
    SCOPED_TRACE(message.name);
    wire_builder wire;
    wire.u32(4 + 4 + 2 * slots);
    const uint32_t vtable = wire.u16(4 + 2 * slots);
    wire.u16(4);
    wire.fill(2 * slots);
    wire.table(vtable);
    EXPECT_EQ(packed(message, zeros), wire.bytes());
  };
  expect_header(ROW_OF(feiBrokerFib6_lrClassDataMsg), 3);
  expect_header(ROW_OF(feiBrokerFib6_loadBalanceMode), 7);
  expect_header(ROW_OF(feiBrokerFib6_loadBalanceReverse), 3);
  expect_header(ROW_OF(feiBrokerFib6_dod_enable), 3);
  expect_header(ROW_OF(feiBrokerFib6_dod_aging), 6);
  expect_header(ROW_OF(feiBrokerFib6_special_ip), 4);
  expect_header(ROW_OF(fib6Sync_dod_aging), 6);
  expect_header(ROW_OF(fib6Sync_special_ip), 4);
  expect_header(ROW_OF(feiBrokerFib6_ipv6FwdUpdateMsg), 2); // 16 bytes: a scalar and a vector
}

TEST_F(EdgeCase, AWordBehindAByteStartsAtAnOddPositionOfThePackedTable) {
  fib6Sync_nhp6ExtUpdateMsg record{};
  record.f1.f5 = 0x11;
  record.f1.f6 = 0xA1B2C3D4;
  const wire_builder wire(packed(ROW_OF(fib6Sync_nhp6ExtUpdateMsg), &record));
  const uint32_t entry = image::target_of(wire, image::field_of(wire, image::root_of(wire), 1));
  EXPECT_EQ(image::entry_at(wire, entry, 5), 4U);
  EXPECT_EQ(image::entry_at(wire, entry, 6), 5U);
  EXPECT_EQ(wire.bytes().at(entry + 4), 0x11);
  EXPECT_EQ(wire.u32_at(entry + 5), 0xA1B2C3D4U);
  EXPECT_EQ(wire.here(), entry + 9) << "nothing is padded";
}

TEST_F(EdgeCase, ATableOfSeventeenBytesIsThreeZerosAwayFromItsVtable) {
  const feiBrokerFib6_loadBalanceMode record{1, 2, 3, 4, 5, 6, 7};
  const wire_builder wire(sent(ROW_OF(feiBrokerFib6_loadBalanceMode), &record));
  EXPECT_EQ(wire.here(), 48U);
  EXPECT_EQ(wire.u32_at(4), static_cast<uint32_t>(-20));
  EXPECT_EQ(bytes(wire.bytes().begin() + 16, wire.bytes().begin() + 24),
            (bytes{3, 4, 5, 6, 7, 0, 0, 0}));
  EXPECT_EQ(wire.u16_at(24), 18U);
  EXPECT_EQ(wire.u16_at(26), 17U);
  EXPECT_EQ(bytes(wire.bytes().begin() + 42, wire.bytes().end()), bytes(6, 0))
      << "the image ends at 42";
}

TEST_F(EdgeCase, TheHopLimitSettingReversedHasItsRootOffsetAndTheWordsOfItsAddressReversed) {
  fib6_cfg_cfg_ipv6_ttl_expired_forward record{1, 0, 64, 0, {}};
  const uint8_t address[16] = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  std::memcpy(record.f4, address, sizeof address);
  const bytes wire = packed(ROW_OF(fib6_cfg_cfg_ipv6_ttl_expired_forward), &record, 1);
  ASSERT_EQ(wire.size(), 54U);
  EXPECT_EQ(bytes(wire.begin(), wire.begin() + 4), (bytes{0x00, 0x00, 0x00, 0x12}));
  EXPECT_EQ(bytes(wire.end() - 16, wire.end()),
            (bytes{0xB8, 0x0D, 0x01, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}));
}

TEST_F(EdgeCase, WordsOfTheImageLieAtOddPositionsWhereBytesPrecedeThem) {
  fib6Sync_nhp6ExtUpdateMsg hop{};
  hop.f1.f6 = 0xA1B2C3D4;
  const bytes hop_image = sent(ROW_OF(fib6Sync_nhp6ExtUpdateMsg), &hop);
  EXPECT_EQ(wire_builder(hop_image).u32_at(61), 0xA1B2C3D4U);
  expect_at_every_alignment(ROW_OF(fib6Sync_nhp6ExtUpdateMsg), hop_image, hop);

  fib6Sync_srv6SrListUpdateMsg list{};
  list.f1.f5 = 0xE1F2;
  list.f1.f16 = 0x91827364;
  const bytes list_image = sent(ROW_OF(fib6Sync_srv6SrListUpdateMsg), &list);
  EXPECT_EQ(wire_builder(list_image).u16_at(55), 0xE1F2U);
  EXPECT_EQ(wire_builder(list_image).u32_at(297), 0x91827364U);
  expect_at_every_alignment(ROW_OF(fib6Sync_srv6SrListUpdateMsg), list_image, list);
}

TEST_F(EdgeCase, ADodRuleOfZerosIsSentInFullAndPackedWithoutItsScalars) {
  const uint8_t zeros[32] = {};
  for (const char *name : {"feiBrokerFib6_dod_rule", "fib6Sync_dod_rule"}) {
    SCOPED_TRACE(name);
    const bytes sent_image = sent(row_of(name), zeros);
    ASSERT_EQ(sent_image.size(), 64U);
    EXPECT_EQ(bytes(sent_image.begin() + 44, sent_image.begin() + 58),
              (bytes{14, 0, 39, 0, 4, 0, 6, 0, 10, 0, 14, 0, 38, 0}));
    EXPECT_EQ(bytes(sent_image.begin() + 58, sent_image.end()), bytes(6, 0));
    const wire_builder compact(packed(row_of(name), zeros));
    EXPECT_EQ(compact.here(), 4U + 14 + 4 + 4 + 4 + 16);
    for (const uint32_t slot : {0U, 1U, 2U, 4U})
      EXPECT_EQ(image::entry_at(compact, image::root_of(compact), slot), 0U) << "slot " << slot;
    EXPECT_EQ(image::entry_at(compact, image::root_of(compact), 3), 4U);
  }
}

TEST_F(EdgeCase, ANextHopUpdateOfTheLastKindOnlyHasSlotsZeroOneAndSeven) {
  feiBrokerFib6_nhp6Pp6ExtSrv6Te hop{};
  feiBrokerFib6_nhp6UpdateMsg record{};
  record.f7_count = 1;
  record.f7 = &hop;
  for (const uint32_t f0 : {0U, 7U}) {
    record.f0 = f0;
    const wire_builder wire(packed(ROW_OF(feiBrokerFib6_nhp6UpdateMsg), &record));
    const uint32_t root = image::root_of(wire);
    for (uint32_t slot = 0; slot < 8; slot++) {
      const bool present = slot == 1 || slot == 7 || (slot == 0 && f0 != 0);
      EXPECT_EQ(image::entry_at(wire, root, slot) != 0, present) << "slot " << slot;
    }
  }
}

TEST_F(EdgeCase, ANullArrayWithCountZeroLeavesItsSlotAbsent) {
  const feiBrokerFib6_ipv6FwdUpdateMsg record{0, 0, nullptr};
  const wire_builder wire(packed(ROW_OF(feiBrokerFib6_ipv6FwdUpdateMsg), &record));
  EXPECT_EQ(image::entry_at(wire, image::root_of(wire), 1), 0U);
}

// ---- decoding

TEST_F(EdgeCase, AServiceContextOfSevenWordsKeepsItsHeaderAndNoWord) {
  fib6Sync_svcCtxMsg record{{11, 12}, {1, 2, 3, 4, 5, 6, 7, 8}};
  const message &message = ROW_OF(fib6Sync_svcCtxMsg);
  for (const bytes &layout : {packed(message, &record), sent(message, &record)}) {
    wire_builder wire(layout);
    const uint32_t vector = image::target_of(wire, image::field_of(wire, image::root_of(wire), 1));
    wire.set_u32(vector, 7);
    const decoding decoded(message, wire.bytes());
    const fib6Sync_svcCtxMsg expected{{11, 12}, {}};
    EXPECT_EQ(std::memcmp(&decoded.as<fib6Sync_svcCtxMsg>(), &expected, sizeof expected), 0);
    EXPECT_TRUE(decoded.lines.empty());
  }
}

TEST_F(EdgeCase, EcmpSettingsWithABadModeLeaveTheReversalZero) {
  const fib6Sync_ecmpCfg record{1, 2, {3, 4, 5, 6, 7}, {8}};
  const message &message = ROW_OF(fib6Sync_ecmpCfg);
  wire_builder wire(sent(message, &record));
  const uint32_t word = image::field_of(wire, image::root_of(wire), 2);
  const decoding decoded(message, wire.refer(word, wire.here()).bytes());
  const auto &left = decoded.as<fib6Sync_ecmpCfg>();
  EXPECT_EQ(left.f0, 1U);
  EXPECT_EQ(left.f1, 2U);
  EXPECT_EQ(left.f2.f0, 0U);
  EXPECT_EQ(left.f3.f0, 0U);
}

TEST_F(EdgeCase, ADodAgingShorterThanFourBytesIsLeftAloneAndOneWithABadRootIsZeroed) {
  for (const char *name : {"feiBrokerFib6_dod_aging", "fib6Sync_dod_aging"}) {
    SCOPED_TRACE(name);
    const fib6Sync_dod_aging record{1, 2, 3, 4, 5, 6};
    wire_builder wire(sent(row_of(name), &record));
    EXPECT_TRUE(decoding(row_of(name), wire.bytes().data(), 3).untouched());
    EXPECT_TRUE(decoding(row_of(name), wire.set_u32(0, 3).bytes()).zeroed());
  }
}

TEST_F(EdgeCase, AHeaderWhoseVtableEndsBeforeItsSecondSlotLeavesThatZero) {
  size_t opened_by_a_header = 0;
  each([&opened_by_a_header](const message &message) {
    if (message.sub_tables().empty() || std::string(message.sub_tables()[0].name) != "fib6Sync_tlv")
      return;
    ++opened_by_a_header;
    std::vector<uint64_t> record(message.record_size / 8 + 1);
    const fib6Sync_tlv header{21, 22};
    std::memcpy(record.data(), &header, sizeof header);
    for (const bytes &layout : {packed(message, record.data()), sent(message, record.data())}) {
      wire_builder wire(layout);
      const uint32_t table = image::target_of(wire, image::field_of(wire, image::root_of(wire), 0));
      wire.set_u16(image::vtable_of(wire, table), 6);
      const decoding decoded(message, wire.bytes());
      EXPECT_EQ(decoded.as<fib6Sync_tlv>().f0, 21U);
      EXPECT_EQ(decoded.as<fib6Sync_tlv>().f1, 0U);
    }
  });
  EXPECT_EQ(opened_by_a_header, 23U);
}

} // namespace
