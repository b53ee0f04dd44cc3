// What the quick path does by itself. Whatever it declines, the general codec does with the same
// result, only slower, so no test of a message would notice a quick path that declines everything.
//
// Room: tests. Calls the functions of wire/quick itself and stands in for the general codec, which
// counts what it is handed and refuses it; no part of the library is linked. What is read was
// encoded by the second codec.
#include "tests/reference/decoder.h"
#include "tests/reference/encoder.h"
#include "tests/support/random_record.h"
#include "wire/codec.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

using namespace mesh_fib6;
using tools::table_descriptor;

namespace {

uint32_t handed_over; // how often the general codec was asked to go on

} // namespace

namespace mesh_fib6::wire::general {

bool finish_table(runtime::unit &, received, uint32_t, const table_info &, void *, const char *,
                  uint32_t) {
  handed_over++;
  return false;
}
bool finish_elements(runtime::unit &, received, uint32_t, const table_info &, void *, uint32_t) {
  handed_over++;
  return false;
}
void report_no_memory(runtime::unit &, uint32_t, const char *) {
  handed_over++;
}
void release_blocks(runtime::unit &, const table_info &, void *) {}

} // namespace mesh_fib6::wire::general

namespace mesh_fib6::runtime {

void *heap_alloc(uint32_t size, uint32_t, const char *) {
  return malloc(size);
}
void heap_free(void *block, uint32_t, const char *) {
  free(block);
}

} // namespace mesh_fib6::runtime

namespace {

// A message as the quick path knows it.
struct quick_message {
  const table_descriptor *table;
  bool is_tree;
  bool (*read)(const guarded_buffer &wire, void *record); // whether it was not declined
  bool (*read_image)(const guarded_buffer &wire, void *record);
  bool (*surely_fits)(const void *record, uint32_t room);
  uint32_t (*size)(const void *record);
  uint32_t (*write)(uint8_t *buffer, const void *record);
};

wire::received all_of(const guarded_buffer &wire) {
  return {wire.data(), static_cast<uint32_t>(wire.size())};
}

template <class M>
bool read(const guarded_buffer &wire, void *record) {
  auto &to = *static_cast<M *>(record);
  if constexpr (wire::is_tree<M>()) {
    static runtime::unit unit;
    return wire::read_tree(unit, all_of(wire), to);
  } else {
    return wire::read_compact(all_of(wire), to);
  }
}

template <class M>
bool read_image(const guarded_buffer &wire, void *record) {
  if constexpr (wire::is_tree<M>())
    return false;
  else
    return wire::read_image(wire.data(), static_cast<uint32_t>(wire.size()),
                            *static_cast<M *>(record));
}

template <class M>
bool surely_fits(const void *record, uint32_t room) {
  return wire::surely_fits(*static_cast<const M *>(record), room);
}

// One of each kind: with one vector and with six, with byte vectors, with and without embedded
// records, with few scalars and with many. All of them would take the compiler a minute.
using some_messages = wire::type_list<
    feiBrokerFib6_ipv6FwdUpdateMsg, feiBrokerFib6_nhp6GroupUpdateMsg, feiBrokerFib6_nhp6UpdateMsg,
    feiBrokerFib6_nhp6DelMsg, feiBrokerFib6_srv6SrListUpdateMsg, feiBrokerFib6_pidStateMsg,
    feiBrokerFib6_lrClassDataMsg, feiBrokerFib6_special_ip, fib6_cfg_query_fib6_key,
    fib6_cfg_query_fib6_rec, fib6_cfg_query_dfx_rec, fib6_cfg_query_fib6check_rec,
    fib6Sync_ipv6FwdUpdateMsg, fib6Sync_nhp6ExtUpdateMsg, fib6Sync_ecmpCfg, fib6Sync_svcCtxMsg>;

template <class... Records>
void add(std::vector<quick_message> &to, wire::type_list<Records...>) {
  (to.push_back({&tools::described<Records>::table, wire::is_tree<Records>(), read<Records>,
                 read_image<Records>, surely_fits<Records>, wire::message_size<Records>,
                 wire::write<Records>}),
   ...);
}

void for_each_message(const std::function<void(const quick_message &)> &check) {
  std::vector<quick_message> all;
  add(all, some_messages{});
  for (const quick_message &message : all) {
    SCOPED_TRACE(message.table->name);
    check(message);
  }
}

reference::encoder &encoder() {
  static reference::encoder &instance = *new reference::encoder;
  return instance;
}

// The compact message, and as many bytes more as sixteen-byte loads at its end may want.
guarded_buffer compact(const quick_message &message, const void *record, uint32_t more = 16) {
  const auto encoded = encoder().compact(*message.table, record, 0);
  guarded_buffer wire(encoded.written + more);
  memset(wire.data(), 0xEE, wire.size());
  memcpy(wire.data(), encoded.bytes, encoded.written);
  return wire;
}

// The record that is read from a compact message, gone with its blocks.
class read_record {
public:
  read_record(const quick_message &message, const guarded_buffer &wire)
      : message_(message), memory_(message.table->record_size) {
    memset(memory_.data(), 0xC7, memory_.size());
    handed_over = 0;
    accepted_ = message.read(wire, memory_.data());
  }
  ~read_record() {
    if (accepted_ && message_.is_tree)
      free_vectors(*message_.table, memory_.data());
  }
  read_record(const read_record &) = delete;
  read_record &operator=(const read_record &) = delete;

  bool accepted() const { return accepted_; }
  std::string difference(const void *expected) const {
    return random_record::difference(*message_.table, expected, memory_.data());
  }

private:
  static void free_vectors(const table_descriptor &table, void *record) {
    for (const tools::field_descriptor &field : table.fields)
      if (field.is_vector())
        free(field.pointer(record));
      else if (field.kind == wire::kind::table)
        free_vectors(*field.table, field.member(record));
  }

  const quick_message &message_;
  guarded_buffer memory_;
  bool accepted_;
};

constexpr random_record::density full = {.zero_percent = 0, .max_elements = 5, .max_bytes = 9};
constexpr random_record::density densities[] = {
    full,
    {.zero_percent = 30, .max_elements = 4},
    {.zero_percent = 75, .max_elements = 40},
    {.zero_percent = 100},
};

// The slot of the last table that a root embeds; as many as it has slots when it embeds none.
size_t last_embedded(const table_descriptor &root) {
  size_t last = root.fields.size();
  for (const tools::field_descriptor &field : root.fields)
    if (field.kind == wire::kind::table)
      last = field.slot;
  return last;
}

// Makes every scalar 1 that is 0, in a table and those that it embeds, but for the last one of the
// root.
void fill_before_last(const table_descriptor &table, void *record, size_t last) {
  for (const tools::field_descriptor &field : table.fields)
    if (field.kind == wire::kind::scalar && field.number(record) == 0)
      field.set_number(record, 1);
    else if (field.kind == wire::kind::table && field.slot != last)
      fill_before_last(*field.table, field.member(record), SIZE_MAX);
}

// Calls check(record) for records of a message from full to empty; of flat ones only such as lack
// nothing before their last table, if they embed any.
void for_each_record(const quick_message &message,
                     const std::function<void(const random_record::owned_record &)> &check) {
  random_record::generator random(
      static_cast<uint32_t>(testing::UnitTest::GetInstance()->random_seed()) + 1);
  for (const auto &density : densities)
    for (int round = 0; round < 12; round++) {
      auto record = random_record::make(*message.table, random, density);
      const size_t last = last_embedded(*message.table);
      if (!message.is_tree && last != message.table->fields.size())
        fill_before_last(*message.table, record.get(), last);
      check(record);
    }
}

TEST(QuickPath, ReadsCompactMessagesOfTheCommonOrderByItself) {
  for_each_message([](const quick_message &message) {
    for_each_record(message, [&](const random_record::owned_record &record) {
      const read_record decoded(message, compact(message, record.get()));
      ASSERT_TRUE(decoded.accepted());
      ASSERT_EQ(handed_over, 0U);
      ASSERT_EQ(decoded.difference(record.get()), "");
    });
  });
}

TEST(QuickPath, ReadsACompactMessageWithoutAnythingBehindItWhereItsTablesEndWithArrays) {
  const auto ends_with_arrays = [](const table_descriptor &table) {
    return !table.fields.empty() && table.fields.back().is_fixed_array() &&
           table.fields.back().length * table.fields.back().width >= 8;
  };
  uint32_t found = 0;
  for_each_message([&](const quick_message &message) {
    const tools::field_descriptor &last = message.table->fields.back();
    if (last.table == nullptr || !ends_with_arrays(*last.table))
      return;
    found++;
    for_each_record(message, [&](const random_record::owned_record &record) {
      const read_record decoded(message, compact(message, record.get(), 0));
      ASSERT_TRUE(decoded.accepted());
      ASSERT_EQ(handed_over, 0U);
      ASSERT_EQ(decoded.difference(record.get()), "");
    });
  });
  EXPECT_GT(found, 0U);
}

TEST(QuickPath, ReadsAFlatMessageByItselfWhereItEnds) {
  for_each_message([](const quick_message &message) {
    if (message.is_tree)
      return;
    for_each_record(message, [&](const random_record::owned_record &record) {
      const read_record decoded(message, compact(message, record.get(), 0));
      ASSERT_TRUE(decoded.accepted());
      ASSERT_EQ(decoded.difference(record.get()), "");
    });
  });
}

TEST(QuickPath, DeclinesAFlatMessageThatLacksAScalarBeforeItsLastTable) {
  uint32_t found = 0;
  for_each_message([&](const quick_message &message) {
    const size_t last = last_embedded(*message.table);
    if (message.is_tree || last == message.table->fields.size())
      return;
    random_record::generator random(1);
    for (const tools::field_descriptor &field : message.table->fields)
      if (field.kind == wire::kind::scalar) {
        auto lacking = random_record::make(*message.table, random, full);
        field.set_number(lacking.get(), 0);
        const read_record decoded(message, compact(message, lacking.get()));
        EXPECT_FALSE(decoded.accepted()) << field.name;
        found++;
      }
  });
  EXPECT_GT(found, 0U);
}

TEST(QuickPath, ReadsEveryFixedImageAndNothingShorter) {
  for_each_message([](const quick_message &message) {
    if (message.is_tree)
      return;
    for_each_record(message, [&](const random_record::owned_record &record) {
      const auto encoded = encoder().fixed(*message.table, record.get(), 0);
      guarded_buffer image(encoded.size), decoded(message.table->record_size);
      memcpy(image.data(), encoded.bytes, encoded.size);
      memset(decoded.data(), 0xC7, decoded.size());
      ASSERT_TRUE(message.read_image(image, decoded.data()));
      ASSERT_EQ(random_record::difference(*message.table, record.get(), decoded.data()), "");
      guarded_buffer shorter(encoded.size - 1);
      memcpy(shorter.data(), encoded.bytes, shorter.size());
      ASSERT_FALSE(message.read_image(shorter, decoded.data()));
    });
  });
}

// What the second decoder reads; false where it refuses.
bool read_second(const table_descriptor &table, const guarded_buffer &wire,
                 std::vector<uint8_t> &record) {
  static reference::decoder &decoder = *new reference::decoder;
  const reference::expectation &expected =
      decoder.decode(table, reference::root_form::table_form,
                     {wire.data(), static_cast<uint32_t>(wire.size()), 0, 0});
  record = expected.record;
  const reference::vector_list vectors = reference::vectors_of(table);
  for (uint32_t i = 0; i < vectors.count; i++)
    memcpy(&record[vectors.of[i].pointer_at], &expected.elements[i], sizeof(void *));
  return expected.ending == reference::ending::decoded;
}

// Of each byte each bit in turn.
void for_each_spoiled(const guarded_buffer &wire,
                      const std::function<void(const guarded_buffer &spoiled)> &check) {
  guarded_buffer spoiled(wire.size());
  memcpy(spoiled.data(), wire.data(), wire.size());
  for (size_t at = 0; at < wire.size(); at++)
    for (uint32_t bit = 1; bit < 256; bit <<= 1) {
      SCOPED_TRACE("byte " + std::to_string(at) + ", bit " + std::to_string(bit));
      spoiled.data()[at] = static_cast<uint8_t>(wire.data()[at] ^ bit);
      check(spoiled);
      spoiled.data()[at] = wire.data()[at];
    }
}

TEST(QuickPath, ReadsFromASpoiledMessageWhatTheSecondDecoderReadsOrDeclines) {
  for_each_message([](const quick_message &message) {
    random_record::generator random(3);
    for (const uint32_t zero_percent : {0U, 50U}) {
      const auto record =
          random_record::make(*message.table, random,
                              {.zero_percent = zero_percent, .max_elements = 2, .max_bytes = 3});
      uint32_t accepted = 0;
      for_each_spoiled(compact(message, record.get(), 0), [&](const guarded_buffer &spoiled) {
        const read_record decoded(message, spoiled);
        if (!decoded.accepted() || handed_over != 0)
          return;
        accepted++;
        std::vector<uint8_t> expected;
        ASSERT_TRUE(read_second(*message.table, spoiled, expected));
        ASSERT_EQ(decoded.difference(expected.data()), "");
      });
      EXPECT_TRUE(accepted > 0 || zero_percent != 0) << "not even a value may be another";
    }
  });
}

TEST(QuickPath, ReadsFromASpoiledImageWhatTheSecondDecoderReadsOrDeclines) {
  for_each_message([](const quick_message &message) {
    if (message.is_tree)
      return;
    random_record::generator random(3);
    const auto record = random_record::make(*message.table, random, full);
    const auto encoded = encoder().fixed(*message.table, record.get(), 0);
    guarded_buffer image(encoded.size), decoded(message.table->record_size);
    memcpy(image.data(), encoded.bytes, encoded.size);
    uint32_t accepted = 0;
    for_each_spoiled(image, [&](const guarded_buffer &spoiled) {
      memset(decoded.data(), 0xC7, decoded.size());
      if (!message.read_image(spoiled, decoded.data()))
        return;
      accepted++;
      std::vector<uint8_t> expected;
      ASSERT_TRUE(read_second(*message.table, spoiled, expected));
      ASSERT_EQ(random_record::difference(*message.table, expected.data(), decoded.data()), "");
    });
    EXPECT_GT(accepted, 0U);
  });
}

bool has_byte_vector(const table_descriptor &table) {
  for (const tools::field_descriptor &field : table.fields)
    if (field.kind == wire::kind::byte_vector ||
        (field.table != nullptr && has_byte_vector(*field.table)))
      return true;
  return false;
}

// A vector's words are counted whether it has elements or not.
uint32_t empty_vectors(const table_descriptor &table, const void *record) {
  uint32_t count = 0;
  for (const tools::field_descriptor &field : table.fields)
    count += field.is_vector() && field.count(record) == 0 ? 1 : 0;
  return count;
}

TEST(QuickPath, KnowsTheRoomThatIsEnoughWhateverTheScalarsAre) {
  for_each_message([](const quick_message &message) {
    random_record::generator random(7);
    for (int round = 0; round < 8; round++) {
      const auto record = random_record::make(*message.table, random, full);
      const uint32_t most = encoder().compact(*message.table, record.get(), 0).size +
                            8 * empty_vectors(*message.table, record.get());
      if (has_byte_vector(*message.table)) {
        EXPECT_FALSE(message.surely_fits(record.get(), UINT32_MAX));
        continue;
      }
      EXPECT_TRUE(message.surely_fits(record.get(), most));
      EXPECT_FALSE(message.surely_fits(record.get(), most - 1));
    }
  });
}

TEST(QuickPath, IsSureOfNoRoomForACountWithoutElements) {
  uint32_t found = 0;
  for_each_message([&](const quick_message &message) {
    if (has_byte_vector(*message.table))
      return;
    for (const tools::field_descriptor &field : message.table->fields)
      if (field.is_vector()) {
        random_record::owned_record record(*message.table);
        EXPECT_TRUE(message.surely_fits(record.get(), 4096)) << field.name;
        field.set_vector(record.get(), nullptr, 1);
        EXPECT_FALSE(message.surely_fits(record.get(), UINT32_MAX)) << field.name;
        found++;
      }
  });
  EXPECT_GT(found, 0U);
}

TEST(QuickPath, MeasuresAndWritesEveryRecordAsTheSecondCodecDoes) {
  for_each_message([](const quick_message &message) {
    for_each_record(message, [&](const random_record::owned_record &record) {
      const auto expected = encoder().compact(*message.table, record.get(), 0);
      ASSERT_EQ(message.size(record.get()), expected.size);
      guarded_buffer buffer(expected.size);
      memset(buffer.data(), 0xC7, buffer.size());
      ASSERT_EQ(message.write(buffer.data(), record.get()), expected.written);
      ASSERT_EQ(memcmp(buffer.data(), expected.bytes, expected.written), 0);
    });
  });
}

// What a table is to the quick path, worked out by hand from its record.
struct shape_facts {
  uint32_t smallest, largest; // with the vtable, all scalars absent and none
  uint32_t words, tail;       // of offset words; with the arrays behind them
  uint32_t least_with_tables; // smallest, and that of each embedded table
  uint32_t overrun, exposed;  // of sixteen-byte loads behind the table; tables at a vector's end
  bool by_groups, covers_record;
};

template <class Record>
void expect_shape(const shape_facts &facts) {
  using shape = wire::table_shape<Record>;
  SCOPED_TRACE(wire::schema<Record>::name);
  EXPECT_EQ(shape::smallest, facts.smallest);
  EXPECT_EQ(shape::largest, facts.largest);
  EXPECT_EQ(shape::words, facts.words);
  EXPECT_EQ(shape::tail, facts.tail);
  EXPECT_EQ(shape::least_with_tables, facts.least_with_tables);
  EXPECT_EQ(shape::overrun, facts.overrun);
  EXPECT_EQ(shape::exposed, facts.exposed);
  EXPECT_EQ(shape::goes_by_groups, facts.by_groups && wire::has_shuffles);
  EXPECT_EQ(shape::covers_record, facts.covers_record);
}

TEST(TableShape, IsWhatTheRecordGives) {
  // 14 slots, 40 bytes of scalars, an array of 16 bytes; no byte of the record is padding.
  expect_shape<feiBrokerFib6_ipv6Fwd>({.smallest = 32 + 4 + 4 + 4 + 16,
                                       .largest = 60 + 40,
                                       .words = 4,
                                       .tail = 24,
                                       .least_with_tables = 60,
                                       .overrun = 0,
                                       .exposed = 0,
                                       .by_groups = true,
                                       .covers_record = true});
  // Two words. So few go one after the other where the table comes once.
  expect_shape<fib6Sync_tlv>({.smallest = 8 + 4,
                              .largest = 12 + 8,
                              .words = 0,
                              .tail = 0,
                              .least_with_tables = 12,
                              .overrun = 16,
                              .exposed = 2,
                              .by_groups = false,
                              .covers_record = true});
  // Three words.
  expect_shape<feiBrokerFib6_lrClassDataMsg>({.smallest = 10 + 4,
                                              .largest = 14 + 12,
                                              .words = 0,
                                              .tail = 0,
                                              .least_with_tables = 14,
                                              .overrun = 16,
                                              .exposed = 2,
                                              .by_groups = true,
                                              .covers_record = true});
  // Six words, a byte, an array of three.
  expect_shape<feiBrokerFib6_nhp6Ext>({.smallest = 20 + 4 + 4 + 4 + 3,
                                       .largest = 35 + 25,
                                       .words = 4,
                                       .tail = 11,
                                       .least_with_tables = 35,
                                       .overrun = 5,
                                       .exposed = 1,
                                       .by_groups = true,
                                       .covers_record = true});
  // Padding behind its first and its last member is stored where a group is stored as a whole.
  expect_shape<feiBrokerFib6_special_ip>({.smallest = 12 + 4,
                                          .largest = 16 + 8,
                                          .words = 0,
                                          .tail = 0,
                                          .least_with_tables = 16,
                                          .overrun = 16,
                                          .exposed = 1,
                                          .by_groups = true,
                                          .covers_record = wire::has_shuffles});
  // Nothing but two tables: of 12 bytes, and of 15 slots with 41 bytes of scalars and an array
  // of 16.
  expect_shape<fib6Sync_ipv6FwdUpdateMsg>(
      {.smallest = 8 + 4 + 8,
       .largest = 20,
       .words = 8,
       .tail = 8,
       .least_with_tables = 20 + 12 + (34 + 4 + 4 + 4 + 16),
       .overrun = 0,
       .exposed = 0,
       .by_groups = false,
       .covers_record = wire::table_shape<fib6Sync_ipv6Fwd>::covers_record});
}

} // namespace
