// Fills records at random; see random_message.h.
//
// Room: tools.
#include "tools/random_message.h"

#include <limits>

namespace mesh_fib6::tools {

// splitmix64: https://prng.di.unimi.it/splitmix64.c
uint64_t random_message::draw() {
  uint64_t z = state_ += 0x9E3779B97F4A7C15;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
  return z ^ (z >> 31);
}

uint32_t random_message::number(uint32_t width) {
  const uint32_t largest = std::numeric_limits<uint32_t>::max() >> (32 - 8 * width);
  switch (below(4)) {
  case 0:
    return 1 + below(3);
  case 1:
    return largest - below(3);
  case 2:
    return (largest >> 1) + below(3); // around the sign bit
  default:
    return 1 + below(largest);
  }
}

const void *random_message::next() {
  memory_.reset();
  uint8_t *const record = memory_.block(table_.record_size);
  fill(table_, record);
  return record;
}

void random_message::fill(const table_descriptor &table, void *record) {
  for (const field_descriptor &field : table.fields)
    fill(field, record);
}

void random_message::fill(const field_descriptor &field, void *record) {
  constexpr uint32_t most_elements = 4, most_bytes = 40;
  if (field.kind == kind::table)
    return fill(*field.table, field.member(record));
  if (below(3) == 0)
    return;
  uint32_t count = field.length;
  if (field.is_vector()) {
    count = 1 + below(field.kind == kind::table_vector ? most_elements : most_bytes);
    field.set_vector(record, memory_.block(size_t{count} * field.width), count);
  }
  for (uint32_t i = 0; i < count; i++)
    if (field.kind == kind::table_vector)
      fill(*field.table, field.element(record, i));
    else
      field.set_number(record, number(field.width), i);
}

} // namespace mesh_fib6::tools
