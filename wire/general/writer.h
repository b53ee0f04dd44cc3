// Writes a record in either arrangement, in any byte order.
//
// Room: wire/general. Whoever calls knows that there is room, so the writer never checks a
// capacity.
#pragma once

#include "wire/general/descriptor.h"

namespace mesh_fib6::wire::general {

// The compact arrangement of a message, into compact_size() bytes. Returns the bytes written: as
// many, or less where byte vectors are empty but not null.
uint32_t write_compact(byte_order order, uint8_t *buffer, const table_info &root,
                       const void *record);

// The fixed arrangement of a flat message into `size` bytes, its fixed_image_size. What belongs to
// no value and no structure is zero.
void write_fixed(byte_order order, uint8_t *slot, uint32_t size, const table_info &root,
                 const void *record);

} // namespace mesh_fib6::wire::general
