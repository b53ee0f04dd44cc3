// FlatBuffers reads what the library wrote.
//
// Room: tests.
#include "tests/interop/exchange.h"

#include <mesh_fib6/fib6.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace exchange;

class FlatBuffersReader : public Exchange {};

void expect_reads(const message_descriptor &message, const void *record, const bytes &buffer) {
  ASSERT_TRUE(flatbuffers_peer::verifies(message, buffer));
  const owned_record seen = flatbuffers_peer::read(message, buffer);
  EXPECT_EQ(random_record::difference(*message.table, record, seen.get()), "");
}

TEST_F(FlatBuffersReader, FindsEveryMemberOfAPackedRecord) {
  each_random_record([](const message_descriptor &message, const void *record, generator &,
                        uint32_t) { expect_reads(message, record, packed(message, record)); });
}

TEST_F(FlatBuffersReader, FindsEveryMemberOfASentRecord) {
  each_random_record(
      [](const message_descriptor &message, const void *record, generator &, uint32_t) {
        const bytes buffer = sent(message, record);
        if (message.shape == shape::flat) {
          EXPECT_EQ(buffer.size(), message.fixed_image_size);
        }
        expect_reads(message, record, buffer);
      });
}

TEST_F(FlatBuffersReader, FindsEveryMemberOfEachRecordOfABatch) {
  each_random_record([](const message_descriptor &message, const void *record, generator &random,
                        uint32_t round) {
    constexpr uint32_t count = 2;
    const owned_record other = random_record::make(*message.table, random, density_of(round));
    bytes records(size_t{count} * message.record_size);
    for (uint32_t i = 0; i < count; i++)
      memcpy(&records[size_t{i} * message.record_size], i == 1 ? other.get() : record,
             message.record_size);
    fake_mesh::reset();
    ASSERT_EQ(message.sendbatch(1, records.data(), count, 0), 0U);
    const auto sends = fake_mesh::sends();
    ASSERT_EQ(sends.size(), 1U);
    ASSERT_EQ(sends[0].messages.size(), count);
    for (uint32_t i = 0; i < count; i++)
      expect_reads(message, &records[size_t{i} * message.record_size], sends[0].messages[i].bytes);
  });
}

TEST_F(FlatBuffersReader, ReadsATableWhoseInlineSizeExceeds16Bits) {
  const message_descriptor &message = mesh_fib6::tools::modules[0].messages[0];
  owned_record record(*message.table);
  constexpr uint32_t count = 16400; // offset words alone take 65,600 bytes
  auto *const entries =
      static_cast<feiBrokerFib6_ipv6Fwd *>(record.add_block(count * sizeof(feiBrokerFib6_ipv6Fwd)));
  for (uint32_t i = 0; i < count; i++)
    entries[i].f0 = i;
  message.table->fields[1].set_vector(record.get(), entries, count);
  expect_reads(message, record.get(), packed(message, record.get()));
}

class FlatBuffersVerifier : public Exchange {};

// Every byte of such a record is referred to, so that the verifier must miss any.
TEST_F(FlatBuffersVerifier, RefusesAPackedRecordCutAnywhere) {
  for_each_message([](const message_descriptor &message) {
    SCOPED_TRACE(message.name);
    generator random(message.id);
    const owned_record record =
        random_record::make(*message.table, random, {.zero_percent = 0, .max_elements = 2});
    const bytes whole = packed(message, record.get());
    ASSERT_TRUE(flatbuffers_peer::verifies(message, whole));
    for (size_t size = 0; size < whole.size(); size++) {
      const bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
      ASSERT_FALSE(flatbuffers_peer::verifies(message, cut)) << size << " bytes";
    }
  });
}

// Which is why a peer has to turn the check off.
TEST_F(FlatBuffersVerifier, RefusesBothArrangementsWhenItChecksAlignment) {
  const message_descriptor &message = mesh_fib6::tools::modules[0].messages[18];
  ASSERT_STREQ(message.name, "feiBrokerFib6_dod_rule");
  generator random(1);
  const owned_record record = random_record::make(*message.table, random, {.zero_percent = 0});
  for (const bytes &buffer : {packed(message, record.get()), sent(message, record.get())}) {
    EXPECT_TRUE(flatbuffers_peer::verifies(message, buffer));
    EXPECT_FALSE(flatbuffers_peer::verifies(message, buffer, true));
  }
}

} // namespace
