// Writes a record in the compact arrangement, in one forward pass.
//
// Room: wire. Whoever calls knows that there is room, so the writer never checks the capacity.
//
// Each table is preceded by its own vtable. Inside a table: the scalars that are not zero, then the
// offset words of vectors and sub-tables, then the vectors' bodies, all in slot order, unaligned.
// Behind it: its sub-tables and element tables.
#pragma once

#include "platform/memory.h"
#include "wire/byte_order.h"
#include "wire/layout.h"
#include "wire/names.h"
#include "wire/sizer.h"
#include "wire/table_writer.h"

namespace mesh_fib6::wire {

// The table being written: where it and its vtable begin.
struct table_place {
  uint8_t *vtable;
  uint8_t *start;
};

// The steps that tables are written in, at a cursor that only advances.
template <class Order>
class compact_steps {
public:
  compact_steps(Order order, uint8_t *at) : order_(order), cursor_(at) {}

  uint8_t *cursor() const { return cursor_; }
  void move_to(uint8_t *cursor) { cursor_ = cursor; }

  void put_offset(uint8_t *word, const uint8_t *target) {
    order_.store(word, static_cast<uint32_t>(target - word));
  }

  [[gnu::always_inline]] table_place begin_table(uint32_t slots) {
    const size_t slot_bytes = size_t{2} * slots;
    const table_place place{cursor_, cursor_ + 4 + slot_bytes};
    clear_memory(place.vtable + 4, slot_bytes);
    cursor_ = place.start + soffset_size;
    return place;
  }

  [[gnu::always_inline]] void end_table(table_place place) {
    const auto vtable_size = static_cast<uint32_t>(place.start - place.vtable);
    order_.store(place.vtable, static_cast<uint16_t>(vtable_size));
    order_.store(place.vtable + 2, static_cast<uint16_t>(cursor_ - place.start));
    order_.store(place.start, vtable_size); // the vtable lies right before the table
  }

  template <class Value>
  [[gnu::always_inline]] void put_scalar(table_place place, uint32_t slot, Value value) {
    if (value == 0)
      return;
    set_slot(place, slot);
    append(value);
  }

  // Makes room for the offset word of a slot and returns it.
  [[gnu::always_inline]] uint8_t *reserve_offset(table_place place, uint32_t slot) {
    set_slot(place, slot);
    uint8_t *const word = cursor_;
    cursor_ += uoffset_size;
    return word;
  }

  template <class Value>
  [[gnu::always_inline]] void put_array(uint8_t *offset_word, const Value *values,
                                        uint32_t length) {
    put_length(offset_word, length);
    if constexpr (sizeof(Value) == 4)
      order_.store_words(cursor_, values, length);
    else
      memcpy(cursor_, values, length);
    cursor_ += sizeof(Value) * length;
  }

  void put_bytes(uint8_t *offset_word, const uint8_t *bytes, uint32_t length) {
    put_length(offset_word, length);
    copy_memory(cursor_, bytes, length);
    cursor_ += length;
  }

  // A vector of tables: its count and room for its offset words, of which the first is returned.
  uint8_t *put_table_count(uint8_t *offset_word, uint32_t count) {
    put_length(offset_word, count);
    uint8_t *const words = cursor_;
    cursor_ += size_t{uoffset_size} * count;
    return words;
  }

private:
  template <class Value>
  void append(Value value) {
    order_.store(cursor_, value);
    cursor_ += sizeof value;
  }

  void set_slot(table_place place, uint32_t slot) {
    order_.store(place.vtable + 4 + size_t{2} * slot, static_cast<uint16_t>(cursor_ - place.start));
  }

  void put_length(uint8_t *offset_word, uint32_t length) {
    put_offset(offset_word, cursor_);
    append(length);
  }

  Order order_;
  uint8_t *cursor_;
};

// The same steps as calls that all messages share: for the rare order, where size counts and speed
// does not.
template <class Order>
class shared_compact_steps : public compact_steps<Order> {
  using steps = compact_steps<Order>;

public:
  using steps::steps;

  [[gnu::noinline]] table_place begin_table(uint32_t slots) { return steps::begin_table(slots); }
  [[gnu::noinline]] void end_table(table_place place) { steps::end_table(place); }
  template <class Value>
  [[gnu::noinline]] void put_scalar(table_place place, uint32_t slot, Value value) {
    steps::put_scalar(place, slot, value);
  }
  [[gnu::noinline]] uint8_t *reserve_offset(table_place place, uint32_t slot) {
    return steps::reserve_offset(place, slot);
  }
  template <class Value>
  [[gnu::noinline]] void put_array(uint8_t *offset_word, const Value *values, uint32_t length) {
    steps::put_array(offset_word, values, length);
  }
};

template <class Order>
class compact_writer {
public:
  compact_writer(Order order, uint8_t *buffer)
      : buffer_(buffer), steps_(order, buffer + root_offset_size) {}

  template <class Record>
  [[gnu::always_inline]] uint32_t write_message(const Record &record) {
    return end_message(write_inline<0>(record));
  }

  // Points the message at its root table; returns the bytes written.
  uint32_t end_message(const uint8_t *root) {
    steps_.put_offset(buffer_, root);
    return static_cast<uint32_t>(steps_.cursor() - buffer_);
  }

  // The table of the Record at `record` and what lies behind it, as a call: for the rare order.
  // Returns the table's start.
  template <class Record>
  [[gnu::cold, gnu::noinline]] static const uint8_t *write_rarely(compact_writer &writer,
                                                                  const void *record) {
    return writer.write_by_steps(*static_cast<const Record *>(record));
  }

private:
  // What is filled in later: the offset words of a record's slots, and of a vector of tables the
  // first word of its elements. Null when the slot is absent.
  template <class Record>
  struct pending {
    uint8_t *word[table<Record>::slots];
  };

  // Vtable and table of one record, then the tables behind it. Returns the table's start.
  template <class Record>
  [[gnu::always_inline]] const uint8_t *write_by_steps(const Record &record) {
    pending<Record> later;
    const table_place place = steps_.begin_table(table<Record>::slots);
    for_each_field<Record>([&](auto field) { write_scalar(field, record, place); });
    for_each_field<Record>([&](auto field) { reserve_offset(field, record, place, later); });
    for_each_field<Record>([&](auto field) { write_body(field, record, later); });
    steps_.end_table(place);
    for_each_field<Record>([&](auto field) { write_tables_behind(field, record, later); });
    return place.start;
  }

  // The same, where possible by groups and without a call. At least Behind bytes of the message
  // will follow.
  template <uint32_t Behind, class Record>
  [[gnu::always_inline]] const uint8_t *write_inline(const Record &record) {
#ifdef MESH_FIB6_LANES
    if constexpr (Order::is_common && is_written_by_groups<Record, Behind>())
      return write_by_groups<Behind>(record);
#endif
    if constexpr (Order::is_common)
      return write_by_steps(record);
    else
      return write_rarely<Record>(*this, &record);
  }

#ifdef MESH_FIB6_LANES
  template <uint32_t Behind, class Record>
  [[gnu::always_inline]] const uint8_t *write_by_groups(const Record &record) {
    const uint8_t *const start = steps_.cursor() + table<Record>::vtable_size;
    uint8_t *const end = write_single(steps_.cursor(), record);
    steps_.move_to(end);
    uint8_t *word = end - compact_table<Record>::tail;
    for_each_field<Record>([&]<class Field>(Field) __attribute__((always_inline)) {
      if constexpr (Field::of == kind::table)
        steps_.put_offset(
            word, write_inline<Behind + tables_after<Record>(Field::slot)>(Field::value(record)));
      if constexpr (!Field::is_scalar)
        word += uoffset_size;
    });
    return start;
  }
#endif

  template <class Field, class Record>
  void write_scalar(Field, const Record &record, table_place place) {
    if constexpr (Field::is_scalar)
      steps_.put_scalar(place, Field::slot, Field::value(record));
  }

  template <class Field, class Record>
  static bool is_present(const Record &record) {
    if constexpr (Field::is_vector)
      return Field::count(record) != 0 && Field::pointer(record) != nullptr;
    return true;
  }

  template <class Field, class Record>
  void reserve_offset(Field, const Record &record, table_place place, pending<Record> &later) {
    if constexpr (!Field::is_scalar)
      later.word[Field::slot] =
          is_present<Field>(record) ? steps_.reserve_offset(place, Field::slot) : nullptr;
  }

  template <class Field, class Record>
  void write_body(Field, const Record &record, pending<Record> &later) {
    uint8_t *&word = later.word[Field::slot];
    if constexpr (Field::is_fixed_array) {
      steps_.put_array(word, &Field::value(record), Field::length);
    } else if constexpr (Field::of == kind::byte_vector) {
      if (word != nullptr)
        steps_.put_bytes(word, Field::pointer(record), Field::count(record));
    } else if constexpr (Field::of == kind::table_vector) {
      if (word != nullptr)
        word = steps_.put_table_count(word, Field::count(record));
    }
  }

  template <class Field, class Record>
  void write_tables_behind(Field, const Record &record, const pending<Record> &later) {
    if constexpr (Field::of == kind::table) {
      steps_.put_offset(later.word[Field::slot], write_inline<0>(Field::value(record)));
    } else if constexpr (Field::of == kind::table_vector) {
      uint8_t *word = later.word[Field::slot];
      if (word == nullptr)
        return;
      const auto *const elements = Field::pointer(record);
      const uint32_t count = Field::count(record);
#ifdef MESH_FIB6_LANES
      if constexpr (Order::is_common) {
        if constexpr (is_written_by_groups<std::remove_cvref_t<decltype(*elements)>, 0>())
          if (count == 1)
            return steps_.move_to(write_element(steps_.cursor(), word, *elements));
        return steps_.move_to(write_elements(steps_.cursor(), word, elements, count));
      }
#endif
      for (uint32_t i = 0; i < count; i++, word += uoffset_size)
        steps_.put_offset(word, write_inline<0>(elements[i]));
    }
  }

  uint8_t *buffer_;
  std::conditional_t<Order::is_common, compact_steps<Order>, shared_compact_steps<Order>> steps_;
};

void report_unwritable(runtime::unit &unit, const uint8_t *buffer, uint32_t capacity,
                       const void *record, const char *function);

// Whether there is something to write and somewhere to write it to; logs under `function` if not.
inline bool writable(runtime::unit &unit, const uint8_t *buffer, uint32_t capacity,
                     const void *record, const char *function) {
  if (__builtin_expect(buffer != nullptr && capacity >= root_offset_size && record != nullptr,
                       true))
    return true;
  report_unwritable(unit, buffer, capacity, record, function);
  return false;
}

// The write pass in the rare order, for all messages: `write_root` writes the root table of the
// record at `record`.
using reversed_writer = compact_writer<reversed_order>;
uint32_t write_reversed(uint32_t flag, uint8_t *buffer, const void *record,
                        const uint8_t *(*write_root)(reversed_writer &, const void *));

template <class Record>
[[gnu::noinline]] uint32_t write_native(uint8_t *buffer, const Record &record) {
  return compact_writer(native_order{}, buffer).write_message(record);
}

// The write pass of a message for which there is room; returns the bytes written. `record` points
// to a Record.
template <class Record>
uint32_t write_record(runtime::unit &unit, uint8_t *buffer, const void *record) {
  runtime::bind_cache(unit);
  const uint32_t flag = byte_swap_of(unit);
  if (__builtin_expect(flag != 0, false))
    return write_reversed(flag, buffer, record, reversed_writer::write_rarely<Record>);
  return write_native(buffer, *static_cast<const Record *>(record));
}

// Encodes a record that has to be measured; for all messages. `size` gives 0 for what cannot be
// encoded, `function` names the export.
uint32_t pack_measured(runtime::unit &unit, const void *record, uint8_t *buffer, uint32_t *length,
                       uint32_t (*size)(const void *),
                       uint32_t (*write)(runtime::unit &, uint8_t *, const void *),
                       const char *function);

// Encodes *record into a caller's buffer; see M__pack in modules/message_api.h for the contract.
template <class Record>
uint32_t pack(runtime::unit &unit, const Record *record, uint8_t *buffer, uint32_t *length) {
  // A byte vector's size may be more than what is written, so it is always measured.
  if constexpr (!has_byte_vector<Record>()) {
    // What fits whatever its scalars are need not be measured.
    if (__builtin_expect(
            record != nullptr && buffer != nullptr && compact_bound(*record) <= *length, true)) {
      *length = write_record<Record>(unit, buffer, record);
      return 0;
    }
  }
  return pack_measured(unit, record, buffer, length, compact_size<Record>, write_record<Record>,
                       names<Record>::pack.text);
}

} // namespace mesh_fib6::wire
