// What packing promises beyond the reviewed bytes: sizes, presence, size queries, failures.
//
// Room: tests.
#include "tests/support/fake_osal.h"
#include "tests/support/guarded_buffer.h"
#include "tests/wire/golden.h"
#include "tests/wire/log_expectation.h"
#include "tests/wire/operations.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr uint32_t failed = 0xFFFFFFFF;
constexpr uint8_t canary = 0xC7;

// Asks for the encoded size with a null buffer and all the capacity there is.
template <class M>
uint32_t size_of(const M &record) {
  uint32_t length = UINT32_MAX;
  EXPECT_EQ(operations<M>::pack(&record, nullptr, &length), 0U);
  return length;
}

// A root of one scalar and one vector, holding one zero element of type E.
template <class M>
uint32_t size_with_one_zero_element() {
  return size_of(golden::record_of<M>("zero_elements"));
}

TEST(EncodedSize, OfARouteUpdateWithoutEntriesIsItsBase) {
  EXPECT_EQ(size_of(feiBrokerFib6_ipv6FwdUpdateMsg{}), 16U);
}

TEST(EncodedSize, OfARouteUpdateWithOneZeroEntryIs92) {
  feiBrokerFib6_ipv6Fwd entry{};
  EXPECT_EQ(size_of(feiBrokerFib6_ipv6FwdUpdateMsg{.f0 = 1, .f1_count = 1, .f1 = &entry}), 92U);
}

TEST(EncodedSize, OfTwoNextHopKeysOneOfThemZeroIs60) {
  feiBrokerFib6_nhp6Key keys[2] = {{.f0 = 0}, {.f0 = 1}};
  EXPECT_EQ(size_of(feiBrokerFib6_nhp6DelMsg{.f0 = 7, .f1_count = 2, .f1 = keys}), 60U);
}

TEST(EncodedSize, OfAZeroGroupUpdateIs40) {
  EXPECT_EQ(size_of(feiBrokerFib6_nhp6GroupUpdateMsg{}), 40U);
}

TEST(EncodedSize, OfAZeroNextHopUpdateIs84) {
  EXPECT_EQ(size_of(feiBrokerFib6_nhp6UpdateMsg{}), 84U);
}

TEST(EncodedSize, OfOneZeroSegmentListIs310) {
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_srv6SrListUpdateMsg>(), 310U);
}

TEST(EncodedSize, OfTheHopLimitSettingRunsFrom46To62) {
  fib6_cfg_cfg_ipv6_ttl_expired_forward record{};
  EXPECT_EQ(size_of(record), 46U);
  record.f0 = 1;
  EXPECT_EQ(size_of(record), 50U);
  record.f2 = 1;
  EXPECT_EQ(size_of(record), 54U);
  record.f1 = 1;
  EXPECT_EQ(size_of(record), 58U);
  record.f3 = 1;
  EXPECT_EQ(size_of(record), 62U);
  record.f4[0] = record.f4[3] = 1;
  EXPECT_EQ(size_of(record), 62U) << "an array takes its place whatever it holds";
}

TEST(EncodedSize, OfAZeroProcessStateIs34) {
  EXPECT_EQ(size_of(feiBrokerFib6_pidStateMsg{}), 34U);
}

TEST(EncodedSize, CountsEveryElementTableWithItsBase) {
  constexpr uint32_t around = 16 + 8 + 4; // root, offset word and count, one element offset
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_ipv6FwdUpdateMsg>(), around + 60);
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_ipv6FwdDelMsg>(), around + 53);
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_nhp6GroupDelMsg>(), around + 12);
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_nhp6DelMsg>(), around + 10);
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_srv6SrListUpdateMsg>(), around + 282);
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_srv6SrListDelMsg>(), around + 16);
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_ipv6PathMtuUpdateMsg>(), around + 42);
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_ipv6PathMtuDelMsg>(), around + 38);
  EXPECT_EQ(size_with_one_zero_element<feiBrokerFib6_nhp6GroupUpdateMsg>(), 40U + 8 + 4 + 28);
}

TEST(EncodedSize, CountsEveryNextHopKindWithItsBase) {
  constexpr uint32_t around = 84 + 8 + 4;
  feiBrokerFib6_nhp6Std std_hop{};
  feiBrokerFib6_nhp6Ext ext{};
  feiBrokerFib6_nhp6Vpn vpn{};
  feiBrokerFib6_nhp6Vxlan vxlan{};
  feiBrokerFib6_nhp6VpnSid sid{};
  feiBrokerFib6_nhp6Pp6ExtSrv6Te te{};
  feiBrokerFib6_nhp6UpdateMsg record{};
  const auto size_with = [&record](uint32_t &count, auto *&array, auto *element) {
    count = 1;
    array = element;
    const uint32_t size = size_of(record);
    count = 0;
    array = nullptr;
    return size;
  };
  EXPECT_EQ(size_with(record.f2_count, record.f2, &std_hop), around + 50);
  EXPECT_EQ(size_with(record.f3_count, record.f3, &ext), around + 35);
  EXPECT_EQ(size_with(record.f4_count, record.f4, &vpn), around + 18);
  EXPECT_EQ(size_with(record.f5_count, record.f5, &vxlan), around + 83);
  EXPECT_EQ(size_with(record.f6_count, record.f6, &sid), around + 104);
  EXPECT_EQ(size_with(record.f7_count, record.f7, &te), around + 50);
}

TEST(EncodedSize, GrowsByTheWidthOfEachScalarThatIsNotZero) {
  feiBrokerFib6_ipv6Fwd entry{};
  const feiBrokerFib6_ipv6FwdUpdateMsg record{.f0 = 0, .f1_count = 1, .f1 = &entry};
  const uint32_t base = size_of(record);
  const auto growth = [&](auto &member) {
    const uint32_t before = size_of(record);
    member = 1;
    return size_of(record) - before;
  };
  EXPECT_EQ(base, 88U);
  EXPECT_EQ(growth(entry.f0), 4U);
  EXPECT_EQ(growth(entry.f1), 4U);
  EXPECT_EQ(growth(entry.f2), 4U);
  EXPECT_EQ(growth(entry.f3[0]), 0U);
  EXPECT_EQ(growth(entry.f4), 1U);
  EXPECT_EQ(growth(entry.f5), 1U);
  EXPECT_EQ(growth(entry.f6), 2U);
  EXPECT_EQ(growth(entry.f7), 4U);
  EXPECT_EQ(growth(entry.f8), 4U);
  EXPECT_EQ(growth(entry.f9), 4U);
  EXPECT_EQ(growth(entry.f10), 4U);
  EXPECT_EQ(growth(entry.f11), 2U);
  EXPECT_EQ(growth(entry.f12), 2U);
  EXPECT_EQ(growth(entry.f13), 4U);
}

TEST(EncodedSize, TakesAScalarForPresentWhicheverOfItsBytesIsSet) {
  for (uint32_t bit = 0; bit < 32; ++bit)
    EXPECT_EQ(size_of(feiBrokerFib6_nhp6DelMsg{.f0 = 1U << bit, .f1_count = 0, .f1 = nullptr}), 20U)
        << "bit " << bit;
  feiBrokerFib6_srv6SrListKey key{};
  const feiBrokerFib6_srv6SrListDelMsg record{.f0 = 0, .f1_count = 1, .f1 = &key};
  for (uint32_t bit = 0; bit < 16; ++bit) {
    key.f3 = static_cast<uint16_t>(1U << bit);
    EXPECT_EQ(size_of(record), 46U) << "bit " << bit;
  }
}

TEST(EncodedSize, IsTheSumOverElementsThatAllDiffer) {
  feiBrokerFib6_nhp6GroupKey keys[64]{};
  uint32_t expected = 16 + 8;
  for (uint32_t i = 0; i < 64; ++i) {
    keys[i].f0 = i & 1;
    keys[i].f1 = i & 4;
    expected += 4 + 12 + ((i & 1) != 0 ? 4 : 0) + ((i & 4) != 0 ? 4 : 0);
  }
  EXPECT_EQ(size_of(feiBrokerFib6_nhp6GroupDelMsg{.f0 = 0, .f1_count = 64, .f1 = keys}), expected);
}

// A record of six vectors over the same zero memory, enough to bring the total near 2^32 with a
// fraction of the memory that the elements would take.
class HugeNextHopUpdate : public testing::Test {
protected:
  // Per element of each of the six vectors: its offset word and its table.
  static constexpr uint32_t per_std = 54, per_ext = 39, per_vpn = 22, per_vxlan = 87, per_sid = 108,
                            per_te = 54;
  static constexpr uint32_t per_round = per_std + per_ext + per_vpn + per_vxlan + per_sid + per_te;
  static constexpr uint32_t base = 84 + 6 * 8;

  // Fills the record so that its size is 2^32 - 1, and binds the units: what is common is measured
  // fast enough for this.
  HugeNextHopUpdate() : memory_(size_t{UINT32_MAX / per_round + 32} * 72) {
    const uint32_t rounds = (UINT32_MAX - base) / per_round;
    uint32_t rest = (UINT32_MAX - base) % per_round;
    record_.f2_count = record_.f3_count = record_.f5_count = record_.f6_count = record_.f7_count =
        rounds;
    record_.f4_count = rounds + rest / per_vpn;
    rest %= per_vpn;
    record_.f2 = elements<feiBrokerFib6_nhp6Std>();
    record_.f3 = elements<feiBrokerFib6_nhp6Ext>();
    record_.f4 = elements<feiBrokerFib6_nhp6Vpn>();
    record_.f5 = elements<feiBrokerFib6_nhp6Vxlan>();
    record_.f6 = elements<feiBrokerFib6_nhp6VpnSid>();
    record_.f7 = elements<feiBrokerFib6_nhp6Pp6ExtSrv6Te>();
    // At most 21 bytes are left to the scalars of the embedded record.
    for (uint32_t *member :
         {&record_.f1.f0, &record_.f1.f1, &record_.f1.f2, &record_.f1.f3, &record_.f1.f8})
      if (rest >= 4) {
        *member = 1;
        rest -= 4;
      }
    if (rest >= 2) {
      record_.f1.f5 = 1;
      rest -= 2;
    }
    if (rest >= 1)
      record_.f1.f6 = 1;
    bind_units<feiBrokerFib6_nhp6UpdateMsg>();
  }

  // 72 is a multiple of every element's alignment, so the memory's head is aligned for all.
  template <class E>
  E *elements() {
    return reinterpret_cast<E *>(memory_.data());
  }

  guarded_buffer memory_;
  feiBrokerFib6_nhp6UpdateMsg record_{};
};

TEST_F(HugeNextHopUpdate, OfExactlyTheLargest32BitSizeIsStillSized) {
  EXPECT_EQ(size_of(record_), UINT32_MAX);
}

TEST_F(HugeNextHopUpdate, OfOneByteMoreFailsWithoutALine) {
  record_.f1.f7 = 1;
  fake_osal::reset();
  uint32_t length = UINT32_MAX - 1;
  EXPECT_EQ(feiBrokerFib6_nhp6UpdateMsg__pack(&record_, nullptr, &length), failed);
  EXPECT_EQ(length, UINT32_MAX - 1);
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

TEST_F(HugeNextHopUpdate, WhoseSizeWrapsToASmallOneFails) {
  record_.f1.f7 = 1;
  record_.f0 = 1;
  record_.f1.f9 = 1;
  std::vector<uint8_t> buffer(256, canary);
  uint32_t length = 256;
  EXPECT_EQ(feiBrokerFib6_nhp6UpdateMsg__pack(&record_, buffer.data(), &length), failed);
  EXPECT_EQ(length, 256U);
  EXPECT_EQ(buffer, std::vector<uint8_t>(256, canary));
}

TEST(Presence, AVectorOfNoElementsIsLeftOutWhateverItsPointer) {
  feiBrokerFib6_ipv6Fwd entry{.f0 = 1,
                              .f1 = 0,
                              .f2 = 0,
                              .f3 = {},
                              .f4 = 0,
                              .f5 = 0,
                              .f6 = 0,
                              .f7 = 0,
                              .f8 = 0,
                              .f9 = 0,
                              .f10 = 0,
                              .f11 = 0,
                              .f12 = 0,
                              .f13 = 0};
  for (feiBrokerFib6_ipv6Fwd *array : {static_cast<feiBrokerFib6_ipv6Fwd *>(nullptr), &entry}) {
    const feiBrokerFib6_ipv6FwdUpdateMsg record{.f0 = 0, .f1_count = 0, .f1 = array};
    guarded_buffer buffer(std::vector<uint8_t>(16, canary));
    uint32_t length = 16;
    ASSERT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__pack(&record, buffer.data(), &length), 0U);
    EXPECT_EQ(length, 16U);
    EXPECT_EQ(buffer.bytes(),
              (std::vector<uint8_t>{12, 0, 0, 0, 8, 0, 4, 0, 0, 0, 0, 0, 8, 0, 0, 0}));
  }
}

template <class M>
class Pack {
protected:
  using op = operations<M>;
  Pack() {
    bind_units<M>();
    fake_osal::reset();
  }

  // The record of the message's image "full".
  static const M &full() { return golden::record_of<M>("full"); }
};
using Pack_messages = all_messages;

MESSAGE_TEST(Pack, WithoutABufferStoresTheSizeAndLogsTheParameters) {
  const uint32_t size = size_of(this->full());
  for (const uint32_t capacity : {size, size + 1, uint32_t{0x80000000}, UINT32_MAX}) {
    fake_osal::reset();
    uint32_t length = capacity;
    EXPECT_EQ(TestFixture::op::pack(&this->full(), nullptr, &length), 0U);
    EXPECT_EQ(length, size);
    expect_one_line(fake_osal::log_lines(), std::string(TestFixture::op::name) + "_pack",
                    log_format::pack_parameters,
                    "[VARKO]:Param invalid(null, " + std::to_string(capacity) + ", nonNull)");
  }
}

MESSAGE_TEST(Pack, WithoutABufferAndOneByteTooFewFailsSilently) {
  const uint32_t size = size_of(this->full());
  for (const uint32_t capacity : {size - 1, uint32_t{4}, uint32_t{3}, uint32_t{0}}) {
    fake_osal::reset();
    uint32_t length = capacity;
    EXPECT_EQ(TestFixture::op::pack(&this->full(), nullptr, &length), failed);
    EXPECT_EQ(length, capacity);
    EXPECT_TRUE(fake_osal::log_lines().empty());
  }
}

MESSAGE_TEST(Pack, IntoOneByteTooFewFailsSilentlyAndWritesNothing) {
  const uint32_t size = size_of(this->full());
  fake_osal::reset();
  for (uint32_t capacity = 0; capacity < size; ++capacity) {
    std::vector<uint8_t> buffer(size, canary);
    uint32_t length = capacity;
    ASSERT_EQ(TestFixture::op::pack(&this->full(), buffer.data(), &length), failed);
    ASSERT_EQ(length, capacity);
    ASSERT_EQ(buffer, std::vector<uint8_t>(size, canary));
  }
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

MESSAGE_TEST(Pack, OfANullRecordFailsSilentlyAndWritesNothing) {
  std::vector<uint8_t> buffer(64, canary);
  for (uint8_t *target : {buffer.data(), static_cast<uint8_t *>(nullptr)}) {
    uint32_t length = 64;
    EXPECT_EQ(TestFixture::op::pack(nullptr, target, &length), failed);
    EXPECT_EQ(length, 64U);
  }
  EXPECT_EQ(buffer, std::vector<uint8_t>(64, canary));
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

MESSAGE_TEST(Pack, AllocatesNothingAndLogsNothingWhenItSucceeds) {
  std::vector<uint8_t> buffer(2048);
  uint32_t length = 2048;
  EXPECT_EQ(TestFixture::op::pack(&this->full(), buffer.data(), &length), 0U);
  EXPECT_TRUE(fake_osal::calls().empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

MESSAGE_TEST(Pack, OverwritesWhateverTheBufferHeld) {
  const uint32_t size = size_of(this->full());
  guarded_buffer clean(std::vector<uint8_t>(size, 0x00)), dirty(std::vector<uint8_t>(size, 0xFF));
  uint32_t clean_length = size, dirty_length = size;
  EXPECT_EQ(TestFixture::op::pack(&this->full(), clean.data(), &clean_length), 0U);
  EXPECT_EQ(TestFixture::op::pack(&this->full(), dirty.data(), &dirty_length), 0U);
  EXPECT_EQ(clean.bytes(), dirty.bytes());
}

MESSAGE_TEST(Pack, LeavesTheRecordAsItIs) {
  TypeParam before;
  std::memcpy(&before, &this->full(), sizeof before);
  std::vector<uint8_t> buffer(2048);
  uint32_t length = 2048;
  EXPECT_EQ(TestFixture::op::pack(&this->full(), buffer.data(), &length), 0U);
  EXPECT_EQ(std::memcmp(&before, &this->full(), sizeof before), 0);
}

MESSAGE_TEST(Pack, BindsTheSendUnitsCacheSideWhichClearsTheByteOrder) {
  mesh_fib6::runtime::unit &unit = units_of<TypeParam>().send;
  unit.runtime.cache_bound = 0;
  std::vector<uint8_t> bound(2048), unbound(2048);
  uint32_t unbound_length = 2048, bound_length = 2048;
  unit.byte_swap = 1;
  EXPECT_EQ(TestFixture::op::pack(&this->full(), unbound.data(), &unbound_length), 0U);
  EXPECT_EQ(unit.runtime.cache_bound, 1U);
  EXPECT_EQ(unit.byte_swap, 0U);
  EXPECT_EQ(TestFixture::op::pack(&this->full(), bound.data(), &bound_length), 0U);
  EXPECT_EQ(unbound, bound);
}

MESSAGE_TEST(Pack, SwappedKeepsTheSizeAndChangesTheBytes) {
  const uint32_t size = size_of(this->full());
  guarded_buffer plain_buffer(size), swapped_buffer(size);
  uint32_t length = size;
  EXPECT_EQ(TestFixture::op::pack(&this->full(), plain_buffer.data(), &length), 0U);
  const swapped_unit unit(units_of<TypeParam>().send, 1);
  EXPECT_EQ(TestFixture::op::pack(&this->full(), swapped_buffer.data(), &length), 0U);
  const std::vector<uint8_t> plain = plain_buffer.bytes();
  std::vector<uint8_t> swapped = swapped_buffer.bytes();
  EXPECT_EQ(length, size);
  EXPECT_NE(plain, swapped);
  std::reverse(swapped.begin(), swapped.begin() + 4);
  EXPECT_TRUE(std::equal(swapped.begin(), swapped.begin() + 4, plain.begin()));
}

// Every subset of present scalars lies where the widths before it put it.
TEST(Presence, EverySubsetOfScalarsIsPackedWithoutGaps) {
  feiBrokerFib6_nhp6Ext hop{};
  feiBrokerFib6_nhp6UpdateMsg record{};
  record.f3_count = 1;
  record.f3 = &hop;
  for (uint32_t mask = 0; mask < 128; ++mask) {
    SCOPED_TRACE(mask);
    uint32_t *const words[] = {&hop.f0, &hop.f1, &hop.f2, &hop.f3, &hop.f4, &hop.f5};
    for (uint32_t i = 0; i < 6; ++i)
      *words[i] = (mask >> i & 1) != 0 ? 0xAABBCC00 + i : 0;
    hop.f6 = static_cast<uint8_t>((mask >> 6 & 1) != 0 ? 0x66 : 0);

    std::vector<uint8_t> expected{};
    std::vector<uint8_t> scalars;
    std::vector<uint8_t> slots;
    const auto slot = [&slots](size_t position) {
      slots.push_back(static_cast<uint8_t>(position));
      slots.push_back(0);
    };
    for (uint32_t i = 0; i < 6; ++i) {
      slot(*words[i] != 0 ? 4 + scalars.size() : 0);
      if (*words[i] != 0)
        scalars.insert(scalars.end(), {static_cast<uint8_t>(i), 0xCC, 0xBB, 0xAA});
    }
    slot(hop.f6 != 0 ? 4 + scalars.size() : 0);
    if (hop.f6 != 0)
      scalars.push_back(0x66);
    slot(4 + scalars.size());
    const auto table_size = static_cast<uint8_t>(4 + scalars.size() + 4 + 4 + 3);
    expected = {20, 0, table_size, 0};
    expected.insert(expected.end(), slots.begin(), slots.end());
    expected.insert(expected.end(), {20, 0, 0, 0});
    expected.insert(expected.end(), scalars.begin(), scalars.end());
    expected.insert(expected.end(), {4, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0});

    std::vector<uint8_t> bytes(256, canary);
    uint32_t length = 256;
    ASSERT_EQ(feiBrokerFib6_nhp6UpdateMsg__pack(&record, bytes.data(), &length), 0U);
    ASSERT_EQ(length, 84U + 8 + 4 + expected.size());
    bytes.resize(length);
    EXPECT_TRUE(std::equal(expected.rbegin(), expected.rend(), bytes.rbegin()));
  }
}

} // namespace
