// What is constant about a table in the compact arrangement, whichever of its scalars are absent.
//
// Room: wire. Compile-time arithmetic only, for records without vectors.
//
// Such a table is: vtable, soffset, the scalars that are not zero in slot order without gaps, then
// its tail, of constant size: the offset words of arrays and sub-tables, the arrays with their
// lengths. Its sub-tables lie behind it.
#pragma once

#include "wire/layout.h"
#include "wire/scalar_groups.h"

namespace mesh_fib6::wire {

template <class Record>
struct compact_table {
  static constexpr group_list groups = groups_of<Record>;
  static constexpr uint32_t head = table<Record>::vtable_size + soffset_size;

  static constexpr uint32_t count_fields() {
    uint32_t result = 0;
    for (uint32_t i = 0; i < groups.count; i++)
      result += groups.group[i].shape.fields;
    return result;
  }
  static_assert(count_fields() < 32, "which scalars are absent fits in a word");

  struct tail_sizes {
    uint32_t words;
    uint32_t bodies; // length words included
    uint32_t tables; // at least so many bytes behind the table
  };
  static constexpr tail_sizes measure_tail() {
    tail_sizes result{};
    for_each_field<Record>([&result]<class Field>(Field) {
      static_assert(!Field::is_vector);
      if constexpr (!Field::is_scalar)
        result.words += uoffset_size;
      if constexpr (Field::is_fixed_array)
        result.bodies += vector_length_size + array_bytes<Field>;
      if constexpr (Field::of == kind::table)
        result.tables += compact_table<typename Field::value_type>::least_with_tables;
    });
    return result;
  }
  static constexpr tail_sizes sizes = measure_tail();
  static constexpr uint32_t words = sizes.words;
  static constexpr uint32_t tail = sizes.words + sizes.bodies;

  static constexpr uint32_t smallest = head + tail;
  static constexpr uint32_t largest = smallest + groups.bytes;
  static constexpr uint32_t least_with_tables = smallest + sizes.tables;

  // How far sixteen bytes from the start of any group may reach past the end of a table, whatever
  // it lacks: those of the last group go farthest, and the tail lies behind it.
  static constexpr uint32_t overrun = groups.count > 0 && tail < lane_count ? lane_count - tail : 0;

  // So many tables at the end of a vector cannot be sure that others behind them take the overrun.
  static constexpr uint32_t exposed = (overrun + smallest - 1) / smallest;
};

// At least so many bytes lie behind a table's sub-table of the slot: the sub-tables after it.
template <class Record>
constexpr uint32_t tables_after(uint32_t slot) {
  uint32_t size = 0;
  for_each_field<Record>([&]<class Field>(Field) {
    if constexpr (Field::of == kind::table)
      if (Field::slot > slot)
        size += compact_table<typename Field::value_type>::least_with_tables;
  });
  return size;
}

} // namespace mesh_fib6::wire
