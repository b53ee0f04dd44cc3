// Writes a record in either arrangement, in any byte order.
//
// Room: wire/general.
//
// Compact: each table is preceded by its own vtable. Inside a table: the scalars that are not zero,
// then the offset words of vectors and embedded tables, then the vectors' bodies, all in slot
// order, unaligned. Behind it: its embedded tables and element tables.
//
// Fixed: every field is there, each at a position of its own; what a table refers to lies in it,
// right behind the offset word; its vtable lies behind it.
#include "wire/general/writer.h"

#include "platform/memory.h"
#include "wire/general/sizer.h"

namespace mesh_fib6::wire::general {
namespace {

// Writes at a cursor that only advances.
class writer {
public:
  writer(byte_order order, uint8_t *at) : order_(order), cursor_(at) {}

  uint8_t *cursor() const { return cursor_; }

  void put_offset(uint8_t *word, const uint8_t *target) {
    order_.put_word(word, static_cast<uint32_t>(target - word));
  }

  // Vtable and table of one record, then the tables behind it. Returns the table's start.
  uint8_t *write_compact_table(const table_info &info, const void *record) {
    const uint32_t vtable_size = vtable_size_of(info.slots());
    uint8_t *const vtable = cursor_;
    uint8_t *const table = vtable + vtable_size;
    clear_memory(entry_of(vtable, 0), vtable_size - 4);
    cursor_ = table + soffset_size;
    for (uint32_t slot = 0; slot < info.slots(); slot++)
      if (info.field(slot).of == kind::scalar && is_present(info.field(slot), record)) {
        enter(vtable, slot, table);
        put_value(info.field(slot), record);
      }
    for (uint32_t slot = 0; slot < info.slots(); slot++)
      if (info.field(slot).of != kind::scalar && is_present(info.field(slot), record)) {
        enter(vtable, slot, table);
        cursor_ += uoffset_size;
      }
    for (uint32_t slot = 0; slot < info.slots(); slot++)
      if (uint8_t *const word = word_of(vtable, slot, table, info.field(slot)))
        put_body(info.field(slot), record, word);
    end_table(info, table, vtable);
    for (uint32_t slot = 0; slot < info.slots(); slot++)
      if (uint8_t *const word = word_of(vtable, slot, table, info.field(slot)))
        put_tables_behind(info.field(slot), record, word);
    return table;
  }

  void write_fixed_table(const table_info &info, const void *record) {
    uint8_t *const table = cursor_;
    uint8_t *const vtable = table + fixed_vtable_at(info);
    cursor_ = table + soffset_size;
    for (uint32_t slot = 0; slot < info.slots(); slot++) {
      const field_info &field = info.field(slot);
      enter(vtable, slot, table);
      if (field.of == kind::scalar) {
        put_value(field, record);
        continue;
      }
      uint8_t *const word = cursor_;
      cursor_ += uoffset_size;
      if (field.of == kind::table) {
        put_offset(word, cursor_);
        write_fixed_table(field.table(), member(field, record));
        cursor_ = word + fixed_region_of(fixed_end(field.table()));
      } else {
        put_body(field, record, word);
      }
    }
    end_table(info, table, vtable);
  }

private:
  static uint8_t *entry_of(uint8_t *vtable, uint32_t slot) { return vtable + vtable_size_of(slot); }

  static bool is_present(const field_info &field, const void *record) {
    switch (field.of) {
    case kind::scalar: {
      uint32_t any = 0;
      for (uint32_t i = 0; i < field.width; i++)
        any |= member(field, record)[i];
      return any != 0;
    }
    case kind::byte_vector:
    case kind::table_vector:
      return count_of(field, record) != 0 && pointer_of(field, record) != nullptr;
    default:
      return true;
    }
  }

  // The slot's field is to be written at the cursor.
  void enter(uint8_t *vtable, uint32_t slot, const uint8_t *table) {
    order_.put_half(entry_of(vtable, slot), static_cast<uint16_t>(cursor_ - table));
  }

  // The offset word of a slot; null when the slot has none.
  uint8_t *word_of(uint8_t *vtable, uint32_t slot, uint8_t *table, const field_info &field) const {
    const uint16_t entry = order_.half(entry_of(vtable, slot));
    return field.of != kind::scalar && entry != 0 ? table + entry : nullptr;
  }

  // A table whose inline data ends at the cursor. The distance to its vtable is negative in the
  // fixed arrangement.
  void end_table(const table_info &info, uint8_t *table, uint8_t *vtable) {
    order_.put_word(table, static_cast<uint32_t>(table - vtable));
    order_.put_half(vtable, static_cast<uint16_t>(vtable_size_of(info.slots())));
    order_.put_half(vtable + 2, static_cast<uint16_t>(cursor_ - table));
  }

  void put_value(const field_info &field, const void *record) {
    const uint8_t *const value = member(field, record);
    if (field.width == 1)
      *cursor_ = *value;
    else if (field.width == 2)
      order_.put_half(cursor_, load<uint16_t>(value));
    else
      order_.put_word(cursor_, load<uint32_t>(value));
    cursor_ += field.width;
  }

  void put_length(uint8_t *word, uint32_t length) {
    put_offset(word, cursor_);
    order_.put_word(cursor_, length);
    cursor_ += vector_length_size;
  }

  // What a vector's offset word refers to, as far as it belongs to the table.
  void put_body(const field_info &field, const void *record, uint8_t *word) {
    if (field.of == kind::words) {
      put_length(word, field.number);
      memcpy(cursor_, member(field, record), size_t{4} * field.number);
      order_.reverse_words(cursor_, field.number);
      cursor_ += size_t{4} * field.number;
    } else if (field.of == kind::bytes) {
      put_length(word, field.number);
      memcpy(cursor_, member(field, record), field.number);
      cursor_ += field.number;
    } else if (field.of == kind::byte_vector) {
      const uint32_t count = count_of(field, record);
      put_length(word, count);
      copy_memory(cursor_, pointer_of(field, record), count);
      cursor_ += count;
    } else if (field.of == kind::table_vector) {
      const uint32_t count = count_of(field, record);
      put_length(word, count);
      cursor_ += size_t{uoffset_size} * count;
    }
  }

  void put_tables_behind(const field_info &field, const void *record, uint8_t *word) {
    if (field.of == kind::table) {
      put_offset(word, write_compact_table(field.table(), member(field, record)));
    } else if (field.of == kind::table_vector) {
      const uint32_t count = count_of(field, record);
      const uint8_t *element = pointer_of(field, record);
      uint8_t *at = word + order_.word(word) + vector_length_size;
      for (uint32_t i = 0; i < count;
           i++, at += uoffset_size, element += field.table().record_size())
        put_offset(at, write_compact_table(field.table(), element));
    }
  }

  byte_order order_;
  uint8_t *cursor_;
};

} // namespace

uint32_t write_compact(byte_order order, uint8_t *buffer, const table_info &root,
                       const void *record) {
  writer writer(order, buffer + root_offset_size);
  writer.put_offset(buffer, writer.write_compact_table(root, record));
  return static_cast<uint32_t>(writer.cursor() - buffer);
}

void write_fixed(byte_order order, uint8_t *slot, uint32_t size, const table_info &root,
                 const void *record) {
  memset(slot, 0, size);
  writer writer(order, slot + root_offset_size);
  writer.put_offset(slot, writer.cursor());
  writer.write_fixed_table(root, record);
}

} // namespace mesh_fib6::wire::general
