// What the tests of both directions share: many records of every message, and the library's side of
// an exchange.
//
// Room: tests.
#pragma once

#include "tests/interop/flatbuffers_peer.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/fake_osal.h"
#include "tests/support/random_record.h"

#include <gtest/gtest.h>

#include <string>

namespace exchange {

using flatbuffers_peer::bytes;
using mesh_fib6::tools::for_each_message;
using mesh_fib6::tools::message_descriptor;
using mesh_fib6::tools::shape;
using random_record::generator;
using random_record::owned_record;

// From full to almost bare, now and then with long vectors.
inline random_record::density density_of(uint32_t round) {
  constexpr uint32_t zero_percents[] = {0, 30, 60, 95};
  const bool long_vectors = round % 8 == 7;
  return {.zero_percent = zero_percents[round % 4],
          .max_elements = long_vectors ? 40U : 4U,
          .max_bytes = long_vectors ? 1000U : 40U,
          .pointers_to_empty = round % 2 == 1};
}

// Calls visit(message, record, random, round) for many records of every message. A failure tells
// the message, the round and the seed, and ends the test: the first one says most.
template <class Visit>
void each_random_record(Visit visit) {
  for_each_message([&visit](const message_descriptor &message) {
    for (uint32_t round = 0; round < MESH_FIB6_ROUNDS && !testing::Test::HasFailure(); round++) {
      const uint64_t seed = uint64_t{message.id} << 32 | round;
      SCOPED_TRACE(std::string(message.name) + ", round " + std::to_string(round) + ", seed " +
                   std::to_string(seed));
      generator random(seed);
      const owned_record record = random_record::make(*message.table, random, density_of(round));
      visit(message, record.get(), random, round);
      fake_osal::reset(); // its notes would pile up
    }
  });
}

// The record in the compact arrangement.
inline bytes packed(const message_descriptor &message, const void *record) {
  uint32_t length = UINT32_MAX;
  EXPECT_EQ(message.pack(record, nullptr, &length), 0U); // asks for the size
  guarded_buffer buffer(length);
  EXPECT_EQ(message.pack(record, buffer.data(), &length), 0U);
  EXPECT_EQ(length, buffer.size());
  return buffer.bytes();
}

// The record as it is sent: compact for trees, a fixed image for flat messages.
inline bytes sent(const message_descriptor &message, const void *record) {
  fake_mesh::reset();
  EXPECT_EQ(message.sendsingle(1, record, 0, 0), 0U);
  const auto sends = fake_mesh::sends();
  if (sends.size() != 1 || sends[0].messages.size() != 1) {
    ADD_FAILURE() << "not sent as one message";
    return {};
  }
  EXPECT_EQ(sends[0].messages[0].id, message.id);
  return sends[0].messages[0].bytes;
}

// What unpack makes of a buffer, given back to the library at the end.
class unpacked {
public:
  // The buffer is read right behind an inaccessible page, then right before one.
  unpacked(const message_descriptor &message, const bytes &buffer)
      : message_(message), record_(*message.table) {
    unpack(guarded_buffer(buffer, edge::before));
    message_.free_unpacked(get());
    unpack(guarded_buffer(buffer, edge::behind));
  }
  unpacked(const unpacked &) = delete;
  unpacked &operator=(const unpacked &) = delete;
  ~unpacked() { message_.free_unpacked(get()); }

  void *get() { return record_.get(); }

private:
  void unpack(const guarded_buffer &buffer) {
    EXPECT_EQ(message_.unpack(buffer.data(), buffer.size(), get()), message_.record_size);
  }

  const message_descriptor &message_;
  owned_record record_;
};

// Clean doubles before, nothing left behind after.
class Exchange : public testing::Test {
protected:
  void SetUp() override {
    fake_osal::reset();
    fake_mesh::reset();
  }
  void TearDown() override {
    EXPECT_EQ(fake_osal::live_blocks(), 0U);
    EXPECT_EQ(fake_osal::wrong_frees(), 0U);
  }
};

} // namespace exchange
