// What is constant about a table in the compact arrangement, whichever of its scalars are absent.
//
// Room: wire/quick. Compile-time arithmetic only, for records without vectors.
//
// Such a table is: vtable, soffset, the scalars that are not zero in slot order without gaps, then
// its tail, of constant size: the offset words of arrays and embedded tables, the arrays with their
// lengths. Its embedded tables lie behind it.
#pragma once

#include "wire/format/layout.h"
#include "wire/quick/groups.h"

namespace mesh_fib6::wire {

template <class Record>
struct table_shape {
  static constexpr group_list groups = groups_of<Record>;
  static constexpr uint32_t vtable_size = table<Record>::vtable_size;
  static constexpr uint32_t head = vtable_size + soffset_size;

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
        result.tables += table_shape<typename Field::value_type>::least_with_tables;
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

  // With as few it is quicker, and shorter, to look at one after the other, where a table comes
  // once in a message.
  static constexpr uint32_t few_scalars = 2;

  static constexpr bool goes_by_groups = has_shuffles && count_fields() > few_scalars;

  // Whether groups and arrays leave no byte of the record unstored when a table is read: then
  // nothing has to be cleared before.
  static constexpr bool cover_record() {
    bool stored[sizeof(Record)]{};
    const auto mark = [&stored](size_t from, size_t size) {
      for (size_t i = 0; i < size && from + i < sizeof(Record); i++)
        stored[from + i] = true;
    };
    for (uint32_t i = 0; goes_by_groups && i < groups.count; i++)
      mark(groups.group[i].window + groups.group[i].shape.begin(), lane_count);
    for_each_field<Record>([&mark]<class Field>(Field) {
      if constexpr (Field::is_scalar)
        mark(Field::offset, sizeof(typename Field::value_type));
      else if constexpr (Field::is_fixed_array)
        mark(Field::offset, array_bytes<Field>);
      else if constexpr (Field::of == kind::table)
        if (table_shape<typename Field::value_type>::covers_record)
          mark(Field::offset, sizeof(typename Field::value_type));
    });
    for (const bool is_stored : stored)
      if (!is_stored)
        return false;
    return true;
  }
  static constexpr bool covers_record = cover_record();
};

// Whether a vector of one element deserves code of its own: where it is the only vector of tables
// of its message, short messages are common.
template <class Record>
constexpr bool has_one_table_vector() {
  uint32_t vectors = 0;
  for_each_field<Record>(
      [&vectors]<class Field>(Field) { vectors += Field::of == kind::table_vector ? 1 : 0; });
  return vectors == 1;
}

// Whether a table that comes once in a message goes by groups.
template <class Record>
constexpr bool goes_by_groups() {
  if constexpr (is_tree<Record>())
    return false;
  else
    return table_shape<Record>::goes_by_groups;
}

// At least so many bytes lie behind a table's embedded table of the slot: the tables after it. Of a
// record with vectors, which may be absent, nothing is sure.
template <class Record>
constexpr uint32_t tables_after(uint32_t slot) {
  uint32_t size = 0;
  if constexpr (!is_tree<Record>())
    for_each_field<Record>([&]<class Field>(Field) {
      if constexpr (Field::of == kind::table)
        if (Field::slot > slot)
          size += table_shape<typename Field::value_type>::least_with_tables;
    });
  return size;
}

} // namespace mesh_fib6::wire
