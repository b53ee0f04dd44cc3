// Every block that decoding can be made to ask for: whose it is, how large one element is, and at
// which counts the product of the two leaves 32 bits.
//
// Room: tests. Follows from the descriptors; what does, owned_blocks_test.cpp states by hand.
#pragma once

#include "tests/catalogue/records.h"
#include "tests/wire/log_expectation.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace attacks {

using catalogue::bytes;
using catalogue::field_descriptor;
using catalogue::message;
using catalogue::owned_record;
using catalogue::table_descriptor;

// A vector that a decoded record owns: the members that lead to it, from the message's own record
// on.
struct owned_block {
  const table_descriptor *owner; // whose record has it
  std::vector<const field_descriptor *> path;

  const field_descriptor &field() const { return *path.back(); }
  uint32_t slot() const { return path.front()->slot; } // of the root
  uint32_t element_size() const { return field().width; }
  bool is_embedded() const { return path.size() > 1; }
  bool is_bytes() const { return field().kind == mesh_fib6::tools::kind::byte_vector; }
  std::string allocation_tag() const {
    return std::string(owner->name) + (is_embedded() ? "_unpack_non_root" : "_unpack");
  }
  std::string release_tag() const { return std::string(owner->name) + "_free_unpacked"; }
};

inline void add_blocks(std::vector<owned_block> &blocks, const table_descriptor &table,
                       std::vector<const field_descriptor *> path) {
  for (const field_descriptor &field : table.fields) {
    path.push_back(&field);
    if (field.is_vector())
      blocks.push_back({&table, path});
    else if (field.table != nullptr)
      add_blocks(blocks, *field.table, path);
    path.pop_back();
  }
}

// In the order in which a decode asks for them.
inline std::vector<owned_block> blocks_of(const message &message) {
  std::vector<owned_block> blocks;
  add_blocks(blocks, catalogue::table_of(message), {});
  return blocks;
}

// A count at which count * element size does not fit in 32 bits, and what is left of the product.
struct wrapping_count {
  uint32_t count;
  uint32_t wrapped;

  friend bool operator==(const wrapping_count &, const wrapping_count &) = default;
};

// The smallest such count and, where it is another, the smallest one that a buffer of 2 GiB can
// hold whose product wraps to the least. Elements of up to 8 bytes have none: 2^32 / 8 offset words
// take 2 GiB, and a buffer ends a byte before.
inline std::vector<wrapping_count> wrapping_counts(uint32_t element_size) {
  constexpr uint64_t two_to_the_32 = UINT64_C(1) << 32;
  constexpr uint64_t most_words = (two_to_the_32 / 2 - 1) / 4;
  std::vector<wrapping_count> counts;
  // After each multiple of 2^32 the first count whose product reaches it.
  for (uint64_t times = 1; times * two_to_the_32 <= most_words * element_size; times++) {
    const uint64_t count = (times * two_to_the_32 + element_size - 1) / element_size;
    const wrapping_count next{static_cast<uint32_t>(count),
                              static_cast<uint32_t>(count * element_size)};
    if (count > most_words)
      break;
    if (counts.size() < 2)
      counts.push_back(next);
    else if (next.wrapped < counts[1].wrapped)
      counts[1] = next;
  }
  if (counts.size() == 2 && counts[1].wrapped >= counts[0].wrapped)
    counts.pop_back();
  return counts;
}

// Where a record of the message keeps the block: the record that has it.
inline void *holder_of(void *record, const owned_block &block) {
  for (size_t i = 0; i + 1 < block.path.size(); i++)
    record = block.path[i]->member(record);
  return record;
}

inline uint32_t count_in(void *record, const owned_block &block) {
  return block.field().count(holder_of(record, block));
}

// The full record, as it is left when a block is refused: what comes before is there but for the
// arrays, whose counts stay; so does the count of the refused one; the rest is zero.
inline bytes refused_record(const message &message, const owned_block &refused, uint32_t count) {
  owned_record record = catalogue::full_record(message);
  const table_descriptor *table = &catalogue::table_of(message);
  void *part = record.get();
  for (const field_descriptor *field : refused.path) {
    catalogue::clear_from(*table, part, field->slot + 1);
    part = field->member(part);
    table = field->table;
  }
  for (const owned_block &block : blocks_of(message))
    block.field().set_vector(holder_of(record.get(), block), nullptr,
                             count_in(record.get(), block));
  refused.field().set_vector(holder_of(record.get(), refused), nullptr, count);
  const auto *first = static_cast<const uint8_t *>(record.get());
  return {first, first + message.record_size};
}

// Nothing of a decode went wrong but the block `refused`, the last that was asked for if it was
// asked for at all: one line says so, then all before it went back in the order of the members.
inline void expect_refused(const message &message, catalogue::decoding &decoded, size_t refused,
                           uint32_t count, uint32_t size, bool asked) {
  using enum fake_osal::call_kind;
  const std::vector<owned_block> blocks = blocks_of(message);
  owned_record full = catalogue::full_record(message);
  std::vector<fake_osal::call> expected;
  for (size_t i = 0; i < refused; i++) {
    void *const block = i < decoded.calls.size() ? decoded.calls[i].block : nullptr;
    EXPECT_NE(block, nullptr);
    expected.push_back({cache_alloc, count_in(full.get(), blocks[i]) * blocks[i].element_size(), 12,
                        blocks[i].allocation_tag(), block});
  }
  if (asked)
    expected.push_back({cache_alloc, size, 12, blocks[refused].allocation_tag(), nullptr});
  const size_t until_line = expected.size();
  for (size_t i = 0; i < refused; i++)
    expected.push_back({free, expected[i].size, 12, blocks[i].release_tag(), expected[i].block});
  EXPECT_EQ(decoded.calls, expected);

  expect_one_line(decoded.lines, blocks[refused].allocation_tag(), log_format::allocation,
                  "[VARKO]:Malloc unpack data unsuccess, size(" + std::to_string(size) + ")", 12);
  if (!decoded.lines.empty()) {
    EXPECT_EQ(decoded.lines[0].calls_before, until_line) << "said before anything goes back";
  }
  EXPECT_EQ(decoded.record_bytes(), refused_record(message, blocks[refused], count));
}

} // namespace attacks
