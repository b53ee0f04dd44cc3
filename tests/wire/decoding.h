// One decode under observation: where the bytes lie, what was allocated, logged and left behind.
//
// Room: tests.
#pragma once

#include "tests/support/fake_osal.h"
#include "tests/support/guarded_buffer.h"
#include "tests/wire/operations.h"

#include <cstring>
#include <string>
#include <vector>

struct conditions {
  uint32_t byte_swap = 0;
  uint32_t fail_allocation = 0; // the n-th allocation of the decode returns null
  uint32_t refuse_above = UINT32_MAX;
};

// Decodes on construction into a record pre-filled with a pattern; releases at the end of its life
// and then insists that every block has gone back the right way. No more than one at a time.
template <class M>
class decoding {
public:
  static constexpr uint8_t pattern = 0xA5;
  using op = operations<M>;

  // Bytes are decoded twice: right behind an inaccessible page, then right before one. What is kept
  // is the second.
  explicit decoding(const std::vector<uint8_t> &wire, const conditions &given = {}) {
    guarded_buffer bytes_behind(wire, edge::before), bytes_before(wire, edge::behind);
    run(bytes_behind.data(), bytes_behind.size(), given);
    const size_t calls_before = calls.size(), lines_before = lines.size();
    release();
    run(bytes_before.data(), bytes_before.size(), given);
    EXPECT_EQ(calls.size(), calls_before) << "the outcome depends on where the bytes lie";
    EXPECT_EQ(lines.size(), lines_before) << "the outcome depends on where the bytes lie";
  }

  // Decodes in place, with any length.
  decoding(const uint8_t *buffer, uint32_t length, const conditions &given = {}) {
    run(buffer, length, given);
  }

  decoding(const decoding &) = delete;
  decoding &operator=(const decoding &) = delete;
  ~decoding() {
    release();
    EXPECT_EQ(fake_osal::live_blocks(), live_before_) << "a block was left behind";
    EXPECT_EQ(fake_osal::wrong_frees(), 0U);
  }

  // Gives the record's blocks back, once.
  void release() {
    if (owns_)
      op::release(&record);
    owns_ = false;
  }

  bool untouched() const { return consists_of(pattern); }
  bool zeroed() const { return consists_of(0); }
  bool silent() const { return lines.empty(); }

private:
  guarded_buffer memory_{sizeof(M)}; // whoever stores behind the record faults

public:
  M &record = memory_.as<M>();
  std::vector<fake_osal::call> calls; // of the decode alone
  std::vector<fake_osal::log_line> lines;

private:
  void run(const uint8_t *buffer, uint32_t length, const conditions &given) {
    bind_units<M>();
    fake_osal::reset();
    fake_osal::fail_allocation(given.fail_allocation);
    fake_osal::refuse_above(given.refuse_above);
    live_before_ = fake_osal::live_blocks();
    std::memset(static_cast<void *>(&record), pattern, sizeof record);
    {
      const swapped_unit swapped(op::recv_unit(), given.byte_swap);
      EXPECT_EQ(op::unpack(buffer, length, &record), sizeof(M));
    }
    calls = fake_osal::calls();
    lines = fake_osal::log_lines();
    fake_osal::fail_allocation(0);
    fake_osal::refuse_above(UINT32_MAX);
    owns_ = fake_osal::live_blocks() != live_before_;
  }

  bool consists_of(uint8_t value) const {
    const std::vector<uint8_t> expected(sizeof record, value);
    return std::memcmp(&record, expected.data(), sizeof record) == 0;
  }

  size_t live_before_ = 0;
  bool owns_ = false;
};

// The calls of a decode, as short texts: "alloc 56", "free 56". Module and tag of each must be the
// required ones of message M.
template <class M>
std::vector<std::string> call_texts(const std::vector<fake_osal::call> &calls) {
  const std::string message = operations<M>::name;
  std::vector<std::string> texts;
  for (const fake_osal::call &call : calls) {
    const bool freed = call.kind == fake_osal::call_kind::free;
    EXPECT_TRUE(freed || call.kind == fake_osal::call_kind::cache_alloc) << call;
    EXPECT_EQ(call.module, 12U);
    EXPECT_EQ(call.caller, message + (freed ? "_free_unpacked" : "_unpack"));
    texts.push_back((freed ? "free " : "alloc ") + std::to_string(call.size));
  }
  return texts;
}
