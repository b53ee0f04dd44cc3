// Records filled at random by their descriptors, and what differs between two of them.
//
// Room: tests. Knows descriptors, no message in particular. The same seed gives the same record on
// every architecture.
#pragma once

#include "tests/support/guarded_buffer.h"
#include "tools/descriptors.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace random_record {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::table_descriptor;
using generator = std::mt19937_64;

// A number below `bound`, which is not 0.
uint32_t below(generator &random, uint32_t bound);
bool chance(generator &random, uint32_t percent);

// A record and whatever its pointers lead to; every block ends at an inaccessible page, so that a
// read behind it is a fault.
class owned_record {
public:
  explicit owned_record(const table_descriptor &table); // all zero

  void *get() { return blocks_.front().data(); }
  const void *get() const { return blocks_.front().data(); }

  // Zeroed memory that lives as long as the record.
  void *add_block(size_t size);

private:
  std::vector<guarded_buffer> blocks_;
};

struct density {
  uint32_t zero_percent = 30;     // of scalars, of fixed arrays (whole) and of vectors (empty)
  uint32_t max_elements = 4;      // of a vector of tables
  uint32_t max_bytes = 40;        // of a byte vector
  bool pointers_to_empty = false; // some empty vectors have a pointer nevertheless
};

owned_record make(const table_descriptor &table, generator &random, const density &density);

// Whether everything in the record is zero or empty.
bool is_zero(const table_descriptor &table, const void *record);

// The first member in which two records differ and how (reference::mismatch); empty when there is
// none.
std::string difference(const table_descriptor &table, const void *expected, const void *actual);

} // namespace random_record
