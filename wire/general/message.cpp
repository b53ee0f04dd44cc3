// Whole messages by the general codec.
//
// Room: wire/general.
#include "wire/general/message.h"

#include "platform/memory.h"
#include "wire/general/reader.h"
#include "wire/general/sizer.h"
#include "wire/general/writer.h"

namespace mesh_fib6::wire::general {
namespace {

const char *null_or_not(const void *pointer) {
  return pointer != nullptr ? "nonNull" : "null";
}

byte_order order_of(const runtime::unit &unit) {
  return byte_order(byte_swap_of(unit));
}

// Whether there is something to decode and somewhere to decode it to; logs if not.
bool accept(runtime::unit &unit, const char *decoding, const uint8_t *buffer, uint32_t length,
            const void *record) {
  const auto signed_length = static_cast<int32_t>(length);
  if (buffer != nullptr && signed_length >= static_cast<int32_t>(least_received) &&
      record != nullptr)
    return true;
  runtime::write_log(unit, runtime::log_category::validation, __LINE__, decoding,
                     "[VARKO]:Param invalid(%s, %d, %s)", null_or_not(buffer), signed_length,
                     null_or_not(record));
  return false;
}

// What lies behind the root's header.
void read_root(runtime::unit &unit, const table_info &root, const char *decoding, received in,
               const table_ref &table, void *record) {
  if (!reader(unit, order_of(unit), in).read_fields(table, root, record, decoding))
    release_blocks(unit, root, record);
}

} // namespace

uint32_t pack(runtime::unit &unit, const table_info &root, const char *packing, const void *record,
              uint8_t *buffer, uint32_t *length) {
  const uint32_t needed = compact_size(root, record);
  if (needed == 0 || needed > *length)
    return pack_failed;
  if (buffer != nullptr)
    write(unit, root, buffer, record);
  else
    report_size_query(unit, packing, *length);
  *length = needed;
  return 0;
}

void report_size_query(runtime::unit &unit, const char *packing, uint32_t length) {
  runtime::write_log(unit, runtime::log_category::validation, __LINE__, packing,
                     "[VARKO]:Param invalid(%s, %u, %s)", "null", length, "nonNull");
}

uint32_t write(runtime::unit &unit, const table_info &root, uint8_t *buffer, const void *record) {
  runtime::bind_cache(unit);
  return write_compact(order_of(unit), buffer, root, record);
}

void write_image(runtime::unit &unit, const table_info &root, uint8_t *slot, uint32_t size,
                 const void *record) {
  runtime::bind_cache(unit);
  write_fixed(order_of(unit), slot, size, root, record);
}

uint32_t unpack_header_first(runtime::unit &unit, const table_info &root, const char *decoding,
                             const uint8_t *buffer, uint32_t length, void *record) {
  if (!accept(unit, decoding, buffer, length, record))
    return root.record_size();
  const received in{buffer, length};
  // With the flag as it is found; what lies behind is read with the flag as a first binding leaves
  // it.
  reader header(unit, order_of(unit), in);
  table_ref table{};
  if (header.open_table(header.root(), decoding, table)) {
    runtime::bind_cache(unit);
    clear_memory(record, root.record_size());
    read_root(unit, root, decoding, in, table, record);
  }
  return root.record_size();
}

uint32_t unpack_as_table(runtime::unit &unit, const table_info &root, const char *decoding,
                         const uint8_t *buffer, uint32_t length, void *record) {
  if (!accept(unit, decoding, buffer, length, record))
    return root.record_size();
  const received in{buffer, length};
  runtime::bind_cache(unit);
  clear_memory(record, root.record_size());
  reader header(unit, order_of(unit), in);
  table_ref table{};
  if (header.open_table(header.root(), root.non_root(), table))
    read_root(unit, root, decoding, in, table, record);
  return root.record_size();
}

} // namespace mesh_fib6::wire::general
