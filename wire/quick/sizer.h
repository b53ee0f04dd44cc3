// How many bytes a record takes in the compact arrangement, and how many it can take at most.
//
// Room: wire/quick. Reads the caller's record and arrays, which are trusted: a count that is not
// zero comes with a pointer to that many elements.
#pragma once

#include "wire/quick/table_shape.h"

namespace mesh_fib6::wire {

// Bytes that the scalars of a record take on the wire.
template <class Record>
[[gnu::always_inline]] inline uint32_t scalar_bytes(const Record &record) {
  [[maybe_unused]] constexpr group_list groups = groups_of<Record>;
  if constexpr (!goes_by_groups<Record>()) {
    uint32_t size = 0;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_scalar)
        size += Field::value(record) != 0 ? uint32_t{sizeof(typename Field::value_type)} : 0;
    });
    return size;
  } else {
    lanes zero{};
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      zero -= zero_scalars<groups.group[index].shape, true>(load_group<Record, index>(record));
    });
    return groups.bytes - sum_of(zero);
  }
}

// Of all elements at once: their zeros are added up before they are summed over the lanes.
template <class Record>
[[gnu::always_inline]] inline uint64_t scalar_bytes_by_groups(const Record *elements,
                                                              uint32_t count) {
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

// Bytes that the scalars of all elements take on the wire.
template <class Record>
[[gnu::noinline]] uint64_t scalar_bytes(const Record *elements, uint32_t count) {
  if constexpr (!has_shuffles) {
    uint64_t size = 0;
    for (uint32_t i = 0; i < count; i++)
      size += scalar_bytes(elements[i]);
    return size;
  } else {
    return scalar_bytes_by_groups(elements, count);
  }
}

// Bytes of the record's table, its vtable and everything that hangs off it.
template <class Record>
[[gnu::always_inline]] inline uint64_t compact_table_size(const Record &record) {
  uint64_t size = compact_base_size<Record>() + scalar_bytes(record);
  for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
    using value_type = typename Field::value_type;
    if constexpr (Field::of == kind::table) {
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
        size += uoffset_size + vector_length_size +
                uint64_t{uoffset_size + compact_base_size<value_type>()} * count +
                scalar_bytes(Field::pointer(record), count);
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
[[gnu::always_inline]] inline uint64_t compact_bound(const Record &record) {
  static_assert(!has_byte_vector<Record>());
  uint64_t size = root_offset_size + compact_bound_without_vectors<Record>();
  for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
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

// Encoded size of a message. 0 when it has more bytes than 32 bits can say.
template <class Record>
[[gnu::always_inline]] inline uint32_t compact_size(const Record &record) {
  const uint64_t size = root_offset_size + compact_table_size(record);
  return size <= UINT32_MAX ? static_cast<uint32_t>(size) : 0;
}

} // namespace mesh_fib6::wire
