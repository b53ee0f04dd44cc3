// What every writer shares, compiled once.
//
// Room: wire.
#include "wire/compact_writer.h"

namespace mesh_fib6::wire {

void report_unwritable(runtime::unit &unit, const uint8_t *buffer, uint32_t capacity,
                       const void *record, const char *function) {
  runtime::write_log(unit, runtime::log_category::validation, __LINE__, function,
                     "[VARKO]:Param invalid(%s, %u, %s)", buffer != nullptr ? "nonNull" : "null",
                     capacity, record != nullptr ? "nonNull" : "null");
}

} // namespace mesh_fib6::wire
