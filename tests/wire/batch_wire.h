// Sound messages of one scalar and one vector of tables, with every position known, for tests to
// spoil one word of.
//
// Room: tests.
#pragma once

#include "tests/reference/wire_builder.h"

#include <vector>

// Where the words of such a message lie.
namespace batch_at {
inline constexpr uint32_t root = 0;
inline constexpr uint32_t vtable = 4;
inline constexpr uint32_t table = 12;
inline constexpr uint32_t f0 = 16;
inline constexpr uint32_t reference = 20; // slot 1: the offset word of the vector
inline constexpr uint32_t count = 24;
inline constexpr uint32_t first = 28; // offset word of the first element
} // namespace batch_at

inline constexpr uint32_t batch_f0 = 0xF0F1F2F3;

// Everything up to the element tables; the offset words of the `count` elements are zero.
inline wire_builder batch_wire(uint32_t count,
                               wire_builder::order order = wire_builder::order::little) {
  wire_builder wire(order);
  wire.u32(batch_at::table);
  wire.vtable({4, 8});
  wire.table(batch_at::vtable);
  wire.u32(batch_f0);
  wire.u32(batch_at::count - batch_at::reference);
  wire.u32(count);
  for (uint32_t i = 0; i < count; ++i)
    wire.u32(0);
  return wire;
}

// Where element k's table lies, once its vtable of `slots` entries has been written and the offset
// word refers to it. The caller appends the table's fields.
inline uint32_t begin_element(wire_builder &wire, uint32_t k,
                              std::initializer_list<uint16_t> slots) {
  const uint32_t vtable = wire.vtable(slots);
  const uint32_t table = wire.table(vtable);
  wire.refer(batch_at::first + 4 * k, table);
  return table;
}

// One element whose only field, in the last slot of `slots`, lies right behind the table word.
inline wire_builder one_element(std::initializer_list<uint16_t> slots) {
  wire_builder wire = batch_wire(1);
  begin_element(wire, 0, slots);
  return wire;
}
