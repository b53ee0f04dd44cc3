// Whole messages by the general codec: measured, written, read and released in whatever byte order
// the unit's flag asks for.
//
// Room: wire/general. Complete: whatever the quick path does, it does as this does it.
#pragma once

#include "wire/general/descriptor.h"

namespace mesh_fib6::wire::general {

inline constexpr uint32_t pack_failed = 0xFFFFFFFF;

// See M__pack in mesh_fib6/message_api.h for the contract.
uint32_t pack(runtime::unit &unit, const table_info &root, const char *packing, const void *record,
              uint8_t *buffer, uint32_t *length);

// What the log is told of a null buffer: nothing is written, the caller has asked for the size.
void report_size_query(runtime::unit &unit, const char *packing, uint32_t length);

// The write pass alone, into compact_size() bytes. Returns the bytes written.
uint32_t write(runtime::unit &unit, const table_info &root, uint8_t *buffer, const void *record);

// The fixed image of a flat message, `size` bytes.
void write_image(runtime::unit &unit, const table_info &root, uint8_t *slot, uint32_t size,
                 const void *record);

// See M__unpack in mesh_fib6/message_api.h for the contract; `decoding` is <message>_unpack. When
// the header of the root is checked differs between messages, and peers see the difference in the
// record after a bad header and in the name under which the failure is logged:
//   header first: header, then binding, then the record is zeroed; logged as <message>_unpack
//   as a table:   binding and zeroing first; logged as <message>_unpack_non_root
uint32_t unpack_header_first(runtime::unit &unit, const table_info &root, const char *decoding,
                             const uint8_t *buffer, uint32_t length, void *record);
uint32_t unpack_as_table(runtime::unit &unit, const table_info &root, const char *decoding,
                         const uint8_t *buffer, uint32_t length, void *record);

} // namespace mesh_fib6::wire::general
