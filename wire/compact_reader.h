// Reads the elements of a vector as compact_writer.h writes them.
//
// Room: wire. For the common byte order, where the processor has byte shuffles.
//
// In the compact arrangement a table's vtable lies right before it and is settled by which scalars
// are absent; so are the shuffles that spread the scalars over the record and every position in the
// table. An element that is exactly so is read without a branch per field. The next one mostly
// lacks the same scalars: then its vtable holds the same bytes, and nothing is looked up again.
//
// Anything else (another order of fields, a vtable shared by tables, an array of another length, a
// table too close to the end of the buffer for sixteen-byte loads) is left to table_reader.h and
// the steps behind it, which accept whatever the format allows and decide what is refused.
#pragma once

#include "wire/bounds.h"
#include "wire/byte_order.h"
#include "wire/compact_table.h"

namespace mesh_fib6::wire {

#ifdef MESH_FIB6_LANES

template <class Record>
class compact_reader {
  using shape_of = compact_table<Record>;
  static_assert(shape_of::groups.count > 0 && shape_of::sizes.tables == 0);
  static constexpr group_list groups = shape_of::groups;
  static constexpr uint32_t vtable_size = table<Record>::vtable_size;
  static constexpr uint32_t lowest = root_offset_size + vtable_size; // of a table with its vtable
  // How far behind a table's start sixteen-byte loads of its scalars, and its arrays, may reach.
  static constexpr uint32_t least_reach = shape_of::smallest - vtable_size + shape_of::overrun;
  static constexpr uint32_t most_reach = shape_of::largest - vtable_size + shape_of::overrun;

public:
  explicit compact_reader(const received &in) : bytes_(in.bytes), size_(in.size) {}

  // Reads elements into zeroed records as long as they are compact; returns how many. The offset
  // words from `word` on are inside the buffer. Of the element that ends the run nothing is
  // written.
  [[gnu::always_inline]] uint32_t read(uint32_t word, Record *records, uint32_t count) {
    for (uint32_t i = 0; i < count; i++, word += uoffset_size) {
      const size_t at = size_t{word} + native_order::load<uint32_t>(bytes_ + word);
      if (__builtin_expect(!is_like_the_last(at), false) && !learn(at))
        return i;
      if (!read_table(bytes_ + at, records[i]))
        return i;
    }
    return count;
  }

private:
  // At how many positions from `lowest` on a table has so many bytes of the buffer behind its
  // start. Compared by one unsigned subtraction, which also refuses what lies before `lowest`.
  size_t room_for(size_t reach) const {
    return size_ >= lowest + reach ? size_ - lowest - reach + 1 : 0;
  }

  // A vtable in sixteens, the last ones overlapping those before.
  static constexpr uint32_t pieces = (vtable_size + lane_count - 1) / lane_count;
  [[gnu::always_inline]] static lanes piece_of(const uint8_t *vtable, uint32_t index) {
    if constexpr (vtable_size < lane_count)
      return load_some_lanes<vtable_size>(vtable);
    else
      return load_lanes(vtable +
                        (index + 1 < pieces ? index * lane_count : vtable_size - lane_count));
  }

  [[gnu::always_inline]] bool is_like_the_last(size_t at) const {
    if (at - lowest >= known_ || native_order::load<uint32_t>(bytes_ + at) != vtable_size)
      return false;
    lanes difference{};
    for (uint32_t i = 0; i < pieces; i++)
      difference |= piece_of(bytes_ + at - vtable_size, i) ^ learnt_[i];
    return !any_set(difference);
  }

  // Whether the table at `at` is compact and its bytes can be loaded in sixteens; if so, how.
  [[gnu::always_inline]] bool learn(size_t at) {
    if (at - lowest >= room_for(least_reach) ||
        native_order::load<uint32_t>(bytes_ + at) != vtable_size)
      return false;
    const uint8_t *const vtable = bytes_ + at - vtable_size;
    size_t position = soffset_size;
    half_lanes astray{};
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      constexpr const scalar_group &group = groups.group[index];
      using constants = group_constants<group.shape>;
      // May be loaded past the vtable's end: at least as much of the table lies behind it.
      static_assert(4 + 2 * group.first_slot + lane_count <= vtable_size + least_reach);
      const auto entries =
          reinterpret_cast<half_lanes>(load_lanes(vtable + 4 + size_t{2} * group.first_slot));
      const arrangement &arranged = constants::choice.arranged[absent_bits<group.shape>(entries)];
      const half_lanes found = widened(arranged.position);
      const auto base = static_cast<uint16_t>(position - 1);
      // Where the entry is zero so is what was found.
      astray |= (kept_where(found, found + base) ^ entries) & constants::slots.value();
      control_[index] = opening<group.shape>(found);
      start_[index] = position;
      position += arranged.length();
    });
    size_t wrong = native_order::load<uint16_t>(vtable) ^ vtable_size;
    scalars_end_ = position;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_fixed_array) {
        wrong |= native_order::load<uint16_t>(vtable + 4 + 2 * Field::slot) ^ position;
        position += uoffset_size;
      }
    });
    if (wrong != 0 || any_set(astray))
      return false;
    for (uint32_t i = 0; i < pieces; i++)
      learnt_[i] = piece_of(vtable, i);
    const size_t reach = scalars_end_ + shape_of::tail + shape_of::overrun;
    known_ = room_for(most_reach);
    return at - lowest < known_ || at - lowest < room_for(reach);
  }

  // Reads the table at `at`, which is as learnt. False when an array is not: nothing is written
  // then.
  [[gnu::always_inline]] bool read_table(const uint8_t *at, Record &record) const {
    if (!has_its_arrays(at + scalars_end_))
      return false;
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      store_group<Record, index>(record, shuffled(load_lanes(at + start_[index]), control_[index]));
    });
    at += scalars_end_;
    uint32_t body = shape_of::words + vector_length_size;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_fixed_array) {
        memcpy(&Field::value(record), at + body, array_bytes<Field>);
        body += array_bytes<Field> + vector_length_size;
      }
    });
    return true;
  }

  // Whether the arrays whose offset words begin at `at` lie there in the compact way.
  [[gnu::always_inline]] static bool has_its_arrays(const uint8_t *at) {
    uint32_t wrong = 0, word = 0, body = shape_of::words;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_fixed_array) {
        wrong |= native_order::load<uint32_t>(at + word) ^ (body - word);
        wrong |= native_order::load<uint32_t>(at + body) ^ Field::length;
        word += uoffset_size;
        body += vector_length_size + array_bytes<Field>;
      }
    });
    return wrong == 0;
  }

  const uint8_t *const bytes_;
  const size_t size_;
  size_t known_ = 0;       // positions from `lowest` on with room for any table; 0: none learnt
  lanes learnt_[pieces]{}; // the last table's vtable
  size_t scalars_end_ = 0; // counted from the table, as is
  size_t start_[groups.count]{}; // where each group's scalars are
  lanes control_[groups.count]{};
};

// Reads the compact elements at the front of a vector; returns how many.
template <class Record>
[[gnu::noinline]] uint32_t read_compact(const received in, uint32_t word, Record *records,
                                        uint32_t count) {
  return compact_reader<Record>(in).read(word, records, count);
}

#endif

} // namespace mesh_fib6::wire
