// The checks that every decoder shares, compiled once.
//
// Room: wire.
#include "wire/decoder.h"

namespace mesh_fib6::wire {

bool accept(runtime::unit &unit, const uint8_t *buffer, uint32_t length, const void *record,
            const char *function) {
  const auto signed_length = static_cast<int32_t>(length);
  if (buffer != nullptr && signed_length >= 4 && record != nullptr)
    return true;
  runtime::write_log(unit, runtime::log_category::validation, __LINE__, function,
                     "[VARKO]:Param invalid(%s, %d, %s)", buffer != nullptr ? "nonNull" : "null",
                     signed_length, record != nullptr ? "nonNull" : "null");
  return false;
}

template bool open_table(runtime::unit &, const received &, native_order, uint32_t, const char *,
                         table_ref &);
template bool open_table(runtime::unit &, const received &, reversed_order, uint32_t, const char *,
                         table_ref &);

} // namespace mesh_fib6::wire
