// Where stretches of a record's bytes lie in a message in which every position is constant: what is
// neighbours in both moves at once.
//
// Room: wire/quick. Compile-time lists and the copies that they stand for.
#pragma once

#include "wire/quick/lanes.h"

#include <utility>

namespace mesh_fib6::wire {

struct stretch {
  uint16_t message_at;
  uint16_t record_at;
  uint16_t size;
};

template <uint32_t Capacity>
struct stretch_list {
  uint32_t count;
  stretch of[Capacity];

  // Bytes of the record behind a stretch that belong to none.
  constexpr size_t gap_after(size_t i, size_t record_size) const {
    const size_t end = size_t{of[i].record_at} + of[i].size;
    return (i + 1 < count ? of[i + 1].record_at : record_size) - end;
  }

  constexpr void add(uint32_t message_at, size_t record_at, uint32_t size) {
    if (count > 0) {
      stretch &last = of[count - 1];
      if (last.message_at + last.size == message_at && last.record_at + last.size == record_at) {
        last.size = static_cast<uint16_t>(last.size + size);
        return;
      }
    }
    of[count++] = {static_cast<uint16_t>(message_at), static_cast<uint16_t>(record_at),
                   static_cast<uint16_t>(size)};
  }
};

// Calls visit(index) for each stretch of a list, the index being a constant.
template <const auto &List, class Visit>
[[gnu::always_inline]] inline void for_each_stretch(Visit &&visit) {
  [&]<size_t... Index>(std::index_sequence<Index...>) __attribute__((always_inline)) {
    (visit(std::integral_constant<size_t, Index>{}), ...);
  }
  (std::make_index_sequence<List.count>{});
}

// Bytes of a message that do not depend on the record, and which of its bytes those are (all ones).
template <uint32_t Size>
struct constant_part {
  alignas(lane_count) uint8_t bytes[Size];
  alignas(lane_count) uint8_t mask[Size];

  template <class Value>
  constexpr void put(uint32_t at, Value value) {
    for (size_t i = 0; i < sizeof(Value); i++) {
      bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
      mask[at + i] = 0xFF;
    }
  }
};

// Whether sixteen bytes of a part's mask are all the same.
template <const auto &Part>
constexpr bool mask_is(size_t from, uint8_t value) {
  for (size_t i = 0; i < lane_count; i++)
    if (Part.mask[from + i] != value)
      return false;
  return true;
}

// Where sixteen bytes of a message, from At on or the part's last ones, are not as in the part,
// which is at `part`.
template <const auto &Part, size_t At>
[[gnu::always_inline]] inline lanes difference_at(const uint8_t *message,
                                                  const std::remove_cvref_t<decltype(Part)> &part) {
  constexpr size_t size = sizeof part.bytes;
  constexpr size_t from = At + lane_count <= size ? At : size - lane_count;
  if constexpr (mask_is<Part>(from, 0))
    return lanes{};
  constexpr auto load_part = from % lane_count == 0 ? load_aligned_lanes : load_lanes;
  const lanes difference = load_lanes(message + from) ^ load_part(part.bytes + from);
  if constexpr (mask_is<Part>(from, 0xFF))
    return difference;
  return difference & load_part(part.mask + from);
}

// Whether a message that is at least as long begins with the part.
template <const auto &Part>
[[gnu::always_inline]] inline bool begins_with(const uint8_t *message) {
  constexpr size_t size = sizeof Part.bytes;
  static_assert(size >= lane_count);
  const auto &part = *base_of(Part);
  return !any_set([&]<size_t... Index>(std::index_sequence<Index...>)
                      __attribute__((always_inline)) {
                        return (difference_at<Part, Index * lane_count>(message, part) | ...);
                      }(std::make_index_sequence<(size + lane_count - 1) / lane_count>{}));
}

} // namespace mesh_fib6::wire
