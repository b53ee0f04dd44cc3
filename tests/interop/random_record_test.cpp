// The generator and the comparison that other tests rely on.
//
// Room: tests.
#include "tests/support/random_record.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace mesh_fib6::tools;
using random_record::difference;
using random_record::generator;
using random_record::owned_record;

const table_descriptor &query = described<fib6_cfg_query_fib6_rec>::table;

owned_record full_query(uint64_t seed) {
  generator random(seed);
  owned_record record = random_record::make(query, random, {.zero_percent = 0});
  const field_descriptor &items = query.fields[1];
  if (items.count(record.get()) < 2) // both are needed below
    items.set_vector(record.get(), record.add_block(2 * items.width), 2);
  return record;
}

TEST(RandomRecord, IsTheSameForTheSameSeedAndAnotherForAnother) {
  EXPECT_EQ(difference(query, full_query(1).get(), full_query(1).get()), "");
  EXPECT_NE(difference(query, full_query(1).get(), full_query(2).get()), "");
}

// The numbers were worked out by a program of its own from the generator's published algorithm.
TEST(RandomRecord, IsTheSameOnEveryArchitecture) {
  generator random(2024);
  const owned_record record =
      random_record::make(described<feiBrokerFib6_dod_rule>::table, random, {.zero_percent = 0});
  const auto &rule = *static_cast<const feiBrokerFib6_dod_rule *>(record.get());
  EXPECT_EQ(rule.f0, 0xFFFDU);
  EXPECT_EQ(rule.f1, 1U);
  EXPECT_EQ(rule.f2, 0xFFFFFFFDU);
  EXPECT_EQ(rule.f3[0], 3U);
  EXPECT_EQ(rule.f3[1], 0xFFFFFFFFU);
  EXPECT_EQ(rule.f3[2], 0x7FFFFFFFU);
  EXPECT_EQ(rule.f3[3], 2U);
  EXPECT_EQ(rule.f4, 1U);
}

TEST(RandomRecord, WithoutValuesIsZero) {
  for_each_message([](const message_descriptor &message) {
    SCOPED_TRACE(message.name);
    generator random(1);
    const owned_record record = random_record::make(*message.table, random, {.zero_percent = 100});
    EXPECT_TRUE(random_record::is_zero(*message.table, record.get()));
  });
}

TEST(RandomRecord, WithoutZerosHasAValueInEveryScalar) {
  for_each_message([](const message_descriptor &message) {
    SCOPED_TRACE(message.name);
    generator random(1);
    const owned_record record = random_record::make(*message.table, random, {.zero_percent = 0});
    for (const field_descriptor &field : message.table->fields)
      if (field.kind == kind::scalar) {
        EXPECT_NE(field.number(record.get()), 0U) << field.name;
      }
  });
}

// A record of the query's answer, twice the same, and what is then found to differ.
template <class Change>
std::string after(Change change) {
  const owned_record expected = full_query(7);
  owned_record actual = full_query(7);
  change(*static_cast<fib6_cfg_query_fib6_rec *>(actual.get()));
  return difference(query, expected.get(), actual.get());
}

TEST(Difference, NamesTheMember) {
  EXPECT_EQ(after([](fib6_cfg_query_fib6_rec &) {}), "");
  EXPECT_TRUE(after([](auto &record) { record.f0.f1++; }).starts_with("f0.f1: expected 0x"));
  EXPECT_TRUE(after([](auto &record) { record.f1[1].f20[3]++; }).starts_with("f1[1].f20[3]: "));
  EXPECT_TRUE(after([](auto &record) { record.f1[0].f16[7]++; }).starts_with("f1[0].f16[7]: "));
  EXPECT_TRUE(after([](auto &record) { record.f0.f3[0]++; }).starts_with("f0.f3[0]: "));
}

TEST(Difference, NamesAVectorOfAnotherLengthOrWithoutPointer) {
  EXPECT_TRUE(after([](auto &record) { record.f1_count--; }).starts_with("f1_count: expected"));
  EXPECT_TRUE(after([](auto &record) { record.f0.f3_count = 0; }).starts_with("f0.f3_count: "));
  EXPECT_NE(after([](auto &record) { record.f1 = nullptr; }).find("no pointer"), std::string::npos);
}

// Every scalar of every record, each changed alone, is noticed.
TEST(Difference, MissesNoMemberOfAnyRecord) {
  for_each_message([](const message_descriptor &message) {
    for (const field_descriptor &field : message.table->fields) {
      if (field.is_vector() || field.kind == kind::table)
        continue;
      for (uint32_t i = 0; i < field.length; i++) {
        const owned_record expected(*message.table);
        owned_record actual(*message.table);
        field.set_number(actual.get(), 1, i);
        EXPECT_NE(difference(*message.table, expected.get(), actual.get()), "")
            << message.name << ' ' << field.name;
      }
    }
  });
}

} // namespace
