// The query messages of module fib6_cfg against their reviewed bytes, in both directions, and the
// byte vector that is counted but not written.
//
// Room: tests. Who owns the blocks behind a query is in query_test.cpp.
#include "tests/wire/golden_checks.h"
#include "tests/wire/golden_records_cfg.h"

namespace golden_checks {

// Not the blocks: the byte vector's bears its own record's name, not the message's.
[[maybe_unused]] static const bool added = add_golden<query_messages>("Query");

// A byte vector of length 0 whose pointer is not null, in the records "zero" and "full".
template <class M>
class EmptyBytes {
protected:
  using op = operations<M>;
  static constexpr uint32_t unwritten = 8;

  struct empty_bytes {
    std::string image; // what is written: the same bytes as without a byte vector
    M record;
  };

  static std::vector<empty_bytes> records() {
    std::vector<empty_bytes> list;
    for (const auto &image : golden_records::images<M>())
      if (image.name == "zero" || image.name == "full_without_bytes") {
        list.push_back({image.name, {}});
        std::memcpy(&list.back().record, image.record, sizeof(M));
        set_bytes(list.back().record, no_bytes_, 0);
      }
    EXPECT_EQ(list.size(), 2U);
    return list;
  }

private:
  static inline uint8_t no_bytes_[1];
};
using EmptyBytes_messages = query_messages;

MESSAGE_TEST(EmptyBytes, AddEightBytesToTheSizeThatPackLeavesUntouched) {
  bind_units<TypeParam>();
  const auto file = file_of<TypeParam>();
  for (const auto &each : this->records()) {
    SCOPED_TRACE(each.image);
    std::vector<uint8_t> expected = annotated::bytes_of(file, each.image);
    expected.insert(expected.end(), TestFixture::unwritten, 0xC7); // what packed() fills in before
    const auto size = static_cast<uint32_t>(expected.size());
    EXPECT_EQ(packed(each.record, size), expected);
    EXPECT_EQ(packed(each.record, size + 64), expected);
  }
}

MESSAGE_TEST(EmptyBytes, NeedTheEightBytesInTheBuffer) {
  bind_units<TypeParam>();
  const auto file = file_of<TypeParam>();
  for (const auto &each : this->records()) {
    SCOPED_TRACE(each.image);
    const auto written = static_cast<uint32_t>(annotated::bytes_of(file, each.image).size());
    const uint32_t capacity = written + TestFixture::unwritten - 1;
    guarded_buffer buffer(capacity);
    uint32_t length = capacity;
    EXPECT_EQ(TestFixture::op::pack(&each.record, buffer.data(), &length), 0xFFFFFFFFU);
    EXPECT_EQ(length, capacity);
    EXPECT_EQ(buffer.bytes(), std::vector<uint8_t>(capacity));
  }
}

// New blocks of the fake OSAL are full of garbage: none of it may leave the process.
MESSAGE_TEST(EmptyBytes, AreSentWithEightZeroBytesBehindThem) {
  bind_units<TypeParam>();
  const auto file = file_of<TypeParam>();
  for (const auto &each : this->records()) {
    SCOPED_TRACE(each.image);
    std::vector<uint8_t> expected = annotated::bytes_of(file, each.image);
    expected.insert(expected.end(), TestFixture::unwritten, 0);
    const TypeParam pair[] = {each.record, each.record};
    for (const uint32_t count : {1U, 2U}) {
      fake_mesh::reset();
      EXPECT_EQ(count == 1 ? TestFixture::op::sendsingle(9, pair, 0, 0)
                           : TestFixture::op::sendbatch(9, pair, count, 0),
                0U);
      const auto sends = fake_mesh::sends();
      ASSERT_EQ(sends.size(), 1U);
      ASSERT_EQ(sends.front().messages.size(), count);
      for (const fake_mesh::message &message : sends.front().messages)
        EXPECT_EQ(message.bytes, expected);
    }
  }
}

MESSAGE_TEST(EmptyBytes, AreReceivedAsNone) {
  const auto file = file_of<TypeParam>();
  for (const auto &image : golden_records::images<TypeParam>()) {
    if (image.name != "zero" && image.name != "full_without_bytes")
      continue;
    SCOPED_TRACE(image.name);
    std::vector<uint8_t> wire = annotated::bytes_of(file, image.name);
    wire.insert(wire.end(), TestFixture::unwritten, 0xC7);
    const decoding<TypeParam> decoded(wire);
    EXPECT_TRUE(decoded.silent());
    expect_same_record(*image.record, decoded.record);
  }
}

} // namespace golden_checks
