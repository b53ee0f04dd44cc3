// Finding one's way in an encoded message: where a table's vtable, a slot's field and what an
// offset refers to lie, so that a test can spoil exactly one word.
//
// Room: reference. Knows tables, vtables and offsets; knows no message and nothing of the library.
// Images are sound when they get here.
#pragma once

#include "tests/reference/wire_builder.h"

#include <cstdint>

namespace image {

// What the offset word at a position refers to.
inline uint32_t target_of(const wire_builder &wire, uint32_t word) {
  return word + wire.u32_at(word);
}

inline uint32_t root_of(const wire_builder &wire) {
  return target_of(wire, 0);
}

inline uint32_t vtable_of(const wire_builder &wire, uint32_t table) {
  return table - wire.u32_at(table);
}

inline uint32_t vtable_length(const wire_builder &wire, uint32_t table) {
  return wire.u16_at(vtable_of(wire, table));
}

inline uint32_t slots_of(const wire_builder &wire, uint32_t table) {
  return (vtable_length(wire, table) - 4) / 2;
}

// Where a slot's entry lies in the vtable of a table.
inline uint32_t entry_of(const wire_builder &wire, uint32_t table, uint32_t slot) {
  return vtable_of(wire, table) + 4 + 2 * slot;
}

// The entry itself: 0 when the field is absent.
inline uint32_t entry_at(const wire_builder &wire, uint32_t table, uint32_t slot) {
  return wire.u16_at(entry_of(wire, table, slot));
}

// Where a field lies that is present.
inline uint32_t field_of(const wire_builder &wire, uint32_t table, uint32_t slot) {
  return table + entry_at(wire, table, slot);
}

// Where the offset word of a vector's element lies, once the vector has been found.
inline uint32_t element_word(uint32_t vector, uint32_t element) {
  return vector + 4 + 4 * element;
}

} // namespace image
