// Writes a flat record in the fixed arrangement: one copy of a constant image, then the values.
//
// Room: wire. The image holds everything that does not depend on the record (offsets, vtables,
// counts, zeros between and behind them), so the same record always gives the same bytes and
// nothing of the stack or heap leaves the process.
#pragma once

#include "wire/byte_order.h"
#include "wire/layout.h"

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

} // namespace detail

template <class Record>
inline constexpr fixed_image<Record> native_image = detail::make_image<Record>(false);
template <class Record>
inline constexpr fixed_image<Record> reversed_image = detail::make_image<Record>(true);

// Stores the record's values at their positions in an image whose table starts at Table.
template <class Record, uint32_t Table, class Order>
void store_fixed_values(Order order, uint8_t *image, const Record &record) {
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
      store_fixed_values<typename Field::value_type, at + uoffset_size>(order, image,
                                                                        Field::value(record));
  });
}

// Writes the image of the Record at `record` into a slot of fixed_image_size<Record> bytes. Cannot
// fail.
template <class Record>
void write_fixed(runtime::unit &unit, uint8_t *slot, const void *record) {
  runtime::bind_cache(unit);
  in_unit_order(unit, [&]<class Order>(Order order) {
    constexpr bool native = std::is_same_v<Order, native_order>;
    memcpy(slot, native ? native_image<Record>.bytes : reversed_image<Record>.bytes,
           fixed_image_size<Record>);
    store_fixed_values<Record, root_offset_size>(order, slot, *static_cast<const Record *>(record));
  });
}

} // namespace mesh_fib6::wire
