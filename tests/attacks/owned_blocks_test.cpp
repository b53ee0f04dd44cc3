// The blocks that decoding asks for, written by hand for messages of each kind.
//
// Room: tests.
#include "tests/attacks/owned_blocks.h"

#include <iterator>

using namespace attacks;

namespace {

struct expected_block {
  const char *message;
  uint32_t slot;                // of the root
  uint32_t element_size;        // of the record; 1 for a vector of bytes
  const char *holder = nullptr; // the embedded record that owns it instead of the message
};

// In the order in which a decode asks for them.
constexpr expected_block expected_blocks[] = {
    {"feiBrokerFib6_ipv6FwdUpdateMsg", 1, 56},
    {"feiBrokerFib6_ipv6FwdDelMsg", 1, 28},
    {"feiBrokerFib6_nhp6GroupUpdateMsg", 2, 40},
    {"feiBrokerFib6_nhp6GroupDelMsg", 1, 8},
    {"feiBrokerFib6_nhp6UpdateMsg", 2, 48},
    {"feiBrokerFib6_nhp6UpdateMsg", 3, 28},
    {"feiBrokerFib6_nhp6UpdateMsg", 4, 20},
    {"feiBrokerFib6_nhp6UpdateMsg", 5, 60},
    {"feiBrokerFib6_nhp6UpdateMsg", 6, 72},
    {"feiBrokerFib6_nhp6UpdateMsg", 7, 44},
    {"feiBrokerFib6_nhp6DelMsg", 1, 4},
    {"feiBrokerFib6_srv6SrListUpdateMsg", 1, 184},
    {"feiBrokerFib6_srv6SrListDelMsg", 1, 16},
    {"feiBrokerFib6_ipv6PathMtuUpdateMsg", 1, 32},
    {"feiBrokerFib6_ipv6PathMtuDelMsg", 1, 24},
    {"fib6_cfg_query_fib6_key", 0, 1, "fib6_cfg_query_comm_param"},
    {"fib6_cfg_query_fib6_rec", 0, 1, "fib6_cfg_query_comm_rec"},
    {"fib6_cfg_query_fib6_rec", 1, 136},
    {"fib6_cfg_query_dfx_key", 0, 1, "fib6_cfg_query_comm_param"},
    {"fib6_cfg_query_dfx_rec", 0, 1, "fib6_cfg_query_comm_rec"},
    {"fib6_cfg_query_dfx_rec", 1, 160},
    {"fib6_cfg_query_fib6check_key", 0, 1, "fib6_cfg_query_comm_param"},
    {"fib6_cfg_query_fib6check_rec", 0, 1, "fib6_cfg_query_comm_rec"},
};

TEST(OwnedBlocks, OfAMessageAreThoseOfItsVectorsInTheOrderOfTheMembers) {
  for (size_t i = 0; i < std::size(expected_blocks);) {
    const message &message = catalogue::row_of(expected_blocks[i].message);
    SCOPED_TRACE(message.name);
    for (const owned_block &block : blocks_of(message)) {
      ASSERT_LT(i, std::size(expected_blocks));
      const expected_block &expected = expected_blocks[i++];
      ASSERT_STREQ(expected.message, message.name);
      EXPECT_EQ(block.slot(), expected.slot);
      EXPECT_EQ(block.element_size(), expected.element_size);
      EXPECT_EQ(block.is_embedded(), expected.holder != nullptr);
      EXPECT_STREQ(block.owner->name,
                   expected.holder != nullptr ? expected.holder : expected.message);
    }
  }
}

TEST(OwnedBlocks, AreOwnedByEveryTreeMessageAndNoOther) {
  catalogue::for_each_message([](const message &message, const catalogue::module_row &) {
    EXPECT_EQ(!blocks_of(message).empty(), message.is_tree());
  });
}

struct expected_wrap {
  uint32_t element_size;
  wrapping_count at;
};

constexpr expected_wrap expected_wraps[] = {
    {16, {268435456, 0}},                         //
    {20, {214748365, 4}},                         //
    {24, {178956971, 8}},                         //
    {28, {153391690, 24}}, {28, {460175068, 16}}, // the latter leaves 3 * 2^32
    {32, {134217728, 0}},                         //
    {40, {107374183, 24}}, {40, {214748365, 8}},  // 2 * 2^32
    {44, {97612894, 40}},  {44, {488064466, 24}}, // 5 * 2^32
    {48, {89478486, 32}},  {48, {268435456, 0}},  // 3 * 2^32
    {56, {76695845, 24}},  {56, {383479223, 8}},  // 5 * 2^32
    {60, {71582789, 44}},  {60, {501079518, 8}},  // 7 * 2^32
    {72, {59652324, 32}},  {72, {417566265, 8}},  // 7 * 2^32
    {136, {31580642, 16}}, {136, {284225777, 8}}, // 9 * 2^32
    {160, {26843546, 64}}, {160, {134217728, 0}}, // 5 * 2^32
    {184, {23342214, 80}}, {184, {163395495, 8}}, // 7 * 2^32
};

TEST(OwnedBlocks, WrapAtTheseCounts) {
  for (size_t i = 0; i < std::size(expected_wraps);) {
    const uint32_t size = expected_wraps[i].element_size;
    std::vector<wrapping_count> expected;
    for (; i < std::size(expected_wraps) && expected_wraps[i].element_size == size; i++)
      expected.push_back(expected_wraps[i].at);
    EXPECT_TRUE(wrapping_counts(size) == expected) << size;
  }
  for (const uint32_t size : {1U, 4U, 8U})
    EXPECT_TRUE(wrapping_counts(size).empty()) << size;
}

} // namespace
