// How many bytes a record takes in the compact arrangement.
//
// Room: wire. Reads the caller's record and arrays, which are trusted: a count that is not zero
// comes with a pointer to that many elements.
#pragma once

#include "wire/layout.h"
#include "wire/table_writer.h"

namespace mesh_fib6::wire {

// Bytes of the record's table, its vtable and everything that hangs off it.
template <class Record>
uint64_t compact_table_size(const Record &record) {
  uint64_t size = compact_base_size<Record>();
#ifdef MESH_FIB6_LANES
  constexpr bool by_groups = is_grouped<Record>();
  if constexpr (by_groups)
    size += scalar_bytes(record);
#else
  constexpr bool by_groups = false;
#endif
  for_each_field<Record>([&]<class Field>(Field) {
    using value_type = typename Field::value_type;
    if constexpr (Field::is_scalar && by_groups) {
      return;
    } else if constexpr (Field::is_scalar) {
      size += Field::value(record) != 0 ? sizeof(value_type) : 0;
    } else if constexpr (Field::of == kind::table) {
      size += compact_table_size(Field::value(record));
    } else if constexpr (Field::of == kind::byte_vector) {
      // Counted whenever there is a pointer, though the writer leaves an empty vector out: peers
      // rely on the size that this gives.
      if (Field::pointer(record) != nullptr)
        size += uoffset_size + vector_length_size + uint64_t{Field::count(record)};
    } else if constexpr (Field::of == kind::table_vector) {
      // No sum can wrap 64 bits: 2^32 elements of the largest table are far below.
      static_assert(compact_bound_without_vectors<value_type>() < 1u << 16);
      static_assert(!is_tree<value_type>(), "elements own no memory");
      const uint32_t count = Field::count(record);
      if (count != 0)
        size += uoffset_size + vector_length_size + uint64_t{uoffset_size} * count;
      const value_type *const elements = Field::pointer(record);
#ifdef MESH_FIB6_LANES
      size += uint64_t{compact_base_size<value_type>()} * count + scalar_bytes(elements, count);
#else
      for (uint32_t i = 0; i < count; i++)
        size += compact_table_size(elements[i]);
#endif
    }
  });
  return size;
}

template <class Record>
constexpr bool has_byte_vector() {
  return !all_fields<Record>([]<class Field>(Field) {
    if constexpr (Field::of == kind::table)
      return !has_byte_vector<typename Field::value_type>();
    return Field::of != kind::byte_vector;
  });
}

// The largest encoded size that a message with as many elements can have. Reads counts and pointers
// only. A count without elements is a caller's error that is not passed over: no room is enough.
template <class Record>
uint64_t compact_bound(const Record &record) {
  static_assert(!has_byte_vector<Record>());
  uint64_t size = root_offset_size + compact_bound_without_vectors<Record>();
  for_each_field<Record>([&]<class Field>(Field) {
    using value_type = typename Field::value_type;
    if constexpr (Field::of == kind::table) {
      static_assert(!is_tree<value_type>(), "vectors belong to roots");
    } else if constexpr (Field::of == kind::table_vector) {
      const uint32_t count = Field::count(record);
      const bool is_missing = Field::pointer(record) == nullptr;
      size += uint64_t{uoffset_size + compact_bound_without_vectors<value_type>()} * count;
      size |= static_cast<uint64_t>(is_missing & (count != 0)) << 63;
    }
  });
  return size;
}

// Encoded size of the message whose Record is at `record`. 0 when it cannot be encoded: no record,
// or more than 32 bits can say.
template <class Record>
[[gnu::noinline]] uint32_t compact_size(const void *record) {
  if (record == nullptr)
    return 0;
  const uint64_t size = root_offset_size + compact_table_size(*static_cast<const Record *>(record));
  return size <= UINT32_MAX ? static_cast<uint32_t>(size) : 0;
}

} // namespace mesh_fib6::wire
