// What a decoder does with fields: scalars, vectors, elements, arrays and embedded tables, each at
// the edge of what it accepts and one step beyond.
//
// Room: tests.
#include "tests/wire/batch_wire.h"
#include "tests/wire/decoding.h"
#include "tests/wire/log_expectation.h"

#include <gtest/gtest.h>

namespace {

using routes = feiBrokerFib6_ipv6FwdUpdateMsg;
using route_keys = feiBrokerFib6_ipv6FwdDelMsg;
using hop_keys = feiBrokerFib6_nhp6DelMsg;
using list_keys = feiBrokerFib6_srv6SrListDelMsg;
using group = feiBrokerFib6_nhp6GroupUpdateMsg;
using hops = feiBrokerFib6_nhp6UpdateMsg;
using setting = fib6_cfg_cfg_ipv6_ttl_expired_forward;
using pid_state = feiBrokerFib6_pidStateMsg;

using texts = std::vector<std::string>;

// Refused before the vector was taken on: nothing allocated, nothing said, only f0 was read.
template <class M>
void expect_refused_vector(const wire_builder &wire) {
  const decoding<M> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_TRUE(decoded.calls.empty());
  EXPECT_EQ(decoded.record.f0, batch_f0);
  EXPECT_EQ(decoded.record.f1_count, 0U);
  EXPECT_EQ(decoded.record.f1, nullptr);
}

// Refused at an element: the array has gone back, its count and f0 stay.
template <class M>
void expect_given_back(const decoding<M> &decoded, uint32_t count) {
  const std::string size = std::to_string(count * sizeof(*decoded.record.f1));
  EXPECT_EQ(call_texts<M>(decoded.calls), (texts{"alloc " + size, "free " + size}));
  EXPECT_EQ(decoded.record.f0, batch_f0);
  EXPECT_EQ(decoded.record.f1_count, count);
  EXPECT_EQ(decoded.record.f1, nullptr);
}

template <class M>
void expect_refused_element(const wire_builder &wire, uint32_t count = 1) {
  const decoding<M> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  expect_given_back(decoded, count);
}

template <class M>
void expect_refused_element_header(const wire_builder &wire, const std::string &function,
                                   const std::string &format, const std::string &message,
                                   uint32_t count = 1) {
  const decoding<M> decoded(wire.bytes());
  expect_one_line(decoded.lines, function, format, message);
  expect_given_back(decoded, count);
}

// ---- the reference to a vector

TEST(VectorReference, BeyondTheEndFailsSilently) {
  for (uint32_t size = batch_at::reference; size < batch_at::count; ++size)
    expect_refused_vector<routes>(batch_wire(0).resize(size));
  for (const uint16_t entry : std::initializer_list<uint16_t>{13, 16, 100, 0x7FFF, 0xFFFF})
    expect_refused_vector<routes>(batch_wire(0).set_u16(batch_at::vtable + 6, entry));
}

TEST(VectorReference, ThatWrapsFailsSilently) {
  for (const uint32_t offset : {0xFFFFFFFFU, 0xFFFFFFECU, 0xFFFFFFF0U, 0x80000000U})
    expect_refused_vector<routes>(batch_wire(2).set_u32(batch_at::reference, offset));
}

TEST(VectorReference, WhoseCountLiesBeyondTheEndFailsSilently) {
  const wire_builder wire = batch_wire(2); // 36 bytes
  for (uint32_t position = wire.here() - 3; position < wire.here() + 3; ++position)
    expect_refused_vector<routes>(wire_builder(wire).refer(batch_at::reference, position));
  expect_refused_vector<routes>(wire_builder(wire).refer(batch_at::reference, 0x7FFFFFFF));
}

TEST(VectorReference, ToACountInTheLastFourBytesIsAccepted) {
  const decoding<routes> decoded(batch_wire(0).bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_TRUE(decoded.calls.empty());
  EXPECT_EQ(decoded.record.f0, batch_f0);
  EXPECT_EQ(decoded.record.f1_count, 0U);
  EXPECT_EQ(decoded.record.f1, nullptr);
}

TEST(VectorReference, MayReferToItself) {
  wire_builder wire = batch_wire(0);
  wire.set_u32(batch_at::reference, 0); // the offset word is the count: 0
  const decoding<routes> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(decoded.record.f1_count, 0U);
}

// ---- the count of a vector

TEST(VectorCount, OfMoreThan30BitsFailsBeforeAnyAllocation) {
  for (const uint32_t count : {0x40000000U, 0x40000001U, 0x80000000U, 0xC0000000U, 0xFFFFFFFFU})
    expect_refused_vector<routes>(batch_wire(2).set_u32(batch_at::count, count));
}

TEST(VectorCount, OfMoreOffsetWordsThanThereAreFailsBeforeAnyAllocation) {
  for (const uint32_t count : {3U, 4U, 0xFFFFU, 0x1FFFFFFFU, 0x3FFFFFFEU, 0x3FFFFFFFU})
    expect_refused_vector<routes>(batch_wire(2).set_u32(batch_at::count, count));
}

TEST(VectorCount, WhoseLastOffsetWordIsCutFailsBeforeAnyAllocation) {
  for (uint32_t missing = 1; missing < 4; ++missing)
    expect_refused_vector<routes>(batch_wire(2).resize(batch_at::first + 8 - missing));
}

TEST(VectorCount, IsBoundedInTheTableFormToo) {
  for (const uint32_t count : {0x40000000U, 0x3FFFFFFFU, 1U}) {
    wire_builder wire;
    wire.u32(24);
    wire.vtable({4, 0, 0, 0, 0, 0, 0, 8});
    wire.table(4);
    wire.u32(batch_f0);
    wire.u32(4);
    wire.u32(count);
    const decoding<hops> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    EXPECT_TRUE(decoded.calls.empty());
    EXPECT_EQ(decoded.record.f0, batch_f0);
    EXPECT_EQ(decoded.record.f7_count, 0U);
  }
}

// ---- the size of an array

// A message of `count` elements in a buffer that is all holes but for its head.
template <class M>
void expect_refused_for_size(uint32_t count, uint32_t wrapped) {
  const wire_builder head = batch_wire(0);
  guarded_buffer buffer(batch_at::first + 4 * size_t{count});
  std::memcpy(buffer.data(), head.bytes().data(), head.here());
  std::memcpy(buffer.data() + batch_at::count, &count, 4);
  const decoding<M> decoded(buffer.data(), buffer.size());
  EXPECT_TRUE(decoded.calls.empty());
  expect_one_line(
      decoded.lines, std::string(operations<M>::name) + "_unpack", log_format::allocation,
      "[VARKO]:Malloc unpack data unsuccess, size(" + std::to_string(wrapped) + ")", 12);
  EXPECT_EQ(decoded.record.f0, batch_f0);
  EXPECT_EQ(decoded.record.f1_count, count);
  EXPECT_EQ(decoded.record.f1, nullptr);
}

TEST(ArraySize, ThatWrapsToASmallOneFailsLikeARefusedAllocation) {
  expect_refused_for_size<routes>(76695845, 24); // x 56 = 2^32 + 24
}

TEST(ArraySize, ThatWrapsToZeroFailsLikeARefusedAllocation) {
  expect_refused_for_size<list_keys>(0x10000000, 0); // x 16 = 2^32
}

TEST(ArraySize, JustBelowTheWrapIsAskedForInFull) {
  const uint32_t count = 76695844; // x 56 = 2^32 - 32
  const wire_builder head = batch_wire(0);
  guarded_buffer buffer(batch_at::first + 4 * size_t{count});
  std::memcpy(buffer.data(), head.bytes().data(), head.here());
  std::memcpy(buffer.data() + batch_at::count, &count, 4);
  const decoding<routes> decoded(buffer.data(), buffer.size(), {.refuse_above = 1 << 20});
  EXPECT_EQ(call_texts<routes>(decoded.calls), (texts{"alloc 4294967264"}));
  expect_one_line(decoded.lines, "feiBrokerFib6_ipv6FwdUpdateMsg_unpack", log_format::allocation,
                  "[VARKO]:Malloc unpack data unsuccess, size(4294967264)", 12);
}

TEST(ArraySize, RefusedByTheAllocatorIsReportedAndKeepsTheCount) {
  wire_builder wire = batch_wire(3);
  const decoding<routes> decoded(wire.bytes(), {.fail_allocation = 1});
  EXPECT_EQ(call_texts<routes>(decoded.calls), (texts{"alloc 168"}));
  expect_one_line(decoded.lines, "feiBrokerFib6_ipv6FwdUpdateMsg_unpack", log_format::allocation,
                  "[VARKO]:Malloc unpack data unsuccess, size(168)", 12);
  EXPECT_EQ(decoded.record.f0, batch_f0);
  EXPECT_EQ(decoded.record.f1_count, 3U);
  EXPECT_EQ(decoded.record.f1, nullptr);
}

// ---- elements

TEST(Element, WhoseOffsetWrapsFailsSilently) {
  for (const uint32_t offset : {0xFFFFFFFFU, 0xFFFFFFE4U, 0xFFFFFFE8U})
    expect_refused_element<routes>(one_element({}).set_u32(batch_at::first, offset));
}

TEST(Element, WhoseTableLiesBeyondTheEndIsReportedUnderItsOwnName) {
  const wire_builder wire = one_element({}); // the table in the last four of 40 bytes
  ASSERT_EQ(wire.here(), 40U);
  for (const uint32_t table : {37U, 40U, 41U, 0x7FFFFFFFU, 0xFFFFFFFFU})
    expect_refused_element_header<routes>(
        wire_builder(wire).refer(batch_at::first, table), "feiBrokerFib6_ipv6Fwd_unpack_non_root",
        log_format::table,
        "[VARKO]:Table offset(" + std::to_string(table) + ") is out of range(4 - 40)");
}

TEST(Element, InTheLastFourBytesIsAccepted) {
  const wire_builder wire = one_element({});
  const decoding<routes> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  ASSERT_NE(decoded.record.f1, nullptr);
  const feiBrokerFib6_ipv6Fwd zero{};
  EXPECT_EQ(std::memcmp(decoded.record.f1, &zero, sizeof zero), 0);
}

// An offset of 0 is odd but sound: the offset word doubles as the table word of an empty table.
TEST(Element, MayBeItsOwnOffsetWord) {
  const decoding<hop_keys> decoded(batch_wire(2).bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(call_texts<hop_keys>(decoded.calls), (texts{"alloc 8"}));
  ASSERT_NE(decoded.record.f1, nullptr);
  EXPECT_EQ(decoded.record.f1[0].f0, 0U);
  EXPECT_EQ(decoded.record.f1[1].f0, 0U);
}

TEST(Element, WhoseVtableIsOutOfRangeIsReportedWithItsTable) {
  const wire_builder wire = one_element({});
  for (const uint32_t vtable : {0U, 3U, 37U, 40U, 0x7FFFFFFFU, 0xFFFFFFFFU})
    expect_refused_element_header<routes>(
        wire_builder(wire).set_u32(36, 36 - vtable), "feiBrokerFib6_ipv6Fwd_unpack_non_root",
        log_format::vtable, "[VARKO]:Vtable offset(36) is out of range(4 - 36)");
}

TEST(Element, WhoseVtableEndsBehindTheBufferIsReportedWithItsLength) {
  const wire_builder wire = one_element({});
  for (const uint16_t length : std::initializer_list<uint16_t>{9, 10, 0xFFFF})
    expect_refused_element_header<routes>(
        wire_builder(wire).set_u16(32, length), "feiBrokerFib6_ipv6Fwd_unpack_non_root",
        log_format::vtable_length,
        "[VARKO]:Vtable Len(" + std::to_string(length) + ") is out of range(0 - 8)");
}

TEST(Element, OfAnyMessageIsReportedUnderTheNameOfItsType) {
  const wire_builder wire = wire_builder(one_element({})).refer(batch_at::first, 41);
  const auto refused = [&wire]<class M>(M *, const std::string &type) {
    expect_refused_element_header<M>(wire, "feiBrokerFib6_" + type + "_unpack_non_root",
                                     log_format::table,
                                     "[VARKO]:Table offset(41) is out of range(4 - 40)");
  };
  refused(static_cast<feiBrokerFib6_ipv6FwdDelMsg *>(nullptr), "ipv6FwdKey");
  refused(static_cast<feiBrokerFib6_nhp6GroupDelMsg *>(nullptr), "nhp6GroupKey");
  refused(static_cast<feiBrokerFib6_nhp6DelMsg *>(nullptr), "nhp6Key");
  refused(static_cast<feiBrokerFib6_srv6SrListUpdateMsg *>(nullptr), "srv6SrList");
  refused(static_cast<feiBrokerFib6_srv6SrListDelMsg *>(nullptr), "srv6SrListKey");
  refused(static_cast<feiBrokerFib6_ipv6PathMtuUpdateMsg *>(nullptr), "ipv6PathMtu");
  refused(static_cast<feiBrokerFib6_ipv6PathMtuDelMsg *>(nullptr), "ipv6PathMtuKey");
}

TEST(Element, BehindASoundOneTakesTheSoundOneWithIt) {
  wire_builder wire = batch_wire(2);
  begin_element(wire, 0, {4});
  wire.u32(7);
  wire.set_u32(batch_at::first + 4, 0xFFFFFFF0);
  expect_refused_element<hop_keys>(wire, 2);
  wire.refer(batch_at::first + 4, wire.here() - 3);
  expect_refused_element_header<hop_keys>(wire, "feiBrokerFib6_nhp6Key_unpack_non_root",
                                          log_format::table,
                                          "[VARKO]:Table offset(47) is out of range(4 - 50)", 2);
}

TEST(Element, MayShareItsVtableWithTheRootAndWithOthers) {
  wire_builder wire = batch_wire(2);
  for (uint32_t k = 0; k < 2; ++k) {
    wire.refer(batch_at::first + 4 * k, wire.table(batch_at::vtable));
    wire.u32(100 + k);
    wire.u32(200 + k);
  }
  const decoding<feiBrokerFib6_nhp6GroupDelMsg> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  ASSERT_EQ(decoded.record.f1_count, 2U);
  EXPECT_EQ(decoded.record.f1[0].f0, 100U);
  EXPECT_EQ(decoded.record.f1[0].f1, 200U);
  EXPECT_EQ(decoded.record.f1[1].f0, 101U);
  EXPECT_EQ(decoded.record.f1[1].f1, 201U);
}

TEST(Element, MayBeTheSameTableAsAnother) {
  wire_builder wire = batch_wire(3);
  const uint32_t table = begin_element(wire, 0, {4});
  wire.u32(77);
  wire.refer(batch_at::first + 4, table).refer(batch_at::first + 8, table);
  const decoding<hop_keys> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  ASSERT_EQ(decoded.record.f1_count, 3U);
  for (uint32_t k = 0; k < 3; ++k)
    EXPECT_EQ(decoded.record.f1[k].f0, 77U);
}

TEST(Element, MayHaveItsVtableBehindItsTable) {
  wire_builder wire = batch_wire(1);
  const uint32_t table = wire.u32(0);
  wire.u32(77);
  wire.refer(batch_at::first, table).set_u32(table, table - wire.here());
  wire.vtable({4});
  const decoding<hop_keys> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  ASSERT_NE(decoded.record.f1, nullptr);
  EXPECT_EQ(decoded.record.f1->f0, 77U);
}

// Also of a vtable that is odd or too short for any slot, though what lies behind could be entries.
TEST(Element, OfAnOlderSchemaReadsItsMissingSlotsAsZero) {
  for (uint32_t size = 0; size <= 4 + 2 * 3; ++size) {
    const uint32_t slots = size < 4 ? 0 : (size - 4) / 2;
    wire_builder wire = batch_wire(1);
    const uint32_t vtable = wire.vtable({4, 8, 12});
    wire.set_u16(vtable, size);
    wire.refer(batch_at::first, wire.table(vtable));
    wire.u32(1), wire.u32(2), wire.u32(3);
    const decoding<routes> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    ASSERT_NE(decoded.record.f1, nullptr);
    feiBrokerFib6_ipv6Fwd expected{};
    expected.f0 = slots > 0 ? 1 : 0;
    expected.f1 = slots > 1 ? 2 : 0;
    expected.f2 = slots > 2 ? 3 : 0;
    EXPECT_EQ(std::memcmp(decoded.record.f1, &expected, sizeof expected), 0) << size << " bytes";
  }
}

TEST(Element, OfANewerSchemaLosesItsExtraSlots) {
  wire_builder wire = batch_wire(1);
  begin_element(wire, 0, {4, 0xFFFF, 0x7FFF});
  wire.u32(77);
  const decoding<hop_keys> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  ASSERT_NE(decoded.record.f1, nullptr);
  EXPECT_EQ(decoded.record.f1->f0, 77U);
}

TEST(Element, MayHaveSlotsThatReferToTheSameBytes) {
  wire_builder wire = batch_wire(1);
  begin_element(wire, 0, {4, 4, 4, 4});
  wire.u32(0x11223344);
  const decoding<list_keys> decoded(wire.bytes());
  ASSERT_NE(decoded.record.f1, nullptr);
  EXPECT_EQ(decoded.record.f1->f0, 0x11223344U);
  EXPECT_EQ(decoded.record.f1->f2, 0x11223344U);
  EXPECT_EQ(decoded.record.f1->f3, 0x3344U);
}

TEST(Element, AfterAnotherOfDifferentShapeIsReadByItsOwnVtable) {
  wire_builder wire = batch_wire(4);
  begin_element(wire, 0, {4, 8});
  wire.u32(1), wire.u32(2);
  begin_element(wire, 1, {8, 4});
  wire.u32(3), wire.u32(4);
  begin_element(wire, 2, {0, 4});
  wire.u32(5);
  begin_element(wire, 3, {4});
  wire.u32(6);
  const decoding<feiBrokerFib6_nhp6GroupDelMsg> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  ASSERT_EQ(decoded.record.f1_count, 4U);
  const feiBrokerFib6_nhp6GroupKey expected[] = {
      {.f0 = 1, .f1 = 2}, {.f0 = 4, .f1 = 3}, {.f0 = 0, .f1 = 5}, {.f0 = 6, .f1 = 0}};
  EXPECT_EQ(std::memcmp(decoded.record.f1, expected, sizeof expected), 0);
}

// Equal vtables do not make equal room: the second table of the same shape ends too early.
TEST(Element, OfTheSameShapeAsTheOneBeforeIsBoundedByItself) {
  for (uint32_t missing = 1; missing <= 4; ++missing) {
    wire_builder wire = batch_wire(2);
    begin_element(wire, 0, {4, 8});
    wire.u32(1), wire.u32(2);
    begin_element(wire, 1, {4, 8});
    wire.u32(3), wire.u32(4);
    wire.resize(wire.here() - missing);
    expect_refused_element<feiBrokerFib6_nhp6GroupDelMsg>(wire, 2);
  }
}

// Likewise with a full set of a route's slots and the fixed array in front of the cut.
TEST(Element, RouteOfTheSameShapeAsTheOneBeforeIsBoundedByItself) {
  const auto add_route = [](wire_builder &wire, uint32_t k) {
    begin_element(wire, k, {4, 8, 12, 44, 16, 17, 18, 20, 24, 28, 32, 36, 38, 40});
    wire.fill(40, static_cast<uint8_t>(k + 1)); // the scalars: 4 to 43
    wire.u32(4), wire.u32(4), wire.fill(16);    // the array's reference, count and words
  };
  wire_builder wire = batch_wire(2);
  add_route(wire, 0);
  add_route(wire, 1);
  const uint32_t second = batch_at::first + 4 + wire.u32_at(batch_at::first + 4);
  {
    const decoding<routes> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    ASSERT_NE(decoded.record.f1, nullptr);
    EXPECT_EQ(decoded.record.f1[1].f12, 0x0202U);
  }
  for (uint32_t end = second + 4; end < wire.here(); ++end)
    expect_refused_element<routes>(wire_builder(wire).resize(end), 2);
}

// ---- scalars of an element

TEST(ElementScalar, OfFourBytesIsReadFromTheLastBytes) {
  wire_builder wire = one_element({4});
  wire.u32(0x11223344);
  const decoding<routes> decoded(wire.bytes());
  ASSERT_NE(decoded.record.f1, nullptr);
  EXPECT_EQ(decoded.record.f1->f0, 0x11223344U);
}

TEST(ElementScalar, OfTwoBytesIsReadFromTheLastBytes) {
  wire_builder wire = one_element({0, 0, 0, 4});
  wire.u16(0x1122);
  const decoding<list_keys> decoded(wire.bytes());
  ASSERT_NE(decoded.record.f1, nullptr);
  EXPECT_EQ(decoded.record.f1->f3, 0x1122U);
}

TEST(ElementScalar, OfOneByteIsReadFromTheLastByte) {
  wire_builder wire = one_element({0, 0, 0, 4});
  wire.u8(0x11);
  const decoding<route_keys> decoded(wire.bytes());
  ASSERT_NE(decoded.record.f1, nullptr);
  EXPECT_EQ(decoded.record.f1->f3, 0x11U);
}

TEST(ElementScalar, BeyondTheEndFailsSilentlyAtEachWidth) {
  for (uint32_t bytes = 0; bytes < 4; ++bytes) {
    wire_builder wire = one_element({4});
    wire.fill(bytes, 0xEE);
    expect_refused_element<routes>(wire);
  }
  for (uint32_t bytes = 0; bytes < 2; ++bytes) {
    wire_builder wire = one_element({0, 0, 0, 4});
    wire.fill(bytes, 0xEE);
    expect_refused_element<list_keys>(wire);
  }
  expect_refused_element<route_keys>(one_element({0, 0, 0, 4}));
}

TEST(ElementScalar, WithALargeEntryFailsSilently) {
  for (const uint16_t entry : std::initializer_list<uint16_t>{5, 0x100, 0x7FFF, 0x8000, 0xFFFF}) {
    wire_builder wire = one_element({entry});
    wire.u32(1);
    expect_refused_element<routes>(wire);
  }
}

// ---- fixed arrays

// A path-MTU key whose array has `count` as its length word and `words` words behind it.
wire_builder with_array(uint32_t count, uint32_t words) {
  wire_builder wire = one_element({0, 0, 4});
  wire.u32(4);
  wire.u32(count);
  for (uint32_t i = 0; i < words; ++i)
    wire.u32(0x01020304 * (i + 1));
  return wire;
}

TEST(FixedArray, OfFourWordsAtTheEndIsRead) {
  const decoding<feiBrokerFib6_ipv6PathMtuDelMsg> decoded(with_array(4, 4).bytes());
  EXPECT_TRUE(decoded.silent());
  ASSERT_NE(decoded.record.f1, nullptr);
  for (uint32_t i = 0; i < 4; ++i)
    EXPECT_EQ(decoded.record.f1->f2[i], 0x01020304 * (i + 1));
}

TEST(FixedArray, OfAnyOtherCountFailsSilently) {
  for (const uint32_t count : {0U, 1U, 3U, 5U, 8U, 0x40000004U, 0x80000004U, 0xFFFFFFFFU})
    expect_refused_element<feiBrokerFib6_ipv6PathMtuDelMsg>(with_array(count, 8));
}

TEST(FixedArray, CutShortFailsSilently) {
  const wire_builder wire = with_array(4, 4);
  for (uint32_t missing = 1; missing <= 24; ++missing)
    expect_refused_element<feiBrokerFib6_ipv6PathMtuDelMsg>(
        wire_builder(wire).resize(wire.here() - missing));
}

TEST(FixedArray, WhoseReferenceWrapsFailsSilently) {
  const wire_builder wire = with_array(4, 4);
  const uint32_t reference = wire.here() - 24;
  for (const uint32_t offset : {0xFFFFFFFFU, 0U - reference, 4U - reference, 0x80000000U})
    expect_refused_element<feiBrokerFib6_ipv6PathMtuDelMsg>(
        wire_builder(wire).set_u32(reference, offset));
}

TEST(FixedArray, WhoseCountLiesBeyondTheEndFailsSilently) {
  const wire_builder wire = with_array(4, 4);
  for (uint32_t back = 0; back < 4; ++back)
    expect_refused_element<feiBrokerFib6_ipv6PathMtuDelMsg>(
        wire_builder(wire).refer(wire.here() - 24, wire.here() - back));
}

TEST(FixedArray, ThatIsAbsentReadsAsZero) {
  const decoding<feiBrokerFib6_ipv6PathMtuDelMsg> decoded(one_element({0, 0, 0}).bytes());
  ASSERT_NE(decoded.record.f1, nullptr);
  for (uint32_t word : decoded.record.f1->f2)
    EXPECT_EQ(word, 0U);
}

TEST(FixedArray, OfWordsIsReversedOnlyWhenTheFlagIsOne) {
  for (const uint32_t byte_swap : {1U, 2U, 0xFFFFFFFFU}) {
    wire_builder wire = batch_wire(1, wire_builder::order::big);
    begin_element(wire, 0, {0, 0, 4});
    wire.u32(4);
    wire.u32(4);
    for (uint32_t i = 0; i < 4; ++i)
      wire.u32(0x01020304 * (i + 1));
    const decoding<feiBrokerFib6_ipv6PathMtuDelMsg> decoded(wire.bytes(), {.byte_swap = byte_swap});
    EXPECT_TRUE(decoded.silent());
    EXPECT_EQ(decoded.record.f0, batch_f0);
    ASSERT_NE(decoded.record.f1, nullptr);
    for (uint32_t i = 0; i < 4; ++i) {
      const uint32_t value = 0x01020304 * (i + 1);
      EXPECT_EQ(decoded.record.f1->f2[i], byte_swap == 1 ? value : __builtin_bswap32(value));
    }
  }
}

// ---- byte arrays

// A route key whose byte array has `count` as its length word and `bytes` bytes behind it.
wire_builder with_bytes(uint32_t count, uint32_t bytes,
                        wire_builder::order order = wire_builder::order::little) {
  wire_builder wire = batch_wire(1, order);
  begin_element(wire, 0, {0, 0, 0, 0, 4});
  wire.u32(4);
  wire.u32(count);
  for (uint32_t i = 0; i < bytes; ++i)
    wire.u8(0x31 + i);
  return wire;
}

TEST(ByteArray, OfThreeBytesAtTheEndIsRead) {
  const decoding<route_keys> decoded(with_bytes(3, 3).bytes());
  EXPECT_TRUE(decoded.silent());
  ASSERT_NE(decoded.record.f1, nullptr);
  EXPECT_EQ(decoded.record.f1->f3, 0U);
  EXPECT_EQ(decoded.record.f1->f4[0], 0x31U);
  EXPECT_EQ(decoded.record.f1->f4[1], 0x32U);
  EXPECT_EQ(decoded.record.f1->f4[2], 0x33U);
}

TEST(ByteArray, OfAnyOtherLengthThanThreeFailsSilently) {
  for (const uint32_t count : {0U, 1U, 2U, 4U, 5U, 0x40000003U, 0x80000003U, 0xFFFFFFFFU})
    expect_refused_element<route_keys>(with_bytes(count, 8));
}

TEST(ByteArray, CutShortFailsSilently) {
  const wire_builder wire = with_bytes(3, 3);
  for (uint32_t missing = 1; missing <= 11; ++missing)
    expect_refused_element<route_keys>(wire_builder(wire).resize(wire.here() - missing));
}

TEST(ByteArray, WhoseReferenceWrapsFailsSilently) {
  const wire_builder wire = with_bytes(3, 3);
  const uint32_t reference = wire.here() - 11;
  for (const uint32_t offset : {0xFFFFFFFFU, 0U - reference, 0x80000000U})
    expect_refused_element<route_keys>(wire_builder(wire).set_u32(reference, offset));
}

TEST(ByteArray, IsCopiedAsItStandsWhateverTheFlag) {
  for (const uint32_t byte_swap : {1U, 2U}) {
    const decoding<route_keys> decoded(with_bytes(3, 3, wire_builder::order::big).bytes(),
                                       {.byte_swap = byte_swap});
    ASSERT_NE(decoded.record.f1, nullptr);
    EXPECT_EQ(decoded.record.f1->f4[0], 0x31U);
    EXPECT_EQ(decoded.record.f1->f4[2], 0x33U);
  }
}

// A next-hop update with one element in vector `slot` whose byte array fills element slot `field`.
wire_builder hop_with_bytes(uint32_t slot, uint32_t field, uint32_t count) {
  wire_builder wire;
  wire.u32(24);
  wire.vtable({0, 0, 0, 0, 0, 0, 0, 0});
  wire.set_u16(8 + 2 * slot, 4);
  wire.table(4);
  wire.u32(4);
  wire.u32(1);
  const uint32_t reference = wire.u32(0);
  const uint32_t vtable = wire.vtable({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  wire.set_u16(vtable + 4 + 2 * field, 4);
  wire.refer(reference, wire.table(vtable));
  wire.u32(4);
  wire.u32(count);
  for (uint32_t i = 0; i < 8; ++i)
    wire.u8(0x31 + i);
  return wire;
}

TEST(ByteArray, OfSixBytesIsAcceptedAtSixOnly) {
  for (uint32_t count = 0; count < 9; ++count) {
    const decoding<hops> decoded(hop_with_bytes(5, 7, count).bytes());
    EXPECT_TRUE(decoded.silent());
    EXPECT_EQ(decoded.record.f5_count, 1U);
    ASSERT_EQ(decoded.record.f5 != nullptr, count == 6) << count;
    if (count == 6) {
      EXPECT_EQ(std::memcmp(decoded.record.f5->f7, "123456", 6), 0);
    }
  }
}

TEST(ByteArray, OfAnExtendedHopIsAcceptedAtThreeOnly) {
  for (uint32_t count = 0; count < 9; ++count) {
    const decoding<hops> decoded(hop_with_bytes(3, 7, count).bytes());
    EXPECT_TRUE(decoded.silent());
    ASSERT_EQ(decoded.record.f3 != nullptr, count == 3) << count;
    if (count == 3) {
      EXPECT_EQ(std::memcmp(decoded.record.f3->f7, "123", 3), 0);
    }
  }
}

TEST(ByteArray, OfAVxlanHopIsAcceptedAtThreeOnly) {
  for (uint32_t count = 0; count < 9; ++count) {
    const decoding<hops> decoded(hop_with_bytes(5, 5, count).bytes());
    ASSERT_EQ(decoded.record.f5 != nullptr, count == 3) << count;
  }
}

// ---- tables embedded in a tree record

// A group update of f0 and the embedded group, whose table has one field in slot 0.
struct group_wire {
  wire_builder wire;
  uint32_t reference;
  uint32_t vtable;
  uint32_t table;

  group_wire() {
    wire.u32(14);
    wire.vtable({4, 8, 0});
    wire.table(4);
    wire.u32(batch_f0);
    reference = wire.u32(0);
    vtable = wire.vtable({4});
    table = wire.table(vtable);
    wire.u32(0x11223344);
    wire.refer(reference, table);
  }
};

// Refused at the embedded table: f0 stays, the rest is zero.
void expect_refused_group(const wire_builder &wire) {
  decoding<group> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_TRUE(decoded.calls.empty());
  EXPECT_EQ(decoded.record.f0, batch_f0);
  decoded.record.f0 = 0;
  EXPECT_TRUE(decoded.zeroed());
}

void expect_refused_group(const wire_builder &wire, const std::string &format,
                          const std::string &message) {
  decoding<group> decoded(wire.bytes());
  expect_one_line(decoded.lines, "feiBrokerFib6_nhp6Group_unpack_non_root", format, message);
  EXPECT_TRUE(decoded.calls.empty());
  EXPECT_EQ(decoded.record.f0, batch_f0);
  decoded.record.f0 = 0;
  EXPECT_TRUE(decoded.zeroed());
}

TEST(EmbeddedTable, AtTheEndIsRead) {
  const group_wire it;
  const decoding<group> decoded(it.wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(decoded.record.f0, batch_f0);
  EXPECT_EQ(decoded.record.f1.f0, 0x11223344U);
  EXPECT_EQ(decoded.record.f1.f4, 0U);
}

// What follows is still read: a vector of one element, its count where the sub-table's field was.
TEST(EmbeddedTable, MayBeItsOwnOffsetWord) {
  group_wire it;
  const uint32_t count = it.table + 4;
  it.wire.set_u32(it.reference, 0).set_u16(4 + 4 + 2 * 2, 12);
  it.wire.refer(14 + 12, count).set_u32(count, 1).u32(0);
  const decoding<group> decoded(it.wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(decoded.record.f0, batch_f0);
  EXPECT_EQ(decoded.record.f1.f0, 0U);
  EXPECT_EQ(decoded.record.f2_count, 1U);
  EXPECT_NE(decoded.record.f2, nullptr);
}

TEST(EmbeddedTable, WhoseOffsetWordIsCutFailsSilently) {
  const group_wire it;
  // The cut message still has the root's vtable and f0, and loses bytes of the word.
  for (uint32_t kept = 0; kept < 4; ++kept)
    expect_refused_group(wire_builder(it.wire).resize(it.reference + kept));
}

TEST(EmbeddedTable, WhoseOffsetWrapsFailsSilently) {
  const group_wire it;
  for (const uint32_t offset : {0xFFFFFFFFU, 0U - it.reference, 4U - it.reference})
    expect_refused_group(wire_builder(it.wire).set_u32(it.reference, offset));
}

TEST(EmbeddedTable, BeyondTheEndIsReportedUnderItsOwnName) {
  const group_wire it;
  const uint32_t size = it.wire.here();
  for (const uint32_t table : {size - 3, size, size + 1, 0x7FFFFFFFU, 0xFFFFFFFFU})
    expect_refused_group(wire_builder(it.wire).refer(it.reference, table), log_format::table,
                         "[VARKO]:Table offset(" + std::to_string(table) +
                             ") is out of range(4 - " + std::to_string(size) + ")");
}

TEST(EmbeddedTable, WhoseVtableIsOutOfRangeIsReportedWithItsTable) {
  const group_wire it;
  const uint32_t size = it.wire.here();
  for (const uint32_t vtable : {0U, 3U, size - 3, size, 0xFFFFFFFFU})
    expect_refused_group(wire_builder(it.wire).set_u32(it.table, it.table - vtable),
                         log_format::vtable,
                         "[VARKO]:Vtable offset(" + std::to_string(it.table) +
                             ") is out of range(4 - " + std::to_string(size - 4) + ")");
}

TEST(EmbeddedTable, WhoseVtableEndsBehindTheBufferIsReportedWithItsLength) {
  const group_wire it;
  const uint32_t rest = it.wire.here() - it.vtable;
  for (const uint32_t length : {rest + 1, 0xFFFFU})
    expect_refused_group(wire_builder(it.wire).set_u16(it.vtable, length),
                         log_format::vtable_length,
                         "[VARKO]:Vtable Len(" + std::to_string(length) + ") is out of range(0 - " +
                             std::to_string(rest) + ")");
}

TEST(EmbeddedTable, WhoseScalarIsCutFailsSilently) {
  const group_wire it;
  for (uint32_t missing = 1; missing <= 4; ++missing)
    expect_refused_group(wire_builder(it.wire).resize(it.wire.here() - missing));
}

TEST(EmbeddedTable, OfANextHopUpdateIsReportedUnderItsOwnName) {
  wire_builder wire;
  wire.u32(24);
  wire.vtable({4, 8, 0, 0, 0, 0, 0, 0});
  wire.table(4);
  wire.u32(batch_f0);
  wire.u32(5);
  const decoding<hops> decoded(wire.bytes());
  expect_one_line(decoded.lines, "feiBrokerFib6_nhp6_unpack_non_root", log_format::table,
                  "[VARKO]:Table offset(37) is out of range(4 - 36)");
  EXPECT_EQ(decoded.record.f0, batch_f0);
}

TEST(EmbeddedTable, WithAnArrayOfThreeWordsFailsTheNextHopUpdate) {
  for (const uint32_t count : {3U, 4U, 5U}) {
    wire_builder wire;
    wire.u32(24);
    wire.vtable({4, 8, 0, 0, 0, 0, 0, 0});
    wire.table(4);
    wire.u32(batch_f0);
    const uint32_t reference = wire.u32(0);
    const uint32_t vtable = wire.vtable({4, 0, 0, 0, 8, 0, 0, 0, 0, 12});
    wire.refer(reference, wire.table(vtable));
    wire.u32(0x11223344);
    wire.u32(8);
    wire.u32(0x55667788);
    wire.u32(count);
    for (uint32_t i = 0; i < 5; ++i)
      wire.u32(i + 1);
    const decoding<hops> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    EXPECT_EQ(decoded.record.f0, batch_f0);
    EXPECT_EQ(decoded.record.f1.f0, 0x11223344U) << "read before the array";
    EXPECT_EQ(decoded.record.f1.f4[0], count == 4 ? 1U : 0U);
    EXPECT_EQ(decoded.record.f1.f9, count == 4 ? 0x55667788U : 0U) << "decoding stops at the array";
  }
}

// ---- flat records

// A setting of four scalars and an array with `count` as its length word, five words behind it.
wire_builder setting_wire(uint32_t count) {
  wire_builder wire;
  wire.u32(18);
  wire.vtable({4, 8, 12, 16, 20});
  wire.table(4);
  for (uint32_t i = 0; i < 4; ++i)
    wire.u32(101 + i);
  wire.u32(4);
  wire.u32(count);
  for (uint32_t i = 0; i < 5; ++i)
    wire.u32(201 + i);
  return wire;
}

// What the first `members` scalars hold, everything else zero, nothing logged or allocated.
void expect_setting(const wire_builder &wire, uint32_t members) {
  const decoding<setting> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_TRUE(decoded.calls.empty());
  EXPECT_EQ(decoded.record.f0, members > 0 ? 101U : 0U);
  EXPECT_EQ(decoded.record.f1, members > 1 ? 102U : 0U);
  EXPECT_EQ(decoded.record.f2, members > 2 ? 103U : 0U);
  EXPECT_EQ(decoded.record.f3, members > 3 ? 104U : 0U);
  for (uint32_t i = 0; i < 4; ++i)
    EXPECT_EQ(decoded.record.f4[i], members > 4 ? 201 + i : 0U);
}

TEST(FlatRecord, WithAnArrayOfAnyOtherCountStopsThere) {
  expect_setting(setting_wire(4), 5);
  for (const uint32_t count : {0U, 3U, 5U, 0x40000004U, 0xFFFFFFFFU})
    expect_setting(setting_wire(count), 4);
}

TEST(FlatRecord, CutShortKeepsWhatWasReadBefore) {
  const wire_builder wire = setting_wire(4);
  for (uint32_t size = 22; size < wire.here() - 4; ++size)
    expect_setting(wire_builder(wire).resize(size), std::min((size - 22) / 4, 4U));
}

TEST(FlatRecord, StopsAtTheFirstFieldThatFailsThoughLaterOnesAreSound) {
  expect_setting(setting_wire(4).set_u16(4 + 4 + 2 * 1, 0xFFFF), 1);
  expect_setting(setting_wire(4).set_u16(4 + 4 + 2 * 3, 0xFFFF), 3);
}

TEST(FlatRecord, GoesOnBehindAnAbsentField) {
  const decoding<setting> decoded(setting_wire(4).set_u16(4 + 4 + 2 * 1, 0).bytes());
  EXPECT_EQ(decoded.record.f0, 101U);
  EXPECT_EQ(decoded.record.f1, 0U);
  EXPECT_EQ(decoded.record.f2, 103U);
  EXPECT_EQ(decoded.record.f4[3], 204U);
}

TEST(FlatRecord, WhoseArrayReferenceIsBadStopsThere) {
  for (const uint32_t offset : {0xFFFFFFFFU, 0x80000000U, 100U, 24U, 22U})
    expect_setting(setting_wire(4).set_u32(38, offset), 4);
}

// A process state of f0 and the embedded table, whose three scalars follow its table word.
struct pid_wire {
  wire_builder wire;
  uint32_t reference;
  uint32_t vtable;
  uint32_t table;

  pid_wire() {
    wire.u32(12);
    wire.vtable({4, 8});
    wire.table(4);
    wire.u32(batch_f0);
    reference = wire.u32(0);
    vtable = wire.vtable({4, 8, 12});
    table = wire.table(vtable);
    wire.u32(101), wire.u32(102), wire.u32(103);
    wire.refer(reference, table);
  }
};

void expect_pid_state(const decoding<pid_state> &decoded, uint32_t members) {
  EXPECT_TRUE(decoded.calls.empty());
  EXPECT_EQ(decoded.record.f0, batch_f0);
  EXPECT_EQ(decoded.record.f1.f0, members > 0 ? 101U : 0U);
  EXPECT_EQ(decoded.record.f1.f1, members > 1 ? 102U : 0U);
  EXPECT_EQ(decoded.record.f1.f2, members > 2 ? 103U : 0U);
}

void expect_silent_pid_state(const wire_builder &wire, uint32_t members) {
  const decoding<pid_state> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  expect_pid_state(decoded, members);
}

TEST(FlatRecord, KeepsWhatItsEmbeddedTableHeldBeforeTheCut) {
  const pid_wire it;
  expect_silent_pid_state(it.wire, 3);
  for (uint32_t kept = 0; kept < 12; ++kept)
    expect_silent_pid_state(wire_builder(it.wire).resize(it.table + 4 + kept), kept / 4);
}

TEST(FlatRecord, WhoseEmbeddedTablesOffsetIsCutOrWrapsStopsSilently) {
  const pid_wire it;
  for (uint32_t kept = 0; kept < 4; ++kept)
    expect_silent_pid_state(wire_builder(it.wire).resize(it.reference + kept), 0);
  for (const uint32_t offset : {0xFFFFFFFFU, 0U - it.reference, 4U - it.reference})
    expect_silent_pid_state(wire_builder(it.wire).set_u32(it.reference, offset), 0);
}

TEST(FlatRecord, WhoseEmbeddedTableIsOutOfRangeSaysSoUnderItsName) {
  const pid_wire it;
  const std::string name = "feiBrokerFib6_pidState_unpack_non_root";
  const uint32_t size = it.wire.here();
  {
    const decoding<pid_state> decoded(wire_builder(it.wire).refer(it.reference, size - 3).bytes());
    expect_one_line(decoded.lines, name, log_format::table,
                    "[VARKO]:Table offset(" + std::to_string(size - 3) + ") is out of range(4 - " +
                        std::to_string(size) + ")");
    expect_pid_state(decoded, 0);
  }
  {
    const decoding<pid_state> decoded(
        wire_builder(it.wire).set_u32(it.table, it.table - 3).bytes());
    expect_one_line(decoded.lines, name, log_format::vtable,
                    "[VARKO]:Vtable offset(" + std::to_string(it.table) + ") is out of range(4 - " +
                        std::to_string(size - 4) + ")");
    expect_pid_state(decoded, 0);
  }
  const uint32_t rest = size - it.vtable;
  const decoding<pid_state> decoded(wire_builder(it.wire).set_u16(it.vtable, rest + 1).bytes());
  expect_one_line(decoded.lines, name, log_format::vtable_length,
                  "[VARKO]:Vtable Len(" + std::to_string(rest + 1) + ") is out of range(0 - " +
                      std::to_string(rest) + ")");
  expect_pid_state(decoded, 0);
}

TEST(FlatRecord, ReadsAnOlderEmbeddedTable) {
  const pid_wire it;
  expect_silent_pid_state(wire_builder(it.wire).set_u16(it.vtable, 4), 0);
  expect_silent_pid_state(wire_builder(it.wire).set_u16(it.vtable, 6), 1);
  expect_silent_pid_state(wire_builder(it.wire).set_u16(it.vtable, 7), 1);
  expect_silent_pid_state(wire_builder(it.wire).set_u16(it.vtable, 8), 2);
}

} // namespace
