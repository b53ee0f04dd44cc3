// What every decoder shares, compiled once.
//
// Room: wire.
#include "wire/decoder.h"

namespace mesh_fib6::wire {

void report_refused(runtime::unit &unit, const uint8_t *buffer, int32_t length, const void *record,
                    const char *function) {
  runtime::write_log(unit, runtime::log_category::validation, __LINE__, function,
                     "[VARKO]:Param invalid(%s, %d, %s)", buffer != nullptr ? "nonNull" : "null",
                     length, record != nullptr ? "nonNull" : "null");
}

template bool open_table(runtime::unit &, const received &, native_order, uint32_t, const char *,
                         table_ref &);
template bool open_table(runtime::unit &, const received &, reversed_order, uint32_t, const char *,
                         table_ref &);

} // namespace mesh_fib6::wire
