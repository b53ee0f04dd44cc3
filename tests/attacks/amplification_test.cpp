// How much memory, and how much work, a peer can make of one byte that it sends.
//
// Room: tests. Offsets on the wire may refer to what other offsets refer to already. So one vector
// of offset words can serve every vector of a message, and an offset word of 0 is an empty table by
// itself: each 4 bytes of the message cost one record of every element type.
#include "tests/attacks/owned_blocks.h"
#include "tests/reference/navigation.h"
#include "tests/support/pattern.h"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>

using namespace attacks;
using catalogue::EveryMessage;

namespace {

// Worked out by hand, for messages of each kind. `header` is what a message takes that is made for
// nothing else: root offset, vtable, table, one offset word for all vectors and their count.
struct amplification {
  const char *message;
  uint32_t header;
  uint32_t bytes_per_word;  // of records, for 4 bytes more of the message
  uint32_t bytes_beside;    // of records, however long the message
  uint32_t fields_per_word; // of the element with the most fields
};

constexpr amplification figures[] = {
    {"feiBrokerFib6_ipv6FwdUpdateMsg", 24, 56, 0, 14},
    {"feiBrokerFib6_ipv6FwdDelMsg", 24, 28, 0, 5},
    {"feiBrokerFib6_nhp6GroupUpdateMsg", 26, 40, 0, 10},
    {"feiBrokerFib6_nhp6GroupDelMsg", 24, 8, 0, 2},
    // Six vectors over the same words: 48 + 28 + 20 + 60 + 72 + 44.
    {"feiBrokerFib6_nhp6UpdateMsg", 36, 272, 0, 13},
    {"feiBrokerFib6_nhp6DelMsg", 24, 4, 0, 1},
    {"feiBrokerFib6_srv6SrListUpdateMsg", 24, 184, 0, 17},
    {"feiBrokerFib6_srv6SrListDelMsg", 24, 16, 0, 4},
    {"feiBrokerFib6_ipv6PathMtuUpdateMsg", 24, 32, 0, 5},
    {"feiBrokerFib6_ipv6PathMtuDelMsg", 24, 24, 0, 3},
    // Bytes that are copied cost what they are: 4 for 4. Beside items they are the items' words,
    // and the count before those.
    {"fib6_cfg_query_fib6_key", 40, 4, 0, 0},
    {"fib6_cfg_query_fib6_rec", 52, 140, 4, 21},
    {"fib6_cfg_query_dfx_key", 40, 4, 0, 0},
    {"fib6_cfg_query_dfx_rec", 52, 164, 4, 7},
    {"fib6_cfg_query_fib6check_key", 40, 4, 0, 0},
    {"fib6_cfg_query_fib6check_rec", 42, 4, 0, 0},
};

class Amplification : public EveryMessage {};

// What 4 bytes more of a message can cost: of each vector of tables an element, of bytes 4.
struct cost {
  uint32_t bytes = 0, fields = 0, most_fields = 0;
};

cost cost_of(const message &message) {
  cost sum;
  for (const owned_block &block : blocks_of(message)) {
    sum.bytes += block.is_bytes() ? 4 : block.element_size();
    const auto fields =
        block.is_bytes() ? 0 : static_cast<uint32_t>(block.field().table->fields.size());
    sum.fields += fields;
    sum.most_fields = std::max(sum.most_fields, fields);
  }
  return sum;
}

// The root's vtable, trimmed behind the last slot that is used, and its table: every vector of
// tables at the first offset word, the embedded record with the bytes at the second. No message has
// more than one vector of bytes, or a vector of tables elsewhere than in the root.
wire_builder worst_message(const message &message, uint32_t words) {
  const std::vector<owned_block> blocks = blocks_of(message);
  const owned_block *copied = nullptr;
  bool items = false;
  uint32_t last_slot = 0;
  for (const owned_block &block : blocks) {
    EXPECT_EQ(block.path.size(), block.is_bytes() ? 2U : 1U)
        << "asks for a worst message of its own";
    EXPECT_TRUE(!block.is_bytes() || copied == nullptr) << "asks for a worst message of its own";
    copied = block.is_bytes() ? &block : copied;
    items = items || !block.is_bytes();
    last_slot = std::max(last_slot, block.slot());
  }
  wire_builder wire;
  const uint32_t root_offset = wire.u32(0);
  const uint32_t vtable = wire.u16(4 + 2 * (last_slot + 1));
  wire.u16(0); // the table's size, which nobody reads
  for (uint32_t slot = 0; slot <= last_slot; slot++)
    wire.u16(0);
  for (const owned_block &block : blocks)
    wire.set_u16(vtable + 4 + 2 * block.slot(), block.is_bytes() && items ? 8 : 4);
  wire.refer(root_offset, wire.table(vtable));
  const uint32_t to_items = items ? wire.u32(0) : 0;
  if (copied != nullptr) {
    const uint32_t to_embedded = wire.u32(0);
    const uint32_t slots = copied->field().slot + 1;
    const uint32_t embedded_vtable = wire.u16(4 + 2 * slots);
    for (uint32_t slot = 0; slot < slots; slot++)
      wire.u16(0);
    wire.u16(4); // the bytes are the last slot
    wire.refer(to_embedded, wire.table(embedded_vtable));
    const uint32_t to_bytes = wire.u32(0);
    wire.refer(to_bytes, wire.u32(4 * words + (items ? 4 : 0)));
  }
  if (items)
    wire.refer(to_items, wire.u32(words));
  wire.fill(4 * words);
  return wire;
}

// Every offset word refers to one element at the end that has all its fields; of a message with
// several kinds of elements, those of one kind.
wire_builder slowest_message(const message &message, const owned_block &block, uint32_t words) {
  wire_builder wire = worst_message(message, words);
  const uint32_t first_word = wire.here() - 4 * words;
  const uint32_t root = image::root_of(wire);
  for (const owned_block &other : blocks_of(message))
    if (other.slot() != block.slot())
      wire.set_u16(image::entry_of(wire, root, other.slot()), 0);
  const wire_builder sound(catalogue::packed(message, catalogue::full_record(message).get()));
  const uint32_t vector =
      image::target_of(sound, image::field_of(sound, image::root_of(sound), block.slot()));
  const uint32_t element = wire.here() + image::target_of(sound, image::element_word(vector, 0));
  for (const uint8_t byte : sound.bytes())
    wire.u8(byte);
  for (uint32_t i = 0; i < words; i++)
    wire.refer(first_word + 4 * i, element);
  return wire;
}

uint64_t bytes_asked(const std::vector<fake_osal::call> &calls) {
  uint64_t sum = 0;
  for (const fake_osal::call &call : calls)
    sum += call.kind == fake_osal::call_kind::cache_alloc ? call.size : 0;
  return sum;
}

TEST_F(Amplification, IsWhatTheTableSaysForTheWorstMessageOfEachKind) {
  for (const amplification &figure : figures) {
    SCOPED_TRACE(figure.message);
    const message &message = catalogue::row_of(figure.message);
    for (const uint32_t words : {1U, 1000U}) {
      const wire_builder wire = worst_message(message, words);
      EXPECT_EQ(wire.here(), figure.header + 4 * words);
      const catalogue::decoding decoded(message, wire.bytes());
      EXPECT_EQ(bytes_asked(decoded.calls), figure.bytes_per_word * words + figure.bytes_beside);
    }
    EXPECT_EQ(cost_of(message).most_fields, figure.fields_per_word);
  }
}

TEST_F(Amplification, IsTheSumOfTheElementsThatOneOffsetWordCanStandFor) {
  each_tree([](const message &message) {
    const std::vector<owned_block> blocks = blocks_of(message);
    uint64_t asked[2] = {};
    for (const uint32_t i : {0U, 1U}) {
      const catalogue::decoding decoded(message, worst_message(message, i + 1).bytes());
      EXPECT_TRUE(decoded.lines.empty()) << decoded.lines.front();
      EXPECT_EQ(decoded.calls.size(), blocks.size()) << "nothing was given back";
      asked[i] = bytes_asked(decoded.calls);
    }
    EXPECT_EQ(asked[1] - asked[0], cost_of(message).bytes);
    EXPECT_LE(asked[0] - cost_of(message).bytes, 4U) << "beside, however long the message";
  });
}

TEST_F(Amplification, OfAnElementWithAllItsFieldsGivesThatElementEveryTime) {
  each_tree([](const message &message) {
    for (const owned_block &block : blocks_of(message)) {
      if (block.is_bytes())
        continue;
      SCOPED_TRACE("slot " + std::to_string(block.slot()));
      constexpr uint32_t words = 50;
      catalogue::decoding decoded(message, slowest_message(message, block, words).bytes());
      EXPECT_TRUE(decoded.lines.empty()) << decoded.lines.front();
      owned_record full = catalogue::full_record(message);
      ASSERT_EQ(block.field().count(decoded.record()), words);
      for (uint32_t i = 0; i < words; i++)
        EXPECT_EQ(std::memcmp(block.field().element(decoded.record(), i),
                              block.field().element(full.get(), 0), block.element_size()),
                  0);
    }
  });
}

// The rows of a table: | `message` | record bytes per byte | fields per offset word |. What is not
// listed costs less than what is.
TEST_F(Amplification, IsWhatTheSecurityModelSays) {
  std::ifstream file(MESH_FIB6_SOURCE_DIR "/docs/security.md");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::map<std::string, uint32_t> listed;
  uint32_t least = UINT32_MAX, most = 0;
  for (const pattern::groups &row :
       pattern::all_found(text, "\n\\| `([A-Za-z0-9_]+)` \\| ([0-9]+) \\| ([0-9]+) \\|")) {
    const std::string &name = row[1];
    SCOPED_TRACE(name);
    const cost expected = cost_of(catalogue::row_of(name));
    EXPECT_EQ(std::stoul(row[2]), expected.bytes / 4);
    EXPECT_EQ(std::stoul(row[3]), expected.fields);
    listed[name] = expected.bytes;
    least = std::min(least, expected.bytes);
    most = std::max(most, expected.bytes);
  }
  EXPECT_FALSE(listed.empty());
  each_tree([&](const message &message) {
    EXPECT_TRUE(listed.count(message.name) != 0 || cost_of(message).bytes < least)
        << "docs/security.md: a row for " << message.name << " is missing";
  });
  EXPECT_NE(text.find("`" + std::to_string(most / 4) + " n`"), std::string::npos)
      << "the limit of a buffer of n bytes";
}

// Nanoseconds that a decode and its release take with the system heap: the least of some.
double decode_time(const message &message, const wire_builder &wire) {
  guarded_buffer buffer(wire.bytes()), record(message.record_size);
  std::chrono::duration<double, std::nano> least = std::chrono::hours(1);
  for (int i = 0; i < 10; i++) {
    const auto start = std::chrono::steady_clock::now();
    message.unpack(buffer.data(), buffer.size(), record.data());
    message.release(record.data());
    least = std::min<decltype(least)>(least, std::chrono::steady_clock::now() - start);
  }
  return least.count();
}

// Not a test of time: that differs from machine to machine. The table is printed for who wants it.
TEST_F(Amplification, IsPrintedWithWhatAByteCostsInTime) {
  std::printf(
      "| message | record bytes per byte | fields per 4 bytes | ns per byte, empty elements "
      "| ns per byte, full elements |\n|---|---|---|---|---|\n");
  each_tree([](const message &message) {
    mesh_fib6::runtime::unit &unit = catalogue::units_of(message).recv;
    const mesh_fib6::runtime::unit bound = unit;
    unit.runtime.cache_alloc = mesh_fib6::runtime::heap_alloc;
    unit.runtime.cache_free = mesh_fib6::runtime::heap_free;
    constexpr uint32_t words = 2000;
    const wire_builder empty = worst_message(message, words);
    const double of_empty = decode_time(message, empty) / empty.here();
    double of_full = 0;
    for (const owned_block &block : blocks_of(message))
      if (!block.is_bytes()) {
        const wire_builder full = slowest_message(message, block, words);
        of_full = std::max(of_full, decode_time(message, full) / full.here());
      }
    unit.runtime.cache_alloc = bound.runtime.cache_alloc;
    unit.runtime.cache_free = bound.runtime.cache_free;
    EXPECT_GT(of_empty, 0);
    const cost figures_of_it = cost_of(message);
    std::printf("| `%s` | %.0f | %u | %.2f | %.2f |\n", message.name, figures_of_it.bytes / 4.0,
                figures_of_it.most_fields, of_empty, of_full);
  });
}

} // namespace
