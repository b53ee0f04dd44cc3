// How many bytes a record takes in either arrangement.
//
// Room: wire/general.
#include "wire/general/sizer.h"

namespace mesh_fib6::wire::general {
namespace {

bool is_zero(const uint8_t *bytes, uint32_t count) {
  uint32_t any = 0;
  for (uint32_t i = 0; i < count; i++)
    any |= bytes[i];
  return any == 0;
}

uint32_t array_bytes(const field_info &field) {
  return field.number * (field.of == kind::words ? 4u : 1u);
}

// Bytes of the record's table, its vtable and everything that hangs off it. No sum can wrap 64
// bits: a vector has fewer than 2^32 elements, none of them larger than 2^16 bytes.
uint64_t table_size(const table_info &table, const void *record) {
  uint64_t size = vtable_size_of(table.slots()) + soffset_size;
  for (uint32_t slot = 0; slot < table.slots(); slot++) {
    const field_info &field = table.field(slot);
    const uint8_t *const value = member(field, record);
    switch (field.of) {
    case kind::scalar:
      size += is_zero(value, field.width) ? 0 : field.width;
      break;
    case kind::words:
    case kind::bytes:
      size += uoffset_size + vector_length_size + array_bytes(field);
      break;
    case kind::table:
      size += uoffset_size + table_size(field.table(), value);
      break;
    case kind::byte_vector:
      // Counted whenever there is a pointer, though the writer leaves an empty vector out: peers
      // rely on the size that this gives.
      if (pointer_of(field, record) != nullptr)
        size += uoffset_size + vector_length_size + uint64_t{count_of(field, record)};
      break;
    case kind::table_vector: {
      const uint32_t count = count_of(field, record);
      const uint8_t *const elements = pointer_of(field, record);
      size += count != 0 ? uoffset_size + vector_length_size : 0;
      for (size_t i = 0; i < count; i++)
        size +=
            uoffset_size + table_size(field.table(), elements + i * field.table().record_size());
      break;
    }
    }
  }
  return size;
}

} // namespace

uint32_t compact_size(const table_info &root, const void *record) {
  if (record == nullptr)
    return 0;
  const uint64_t size = root_offset_size + table_size(root, record);
  return size <= UINT32_MAX ? static_cast<uint32_t>(size) : 0;
}

uint32_t fixed_table_size(const table_info &table) {
  uint32_t size = soffset_size;
  for (uint32_t slot = 0; slot < table.slots(); slot++) {
    const field_info &field = table.field(slot);
    if (field.of == kind::scalar)
      size += field.width;
    else if (field.of == kind::table)
      size += fixed_region_of(fixed_end(field.table()));
    else
      size += uoffset_size + vector_length_size + array_bytes(field);
  }
  return size;
}

uint32_t fixed_vtable_at(const table_info &table) {
  return static_cast<uint32_t>(align_up(fixed_table_size(table), 4));
}

uint32_t fixed_end(const table_info &table) {
  return fixed_vtable_at(table) + vtable_size_of(table.slots());
}

} // namespace mesh_fib6::wire::general
