// Reads flat tables that are as run_writer.h writes them.
//
// Room: wire/quick. For records without vectors.
//
// In the compact arrangement a table's vtable lies right before it and is settled by which scalars
// are absent; so are the shuffles that spread the scalars over the record and every position in the
// table. A table that is exactly so is read without a branch per field.
//
// Anything else (another order of fields, a vtable that is shared or of another length, an array of
// another length) is declined before it has been read; whoever calls leaves it to the general
// codec, which accepts whatever the format allows and decides what is refused.
#pragma once

#include "wire/format/bounds.h"
#include "wire/format/byte_order.h"
#include "wire/quick/table_shape.h"

namespace mesh_fib6::wire {

// How the scalars of a table are read, learnt from its vtable.
template <class Record>
class table_reading {
  using shape_of = table_shape<Record>;
  static constexpr group_list groups = shape_of::groups;
  static constexpr uint32_t vtable_size = shape_of::vtable_size;
  static constexpr uint32_t kept = groups.count > 0 ? groups.count : 1; // no array is empty

public:
  // Whether the table at `at`, its vtable right before it, has the entries of a compact one; if so,
  // how it is read. At least table_shape<Record>::smallest bytes from the vtable on can be loaded.
  [[gnu::always_inline]] bool learn(const uint8_t *at) {
    const uint8_t *const vtable = at - vtable_size;
    size_t position = soffset_size;
    half_lanes astray{};
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      constexpr const scalar_group &group = groups.group[index];
      using constants = group_constants<group.shape>;
      constexpr uint32_t from = 4 + 2 * group.first_slot;
      const half_lanes entries = load_entries<from>(vtable);
      const uint32_t absent = absent_bits<group.shape>(entries);
      const arrangement &arranged = *one_address(&constants::arrangements::all.of[absent]);
      const half_lanes found = widened(arranged.position);
      const auto base = static_cast<uint16_t>(position - 1);
      // Where the entry is zero so is what was found.
      astray |= (kept_where(found, found + base) ^ entries) & constants::slots.value();
      control_[index] = load_lanes(arranged.opening);
      start_[index] = position;
      position += arranged.length();
    });
    scalars_end_ = position;
    uint32_t wrong = load<uint16_t>(vtable) ^ vtable_size;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (!Field::is_scalar) {
        wrong |= load<uint16_t>(vtable + 4 + 2 * Field::slot) ^ static_cast<uint32_t>(position);
        position += uoffset_size;
      }
    });
    // One branch for both: two would make the compiler put aside what it has at hand.
    astray |= reinterpret_cast<half_lanes>(word_lanes{wrong, 0, 0, 0});
    return !any_set(astray);
  }

  // Where the scalars end and the tail begins, counted from the table.
  size_t scalars_end() const { return scalars_end_; }

  // Reads the scalars of the table at `at`. Sixteen bytes from the start of each group on are
  // loaded.
  [[gnu::always_inline]] void read_scalars(const uint8_t *at, Record &record) const {
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      store_group<Record, index>(record, shuffled(load_lanes(at + start_[index]), control_[index]));
    });
  }

  // The lanes that a control picks of the sixteen bytes at `from`, of which those from `end` on are
  // not loaded; none of them is picked.
  [[gnu::always_inline]] static lanes load_before(const uint8_t *from, const uint8_t *end,
                                                  lanes control) {
    uint8_t beyond = 0;
    if (from + lane_count > end) {
      beyond = static_cast<uint8_t>(from + lane_count - end);
      from = end - lane_count;
    }
    return shuffled(load_lanes(from), capped_sum(control, lanes{} + beyond));
  }

  // Reads them where the buffer may end before sixteen bytes of a group: loads end with it instead.
  // There are at least sixteen bytes before `end`.
  [[gnu::always_inline]] void read_last_scalars(const uint8_t *at, const uint8_t *end,
                                                Record &record) const {
    for_each_group<Record>([&](auto index) __attribute__((always_inline)) {
      store_group<Record, index>(record, load_before(at + start_[index], end, control_[index]));
    });
  }

  // Whether the arrays whose offset words begin at `tail` lie there in the compact way.
  [[gnu::always_inline]] static bool has_arrays(const uint8_t *tail) {
    uint32_t wrong = 0, word = 0, body = shape_of::words;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_fixed_array) {
        wrong |= load<uint32_t>(tail + word) ^ (body - word);
        wrong |= load<uint32_t>(tail + body) ^ Field::length;
        body += vector_length_size + array_bytes<Field>;
      }
      if constexpr (!Field::is_scalar)
        word += uoffset_size;
    });
    return wrong == 0;
  }

  [[gnu::always_inline]] static void read_arrays(const uint8_t *tail, Record &record) {
    uint32_t body = shape_of::words + vector_length_size;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_fixed_array) {
        memcpy(&Field::value(record), tail + body, array_bytes<Field>);
        body += array_bytes<Field> + vector_length_size;
      }
    });
  }

private:
  // Eight entries, or as many as can be loaded.
  template <uint32_t From>
  [[gnu::always_inline]] static half_lanes load_entries(const uint8_t *vtable) {
    constexpr uint32_t room = shape_of::smallest - From;
    return reinterpret_cast<half_lanes>(
        load_some_lanes<(room < lane_count ? room : lane_count)>(vtable + From));
  }

  size_t scalars_end_ = 0;
  size_t start_[kept]{}; // where each group's scalars are, counted from the table
  lanes control_[kept]{};
};

// How the scalars of a table are read that has few of them: one after the other.
template <class Record>
class short_reading {
  using shape_of = table_shape<Record>;

public:
  // See table_reading.
  [[gnu::always_inline]] bool learn(const uint8_t *at) {
    const uint8_t *const vtable = at - shape_of::vtable_size;
    uint32_t position = soffset_size;
    uint32_t wrong = load<uint16_t>(vtable) ^ shape_of::vtable_size;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::is_scalar) {
        const uint32_t entry = load<uint16_t>(vtable + 4 + 2 * Field::slot);
        entry_[Field::slot] = entry;
        if (entry != 0) {
          wrong |= entry ^ position;
          position += sizeof(typename Field::value_type);
        }
      }
    });
    scalars_end_ = position;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (!Field::is_scalar) {
        wrong |= load<uint16_t>(vtable + 4 + 2 * Field::slot) ^ position;
        position += uoffset_size;
      }
    });
    return wrong == 0;
  }

  size_t scalars_end() const { return scalars_end_; }

  [[gnu::always_inline]] void read_scalars(const uint8_t *at, Record &record) const {
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      using value_type = typename Field::value_type;
      if constexpr (Field::is_scalar) {
        const uint32_t entry = entry_[Field::slot];
        Field::value(record) = entry != 0 ? load<value_type>(at + entry) : value_type{0};
      }
    });
  }

private:
  uint32_t scalars_end_ = 0;
  uint32_t entry_[table<Record>::slots];
};

// Reads the table at `at`, its vtable before it, and its embedded tables, of which at least Behind
// bytes of the message follow. The table's and the embedded ones' least sizes and Behind are before
// `end`. Returns where its last embedded table ends, null when it is not compact: the record may
// have been written to then.
template <class Record, uint32_t Behind>
const uint8_t *read_table(const uint8_t *at, const uint8_t *end, Record &record);

// The embedded tables of a table whose tail is at `tail`, from `cursor` on, which is moved behind
// them.
template <class Record, uint32_t Behind>
[[gnu::always_inline]] inline bool read_tables_behind(const uint8_t *tail, const uint8_t *&cursor,
                                                      const uint8_t *end, Record &record) {
  uint32_t word = 0;
  return all_fields<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
    if constexpr (Field::of == kind::table) {
      using embedded = typename Field::value_type;
      const uint8_t *const target = cursor + table<embedded>::vtable_size;
      if (load<uint32_t>(tail + word) != static_cast<uint32_t>(target - (tail + word)))
        return false;
      cursor = read_table<embedded, Behind + tables_after<Record>(Field::slot)>(
          target, end, Field::value(record));
      if (cursor == nullptr)
        return false;
    }
    if constexpr (!Field::is_scalar)
      word += uoffset_size;
    return true;
  });
}

template <class Record, uint32_t Behind>
[[gnu::always_inline]] inline const uint8_t *read_table(const uint8_t *at, const uint8_t *end,
                                                        Record &record) {
  using shape_of = table_shape<Record>;
  constexpr uint32_t behind = shape_of::sizes.tables + Behind;
  constexpr bool by_groups = goes_by_groups<Record>();
  std::conditional_t<by_groups, table_reading<Record>, short_reading<Record>> reading;
  if (load<uint32_t>(at) != shape_of::vtable_size || !reading.learn(at))
    return nullptr;
  if (static_cast<size_t>(end - at) < reading.scalars_end() + shape_of::tail + behind)
    return nullptr;
  const uint8_t *const tail = at + reading.scalars_end();
  if (!table_reading<Record>::has_arrays(tail))
    return nullptr;
  if constexpr (!shape_of::covers_record)
    memset(&record, 0, sizeof record);
  if constexpr (!by_groups || shape_of::overrun <= behind)
    reading.read_scalars(at, record);
  else
    reading.read_last_scalars(at, end, record);
  table_reading<Record>::read_arrays(tail, record);
  const uint8_t *cursor = tail + shape_of::tail;
  return read_tables_behind<Record, Behind>(tail, cursor, end, record) ? cursor : nullptr;
}

} // namespace mesh_fib6::wire
