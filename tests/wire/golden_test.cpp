// Each message against its reviewed bytes, in both directions.
//
// Room: tests. The bytes come from tests/golden, the records from golden_records.h; neither was
// ever produced by the library.
#include "tests/support/annotated.h"
#include "tests/support/fake_mesh.h"
#include "tests/wire/decoding.h"
#include "tests/wire/golden_records.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using golden_records::image_of;
using golden_records::layout;

template <class M>
std::vector<annotated::image> file_of() {
  return annotated::load(std::string(MESH_FIB6_GOLDEN_DIR "/") + operations<M>::name + ".txt");
}

// Encodes into exactly `capacity` bytes that end at an inaccessible page and stand between canaries
// as far as they are not written. Returns the written part.
template <class M>
std::vector<uint8_t> packed(const M &record, uint32_t capacity) {
  constexpr uint8_t canary = 0xC7;
  guarded_buffer buffer(std::vector<uint8_t>(capacity, canary));
  uint32_t length = capacity;
  EXPECT_EQ(operations<M>::pack(&record, buffer.data(), &length), 0U);
  std::vector<uint8_t> bytes = buffer.bytes();
  EXPECT_LE(length, capacity);
  length = std::min(length, capacity);
  EXPECT_TRUE(std::all_of(bytes.begin() + length, bytes.end(), [](uint8_t byte) {
    return byte == canary;
  })) << "written beyond the encoded size";
  bytes.resize(length);
  return bytes;
}

// Both records member for member, arrays compared by what they hold.
template <class M>
void expect_same_record(const M &expected, const M &actual) {
  M expected_root, actual_root;
  std::memcpy(&expected_root, &expected, sizeof(M));
  std::memcpy(&actual_root, &actual, sizeof(M));
  std::vector<std::vector<uint8_t>> expected_arrays;
  const auto take = [](std::vector<std::vector<uint8_t>> &arrays) {
    return [&arrays]<class E>(uint32_t &count, E *&array) {
      EXPECT_EQ(count == 0, array == nullptr);
      const auto *bytes = reinterpret_cast<const uint8_t *>(array);
      arrays.emplace_back(bytes, bytes + (array == nullptr ? 0 : count * sizeof(E)));
      array = nullptr;
    };
  };
  std::vector<std::vector<uint8_t>> actual_arrays;
  for_each_vector(expected_root, take(expected_arrays));
  for_each_vector(actual_root, take(actual_arrays));
  EXPECT_EQ(expected_arrays, actual_arrays);
  EXPECT_EQ(std::memcmp(&expected_root, &actual_root, sizeof(M)), 0) << "the root record differs";
}

template <class M>
class Golden : public testing::Test {};
TYPED_TEST_SUITE(Golden, all_messages, message_names);

TYPED_TEST(Golden, FileAndRecordsBelongTogether) {
  std::vector<std::string> in_file, in_records;
  for (const auto &image : file_of<TypeParam>())
    in_file.push_back(image.name);
  for (const auto &image : golden_records::images<TypeParam>())
    in_records.push_back(image.name);
  std::sort(in_file.begin(), in_file.end());
  std::sort(in_records.begin(), in_records.end());
  EXPECT_EQ(in_file, in_records);
}

TYPED_TEST(Golden, PackWritesExactlyTheseBytes) {
  bind_units<TypeParam>();
  const auto file = file_of<TypeParam>();
  for (const auto &image : golden_records::images<TypeParam>()) {
    if (image.arrangement == layout::fixed)
      continue;
    SCOPED_TRACE(image.name);
    const swapped_unit swapped(operations<TypeParam>::send_unit(), image.byte_swap);
    const auto &expected = annotated::bytes_of(file, image.name);
    const auto size = static_cast<uint32_t>(expected.size());
    EXPECT_EQ(packed(*image.record, size), expected);
    EXPECT_EQ(packed(*image.record, size + 1), expected);
    EXPECT_EQ(packed(*image.record, size + 64), expected);
  }
}

TYPED_TEST(Golden, UnpackReadsTheRecordFromTheseBytes) {
  const auto file = file_of<TypeParam>();
  for (const auto &image : golden_records::images<TypeParam>()) {
    SCOPED_TRACE(image.name);
    const decoding<TypeParam> decoded(annotated::bytes_of(file, image.name),
                                      {.byte_swap = image.byte_swap});
    EXPECT_TRUE(decoded.silent());
    expect_same_record(*image.record, decoded.record);
  }
}

TYPED_TEST(Golden, SendsingleHandsExactlyTheseBytesToTheMesh) {
  bind_units<TypeParam>();
  const auto file = file_of<TypeParam>();
  constexpr auto sent_layout = has_vectors<TypeParam>() ? layout::compact : layout::fixed;
  for (const auto &image : golden_records::images<TypeParam>()) {
    if (image.arrangement != sent_layout)
      continue;
    SCOPED_TRACE(image.name);
    const swapped_unit swapped(operations<TypeParam>::send_unit(), image.byte_swap);
    fake_mesh::reset();
    EXPECT_EQ(operations<TypeParam>::sendsingle(9, image.record, 0, 0), 0U);
    const auto sends = fake_mesh::sends();
    ASSERT_EQ(sends.size(), 1U);
    ASSERT_EQ(sends.front().messages.size(), 1U);
    EXPECT_EQ(sends.front().messages.front().id, operations<TypeParam>::id);
    EXPECT_EQ(sends.front().messages.front().bytes, annotated::bytes_of(file, image.name));
  }
}

TYPED_TEST(Golden, UnpackAsksForOneBlockPerVectorInMemberOrder) {
  const auto file = file_of<TypeParam>();
  for (const auto &image : golden_records::images<TypeParam>()) {
    SCOPED_TRACE(image.name);
    std::vector<std::string> expected;
    for_each_vector(*image.record, [&expected]<class E>(uint32_t count, E *) {
      if (count != 0)
        expected.push_back("alloc " + std::to_string(count * sizeof(E)));
    });
    const decoding<TypeParam> decoded(annotated::bytes_of(file, image.name),
                                      {.byte_swap = image.byte_swap});
    EXPECT_EQ(call_texts<TypeParam>(decoded.calls), expected);
  }
}

// Whatever a decode took is either in the record or has gone back: as many blocks as pointers.
template <class M>
void expect_owned_or_given_back(const decoding<M> &decoded) {
  ptrdiff_t held = 0;
  for (const fake_osal::call &call : decoded.calls)
    held += call.kind == fake_osal::call_kind::free ? -1 : 1;
  for_each_vector(decoded.record, [&held, &decoded]<class E>(uint32_t, E *array) {
    if (!decoded.untouched() && array != nullptr)
      --held;
  });
  EXPECT_EQ(held, 0);
}

TYPED_TEST(Golden, NoPrefixOfTheseBytesIsReadBeyondItsEnd) {
  const auto file = file_of<TypeParam>();
  for (const char *name : {"zero", "full"}) {
    const auto &bytes = annotated::bytes_of(file, name);
    for (size_t size = 0; size < bytes.size(); ++size) {
      SCOPED_TRACE(std::string(name) + " cut to " + std::to_string(size));
      const decoding<TypeParam> decoded(
          std::vector<uint8_t>(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size)));
      expect_owned_or_given_back(decoded);
      // The last item is part of every image, so that no prefix holds the whole record.
      if (std::string(name) == "full" && !decoded.calls.empty()) {
        EXPECT_EQ(decoded.calls.back().kind, fake_osal::call_kind::free);
      }
    }
  }
}

TYPED_TEST(Golden, AnySpoiledByteIsSurvived) {
  const auto file = file_of<TypeParam>();
  const auto &bytes = annotated::bytes_of(file, "full");
  for (size_t at = 0; at < bytes.size(); ++at)
    for (const uint8_t value : std::initializer_list<uint8_t>{0x00, 0x01, 0x03, 0x40, 0x7F, 0xFF}) {
      SCOPED_TRACE("byte " + std::to_string(at) + " = " + std::to_string(value));
      std::vector<uint8_t> spoiled = bytes;
      spoiled[at] = value;
      expect_owned_or_given_back(decoding<TypeParam>(spoiled));
    }
}

} // namespace
