// Reads tables of scalars and fixed arrays, a group of scalars at a time.
//
// Room: wire. For the common byte order, where the processor has byte shuffles.
//
// Elements of a vector mostly have the same fields in the same places. So the reader learns what a
// vtable says once: for each group of scalars where they lie and which shuffle spreads them over
// the record. While the next element's vtable holds the same bytes, only what depends on its
// position is checked again. Nothing is learnt from a vtable that is shorter than the schema, that
// lacks an array or whose scalars are too far apart: such tables are left to the steps that read
// field by field, as are those too close to the end of the buffer for sixteen-byte loads. What is
// accepted or refused is the same either way.
#pragma once

#include "wire/bounds.h"
#include "wire/byte_order.h"
#include "wire/layout.h"
#include "wire/scalar_groups.h"

namespace mesh_fib6::wire {

// A table whose vtable is inside the buffer.
struct table_ref {
  uint32_t at;
  uint32_t vtable;
  uint32_t vtable_size;
};

#ifdef MESH_FIB6_LANES

namespace detail {

// Where the eight vtable entries around a group's slots are loaded from, so that the load stays
// inside the vtable, and which of the eight are the group's scalars.
template <class Record, size_t Index>
struct group_slots {
  static constexpr const scalar_group &group = groups_of<Record>.group[Index];
  static constexpr const group_shape &shape = group.shape;
  static constexpr uint32_t vtable_size = table<Record>::vtable_size;
  static constexpr uint32_t wanted = 4 + 2 * group.first_slot;
  static constexpr uint32_t from =
      vtable_size <= lane_count
          ? 0
          : (wanted + lane_count <= vtable_size ? wanted : vtable_size - lane_count);

  static constexpr uint32_t lane_of(uint32_t i) {
    return (wanted - from) / 2 + shape.field[i].slot;
  }

  // All ones in lanes that are not scalars of the group.
  static constexpr constant_halves make_others() {
    constant_halves result{};
    for (uint16_t &lane : result.of)
      lane = 0xFFFF;
    for (uint32_t i = 0; i < shape.fields; i++)
      result.of[lane_of(i)] = 0;
    return result;
  }
  // The farthest that a scalar may start from the first one to be in the same sixteen bytes.
  static constexpr constant_halves make_farthest() {
    constant_halves result{};
    for (uint32_t i = 0; i < shape.fields; i++)
      result.of[lane_of(i)] = static_cast<uint16_t>(lane_count - shape.field[i].width);
    return result;
  }
  static constexpr constant_halves others = make_others();
  static constexpr constant_halves farthest = make_farthest();
  static constexpr constant_lanes spread =
      group_constants<shape>::slot_of_each_byte((wanted - from) / 2);
};

} // namespace detail

template <class Record>
class table_reader {
  static constexpr group_list groups = groups_of<Record>;
  static constexpr uint32_t slots_size = table<Record>::vtable_size;

public:
  explicit table_reader(const received &in) : in_(in) {}

  // Whether the table at `at` is inside the buffer and like the one learnt, where it is.
  [[gnu::always_inline]] bool knows(uint32_t at) const {
    if (at > last_table_)
      return false;
    const uint32_t vtable = at - native_order::load<uint32_t>(in_.bytes + at);
    return vtable >= root_offset_size && vtable <= last_vtable_ && is_learnt(in_.bytes + vtable);
  }

  // Learns from a table's vtable. False when there is nothing to learn, and when the table itself
  // is too close to the end of the buffer to be read by what was learnt.
  [[gnu::always_inline]] bool learn(const table_ref &table) {
    last_table_ = 0;
    if (table.vtable_size < slots_size)
      return false;
    const uint8_t *const vtable = in_.bytes + table.vtable;
    uint32_t reach = 0;
    half_lanes astray{};
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      using slots = detail::group_slots<Record, index>;
      constexpr uint32_t readable = slots_size < lane_count ? slots_size : lane_count;
      const auto entries =
          reinterpret_cast<half_lanes>(load_some_lanes<readable>(vtable + slots::from));
      const half_lanes others = slots::others.value();
      const half_lanes absent = reinterpret_cast<half_lanes>(entries == 0) | others;
      const uint32_t first = smallest(entries | absent);
      const half_lanes away = entries - static_cast<uint16_t>(first);
      astray |= excess(away, slots::farthest.value()) & ~absent;
      const half_lanes from = (away & ~absent) | (absent & no_lane);
      control_[index] = shuffled(reinterpret_cast<lanes>(from), slots::spread.value()) +
                        group_constants<groups.group[index].shape>::within.value();
      start_[index] = first;
      if (first == 0xFFFF) { // none is present, or one is that far away
        start_[index] = 0;
        astray |= ~absent;
      }
      reach = start_[index] > reach ? start_[index] : reach;
    });
    reach += lane_count;
    uint32_t missing = 0;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_fixed_array) {
        const uint32_t entry = native_order::load<uint16_t>(vtable + 4 + 2 * Field::slot);
        array_[Field::slot] = entry;
        missing |= static_cast<uint32_t>(entry == 0);
        reach = entry + uoffset_size > reach ? entry + uoffset_size : reach;
      }
    });
    if (missing != 0 || any_set(astray) || !in_.holds(table.at, reach))
      return false;
    for (uint32_t i = 0; i < pieces; i++)
      learnt_[i] = piece_of(vtable, i);
    last_table_ = in_.size - reach;
    last_vtable_ = in_.size - table.vtable_size;
    return true;
  }

  // Reads the table at `at`, which has been learnt from or is known. False when an array is not
  // where the buffer ends or not as long as it should be.
  [[gnu::always_inline]] bool read(uint32_t at, Record &record) const {
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      store_group<Record, index>(
          record, shuffled(load_lanes(in_.bytes + at + start_[index]), control_[index]));
    });
    return all_fields<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_fixed_array)
        return read_array(at + array_[Field::slot], &Field::value(record),
                          std::integral_constant<uint32_t, Field::length>{});
      return true;
    });
  }

private:
  // A vtable in sixteens, the last ones overlapping those before.
  static constexpr uint32_t pieces = (slots_size + lane_count - 1) / lane_count;
  [[gnu::always_inline]] static lanes piece_of(const uint8_t *vtable, uint32_t index) {
    if constexpr (slots_size < lane_count)
      return load_some_lanes<slots_size>(vtable);
    else
      return load_lanes(vtable +
                        (index + 1 < pieces ? index * lane_count : slots_size - lane_count));
  }

  [[gnu::always_inline]] bool is_learnt(const uint8_t *vtable) const {
    lanes difference{};
    for (uint32_t i = 0; i < pieces; i++)
      difference |= piece_of(vtable, i) ^ learnt_[i];
    return !any_set(difference);
  }

  template <class Value, uint32_t Length>
  [[gnu::always_inline]] bool read_array(uint32_t at, Value *values,
                                         std::integral_constant<uint32_t, Length>) const {
    constexpr uint32_t size = sizeof(Value) * Length;
    const uint32_t vector = at + native_order::load<uint32_t>(in_.bytes + at);
    if (vector < at || !in_.holds(vector, vector_length_size + size) ||
        native_order::load<uint32_t>(in_.bytes + vector) != Length)
      return false;
    memcpy(values, in_.bytes + vector + vector_length_size, size);
    return true;
  }

  received in_;
  uint32_t last_table_ = 0; // the last position at which a table is known; 0: none
  uint32_t last_vtable_ = 0;
  lanes learnt_[pieces]{};         // the vtable that was learnt from
  uint32_t start_[groups.count]{}; // of each group, counted from the table
  uint32_t array_[table<Record>::slots]{};
  lanes control_[groups.count]{};
};

#endif

} // namespace mesh_fib6::wire
