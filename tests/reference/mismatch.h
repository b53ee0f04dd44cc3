// Whether two records mean the same: equal numbers and counts; of an empty vector only that it is
// empty.
//
// Room: reference. Walks descriptors. Libc only, no strings: where the memory sanitizer watches the
// attacks, those of the C++ library, which it does not watch, must not be mixed with ours.
#pragma once

#include "tools/descriptors.h"

#include <cstdint>

namespace reference {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::table_descriptor;

// The first member in which two records differ, and how.
class mismatch {
public:
  mismatch(const table_descriptor &table, const void *expected, const void *actual);

  bool is_there() const { return is_there_; }

  // "f1[3].f2[0]: expected 0x1, got 0x2"; empty when there is none.
  const char *text() const { return text_; }

private:
  bool in_table(const table_descriptor &table, const void *expected, const void *actual,
                uint32_t end);
  bool in_field(const field_descriptor &field, const void *expected, const void *actual,
                uint32_t end);
  bool in_element(const field_descriptor &field, const void *expected, const void *actual,
                  uint32_t i, uint32_t end);
  uint32_t add(uint32_t end, const char *format, ...) __attribute__((format(printf, 3, 4)));
  bool differ(uint32_t end, uint32_t expected, uint32_t actual);

  char text_[256] = {};
  bool is_there_;
};

} // namespace reference
