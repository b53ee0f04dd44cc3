// Positions and sizes of both arrangements of the wire format, computed from the schema.
//
// Room: wire/format. Compile-time arithmetic only.
//
// The format is the FlatBuffers binary format (https://flatbuffers.dev/internals/): a root uoffset,
// tables that reach their vtables by a signed offset, vtables of 16-bit field offsets, vectors with
// a 32-bit length. Nothing here is aligned in the compact arrangement; in the fixed one vtables
// start on multiples of 4 counted from their table.
#pragma once

#include "wire/format/schema.h"

#include <cstdint>

namespace mesh_fib6::wire {

inline constexpr uint32_t root_offset_size = 4;
inline constexpr uint32_t soffset_size = 4;
inline constexpr uint32_t uoffset_size = 4;
inline constexpr uint32_t vector_length_size = 4;

constexpr uint32_t vtable_size_of(uint32_t slots) {
  return 4 + 2 * slots;
}

// Bytes of a field's vector body without its length word, for fixed arrays.
template <class Field>
inline constexpr uint32_t array_bytes = Field::length * sizeof(typename Field::value_type);

// Compact size of a record's table with its vtable when every scalar is zero and every vector is
// empty; embedded tables are counted by their offset word only, they are tables of their own.
template <class Record>
constexpr uint32_t compact_base_size() {
  uint32_t size = table<Record>::vtable_size + soffset_size;
  for_each_field<Record>([&size]<class Field>(Field) {
    if (Field::is_fixed_array)
      size += uoffset_size + vector_length_size + array_bytes<Field>;
    else if (Field::of == kind::table)
      size += uoffset_size;
  });
  return size;
}

// The largest compact size of a record's table and what hangs off it, vector elements left out.
template <class Record>
constexpr uint32_t compact_bound_without_vectors() {
  uint32_t size = compact_base_size<Record>();
  for_each_field<Record>([&size]<class Field>(Field) {
    if constexpr (Field::is_scalar)
      size += sizeof(typename Field::value_type);
    else if constexpr (Field::of == kind::table)
      size += compact_bound_without_vectors<typename Field::value_type>();
    else if constexpr (Field::is_vector)
      size += uoffset_size + vector_length_size;
  });
  return size;
}

// The fixed arrangement of a flat record's table. Positions are relative to the table.
template <class Record>
struct fixed_layout {
  static constexpr uint32_t slots = table<Record>::slots;

  struct positions {
    uint16_t of[slots];
    uint16_t end;
  };
  static constexpr positions compute();
  static constexpr positions field = compute();

  static constexpr uint16_t table_size = field.end;
  static constexpr uint32_t vtable = static_cast<uint32_t>(align_up(table_size, 4));
  static constexpr uint32_t end = vtable + table<Record>::vtable_size;
};

// A sub-table of the fixed arrangement lies behind its offset word; both together, with the
// sub-table's vtable, take a region of the parent that is a multiple of 8. `end` is where the
// sub-table's vtable ends, counted from the sub-table.
constexpr uint32_t fixed_region_of(uint32_t end) {
  return static_cast<uint32_t>(align_up(uoffset_size + end, 8));
}
template <class Record>
inline constexpr uint32_t fixed_region = fixed_region_of(fixed_layout<Record>::end);

template <class Record>
constexpr typename fixed_layout<Record>::positions fixed_layout<Record>::compute() {
  positions result{};
  uint32_t at = soffset_size;
  for_each_field<Record>([&]<class Field>(Field) {
    static_assert(!Field::is_vector, "only flat records have a fixed arrangement");
    result.of[Field::slot] = static_cast<uint16_t>(at);
    if constexpr (Field::is_scalar)
      at += sizeof(typename Field::value_type);
    else if constexpr (Field::is_fixed_array)
      at += uoffset_size + vector_length_size + array_bytes<Field>;
    else
      at += fixed_region<typename Field::value_type>;
  });
  result.end = static_cast<uint16_t>(at);
  return result;
}

// Length of a message's fixed image as it is sent.
template <class Record>
inline constexpr uint32_t fixed_image_size =
    static_cast<uint32_t>(align_up(root_offset_size + fixed_layout<Record>::end, 8));

} // namespace mesh_fib6::wire
