// What the entrance to the codec shares among messages.
//
// Room: wire.
#include "wire/codec.h"

namespace mesh_fib6::wire {

uint32_t pack_measured(const void *record, uint8_t *buffer, uint32_t *length,
                       uint32_t (*size)(const void *), uint32_t (*write)(uint8_t *, const void *)) {
  const uint32_t needed = size(record);
  if (needed == 0 || needed > *length)
    return 0xFFFFFFFF;
  write(buffer, record);
  *length = needed;
  return 0;
}

} // namespace mesh_fib6::wire
