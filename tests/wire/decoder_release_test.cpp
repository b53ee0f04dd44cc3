// Who owns what after a decode, and how it goes back: on success, on every failure half-way, when
// the allocator refuses, when released twice.
//
// Room: tests.
#include "tests/reference/navigation.h"
#include "tests/reference/wire_builder.h"
#include "tests/support/guarded_buffer.h"
#include "tests/wire/decoding.h"
#include "tests/wire/golden.h"
#include "tests/wire/log_expectation.h"

#include <gtest/gtest.h>

namespace {

using hops = feiBrokerFib6_nhp6UpdateMsg;
using texts = std::vector<std::string>;

template <class M>
std::vector<uint8_t> full_image() {
  return golden::file_of<M>().bytes_of("full");
}

// "alloc 96", "alloc 28", ... for the vectors of a record with these counts.
template <class M>
texts sizes_of(M &record, const std::string &verb) {
  texts sizes;
  for_each_vector(record, [&]<class E>(uint32_t count, E *) {
    if (count != 0)
      sizes.push_back(verb + " " + std::to_string(count * sizeof(E)));
  });
  return sizes;
}

template <class M>
void expect_no_pointers(M &record) {
  for_each_vector(record, []<class E>(uint32_t, E *array) { EXPECT_EQ(array, nullptr); });
}

// ---- release after success

template <class M>
struct Release {};
using Release_messages = tree_messages;

MESSAGE_TEST(Release, GivesEachArrayBackOnceInMemberOrderAndKeepsTheCounts) {
  const guarded_buffer wire(full_image<TypeParam>());
  bind_units<TypeParam>();
  const size_t live = fake_osal::live_blocks();
  TypeParam record{};
  operations<TypeParam>::unpack(wire.data(), wire.size(), &record);
  TypeParam before;
  std::memcpy(&before, &record, sizeof before);
  const texts expected = sizes_of(record, "free");
  EXPECT_FALSE(expected.empty());

  fake_osal::reset();
  operations<TypeParam>::release(&record);
  EXPECT_EQ(call_texts<TypeParam>(fake_osal::calls()), expected);
  EXPECT_EQ(fake_osal::live_blocks(), live);
  EXPECT_EQ(fake_osal::wrong_frees(), 0U);
  expect_no_pointers(record);

  // Nothing but the pointers has changed.
  for_each_vector(before, []<class E>(uint32_t, E *&array) { array = nullptr; });
  EXPECT_EQ(std::memcmp(&before, &record, sizeof before), 0);

  fake_osal::reset();
  operations<TypeParam>::release(&record);
  EXPECT_TRUE(fake_osal::calls().empty()) << "the second release";
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

MESSAGE_TEST(Release, OfARecordWithoutArraysFreesNothing) {
  bind_units<TypeParam>();
  fake_osal::reset();
  TypeParam record{};
  operations<TypeParam>::release(&record);
  EXPECT_TRUE(fake_osal::calls().empty());
}

MESSAGE_TEST(Release, OfNullDoesNothing) {
  bind_units<TypeParam>();
  fake_osal::reset();
  operations<TypeParam>::release(nullptr);
  EXPECT_TRUE(fake_osal::calls().empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

MESSAGE_TEST(Release, BindsTheUnitUnlessTheRecordIsNull) {
  bind_units<TypeParam>();
  uint32_t &bound = units_of<TypeParam>().recv.runtime.cache_bound;
  bound = 0;
  operations<TypeParam>::release(nullptr);
  EXPECT_EQ(bound, 0U);
  TypeParam record{};
  operations<TypeParam>::release(&record);
  EXPECT_EQ(bound, 1U);
}

MESSAGE_TEST(Release, AfterARefusedDecodeFreesNothing) {
  auto wire = full_image<TypeParam>();
  wire.resize(wire.size() - 1);
  decoding<TypeParam> decoded(wire);
  expect_no_pointers(decoded.record);
  fake_osal::reset();
  operations<TypeParam>::release(&decoded.record);
  EXPECT_TRUE(fake_osal::calls().empty());
}

// ---- refused half-way

MESSAGE_TEST(Release, HappensAtOnceWhenTheLastByteIsMissing) {
  auto wire = full_image<TypeParam>();
  decoding<TypeParam> whole(wire);
  texts expected = sizes_of(whole.record, "alloc");
  const texts freed = sizes_of(whole.record, "free");
  expected.insert(expected.end(), freed.begin(), freed.end());
  whole.release();

  wire.resize(wire.size() - 1);
  const decoding<TypeParam> cut(wire);
  EXPECT_EQ(call_texts<TypeParam>(cut.calls), expected);
}

MESSAGE_TEST(Release, FollowsEachAllocationThatFails) {
  const auto wire = full_image<TypeParam>();
  decoding<TypeParam> whole(wire);
  const texts allocs = sizes_of(whole.record, "alloc"), frees = sizes_of(whole.record, "free");
  std::vector<uint32_t> counts;
  for_each_vector(whole.record,
                  [&counts]<class E>(uint32_t count, E *) { counts.push_back(count); });
  whole.release();

  for (size_t failing = 0; failing < allocs.size(); ++failing) {
    SCOPED_TRACE("allocation " + std::to_string(failing + 1));
    decoding<TypeParam> decoded(wire, {.fail_allocation = static_cast<uint32_t>(failing + 1)});
    texts expected(allocs.begin(), allocs.begin() + static_cast<ptrdiff_t>(failing + 1));
    expected.insert(expected.end(), frees.begin(), frees.begin() + static_cast<ptrdiff_t>(failing));
    EXPECT_EQ(call_texts<TypeParam>(decoded.calls), expected);
    expect_one_line(decoded.lines, std::string(operations<TypeParam>::name) + "_unpack",
                    log_format::allocation,
                    "[VARKO]:Malloc unpack data unsuccess, size(" +
                        allocs[failing].substr(std::string("alloc ").size()) + ")",
                    12);
    // The line comes first, then the releases that the failure causes.
    EXPECT_EQ(decoded.lines.front().calls_before, failing + 1);
    expect_no_pointers(decoded.record);
    size_t vector = 0;
    for_each_vector(decoded.record, [&]<class E>(uint32_t count, E *) {
      EXPECT_EQ(count, vector <= failing ? counts[vector] : 0U) << "vector " << vector;
      ++vector;
    });
  }
}

// Where the words of vector k lie in a next-hop update, found by following the message itself.
struct vector_words {
  uint32_t reference, count, first;
};

vector_words words_of(const wire_builder &wire, uint32_t k) {
  const uint32_t reference = image::field_of(wire, image::root_of(wire), k);
  const uint32_t count = image::target_of(wire, reference);
  return {reference, count, image::element_word(count, 0)};
}

class NextHopUpdate : public testing::Test {
protected:
  NextHopUpdate() : sound(full_image<hops>()) {
    decoding<hops> whole(sound.bytes());
    allocs = sizes_of(whole.record, "alloc");
    frees = sizes_of(whole.record, "free");
    for_each_vector(whole.record,
                    [this]<class E>(uint32_t count, E *) { counts.push_back(count); });
    f0 = whole.record.f0;
    embedded = whole.record.f1;
  }

  // The decode took `taken` arrays, gave them all back and stored `counted` counts.
  void expect_refused(decoding<hops> &decoded, size_t taken, size_t counted) const {
    texts expected(allocs.begin(), allocs.begin() + static_cast<ptrdiff_t>(taken));
    expected.insert(expected.end(), frees.begin(), frees.begin() + static_cast<ptrdiff_t>(taken));
    EXPECT_EQ(call_texts<hops>(decoded.calls), expected);
    expect_no_pointers(decoded.record);
    EXPECT_EQ(decoded.record.f0, f0);
    EXPECT_EQ(std::memcmp(&decoded.record.f1, &embedded, sizeof embedded), 0);
    size_t vector = 0;
    for_each_vector(decoded.record, [&]<class E>(uint32_t count, E *) {
      EXPECT_EQ(count, vector < counted ? counts[vector] : 0U) << "vector " << vector;
      ++vector;
    });
  }

  static constexpr uint32_t first_vector = 2, last_vector = 7;
  wire_builder sound;
  texts allocs, frees;
  std::vector<uint32_t> counts;
  uint32_t f0 = 0;
  feiBrokerFib6_nhp6 embedded{};
};

TEST_F(NextHopUpdate, WithABadReferenceAtVectorKGivesTheArraysBeforeItBack) {
  for (uint32_t k = first_vector; k <= last_vector; ++k) {
    SCOPED_TRACE(k);
    wire_builder wire = sound;
    wire.set_u32(words_of(wire, k).reference, 0xFFFFFFFF);
    decoding<hops> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    expect_refused(decoded, k - first_vector, k - first_vector);
  }
}

TEST_F(NextHopUpdate, WithABadCountAtVectorKGivesTheArraysBeforeItBack) {
  for (uint32_t k = first_vector; k <= last_vector; ++k)
    for (const uint32_t count : {0x3FFFFFFFU, 0x40000000U, 0xFFFFFFFFU}) {
      SCOPED_TRACE(k);
      wire_builder wire = sound;
      wire.set_u32(words_of(wire, k).count, count);
      decoding<hops> decoded(wire.bytes());
      EXPECT_TRUE(decoded.silent());
      expect_refused(decoded, k - first_vector, k - first_vector);
    }
}

TEST_F(NextHopUpdate, WithABadElementAtVectorKGivesItsArrayBackToo) {
  for (uint32_t k = first_vector; k <= last_vector; ++k) {
    SCOPED_TRACE(k);
    wire_builder wire = sound;
    wire.set_u32(words_of(wire, k).first, 0xFFFFFFFF);
    decoding<hops> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    expect_refused(decoded, k - first_vector + 1, k - first_vector + 1);
  }
}

TEST_F(NextHopUpdate, WithAnElementOutOfRangeAtVectorKNamesTheKind) {
  const char *const kinds[] = {"nhp6Std",   "nhp6Ext",    "nhp6Vpn",
                               "nhp6Vxlan", "nhp6VpnSid", "nhp6Pp6ExtSrv6Te"};
  for (uint32_t k = first_vector; k <= last_vector; ++k) {
    wire_builder wire = sound;
    const uint32_t beyond = wire.here() - 3;
    wire.refer(words_of(wire, k).first, beyond);
    decoding<hops> decoded(wire.bytes());
    expect_one_line(decoded.lines,
                    std::string("feiBrokerFib6_") + kinds[k - first_vector] + "_unpack_non_root",
                    log_format::table,
                    "[VARKO]:Table offset(" + std::to_string(beyond) + ") is out of range(4 - " +
                        std::to_string(wire.here()) + ")");
    EXPECT_EQ(decoded.lines.front().calls_before, k - first_vector + 1) << "a release came first";
    expect_refused(decoded, k - first_vector + 1, k - first_vector + 1);
  }
}

TEST_F(NextHopUpdate, WithABadVtableAtVectorKNamesTheKind) {
  const char *const kinds[] = {"nhp6Std",   "nhp6Ext",    "nhp6Vpn",
                               "nhp6Vxlan", "nhp6VpnSid", "nhp6Pp6ExtSrv6Te"};
  for (uint32_t k = first_vector; k <= last_vector; ++k) {
    const std::string name =
        std::string("feiBrokerFib6_") + kinds[k - first_vector] + "_unpack_non_root";
    wire_builder wire = sound;
    const uint32_t first = words_of(wire, k).first;
    const uint32_t table = image::target_of(wire, first);
    const uint32_t vtable = image::vtable_of(wire, table);
    {
      decoding<hops> decoded(wire_builder(wire).set_u32(table, table).bytes());
      expect_one_line(decoded.lines, name, log_format::vtable,
                      "[VARKO]:Vtable offset(" + std::to_string(table) + ") is out of range(4 - " +
                          std::to_string(wire.here() - 4) + ")");
      expect_refused(decoded, k - first_vector + 1, k - first_vector + 1);
    }
    decoding<hops> decoded(wire_builder(wire).set_u16(vtable, 0xFFFF).bytes());
    expect_one_line(decoded.lines, name, log_format::vtable_length,
                    "[VARKO]:Vtable Len(65535) is out of range(0 - " +
                        std::to_string(wire.here() - vtable) + ")");
    expect_refused(decoded, k - first_vector + 1, k - first_vector + 1);
  }
}

TEST_F(NextHopUpdate, WithAnAbsentVectorSkipsItsAllocationOnly) {
  for (uint32_t k = first_vector; k <= last_vector; ++k) {
    wire_builder wire = sound;
    wire.set_u16(4 + 4 + 2 * k, 0);
    texts expected = allocs;
    expected.erase(expected.begin() + static_cast<ptrdiff_t>(k - first_vector));
    decoding<hops> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    EXPECT_EQ(call_texts<hops>(decoded.calls), expected);
  }
}

// ---- flat records own nothing

template <class M>
struct FlatRelease {};
using FlatRelease_messages = flat_messages;

MESSAGE_TEST(FlatRelease, NeverTouchesTheRecord) {
  bind_units<TypeParam>();
  fake_osal::reset();
  TypeParam record, before;
  std::memset(&record, 0xA5, sizeof record);
  std::memset(&before, 0xA5, sizeof before);
  operations<TypeParam>::release(&record);
  EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
  operations<TypeParam>::release(nullptr);
  EXPECT_TRUE(fake_osal::calls().empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

} // namespace
