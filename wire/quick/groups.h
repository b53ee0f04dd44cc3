// A record's scalars, gathered at compile time into groups that one byte shuffle moves.
//
// Room: wire/quick. Knows nothing of buffers.
//
// A group is a window of sixteen record bytes and the scalars that lie in it whole (arrays between
// them are skipped). On the wire the scalars of a compact table that are not zero lie back to back
// in slot order, so writing a group is a shuffle that closes the gaps of the zero ones, and reading
// one is a shuffle that opens them again. Which shuffle depends on which scalars are zero: with at
// most six in a group all 2^n of them fit in a table, computed here from the schema.
#pragma once

#include "wire/format/schema.h"
#include "wire/quick/lanes.h"

#include <utility>

namespace mesh_fib6::wire {

inline constexpr uint32_t max_group_fields = 6;
inline constexpr uint32_t max_groups = 8;

struct grouped_scalar {
  uint8_t at; // first byte, counted from the window
  uint8_t width;
  uint8_t slot; // counted from the group's first
};

// What the shuffles depend on: groups of different records with the same shape share their tables.
struct group_shape {
  uint32_t fields;
  grouped_scalar field[max_group_fields];

  constexpr uint32_t begin() const { return field[0].at; }
  // The group as if it began where its window does: what depends on nothing else is shared.
  constexpr group_shape moved_to_front() const {
    group_shape result = *this;
    for (uint32_t i = 0; i < fields; i++)
      result.field[i].at = static_cast<uint8_t>(field[i].at - begin());
    return result;
  }
  constexpr uint32_t end() const {
    return uint32_t{field[fields - 1].at} + field[fields - 1].width;
  }
};

struct scalar_group {
  uint32_t window; // where its sixteen bytes start in the record
  uint32_t first_slot;
  group_shape shape;
};

struct group_list {
  uint32_t count;
  scalar_group group[max_groups];
  uint32_t bytes; // of all scalars
};

namespace detail {

struct placed_scalar {
  uint32_t at;
  uint32_t width;
  uint32_t slot;
};

// Where the sixteen bytes around a scalar start: aligned, so that comparisons by width see whole
// scalars, and never beyond the record's end.
constexpr uint32_t window_of(uint32_t at, uint32_t record_size) {
  const uint32_t window = at & ~3u;
  if (record_size < lane_count)
    return 0;
  return window + lane_count <= record_size ? window : (record_size - lane_count) & ~3u;
}

template <class Record>
constexpr group_list group_scalars() {
  group_list list{};
  for_each_field<Record>([&list]<class Field>(Field) {
    if constexpr (Field::is_scalar) {
      constexpr auto at = static_cast<uint32_t>(Field::offset);
      constexpr auto width = static_cast<uint32_t>(sizeof(typename Field::value_type));
      const scalar_group *const last = list.count > 0 ? &list.group[list.count - 1] : nullptr;
      if (last == nullptr || at + width > last->window + lane_count ||
          last->shape.fields == max_group_fields || Field::slot - last->first_slot > 6)
        list.group[list.count++] = {window_of(at, sizeof(Record)), Field::slot, {}};
      scalar_group &group = list.group[list.count - 1];
      group.shape.field[group.shape.fields++] = {
          static_cast<uint8_t>(at - group.window), static_cast<uint8_t>(width),
          static_cast<uint8_t>(Field::slot - group.first_slot)};
      list.bytes += width;
    }
  });
  return list;
}

} // namespace detail

template <class Record>
inline constexpr group_list groups_of = detail::group_scalars<Record>();

// Calls visit(index) for each group of a record, the index being a constant.
template <class Record, class Visit>
[[gnu::always_inline]] inline void for_each_group(Visit &&visit) {
  [&]<size_t... Index>(std::index_sequence<Index...>) __attribute__((always_inline)) {
    (visit(std::integral_constant<size_t, Index>{}), ...);
  }
  (std::make_index_sequence<groups_of<Record>.count>{});
}

// Sixteen bytes of constant data.
struct constant_lanes {
  alignas(lane_count) uint8_t of[lane_count];

  [[gnu::always_inline]] lanes value() const { return load_lanes(of); }
};

struct constant_halves {
  alignas(lane_count) uint16_t of[lane_count / 2];

  [[gnu::always_inline]] half_lanes value() const {
    return reinterpret_cast<half_lanes>(load_lanes(of));
  }
};

constexpr constant_lanes no_lanes() {
  constant_lanes result{};
  for (uint8_t &lane : result.of)
    lane = no_lane;
  return result;
}

// Where the scalars of a group lie on the wire for one choice of absent ones.
struct arrangement {
  // The shuffle that spreads the scalars as they are written over the record, from the group's
  // first byte on, with zeros for those that are absent and between them.
  uint8_t opening[lane_count];
  // Per slot of the group: 1 + position among the scalars written, 0 for one that is absent. The
  // last byte holds how many bytes are written.
  uint8_t position[8];

  size_t length() const { return position[7]; }
};

// The arrangements of a group for each choice of absent scalars, bit i of the index being set where
// scalar i is.
template <group_shape Shape>
struct group_arrangements {
  static_assert(Shape.begin() == 0);
  static constexpr uint32_t choices = 1u << Shape.fields;

  struct arrangement_list {
    arrangement of[choices];
  };
  static constexpr arrangement_list arrange_all() {
    arrangement_list result{};
    for (uint32_t absent = 0; absent < choices; absent++) {
      arrangement &to = result.of[absent];
      for (uint8_t &lane : to.opening)
        lane = no_lane;
      uint8_t at = 0;
      for (uint32_t i = 0; i < Shape.fields; i++) {
        if ((absent >> i & 1) != 0)
          continue;
        const grouped_scalar &field = Shape.field[i];
        to.position[field.slot] = static_cast<uint8_t>(at + 1);
        for (uint32_t byte = 0; byte < field.width; byte++)
          to.opening[field.at + byte] = at++;
      }
      to.position[7] = at;
    }
    return result;
  }
  static constexpr arrangement_list all = arrange_all();
};

// Constants of a shape.
template <group_shape Shape>
struct group_constants {
  static constexpr uint32_t choices = 1u << Shape.fields;
  using arrangements = group_arrangements<Shape.moved_to_front()>;

  // All bytes of the scalars of a width.
  static constexpr constant_lanes lanes_of_width(uint32_t width) {
    constant_lanes result{};
    for (uint32_t i = 0; i < Shape.fields; i++)
      for (uint32_t byte = 0; Shape.field[i].width == width && byte < width; byte++)
        result.of[Shape.field[i].at + byte] = 0xFF;
    return result;
  }
  static constexpr bool has_width(uint32_t width) {
    for (uint32_t i = 0; i < Shape.fields; i++)
      if (Shape.field[i].width == width)
        return true;
    return false;
  }

  // Whether the scalars are words without anything between them.
  static constexpr bool is_row_of_words() {
    for (uint32_t i = 0; i < Shape.fields; i++)
      if (Shape.field[i].width != 4 || Shape.field[i].at != Shape.begin() + 4 * i)
        return false;
    return true;
  }

  static constexpr bool has_words = has_width(4);
  static constexpr bool has_halves = has_width(2);
  static constexpr bool has_bytes = has_width(1);
  static constexpr constant_lanes word_mask = lanes_of_width(4);
  static constexpr constant_lanes half_mask = lanes_of_width(2);
  static constexpr constant_lanes byte_mask = lanes_of_width(1);

  // One lane of scalar i in lane i.
  static constexpr constant_lanes one_lane_each() {
    constant_lanes result{};
    for (uint32_t i = 0; i < lane_count; i++)
      result.of[i] = i < Shape.fields ? Shape.field[i].at : no_lane;
    return result;
  }
  // Bit i in one lane of scalar i.
  static constexpr constant_lanes one_bit_each() {
    constant_lanes result{};
    for (uint32_t i = 0; i < Shape.fields; i++)
      result.of[Shape.field[i].at] = static_cast<uint8_t>(1u << i);
    return result;
  }
  static constexpr constant_lanes first_lanes = one_lane_each();
  static constexpr constant_lanes weights = one_bit_each();

  // Of vtable entries loaded from the group's first slot on: those of its scalars.
  static constexpr constant_halves slots_of_group() {
    constant_halves result{};
    for (uint32_t i = 0; i < Shape.fields; i++)
      result.of[Shape.field[i].slot] = 0xFFFF;
    return result;
  }
  static constexpr constant_halves slots = slots_of_group();
  // The first lane of scalar i's entry in lane i; and bit i in that lane.
  static constexpr constant_lanes one_entry_each() {
    constant_lanes result = no_lanes();
    for (uint32_t i = 0; i < Shape.fields; i++)
      result.of[i] = static_cast<uint8_t>(2 * Shape.field[i].slot);
    return result;
  }
  static constexpr constant_lanes one_bit_per_entry() {
    constant_lanes result{};
    for (uint32_t i = 0; i < Shape.fields; i++)
      result.of[size_t{2} * Shape.field[i].slot] = static_cast<uint8_t>(1u << i);
    return result;
  }
  static constexpr constant_lanes first_entry_lanes = one_entry_each();
  static constexpr constant_lanes entry_weights = one_bit_per_entry();

  // What a writer needs for each choice of absent scalars: the shuffle that closes their gaps in a
  // window of the record, and the arrangement's positions once more, beside it.
  struct closing_list {
    struct {
      uint8_t closing[lane_count];
      uint8_t position[8];

      size_t length() const { return position[7]; }
    } of[choices];
  };
  static constexpr closing_list close_all() {
    closing_list result{};
    for (uint32_t absent = 0; absent < choices; absent++) {
      auto &to = result.of[absent];
      uint32_t at = 0;
      for (uint32_t i = 0; i < Shape.fields; i++)
        for (uint32_t byte = 0; (absent >> i & 1) == 0 && byte < Shape.field[i].width; byte++)
          to.closing[at++] = static_cast<uint8_t>(Shape.field[i].at + byte);
      while (at < lane_count)
        to.closing[at++] = no_lane;
      for (uint32_t i = 0; i < 8; i++)
        to.position[i] = arrangements::all.of[absent].position[i];
    }
    return result;
  }
  static constexpr closing_list closings = close_all();
};

// All lanes of the scalars that are zero. Of other lanes it says nothing, unless Exact: then they
// are clear.
template <group_shape Shape, bool Exact = false>
[[gnu::always_inline]] inline lanes zero_scalars(lanes values) {
  using constants = group_constants<Shape>;
  lanes zero{};
  if constexpr (constants::has_words) {
    zero = reinterpret_cast<lanes>(reinterpret_cast<word_lanes>(values) == 0);
    // A word that is zero is zero in its halves and bytes, so narrower scalars need no clearing. To
    // clear them all the same is what clang 14 turns into wrong code behind an inlined zero_bits():
    // in a route, f12 counts as present although it is zero.
    if constexpr (Exact)
      zero &= constants::word_mask.value();
  }
  if constexpr (constants::has_halves)
    zero |= reinterpret_cast<lanes>(reinterpret_cast<half_lanes>(values) == 0) &
            constants::half_mask.value();
  if constexpr (constants::has_bytes)
    zero |= reinterpret_cast<lanes>(values == 0) & constants::byte_mask.value();
  return zero;
}

// Bit i: whether scalar i of the group is zero.
template <group_shape Shape>
[[gnu::always_inline]] inline uint32_t zero_bits(lanes values) {
  using constants = group_constants<Shape>;
  const lanes zero = zero_scalars<Shape>(values);
  if constexpr (marks_words_quickly && constants::is_row_of_words())
    return marked_words(zero) >> (Shape.begin() / 4) & (constants::choices - 1);
  else
    return marked(zero, constants::first_lanes.value(), constants::weights.value());
}

// Bit i: whether scalar i of the group has no entry. `entries` are the vtable's from the group's
// first slot on.
template <group_shape Shape>
[[gnu::always_inline]] inline uint32_t absent_bits(half_lanes entries) {
  using constants = group_constants<Shape>;
  return marked(reinterpret_cast<lanes>(entries == 0), constants::first_entry_lanes.value(),
                constants::entry_weights.value());
}

// The scalars of one record's group, its window read whole.
template <class Record, size_t Index>
[[gnu::always_inline]] inline lanes load_group(const Record &record) {
  const auto *const bytes = reinterpret_cast<const uint8_t *>(&record);
  if constexpr (sizeof(Record) >= lane_count)
    return load_lanes(bytes + groups_of<Record>.group[Index].window);
  else
    return load_some_lanes<sizeof(Record)>(bytes);
}

// Stores a group's scalars, from its first byte on. Bytes behind the group become zero: what lies
// there is stored later.
template <class Record, size_t Index>
[[gnu::always_inline]] inline void store_group(Record &record, lanes values) {
  constexpr const scalar_group &group = groups_of<Record>.group[Index];
  constexpr uint32_t first = group.window + group.shape.begin();
  constexpr uint32_t room = static_cast<uint32_t>(sizeof(Record)) - first;
  store_some_lanes<(room < lane_count ? room : lane_count)>(
      reinterpret_cast<uint8_t *>(&record) + first, values);
}

} // namespace mesh_fib6::wire
