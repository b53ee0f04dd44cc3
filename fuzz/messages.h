// The messages as targets see them: what their descriptors say, and what only peers know.
//
// Room: attacks. Includes descriptors and the units of the modules. Everything is worked out once,
// before the first execution.
#pragma once

#include "runtime/unit.h"
#include "tools/descriptors.h"

#include <cstdint>
#include <span>

namespace fuzz {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::kind;
using mesh_fib6::tools::message_descriptor;
using mesh_fib6::tools::table_descriptor;

using mesh_fib6::tools::message_count;

// How many vectors a record of the table owns, embedded records included.
constexpr uint32_t count_vectors(const table_descriptor &table) {
  uint32_t count = 0;
  for (const field_descriptor &field : table.fields)
    count += field.is_vector() ? 1 : field.kind == kind::table ? count_vectors(*field.table) : 0;
  return count;
}

// The most of all messages.
template <class Number>
consteval uint32_t most(Number number) {
  uint32_t result = 0;
  mesh_fib6::tools::for_each_message([&](const message_descriptor &message) {
    result = number(message) > result ? number(message) : result;
  });
  return result;
}
inline constexpr uint32_t max_vectors =
    most([](const message_descriptor &message) { return count_vectors(*message.table); });
inline constexpr uint32_t max_record_size =
    most([](const message_descriptor &message) { return message.record_size; });

// A vector that a decoded record owns: in the message's record or in one that is embedded in it.
struct vector_place {
  const table_descriptor *owner; // whose release names the block
  bool embedded;
  uint32_t count_at, pointer_at; // in the message's record
  uint32_t width;
};

struct message : message_descriptor {
  bool table_form; // a bad header leaves the record zeroed, not untouched
  mesh_fib6::runtime::unit *recv_unit, *send_unit;
  vector_place vectors[max_vectors];
  uint32_t vector_count;
  void *storage; // a heap block of exactly record_size bytes, for the record under test

  bool is_tree() const { return shape == mesh_fib6::tools::shape::tree; }

  // Decoding n bytes allocates at most this many times n: each byte of the buffer can be part of
  // one offset word in each vector, and a word stands for one element.
  uint32_t amplification() const;

  // What the byte_swap flags of both of its units hold.
  void set_byte_swap(uint32_t flag) const;
};

// In the order of registration.
std::span<const message, message_count> all_messages();

// The message that an input is about: its first bytes are an identifier, the low byte first. So an
// input keeps its meaning when messages come, go or change places. Where no message has the
// identifier, which is what chance makes, it is the one whose identifier differs in the least
// significant bits: the smallest number when the two are combined by exclusive or.
inline constexpr uint32_t identifier_size = 4;
const message &message_of(const uint8_t *input);

// Whether `text` is `name` followed by `suffix`.
bool is_name(const char *text, const char *name, const char *suffix);

} // namespace fuzz
