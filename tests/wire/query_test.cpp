// The control messages of module fib6 and the query messages of module fib6_cfg beyond their
// reviewed bytes: sizes and presence at the edges, what a spoiled message leaves in the record and
// in the log, and who owns the blocks behind a query.
//
// Room: tests.
#include "tests/reference/navigation.h"
#include "tests/reference/wire_builder.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/guarded_buffer.h"
#include "tests/wire/decoding.h"
#include "tests/wire/golden.h"
#include "tests/wire/log_expectation.h"
#include "tests/wire/query_messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

namespace {

using texts = std::vector<std::string>;
using bytes = std::vector<uint8_t>;

constexpr uint32_t failed = 0xFFFFFFFF;

template <class M>
wire_builder sound_image(const char *name) {
  return wire_builder(golden::file_of<M>().bytes_of(name));
}

using golden::record_of;

template <class M>
bytes packed(const M &record) {
  bytes ample(1024);
  uint32_t length = 1024;
  EXPECT_EQ(operations<M>::pack(&record, ample.data(), &length), 0U);
  guarded_buffer exact(length);
  EXPECT_EQ(operations<M>::pack(&record, exact.data(), &length), 0U);
  return exact.bytes();
}

// ---- the way through a message, found by following the message itself

using image::entry_at;
using image::root_of;
using image::slots_of;
using image::target_of;
using image::vtable_of;

// Where a field lies that must be there.
uint32_t field_of(const wire_builder &wire, uint32_t table, uint32_t slot) {
  EXPECT_NE(entry_at(wire, table, slot), 0U) << "slot " << slot;
  return image::field_of(wire, table, slot);
}

uint32_t target_of_slot(const wire_builder &wire, uint32_t table, uint32_t slot) {
  return target_of(wire, field_of(wire, table, slot));
}

void expect_every_slot_present(const wire_builder &wire, uint32_t table) {
  for (uint32_t slot = 0; slot < slots_of(wire, table); ++slot)
    EXPECT_NE(entry_at(wire, table, slot), 0U) << "slot " << slot;
}

// ---- the three refusals of a table's header

struct spoiled_header {
  wire_builder wire;
  const char *format;
  std::string message;
};

// `reference` is the word that leads to the table; where it is 0, it is the root offset.
std::vector<spoiled_header> spoil_header(const wire_builder &sound, uint32_t reference) {
  const uint32_t size = sound.here();
  const uint32_t table = target_of(sound, reference), beyond = size - 3;
  const uint32_t vtable = vtable_of(sound, table);
  const auto line = [](const char *what, uint32_t value, uint32_t from, uint32_t to) {
    return std::string("[VARKO]:") + what + "(" + std::to_string(value) + ") is out of range(" +
           std::to_string(from) + " - " + std::to_string(to) + ")";
  };
  return {
      {wire_builder(sound).refer(reference, beyond), log_format::table,
       line("Table offset", beyond, 4, size)},
      {wire_builder(sound).set_u32(table, table - 3), log_format::vtable,
       line("Vtable offset", table, 4, size - 4)},
      {wire_builder(sound).set_u16(vtable, 0xFFFF), log_format::vtable_length,
       line("Vtable Len", 0xFFFF, 0, size - vtable)},
  };
}

template <class M>
struct RootHeader {};
using header_messages =
    testing::Types<feiBrokerFib6_classItemMsg, feiBrokerFib6_vrfClassStateMsg,
                   feiBrokerFib6_vrfClassDataMsg, feiBrokerFib6_lrClassDataMsg,
                   feiBrokerFib6_loadBalanceMode, feiBrokerFib6_loadBalanceReverse,
                   feiBrokerFib6_dod_enable, feiBrokerFib6_dod_rule, feiBrokerFib6_dod_aging,
                   feiBrokerFib6_special_ip, fib6_cfg_query_fib6_key, fib6_cfg_query_fib6_rec,
                   fib6_cfg_query_dfx_key, fib6_cfg_query_dfx_rec, fib6_cfg_query_fib6check_key,
                   fib6_cfg_query_fib6check_rec>;
using RootHeader_messages = header_messages;

MESSAGE_TEST(RootHeader, ThatIsBadIsReportedUnderTheNameOfItsForm) {
  const bool table_form = is_table_form<TypeParam>();
  const std::string name =
      std::string(operations<TypeParam>::name) + (table_form ? "_unpack_non_root" : "_unpack");
  for (const spoiled_header &each : spoil_header(sound_image<TypeParam>("full"), 0)) {
    const decoding<TypeParam> decoded(each.wire.bytes());
    expect_one_line(decoded.lines, name, each.format, each.message);
    EXPECT_TRUE(decoded.calls.empty());
    EXPECT_TRUE(table_form ? decoded.zeroed() : decoded.untouched());
  }
}

MESSAGE_TEST(RootHeader, IsNotReadWhenTheParametersAreBad) {
  const decoding<TypeParam> decoded(sound_image<TypeParam>("full").bytes().data(), 3);
  expect_one_line(decoded.lines, std::string(operations<TypeParam>::name) + "_unpack",
                  log_format::unpack_parameters, "[VARKO]:Param invalid(nonNull, 3, nonNull)");
  EXPECT_TRUE(decoded.untouched());
}

MESSAGE_TEST(RootHeader, WithoutAnySlotMeansARecordOfZeros) {
  wire_builder wire;
  wire.u32(8);
  wire.table(wire.vtable({}));
  const decoding<TypeParam> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_TRUE(decoded.zeroed());
  EXPECT_TRUE(decoded.calls.empty());
}

// ---- control messages

// Sizes of a record of zeros: as a fixed image and packed.
template <class M>
struct zero_sizes;
#define MESH_FIB6_ZERO_SIZES(M, FIXED, COMPACT)                                                    \
  template <>                                                                                      \
  struct zero_sizes<M> {                                                                           \
    static constexpr uint32_t fixed = FIXED, compact = COMPACT;                                    \
  }
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_classItemMsg, 56, 34);
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_vrfClassStateMsg, 72, 40);
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_vrfClassDataMsg, 80, 42);
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_lrClassDataMsg, 32, 18);
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_loadBalanceMode, 48, 26);
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_loadBalanceReverse, 32, 18);
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_dod_enable, 32, 18);
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_dod_rule, 64, 46);
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_dod_aging, 48, 24);
MESH_FIB6_ZERO_SIZES(feiBrokerFib6_special_ip, 32, 20);
#undef MESH_FIB6_ZERO_SIZES

template <class M>
constexpr bool has_sub_table() {
  return requires(M m) {
    m.f1.f0;
  };
}

template <class M>
struct Control {};
using Control_messages =
    testing::Types<feiBrokerFib6_classItemMsg, feiBrokerFib6_vrfClassStateMsg,
                   feiBrokerFib6_vrfClassDataMsg, feiBrokerFib6_lrClassDataMsg,
                   feiBrokerFib6_loadBalanceMode, feiBrokerFib6_loadBalanceReverse,
                   feiBrokerFib6_dod_enable, feiBrokerFib6_dod_rule, feiBrokerFib6_dod_aging,
                   feiBrokerFib6_special_ip>;

MESSAGE_TEST(Control, OfZerosIsSentWithEveryFieldAndPackedWithoutThem) {
  bind_units<TypeParam>();
  const TypeParam zero{};
  fake_mesh::reset();
  EXPECT_EQ(operations<TypeParam>::sendsingle(9, &zero, 0, 0), 0U);
  const auto sends = fake_mesh::sends();
  ASSERT_EQ(sends.size(), 1U);
  ASSERT_EQ(sends.front().messages.size(), 1U);
  const wire_builder sent(sends.front().messages.front().bytes);
  EXPECT_EQ(sent.here(), zero_sizes<TypeParam>::fixed);
  EXPECT_EQ(slots_of(sent, root_of(sent)), mesh_fib6::wire::table<TypeParam>::slots);
  expect_every_slot_present(sent, root_of(sent));
  if constexpr (has_sub_table<TypeParam>())
    expect_every_slot_present(sent, target_of_slot(sent, root_of(sent), 1));

  const wire_builder encoded(packed(zero));
  EXPECT_EQ(encoded.here(), zero_sizes<TypeParam>::compact);
  EXPECT_EQ(entry_at(encoded, root_of(encoded), 0), 0U);
}

MESSAGE_TEST(Control, OwnsNothingSoThatAReleaseTouchesNothing) {
  bind_units<TypeParam>();
  fake_osal::reset();
  TypeParam record, before;
  std::memset(&record, 0xA5, sizeof record);
  std::memset(&before, 0xA5, sizeof before);
  operations<TypeParam>::release(&record);
  operations<TypeParam>::release(nullptr);
  EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
  EXPECT_TRUE(fake_osal::calls().empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

// Messages with an embedded record, which the log calls by its own name.
template <class M>
class ControlSubTable {
protected:
  // The message's name without "Msg".
  static std::string sub_name() {
    const std::string message = operations<M>::name;
    return message.substr(0, message.size() - 3);
  }

  static void expect_only_f0(const M &record) {
    M expected{};
    expected.f0 = record_of<M>("full").f0;
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof expected), 0);
  }
};
using nested_messages = testing::Types<feiBrokerFib6_classItemMsg, feiBrokerFib6_vrfClassStateMsg,
                                       feiBrokerFib6_vrfClassDataMsg>;
using ControlSubTable_messages = nested_messages;

MESSAGE_TEST(ControlSubTable, ThatIsBadIsReportedUnderItsOwnNameAndLeavesTheRest) {
  for (const char *name : {"full", "full_fixed"}) {
    const wire_builder sound = sound_image<TypeParam>(name);
    for (const spoiled_header &each : spoil_header(sound, field_of(sound, root_of(sound), 1))) {
      const decoding<TypeParam> decoded(each.wire.bytes());
      expect_one_line(decoded.lines, this->sub_name() + "_unpack_non_root", each.format,
                      each.message);
      this->expect_only_f0(decoded.record);
    }
  }
}

MESSAGE_TEST(ControlSubTable, WhoseReferenceWrapsEndsTheDecodeSilently) {
  wire_builder wire = sound_image<TypeParam>("full_fixed");
  wire.set_u32(field_of(wire, root_of(wire), 1), 0xFFFFFFFF);
  const decoding<TypeParam> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  this->expect_only_f0(decoded.record);
}

// ---- u32 values where no aligned load would find them

// That message with everything behind the root offset moved up; all other offsets are relative.
bytes moved_up(const bytes &wire, uint32_t by) {
  wire_builder moved(wire);
  moved.set_u32(0, root_of(moved) + by);
  bytes result = moved.bytes();
  result.insert(result.begin() + 4, by, 0);
  return result;
}

template <class M>
struct Unaligned {};
using packed_messages =
    testing::Types<feiBrokerFib6_special_ip, feiBrokerFib6_dod_rule, feiBrokerFib6_dod_aging>;
using Unaligned_messages = packed_messages;

MESSAGE_TEST(Unaligned, WordsAreAcceptedWhereverTheyLie) {
  const wire_builder sound = sound_image<TypeParam>("full_fixed");
  EXPECT_EQ(field_of(sound, root_of(sound), 1), 10U);
  for (uint32_t by = 0; by < 8; ++by) {
    SCOPED_TRACE(by);
    const decoding<TypeParam> decoded(moved_up(sound.bytes(), by));
    EXPECT_TRUE(decoded.silent());
    EXPECT_EQ(std::memcmp(&decoded.record, &record_of<TypeParam>("full"), sizeof(TypeParam)), 0);
  }
}

MESSAGE_TEST(Unaligned, BuffersAreAccepted) {
  const bytes wire = sound_image<TypeParam>("full_fixed").bytes();
  for (uint32_t by = 0; by < 8; ++by) {
    SCOPED_TRACE(by);
    bytes buffer(by);
    buffer.insert(buffer.end(), wire.begin(), wire.end());
    const decoding<TypeParam> decoded(buffer.data() + by, static_cast<uint32_t>(wire.size()));
    EXPECT_TRUE(decoded.silent());
    EXPECT_EQ(std::memcmp(&decoded.record, &record_of<TypeParam>("full"), sizeof(TypeParam)), 0);
  }
}

// ---- the rule's array

using rule = feiBrokerFib6_dod_rule;

class DodRule : public testing::Test {
protected:
  static constexpr uint32_t array_slot = 3;

  static uint32_t array_of(const wire_builder &wire) {
    return target_of_slot(wire, root_of(wire), array_slot);
  }

  // Everything before the array was read, nothing from it on, and nothing was said.
  static void expect_stopped_at_the_array(const wire_builder &wire) {
    const decoding<rule> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    rule expected{};
    expected.f0 = full().f0;
    expected.f1 = full().f1;
    expected.f2 = full().f2;
    EXPECT_EQ(std::memcmp(&decoded.record, &expected, sizeof expected), 0);
  }

  static const rule &full() { return record_of<rule>("full"); }
};

TEST_F(DodRule, OfAFixedImageYieldsTheFourElementsInOrder) {
  const decoding<rule> decoded(sound_image<rule>("full_fixed").bytes());
  for (uint32_t i = 0; i < 4; ++i)
    EXPECT_EQ(decoded.record.f3[i], 0x04000B0A + ((i + 1) << 16));
}

TEST_F(DodRule, WithAnArrayOfAnyCountButFourEndsThereSilently) {
  for (const char *name : {"full", "full_fixed"})
    for (const uint32_t count :
         {0U, 1U, 3U, 5U, 8U, 0x3FFFFFFFU, 0x40000000U, 0x40000004U, 0x80000004U, 0xFFFFFFFFU}) {
      SCOPED_TRACE(count);
      wire_builder wire = sound_image<rule>(name);
      wire.set_u32(array_of(wire), count);
      wire.resize(wire.here() + 16); // room for more elements than four
      expect_stopped_at_the_array(wire);
    }
}

TEST_F(DodRule, WithAnArrayThatEndsWithTheBufferIsAcceptedAndOneByteLessIsNot) {
  wire_builder wire = sound_image<rule>("full_fixed");
  const uint32_t word = field_of(wire, root_of(wire), array_slot);
  wire.refer(word, wire.here());
  wire.u32(4);
  for (const uint32_t element : full().f3)
    wire.u32(element);
  {
    const decoding<rule> decoded(wire.bytes());
    EXPECT_EQ(std::memcmp(&decoded.record, &full(), sizeof(rule)), 0);
  }
  for (uint32_t missing = 1; missing <= 20; ++missing)
    expect_stopped_at_the_array(wire_builder(wire).resize(wire.here() - missing));
}

TEST_F(DodRule, WithAReferenceThatWrapsEndsThereSilently) {
  wire_builder wire = sound_image<rule>("full_fixed");
  expect_stopped_at_the_array(wire.set_u32(field_of(wire, root_of(wire), array_slot), 0xFFFFFFFF));
}

TEST_F(DodRule, ReversesItsReceivedArrayOnlyWhenByteSwapIsExactlyOne) {
  const auto array_under = [](uint32_t byte_swap) {
    const decoding<rule> decoded(sound_image<rule>("full_fixed_swap_1").bytes(),
                                 {.byte_swap = byte_swap});
    EXPECT_EQ(decoded.record.f1, full().f1) << "a scalar is reversed whatever the value";
    return std::vector<uint32_t>(decoded.record.f3, decoded.record.f3 + 4);
  };
  std::vector<uint32_t> expected(full().f3, full().f3 + 4);
  EXPECT_EQ(array_under(1), expected);
  for (uint32_t &element : expected)
    element = __builtin_bswap32(element);
  for (const uint32_t byte_swap : {2U, 3U, 0x80000001U, 0xFFFFFFFFU})
    EXPECT_EQ(array_under(byte_swap), expected) << byte_swap;
}

// ---- a shorter vtable

TEST(SpecialIp, WhoseVtableEndsAfterSlotOneHasZerosBehindIt) {
  for (const char *name : {"full", "full_fixed"})
    for (const uint32_t vtable_size : {8U, 9U}) {
      wire_builder wire = sound_image<feiBrokerFib6_special_ip>(name);
      wire.set_u16(vtable_of(wire, root_of(wire)), vtable_size);
      const decoding<feiBrokerFib6_special_ip> decoded(wire.bytes());
      EXPECT_TRUE(decoded.silent());
      EXPECT_EQ(decoded.record.f0, 0x0A01U);
      EXPECT_EQ(decoded.record.f1, 0x0D0C0B02U);
      EXPECT_EQ(decoded.record.f2, 0U);
      EXPECT_EQ(decoded.record.f3, 0U);
    }
}

TEST(SpecialIp, WhoseVtableEndsAfterSlotTwoHasAZeroBehindIt) {
  wire_builder wire = sound_image<feiBrokerFib6_special_ip>("full_fixed");
  wire.set_u16(vtable_of(wire, root_of(wire)), 10);
  const decoding<feiBrokerFib6_special_ip> decoded(wire.bytes());
  EXPECT_EQ(decoded.record.f2, 3U);
  EXPECT_EQ(decoded.record.f3, 0U);
}

// ---- sizes and presence of queries

uint32_t array_count(const wire_builder &wire, uint32_t table, uint32_t slot) {
  return wire.u32_at(target_of_slot(wire, table, slot));
}

// A present array of `size` zero bytes.
void expect_zero_array(const wire_builder &wire, uint32_t table, uint32_t slot, uint32_t count,
                       uint32_t size) {
  EXPECT_EQ(array_count(wire, table, slot), count) << "slot " << slot;
  const auto body = wire.bytes().begin() + target_of_slot(wire, table, slot) + 4;
  EXPECT_TRUE(std::all_of(body, body + size, [](uint8_t byte) { return byte == 0; }));
}

TEST(FibQuery, OfZerosTakes88BytesAndCarriesItsAddressAsFourZeroWords) {
  const wire_builder wire(packed(fib6_cfg_query_fib6_key{}));
  EXPECT_EQ(wire.here(), 88U);
  expect_zero_array(wire, target_of_slot(wire, root_of(wire), 1), 1, 4, 16);
}

TEST(FibAnswer, WithoutItemsTakes36BytesAndLeavesTheVectorOut) {
  fib6_cfg_query_fib6_item item{};
  for (fib6_cfg_query_fib6_item *array :
       {static_cast<fib6_cfg_query_fib6_item *>(nullptr), &item}) {
    fib6_cfg_query_fib6_rec record{};
    record.f1 = array;
    const wire_builder wire(packed(record));
    EXPECT_EQ(wire.here(), 36U);
    EXPECT_EQ(entry_at(wire, root_of(wire), 1), 0U);
  }
}

TEST(FibAnswer, WithoutItemsGrowsWithWhatAllAnswersShare) {
  uint8_t text[3] = {'a', 'b', 'c'};
  fib6_cfg_query_fib6_rec record{};
  record.f0.f1 = 1;
  EXPECT_EQ(packed(record).size(), 40U);
  record.f0.f0 = record.f0.f2 = 1;
  EXPECT_EQ(packed(record).size(), 48U);
  set_bytes(record, text, 3);
  EXPECT_EQ(packed(record).size(), 59U);
}

TEST(FibAnswer, TakesTwelveBytesAnd186ForAnItemOfZeros) {
  fib6_cfg_query_fib6_item item{};
  fib6_cfg_query_fib6_rec record{};
  record.f1_count = 1;
  record.f1 = &item;
  EXPECT_EQ(packed(record).size(), 36U + 12 + 186);
}

TEST(DiagnosticAnswer, OfOneItemOfZerosCarriesItsFourTexts) {
  fib6_cfg_query_dfx_item item{};
  fib6_cfg_query_dfx_rec record{};
  record.f1_count = 1;
  record.f1 = &item;
  const wire_builder wire(packed(record));
  EXPECT_EQ(wire.here(), 36U + 12 + 200);
  const uint32_t vector = target_of_slot(wire, root_of(wire), 1);
  EXPECT_EQ(wire.u32_at(vector), 1U);
  const uint32_t table = target_of(wire, vector + 4);
  expect_zero_array(wire, table, 1, 50, 50);
  expect_zero_array(wire, table, 3, 32, 32);
  expect_zero_array(wire, table, 4, 32, 32);
  expect_zero_array(wire, table, 5, 32, 32);
  for (const uint32_t scalar : {0U, 2U, 6U})
    EXPECT_EQ(entry_at(wire, table, scalar), 0U);
}

TEST(CheckAnswer, AlwaysCarriesIts64Words) {
  const wire_builder wire(packed(fib6_cfg_query_fib6check_rec{}));
  EXPECT_EQ(wire.here(), 24U + 16 + 278);
  expect_zero_array(wire, target_of_slot(wire, root_of(wire), 1), 2, 64, 256);
}

// ---- what a query owns

// The tables of a query message as the log calls them, and the arrays of the second one.
template <class M>
struct parts;
struct array_slot {
  uint32_t slot, count;
};
#define MESH_FIB6_QUERY_PARTS(M, SECOND, ...)                                                      \
  template <>                                                                                      \
  struct parts<M> {                                                                                \
    static constexpr const char *second = #SECOND;                                                 \
    static std::vector<array_slot> arrays() { return {__VA_ARGS__}; }                              \
  }
MESH_FIB6_QUERY_PARTS(fib6_cfg_query_fib6_key, fib6_cfg_query_fib6_cond, {1, 4});
MESH_FIB6_QUERY_PARTS(fib6_cfg_query_fib6_rec, fib6_cfg_query_fib6_item, {0, 4}, {1, 4}, {2, 4},
                      {16, 8}, {19, 4}, {20, 4});
MESH_FIB6_QUERY_PARTS(fib6_cfg_query_dfx_key, fib6_cfg_query_dfx_cond);
MESH_FIB6_QUERY_PARTS(fib6_cfg_query_dfx_rec, fib6_cfg_query_dfx_item, {1, 50}, {3, 32}, {4, 32},
                      {5, 32});
MESH_FIB6_QUERY_PARTS(fib6_cfg_query_fib6check_key, fib6_cfg_query_fib6check_cond, {2, 4});
MESH_FIB6_QUERY_PARTS(fib6_cfg_query_fib6check_rec, fib6_cfg_query_fib6check_item, {2, 64});
#undef MESH_FIB6_QUERY_PARTS

// "alloc 5 in <name>", "free 5 in <name>"; every call belongs to module 12.
texts block_texts(const std::vector<fake_osal::call> &calls) {
  texts result;
  for (const fake_osal::call &call : calls) {
    const bool freed = call.kind == fake_osal::call_kind::free;
    EXPECT_TRUE(freed || call.kind == fake_osal::call_kind::cache_alloc) << call;
    EXPECT_EQ(call.module, 12U);
    result.push_back((freed ? "free " : "alloc ") + std::to_string(call.size) + " in " +
                     call.caller);
  }
  return result;
}

template <class M>
class Query {
protected:
  using op = operations<M>;
  static constexpr bool has_items = requires(M m) { m.f1_count; };

  static std::string shared_name() {
    return query_key<M> ? "fib6_cfg_query_comm_param" : "fib6_cfg_query_comm_rec";
  }
  static constexpr uint32_t bytes_slot = query_key<M> ? 2 : 3;

  // The blocks of a record in the order in which they are asked for: its bytes, then its items.
  static texts blocks(const M &record, const std::string &verb, const std::string &shared_suffix,
                      const std::string &root_suffix) {
    texts result;
    std::string name = shared_name() + shared_suffix;
    for_each_vector(record, [&]<class E>(uint32_t count, E *) {
      if (count != 0)
        result.push_back(verb + std::to_string(count * sizeof(E)) + " in " + name);
      name = op::name + root_suffix;
    });
    return result;
  }
  static texts taken(const M &record) {
    return blocks(record, "alloc ", "_unpack_non_root", "_unpack");
  }
  static texts given_back(const M &record) {
    return blocks(record, "free ", "_free_unpacked", "_free_unpacked");
  }

  static const M &full() { return record_of<M>("full"); }
  static wire_builder sound() { return sound_image<M>("full"); }
  static size_t all_blocks() { return has_items ? 2 : 1; }

  static uint32_t shared_reference(const wire_builder &wire) {
    return field_of(wire, root_of(wire), 0);
  }
  // The words that lead to the second table: one, or one an item.
  static std::vector<uint32_t> second_references(const wire_builder &wire) {
    const uint32_t word = field_of(wire, root_of(wire), 1);
    if (!has_items)
      return {word};
    const uint32_t count = target_of(wire, word);
    EXPECT_EQ(wire.u32_at(count), 2U);
    return {count + 4, count + 8};
  }
  static uint32_t bytes_of(const wire_builder &wire) {
    return target_of_slot(wire, target_of(wire, shared_reference(wire)), bytes_slot);
  }

  // The first `asked` blocks were asked for and the first `had` given back; nothing is left but
  // what was read before, and of each vector that was asked for its count.
  static void expect_given_back(const decoding<M> &decoded, size_t asked, size_t had) {
    texts expected = taken(full());
    expected.resize(asked);
    texts frees = given_back(full());
    frees.resize(had);
    expected.insert(expected.end(), frees.begin(), frees.end());
    EXPECT_EQ(block_texts(decoded.calls), expected);
    std::vector<uint32_t> counts;
    for_each_vector(full(), [&counts]<class E>(uint32_t count, E *) { counts.push_back(count); });
    size_t vector = 0;
    for_each_vector(decoded.record, [&]<class E>(uint32_t count, E *array) {
      EXPECT_EQ(array, nullptr);
      EXPECT_EQ(count, vector < asked ? counts[vector] : 0U) << "vector " << vector;
      ++vector;
    });
    expect_shared_scalars(decoded.record);
  }
  static void expect_all_given_back(const decoding<M> &decoded) {
    expect_given_back(decoded, all_blocks(), all_blocks());
  }

  static void expect_shared_scalars(const M &record) {
    EXPECT_EQ(record.f0.f0, full().f0.f0);
    EXPECT_EQ(record.f0.f1, full().f0.f1);
    if constexpr (query_answer<M>) {
      EXPECT_EQ(record.f0.f2, full().f0.f2);
    }
  }

  // Of an embedded second record: as read up to its `from`-th byte, zero from there on.
  static void expect_second_read_up_to(const M &record, size_t from) {
    if constexpr (!has_items) {
      auto expected = full().f1;
      std::memset(reinterpret_cast<uint8_t *>(&expected) + from, 0, sizeof expected - from);
      EXPECT_EQ(std::memcmp(&record.f1, &expected, sizeof expected), 0);
    }
  }
};
using Query_messages = query_messages;

MESSAGE_TEST(Query, AsksForItsBytesUnderTheSharedRecordsNameAndForItemsUnderItsOwn) {
  for (const golden::image &each : golden::file_of<TypeParam>().images()) {
    SCOPED_TRACE(each.name);
    const decoding<TypeParam> decoded(each.bytes, {.byte_swap = each.byte_swap});
    EXPECT_EQ(block_texts(decoded.calls),
              this->taken(*static_cast<const TypeParam *>(each.record)));
  }
}

MESSAGE_TEST(Query, GivesItsBytesBackBeforeItsItemsOnceAndKeepsTheCounts) {
  const guarded_buffer wire(this->sound().bytes());
  bind_units<TypeParam>();
  const size_t live = fake_osal::live_blocks(), wrong = fake_osal::wrong_frees();
  TypeParam record{};
  TestFixture::op::unpack(wire.data(), wire.size(), &record);
  EXPECT_EQ(fake_osal::live_blocks(), live + this->all_blocks());

  fake_osal::reset();
  TestFixture::op::release(&record);
  EXPECT_EQ(block_texts(fake_osal::calls()), this->given_back(this->full()));
  EXPECT_EQ(fake_osal::live_blocks(), live);
  EXPECT_EQ(fake_osal::wrong_frees(), wrong);

  // Nothing but the pointers differs from what was sent.
  TypeParam expected;
  std::memcpy(&expected, &this->full(), sizeof expected);
  for_each_vector(expected, []<class E>(uint32_t, E *&array) { array = nullptr; });
  EXPECT_EQ(std::memcmp(&record, &expected, sizeof expected), 0);

  fake_osal::reset();
  TestFixture::op::release(&record);
  EXPECT_TRUE(fake_osal::calls().empty()) << "the second release";
}

MESSAGE_TEST(Query, OfNullOrOfZerosHasNothingToGiveBack) {
  bind_units<TypeParam>();
  fake_osal::reset();
  TypeParam record{};
  TestFixture::op::release(&record);
  TestFixture::op::release(nullptr);
  EXPECT_TRUE(fake_osal::calls().empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

MESSAGE_TEST(Query, GivesBackWhatItTookWhenAnAllocationFails) {
  const texts allocations = this->taken(this->full());
  ASSERT_EQ(allocations.size(), this->all_blocks());
  for (uint32_t failing = 1; failing <= this->all_blocks(); ++failing) {
    SCOPED_TRACE("allocation " + std::to_string(failing));
    const decoding<TypeParam> decoded(this->sound().bytes(), {.fail_allocation = failing});
    this->expect_given_back(decoded, failing, failing - 1);
    this->expect_second_read_up_to(decoded.record, 0);
    // "alloc SIZE in NAME"
    const std::string &text = allocations[failing - 1];
    const size_t in = text.find(" in ");
    expect_one_line(decoded.lines, text.substr(in + 4), log_format::allocation,
                    "[VARKO]:Malloc unpack data unsuccess, size(" + text.substr(6, in - 6) + ")",
                    12);
  }
}

MESSAGE_TEST(Query, GivesItsBytesBackWhenTheLastByteIsMissing) {
  wire_builder wire = this->sound();
  const decoding<TypeParam> decoded(wire.resize(wire.here() - 1).bytes());
  EXPECT_TRUE(decoded.silent());
  this->expect_all_given_back(decoded);
}

MESSAGE_TEST(Query, GivesItsBytesBackWhenItsSecondTableIsBad) {
  const wire_builder sound = this->sound();
  for (const uint32_t reference : this->second_references(sound))
    for (const spoiled_header &each : spoil_header(sound, reference)) {
      const decoding<TypeParam> decoded(each.wire.bytes());
      expect_one_line(decoded.lines, std::string(parts<TypeParam>::second) + "_unpack_non_root",
                      each.format, each.message);
      this->expect_all_given_back(decoded);
      this->expect_second_read_up_to(decoded.record, 0);
    }
}

MESSAGE_TEST(Query, GivesItsBytesBackWhenAReferenceBehindThemWraps) {
  const wire_builder sound = this->sound();
  for (const uint32_t reference : this->second_references(sound)) {
    const decoding<TypeParam> decoded(wire_builder(sound).set_u32(reference, 0xFFFFFFFF).bytes());
    EXPECT_TRUE(decoded.silent());
    this->expect_all_given_back(decoded);
  }
}

MESSAGE_TEST(Query, GivesItsBytesBackWhenItsSecondFieldLiesBeyondTheEnd) {
  wire_builder wire = this->sound();
  const uint32_t root = root_of(wire);
  wire.set_u16(vtable_of(wire, root) + 6, wire.here() - root - 3);
  const decoding<TypeParam> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  this->expect_given_back(decoded, 1, 1);
  this->expect_second_read_up_to(decoded.record, 0);
}

MESSAGE_TEST(Query, StopsAtAnArrayOfAnyOtherCountAndGivesItsBytesBack) {
  const wire_builder sound = this->sound();
  for (const uint32_t reference : this->second_references(sound))
    for (const array_slot &array : parts<TypeParam>::arrays())
      for (const uint32_t count : {array.count - 1, array.count + 1, uint32_t{0}, array.count * 2,
                                   uint32_t{0x40000000} + array.count, uint32_t{0xFFFFFFFF}}) {
        SCOPED_TRACE("slot " + std::to_string(array.slot) + " count " + std::to_string(count));
        wire_builder wire = sound;
        wire.set_u32(target_of_slot(wire, target_of(wire, reference), array.slot), count);
        wire.resize(wire.here() + 256); // room for more elements than there should be
        const decoding<TypeParam> decoded(wire.bytes());
        EXPECT_TRUE(decoded.silent());
        this->expect_all_given_back(decoded);
      }
}

MESSAGE_TEST(Query, StopsAtBadBytesBeforeItAsksForThem) {
  const wire_builder sound = this->sound();
  const uint32_t at = this->bytes_of(sound), rest = sound.here() - at - 4;
  for (const uint32_t length : {rest + 1, uint32_t{0x40000000}, uint32_t{0x80000000},
                                uint32_t{0xFFFFFFFC}, uint32_t{0xFFFFFFFF}}) {
    SCOPED_TRACE(length);
    const decoding<TypeParam> decoded(wire_builder(sound).set_u32(at, length).bytes());
    EXPECT_TRUE(decoded.silent());
    this->expect_given_back(decoded, 0, 0);
    this->expect_second_read_up_to(decoded.record, 0);
  }
}

MESSAGE_TEST(Query, TakesBytesUpToTheEndOfTheMessage) {
  const wire_builder sound = this->sound();
  const uint32_t at = this->bytes_of(sound), rest = sound.here() - at - 4;
  const decoding<TypeParam> decoded(wire_builder(sound).set_u32(at, rest).bytes());
  EXPECT_TRUE(decoded.silent());
  for_each_vector(decoded.record, [&, first = true]<class E>(uint32_t count, E *array) mutable {
    if (first) {
      EXPECT_EQ(count, rest);
      ASSERT_NE(array, nullptr);
      EXPECT_EQ(std::memcmp(array, sound.bytes().data() + at + 4, rest), 0);
    }
    first = false;
  });
}

MESSAGE_TEST(Query, WithABadFirstTableTakesNothingAndReadsNothing) {
  const wire_builder sound = this->sound();
  for (const spoiled_header &each : spoil_header(sound, this->shared_reference(sound))) {
    const decoding<TypeParam> decoded(each.wire.bytes());
    expect_one_line(decoded.lines, this->shared_name() + "_unpack_non_root", each.format,
                    each.message);
    EXPECT_TRUE(decoded.calls.empty());
    EXPECT_TRUE(decoded.zeroed());
  }
}

MESSAGE_TEST(Query, WithoutItsFirstTableIsReadFromTheSecondOn) {
  wire_builder wire = this->sound();
  wire.set_u16(vtable_of(wire, root_of(wire)) + 4, 0);
  const decoding<TypeParam> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(decoded.calls.size(), this->all_blocks() - 1);
  const decltype(TypeParam::f0) no_first{};
  EXPECT_EQ(std::memcmp(&decoded.record.f0, &no_first, sizeof no_first), 0);
  this->expect_second_read_up_to(decoded.record, sizeof(decltype(TypeParam::f1)));
}

// The item vector of an answer.
template <class M>
class Answer : public Query<M> {};
using item_messages = testing::Types<fib6_cfg_query_fib6_rec, fib6_cfg_query_dfx_rec>;
using Answer_messages = item_messages;

MESSAGE_TEST(Answer, OfMoreItemsThanThereIsRoomForGivesItsBytesBackAndAsksForNoItems) {
  for (const uint32_t count : {0x3FFFFFFFU, 0x40000000U, 0x40000002U, 0xFFFFFFFFU}) {
    wire_builder wire = this->sound();
    wire.set_u32(target_of_slot(wire, root_of(wire), 1), count);
    const decoding<TypeParam> decoded(wire.bytes());
    EXPECT_TRUE(decoded.silent());
    this->expect_given_back(decoded, 1, 1);
  }
}

MESSAGE_TEST(Answer, OfZeroItemsOnTheWireTakesNoItems) {
  wire_builder wire = this->sound();
  wire.set_u32(target_of_slot(wire, root_of(wire), 1), 0);
  const decoding<TypeParam> decoded(wire.bytes());
  EXPECT_TRUE(decoded.silent());
  EXPECT_EQ(decoded.calls.size(), 1U);
  EXPECT_EQ(decoded.record.f1_count, 0U);
  EXPECT_EQ(decoded.record.f1, nullptr);
}

// ---- sizes near 2^32

// The byte vector is only counted when there is no buffer, so it need not exist.
template <class M>
class HugeQuery {
protected:
  // A record of zeros but for its bytes, whose encoded size is 2^32 - 1 + `more`.
  static M record_with(uint32_t more) {
    static uint8_t byte;
    M record{};
    set_bytes(record, &byte, UINT32_MAX - size_without_bytes() - 8 + more);
    return record;
  }
  static uint32_t size_without_bytes() { return static_cast<uint32_t>(packed(M{}).size()); }
};
using HugeQuery_messages = query_messages;

MESSAGE_TEST(HugeQuery, OfTheLargest32BitSizeIsStillSized) {
  uint32_t length = UINT32_MAX;
  const TypeParam record = this->record_with(0);
  EXPECT_EQ(operations<TypeParam>::pack(&record, nullptr, &length), 0U);
  EXPECT_EQ(length, UINT32_MAX);
}

MESSAGE_TEST(HugeQuery, OfMoreThan32BitsCannotBePacked) {
  bind_units<TypeParam>();
  for (const uint32_t more : {1U, 4U, 8U + this->size_without_bytes()}) {
    fake_osal::reset();
    const TypeParam record = this->record_with(more);
    bytes buffer(1024, 0xC7);
    uint32_t length = 1024;
    EXPECT_EQ(operations<TypeParam>::pack(&record, buffer.data(), &length), failed);
    EXPECT_EQ(length, 1024U);
    EXPECT_EQ(buffer, bytes(1024, 0xC7));
    EXPECT_TRUE(fake_osal::log_lines().empty());
  }
}

MESSAGE_TEST(HugeQuery, OfMoreThan32BitsIsNotSent) {
  bind_units<TypeParam>();
  fake_osal::reset();
  fake_mesh::reset();
  const TypeParam record = this->record_with(1);
  EXPECT_EQ(operations<TypeParam>::sendsingle(9, &record, 0, 0), failed);
  EXPECT_TRUE(fake_mesh::sends().empty());
  EXPECT_TRUE(fake_osal::calls().empty());
}

} // namespace
