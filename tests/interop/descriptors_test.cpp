// The descriptors against the compiler's own view of some records, and against themselves.
//
// Room: tests.
#include "tools/descriptors.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using namespace mesh_fib6::tools;

std::string text_of(const field_descriptor &field) {
  std::string text = field.name;
  for (const uint32_t number : {static_cast<uint32_t>(field.kind), field.slot, field.offset,
                                field.width, field.length, field.count_offset})
    text += " " + std::to_string(number);
  return text + (field.table == nullptr ? "" : std::string(" ") + field.table->name);
}

std::string expected(const char *name, kind kind, uint32_t slot, size_t offset, size_t width,
                     size_t length = 1, size_t count_offset = 0, const char *table = "") {
  std::string text = name;
  for (const size_t number :
       {static_cast<size_t>(kind), size_t{slot}, offset, width, length, count_offset})
    text += " " + std::to_string(number);
  return text + (*table == 0 ? "" : std::string(" ") + table);
}

template <class Record>
std::string field_text(uint32_t slot) {
  return text_of(described<Record>::table.fields[slot]);
}

TEST(Descriptors, DescribeEachKindOfMember) {
  using param = fib6_cfg_query_comm_param;
  EXPECT_EQ(field_text<param>(1), expected("f1", kind::scalar, 1, offsetof(param, f1), 4));
  EXPECT_EQ(field_text<param>(2), expected("f2", kind::byte_vector, 2, offsetof(param, f2), 1, 1,
                                           offsetof(param, f2_count)));
  using item = fib6_cfg_query_fib6_item;
  EXPECT_EQ(field_text<item>(8), expected("f8", kind::scalar, 8, offsetof(item, f8), 1));
  EXPECT_EQ(field_text<item>(16), expected("f16", kind::bytes, 16, offsetof(item, f16), 1, 8));
  EXPECT_EQ(field_text<item>(20), expected("f20", kind::words, 20, offsetof(item, f20), 4, 4));
  using condition = fib6_cfg_query_fib6_cond;
  EXPECT_EQ(field_text<condition>(7), expected("f7", kind::scalar, 7, offsetof(condition, f7), 2));
  using group = feiBrokerFib6_nhp6GroupUpdateMsg;
  EXPECT_EQ(field_text<group>(1),
            expected("f1", kind::table, 1, offsetof(group, f1), sizeof(feiBrokerFib6_nhp6Group), 1,
                     0, "feiBrokerFib6_nhp6Group"));
  EXPECT_EQ(field_text<group>(2),
            expected("f2", kind::table_vector, 2, offsetof(group, f2),
                     sizeof(feiBrokerFib6_nhp6GroupNode), 1, offsetof(group, f2_count),
                     "feiBrokerFib6_nhp6GroupNode"));
}

TEST(Descriptors, ListEveryMessageOnceByNameAndIdentifier) {
  std::set<std::string> names;
  std::set<uint32_t> ids;
  for_each_message([&](const message_descriptor &message) {
    EXPECT_TRUE(names.insert(message.name).second) << message.name;
    EXPECT_TRUE(ids.insert(message.id).second) << message.name;
    EXPECT_EQ(std::string(message.wire_namespace) + "_" + message.message, message.name);
    EXPECT_STREQ(message.table->name, message.name);
  });
}

TEST(Descriptors, StateTheSizesOfATreeAndOfAFlatMessage) {
  const message_descriptor &tree = modules[0].messages[0];
  EXPECT_STREQ(tree.name, "feiBrokerFib6_ipv6FwdUpdateMsg");
  EXPECT_EQ(tree.id, 0x5026A923U);
  EXPECT_EQ(tree.shape, shape::tree);
  EXPECT_EQ(tree.record_size, 16U);
  EXPECT_EQ(tree.fixed_image_size, 0U);
  EXPECT_EQ(tree.base_size, 16U);

  const message_descriptor &flat = modules[1].messages[4];
  EXPECT_STREQ(flat.name, "fib6_cfg_cfg_ipv6_ttl_expired_forward");
  EXPECT_EQ(flat.id, 0x863B570CU);
  EXPECT_EQ(flat.shape, shape::flat);
  EXPECT_EQ(flat.record_size, 32U);
  EXPECT_EQ(flat.fixed_image_size, 64U);
  EXPECT_EQ(flat.base_size, 46U);
}

TEST(Descriptors, LeadToTheOperationsOfTheirMessage) {
  for_each_message([](const message_descriptor &message) {
    SCOPED_TRACE(message.name);
    // With no record every unpack only tells how long one is.
    EXPECT_EQ(message.unpack(nullptr, 0, nullptr), message.record_size);
    EXPECT_EQ(message.sendmsg(0, nullptr, 0), 0xFFFFFFFFU);
    EXPECT_EQ(message.sendtomsg(0, nullptr, 0, 0), 0xFFFFFFFFU);
  });
}

} // namespace
