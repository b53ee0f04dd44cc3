// Writes tables in the compact arrangement, a group of scalars at a time.
//
// Room: wire. For the common byte order, where the processor has byte shuffles.
//
// Neighbouring elements of a vector mostly lack the same scalars. So the writer remembers which
// ones the last table lacked: while they stay the same, the table's vtable is a copy of the one
// before it and the shuffles are at hand. When they change, both come from tables computed at
// compile time. Neither way has a branch per scalar.
//
// Stores are sixteen bytes wide and may run past what belongs there, onto bytes that the next store
// fills. What no later store of the same vector would fill is written aside and copied.
#pragma once

#include "wire/byte_order.h"
#include "wire/compact_table.h"

namespace mesh_fib6::wire {

#ifdef MESH_FIB6_LANES

template <class Record>
class table_writer {
  using shape_of = compact_table<Record>;
  static constexpr group_list groups = shape_of::groups;
  static constexpr uint32_t kept = groups.count > 0 ? groups.count : 1; // no array is empty

public:
  // Writes the table of a record, its vtable first, and returns where the next may start. May touch
  // compact_table<Record>::overrun bytes from there on. The offset words of sub-tables are left to
  // the caller.
  template <bool IsFirst = false>
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
      make_head(at, choice);
    absent_ = absent;
    previous_ = at;

    uint8_t *cursor = at + shape_of::head;
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      store_lanes(cursor, shuffled(values[index], control_[index]));
      cursor += length_[index];
    });
    return write_arrays(cursor, record);
  }

  // The table written last has been copied to `at`, and what it was written to may go.
  void moved_to(const uint8_t *at) { previous_ = at; }

private:
  template <uint32_t Size>
  [[gnu::always_inline]] void copy_piece(uint8_t *at, uint32_t done) const {
    if constexpr (Size != 0)
      memcpy(at + done, previous_ + done, Size);
  }

  // In the same pieces each time: a load that spans two recent stores would have to wait for both.
  [[gnu::always_inline]] void copy_head(uint8_t *at) const {
    constexpr uint32_t size = table<Record>::vtable_size;
    constexpr uint32_t whole = size / lane_count * lane_count;
    for (uint32_t done = 0; done < whole; done += lane_count)
      store_lanes(at + done, load_lanes(previous_ + done));
    copy_piece<size & 8>(at, whole);
    copy_piece<size & 4>(at, whole + (size & 8));
    copy_piece<size & 2>(at, whole + (size & 12));
    native_order::store(at + size, size);
  }

  [[gnu::always_inline]] void make_head(uint8_t *at, const uint32_t *choice) {
    size_t position = soffset_size;
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      constexpr const scalar_group &group = groups.group[index];
      using constants = group_constants<group.shape>;
      const arrangement &arranged = constants::choice.arranged[choice[index]];
      const half_lanes found = widened(arranged.position);
      const auto base = static_cast<uint16_t>(position - 1);
      store_lanes(at + 4 + size_t{2} * group.first_slot,
                  reinterpret_cast<lanes>(kept_where(found, found + base)));
      control_[index] = constants::choice.closing[choice[index]].value();
      length_[index] = arranged.length();
      position += arranged.length();
    });
    size_t word = position;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (!Field::is_scalar) {
        native_order::store(at + 4 + 2 * Field::slot, static_cast<uint16_t>(word));
        word += uoffset_size;
      }
    });
    const auto table_size = static_cast<uint16_t>(position + shape_of::tail);
    native_order::store(at, static_cast<uint16_t>(table<Record>::vtable_size));
    native_order::store(at + 2, table_size);
    native_order::store(at + table<Record>::vtable_size, table<Record>::vtable_size);
  }

  // Offset words, then bodies: all at constant distances.
  [[gnu::always_inline]] static uint8_t *write_arrays(uint8_t *at, const Record &record) {
    uint32_t word = 0, body = shape_of::words;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_fixed_array) {
        native_order::store(at + word, body - word);
        native_order::store(at + body, Field::length);
        memcpy(at + body + vector_length_size, &Field::value(record), array_bytes<Field>);
        body += vector_length_size + array_bytes<Field>;
      }
      if constexpr (!Field::is_scalar)
        word += uoffset_size;
    });
    return at + shape_of::tail;
  }

  const uint8_t *previous_ = nullptr;
  uint32_t absent_ = UINT32_MAX; // no group lacks a scalar that it does not have
  size_t length_[kept]{};
  lanes control_[kept]{};
};

// Whether a table behind which at least so many bytes are still to be written is written by groups:
// stores that ran past the message's end would have to be made aside and copied, which costs more
// than the branches that the groups spare.
template <class Record, uint32_t Behind>
constexpr bool is_written_by_groups() {
  if constexpr (is_grouped<Record>())
    return compact_table<Record>::overrun <= Behind + compact_table<Record>::sizes.tables;
  return false;
}

// Writes one table for which is_written_by_groups() holds; returns its end.
template <class Record>
[[gnu::always_inline]] inline uint8_t *write_single(uint8_t *at, const Record &record) {
  table_writer<Record> writer;
  return writer.template write<true>(at, record);
}

// Writes the element tables of a vector at `at` and their offset words at `word`. Touches nothing
// behind the last one; returns its end.
template <class Record>
[[gnu::noinline]] uint8_t *write_elements(uint8_t *at, uint8_t *word, const Record *elements,
                                          uint32_t count) {
  using constants = compact_table<Record>;
  table_writer<Record> writer;
  for (uint32_t i = 0; i < count; i++, word += uoffset_size) {
    native_order::store(word, static_cast<uint32_t>(at + table<Record>::vtable_size - word));
    if constexpr (constants::exposed == 0) {
      at = writer.write(at, elements[i]);
    } else {
      uint8_t aside[constants::largest + constants::overrun];
      const bool is_exposed = count - i <= constants::exposed;
      uint8_t *const to = is_exposed ? aside : at;
      const auto size = static_cast<uint32_t>(writer.write(to, elements[i]) - to);
      if (is_exposed) {
        memcpy(at, aside, size); // cppcheck-suppress uninitvar // the writer has filled it
        writer.moved_to(at);
      }
      at += size;
    }
  }
  return at;
}

// The same for one element: of that there is nothing to remember.
template <class Record>
[[gnu::noinline]] uint8_t *write_element(uint8_t *at, uint8_t *word, const Record &element) {
  native_order::store(word, static_cast<uint32_t>(at + table<Record>::vtable_size - word));
  return write_single(at, element);
}

// Bytes that the scalars of a record take on the wire.
template <class Record>
[[gnu::always_inline]] inline uint32_t scalar_bytes(const Record &record) {
  constexpr group_list groups = groups_of<Record>;
  if constexpr (groups.count == 0)
    return 0;
  lanes zero{};
  for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
    zero -= zero_scalars<groups.group[index].shape, true>(load_group<Record, index>(record));
  });
  return groups.bytes - sum_of(zero);
}

// Bytes that the scalars of all elements take on the wire.
template <class Record>
[[gnu::noinline]] uint64_t scalar_bytes(const Record *elements, uint32_t count) {
  constexpr group_list groups = groups_of<Record>;
  // Each element adds at most one per group to a lane: so many fit in its eight bits.
  constexpr uint32_t at_once = 255 / groups.count;
  const uint64_t all = uint64_t{groups.bytes} * count;
  uint64_t zero = 0;
  while (count > 0) {
    const uint32_t now = count < at_once ? count : at_once;
    lanes sum{};
    for (uint32_t i = 0; i < now; i++)
      for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
        sum -=
            zero_scalars<groups.group[index].shape, true>(load_group<Record, index>(elements[i]));
      });
    zero += sum_of(sum);
    elements += now;
    count -= now;
  }
  return all - zero;
}

#endif

} // namespace mesh_fib6::wire
