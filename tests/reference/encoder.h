// What encoding must give, worked out a second time from the descriptors and docs/wire-format.md:
// both arrangements, every byte, any byte order.
//
// Room: reference.
#pragma once

#include "tools/descriptors.h"

#include <cstdint>

namespace reference {

using mesh_fib6::tools::field_descriptor;
using mesh_fib6::tools::table_descriptor;

inline constexpr uint32_t max_encoded = 65536; // larger than what records of targets encode to

class encoder {
public:
  // Encoded bytes; they live until the next call.
  struct encoded {
    const uint8_t *bytes;
    uint32_t written; // the rest of `size` is not written: 8 bytes for each pointer to nothing
    uint32_t size;
  };
  encoded compact(const table_descriptor &root, const void *record, uint32_t byte_swap);
  encoded fixed(const table_descriptor &root, const void *record, uint32_t byte_swap);

private:
  void put(uint32_t at, uint32_t value, uint32_t width);
  uint32_t append(uint32_t value, uint32_t width);
  void append_contents(const field_descriptor &field, const void *record, uint32_t count);
  uint32_t compact_table(const table_descriptor &table, const void *record);
  void compact_behind(const table_descriptor &table, const void *record, const uint32_t *words);
  void fixed_table(const table_descriptor &table, const void *record);

  uint8_t bytes_[max_encoded];
  uint32_t end_ = 0;
  uint32_t pointers_to_nothing_ = 0;
  uint32_t byte_swap_ = 0;
};

} // namespace reference
