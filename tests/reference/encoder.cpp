// The second encoder; see encoder.h.
//
// Room: reference.
#include "tests/reference/encoder.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace reference {
namespace {

using mesh_fib6::tools::kind;

constexpr uint32_t max_slots = 32;

uint32_t slots_of(const table_descriptor &table) {
  return static_cast<uint32_t>(table.fields.size());
}

// How many items of the member are written.
uint32_t count_of(const field_descriptor &field, const void *record) {
  if (!field.is_vector())
    return field.length;
  return field.pointer(record) == nullptr ? 0 : field.count(record);
}

bool is_present(const field_descriptor &field, const void *record) {
  if (field.kind == kind::scalar)
    return field.number(record) != 0;
  return !field.is_vector() || count_of(field, record) != 0;
}

} // namespace

encoder::encoded encoder::compact(const table_descriptor &root, const void *record,
                                  uint32_t byte_swap) {
  byte_swap_ = byte_swap;
  end_ = 4;
  pointers_to_nothing_ = 0;
  put(0, compact_table(root, record), 4);
  return {bytes_, end_, end_ + 8 * pointers_to_nothing_};
}

encoder::encoded encoder::fixed(const table_descriptor &root, const void *record,
                                uint32_t byte_swap) {
  byte_swap_ = byte_swap;
  end_ = 0;
  append(4, 4);
  fixed_table(root, record);
  while (end_ % 8 != 0)
    append(0, 1);
  return {bytes_, end_, end_};
}

void encoder::put(uint32_t at, uint32_t value, uint32_t width) {
  for (uint32_t i = 0; i < width; i++)
    bytes_[at + i] = static_cast<uint8_t>(value >> (8 * (byte_swap_ != 0 ? width - 1 - i : i)));
}

// Returns where the value is.
uint32_t encoder::append(uint32_t value, uint32_t width) {
  const uint32_t at = end_;
  if (max_encoded - at < width) {
    (void)fprintf(stderr, "reference::encoder: a record that encodes to more than %u bytes\n",
                  max_encoded);
    abort();
  }
  end_ += width;
  put(at, value, width);
  return at;
}

// The items of an array of scalars. Words are reversed by a flag of exactly 1 only.
void encoder::append_contents(const field_descriptor &field, const void *record, uint32_t count) {
  for (uint32_t i = 0; i < count; i++) {
    const uint32_t value = field.number(record, i);
    const bool stays = byte_swap_ > 1 && field.width == 4;
    append(stays ? __builtin_bswap32(value) : value, field.width);
  }
}

// Returns where the table is; its vtable is right before it.
uint32_t encoder::compact_table(const table_descriptor &table, const void *record) {
  const uint32_t vtable_size = 4 + 2 * slots_of(table);
  const uint32_t vtable = end_;
  for (uint32_t i = 0; i < vtable_size; i++)
    append(0, 1);
  const uint32_t start = append(vtable_size, 4);
  put(vtable, vtable_size, 2);
  const auto set_slot = [&](uint32_t slot) { put(vtable + 4 + 2 * slot, end_ - start, 2); };

  for (const field_descriptor &field : table.fields)
    if (field.kind == kind::scalar && is_present(field, record)) {
      set_slot(field.slot);
      append(field.number(record), field.width);
    }

  uint32_t words[max_slots]{}; // of the fields: where their offset words are
  for (const field_descriptor &field : table.fields) {
    if (field.kind == kind::byte_vector && field.pointer(record) != nullptr &&
        field.count(record) == 0)
      pointers_to_nothing_++;
    if (field.kind != kind::scalar && is_present(field, record)) {
      set_slot(field.slot);
      words[field.slot] = append(0, 4);
    }
  }

  for (const field_descriptor &field : table.fields) {
    uint32_t &word = words[field.slot];
    if (word == 0 || field.kind == kind::table)
      continue;
    const uint32_t count = count_of(field, record);
    put(word, append(count, 4) - word, 4);
    if (field.table == nullptr) {
      append_contents(field, record, count);
      continue;
    }
    word = end_; // from here on, of the elements
    for (uint32_t i = 0; i < count; i++)
      append(0, 4);
  }
  put(vtable + 2, (end_ - start) & 0xFFFF, 2);
  compact_behind(table, record, words);
  return start;
}

// Sub-tables and elements, and the words that lead to them.
void encoder::compact_behind(const table_descriptor &table, const void *record,
                             const uint32_t *words) {
  for (const field_descriptor &field : table.fields) {
    if (field.table == nullptr)
      continue;
    const uint32_t count = count_of(field, record);
    for (uint32_t i = 0; i < count; i++) {
      const uint32_t word = words[field.slot] + 4 * i;
      put(word, compact_table(*field.table, field.element(record, i)) - word, 4);
    }
  }
}

void encoder::fixed_table(const table_descriptor &table, const void *record) {
  const uint32_t start = append(0, 4);
  uint32_t positions[max_slots];
  for (const field_descriptor &field : table.fields) {
    positions[field.slot] = end_ - start;
    if (field.kind == kind::scalar) {
      append(field.number(record), field.width);
      continue;
    }
    const uint32_t word = append(4, 4);
    if (field.kind == kind::table) {
      fixed_table(*field.table, field.member(record));
      while ((end_ - word) % 8 != 0)
        append(0, 1);
    } else {
      append(field.length, 4);
      append_contents(field, record, field.length);
    }
  }
  const uint32_t table_size = end_ - start;
  while ((end_ - start) % 4 != 0)
    append(0, 1);
  put(start, start - end_, 4); // negative: the vtable is behind the table
  append(4 + 2 * slots_of(table), 2);
  append(table_size, 2);
  for (const field_descriptor &field : table.fields)
    append(positions[field.slot], 2);
}

} // namespace reference
