// Reads flat messages that are as table_writer.h writes them.
//
// Room: wire/quick.
//
// Most flat messages are a root that embeds a short header, all of it present, and a long table, of
// which anything may be absent. So the part before the last table is compared with what it is when
// none of its scalars is absent: then every position in it is constant. When it differs the message
// is declined.
#pragma once

#include "wire/quick/stretches.h"
#include "wire/quick/table_reader.h"

namespace mesh_fib6::wire {

// The last embedded table of a root.
template <class Record>
constexpr uint32_t last_embedded_slot() {
  uint32_t slot = table<Record>::slots;
  for_each_field<Record>([&slot]<class Field>(Field) {
    if (Field::of == kind::table)
      slot = Field::slot;
  });
  return slot;
}

namespace detail {

// Adds a table with all its scalars, and its embedded tables before slot Until, to a constant part
// of a message and to a list of its values. Returns where the last of them ends.
template <class Record, uint32_t Until, class Part, class List>
constexpr uint32_t put_full_table(Part &part, List &list, uint32_t at, size_t record_at) {
  using shape_of = table_shape<Record>;
  const uint32_t table_at = at + shape_of::vtable_size;
  part.put(at, static_cast<uint16_t>(shape_of::vtable_size));
  part.put(at + 2, static_cast<uint16_t>(shape_of::largest - shape_of::vtable_size));
  part.put(table_at, shape_of::vtable_size);
  uint32_t position = soffset_size;
  for_each_field<Record>([&]<class Field>(Field) {
    if constexpr (Field::is_scalar) {
      constexpr uint32_t width = sizeof(typename Field::value_type);
      part.put(at + 4 + 2 * Field::slot, static_cast<uint16_t>(position));
      list.add(table_at + position, record_at + Field::offset, width);
      position += width;
    }
  });
  uint32_t body = table_at + position + shape_of::words;
  uint32_t behind = table_at + shape_of::largest - shape_of::vtable_size;
  for_each_field<Record>([&]<class Field>(Field) {
    if constexpr (!Field::is_scalar) {
      const uint32_t word = table_at + position;
      part.put(at + 4 + 2 * Field::slot, static_cast<uint16_t>(position));
      position += uoffset_size;
      if constexpr (Field::is_fixed_array) {
        part.put(word, body - word);
        part.put(body, Field::length);
        list.add(body + vector_length_size, record_at + Field::offset, array_bytes<Field>);
        body += vector_length_size + array_bytes<Field>;
      } else if constexpr (Field::slot <= Until) {
        using embedded = typename Field::value_type;
        part.put(word, behind + table<embedded>::vtable_size - word);
        if constexpr (Field::slot < Until)
          behind = put_full_table<embedded, table<embedded>::slots>(part, list, behind,
                                                                    record_at + Field::offset);
      }
    }
  });
  return behind;
}

// All of a table with its scalars, and the tables that it embeds.
template <class Record>
constexpr uint32_t full_size() {
  uint32_t size = table_shape<Record>::largest;
  for_each_field<Record>([&size]<class Field>(Field) {
    if constexpr (Field::of == kind::table)
      size += full_size<typename Field::value_type>();
  });
  return size;
}

} // namespace detail

// The part of a flat message before its last embedded table, none of its scalars being absent.
template <class Record>
struct full_prefix {
  static constexpr uint32_t last = last_embedded_slot<Record>();

  // Bytes of the part when every scalar is absent, and when none is.
  static constexpr uint32_t least_size() {
    uint32_t result = root_offset_size + table_shape<Record>::smallest;
    for_each_field<Record>([&result]<class Field>(Field) {
      if constexpr (Field::of == kind::table)
        if (Field::slot < last)
          result += table_shape<typename Field::value_type>::least_with_tables;
    });
    return result;
  }
  static constexpr uint32_t full_size() {
    uint32_t result = root_offset_size + table_shape<Record>::largest;
    for_each_field<Record>([&result]<class Field>(Field) {
      if constexpr (Field::of == kind::table)
        if (Field::slot < last)
          result += detail::full_size<typename Field::value_type>();
    });
    return result;
  }
  static constexpr uint32_t size = full_size();

  // At least so many bytes are behind it: the last embedded table.
  static constexpr uint32_t least_behind =
      root_offset_size + table_shape<Record>::least_with_tables - least_size();

  struct contents {
    constant_part<size> part;
    stretch_list<sizeof(Record)> values;
  };
  static constexpr contents make() {
    contents result{};
    result.part.put(0, root_offset_size + table<Record>::vtable_size);
    detail::put_full_table<Record, last>(result.part, result.values, root_offset_size, 0);
    return result;
  }
  static constexpr contents made = make();
  // Whether its values and the last embedded record leave no byte of the record unstored.
  static constexpr bool cover_record() {
    bool stored[sizeof(Record)]{};
    for (uint32_t i = 0; i < made.values.count; i++)
      for (uint32_t byte = 0; byte < made.values.of[i].size; byte++)
        stored[made.values.of[i].record_at + byte] = true;
    for_each_field<Record>([&stored]<class Field>(Field) {
      if constexpr (Field::of == kind::table)
        for (size_t i = 0; Field::slot == last && i < sizeof(typename Field::value_type); i++)
          stored[Field::offset + i] = table_shape<typename Field::value_type>::covers_record;
    });
    for (const bool is_stored : stored)
      if (!is_stored)
        return false;
    return true;
  }
  static constexpr bool covers_record = cover_record();

  static constexpr constant_part<size> part = made.part;
  static constexpr stretch_list<sizeof(Record)> values = made.values;
};

// Reads a flat message. False when it is declined: nothing has been written to the record unless
// the header of its root is as it should be.
template <class Record>
[[gnu::always_inline]] inline bool read_compact(const received in, Record &record) {
  using shape_of = table_shape<Record>;
  static_assert(root_offset_size + shape_of::least_with_tables >= lane_count);
  const uint8_t *const bytes = in.bytes;
  const uint8_t *const end = bytes + in.size;
  if constexpr (shape_of::sizes.tables == 0) {
    constexpr uint32_t root = root_offset_size + shape_of::vtable_size;
    return in.size >= root_offset_size + shape_of::least_with_tables &&
           load<uint32_t>(bytes) == root &&
           read_table<Record, 0>(bytes + root, end, record) != nullptr;
  } else {
    using prefix = full_prefix<Record>;
    if (in.size < prefix::size + prefix::least_behind || !begins_with<prefix::part>(bytes))
      return false;
    if constexpr (!prefix::covers_record)
      memset(&record, 0, sizeof record);
    auto *const to = reinterpret_cast<uint8_t *>(&record);
    for_each_stretch<prefix::values>([&](auto index) __attribute__((always_inline)) {
      constexpr stretch piece = prefix::values.of[index];
      memcpy(to + piece.record_at, bytes + piece.message_at, piece.size);
    });
    return !all_fields<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::of == kind::table && Field::slot == prefix::last) {
        using last = typename Field::value_type;
        return read_table<last, 0>(bytes + prefix::size + table<last>::vtable_size, end,
                                   Field::value(record)) == nullptr;
      }
      return true;
    });
  }
}

} // namespace mesh_fib6::wire
