// Reads tables that have vectors: roots and what they embed.
//
// Room: wire/quick. In whatever arrangement they are: such tables come once in a message, so they
// are read field by field, each bounded before it is read. Their elements and embedded flat records
// are read by groups as far as they are compact.
//
// At the first field that is not as it should be, the general codec goes on with that field: it
// decides what is refused, says so in the log and finishes the table.
#pragma once

#include "platform/memory.h"
#include "wire/general/handover.h"
#include "wire/quick/run_reader.h"

#include <algorithm>

namespace mesh_fib6::wire {

template <class Record>
class tree_reader {
public:
  // `decoding` names the function on whose behalf members are allocated.
  tree_reader(runtime::unit &unit, const received in, const char *decoding)
      : unit_(unit), bytes_(in.bytes), size_(in.size), decoding_(decoding) {}

  // Finds the table at `at`. False when it is not inside the buffer or its vtable is shorter than
  // the schema.
  [[gnu::always_inline]] bool open(uint32_t at) {
    if (at < root_offset_size || !in().holds(at, soffset_size))
      return false;
    table_ = at;
    vtable_ = at - load<uint32_t>(bytes_ + at);
    constexpr uint32_t expected = table<Record>::vtable_size;
    if (vtable_ < root_offset_size || !in().holds(vtable_, expected))
      return false;
    const uint32_t vtable_size = load<uint16_t>(bytes_ + vtable_);
    return __builtin_expect(vtable_size == expected, true) ||
           (vtable_size > expected && in().holds(vtable_, vtable_size)); // of a newer peer
  }

  // Reads the table's fields into a zeroed record. False when one of them is refused: what lies
  // before it in the record stays.
  [[gnu::always_inline]] bool read(Record &record) {
    bool is_accepted = true;
    all_fields<Record>([&](auto field) __attribute__((always_inline)) {
      return read_next(field, record, is_accepted);
    });
    return is_accepted;
  }

private:
  enum class outcome : uint8_t {
    read,
    declined, // nothing has been allocated for the field; the record holds zeros for it
    refused,
  };

  // Whether there is more to read: not behind a field that the general codec has gone on with, or
  // that was refused.
  template <class Field>
  [[gnu::always_inline]] bool read_next(Field field, Record &record, bool &is_accepted) {
    const uint32_t entry = load<uint16_t>(bytes_ + vtable_ + 4 + 2 * Field::slot);
    if (entry == 0)
      return true;
    const outcome result = read_field(field, table_ + entry, record);
    if (result == outcome::declined)
      is_accepted = general::finish_table(unit_, in(), table_, general::info_of<Record>(), &record,
                                          decoding_, Field::slot);
    else
      is_accepted = result == outcome::read;
    return result == outcome::read;
  }

  template <class Field>
  [[gnu::always_inline]] outcome read_field(Field, uint32_t at, Record &record) {
    using value_type = typename Field::value_type;
    if constexpr (Field::is_scalar) {
      if (!in().holds(at, sizeof(value_type)))
        return outcome::declined;
      Field::value(record) = load<value_type>(bytes_ + at);
      return outcome::read;
    } else {
      if (!in().holds(at, uoffset_size))
        return outcome::declined;
      const uint32_t target = at + load<uint32_t>(bytes_ + at);
      return target < at ? outcome::declined : read_target<Field>(target, record);
    }
  }

  // What an offset word refers to.
  template <class Field>
  [[gnu::always_inline]] outcome read_target(uint32_t target, Record &record) {
    if constexpr (Field::of == kind::table)
      return read_embedded(target, Field::value(record));
    else if constexpr (Field::is_vector)
      return read_vector<Field>(target, record);
    else
      return read_array<Field>(target, record);
  }

  template <class Field>
  [[gnu::always_inline]] outcome read_array(uint32_t vector, Record &record) {
    if (!in().holds(vector, vector_length_size + array_bytes<Field>) ||
        load<uint32_t>(bytes_ + vector) != Field::length)
      return outcome::declined;
    memcpy(&Field::value(record), bytes_ + vector + vector_length_size, array_bytes<Field>);
    return outcome::read;
  }

  template <class Embedded>
  [[gnu::always_inline]] outcome read_embedded(uint32_t at, Embedded &record) {
    if constexpr (is_tree<Embedded>()) {
      tree_reader<Embedded> reader(unit_, in(), general::info_of<Embedded>().non_root());
      if (!reader.open(at))
        return outcome::declined;
      return reader.read(record) ? outcome::read : outcome::refused;
    } else {
      using shape_of = table_shape<Embedded>;
      constexpr uint32_t vtable_size = shape_of::vtable_size;
      constexpr uint32_t least = shape_of::least_with_tables - vtable_size;
      if (at < root_offset_size + vtable_size || !in().holds(at, least) || size_ < lane_count)
        return outcome::declined;
      if (read_table<Embedded, 0>(bytes_ + at, bytes_ + size_, record) == nullptr) {
        memset(&record, 0, sizeof record);
        return outcome::declined;
      }
      return outcome::read;
    }
  }

  template <class Field>
  [[gnu::always_inline]] outcome read_vector(uint32_t vector, Record &record) {
    using value_type = typename Field::value_type;
    constexpr bool is_bytes = Field::of == kind::byte_vector;
    if (!in().holds(vector, vector_length_size))
      return outcome::declined;
    const uint32_t behind = size_ - vector_length_size - vector;
    const uint32_t count = load<uint32_t>(bytes_ + vector);
    const uint32_t items = vector + vector_length_size;
    // So many that neither their offset words nor their records take more bytes than 32 bits can
    // say.
    constexpr uint32_t most =
        is_bytes ? UINT32_MAX
                 : std::min(general::max_word_count, UINT32_MAX / uint32_t{sizeof(value_type)});
    if (count > most || (is_bytes ? count : uoffset_size * count) > behind)
      return outcome::declined;
    Field::count(record) = count;
    if (count == 0)
      return outcome::read;
    const uint32_t size = count * uint32_t{sizeof(value_type)};
    void *const block = unit_.runtime.cache_alloc(size, runtime::cache_module_id, decoding_);
    if (block == nullptr) {
      general::report_no_memory(unit_, size, decoding_);
      return outcome::refused;
    }
    auto *const elements = static_cast<value_type *>(block);
    Field::pointer(record) = elements;
    if constexpr (is_bytes) {
      copy_memory(elements, bytes_ + items, count);
      return outcome::read;
    } else {
      uint32_t done = 0;
      if constexpr (!has_shuffles)
        done = read_each(in(), items, elements, count);
      else if (has_one_table_vector<Record>() && count == 1)
        done = read_single(in(), items, elements);
      else
        done = read_run(in(), items, elements, count);
      if (__builtin_expect(done == count, true))
        return outcome::read;
      return general::finish_elements(unit_, in(), items + uoffset_size * done,
                                      general::info_of<value_type>(), elements + done, count - done)
                 ? outcome::read
                 : outcome::refused;
    }
  }

  [[gnu::always_inline]] received in() const { return {bytes_, size_}; }

  // One by one: what is passed on as a whole would be kept in memory from the start.
  runtime::unit &unit_;
  const uint8_t *const bytes_;
  const uint32_t size_;
  const char *const decoding_;
  uint32_t table_ = 0;
  uint32_t vtable_ = 0;
};

// Reads a message whose record has vectors; the unit is bound. False when its root's header is not
// as it should be: nothing has been written then.
template <class Record>
[[gnu::always_inline]] inline bool read_tree(runtime::unit &unit, const received in,
                                             Record &record) {
  tree_reader<Record> reader(unit, in, names<Record>::unpack.text);
  if (!reader.open(load<uint32_t>(in.bytes)))
    return false;
  memset(&record, 0, sizeof record);
  if (__builtin_expect(!reader.read(record), false))
    general::release_blocks(unit, general::info_of<Record>(), &record);
  return true;
}

} // namespace mesh_fib6::wire
