// What holds of every golden file, to be instantiated for the messages of a test source:
//   const bool added = add_golden<messages>("Module");
// The bytes come from tests/golden, the records from golden_records*.h; neither was ever produced
// by the library.
//
// Room: tests. Needs operations<M> and golden_records::images<M>() of each message. A record whose
// vectors are not members f1 to f7 of the root brings its own for_each_vector and has_vectors.
#pragma once

#include "tests/support/annotated.h"
#include "tests/support/fake_mesh.h"
#include "tests/wire/decoding.h"
#include "tests/wire/golden_records.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace golden_checks {

using golden_records::layout;

template <class M>
std::vector<annotated::image> file_of() {
  return annotated::load(std::string(MESH_FIB6_GOLDEN_DIR "/") + operations<M>::name + ".txt");
}

// A copy of a record in which it and each of its arrays touches an inaccessible page.
template <class M>
class guarded_record {
public:
  explicit guarded_record(const M &record, edge touched = edge::behind)
      : root_(&record, sizeof(M), touched) {
    for_each_vector(root_.template as<M>(), [this, touched]<class E>(uint32_t count, E *&array) {
      if (array != nullptr)
        array = &blocks_.emplace_back(array, count * sizeof(E), touched).template as<E>();
    });
  }
  const M *get() { return &root_.template as<M>(); }

private:
  guarded_buffer root_;
  std::vector<guarded_buffer> blocks_;
};

// Encodes into exactly `capacity` bytes that touch an inaccessible page, as the record does, and
// stand between canaries as far as they are not written. Returns the written part.
template <class M>
std::vector<uint8_t> packed(const M &original, uint32_t capacity, edge touched) {
  constexpr uint8_t canary = 0xC7;
  guarded_record<M> record(original, touched);
  guarded_buffer buffer(std::vector<uint8_t>(capacity, canary), touched);
  uint32_t length = capacity;
  EXPECT_EQ(operations<M>::pack(record.get(), buffer.data(), &length), 0U);
  std::vector<uint8_t> bytes = buffer.bytes();
  EXPECT_LE(length, capacity);
  length = std::min(length, capacity);
  EXPECT_TRUE(std::all_of(bytes.begin() + length, bytes.end(), [](uint8_t byte) {
    return byte == canary;
  })) << "written beyond the encoded size";
  bytes.resize(length);
  return bytes;
}

// The same at both edges.
template <class M>
std::vector<uint8_t> packed(const M &record, uint32_t capacity) {
  const std::vector<uint8_t> bytes = packed(record, capacity, edge::before);
  EXPECT_EQ(packed(record, capacity, edge::behind), bytes);
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
struct Golden {};

MESSAGE_CASE(Golden, FileAndRecordsBelongTogether) {
  std::vector<std::string> in_file, in_records;
  for (const auto &image : file_of<TypeParam>())
    in_file.push_back(image.name);
  for (const auto &image : golden_records::images<TypeParam>())
    in_records.push_back(image.name);
  std::sort(in_file.begin(), in_file.end());
  std::sort(in_records.begin(), in_records.end());
  EXPECT_EQ(in_file, in_records);
}

MESSAGE_CASE(Golden, PackWritesExactlyTheseBytes) {
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

MESSAGE_CASE(Golden, UnpackReadsTheRecordFromTheseBytes) {
  const auto file = file_of<TypeParam>();
  for (const auto &image : golden_records::images<TypeParam>()) {
    SCOPED_TRACE(image.name);
    const decoding<TypeParam> decoded(annotated::bytes_of(file, image.name),
                                      {.byte_swap = image.byte_swap});
    EXPECT_TRUE(decoded.silent());
    expect_same_record(*image.record, decoded.record);
  }
}

MESSAGE_CASE(Golden, SendsingleHandsExactlyTheseBytesToTheMesh) {
  bind_units<TypeParam>();
  const auto file = file_of<TypeParam>();
  constexpr auto sent_layout = has_vectors<TypeParam>() ? layout::compact : layout::fixed;
  for (const auto &image : golden_records::images<TypeParam>()) {
    if (image.arrangement != sent_layout)
      continue;
    SCOPED_TRACE(image.name);
    const swapped_unit swapped(operations<TypeParam>::send_unit(), image.byte_swap);
    fake_mesh::reset();
    guarded_record<TypeParam> record(*image.record);
    EXPECT_EQ(operations<TypeParam>::sendsingle(9, record.get(), 0, 0), 0U);
    const auto sends = fake_mesh::sends();
    ASSERT_EQ(sends.size(), 1U);
    ASSERT_EQ(sends.front().messages.size(), 1U);
    EXPECT_EQ(sends.front().messages.front().id, operations<TypeParam>::id);
    EXPECT_EQ(sends.front().messages.front().bytes, annotated::bytes_of(file, image.name));
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

MESSAGE_CASE(Golden, NoPrefixOfTheseBytesIsReadBeyondItsEnd) {
  for (const auto &[name, bytes] : file_of<TypeParam>())
    for (size_t size = 0; size < bytes.size(); ++size) {
      SCOPED_TRACE(name + " cut to " + std::to_string(size));
      const decoding<TypeParam> decoded(
          std::vector<uint8_t>(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size)));
      expect_owned_or_given_back(decoded);
      // The last item is part of every image, so that no prefix holds the whole record.
      if (name == "full" && !decoded.calls.empty()) {
        EXPECT_EQ(decoded.calls.back().kind, fake_osal::call_kind::free);
      }
    }
}

MESSAGE_CASE(Golden, AnySpoiledByteIsSurvived) {
  for (const auto &[name, bytes] : file_of<TypeParam>()) {
    if (name != "full" && name != "full_fixed")
      continue;
    for (size_t at = 0; at < bytes.size(); ++at)
      for (const uint8_t value :
           std::initializer_list<uint8_t>{0x00, 0x01, 0x03, 0x40, 0x7F, 0xFF}) {
        SCOPED_TRACE(name + " with byte " + std::to_string(at) + " = " + std::to_string(value));
        std::vector<uint8_t> spoiled = bytes;
        spoiled[at] = value;
        expect_owned_or_given_back(decoding<TypeParam>(spoiled));
      }
  }
}

// For records whose blocks are all tagged with the message's own name.
template <class M>
struct GoldenBlocks {};

MESSAGE_CASE(GoldenBlocks, UnpackAsksForOneBlockPerVectorInMemberOrder) {
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

// What of the above is to hold for the messages of a module: all of it, or all but the blocks.
template <class Messages>
bool add_golden(const std::string &module) {
  const Messages messages;
  const std::string suite = module + "/Golden";
  message_cases::add<Golden_FileAndRecordsBelongTogether>(
      messages, suite, "FileAndRecordsBelongTogether", __FILE__, __LINE__);
  message_cases::add<Golden_PackWritesExactlyTheseBytes>(
      messages, suite, "PackWritesExactlyTheseBytes", __FILE__, __LINE__);
  message_cases::add<Golden_UnpackReadsTheRecordFromTheseBytes>(
      messages, suite, "UnpackReadsTheRecordFromTheseBytes", __FILE__, __LINE__);
  message_cases::add<Golden_SendsingleHandsExactlyTheseBytesToTheMesh>(
      messages, suite, "SendsingleHandsExactlyTheseBytesToTheMesh", __FILE__, __LINE__);
  message_cases::add<Golden_NoPrefixOfTheseBytesIsReadBeyondItsEnd>(
      messages, suite, "NoPrefixOfTheseBytesIsReadBeyondItsEnd", __FILE__, __LINE__);
  message_cases::add<Golden_AnySpoiledByteIsSurvived>(messages, suite, "AnySpoiledByteIsSurvived",
                                                      __FILE__, __LINE__);
  return true;
}
template <class Messages>
bool add_golden_and_blocks(const std::string &module) {
  return add_golden<Messages>(module) &&
         message_cases::add<GoldenBlocks_UnpackAsksForOneBlockPerVectorInMemberOrder>(
             Messages{}, module + "/GoldenBlocks", "UnpackAsksForOneBlockPerVectorInMemberOrder",
             __FILE__, __LINE__);
}

} // namespace golden_checks
