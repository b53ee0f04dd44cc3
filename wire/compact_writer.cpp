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

uint32_t write_reversed(uint32_t flag, uint8_t *buffer, const void *record,
                        const uint8_t *(*write_root)(reversed_writer &, const void *)) {
  reversed_writer writer(reversed_order{flag == 1}, buffer);
  return writer.end_message(write_root(writer, record));
}

uint32_t pack_measured(runtime::unit &unit, const void *record, uint8_t *buffer, uint32_t *length,
                       uint32_t (*size)(const void *),
                       uint32_t (*write)(runtime::unit &, uint8_t *, const void *),
                       const char *function) {
  constexpr uint32_t failed = 0xFFFFFFFF;
  const uint32_t needed = size(record);
  if (needed == 0 || needed > *length)
    return failed;
  // With a null buffer nothing is written: the caller has asked for the size.
  if (writable(unit, buffer, *length, record, function))
    write(unit, buffer, record);
  *length = needed;
  return 0;
}

} // namespace mesh_fib6::wire
