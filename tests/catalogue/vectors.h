// Every vector of tables of every message: elements of chosen values, and messages of them in any
// arrangement that a peer may choose.
//
// Room: tests. Walks the schema's descriptors; lays bytes out by itself and never asks the library
// for one.
#pragma once

#include "tests/catalogue/every_message.h"
#include "tests/catalogue/records.h"
#include "tests/reference/wire_builder.h"
#include "tests/wire/log_expectation.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace catalogue {

using mesh_fib6::tools::kind;

struct vector_of_tables {
  const catalogue::message &message;
  const table_descriptor &root;
  const field_descriptor &field; // of the root
  const table_descriptor &element;
};

inline std::vector<const field_descriptor *> scalars_of(const table_descriptor &table) {
  std::vector<const field_descriptor *> found;
  for (const field_descriptor &field : table.fields)
    if (field.kind == kind::scalar)
      found.push_back(&field);
  return found;
}

// Bytes that are never zero and differ from field to field and from element to element.
inline void fill_element(const table_descriptor &table, void *element, uint32_t index) {
  const auto byte = [index](uint32_t slot, uint32_t position) {
    return 1 + (index * 37 + slot * 16 + position * 5) % 255;
  };
  for (const field_descriptor &field : table.fields)
    for (uint32_t i = 0; i < field.length; i++) {
      uint32_t value = 0;
      for (uint32_t b = 0; b < field.width; b++)
        value |= byte(field.slot, i * field.width + b) << (8 * b);
      field.set_number(element, value, i);
    }
}

// A record that is empty but for a vector of `count` filled elements.
inline owned_record record_of(const vector_of_tables &vector, uint32_t count) {
  owned_record record(vector.root);
  vector.field.set_vector(record.get(), record.add_block(size_t{count} * vector.field.width),
                          count);
  for (uint32_t i = 0; i < count; i++)
    fill_element(vector.element, vector.field.element(record.get(), i), i);
  return record;
}

class EveryVector : public EveryMessage {
public:
  template <class Check>
  static void each_vector(Check check) {
    each([&check](const message &message) {
      const table_descriptor &root = table_of(message);
      for (const field_descriptor &field : root.fields)
        if (field.kind == kind::table_vector) {
          SCOPED_TRACE(field.table->name);
          check(vector_of_tables{message, root, field, *field.table});
        }
    });
  }
};

// How an element's table and its vtable are laid out.
struct arrangement {
  enum class sequence { scalars_first, backwards, scalars_last };
  sequence order = sequence::scalars_first;
  uint32_t gap = 0;                  // bytes that nothing refers to, before each scalar
  uint32_t slots = UINT32_MAX;       // of the vtable: fewer or more than the schema has
  std::vector<uint32_t> absent = {}; // slots whose entry is 0
  uint32_t far_slot = UINT32_MAX; // a slot whose entry is 0xFFFF; its field is left to the caller

  bool is_absent(uint32_t slot) const {
    return slot >= slots || std::find(absent.begin(), absent.end(), slot) != absent.end();
  }
};

// What lies in a table: scalars, the offset words of arrays, the arrays.
struct piece {
  const field_descriptor *field;
  bool is_body;
  uint32_t at; // counted from the table
};

inline std::vector<piece> pieces_of(const table_descriptor &table, const arrangement &how) {
  std::vector<piece> scalars, words, bodies;
  for (const field_descriptor &field : table.fields) {
    if (how.is_absent(field.slot) || field.slot == how.far_slot)
      continue;
    if (field.kind == kind::scalar) {
      scalars.push_back({&field, false, 0});
    } else {
      words.push_back({&field, false, 0});
      bodies.push_back({&field, true, 0});
    }
  }
  std::vector<piece> result;
  const auto add = [&result](const std::vector<piece> &more) {
    result.insert(result.end(), more.begin(), more.end());
  };
  if (how.order == arrangement::sequence::scalars_last)
    add(words), add(bodies), add(scalars);
  else
    add(scalars), add(words), add(bodies);
  if (how.order == arrangement::sequence::backwards) {
    std::reverse(result.begin(), result.end());
    // An offset word cannot refer backwards: the bodies, now in front, go behind the rest.
    std::rotate(result.begin(), result.begin() + static_cast<std::ptrdiff_t>(bodies.size()),
                result.end());
  }
  uint32_t at = 4;
  for (piece &each : result) {
    const field_descriptor &field = *each.field;
    if (field.kind == kind::scalar)
      at += how.gap;
    each.at = at;
    at += each.is_body                 ? 4 + field.width * field.length
          : field.kind == kind::scalar ? field.width
                                       : 4;
  }
  return result;
}

// A message of one vector, built piece by piece. The byte order is what the receiver's flag says.
class vector_wire {
public:
  vector_wire(const vector_of_tables &vector, uint32_t byte_swap)
      : wire(byte_swap == 0 ? wire_builder::order::little : wire_builder::order::big),
        vector_(vector), byte_swap_(byte_swap) {
    wire.u32(0);
  }

  // The root's vtable and table, the vector's count and offset words to be filled in.
  void root(uint32_t count) {
    const uint32_t slot = vector_.field.slot;
    const uint32_t vtable = wire.u16(4 + 2 * (slot + 1));
    wire.u16(8);
    for (uint32_t i = 0; i < slot; i++)
      wire.u16(0);
    wire.u16(4);
    wire.refer(0, wire.table(vtable));
    wire.u32(4);
    wire.u32(count);
    first_word_ = wire.fill(4 * count);
  }

  uint32_t word(uint32_t element) const { return first_word_ + 4 * element; }

  uint32_t vtable(const arrangement &how) {
    const std::vector<piece> pieces = pieces_of(vector_.element, how);
    const auto all = static_cast<uint32_t>(vector_.element.fields.size());
    const uint32_t slots = how.slots == UINT32_MAX ? all : how.slots;
    const uint32_t at = wire.u16(4 + 2 * slots);
    wire.u16(0); // the table's size: nobody looks at it
    for (uint32_t slot = 0; slot < slots; slot++) {
      uint32_t entry = slot == how.far_slot || slot >= all ? 0xFFFF : 0;
      for (const piece &each : pieces)
        if (each.field->slot == slot && !each.is_body)
          entry = each.at;
      wire.u16(entry);
    }
    return at;
  }

  // An element's table; the vtable may be behind it, where it is set later.
  uint32_t table(const arrangement &how, uint32_t element, const void *record, uint32_t vtable) {
    const std::vector<piece> pieces = pieces_of(vector_.element, how);
    const uint32_t at = wire.table(vtable);
    wire.refer(word(element), at);
    for (const piece &each : pieces) {
      wire.fill(at + each.at - wire.here(), 0xEE);
      if (each.is_body)
        wire.refer(at + word_of(pieces, *each.field), array(*each.field, record));
      else if (each.field->kind == kind::scalar)
        scalar(*each.field, record);
      else
        wire.u32(0);
    }
    return at;
  }

  uint32_t scalar(const field_descriptor &field, const void *record) {
    const uint32_t value = field.number(record);
    return field.width == 1 ? wire.u8(value) : field.width == 2 ? wire.u16(value) : wire.u32(value);
  }

  uint32_t array(const field_descriptor &field, const void *record) {
    const uint32_t at = wire.u32(field.length);
    for (uint32_t i = 0; i < field.length; i++) {
      const uint32_t value = field.number(record, i);
      if (field.width == 1)
        wire.u8(value);
      else // words are reversed by a flag of exactly 1 only
        wire.u32(byte_swap_ == 2 ? __builtin_bswap32(value) : value);
    }
    return at;
  }

  wire_builder wire;

private:
  static uint32_t word_of(const std::vector<piece> &pieces, const field_descriptor &field) {
    for (const piece &each : pieces)
      if (each.field == &field && !each.is_body)
        return each.at;
    return 0;
  }

  const vector_of_tables &vector_;
  uint32_t byte_swap_;
  uint32_t first_word_ = 0;
};

inline bytes element_bytes(const vector_of_tables &vector, const void *record) {
  const auto *const first = static_cast<const uint8_t *>(vector.field.pointer(record));
  return {first, first + size_t{vector.field.count(record)} * vector.field.width};
}

// That exactly this was decoded: padding is zero, nothing was logged.
inline void expect_decoded(const vector_of_tables &vector, decoding &decoded,
                           const owned_record &expected) {
  EXPECT_TRUE(decoded.lines.empty());
  ASSERT_EQ(difference(vector.message, expected.get(), decoded.record()), "");
  EXPECT_EQ(element_bytes(vector, expected.get()), element_bytes(vector, decoded.record()));
}

// That the decode ended at an element: the count stays, the one block has gone back. With a line
// about the element's header or, if it is empty, without.
inline void expect_refused(const vector_of_tables &vector, decoding &decoded, uint32_t count,
                           const std::string &format = "", const std::string &line = "") {
  EXPECT_EQ(vector.field.pointer(decoded.record()), nullptr);
  EXPECT_EQ(vector.field.count(decoded.record()), count);
  ASSERT_EQ(decoded.calls.size(), 2U);
  const std::string name = vector.message.name;
  for (const bool freed : {false, true}) {
    const fake_osal::call &call = decoded.calls[freed ? 1 : 0];
    EXPECT_EQ(call.kind, freed ? fake_osal::call_kind::free : fake_osal::call_kind::cache_alloc);
    EXPECT_EQ(call.size, count * vector.field.width);
    EXPECT_EQ(call.module, 12U);
    EXPECT_EQ(call.caller, name + (freed ? "_free_unpacked" : "_unpack"));
  }
  if (line.empty())
    EXPECT_TRUE(decoded.lines.empty());
  else
    expect_one_line(decoded.lines, std::string(vector.element.name) + "_unpack_non_root", format,
                    line);
}

} // namespace catalogue
