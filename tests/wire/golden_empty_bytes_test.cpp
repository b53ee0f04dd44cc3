// The messages that own a byte vector: one that is counted but not written.
//
// Room: tests. Who owns the blocks behind a query is in query_test.cpp.
#include "tests/wire/golden_cases.h"

namespace golden {

using mesh_fib6::tools::kind;

static bool owns_bytes(const table_descriptor &table) {
  return std::any_of(table.fields.begin(), table.fields.end(), [](const auto &field) {
    return field.kind == kind::byte_vector ||
           (field.kind == kind::table && owns_bytes(*field.table));
  });
}

// A byte vector of length 0 whose pointer is not null, in the records "zero" and "full".
class EmptyBytes : public EachMessage {
protected:
  static constexpr uint32_t unwritten = 8;
  // What is written: the same bytes as without a byte vector.
  static constexpr const char *const images[] = {"zero", "full_without_bytes"};

  static guarded_record record_of(const char *image) {
    static uint8_t no_bytes[1];
    guarded_record record(*message().table, file().record_of(image));
    uint32_t changed = 0;
    for_each_vector(*message().table, record.get(), [&](const auto &field, auto &, void *in, bool) {
      if (field.kind != kind::byte_vector)
        return;
      EXPECT_EQ(field.count(in), 0U);
      field.set_vector(in, no_bytes, 0);
      ++changed;
    });
    EXPECT_EQ(changed, 1U);
    return record;
  }
};
INSTANTIATE_TEST_SUITE_P(EveryMessage, EmptyBytes,
                         testing::ValuesIn(messages_if([](const message_descriptor &message) {
                           return owns_bytes(*message.table);
                         })),
                         name_of);

TEST_P(EmptyBytes, AddEightBytesToTheSizeThatPackLeavesUntouched) {
  for (const char *const image : images) {
    SCOPED_TRACE(image);
    bytes expected = file().bytes_of(image);
    expected.insert(expected.end(), unwritten, 0xC7); // what packed() fills in before
    const auto size = static_cast<uint32_t>(expected.size());
    guarded_record record = record_of(image);
    EXPECT_EQ(packed(message(), record.get(), size), expected);
    EXPECT_EQ(packed(message(), record.get(), size + 64), expected);
  }
}

TEST_P(EmptyBytes, NeedTheEightBytesInTheBuffer) {
  for (const char *const image : images) {
    SCOPED_TRACE(image);
    const auto written = static_cast<uint32_t>(file().bytes_of(image).size());
    const uint32_t capacity = written + unwritten - 1;
    guarded_buffer buffer(capacity);
    uint32_t length = capacity;
    EXPECT_EQ(message().pack(record_of(image).get(), buffer.data(), &length), 0xFFFFFFFFU);
    EXPECT_EQ(length, capacity);
    EXPECT_EQ(buffer.bytes(), bytes(capacity));
  }
}

// New blocks of the fake OSAL are full of garbage: none of it may leave the process.
TEST_P(EmptyBytes, AreSentWithEightZeroBytesBehindThem) {
  for (const char *const image : images) {
    SCOPED_TRACE(image);
    bytes expected = file().bytes_of(image);
    expected.insert(expected.end(), unwritten, 0);
    guarded_record record = record_of(image);
    const auto *const first = static_cast<const uint8_t *>(record.get());
    bytes pair(first, first + message().record_size);
    pair.insert(pair.end(), first, first + message().record_size);
    const guarded_buffer records(pair);
    for (const uint32_t count : {1U, 2U}) {
      fake_mesh::reset();
      EXPECT_EQ(count == 1 ? message().sendsingle(9, records.data(), 0, 0)
                           : message().sendbatch(9, records.data(), count, 0),
                0U);
      const auto sends = fake_mesh::sends();
      ASSERT_EQ(sends.size(), 1U);
      ASSERT_EQ(sends.front().messages.size(), count);
      for (const fake_mesh::message &message : sends.front().messages)
        EXPECT_EQ(message.bytes, expected);
    }
  }
}

TEST_P(EmptyBytes, AreReceivedAsNone) {
  for (const char *const image : images) {
    SCOPED_TRACE(image);
    bytes wire = file().bytes_of(image);
    wire.insert(wire.end(), unwritten, 0xC7);
    const decoding decoded(message(), wire);
    EXPECT_TRUE(decoded.silent());
    expect_same_record(*message().table, file().record_of(image), decoded.memory());
  }
}

} // namespace golden
