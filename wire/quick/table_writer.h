// Writes tables that have vectors in the compact arrangement: roots and what they embed.
//
// Room: wire/quick. Whoever calls knows that there is room.
//
// Such tables have few scalars and come once in a message, so they are written field by field;
// their elements and embedded flat records go by groups.
#pragma once

#include "platform/memory.h"
#include "wire/quick/run_writer.h"

namespace mesh_fib6::wire {

template <class Record, uint32_t Behind>
uint8_t *write_table(uint8_t *at, const Record &record);

// The elements of a vector one by one, where there are no shuffles to go by groups.
template <class Record>
[[gnu::noinline]] uint8_t *write_each(uint8_t *at, uint8_t *word, const Record *elements,
                                      uint32_t count) {
  for (uint32_t i = 0; i < count; i++, word += uoffset_size) {
    store(word, static_cast<uint32_t>(at + table<Record>::vtable_size - word));
    at = write_table<Record, 0>(at, elements[i]);
  }
  return at;
}

// Field by field. At least Behind bytes of the message follow.
template <class Record, uint32_t Behind>
class table_writer {
public:
  // Of the offset words, those are read that have been stored before.
  // cppcheck-suppress [uninitMemberVar, uninitMemberVarPrivate]
  explicit table_writer(uint8_t *at)
      : vtable_(at), table_(at + vtable_size), cursor_(table_ + soffset_size) {}

  // Writes the table of a record, its vtable first, and the tables behind it; returns their end.
  [[gnu::always_inline]] uint8_t *write(const Record &record) {
    for_each_field<Record>([&](auto field)
                               __attribute__((always_inline)) { put_scalar(field, record); });
    for_each_field<Record>([&](auto field)
                               __attribute__((always_inline)) { reserve_offset(field, record); });
    for_each_field<Record>([&](auto field)
                               __attribute__((always_inline)) { put_body(field, record); });
    end_table();
    for_each_field<Record>([&](auto field) __attribute__((always_inline)) {
      put_tables_behind(field, record);
    });
    return cursor_;
  }

private:
  static constexpr uint32_t vtable_size = table<Record>::vtable_size;

  template <class Field>
  [[gnu::always_inline]] void set_entry(Field, bool is_present) {
    const auto position = static_cast<uint16_t>(cursor_ - table_);
    store(vtable_ + 4 + 2 * Field::slot, is_present ? position : uint16_t{0});
  }

  template <class Field>
  [[gnu::always_inline]] void put_scalar(Field field, const Record &record) {
    if constexpr (Field::is_scalar) {
      const auto value = Field::value(record);
      set_entry(field, value != 0);
      if (value != 0) {
        store(cursor_, value);
        cursor_ += sizeof value;
      }
    }
  }

  // Makes room for the slot's offset word, which is filled in later.
  template <class Field>
  [[gnu::always_inline]] void reserve_offset(Field field, const Record &record) {
    if constexpr (!Field::is_scalar) {
      bool is_present = true;
      if constexpr (Field::is_vector)
        is_present = Field::count(record) != 0 && Field::pointer(record) != nullptr;
      set_entry(field, is_present);
      word_[Field::slot] = is_present ? cursor_ : nullptr;
      cursor_ += is_present ? uoffset_size : 0;
    }
  }

  [[gnu::always_inline]] void put_length(uint8_t *word, uint32_t length) {
    store(word, static_cast<uint32_t>(cursor_ - word));
    store(cursor_, length);
    cursor_ += vector_length_size;
  }

  template <class Field>
  [[gnu::always_inline]] void put_body(Field, const Record &record) {
    uint8_t *&word = word_[Field::slot];
    if constexpr (Field::is_fixed_array) {
      put_length(word, Field::length);
      memcpy(cursor_, &Field::value(record), array_bytes<Field>);
      cursor_ += array_bytes<Field>;
    } else if constexpr (Field::is_vector) {
      if (word == nullptr)
        return;
      const uint32_t count = Field::count(record);
      put_length(word, count);
      if constexpr (Field::of == kind::byte_vector) {
        copy_memory(cursor_, Field::pointer(record), count);
        cursor_ += count;
      } else {
        word = cursor_; // from here on the elements' words
        cursor_ += size_t{uoffset_size} * count;
      }
    }
  }

  [[gnu::always_inline]] void end_table() {
    store(vtable_, static_cast<uint16_t>(vtable_size));
    store(vtable_ + 2, static_cast<uint16_t>(cursor_ - table_));
    store(table_, vtable_size); // the vtable lies right before the table
  }

  template <class Field>
  [[gnu::always_inline]] void put_tables_behind(Field, const Record &record) {
    using value_type = typename Field::value_type;
    if constexpr (Field::of == kind::table) {
      uint8_t *const word = word_[Field::slot];
      store(word, static_cast<uint32_t>(cursor_ + table<value_type>::vtable_size - word));
      constexpr uint32_t behind = Behind + tables_after<Record>(Field::slot);
      cursor_ = write_table<value_type, behind>(cursor_, Field::value(record));
    } else if constexpr (Field::of == kind::table_vector) {
      uint8_t *const word = word_[Field::slot];
      if (word == nullptr)
        return;
      const value_type *const elements = Field::pointer(record);
      const uint32_t count = Field::count(record);
      if constexpr (!has_shuffles)
        cursor_ = write_each(cursor_, word, elements, count);
      else if (has_one_table_vector<Record>() && count == 1)
        cursor_ = write_single(cursor_, word, *elements);
      else
        cursor_ = write_run(cursor_, word, elements, count);
    }
  }

  uint8_t *const vtable_;
  uint8_t *const table_;
  uint8_t *cursor_;
  uint8_t
      *word_[table<Record>::slots]; // offset words, of a vector of tables its elements' first one
};

// By groups.
template <class Record, uint32_t Behind>
[[gnu::always_inline]] inline uint8_t *write_grouped(uint8_t *at, const Record &record) {
  using shape_of = table_shape<Record>;
  constexpr bool is_exact = shape_of::overrun > Behind + shape_of::sizes.tables;
  uint8_t *cursor = run_writer<Record>(at).template write<true, is_exact>(at, record);
  uint8_t *word = cursor - shape_of::tail;
  for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
    if constexpr (Field::of == kind::table) {
      using embedded = typename Field::value_type;
      store(word, static_cast<uint32_t>(cursor + table<embedded>::vtable_size - word));
      cursor = write_table<embedded, Behind + tables_after<Record>(Field::slot)>(
          cursor, Field::value(record));
    }
    if constexpr (!Field::is_scalar)
      word += uoffset_size;
  });
  return cursor;
}

// Writes one table, its vtable first, and the tables behind it, of which at least Behind bytes of
// the message will follow; returns their end.
template <class Record, uint32_t Behind>
[[gnu::always_inline]] inline uint8_t *write_table(uint8_t *at, const Record &record) {
  if constexpr (goes_by_groups<Record>())
    return write_grouped<Record, Behind>(at, record);
  else
    return table_writer<Record, Behind>(at).write(record);
}

// Writes a message; returns the bytes written: as many as its size says, or less where byte vectors
// are empty but not null.
template <class Record>
[[gnu::always_inline]] inline uint32_t write_message(uint8_t *buffer, const Record &record) {
  store(buffer, root_offset_size + table<Record>::vtable_size);
  const uint8_t *const end = write_table<Record, 0>(buffer + root_offset_size, record);
  return static_cast<uint32_t>(end - buffer);
}

} // namespace mesh_fib6::wire
