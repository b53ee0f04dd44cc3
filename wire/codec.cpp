// What the entrance to the codec shares among messages.
//
// Room: wire.
#include "wire/codec.h"

namespace mesh_fib6::wire {

uint32_t pack_measured(const void *record, uint8_t *buffer, uint32_t *length,
                       uint32_t (*size)(const void *), uint32_t (*write)(uint8_t *, const void *)) {
  const uint32_t needed = size(record);
  if (needed == 0 || needed > *length)
    return general::pack_failed;
  write(buffer, record);
  *length = needed;
  return 0;
}

uint32_t pack_uncommon(runtime::unit &unit, const general::table_info &root, const char *packing,
                       const void *record, uint8_t *buffer, uint32_t *length,
                       uint32_t (*size)(const void *)) {
  // Another thread may have bound the unit since the caller looked at it. So whether there is a
  // buffer to write to decides, whatever the unit is by now.
  if (buffer != nullptr || record == nullptr || !is_common(unit))
    return general::pack(unit, root, packing, record, buffer, length);
  const uint32_t needed = size(record);
  if (needed == 0 || needed > *length)
    return general::pack_failed;
  general::report_size_query(unit, packing, *length);
  *length = needed;
  return 0;
}

} // namespace mesh_fib6::wire
