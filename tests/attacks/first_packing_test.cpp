// Two threads whose first packings meet. An operation may look at its unit more than once, and
// between two looks the other thread may bind it.
//
// Room: tests. Against the objects of the library, whose units begin anew each round.
#include "tests/attacks/many_threads.h"
#include "tests/support/random_record.h"
#include "wire/codec.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <string>
#include <thread>
#include <vector>

using namespace mesh_fib6;
using namespace mesh_fib6::tools;

struct test_word {
  uint32_t f0;
};
MESH_FIB6_TABLE(test_word, 4, 4, f0);

namespace {

using bytes = std::vector<uint8_t>;

constexpr int rounds = 400; // of each message
constexpr uint8_t unwritten = 0xA5;

// A record and what it is packed to once its unit is bound.
struct packing {
  explicit packing(const message_descriptor &descriptor)
      : message(descriptor), record(made(descriptor)) {
    for (int i = 0; i < 2; i++) { // the first one binds
      size = static_cast<uint32_t>(expected.size());
      EXPECT_EQ(message.pack(record.get(), expected.data(), &size), 0U) << message.name;
    }
    expected.resize(size);
  }

  static random_record::owned_record made(const message_descriptor &message) {
    random_record::generator random(message.id);
    return random_record::make(*message.table, random, {});
  }

  const message_descriptor &message;
  random_record::owned_record record;
  uint32_t size = 0;
  bytes expected = bytes(8192, unwritten);
};

// What happens in between, step by step: found unbound, bound by another, then left to the general
// codec.
TEST(FirstPacking, WritesTheMessageWhenItsUnitIsBoundAfterItWasLookedAt) {
  runtime::unit unit;
  ASSERT_FALSE(wire::is_common(unit));
  runtime::bind_cache(unit);
  ASSERT_TRUE(wire::is_common(unit));
  const test_word word = {0x01020304};
  const bytes expected = {
      10,        0,         0, 0,       // root offset 10
      6,         0,         8, 0, 4, 0, // vtable: 1 slot, table size 8, slot 0 at 4
      6,         0,         0, 0,       // soffset 6
      4,         3,         2, 1,       // f0
      unwritten, unwritten,             // not the message's
  };
  bytes packed(20, unwritten);
  uint32_t length = 20;
  EXPECT_EQ(wire::pack_uncommon(unit, wire::general::info_of<test_word>(), "test_word_pack", &word,
                                packed.data(), &length, wire::message_size<test_word>),
            0U);
  EXPECT_EQ(length, 18U);
  EXPECT_EQ(packed, expected);
}

TEST(FirstPacking, WritesTheMessageAlsoWhenAnotherThreadBindsTheUnitMeanwhile) {
  std::vector<packing> packings;
  for_each_message(
      [&packings](const message_descriptor &message) { packings.emplace_back(message); });
  std::atomic<uint32_t> wrong = 0;
  std::barrier line(2, []() noexcept { reset_units(); });
  const auto pack_all = [&] {
    for (const packing &each : packings)
      for (int round = 0; round < rounds; round++) {
        bytes packed(each.size, unwritten);
        uint32_t length = each.size;
        line.arrive_and_wait();
        if (each.message.pack(each.record.get(), packed.data(), &length) != 0 ||
            packed != each.expected)
          wrong++;
      }
  };
  std::thread other(pack_all);
  pack_all();
  other.join();
  EXPECT_EQ(wrong, 0U);
}

} // namespace
