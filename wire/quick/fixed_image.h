// Flat records in the fixed arrangement: one copy of a constant image, then the values; and back.
//
// Room: wire/quick. The image holds everything that does not depend on the record (offsets,
// vtables, counts, zeros between and behind them), so the same record always gives the same bytes
// and nothing of the stack or heap leaves the process.
#pragma once

#include "wire/format/layout.h"
#include "wire/quick/stretches.h"

namespace mesh_fib6::wire {

namespace detail {

template <class Record, uint32_t Size>
constexpr void put_fixed_table(constant_part<Size> &image, uint32_t at) {
  using layout = fixed_layout<Record>;
  image.put(at,
            static_cast<uint32_t>(0) - layout::vtable); // negative: the vtable is behind the table
  image.put(at + layout::vtable, static_cast<uint16_t>(table<Record>::vtable_size));
  image.put(at + layout::vtable + 2, layout::table_size);
  for_each_field<Record>([&]<class Field>(Field) {
    const uint16_t position = layout::field.of[Field::slot];
    image.put(at + layout::vtable + 4 + 2 * Field::slot, position);
    if constexpr (!Field::is_scalar)
      image.put(at + position, uoffset_size); // what it refers to follows at once
    if constexpr (Field::is_fixed_array)
      image.put(at + position + uoffset_size, Field::length);
    if constexpr (Field::of == kind::table)
      put_fixed_table<typename Field::value_type>(image, at + position + uoffset_size);
  });
}

template <class Record>
constexpr auto make_image() {
  constant_part<fixed_image_size<Record>> image{};
  image.put(0, root_offset_size);
  put_fixed_table<Record>(image, root_offset_size);
  return image;
}

template <class Record, class List>
constexpr void add_fixed_stretches(List &list, uint32_t table_at, size_t record_at) {
  for_each_field<Record>([&]<class Field>(Field) {
    const uint32_t at = table_at + fixed_layout<Record>::field.of[Field::slot];
    const size_t from = record_at + Field::offset;
    if constexpr (Field::is_scalar)
      list.add(at, from, sizeof(typename Field::value_type));
    else if constexpr (Field::is_fixed_array)
      list.add(at + uoffset_size + vector_length_size, from, array_bytes<Field>);
    else
      add_fixed_stretches<typename Field::value_type>(list, at + uoffset_size, from);
  });
}

template <class Record>
constexpr auto all_fixed_stretches() {
  stretch_list<sizeof(Record)> list{}; // no value is shorter than a byte
  add_fixed_stretches<Record>(list, root_offset_size, 0);
  return list;
}

} // namespace detail

template <class Record>
inline constexpr auto image_of = detail::make_image<Record>();
template <class Record>
inline constexpr auto fixed_stretches = detail::all_fixed_stretches<Record>();

// Writes a record's image into a slot of fixed_image_size<Record> bytes.
template <class Record>
[[gnu::always_inline]] inline void write_image(uint8_t *slot, const Record &record) {
  const auto *const from = reinterpret_cast<const uint8_t *>(&record);
  memcpy(slot, base_of(image_of<Record>)->bytes, fixed_image_size<Record>);
  for_each_stretch<fixed_stretches<Record>>([&](auto index) __attribute__((always_inline)) {
    constexpr stretch piece = fixed_stretches<Record>.of[index];
    memcpy(slot + piece.message_at, from + piece.record_at, piece.size);
  });
}

// Reads a message that is the fixed image of a Record, as the send operations of flat messages
// write it. False, and the record untouched, if it is anything else. Whatever is accepted here
// would be accepted field by field with the same result: its whole structure is that of the image.
template <class Record>
[[gnu::always_inline]] inline bool read_image(const uint8_t *bytes, uint32_t size, Record &record) {
  if (size < fixed_image_size<Record> || !begins_with<image_of<Record>>(bytes))
    return false;
  auto *const to = reinterpret_cast<uint8_t *>(&record);
  for_each_stretch<fixed_stretches<Record>>([&](auto index) __attribute__((always_inline)) {
    constexpr stretch piece = fixed_stretches<Record>.of[index];
    constexpr size_t gap = fixed_stretches<Record>.gap_after(index, sizeof(Record));
    memcpy(to + piece.record_at, bytes + piece.message_at, piece.size);
    if constexpr (gap != 0)
      memset(to + piece.record_at + piece.size, 0, gap); // what lies between the values
  });
  return true;
}

} // namespace mesh_fib6::wire
