// The check that every writer shares, compiled once.
//
// Room: wire.
#include "wire/compact_writer.h"

namespace mesh_fib6::wire {

bool writable(runtime::unit &unit, const uint8_t *buffer, uint32_t capacity, const void *record,
              const char *function) {
  if (buffer != nullptr && capacity >= root_offset_size && record != nullptr)
    return true;
  runtime::write_log(unit, runtime::log_category::validation, __LINE__, function,
                     "[VARKO]:Param invalid(%s, %u, %s)", buffer != nullptr ? "nonNull" : "null",
                     capacity, record != nullptr ? "nonNull" : "null");
  return false;
}

} // namespace mesh_fib6::wire
