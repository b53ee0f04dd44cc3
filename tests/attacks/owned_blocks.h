// Every block that decoding can be made to ask for, written by hand: whose it is, how large one
// element is, and at which counts the product of the two leaves 32 bits.
//
// Room: tests. What is expected comes from these tables; the descriptors only tell where a record
// keeps its counts.
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

// In the order in which a decode asks for them.
struct owned_block {
  const char *message;
  uint32_t slot;                // of the root
  uint32_t element_size;        // of the record; 1 for a vector of bytes
  const char *holder = nullptr; // the embedded record that owns it instead of the message

  std::string owner() const { return holder != nullptr ? holder : message; }
  std::string allocation_tag() const {
    return owner() + (holder != nullptr ? "_unpack_non_root" : "_unpack");
  }
  std::string release_tag() const { return owner() + "_free_unpacked"; }
  bool is_bytes() const { return element_size == 1; }
};

inline constexpr owned_block owned_blocks[] = {
    {"feiBrokerFib6_ipv6FwdUpdateMsg", 1, 56},
    {"feiBrokerFib6_ipv6FwdDelMsg", 1, 28},
    {"feiBrokerFib6_nhp6GroupUpdateMsg", 2, 40},
    {"feiBrokerFib6_nhp6GroupDelMsg", 1, 8},
    {"feiBrokerFib6_nhp6UpdateMsg", 2, 48},
    {"feiBrokerFib6_nhp6UpdateMsg", 3, 28},
    {"feiBrokerFib6_nhp6UpdateMsg", 4, 20},
    {"feiBrokerFib6_nhp6UpdateMsg", 5, 60},
    {"feiBrokerFib6_nhp6UpdateMsg", 6, 72},
    {"feiBrokerFib6_nhp6UpdateMsg", 7, 44},
    {"feiBrokerFib6_nhp6DelMsg", 1, 4},
    {"feiBrokerFib6_srv6SrListUpdateMsg", 1, 184},
    {"feiBrokerFib6_srv6SrListDelMsg", 1, 16},
    {"feiBrokerFib6_ipv6PathMtuUpdateMsg", 1, 32},
    {"feiBrokerFib6_ipv6PathMtuDelMsg", 1, 24},
    {"fib6_cfg_query_fib6_key", 0, 1, "fib6_cfg_query_comm_param"},
    {"fib6_cfg_query_fib6_rec", 0, 1, "fib6_cfg_query_comm_rec"},
    {"fib6_cfg_query_fib6_rec", 1, 136},
    {"fib6_cfg_query_dfx_key", 0, 1, "fib6_cfg_query_comm_param"},
    {"fib6_cfg_query_dfx_rec", 0, 1, "fib6_cfg_query_comm_rec"},
    {"fib6_cfg_query_dfx_rec", 1, 160},
    {"fib6_cfg_query_fib6check_key", 0, 1, "fib6_cfg_query_comm_param"},
    {"fib6_cfg_query_fib6check_rec", 0, 1, "fib6_cfg_query_comm_rec"},
};

// A count at which count * element size does not fit in 32 bits, and what is left of the product.
struct wrapping_count {
  uint32_t element_size;
  uint32_t count;
  uint32_t wrapped;
};

// Of each size the smallest such count and, where it is another, the one that a buffer of 2 GiB can
// hold whose product wraps to the least. Elements of 4 and of 8 bytes have none: 2^32 / 8 offset
// words take 2 GiB, and a buffer ends a byte before.
inline constexpr wrapping_count wrapping_counts[] = {
    {16, 268435456, 0},                       //
    {20, 214748365, 4},                       //
    {24, 178956971, 8},                       //
    {28, 153391690, 24}, {28, 460175068, 16}, // the latter leaves 3 * 2^32
    {32, 134217728, 0},                       //
    {40, 107374183, 24}, {40, 214748365, 8},  // 2 * 2^32
    {44, 97612894, 40},  {44, 488064466, 24}, // 5 * 2^32
    {48, 89478486, 32},  {48, 268435456, 0},  // 3 * 2^32
    {56, 76695845, 24},  {56, 383479223, 8},  // 5 * 2^32
    {60, 71582789, 44},  {60, 501079518, 8},  // 7 * 2^32
    {72, 59652324, 32},  {72, 417566265, 8},  // 7 * 2^32
    {136, 31580642, 16}, {136, 284225777, 8}, // 9 * 2^32
    {160, 26843546, 64}, {160, 134217728, 0}, // 5 * 2^32
    {184, 23342214, 80}, {184, 163395495, 8}, // 7 * 2^32
};

inline std::vector<owned_block> blocks_of(const message &message) {
  std::vector<owned_block> found;
  for (const owned_block &block : owned_blocks)
    if (std::string(message.name) == block.message)
      found.push_back(block);
  return found;
}

// Where a record of the message keeps the block: the field, and the record that has it.
struct place {
  const field_descriptor *field;
  void *holder;
};

inline place place_of(const message &message, void *record, const owned_block &block) {
  const field_descriptor &of_root = catalogue::table_of(message).fields[block.slot];
  if (block.holder == nullptr)
    return {&of_root, record};
  return {&of_root.table->fields.back(), of_root.member(record)}; // bytes come last
}

// The full record, as it is left when a block is refused: what comes before is there but for the
// arrays, whose counts stay; so does the count of the refused one; the rest is zero.
inline bytes refused_record(const message &message, const owned_block &refused, uint32_t count) {
  owned_record record = catalogue::full_record(message);
  catalogue::clear_from(catalogue::table_of(message), record.get(), refused.slot + 1);
  for (const owned_block &block : blocks_of(message)) {
    const place at = place_of(message, record.get(), block);
    at.field->set_vector(at.holder, nullptr, at.field->count(at.holder));
  }
  const place at = place_of(message, record.get(), refused);
  at.field->set_vector(at.holder, nullptr, count);
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
    const place at = place_of(message, full.get(), blocks[i]);
    void *const block = i < decoded.calls.size() ? decoded.calls[i].block : nullptr;
    EXPECT_NE(block, nullptr);
    expected.push_back({cache_alloc, at.field->count(at.holder) * blocks[i].element_size, 12,
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
