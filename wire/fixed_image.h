// Writes a flat record in the fixed arrangement: one copy of a constant image, then the values.
//
// Room: wire. The image holds everything that does not depend on the record (offsets, vtables,
// counts, zeros between and behind them), so the same record always gives the same bytes and
// nothing of the stack or heap leaves the process.
#pragma once

#include "wire/byte_order.h"
#include "wire/lanes.h"
#include "wire/layout.h"

#include <utility>

namespace mesh_fib6::wire {

template <class Record>
struct fixed_image {
  uint8_t bytes[fixed_image_size<Record>];
};

namespace detail {

// Writes constant parts at compile time, little-endian or reversed.
struct image_builder {
  uint8_t *bytes;
  bool reverses;

  template <class Value>
  constexpr void put(uint32_t at, Value value) const {
    for (size_t i = 0; i < sizeof(Value); i++) {
      const size_t byte = reverses ? sizeof(Value) - 1 - i : i;
      bytes[at + byte] = static_cast<uint8_t>(value >> (8 * i));
    }
  }

  template <class Record>
  constexpr void put_table(uint32_t at) const {
    using layout = fixed_layout<Record>;
    put(at, static_cast<uint32_t>(0) - layout::vtable); // negative: the vtable is behind the table
    put(at + layout::vtable, static_cast<uint16_t>(table<Record>::vtable_size));
    put(at + layout::vtable + 2, layout::table_size);
    for_each_field<Record>([&]<class Field>(Field) {
      const uint16_t position = layout::field.of[Field::slot];
      put(at + layout::vtable + 4 + 2 * Field::slot, position);
      if constexpr (!Field::is_scalar)
        put(at + position, uoffset_size); // what it refers to follows at once
      if constexpr (Field::is_fixed_array)
        put(at + position + uoffset_size, Field::length);
      if constexpr (Field::of == kind::table)
        put_table<typename Field::value_type>(at + position + uoffset_size);
    });
  }
};

template <class Record>
constexpr fixed_image<Record> make_image(bool reverses) {
  fixed_image<Record> image{};
  const image_builder builder{image.bytes, reverses};
  builder.put(0, root_offset_size);
  builder.put_table<Record>(root_offset_size);
  return image;
}

// Marks what put_table writes.
struct structure_builder {
  uint8_t *bytes;

  constexpr void put(uint32_t at, uint32_t size) const {
    for (uint32_t i = 0; i < size; i++)
      bytes[at + i] = 0xFF;
  }

  template <class Record>
  constexpr void put_table(uint32_t at) const {
    using layout = fixed_layout<Record>;
    put(at, soffset_size);
    put(at + layout::vtable, table<Record>::vtable_size);
    for_each_field<Record>([&]<class Field>(Field) {
      const uint32_t position = at + layout::field.of[Field::slot];
      if constexpr (!Field::is_scalar)
        put(position, uoffset_size);
      if constexpr (Field::is_fixed_array)
        put(position + uoffset_size, vector_length_size);
      if constexpr (Field::of == kind::table)
        put_table<typename Field::value_type>(position + uoffset_size);
    });
  }
};

template <class Record>
constexpr fixed_image<Record> make_structure_mask() {
  fixed_image<Record> mask{};
  const structure_builder builder{mask.bytes};
  builder.put(0, root_offset_size);
  builder.template put_table<Record>(root_offset_size);
  return mask;
}

} // namespace detail

template <class Record>
inline constexpr fixed_image<Record> native_image = detail::make_image<Record>(false);
template <class Record>
inline constexpr fixed_image<Record> reversed_image = detail::make_image<Record>(true);

// Where a stretch of a flat record's bytes lies in its image: what is neighbours in both moves at
// once.
struct fixed_stretch {
  uint16_t image_at;
  uint16_t record_at;
  uint16_t size;
};

template <uint32_t Capacity>
struct stretch_list {
  uint32_t count;
  fixed_stretch of[Capacity];

  // Bytes of the record behind a stretch that belong to none.
  constexpr size_t gap_after(size_t i, size_t record_size) const {
    const size_t end = size_t{of[i].record_at} + of[i].size;
    return (i + 1 < count ? of[i + 1].record_at : record_size) - end;
  }

  constexpr void add(uint32_t image_at, size_t record_at, uint32_t size) {
    if (count > 0) {
      fixed_stretch &last = of[count - 1];
      if (last.image_at + last.size == image_at && last.record_at + last.size == record_at) {
        last.size = static_cast<uint16_t>(last.size + size);
        return;
      }
    }
    of[count++] = {static_cast<uint16_t>(image_at), static_cast<uint16_t>(record_at),
                   static_cast<uint16_t>(size)};
  }
};

namespace detail {

template <class Record, class List>
constexpr void add_stretches(List &list, uint32_t table_at, size_t record_at) {
  for_each_field<Record>([&]<class Field>(Field) {
    const uint32_t at = table_at + fixed_layout<Record>::field.of[Field::slot];
    const size_t from = record_at + Field::offset;
    if constexpr (Field::is_scalar)
      list.add(at, from, sizeof(typename Field::value_type));
    else if constexpr (Field::is_fixed_array)
      list.add(at + uoffset_size + vector_length_size, from, array_bytes<Field>);
    else
      add_stretches<typename Field::value_type>(list, at + uoffset_size, from);
  });
}

template <class Record>
constexpr auto all_stretches() {
  stretch_list<sizeof(Record)> list{}; // no value is shorter than a byte
  add_stretches<Record>(list, root_offset_size, 0);
  return list;
}

} // namespace detail

template <class Record>
inline constexpr auto fixed_stretches = detail::all_stretches<Record>();

// Calls visit(stretch) for each stretch of a flat record, the stretch being a constant.
template <class Record, class Visit>
[[gnu::always_inline]] inline void for_each_stretch(Visit &&visit) {
  [&]<size_t... Index>(std::index_sequence<Index...>) {
    (visit(std::integral_constant<size_t, Index>{}), ...);
  }
  (std::make_index_sequence<fixed_stretches<Record>.count>{});
}

// Stores the record's values at their positions in an image whose table starts at Table, in the
// rare order.
template <class Record, uint32_t Table>
void store_reversed_values(reversed_order order, uint8_t *image, const Record &record) {
  for_each_field<Record>([&]<class Field>(Field) {
    constexpr uint32_t at = Table + fixed_layout<Record>::field.of[Field::slot];
    if constexpr (Field::is_scalar)
      order.store(image + at, Field::value(record));
    else if constexpr (Field::of == kind::words)
      order.store_words(image + at + uoffset_size + vector_length_size, &Field::value(record),
                        Field::length);
    else if constexpr (Field::of == kind::bytes)
      memcpy(image + at + uoffset_size + vector_length_size, &Field::value(record), Field::length);
    else
      store_reversed_values<typename Field::value_type, at + uoffset_size>(order, image,
                                                                           Field::value(record));
  });
}

template <class Record>
[[gnu::cold, gnu::noinline]] void write_reversed_image(uint32_t flag, uint8_t *slot,
                                                       const Record &record) {
  memcpy(slot, reversed_image<Record>.bytes, fixed_image_size<Record>);
  store_reversed_values<Record, root_offset_size>(reversed_order{flag == 1}, slot, record);
}

// Writes the image of the Record at `record` into a slot of fixed_image_size<Record> bytes. Cannot
// fail.
template <class Record>
[[gnu::always_inline]] inline void write_image(runtime::unit &unit, uint8_t *slot,
                                               const void *record) {
  runtime::bind_cache(unit);
  const uint32_t flag = byte_swap_of(unit);
  if (__builtin_expect(flag != 0, false))
    return write_reversed_image(flag, slot, *static_cast<const Record *>(record));
  const auto *const from = static_cast<const uint8_t *>(record);
  memcpy(slot, native_image<Record>.bytes, fixed_image_size<Record>);
  for_each_stretch<Record>([&](auto index) __attribute__((always_inline)) {
    constexpr fixed_stretch stretch = fixed_stretches<Record>.of[index];
    memcpy(slot + stretch.image_at, from + stretch.record_at, stretch.size);
  });
}

// The same as a function.
template <class Record>
void write_fixed(runtime::unit &unit, uint8_t *slot, const void *record) {
  write_image<Record>(unit, slot, record);
}

// All ones where an image holds what does not depend on the record and a reader must look at:
// offsets, vtables, counts.
template <class Record>
inline constexpr fixed_image<Record> structure_mask = detail::make_structure_mask<Record>();

// Where sixteen bytes of a message, from At on or the image's last ones, are not its structure.
template <class Record, size_t At>
[[gnu::always_inline]] inline lanes difference_at(const uint8_t *bytes) {
  constexpr size_t end = fixed_image_size<Record>;
  constexpr size_t from = At + lane_count <= end ? At : end - lane_count;
  return (load_lanes(bytes + from) ^ load_lanes(native_image<Record>.bytes + from)) &
         load_lanes(structure_mask<Record>.bytes + from);
}

template <class Record, size_t... Index>
[[gnu::always_inline]] inline lanes structure_difference(const uint8_t *bytes,
                                                         std::index_sequence<Index...>) {
  return (difference_at<Record, Index * lane_count>(bytes) | ...);
}

// Reads a message that is the fixed image of a Record, as the send operations of flat messages
// write it. False, and the record untouched, if it is anything else. Whatever is accepted here
// would be accepted field by field with the same result: its whole structure is that of the image.
template <class Record>
[[gnu::always_inline]] inline bool read_image(const uint8_t *bytes, uint32_t size, Record &record) {
  constexpr uint32_t end = fixed_image_size<Record>;
  if (size < end)
    return false;
  constexpr size_t pieces = (end + lane_count - 1) / lane_count;
  if (any_set(structure_difference<Record>(bytes, std::make_index_sequence<pieces>{})))
    return false;
  auto *const to = reinterpret_cast<uint8_t *>(&record);
  for_each_stretch<Record>([&](auto index) __attribute__((always_inline)) {
    constexpr fixed_stretch stretch = fixed_stretches<Record>.of[index];
    constexpr size_t gap = fixed_stretches<Record>.gap_after(index, sizeof(Record));
    memcpy(to + stretch.record_at, bytes + stretch.image_at, stretch.size);
    if constexpr (gap != 0)
      memset(to + stretch.record_at + stretch.size, 0, gap); // what lies between the values
  });
  return true;
}

} // namespace mesh_fib6::wire
