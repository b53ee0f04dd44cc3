// Byte vectors (length and pointer), of the root and of an embedded record, on a record of this
// test.
//
// Room: tests. Uses the vocabulary of wire/ as a module's schema does.
#include "tests/support/fake_osal.h"
#include "tests/support/guarded_buffer.h"
#include "tests/wire/log_expectation.h"
#include "wire/codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

struct test_note {
  uint32_t f0;
  uint32_t f1_count;
  uint8_t *f1;
};
struct test_letter {
  test_note f0;
  uint32_t f1_count;
  uint8_t *f1;
};
MESH_FIB6_TABLE(test_note, 16, 12, f0, f1_count, f1);
MESH_FIB6_TABLE(test_letter, 32, 16, f0, f1_count, f1);

namespace {

using namespace mesh_fib6;
using bytes = std::vector<uint8_t>;
using fake_osal::call_kind;

runtime::unit unit;

class ByteVector : public testing::Test {
protected:
  void SetUp() override { fake_osal::reset(); }

  static bytes packed(const test_note &note, uint32_t expected_size) {
    bytes buffer(128, 0xEE);
    uint32_t length = 128;
    EXPECT_EQ(wire::pack(unit, &note, buffer.data(), &length), 0U);
    EXPECT_EQ(length, expected_size);
    return buffer;
  }

  template <class Record>
  static Record decoded(const bytes &wire) {
    Record record;
    std::memset(&record, 0xA5, sizeof record);
    guarded_buffer buffer(wire);
    EXPECT_EQ(
        wire::unpack<wire::root_form::header_first>(unit, buffer.data(), buffer.size(), &record),
        sizeof record);
    return record;
  }

  uint8_t text_[3] = {0x61, 0x62, 0x63};

  const bytes note_ = {
      0x0c, 0,    0,    0,       // root offset 12
      8,    0,    19,   0, 4, 0, // vtable: 2 slots, table size 19, slot 0 at 4
      8,    0,                   // slot 1 at 8
      8,    0,    0,    0,       // soffset 8
      7,    0,    0,    0,       // f0
      4,    0,    0,    0,       // uoffset 4
      3,    0,    0,    0,       // length 3
      0x61, 0x62, 0x63,          // the bytes
  };
};

TEST_F(ByteVector, IsWrittenAsItsLengthAndItsBytes) {
  const bytes buffer = packed({7, 3, text_}, 31);
  EXPECT_EQ(bytes(buffer.begin(), buffer.begin() + 31), note_);
  EXPECT_EQ(bytes(buffer.begin() + 31, buffer.end()), bytes(97, 0xEE));
}

// A size of 32 bits is all that there is to say how long a message would be.
TEST_F(ByteVector, OfNearly4GiBIsMeasuredAndOfAByteMoreIsNotInAnyOrder) {
  constexpr uint32_t others = 28; // all but the vector's bytes
  for (const uint32_t byte_swap : {0U, 1U, 2U}) {
    SCOPED_TRACE(byte_swap);
    unit.byte_swap = byte_swap;
    test_note note = {7, UINT32_MAX - others, text_};
    uint32_t length = UINT32_MAX;
    EXPECT_EQ(wire::pack(unit, &note, nullptr, &length), 0U);
    EXPECT_EQ(length, UINT32_MAX);
    note.f1_count++;
    EXPECT_EQ(wire::pack(unit, &note, nullptr, &length), 0xFFFFFFFFU);
    EXPECT_EQ(length, UINT32_MAX);
  }
  unit.byte_swap = 0;
}

TEST_F(ByteVector, WithANullPointerIsLeftOut) {
  const bytes expected = {0x0c, 0, 0, 0, 8, 0, 4, 0, 0, 0, 0, 0, 8, 0, 0, 0};
  const bytes buffer = packed({0, 0, nullptr}, 16);
  EXPECT_EQ(bytes(buffer.begin(), buffer.begin() + 16), expected);
}

TEST_F(ByteVector, WithANullPointerIsLeftOutWhateverItsLengthInAnyOrder) {
  runtime::bind_cache(unit);
  const bytes expected = {0x0c, 0, 0, 0, 8, 0, 4, 0, 0, 0, 0, 0, 8, 0, 0, 0};
  const bytes reversed = {0, 0, 0, 0x0c, 0, 8, 0, 4, 0, 0, 0, 0, 0, 0, 0, 8};
  for (const uint32_t flag : {0U, 1U, 2U}) {
    SCOPED_TRACE(flag);
    unit.byte_swap = flag;
    const bytes buffer = packed({0, 3, nullptr}, 16);
    EXPECT_EQ(bytes(buffer.begin(), buffer.begin() + 16), flag == 0 ? expected : reversed);
    EXPECT_EQ(bytes(buffer.begin() + 16, buffer.end()), bytes(112, 0xEE));
  }
  unit.byte_swap = 0;
}

TEST_F(ByteVector, OfLengthZeroIsLeftOutYetAddsEightBytesThatStayUntouched) {
  const bytes expected = {0x0c, 0, 0, 0, 8, 0, 4, 0, 0, 0, 0, 0, 8, 0, 0, 0};
  const bytes buffer = packed({0, 0, text_}, 24);
  EXPECT_EQ(bytes(buffer.begin(), buffer.begin() + 16), expected);
  EXPECT_EQ(bytes(buffer.begin() + 16, buffer.end()), bytes(112, 0xEE));
}

TEST_F(ByteVector, OfLengthZeroNeedsTheEightBytesInTheBuffer) {
  const test_note note{0, 0, text_};
  uint8_t buffer[24];
  uint32_t length = 23;
  EXPECT_EQ(wire::pack(unit, &note, buffer, &length), 0xFFFFFFFFU);
  EXPECT_EQ(length, 23U);
}

TEST_F(ByteVector, WhoseSizeExceeds32BitsCannotBePacked) {
  const test_note note{0, 0xFFFFFFF0, text_};
  uint8_t buffer[24];
  uint32_t length = 0xFFFFFFFF;
  EXPECT_EQ(wire::pack(unit, &note, buffer, &length), 0xFFFFFFFFU);
  EXPECT_EQ(length, 0xFFFFFFFFU);
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

TEST_F(ByteVector, IsNeverReversed) {
  runtime::bind_cache(unit);
  for (const uint32_t flag : {1U, 2U}) {
    unit.byte_swap = flag;
    const bytes buffer = packed({7, 3, text_}, 31);
    EXPECT_EQ(bytes(buffer.begin() + 28, buffer.begin() + 31), bytes({0x61, 0x62, 0x63}));
    auto note = decoded<test_note>(bytes(buffer.begin(), buffer.begin() + 31));
    ASSERT_EQ(note.f1_count, 3U);
    EXPECT_EQ(std::memcmp(note.f1, text_, 3), 0);
    EXPECT_EQ(note.f0, 7U);
    wire::release(unit, &note);
  }
  unit.byte_swap = 0;
}

// The number of offset words that fit into a buffer is no limit for bytes. The buffer is address
// space only, nobody reads behind its head; the block is asked for and refused.
TEST_F(ByteVector, OfMoreBytesThanThereCouldBeOffsetWordsIsAskedMemoryForInAnyOrder) {
  const bytes common = {0x0c, 0, 0, 0, 8, 0, 8, 0, 0, 0, 4, 0,
                        8,    0, 0, 0, 4, 0, 0, 0, 0, 0, 0, 0x40};
  const bytes reversed = {0, 0, 0, 0x0c, 0, 8, 0, 8, 0,    0, 0, 4,
                          0, 0, 0, 8,    0, 0, 0, 4, 0x40, 0, 0, 0};
  constexpr uint32_t count = 0x40000000;
  runtime::bind_cache(unit);
  guarded_buffer buffer(common.size() + count);
  for (const uint32_t flag : {0U, 1U}) {
    unit.byte_swap = flag;
    fake_osal::reset();
    fake_osal::refuse_above(1u << 20);
    const bytes &head = flag == 0 ? common : reversed;
    std::memcpy(buffer.data(), head.data(), head.size());
    test_note note{};
    wire::unpack<wire::root_form::header_first>(unit, buffer.data(),
                                                static_cast<uint32_t>(buffer.size()), &note);
    EXPECT_EQ(note.f1_count, count);
    EXPECT_EQ(note.f1, nullptr);
    const auto requests = fake_osal::calls_of(call_kind::cache_alloc);
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].size, count);
    expect_one_line(fake_osal::log_lines(), "test_note_unpack", log_format::allocation,
                    "[VARKO]:Malloc unpack data unsuccess, size(1073741824)", 12);
  }
  unit.byte_swap = 0;
}

TEST_F(ByteVector, IsDecodedIntoABlockOfExactlyItsLength) {
  auto note = decoded<test_note>(note_);
  EXPECT_EQ(note.f0, 7U);
  ASSERT_EQ(note.f1_count, 3U);
  EXPECT_EQ(std::memcmp(note.f1, text_, 3), 0);
  wire::release(unit, &note);
  EXPECT_EQ(note.f1, nullptr);
  EXPECT_EQ(note.f1_count, 3U);
  wire::release(unit, &note);

  const auto allocations = fake_osal::calls_of(call_kind::cache_alloc);
  const auto frees = fake_osal::calls_of(call_kind::free);
  ASSERT_EQ(allocations.size(), 1U);
  ASSERT_EQ(frees.size(), 1U);
  EXPECT_EQ(allocations[0].size, 3U);
  EXPECT_EQ(allocations[0].module, 12U);
  EXPECT_EQ(allocations[0].caller, "test_note_unpack");
  EXPECT_EQ(frees[0].block, allocations[0].block);
  EXPECT_EQ(frees[0].module, 12U);
  EXPECT_EQ(frees[0].caller, "test_note_free_unpacked");
}

TEST_F(ByteVector, OfLengthZeroOnTheWireDecodesToANullPointerWithoutAnAllocation) {
  bytes wire = note_;
  wire[24] = 0;
  const auto note = decoded<test_note>(wire);
  EXPECT_EQ(note.f1_count, 0U);
  EXPECT_EQ(note.f1, nullptr);
  EXPECT_TRUE(fake_osal::calls_of(call_kind::cache_alloc).empty());
}

TEST_F(ByteVector, ThatEndsBeyondTheBufferFailsWithoutALogLine) {
  for (const bytes &length : {bytes{4, 0, 0, 0}, bytes{0xFC, 0xFF, 0xFF, 0xFF},
                              bytes{0xFF, 0xFF, 0xFF, 0xFF}, bytes{0, 0, 0, 0x40}}) {
    bytes wire = note_;
    std::copy(length.begin(), length.end(), wire.begin() + 24);
    const auto note = decoded<test_note>(wire);
    EXPECT_EQ(note.f0, 7U);
    EXPECT_EQ(note.f1_count, 0U);
    EXPECT_EQ(note.f1, nullptr);
  }
  EXPECT_TRUE(fake_osal::calls_of(call_kind::cache_alloc).empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

TEST_F(ByteVector, WhoseAllocationFailsIsLoggedWithItsLength) {
  runtime::bind_cache(unit);
  fake_osal::fail_allocation(1);
  const auto note = decoded<test_note>(note_);
  EXPECT_EQ(note.f0, 7U);
  EXPECT_EQ(note.f1_count, 3U);
  EXPECT_EQ(note.f1, nullptr);
  expect_one_line(fake_osal::log_lines(), "test_note_unpack", log_format::allocation,
                  "[VARKO]:Malloc unpack data unsuccess, size(3)", 12);
}

class EmbeddedByteVector : public ByteVector {
protected:
  uint8_t tail_[2] = {0x78, 0x79};
  const test_letter letter_{{7, 3, text_}, 2, tail_};

  static bytes packed(const test_letter &letter) {
    bytes buffer(128);
    uint32_t length = 128;
    EXPECT_EQ(wire::pack(unit, &letter, buffer.data(), &length), 0U);
    buffer.resize(length);
    return buffer;
  }
};

TEST_F(EmbeddedByteVector, IsAllocatedAndReleasedUnderItsRecordsName) {
  auto letter = decoded<test_letter>(packed(letter_));
  ASSERT_EQ(letter.f0.f1_count, 3U);
  ASSERT_EQ(letter.f1_count, 2U);
  EXPECT_EQ(std::memcmp(letter.f0.f1, text_, 3), 0);
  EXPECT_EQ(std::memcmp(letter.f1, tail_, 2), 0);
  wire::release(unit, &letter);
  EXPECT_EQ(letter.f0.f1, nullptr);
  EXPECT_EQ(letter.f1, nullptr);

  const auto allocations = fake_osal::calls_of(call_kind::cache_alloc);
  const auto frees = fake_osal::calls_of(call_kind::free);
  ASSERT_EQ(allocations.size(), 2U);
  ASSERT_EQ(frees.size(), 2U);
  EXPECT_EQ(allocations[0].caller, "test_note_unpack_non_root");
  EXPECT_EQ(allocations[1].caller, "test_letter_unpack");
  EXPECT_EQ(frees[0].caller, "test_note_free_unpacked");
  EXPECT_EQ(frees[1].caller, "test_letter_free_unpacked");
  EXPECT_EQ(frees[0].block, allocations[0].block);
  EXPECT_EQ(frees[1].block, allocations[1].block);
}

TEST_F(EmbeddedByteVector, IsReleasedWhenALaterMemberFails) {
  runtime::bind_cache(unit);
  const bytes wire = packed(letter_);
  fake_osal::reset();
  fake_osal::fail_allocation(2);
  const auto letter = decoded<test_letter>(wire);
  EXPECT_EQ(letter.f0.f0, 7U);
  EXPECT_EQ(letter.f0.f1_count, 3U);
  EXPECT_EQ(letter.f0.f1, nullptr);
  EXPECT_EQ(letter.f1_count, 2U);
  EXPECT_EQ(letter.f1, nullptr);
  const auto frees = fake_osal::calls_of(call_kind::free);
  ASSERT_EQ(frees.size(), 1U);
  EXPECT_EQ(frees[0].caller, "test_note_free_unpacked");
  expect_one_line(fake_osal::log_lines(), "test_letter_unpack", log_format::allocation,
                  "[VARKO]:Malloc unpack data unsuccess, size(2)", 12);
}

TEST_F(EmbeddedByteVector, WhoseAllocationFailsIsLoggedUnderItsRecordsName) {
  runtime::bind_cache(unit);
  const bytes wire = packed(letter_);
  fake_osal::reset();
  fake_osal::fail_allocation(1);
  const auto letter = decoded<test_letter>(wire);
  EXPECT_EQ(letter.f0.f1, nullptr);
  EXPECT_EQ(letter.f1_count, 0U);
  EXPECT_TRUE(fake_osal::calls_of(call_kind::free).empty());
  expect_one_line(fake_osal::log_lines(), "test_note_unpack_non_root", log_format::allocation,
                  "[VARKO]:Malloc unpack data unsuccess, size(3)", 12);
}

// The offset word at 16 leads to the table at 38, 57 bytes in all.
TEST_F(EmbeddedByteVector, WhoseTableIsNotThereIsNotAskedFor) {
  runtime::bind_cache(unit);
  const bytes sound = packed(letter_);
  ASSERT_EQ(sound.size(), 57U);
  ASSERT_EQ(sound[16], 22U);
  for (const bool wraps : {true, false}) {
    fake_osal::reset();
    bytes wire = sound;
    if (wraps)
      std::fill_n(wire.begin() + 16, 4, 0xFF);
    else
      wire[16] = 54 - 16; // three bytes from the end
    const auto letter = decoded<test_letter>(wire);
    EXPECT_EQ(letter.f0.f1, nullptr);
    EXPECT_EQ(letter.f1_count, 0U);
    EXPECT_TRUE(fake_osal::calls().empty());
    if (wraps)
      EXPECT_TRUE(fake_osal::log_lines().empty());
    else
      expect_one_line(fake_osal::log_lines(), "test_note_unpack_non_root", log_format::table,
                      "[VARKO]:Table offset(54) is out of range(4 - 57)");
  }
}

} // namespace
