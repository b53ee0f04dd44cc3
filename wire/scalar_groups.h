// A record's scalars, gathered at compile time into groups that one byte shuffle moves.
//
// Room: wire. Needs lanes.h; knows nothing of buffers.
//
// A group is a window of sixteen record bytes and the scalars that lie in it whole (arrays between
// them are skipped). On the wire the scalars of a compact table that are not zero lie back to back
// in slot order, so writing a group is a shuffle that closes the gaps of the zero ones, and reading
// one is a shuffle that opens them again. Which shuffle depends on which scalars are zero: with at
// most six in a group all 2^n of them fit in a table, computed here from the schema.
#pragma once

#include "wire/lanes.h"
#include "wire/schema.h"

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

// Whether the positions in a record's compact tables depend on nothing but which scalars are
// absent.
template <class Record>
constexpr bool is_grouped() {
  return all_fields<Record>([]<class Field>(Field) {
    if constexpr (Field::of == kind::table)
      return is_grouped<typename Field::value_type>();
    return !Field::is_vector;
  });
}

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

// Where the scalars of a group lie on the wire for one choice of absent ones. Per slot of the
// group: 1 + position among the scalars written, 0 for one that is absent. The last byte holds how
// many bytes are written.
struct arrangement {
  uint8_t position[8];

  size_t length() const { return position[7]; }
};

// Constants of a shape.
template <group_shape Shape>
struct group_constants {
  static constexpr uint32_t choices = 1u << Shape.fields;

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

  // For each byte of the record from the group's first: its scalar's entry, in lanes of entries
  // that begin `first` slots before the group's; and which byte of that scalar it is. no_lane
  // between scalars.
  static constexpr constant_lanes slot_of_each_byte(uint32_t first) {
    constant_lanes result = no_lanes();
    for (uint32_t i = 0; i < Shape.fields; i++)
      for (uint32_t byte = 0; byte < Shape.field[i].width; byte++)
        result.of[Shape.field[i].at - Shape.begin() + byte] =
            static_cast<uint8_t>(2 * (first + Shape.field[i].slot));
    return result;
  }
  static constexpr constant_lanes byte_in_scalar() {
    constant_lanes result = no_lanes();
    for (uint32_t i = 0; i < Shape.fields; i++)
      for (uint32_t byte = 0; byte < Shape.field[i].width; byte++)
        result.of[Shape.field[i].at - Shape.begin() + byte] = static_cast<uint8_t>(byte);
    return result;
  }
  static constexpr constant_lanes no_lanes() {
    constant_lanes result{};
    for (uint8_t &lane : result.of)
      lane = no_lane;
    return result;
  }
  static constexpr constant_lanes spread = slot_of_each_byte(0);
  static constexpr constant_lanes within = byte_in_scalar();

  // Of vtable entries loaded from the group's first slot on: those of its scalars.
  static constexpr constant_halves slots_of_group() {
    constant_halves result{};
    for (uint32_t i = 0; i < Shape.fields; i++)
      result.of[Shape.field[i].slot] = 0xFFFF;
    return result;
  }
  static constexpr constant_halves slots = slots_of_group();
  // The first lane of scalar i's entry in lane i; and bit i in scalar i's entry.
  static constexpr constant_lanes one_entry_each() {
    constant_lanes result = no_lanes();
    for (uint32_t i = 0; i < Shape.fields; i++)
      result.of[i] = static_cast<uint8_t>(2 * Shape.field[i].slot);
    return result;
  }
  static constexpr constant_halves one_bit_per_entry() {
    constant_halves result{};
    for (uint32_t i = 0; i < Shape.fields; i++)
      result.of[Shape.field[i].slot] = static_cast<uint16_t>(1u << i);
    return result;
  }
  static constexpr constant_lanes first_entry_lanes = one_entry_each();
  static constexpr constant_halves entry_weights = one_bit_per_entry();

  // For each choice of absent scalars, bit i of the index being set where scalar i is: the
  // arrangement, and the shuffle that makes it by closing the gaps.
  struct choice_list {
    arrangement arranged[choices];
    constant_lanes closing[choices];
  };
  static constexpr choice_list all_choices() {
    choice_list result{};
    for (uint32_t absent = 0; absent < choices; absent++) {
      arrangement &to = result.arranged[absent];
      constant_lanes &closing = result.closing[absent] = no_lanes();
      uint8_t at = 0;
      for (uint32_t i = 0; i < Shape.fields; i++) {
        if ((absent >> i & 1) != 0)
          continue;
        const grouped_scalar &field = Shape.field[i];
        to.position[field.slot] = static_cast<uint8_t>(at + 1);
        for (uint32_t byte = 0; byte < field.width; byte++)
          closing.of[at++] = static_cast<uint8_t>(field.at + byte);
      }
      to.position[7] = at;
    }
    return result;
  }
  static constexpr choice_list choice = all_choices();
};

#ifdef MESH_FIB6_LANES

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
#ifdef __SSE4_1__
  if constexpr (constants::is_row_of_words())
    return static_cast<uint32_t>(_mm_movemask_ps(reinterpret_cast<__m128>(zero))) >>
               (Shape.begin() / 4) &
           (constants::choices - 1);
  return static_cast<uint32_t>(
      _mm_movemask_epi8(reinterpret_cast<__m128i>(shuffled(zero, constants::first_lanes.value()))));
#else
  return vaddvq_u8(zero & constants::weights.value());
#endif
}

// Bit i: whether scalar i of the group has no entry. `entries` are the vtable's from the group's
// first slot on.
template <group_shape Shape>
[[gnu::always_inline]] inline uint32_t absent_bits(half_lanes entries) {
  using constants = group_constants<Shape>;
  const auto absent = reinterpret_cast<half_lanes>(entries == 0);
#ifdef __SSE4_1__
  return static_cast<uint32_t>(_mm_movemask_epi8(reinterpret_cast<__m128i>(
      shuffled(reinterpret_cast<lanes>(absent), constants::first_entry_lanes.value()))));
#else
  return vaddvq_u16(absent & constants::entry_weights.value());
#endif
}

// The shuffle that spreads a group's scalars over the record, from the group's first byte on: the
// reverse of closing the gaps. `found` is the group's arrangement, widened. Lanes of absent scalars
// and between scalars become zero.
template <group_shape Shape>
[[gnu::always_inline]] inline lanes opening(half_lanes found) {
  using constants = group_constants<Shape>;
  // An absent scalar's position is 0, one less is 255, and a capped sum stays there.
  return capped_sum(shuffled(reinterpret_cast<lanes>(found), constants::spread.value()) - 1,
                    constants::within.value());
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

#endif

} // namespace mesh_fib6::wire
