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

void clear_block(void *block, size_t size) {
  clear_memory(block, size);
}

void report_no_memory(runtime::unit &unit, uint32_t size, const char *function) {
  runtime::write_log(unit, runtime::log_category::allocation, __LINE__, function,
                     "[VARKO]:Malloc unpack data unsuccess, size(%u)", size);
}

template <class Order>
void report_table(runtime::unit &unit, received in, Order order, uint32_t at,
                  const char *function) {
  using runtime::log_category;
  if (at < root_offset_size || !in.holds(at, soffset_size)) {
    runtime::write_log(unit, log_category::validation, __LINE__, function,
                       "[VARKO]:Table offset(%u) is out of range(4 - %u)", at, in.size);
    return;
  }
  const uint32_t vtable = at - order.template load<uint32_t>(in.bytes + at);
  if (vtable < root_offset_size || !in.holds(vtable, 4)) {
    runtime::write_log(unit, log_category::validation, __LINE__, function,
                       "[VARKO]:Vtable offset(%u) is out of range(4 - %u)", at, in.size - 4);
    return;
  }
  const uint32_t vtable_size = order.template load<uint16_t>(in.bytes + vtable);
  runtime::write_log(unit, log_category::validation, __LINE__, function,
                     "[VARKO]:Vtable Len(%u) is out of range(0 - %u)", vtable_size,
                     in.size - vtable);
}

template void report_table(runtime::unit &, received, native_order, uint32_t, const char *);
template void report_table(runtime::unit &, received, reversed_order, uint32_t, const char *);

template <class Order>
bool open_table_by_call(runtime::unit &unit, received in, Order order, uint32_t at,
                        const char *function, table_ref &table) {
  return open_table(unit, in, order, at, function, table);
}

template bool open_table_by_call(runtime::unit &, received, native_order, uint32_t, const char *,
                                 table_ref &);
template bool open_table_by_call(runtime::unit &, received, reversed_order, uint32_t, const char *,
                                 table_ref &);

} // namespace mesh_fib6::wire
