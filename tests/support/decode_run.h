// One decode under observation, of whatever message: where the bytes lie, what was allocated,
// logged and left behind.
//
// Room: tests.
#pragma once

#include "tests/support/fake_osal.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/units.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

struct conditions {
  uint32_t byte_swap = 0;
  uint32_t fail_allocation = 0; // the n-th allocation of the decode returns null
  uint32_t refuse_above = UINT32_MAX;
};

// How a message is decoded: functions of records, typed or not.
struct decode_functions {
  uint32_t record_size;
  std::function<uint32_t(const uint8_t *buffer, uint32_t length, void *record)> unpack;
  std::function<void(void *record)> release;
};

// Decodes on construction into a record pre-filled with a pattern that ends at an inaccessible
// page; releases at the end of its life and then insists that every block has gone back the right
// way. No more than one at a time.
class decode_run {
public:
  static constexpr uint8_t pattern = 0xA5;

  // Bytes are decoded twice: right behind an inaccessible page, then right before one. What is kept
  // is the second.
  decode_run(decode_functions functions, mesh_fib6::runtime::unit &unit,
             const std::vector<uint8_t> &wire, const conditions &given = {})
      : functions_(std::move(functions)), unit_(unit), record_(functions_.record_size) {
    guarded_buffer bytes_behind(wire, edge::before), bytes_before(wire, edge::behind);
    run(bytes_behind.data(), bytes_behind.size(), given);
    const size_t calls_before = calls.size(), lines_before = lines.size();
    release();
    run(bytes_before.data(), bytes_before.size(), given);
    EXPECT_EQ(calls.size(), calls_before) << "the outcome depends on where the bytes lie";
    EXPECT_EQ(lines.size(), lines_before) << "the outcome depends on where the bytes lie";
  }

  // Decodes in place, with any length.
  decode_run(decode_functions functions, mesh_fib6::runtime::unit &unit, const uint8_t *buffer,
             uint32_t length, const conditions &given = {})
      : functions_(std::move(functions)), unit_(unit), record_(functions_.record_size) {
    run(buffer, length, given);
  }

  decode_run(const decode_run &) = delete;
  decode_run &operator=(const decode_run &) = delete;
  ~decode_run() {
    release();
    EXPECT_EQ(fake_osal::live_blocks(), live_before_) << "a block was left behind";
    EXPECT_EQ(fake_osal::wrong_frees(), 0U);
  }

  // Gives the record's blocks back, once, unless the test has done so.
  void release() {
    if (fake_osal::live_blocks() != live_before_)
      functions_.release(memory());
  }

  void *memory() { return record_.data(); }
  const void *memory() const { return record_.data(); }
  std::vector<uint8_t> record_bytes() const { return record_.bytes(); }

  bool untouched() const { return consists_of(pattern); }
  bool zeroed() const { return consists_of(0); }
  bool silent() const { return lines.empty(); }

  std::vector<fake_osal::call> calls; // of the decode alone
  std::vector<fake_osal::log_line> lines;

private:
  void run(const uint8_t *buffer, uint32_t length, const conditions &given) {
    bind_unit(unit_);
    fake_osal::reset();
    fake_osal::fail_allocation(given.fail_allocation);
    fake_osal::refuse_above(given.refuse_above);
    live_before_ = fake_osal::live_blocks();
    std::memset(memory(), pattern, record_.size());
    {
      const swapped_unit swapped(unit_, given.byte_swap);
      EXPECT_EQ(functions_.unpack(buffer, length, memory()), functions_.record_size);
    }
    calls = fake_osal::calls();
    lines = fake_osal::log_lines();
    fake_osal::fail_allocation(0);
    fake_osal::refuse_above(UINT32_MAX);
  }

  bool consists_of(uint8_t value) const {
    return std::all_of(record_.data(), record_.data() + record_.size(),
                       [value](uint8_t byte) { return byte == value; });
  }

  decode_functions functions_;
  mesh_fib6::runtime::unit &unit_;
  guarded_buffer record_;
  size_t live_before_ = 0;
};
