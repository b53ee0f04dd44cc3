// Writes a record in the compact arrangement, in one forward pass.
//
// Room: wire. The sizer has measured the record, so the writer never checks the capacity again.
//
// Each table is preceded by its own vtable. Inside a table: the scalars that are not zero, then the
// offset words of vectors and sub-tables, then the vectors' bodies, all in slot order, unaligned.
// Behind it: its sub-tables and element tables.
#pragma once

#include "wire/byte_order.h"
#include "wire/layout.h"
#include "wire/names.h"
#include "wire/platform_memory.h"
#include "wire/sizer.h"

namespace mesh_fib6::wire {

template <class Order>
class compact_writer {
public:
  compact_writer(Order order, uint8_t *buffer) : order_(order), buffer_(buffer) {}

  template <class Record>
  uint32_t write_message(const Record &record) {
    cursor_ = buffer_ + root_offset_size;
    const uint8_t *const root = write_table(record);
    store_offset(buffer_, root);
    return static_cast<uint32_t>(cursor_ - buffer_);
  }

private:
  // The table being written: where it and its vtable begin.
  struct table_place {
    uint8_t *vtable;
    uint8_t *start;
  };

  // The same, with what is filled in later: the offset words of a record's slots; null when the
  // slot is absent.
  template <class Record>
  struct table_state : table_place {
    uint8_t *offset_word[table<Record>::slots];
  };

  template <class Value>
  void store(uint8_t *at, Value value) {
    order_.store(at, value);
  }

  void store_offset(uint8_t *word, const uint8_t *target) {
    store(word, static_cast<uint32_t>(target - word));
  }

  template <class Value>
  void append(Value value) {
    store(cursor_, value);
    cursor_ += sizeof value;
  }

  void set_slot(const table_place &place, uint32_t slot) {
    store(place.vtable + 4 + 2 * slot, static_cast<uint16_t>(cursor_ - place.start));
  }

  template <class Value>
  [[gnu::always_inline]] void put_scalar(const table_place &place, uint32_t slot, Value value) {
    if (value == 0)
      return;
    set_slot(place, slot);
    append(value);
  }

  template <class Value>
  [[gnu::always_inline]] void put_array(uint8_t *offset_word, const Value *values,
                                        uint32_t length) {
    store_offset(offset_word, cursor_);
    append(length);
    if constexpr (sizeof(Value) == 4)
      order_.store_words(cursor_, values, length);
    else
      memcpy(cursor_, values, length);
    cursor_ += sizeof(Value) * length;
  }

  // The same two steps as calls that all messages share: in the rare order size counts, not speed.
  template <class Value>
  [[gnu::noinline]] void put_scalar_shared(const table_place &place, uint32_t slot, Value value) {
    put_scalar(place, slot, value);
  }
  template <class Value>
  [[gnu::noinline]] void put_array_shared(uint8_t *offset_word, const Value *values,
                                          uint32_t length) {
    put_array(offset_word, values, length);
  }

  // Vtable and table of one record, then the tables behind it. Returns the table's start.
  template <class Record>
  const uint8_t *write_table(const Record &record) {
    constexpr uint32_t vtable_size = table<Record>::vtable_size;
    table_state<Record> state;
    state.vtable = cursor_;
    state.start = cursor_ + vtable_size;
    clear_memory(state.vtable + 4, 2 * table<Record>::slots);
    cursor_ = state.start + soffset_size;

    for_each_field<Record>([&](auto field) { write_scalar(field, record, state); });
    for_each_field<Record>([&](auto field) { reserve_offset(field, record, state); });
    for_each_field<Record>([&](auto field) { write_body(field, record, state); });

    store(state.vtable, static_cast<uint16_t>(vtable_size));
    store(state.vtable + 2, static_cast<uint16_t>(cursor_ - state.start));
    store(state.start, vtable_size); // the vtable lies right before the table

    for_each_field<Record>([&](auto field) { write_tables_behind(field, record, state); });
    return state.start;
  }

  template <class Field, class Record>
  void write_scalar(Field, const Record &record, const table_state<Record> &state) {
    if constexpr (Field::is_scalar) {
      if constexpr (Order::is_common)
        put_scalar(state, Field::slot, Field::value(record));
      else
        put_scalar_shared(state, Field::slot, Field::value(record));
    }
  }

  template <class Field, class Record>
  static bool is_present(const Record &record) {
    if constexpr (Field::is_vector)
      return Field::count(record) != 0 && Field::pointer(record) != nullptr;
    return true;
  }

  template <class Field, class Record>
  void reserve_offset(Field, const Record &record, table_state<Record> &state) {
    if constexpr (!Field::is_scalar) {
      state.offset_word[Field::slot] = nullptr;
      if (!is_present<Field>(record))
        return;
      set_slot(state, Field::slot);
      state.offset_word[Field::slot] = cursor_;
      cursor_ += uoffset_size;
    }
  }

  template <class Field, class Record>
  void write_body(Field, const Record &record, const table_state<Record> &state) {
    if constexpr (!Field::is_scalar && Field::of != kind::table) {
      uint8_t *const word = state.offset_word[Field::slot];
      if (word == nullptr)
        return;
      if constexpr (Field::is_fixed_array) {
        if constexpr (Order::is_common)
          put_array(word, &Field::value(record), Field::length);
        else
          put_array_shared(word, &Field::value(record), Field::length);
      } else {
        store_offset(word, cursor_);
        const uint32_t count = Field::count(record);
        append(count);
        if constexpr (Field::of == kind::byte_vector) {
          copy_memory(cursor_, Field::pointer(record), count);
          cursor_ += count;
        } else {
          cursor_ += size_t{uoffset_size} * count; // filled in when the elements are written
        }
      }
    }
  }

  template <class Field, class Record>
  void write_tables_behind(Field, const Record &record, const table_state<Record> &state) {
    if constexpr (Field::of == kind::table) {
      uint8_t *const word = state.offset_word[Field::slot];
      store_offset(word, write_table(Field::value(record)));
    } else if constexpr (Field::of == kind::table_vector) {
      if (state.offset_word[Field::slot] == nullptr)
        return;
      uint8_t *word = state.offset_word[Field::slot];
      word += order_.template load<uint32_t>(word) + vector_length_size;
      const auto *const elements = Field::pointer(record);
      const uint32_t count = Field::count(record);
      for (uint32_t i = 0; i < count; i++, word += uoffset_size)
        store_offset(word, write_table(elements[i]));
    }
  }

  Order order_;
  uint8_t *buffer_;
  uint8_t *cursor_ = nullptr;
};

// Whether there is something to write and somewhere to write it to; logs under `function` if not.
bool writable(runtime::unit &unit, const uint8_t *buffer, uint32_t capacity, const void *record,
              const char *function);

// The write pass of a message: returns the bytes written, or 0 after a log line. `record` points to
// a Record.
template <class Record>
uint32_t write_compact(runtime::unit &unit, uint8_t *buffer, uint32_t capacity,
                       const void *record) {
  if (!writable(unit, buffer, capacity, record, names<Record>::pack.text))
    return 0;
  runtime::bind_cache(unit);
  return in_unit_order(unit, [&](auto order) {
    return compact_writer(order, buffer).write_message(*static_cast<const Record *>(record));
  });
}

// Encodes *record into a caller's buffer; see M__pack in modules/message_api.h for the contract.
template <class Record>
uint32_t pack(runtime::unit &unit, const Record *record, uint8_t *buffer, uint32_t *length) {
  constexpr uint32_t failed = 0xFFFFFFFF;
  const uint32_t size = compact_size<Record>(record);
  if (size == 0 || size > *length)
    return failed;
  // The writer's result is not looked at: with a null buffer it logs and writes nothing, and the
  // caller has asked for the size.
  write_compact<Record>(unit, buffer, *length, record);
  *length = size;
  return 0;
}

} // namespace mesh_fib6::wire
