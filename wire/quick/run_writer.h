// Writes tables in the compact arrangement, a group of scalars at a time.
//
// Room: wire/quick. For records without vectors. Whoever calls knows that there is room.
//
// Neighbouring elements of a vector mostly lack the same scalars. So a run_writer remembers which
// ones the last table lacked: while they stay the same, the table's vtable is a copy of the one
// before it and the shuffles are at hand. When they change, both come from tables computed at
// compile time. Neither way has a branch per scalar.
//
// Stores are sixteen bytes wide and may run past what belongs there, onto bytes that the next store
// fills. Where nothing is sure to be written behind them, they are exact: a little slower.
#pragma once

#include "wire/format/byte_order.h"
#include "wire/quick/table_shape.h"

namespace mesh_fib6::wire {

template <class Record>
class run_writer {
  using shape_of = table_shape<Record>;
  static constexpr group_list groups = shape_of::groups;
  static constexpr uint32_t vtable_size = shape_of::vtable_size;
  static constexpr uint32_t kept = groups.count > 0 ? groups.count : 1; // no array is empty

public:
  // The first table goes to `at`.
  explicit run_writer(const uint8_t *at) : previous_(at) {}

  // Writes the table of a record, its vtable first, and returns its end, where the next may start.
  // May touch table_shape<Record>::overrun bytes from there on, unless Exact. The offset words of
  // embedded tables are left to the caller.
  template <bool IsFirst = false, bool Exact = false>
  [[gnu::always_inline]] uint8_t *write(uint8_t *at, const Record &record) {
    lanes values[kept];
    uint32_t choice[kept];
    uint32_t absent = 0, fields = 0;
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      values[index] = load_group<Record, index>(record);
      choice[index] = zero_bits<groups.group[index].shape>(values[index]);
      absent |= choice[index] << fields;
      fields += groups.group[index].shape.fields;
    });
    if (!IsFirst && __builtin_expect(absent == absent_, true))
      copy_head(at);
    else
      make_head<Exact>(at, choice);
    absent_ = absent;
    previous_ = at;

    uint8_t *cursor = at + shape_of::head;
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      const lanes closed = shuffled(values[index], control_[index]);
      if constexpr (Exact)
        store_first_lanes(cursor, closed, length_[index]);
      else
        store_lanes(cursor, closed);
      cursor += length_[index];
    });
    return write_tail(cursor, record);
  }

private:
  template <uint32_t Size>
  [[gnu::always_inline]] void copy_piece(uint8_t *at, uint32_t done) const {
    if constexpr (Size != 0)
      memcpy(at + done, previous_ + done, Size);
  }

  // In the same pieces each time: a load that spans two recent stores would have to wait for both.
  [[gnu::always_inline]] void copy_head(uint8_t *at) const {
    constexpr uint32_t whole = vtable_size / lane_count * lane_count;
    for (uint32_t done = 0; done < whole; done += lane_count)
      store_lanes(at + done, load_lanes(previous_ + done));
    copy_piece<vtable_size & 8>(at, whole);
    copy_piece<vtable_size & 4>(at, whole + (vtable_size & 8));
    copy_piece<vtable_size & 2>(at, whole + (vtable_size & 12));
    store(at + vtable_size, vtable_size);
  }

  template <bool Exact>
  [[gnu::always_inline]] void make_head(uint8_t *at, const uint32_t *choice) {
    size_t position = soffset_size;
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      constexpr const scalar_group &group = groups.group[index];
      using constants = group_constants<group.shape>;
      const auto &arranged = *one_address(&constants::closings.of[choice[index]]);
      const half_lanes found = widened(arranged.position);
      const auto base = static_cast<uint16_t>(position - 1);
      store_entries<4 + 2 * group.first_slot, Exact>(at, kept_where(found, found + base));
      control_[index] = load_lanes(arranged.closing);
      length_[index] = arranged.length();
      position += arranged.length();
    });
    size_t word = position;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (!Field::is_scalar) {
        store(at + 4 + 2 * Field::slot, static_cast<uint16_t>(word));
        word += uoffset_size;
      }
    });
    const auto table_size = static_cast<uint16_t>(position + shape_of::tail);
    store(at, static_cast<uint16_t>(vtable_size));
    store(at + 2, table_size);
    store(at + vtable_size, vtable_size);
  }

  // Eight entries, from a group's first slot on; where exact, as many as the vtable and the
  // soffset, which follow, have room for.
  template <uint32_t From, bool Exact>
  [[gnu::always_inline]] static void store_entries(uint8_t *at, half_lanes entries) {
    constexpr uint32_t room = Exact ? vtable_size + soffset_size - From : lane_count;
    store_some_lanes<(room < lane_count ? room : lane_count)>(at + From,
                                                              reinterpret_cast<lanes>(entries));
  }

  // Offset words, then bodies: all at constant distances.
  [[gnu::always_inline]] static uint8_t *write_tail(uint8_t *at, const Record &record) {
    uint32_t word = 0, body = shape_of::words;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_fixed_array) {
        store(at + word, body - word);
        store(at + body, Field::length);
        memcpy(at + body + vector_length_size, &Field::value(record), array_bytes<Field>);
        body += vector_length_size + array_bytes<Field>;
      }
      if constexpr (!Field::is_scalar)
        word += uoffset_size;
    });
    return at + shape_of::tail;
  }

  const uint8_t *previous_;      // the table written last; its vtable, to be exact
  uint32_t absent_ = UINT32_MAX; // no group lacks a scalar that it does not have
  size_t length_[kept]{};
  lanes control_[kept]{};
};

template <class Record>
[[gnu::always_inline]] inline uint8_t *write_element(uint8_t *at, uint8_t *word,
                                                     const Record &element) {
  static_assert(table_shape<Record>::sizes.tables == 0);
  constexpr bool is_exact = table_shape<Record>::overrun > 0;
  store(word, static_cast<uint32_t>(at + table<Record>::vtable_size - word));
  return run_writer<Record>(at).template write<true, is_exact>(at, element);
}

// Writes the element tables of a vector at `at` and their offset words at `word`. Touches nothing
// behind the last one; returns its end.
template <class Record>
[[gnu::noinline]] uint8_t *write_run(uint8_t *at, uint8_t *word, const Record *elements,
                                     uint32_t count) {
  constexpr uint32_t exposed = table_shape<Record>::exposed;
  const Record *const last = elements + count;
  const Record *const sure = elements + (count > exposed ? count - exposed : 0);
  run_writer<Record> writer(at);
  for (; elements != sure; elements++, word += uoffset_size) {
    store(word, static_cast<uint32_t>(at + table<Record>::vtable_size - word));
    at = writer.write(at, *elements);
  }
  for (; exposed != 0 && elements != last; elements++, word += uoffset_size)
    at = write_element(at, word, *elements);
  return at;
}

// One element: of that there is nothing to remember.
template <class Record>
[[gnu::noinline]] uint8_t *write_single(uint8_t *at, uint8_t *word, const Record &element) {
  return write_element(at, word, element);
}

} // namespace mesh_fib6::wire
