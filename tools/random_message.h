// Records filled at random, for trying programs out.
//
// Room: tools. Knows descriptors. A seed gives the same records on every machine and for ever.
#pragma once

#include "tools/descriptors.h"
#include "tools/record_memory.h"

#include <cstdint>

namespace mesh_fib6::tools {

class random_message {
public:
  random_message(const table_descriptor &table, uint64_t seed) : table_(table), state_(seed) {}

  // The next record, until the call after. A third of its scalars and vectors are zero or empty;
  // numbers at the edges of their width turn up as often as any others.
  const void *next();

private:
  uint64_t draw();
  uint32_t below(uint32_t bound) { return static_cast<uint32_t>(draw() % bound); }
  uint32_t number(uint32_t width);
  void fill(const table_descriptor &table, void *record);
  void fill(const field_descriptor &field, void *record);

  const table_descriptor &table_;
  uint64_t state_;
  record_memory memory_;
};

} // namespace mesh_fib6::tools
