// Every message against the bytes of its golden file, in both directions.
//
// Room: tests. That the files are what they should be is golden_files_test.cpp's affair.
#include "tests/wire/golden_cases.h"

namespace golden {

using mesh_fib6::tools::shape;

using Golden = EachMessage;
INSTANTIATE_TEST_SUITE_P(EveryMessage, Golden, testing::ValuesIn(messages()), name_of);

TEST_P(Golden, PackWritesExactlyTheseBytes) {
  for (const image &image : file().images()) {
    if (image.fixed)
      continue;
    SCOPED_TRACE(image.name);
    const swapped_unit swapped(send_unit(), image.byte_swap);
    const auto size = static_cast<uint32_t>(image.bytes.size());
    EXPECT_EQ(packed(message(), image.record, size), image.bytes);
    EXPECT_EQ(packed(message(), image.record, size + 1), image.bytes);
    EXPECT_EQ(packed(message(), image.record, size + 64), image.bytes);
  }
}

TEST_P(Golden, UnpackReadsTheRecordFromTheseBytes) {
  for (const image &image : file().images()) {
    SCOPED_TRACE(image.name);
    const decoding decoded(message(), image.bytes, {.byte_swap = image.byte_swap});
    EXPECT_TRUE(decoded.silent());
    expect_same_record(*message().table, image.record, decoded.memory());
  }
}

TEST_P(Golden, SendsingleHandsExactlyTheseBytesToTheMesh) {
  const bool sent_fixed = message().shape == shape::flat;
  for (const image &image : file().images()) {
    if (image.fixed != sent_fixed)
      continue;
    SCOPED_TRACE(image.name);
    const swapped_unit swapped(send_unit(), image.byte_swap);
    fake_mesh::reset();
    guarded_record record(*message().table, image.record);
    EXPECT_EQ(message().sendsingle(9, record.get(), 0, 0), 0U);
    const auto sends = fake_mesh::sends();
    ASSERT_EQ(sends.size(), 1U);
    ASSERT_EQ(sends.front().messages.size(), 1U);
    EXPECT_EQ(sends.front().messages.front().id, message().id);
    EXPECT_EQ(sends.front().messages.front().bytes, image.bytes);
  }
}

// Whatever a decode took is either in the record or has gone back: as many blocks as pointers.
static void expect_owned_or_given_back(const table_descriptor &table, decoding &decoded) {
  ptrdiff_t held = 0;
  for (const fake_osal::call &call : decoded.calls)
    held += call.kind == fake_osal::call_kind::free ? -1 : 1;
  if (!decoded.untouched())
    for_each_vector(table, decoded.memory(), [&held](const auto &field, auto &, void *in, bool) {
      if (field.pointer(in) != nullptr)
        --held;
    });
  EXPECT_EQ(held, 0);
}

TEST_P(Golden, NoPrefixOfTheseBytesIsReadBeyondItsEnd) {
  for (const image &image : file().images())
    for (size_t size = 0; size < image.bytes.size(); ++size) {
      SCOPED_TRACE(image.name + " cut to " + std::to_string(size));
      decoding decoded(message(), bytes(image.bytes.begin(),
                                        image.bytes.begin() + static_cast<ptrdiff_t>(size)));
      expect_owned_or_given_back(*message().table, decoded);
      // The last item is part of every image, so that no prefix holds the whole record.
      if (image.name == "full" && !decoded.calls.empty()) {
        EXPECT_EQ(decoded.calls.back().kind, fake_osal::call_kind::free);
      }
    }
}

TEST_P(Golden, AnySpoiledByteIsSurvived) {
  for (const char *const name : {"full", "full_fixed"}) {
    if (message().shape == shape::tree && std::string(name) == "full_fixed")
      continue;
    const bytes &sound = file().bytes_of(name);
    for (size_t at = 0; at < sound.size(); ++at)
      for (const uint8_t value :
           std::initializer_list<uint8_t>{0x00, 0x01, 0x03, 0x40, 0x7F, 0xFF}) {
        SCOPED_TRACE(std::string(name) + " with byte " + std::to_string(at) + " = " +
                     std::to_string(value));
        bytes spoiled = sound;
        spoiled[at] = value;
        decoding decoded(message(), spoiled);
        expect_owned_or_given_back(*message().table, decoded);
      }
  }
}

// Each under the name of the record that owns it, which is the message's for the root's own.
TEST_P(Golden, UnpackAsksForOneBlockPerVectorInMemberOrder) {
  for (const image &image : file().images()) {
    SCOPED_TRACE(image.name);
    std::vector<std::string> expected, asked;
    guarded_record record(*message().table, image.record);
    for_each_vector(*message().table, record.get(),
                    [&expected](const auto &field, const auto &owner, void *in, bool is_root) {
                      if (const uint32_t count = field.count(in); count != 0)
                        expected.push_back("alloc " + std::to_string(count * field.width) + " in " +
                                           owner.name + (is_root ? "_unpack" : "_unpack_non_root"));
                    });
    const decoding decoded(message(), image.bytes, {.byte_swap = image.byte_swap});
    for (const fake_osal::call &call : decoded.calls) {
      EXPECT_EQ(call.kind, fake_osal::call_kind::cache_alloc) << call;
      EXPECT_EQ(call.module, 12U);
      asked.push_back("alloc " + std::to_string(call.size) + " in " + call.caller);
    }
    EXPECT_EQ(asked, expected);
  }
}

} // namespace golden
