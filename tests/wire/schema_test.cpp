// What refuses a schema or a message that is written down wrongly. The library asks at compile
// time, where a refusal cannot be tested; the questions are ordinary functions.
//
// Room: tests.
#include "transport/message.h"
#include "wire/format/schema.h"

#include <gtest/gtest.h>

namespace {

using namespace mesh_fib6;
using wire::kind;
using wire::detail::names_match;

template <uint32_t Slot>
using scalar = wire::field<kind::scalar, uint32_t, Slot, 0>;
template <uint32_t Slot>
using vector = wire::field<kind::table_vector, uint32_t, Slot, 0, 1, 0>;

TEST(SchemaNames, AreThoseOfTheSlots) {
  using two = wire::type_list<scalar<0>, scalar<1>>;
  EXPECT_TRUE(names_match("f0, f1", two{}));
  EXPECT_FALSE(names_match("f0, f2", two{}));
  EXPECT_FALSE(names_match("f1, f1", two{}));
  EXPECT_FALSE(names_match("f1, f0", two{}));
  EXPECT_FALSE(names_match("g0, f1", two{}));
  EXPECT_FALSE(names_match("f0", two{}));
  EXPECT_FALSE(names_match("f0x, f1", two{}));
  EXPECT_FALSE(names_match("f0, f1_count", two{}));
  EXPECT_FALSE(names_match("", two{}));
}

TEST(SchemaNames, HaveTwoDigitsFromSlotTenOn) {
  EXPECT_TRUE(names_match("f9, f10", wire::type_list<scalar<9>, scalar<10>>{}));
  EXPECT_TRUE(names_match("f19, f20", wire::type_list<scalar<19>, scalar<20>>{}));
  EXPECT_FALSE(names_match("f10", wire::type_list<scalar<11>>{}));
  EXPECT_FALSE(names_match("f20", wire::type_list<scalar<10>>{}));
  EXPECT_FALSE(names_match("f1", wire::type_list<scalar<10>>{}));
}

TEST(SchemaNames, OfAVectorAreItsCountsAndItsOwn) {
  using list = wire::type_list<scalar<0>, vector<1>>;
  EXPECT_TRUE(names_match("f0, f1_count, f1", list{}));
  EXPECT_FALSE(names_match("f0, f1, f1_count", list{}));
  EXPECT_FALSE(names_match("f0, f0_count, f1", list{}));
  EXPECT_FALSE(names_match("f0, f1_size, f1", list{}));
  EXPECT_FALSE(names_match("f0, f1_count, f2", list{}));
  EXPECT_FALSE(names_match("f0, f1", list{}));
}

TEST(MessageName, IsWhatStandsBehindTheNamespace) {
  EXPECT_EQ(transport::message_part("fib6_cfg_query", "fib6_cfg"), 9U);
  EXPECT_EQ(transport::message_part("fib6_cfg_query", "fib6"), 5U);
  EXPECT_EQ(transport::message_part("fib6_cfg_query", "fib7"), 0U);
  EXPECT_EQ(transport::message_part("fib6_cfg_query", "fib6_c"), 0U);
  EXPECT_EQ(transport::message_part("fib6", "fib6"), 0U);
  EXPECT_EQ(transport::message_part("fib6", "fib6_cfg"), 0U);
  EXPECT_EQ(transport::message_part("fibs_query", "fib6"), 0U);
}

// The test vectors of http://www.isthe.com/chongo/tech/comp/fnv/.
TEST(Fnv1a, GivesThePublishedHashes) {
  EXPECT_EQ(transport::fnv1a(""), 0x811C9DC5U);
  EXPECT_EQ(transport::fnv1a("a"), 0xE40C292CU);
  EXPECT_EQ(transport::fnv1a("foobar"), 0xBF9CF968U);
}

} // namespace
