// The vector operations that the codec is built on, against values stated by hand. They differ by
// processor; the codec relies on them meaning the same.
//
// Room: tests. Also compiled without the processor's own operations, where fewer exist.
#include "tests/support/guarded_buffer.h"
#include "wire/quick/lanes.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

using namespace mesh_fib6::wire;

namespace {

using sixteen = std::array<uint8_t, 16>;
using eight = std::array<uint16_t, 8>;

constexpr sixteen counted = {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17,
                             0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D, 0x1E, 0x1F};

lanes of(const sixteen &values) {
  return load_lanes(values.data());
}
sixteen from(lanes values) {
  sixteen result;
  memcpy(result.data(), &values, sizeof values);
  return result;
}

template <uint32_t Count>
void expect_first_loaded() {
  const guarded_buffer bytes(counted.data(), Count);
  sixteen expected{};
  for (uint32_t i = 0; i < Count; i++)
    expected[i] = static_cast<uint8_t>(0x10 + i);
  EXPECT_EQ(from(load_some_lanes<Count>(bytes.data())), expected) << Count;
}

TEST(Lanes, OfTheFirstBytesAreLoadedWithZerosBehindThemAndNothingElseIsRead) {
  [&]<uint32_t... Count>(std::integer_sequence<uint32_t, Count...>) {
    (expect_first_loaded<Count>(), ...);
  }
  (std::make_integer_sequence<uint32_t, 17>{});
}

template <uint32_t Count>
void expect_first_stored() {
  guarded_buffer exact(Count), wider(16 + 4);
  store_some_lanes<Count>(exact.data(), of(counted));
  store_some_lanes<Count>(wider.data() + 1, of(counted));
  std::vector<uint8_t> expected(20, 0);
  for (uint32_t i = 0; i < Count; i++) {
    expected[1 + i] = static_cast<uint8_t>(0x10 + i);
    EXPECT_EQ(exact.data()[i], 0x10 + i);
  }
  EXPECT_EQ(wider.bytes(), expected) << Count;
}

TEST(Lanes, OfTheFirstAConstantNumberIsStoredAndNothingElseIsWritten) {
  [&]<uint32_t... Count>(std::integer_sequence<uint32_t, Count...>) {
    (expect_first_stored<Count>(), ...);
  }
  (std::make_integer_sequence<uint32_t, 17>{});
}

TEST(Lanes, AreSetWhenAnyOfTheirBitsIs) {
  EXPECT_FALSE(any_set(lanes{}));
  EXPECT_FALSE(any_set(half_lanes{}));
  for (uint32_t bit = 0; bit < 128; bit++) {
    sixteen one{};
    one[bit / 8] = static_cast<uint8_t>(1 << bit % 8);
    EXPECT_TRUE(any_set(of(one))) << bit;
    EXPECT_TRUE(any_set(reinterpret_cast<half_lanes>(of(one)))) << bit;
  }
}

#ifdef MESH_FIB6_HAS_SHUFFLES

half_lanes halves_of(const eight &values) {
  return reinterpret_cast<half_lanes>(load_lanes(values.data()));
}
eight halves_from(half_lanes values) {
  eight result;
  memcpy(result.data(), &values, sizeof values);
  return result;
}

TEST(Lanes, AreShuffledAsTheControlSaysAndZeroWhereItNamesNone) {
  ASSERT_TRUE(has_shuffles);
  EXPECT_EQ(from(shuffled(of(counted), of({15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0}))),
            (sixteen{0x1F, 0x1E, 0x1D, 0x1C, 0x1B, 0x1A, 0x19, 0x18, 0x17, 0x16, 0x15, 0x14, 0x13,
                     0x12, 0x11, 0x10}));
  EXPECT_EQ(
      from(shuffled(of(counted), of({0, no_lane, 0, 15, no_lane, 8, 7, no_lane, 3, 3, 3, 3, no_lane,
                                     no_lane, no_lane, 1}))),
      (sixteen{0x10, 0, 0x10, 0x1F, 0, 0x18, 0x17, 0, 0x13, 0x13, 0x13, 0x13, 0, 0, 0, 0x11}));
}

// The reader adds the position of a byte in its scalar to a control, also to one of no lane.
TEST(Lanes, AreZeroForEveryControlThatHasTheBitOfNoLane) {
  for (uint32_t low = 0; low < 16; low++) {
    sixteen control;
    control.fill(static_cast<uint8_t>(no_lane + low));
    EXPECT_EQ(from(shuffled(of(counted), of(control))), sixteen{}) << low;
  }
}

TEST(Lanes, AreWidenedToHalvesAndOnlyEightAreRead) {
  const std::vector<uint8_t> values = {0, 1, 2, 0x7F, 0x80, 0xFE, 0xFF, 3};
  const guarded_buffer bytes(values);
  EXPECT_EQ(halves_from(widened(bytes.data())), (eight{0, 1, 2, 0x7F, 0x80, 0xFE, 0xFF, 3}));
}

TEST(Halves, AreKeptWhereTheirFlagIsNotZero) {
  const half_lanes values = halves_of({1, 2, 0x7FFF, 0x8000, 0xFFFF, 0xFFFE, 7, 8});
  EXPECT_EQ(halves_from(kept_where(halves_of({1, 0, 0x7FFF, 2, 0x100, 0, 0, 0x4000}), values)),
            (eight{1, 0, 0x7FFF, 0x8000, 0xFFFF, 0, 0, 8}));
  EXPECT_EQ(halves_from(kept_where(half_lanes{}, values)), eight{});
}

TEST(Lanes, AreSummedWithoutWrapping) {
  EXPECT_EQ(sum_of(lanes{}), 0U);
  EXPECT_EQ(sum_of(of(counted)), 376U); // 16 x 0x10 + 120
  sixteen largest;
  largest.fill(0xFF);
  EXPECT_EQ(sum_of(of(largest)), 4080U);
  for (uint32_t place = 0; place < 16; place++) {
    sixteen one{};
    one[place] = 200;
    EXPECT_EQ(sum_of(of(one)), 200U) << place;
  }
}

TEST(Lanes, OfTheFirstAsManyAsAskedForAreStoredAndNothingElseIsWritten) {
  for (size_t count = 0; count <= 16; count++) {
    std::vector<uint8_t> expected(count);
    for (size_t i = 0; i < count; i++)
      expected[i] = static_cast<uint8_t>(0x10 + i);
    guarded_buffer room(count);
    store_first_lanes(room.data(), of(counted), count);
    EXPECT_EQ(std::vector<uint8_t>(room.data(), room.data() + count), expected) << count;
  }
}

TEST(Lanes, AreAddedUpToTheLargestByteAndNoFarther) {
  const sixteen a = {0, 1, 0x7F, 0x80, 0x80, 0xFE, 0xFE, 0xFF, 0xFF, 0, 0xF0, 0x0F, 3, 4, 5, 6};
  const sixteen b = {0, 2, 0x7F, 0x7F, 0x80, 1, 2, 0, 1, 0xFF, 0x0F, 0xF0, 0xFD, 0xFB, 0xFA, 0xFA};
  EXPECT_EQ(from(capped_sum(of(a), of(b))), (sixteen{0, 3, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                     0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
}

// Lanes 3, 0 and 14 are marked, in that order; what the others hold does not matter.
TEST(Lanes, AreToldAsBitsWhereTheyAreMarked) {
  const lanes picks = of({3, 0, 14, no_lane, no_lane, no_lane, no_lane, no_lane, no_lane, no_lane,
                          no_lane, no_lane, no_lane, no_lane, no_lane, no_lane});
  const lanes weights = of({2, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 0});
  for (uint32_t set = 0; set < 8; set++) {
    sixteen flags{};
    flags[3] = (set & 1) != 0 ? 0xFF : 0;
    flags[0] = (set & 2) != 0 ? 0xFF : 0;
    flags[14] = (set & 4) != 0 ? 0xFF : 0;
    EXPECT_EQ(marked(of(flags), picks, weights), set);
    flags[1] = flags[15] = 0xFF;
    EXPECT_EQ(marked(of(flags), picks, weights), set);
  }
}

TEST(Lanes, AreToldAsBitsByWords) {
  for (uint32_t set = 0; set < 16; set++) {
    sixteen flags{};
    for (uint32_t i = 0; i < 16; i++)
      flags[i] = (set >> i / 4 & 1) != 0 ? 0xFF : 0;
    EXPECT_EQ(marked_words(of(flags)), set);
  }
}

#else

TEST(Lanes, AreNotClaimedToBeShuffledWhereTheProcessorsOperationsAreNotUsed) {
  EXPECT_FALSE(has_shuffles);
}

#endif

} // namespace
