// Reads the elements of a vector as long as they are as run_writer.h writes them.
//
// Room: wire/quick. For records without vectors and embedded records.
//
// Neighbouring elements mostly lack the same scalars: then the next one's vtable holds the bytes of
// the last one's, and nothing is looked up again. What ends the run is left to the general codec.
#pragma once

#include "wire/quick/table_reader.h"

namespace mesh_fib6::wire {

template <class Record>
class run_reader {
  using shape_of = table_shape<Record>;
  static_assert(shape_of::groups.count > 0 && shape_of::sizes.tables == 0);
  static constexpr uint32_t vtable_size = shape_of::vtable_size;
  static constexpr uint32_t lowest = root_offset_size + vtable_size; // of a table with its vtable
  // How far behind a table's start sixteen-byte loads of its scalars, and its arrays, may reach.
  static constexpr uint32_t least_reach = shape_of::smallest - vtable_size + shape_of::overrun;
  static constexpr uint32_t most_reach = shape_of::largest - vtable_size + shape_of::overrun;

public:
  explicit run_reader(received in) : bytes_(in.bytes), size_(in.size) {}

  // Reads elements into records as long as they are compact; returns how many. The offset words
  // from `word` on are inside the buffer. Of the element that ends the run nothing is written.
  [[gnu::always_inline]] uint32_t read(uint32_t word, Record *records, uint32_t count) {
    for (uint32_t i = 0; i < count; i++, word += uoffset_size) {
      const size_t at = size_t{word} + load<uint32_t>(bytes_ + word);
      if (__builtin_expect(!is_like_the_last(at), false) && !learn(at))
        return i;
      const uint8_t *const tail = bytes_ + at + reading_.scalars_end();
      if (!reading_.has_arrays(tail))
        return i;
      if constexpr (!shape_of::covers_record)
        memset(&records[i], 0, sizeof(Record));
      reading_.read_scalars(bytes_ + at, records[i]);
      reading_.read_arrays(tail, records[i]);
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
    if (at - lowest >= known_ || load<uint32_t>(bytes_ + at) != vtable_size)
      return false;
    lanes difference{};
    for (uint32_t i = 0; i < pieces; i++)
      difference |= piece_of(bytes_ + at - vtable_size, i) ^ learnt_[i];
    return !any_set(difference);
  }

  // Whether the table at `at` is compact and its bytes can be loaded in sixteens; if so, how.
  [[gnu::always_inline]] bool learn(size_t at) {
    if (at - lowest >= room_for(least_reach) || load<uint32_t>(bytes_ + at) != vtable_size ||
        !reading_.learn(bytes_ + at))
      return false;
    for (uint32_t i = 0; i < pieces; i++)
      learnt_[i] = piece_of(bytes_ + at - vtable_size, i);
    const size_t reach = reading_.scalars_end() + shape_of::tail + shape_of::overrun;
    known_ = room_for(most_reach);
    return at - lowest < known_ || at - lowest < room_for(reach);
  }

  const uint8_t *const bytes_;
  const size_t size_;
  size_t known_ = 0;       // positions from `lowest` on with room for any table; 0: none learnt
  lanes learnt_[pieces]{}; // the last table's vtable
  table_reading<Record> reading_;
};

// Reads the only element of a vector, of which there is nothing to remember; returns 1, or 0 when
// it is not compact.
template <class Record>
[[gnu::always_inline]] inline uint32_t read_single(const received in, uint32_t word,
                                                   Record *record) {
  using shape_of = table_shape<Record>;
  constexpr uint32_t vtable_size = shape_of::vtable_size;
  const size_t at = size_t{word} + load<uint32_t>(in.bytes + word);
  if (at < root_offset_size + vtable_size ||
      at + (shape_of::smallest - vtable_size) > size_t{in.size} ||
      (shape_of::goes_by_groups && shape_of::overrun > 0 && in.size < lane_count))
    return 0;
  return read_table<Record, 0>(in.bytes + at, in.bytes + in.size, *record) != nullptr;
}

// Reads the compact elements at the front of a vector one by one, where there are no shuffles to go
// by groups; returns how many.
template <class Record>
[[gnu::noinline]] uint32_t read_each(const received in, uint32_t word, Record *records,
                                     uint32_t count) {
  for (uint32_t i = 0; i < count; i++)
    if (read_single(in, word + uoffset_size * i, records + i) == 0)
      return i;
  return count;
}

// Reads the compact elements at the front of a vector; returns how many.
template <class Record>
[[gnu::noinline]] uint32_t read_run(const received in, uint32_t word, Record *records,
                                    uint32_t count) {
  return run_reader<Record>(in).read(word, records, count);
}

} // namespace mesh_fib6::wire
