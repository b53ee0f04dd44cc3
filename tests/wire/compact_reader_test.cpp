// Which elements the reader of compact ones takes, and which it leaves: whatever it leaves is read
// with the same result, only slower, so no test of a decode would notice.
//
// Room: tests. Asks wire::read_run and wire::read_each themselves.
#include "tests/reference/element_wire.h"
#include "tests/support/guarded_buffer.h"

#include "modules/fib6/schema.h"
#include "modules/fib6_cfg/schema.h"
#include "wire/quick/run_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

using namespace element_wire;

namespace {

// How many elements of the vector whose offset words begin at `word` are taken; `look` sees them.
struct reader {
  const char *name;
  element_type type;
  uint32_t (*take)(const guarded_buffer &wire, uint32_t word, std::vector<uint8_t> &records,
                   uint32_t count);
  // Bytes that sixteen-byte loads need behind an element's last scalar group that is theirs.
  uint32_t tail;
};

// As a run, where there are shuffles to go by groups, or one by one, as the only element of a
// vector is read everywhere.
enum class way : uint8_t { run, each };

template <class Record, way Way>
uint32_t take(const guarded_buffer &wire, uint32_t word, std::vector<uint8_t> &records,
              uint32_t count) {
  const mesh_fib6::wire::received in{wire.data(), static_cast<uint32_t>(wire.size())};
  guarded_buffer room(sizeof(Record) * count);
  std::memset(room.data(), 0, room.size());
  auto *const first = reinterpret_cast<Record *>(room.data());
  uint32_t taken = 0;
  if constexpr (Way == way::run && mesh_fib6::wire::has_shuffles)
    taken = mesh_fib6::wire::read_run(in, word, first, count);
  else
    taken = mesh_fib6::wire::read_each(in, word, first, count);
  records.assign(room.data(), room.data() + room.size());
  return taken;
}

// With arrays of sixteen bytes or more behind the scalars nothing need follow the last table; with
// 8 + 3 or no bytes, the rest of sixteen.
constexpr uint32_t for_loads(uint32_t size) {
  return mesh_fib6::wire::has_shuffles ? size : 0; // field by field nothing more is loaded
}

template <class Record>
void add_readers(std::vector<reader> &list, const char *name, const element_type &type,
                 uint32_t tail) {
  list.push_back({name, type, take<Record, way::run>, tail});
  list.push_back({name, type, take<Record, way::each>, 0});
}

std::vector<reader> all_readers() {
  std::vector<reader> list;
  add_readers<feiBrokerFib6_ipv6Fwd>(list, "routes", route(), 0);
  add_readers<feiBrokerFib6_nhp6Std>(list, "next hops", hop_std(), 0);
  add_readers<feiBrokerFib6_nhp6Ext>(list, "extended next hops", hop_ext(),
                                     for_loads(16 - 4 - 4 - 3));
  add_readers<feiBrokerFib6_nhp6Vpn>(list, "VPN next hops", hop_vpn(), for_loads(16));
  add_readers<feiBrokerFib6_nhp6Vxlan>(list, "VXLAN next hops", hop_vxlan(), 0);
  add_readers<feiBrokerFib6_nhp6GroupNode>(list, "group nodes", group_node(), for_loads(16));
  add_readers<feiBrokerFib6_srv6SrList>(list, "segment lists", segment_list(), 0);
  add_readers<feiBrokerFib6_srv6SrListKey>(list, "list keys", list_key(), for_loads(16));
  add_readers<fib6_cfg_query_fib6_item>(list, "items", fib_item(), 0);
  return list;
}

class CompactReader : public testing::Test {
protected:
  static void for_each(const std::function<void(const reader &)> &check) {
    for (const reader &each : all_readers()) {
      SCOPED_TRACE(each.name);
      check(each);
    }
  }

  static vector elements_of(const reader &each, const std::vector<uint32_t> &masks) {
    vector in{.slot = 1, .type = &each.type, .elements = {}};
    for (const uint32_t mask : masks)
      in.elements.push_back(
          compact(each.type, filled(each.type, static_cast<uint32_t>(in.elements.size()), mask)));
    return in;
  }

  static message message_of(const vector &in, uint32_t behind) {
    return {.root_slots = 2,
            .f0 = 7,
            .vectors = {in},
            .lead = 40, // so that the first vtable is not near the buffer's start
            .tail = std::vector<uint8_t>(behind, 0xEE)};
  }

  // Expects the first `taken` elements to be read, and nothing to be written for the others.
  static void expect_taken(const reader &each, const bytes &wire, uint32_t word, const vector &in,
                           uint32_t taken) {
    const guarded_buffer buffer(wire);
    std::vector<uint8_t> records;
    EXPECT_EQ(each.take(buffer, word, records, static_cast<uint32_t>(in.elements.size())), taken);
    for (uint32_t i = 0; i < in.elements.size(); ++i) {
      const bytes expected =
          i < taken ? in.elements[i].values.record() : bytes(each.type.size, uint8_t{0});
      EXPECT_EQ(std::memcmp(records.data() + each.type.size * i, expected.data(), expected.size()),
                0)
          << "element " << i;
    }
  }
  static void expect_taken(const reader &each, const laid_message &laid, const vector &in,
                           uint32_t taken) {
    expect_taken(each, laid.wire, laid.at[0][0].word, in, taken);
  }
};

// Masks that repeat, change, come back, are empty and full.
const std::vector<uint32_t> changing = {
    every_scalar, every_scalar, 0x55555555, 0x55555555,   0, 0, 0x33333333,
    every_scalar, 0x0F0F0F0F,   1,          every_scalar, 0};

TEST_F(CompactReader, TakesEveryElementThatIsLaidAsTheWriterDoes) {
  for_each([](const reader &each) {
    const vector in = elements_of(each, changing);
    const message whole = message_of(in, each.tail);
    expect_taken(each, laid_message(whole), in, static_cast<uint32_t>(in.elements.size()));
  });
}

TEST_F(CompactReader, TakesTheLastElementWithJustTheRoomForItsLoadsAndNotWithLess) {
  for_each([](const reader &each) {
    for (const uint32_t mask : {every_scalar, no_scalar, 0x55555555U})
      for (const uint32_t count : {1U, 3U}) {
        const vector in = elements_of(each, std::vector<uint32_t>(count, mask));
        const message enough = message_of(in, each.tail);
        const laid_message laid(enough);
        expect_taken(each, laid, in, count);
        bytes shorter = laid.wire;
        shorter.pop_back();
        expect_taken(each, shorter, laid.at[0][0].word, in, count - 1);
      }
  });
}

TEST_F(CompactReader, TakesAnElementWhoseVtableIsRightBehindTheRootOffset) {
  for_each([](const reader &each) {
    const vector in = elements_of(each, {0x55555555});
    const message whole = message_of(in, each.tail);
    const laid_message laid(whole);
    const laid_element &at = laid.at[0][0];
    // The vtable begins with the fifth byte; the only room for an offset word in front of the table
    // is where the root's is.
    bytes wire(laid.wire.begin() + at.vtable, laid.wire.end());
    wire.insert(wire.begin(), 4, 0);
    wire[0] = static_cast<uint8_t>(4 + at.table - at.vtable);
    expect_taken(each, wire, 0, in, 1);
    bytes shorter = wire;
    shorter.pop_back();
    expect_taken(each, shorter, 0, in, 0);
    // One byte nearer the vtable would begin inside the root offset.
    wire.erase(wire.begin() + 3);
    wire[0]--;
    expect_taken(each, wire, 0, in, 0);
  });
}

TEST_F(CompactReader, StopsAtAnElementWithAnotherDistanceToItsVtable) {
  for_each([](const reader &each) {
    for (const uint32_t k : {0U, 1U, 3U}) {
      vector in = elements_of(each, std::vector<uint32_t>(5, 0x55555555));
      in.elements[k].apart = 1;
      const message whole = message_of(in, each.tail);
      expect_taken(each, laid_message(whole), in, k);
    }
  });
}

TEST_F(CompactReader, StopsAtAnyEntryThatIsNotTheWriters) {
  for_each([](const reader &each) {
    for (const uint32_t k : {0U, 2U})
      for (uint32_t slot = 0; slot < each.type.slots(); ++slot)
        for (const uint32_t mask : {every_scalar, 0x55555555U}) {
          const vector in = elements_of(each, std::vector<uint32_t>(4, mask));
          const message whole = message_of(in, each.tail);
          laid_message laid(whole);
          const laid_element &at = laid.at[0][k];
          if (at.field[slot] == 0)
            continue;
          laid.set_entry(k, slot, at.field[slot] - at.table + 1);
          expect_taken(each, laid, in, k);
          laid.set_entry(k, slot, at.field[slot] - at.table - 1);
          expect_taken(each, laid, in, k);
        }
  });
}

TEST_F(CompactReader, StopsAtAVtableThatStatesAnotherSize) {
  for_each([](const reader &each) {
    for (const uint32_t size : {0U, each.type.vtable_size() - 2, each.type.vtable_size() + 2}) {
      const vector in = elements_of(each, std::vector<uint32_t>(3, 0x55555555));
      const message whole = message_of(in, each.tail);
      laid_message laid(whole);
      laid.set_u16(laid.at[0][1].vtable, size);
      expect_taken(each, laid, in, 1);
    }
  });
}

TEST_F(CompactReader, StopsAtAnArrayWithAnotherOffsetOrCount) {
  for_each([](const reader &each) {
    for (const uint32_t slot : each.type.arrays())
      for (const uint32_t k : {0U, 2U}) {
        const vector in = elements_of(each, std::vector<uint32_t>(4, 0x55555555));
        const message whole = message_of(in, each.tail);
        laid_message laid(whole);
        const laid_element &at = laid.at[0][k];
        laid.refer(at.field[slot], at.body[slot] + 1);
        expect_taken(each, laid, in, k);
        laid.refer(at.field[slot], at.body[slot]);
        laid.set_u32(at.body[slot], each.type.members[slot].count + 1);
        expect_taken(each, laid, in, k);
      }
  });
}

TEST_F(CompactReader, StopsAtAnOffsetThatWraps) {
  for_each([](const reader &each) {
    const vector in = elements_of(each, {0x55555555});
    const message whole = message_of(in, each.tail);
    const laid_message laid(whole);
    // The element in front of its offset word, which 32 bits would take back to it.
    const laid_element &at = laid.at[0][0];
    bytes wire(4);
    wire.insert(wire.end(), laid.wire.begin() + at.vtable, laid.wire.end());
    const auto word = static_cast<uint32_t>(wire.size());
    const uint32_t offset = 4 + at.table - at.vtable - word;
    wire.resize(word + 4);
    std::memcpy(wire.data() + word, &offset, 4);
    expect_taken(each, wire, word, in, 0);
  });
}

TEST_F(CompactReader, TakesNothingFromABufferThatIsTooSmallForAnyTable) {
  for_each([](const reader &each) {
    for (uint32_t size = 4; size < 4 + each.type.vtable_size() + 16; ++size) {
      const vector in = elements_of(each, {0});
      expect_taken(each, bytes(size, uint8_t{0}), 0, in, 0);
    }
  });
}

} // namespace
