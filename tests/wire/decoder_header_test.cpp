// What a decoder checks before it reads a field: parameters, root offset, vtable, vtable length.
// Of every message, in two forms that differ in what a refusal leaves and how it is
// named.
//
// Room: tests.
#include "tests/reference/wire_builder.h"
#include "tests/support/guarded_buffer.h"
#include "tests/wire/decoding.h"
#include "tests/wire/log_expectation.h"

#include <gtest/gtest.h>

namespace {

// A root offset and, behind it, words that the tests set: position 4 onward is zero.
wire_builder header(uint32_t root, uint32_t size) {
  wire_builder wire;
  wire.u32(root);
  wire.resize(size);
  return wire;
}

template <class M>
class Decoder {
protected:
  using op = operations<M>;

  static std::string unpack_name() { return std::string(op::name) + "_unpack"; }

  // The name under which a bad root header is reported.
  static std::string header_name() {
    return unpack_name() + (is_table_form<M>() ? "_non_root" : "");
  }

  // A refusal of the root header: one line, no allocation, the record as the form leaves it.
  static void expect_refused_header(const wire_builder &wire, const std::string &format,
                                    const std::string &message) {
    const decoding<M> decoded(wire.bytes());
    expect_one_line(decoded.lines, header_name(), format, message);
    EXPECT_TRUE(decoded.calls.empty());
    EXPECT_TRUE(is_table_form<M>() ? decoded.zeroed() : decoded.untouched());
  }

  // A message without any field: accepted in silence, the record all zero.
  static void expect_accepted_as_empty(const wire_builder &wire) {
    const decoding<M> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    EXPECT_TRUE(decoded.calls.empty());
    EXPECT_TRUE(decoded.zeroed());
  }

  // A refusal of the parameters, which never touches the record.
  static void expect_refused_parameters(const uint8_t *buffer, uint32_t length,
                                        const std::string &values) {
    const decoding<M> decoded(buffer, length);
    expect_one_line(decoded.lines, unpack_name(), log_format::unpack_parameters,
                    "[VARKO]:Param invalid(" + values + ")");
    EXPECT_TRUE(decoded.calls.empty());
    EXPECT_TRUE(decoded.untouched());
  }
};
using Decoder_messages = all_messages;

MESSAGE_TEST(Decoder, RefusesANullBuffer) {
  this->expect_refused_parameters(nullptr, 64, "null, 64, nonNull");
}

MESSAGE_TEST(Decoder, RefusesFewerThanFourBytes) {
  for (uint32_t length = 0; length < 4; ++length) {
    guarded_buffer buffer(length);
    this->expect_refused_parameters(buffer.data(), length,
                                    "nonNull, " + std::to_string(length) + ", nonNull");
  }
}

MESSAGE_TEST(Decoder, RefusesALengthThatIsNegativeAsASignedNumber) {
  guarded_buffer buffer(64);
  this->expect_refused_parameters(buffer.data(), 0x80000000, "nonNull, -2147483648, nonNull");
  this->expect_refused_parameters(buffer.data(), 0xFFFFFFFF, "nonNull, -1, nonNull");
}

MESSAGE_TEST(Decoder, RefusesANullRecordYetTellsItsSize) {
  bind_units<TypeParam>();
  guarded_buffer buffer(16);
  fake_osal::reset();
  EXPECT_EQ(TestFixture::op::unpack(buffer.data(), 16, nullptr), sizeof(TypeParam));
  expect_one_line(fake_osal::log_lines(), this->unpack_name(), log_format::unpack_parameters,
                  "[VARKO]:Param invalid(nonNull, 16, null)");
  fake_osal::reset();
  EXPECT_EQ(TestFixture::op::unpack(nullptr, 0, nullptr), sizeof(TypeParam));
  expect_one_line(fake_osal::log_lines(), this->unpack_name(), log_format::unpack_parameters,
                  "[VARKO]:Param invalid(null, 0, null)");
  EXPECT_TRUE(fake_osal::calls().empty());
}

MESSAGE_TEST(Decoder, RefusesAnyRootOffsetInFourBytes) {
  this->expect_refused_header(header(4, 4), log_format::table,
                              "[VARKO]:Table offset(4) is out of range(4 - 4)");
  this->expect_refused_header(header(0, 4), log_format::table,
                              "[VARKO]:Table offset(0) is out of range(4 - 4)");
}

MESSAGE_TEST(Decoder, RefusesARootOffsetWhoseWordWouldNotFitInFiveToSevenBytes) {
  for (uint32_t size = 5; size < 8; ++size)
    this->expect_refused_header(header(4, size), log_format::table,
                                "[VARKO]:Table offset(4) is out of range(4 - " +
                                    std::to_string(size) + ")");
}

MESSAGE_TEST(Decoder, RejectsARootOffsetIntoTheFirstFourBytes) {
  for (uint32_t root = 0; root < 4; ++root)
    this->expect_refused_header(header(root, 16), log_format::table,
                                "[VARKO]:Table offset(" + std::to_string(root) +
                                    ") is out of range(4 - 16)");
}

MESSAGE_TEST(Decoder, RejectsARootOffsetBeyondTheLastFourBytes) {
  for (const uint32_t root : {13U, 16U, 17U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFCU, 0xFFFFFFFFU})
    this->expect_refused_header(header(root, 16), log_format::table,
                                "[VARKO]:Table offset(" + std::to_string(root) +
                                    ") is out of range(4 - 16)");
}

MESSAGE_TEST(Decoder, AcceptsATableInTheLastFourBytes) {
  wire_builder wire = header(12, 16);
  wire.set_u32(12, 12 - 4).set_u16(4, 4); // vtable at 4, of length 4
  this->expect_accepted_as_empty(wire);
}

MESSAGE_TEST(Decoder, AcceptsARootOffsetOfFourInEightBytes) {
  // The table word 0 puts the vtable on the table itself: a vtable of length 0.
  this->expect_accepted_as_empty(header(4, 8));
}

MESSAGE_TEST(Decoder, RejectsAVtableInTheFirstFourBytes) {
  for (uint32_t vtable = 0; vtable < 4; ++vtable) {
    wire_builder wire = header(12, 24);
    wire.set_u32(12, 12 - vtable);
    this->expect_refused_header(wire, log_format::vtable,
                                "[VARKO]:Vtable offset(12) is out of range(4 - 20)");
  }
}

MESSAGE_TEST(Decoder, RejectsAVtableBeyondTheLastFourBytes) {
  for (const uint32_t vtable : {21U, 24U, 25U, 0x7FFFFFFFU, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
    wire_builder wire = header(12, 24);
    wire.set_u32(12, 12 - vtable);
    this->expect_refused_header(wire, log_format::vtable,
                                "[VARKO]:Vtable offset(12) is out of range(4 - 20)");
  }
}

MESSAGE_TEST(Decoder, ReportsTheTableNotTheVtableWhenTheVtableIsOutOfRange) {
  wire_builder wire = header(8, 64);
  wire.set_u32(8, 0x12345678);
  this->expect_refused_header(wire, log_format::vtable,
                              "[VARKO]:Vtable offset(8) is out of range(4 - 60)");
}

MESSAGE_TEST(Decoder, AcceptsAVtableBeforeOrBehindTheTable) {
  for (const uint32_t vtable : {4U, 20U}) {
    wire_builder wire = header(12, 24);
    wire.set_u32(12, 12 - vtable).set_u16(vtable, 4);
    this->expect_accepted_as_empty(wire);
  }
}

MESSAGE_TEST(Decoder, RejectsAVtableThatEndsBehindTheBuffer) {
  for (const uint16_t length : std::initializer_list<uint16_t>{5, 6, 0x7FFF, 0xFFFF}) {
    wire_builder wire = header(12, 24);
    wire.set_u32(12, 12U - 20U).set_u16(20, length);
    this->expect_refused_header(wire, log_format::vtable_length,
                                "[VARKO]:Vtable Len(" + std::to_string(length) +
                                    ") is out of range(0 - 4)");
  }
}

MESSAGE_TEST(Decoder, RejectsAVtableOneByteLongerThanWhatFollows) {
  wire_builder wire = header(12, 24);
  wire.set_u32(12, 12 - 4).set_u16(4, 21);
  this->expect_refused_header(wire, log_format::vtable_length,
                              "[VARKO]:Vtable Len(21) is out of range(0 - 20)");
}

MESSAGE_TEST(Decoder, AcceptsAVtableThatEndsWithTheBuffer) {
  wire_builder wire;
  wire.u32(4);
  wire.u32(4U - 8U);                 // table at 4, vtable at 8
  wire.u16(4 + 2 * 32), wire.u16(0); // all slots absent
  wire.fill(64);
  this->expect_accepted_as_empty(wire);
}

MESSAGE_TEST(Decoder, ReadsAVtableTooShortForASlotAsAnEmptyTable) {
  for (uint16_t length = 0; length < 6; ++length) {
    wire_builder wire = header(12, 24);
    wire.set_u32(12, 12 - 4).set_u16(4, length);
    wire.set_u16(8, 4).set_u32(16, 0x11223344); // a slot that is not in the vtable
    this->expect_accepted_as_empty(wire);
  }
}

MESSAGE_TEST(Decoder, IgnoresTheTableSize) {
  for (const uint16_t size : std::initializer_list<uint16_t>{0, 1, 0x7FFF, 0xFFFF}) {
    wire_builder wire = header(12, 24);
    wire.set_u32(12, 12 - 4).set_u16(4, 6).set_u16(6, size).set_u16(8, 4).set_u32(16, 0x11223344);
    const decoding<TypeParam> decoded(wire.bytes());
    EXPECT_EQ(decoded.record.f0, 0x11223344U);
    EXPECT_TRUE(decoded.silent());
  }
}

MESSAGE_TEST(Decoder, ReportsOnlyTheFirstOfSeveralDefects) {
  wire_builder wire = header(13, 16); // root out of range; whatever follows would be wrong as well
  wire.set_u32(4, 0xFFFFFFFF).set_u32(8, 0xFFFFFFFF).set_u32(12, 0xFFFFFFFF);
  this->expect_refused_header(wire, log_format::table,
                              "[VARKO]:Table offset(13) is out of range(4 - 16)");
  wire.set_u32(0, 8); // now the vtable is out of range, and its length would be
  wire.set_u32(8, 8U - 13U);
  this->expect_refused_header(wire, log_format::vtable,
                              "[VARKO]:Vtable offset(8) is out of range(4 - 12)");
}

MESSAGE_TEST(Decoder, ReadsTheFirstScalarFromTheLastBytes) {
  wire_builder wire;
  wire.u32(12);
  wire.vtable({4});
  wire.u16(0);
  wire.u32(8);
  wire.u32(0x11223344);
  const decoding<TypeParam> decoded(wire.bytes());
  EXPECT_EQ(decoded.record.f0, 0x11223344U);
  EXPECT_TRUE(decoded.silent());
  EXPECT_TRUE(decoded.calls.empty());
}

MESSAGE_TEST(Decoder, FailsSilentlyOnARootScalarBeyondTheEnd) {
  for (const uint16_t entry : std::initializer_list<uint16_t>{1, 2, 4, 5, 0x7FFF, 0xFFFF}) {
    wire_builder wire;
    wire.u32(12);
    wire.vtable({entry});
    wire.u16(0);
    wire.u32(8);
    wire.fill(entry < 4 ? 0U : 3U, 0xEE); // one byte too few, or none behind the table word
    const decoding<TypeParam> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    EXPECT_TRUE(decoded.calls.empty());
    EXPECT_TRUE(decoded.zeroed());
  }
}

MESSAGE_TEST(Decoder, ReadsAScalarThatOverlapsTheTableWord) {
  wire_builder wire;
  wire.u32(12);
  wire.vtable({2});
  wire.u16(0);
  wire.u32(8);      // 08 00 00 00 at 12
  wire.u32(0xBBAA); // so the scalar at 14 is 00 00 aa bb
  const decoding<TypeParam> decoded(wire.bytes());
  EXPECT_EQ(decoded.record.f0, 0xBBAA0000U);
}

MESSAGE_TEST(Decoder, ReadsScalarsAtAnyAlignment) {
  for (uint32_t shift = 0; shift < 8; ++shift) {
    wire_builder wire;
    wire.u32(12 + shift);
    wire.fill(shift);
    const uint32_t vtable = wire.vtable({4});
    wire.u16(0);
    wire.table(vtable);
    wire.u32(0x11223344);
    const decoding<TypeParam> decoded(wire.bytes());
    EXPECT_EQ(decoded.record.f0, 0x11223344U) << "shifted by " << shift;
  }
}

MESSAGE_TEST(Decoder, ReadsMissingTrailingSlotsAsZero) {
  wire_builder wire;
  wire.u32(12);
  wire.vtable({4});
  wire.u16(0xFFFF); // would be slot 1, but the vtable ends before it
  wire.u32(8);
  wire.u32(0x11223344);
  decoding<TypeParam> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(decoded.record.f0, 0x11223344U);
  decoded.record.f0 = 0;
  EXPECT_TRUE(decoded.zeroed());
}

MESSAGE_TEST(Decoder, TakesHalfASlotAtTheEndOfAnOddVtableForNone) {
  wire_builder wire;
  wire.u32(12);
  wire.vtable({4});
  wire.u16(0xFFFF);
  wire.set_u16(4, 7); // slot 1 would need a length of 8
  wire.u32(8);
  wire.u32(0x11223344);
  const decoding<TypeParam> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(decoded.record.f0, 0x11223344U);
}

MESSAGE_TEST(Decoder, IgnoresSlotsThatItsSchemaDoesNotHave) {
  constexpr uint16_t slots = mesh_fib6::wire::table<TypeParam>::slots;
  constexpr uint16_t extra = 200;
  wire_builder wire;
  const uint32_t root = wire.u32(0);
  const uint32_t vtable = wire.here();
  wire.u16(4 + 2 * (slots + extra)), wire.u16(0);
  for (uint16_t i = 0; i < slots + extra; ++i)
    wire.u16(i == 0 ? 4 : i < slots ? 0 : 0xFFFF);
  wire.set_u32(root, wire.here());
  wire.table(vtable);
  wire.u32(0x11223344);
  decoding<TypeParam> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(decoded.record.f0, 0x11223344U);
  decoded.record.f0 = 0;
  EXPECT_TRUE(decoded.zeroed());
}

MESSAGE_TEST(Decoder, ReadsAHeaderInReversedByteOrder) {
  for (const uint32_t byte_swap : {1U, 2U}) {
    wire_builder wire(wire_builder::order::big);
    wire.u32(12);
    wire.vtable({4});
    wire.u16(0);
    wire.u32(8);
    wire.u32(0x11223344);
    const decoding<TypeParam> decoded(wire.bytes(), {.byte_swap = byte_swap});
    EXPECT_TRUE(decoded.silent());
    EXPECT_EQ(decoded.record.f0, 0x11223344U);
  }
}

MESSAGE_TEST(Decoder, RefusesAHeaderInTheWrongByteOrder) {
  wire_builder wire(wire_builder::order::big);
  wire.u32(12);
  wire.fill(20);
  this->expect_refused_header(wire, log_format::table,
                              "[VARKO]:Table offset(201326592) is out of range(4 - 24)");
}

// Binding is part of the order: behind the header checks in the one form, before them in the other.
MESSAGE_TEST(Decoder, BindsTheUnitWhereItsFormSays) {
  bind_units<TypeParam>();
  mesh_fib6::runtime::unit &unit = units_of<TypeParam>().recv;
  TypeParam record;
  const auto bound_after = [&](const wire_builder &wire) {
    unit.runtime.cache_bound = 0;
    const guarded_buffer buffer(wire.bytes());
    TestFixture::op::unpack(buffer.data(), buffer.size(), &record);
    return unit.runtime.cache_bound == 1;
  };
  EXPECT_FALSE(bound_after(header(4, 3))) << "refused parameters bind nothing";
  EXPECT_EQ(bound_after(header(13, 16)), is_table_form<TypeParam>());
  EXPECT_TRUE(bound_after(header(4, 8)));
}

} // namespace
