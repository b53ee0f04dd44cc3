// The vectors that a decoded record owns, in the order in which they are decoded: those of its own
// and those of the records embedded in it.
//
// Room: reference. Walks descriptors; includes nothing else of this system.
#pragma once

#include "tools/descriptors.h"

#include <cstdint>

namespace reference {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::kind;
using mesh_fib6::tools::message_descriptor;
using mesh_fib6::tools::table_descriptor;

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

struct vector_place {
  const table_descriptor *owner; // whose release names the block
  bool embedded;
  uint32_t count_at, pointer_at; // in the message's record
  uint32_t width;
};

struct vector_list {
  vector_place of[max_vectors];
  uint32_t count = 0;

  void add(const table_descriptor &table, uint32_t base, bool embedded) {
    for (const field_descriptor &field : table.fields) {
      if (field.kind == kind::table)
        add(*field.table, base + field.offset, true);
      if (field.is_vector())
        of[count++] = {&table, embedded, base + field.count_offset, base + field.offset,
                       field.width};
    }
  }
};

inline vector_list vectors_of(const table_descriptor &root) {
  vector_list list;
  list.add(root, 0, false);
  return list;
}

// Decoding n bytes allocates at most this many times n: each byte of the buffer can be part of one
// offset word in each vector, and a word stands for one element.
inline uint32_t amplification(const table_descriptor &root) {
  const vector_list vectors = vectors_of(root);
  uint32_t sum = 0;
  for (uint32_t i = 0; i < vectors.count; i++)
    sum += vectors.of[i].width == 1 ? 1 : (vectors.of[i].width + 3) / 4;
  return sum;
}

} // namespace reference
