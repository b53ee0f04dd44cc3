// What the tests over all messages share: units bound, doubles clean, and one decode under
// observation.
//
// Room: tests. Reaches the units.
#pragma once

#include "modules/fib6_sync/units.h"
#include "tests/catalogue/catalogue.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/fake_osal.h"
#include "tests/support/guarded_buffer.h"
#include "tests/wire/operations.h" // the other modules' units, swapped_unit

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace catalogue {

using bytes = std::vector<uint8_t>;

inline constexpr uint32_t failed = 0xFFFFFFFF;
inline constexpr uint32_t byte_orders[] = {0, 1, 2};

struct unit_pair {
  mesh_fib6::runtime::unit &recv;
  mesh_fib6::runtime::unit &send;
};

inline unit_pair units_of(const message &message) {
  const std::string_view name = message.hashed;
  if (name.starts_with("feiBrokerFib6."))
    return {mesh_fib6::fib6::recv_unit, mesh_fib6::fib6::send_unit};
  if (name.starts_with("fib6_cfg."))
    return {mesh_fib6::fib6_cfg::recv_unit, mesh_fib6::fib6_cfg::send_unit};
  return {mesh_fib6::fib6_sync::recv_unit, mesh_fib6::fib6_sync::send_unit};
}

inline void forget() {
  fake_osal::reset();
  fake_mesh::reset();
}

// Units are bound beforehand, so that what a test then records is the call's own.
class EveryMessage : public testing::Test {
protected:
  void SetUp() override {
    for_each_message([](const message &message, const module_row &) {
      for (mesh_fib6::runtime::unit *unit : {&units_of(message).recv, &units_of(message).send}) {
        mesh_fib6::runtime::bind_general(*unit);
        mesh_fib6::runtime::bind_cache(*unit);
      }
    });
    forget();
  }

  void TearDown() override {
    EXPECT_EQ(fake_osal::live_blocks(), 0U) << "a block was left behind";
    EXPECT_EQ(fake_osal::wrong_frees(), 0U);
  }

  // Calls check(message) for each message, with clean doubles.
  template <class Check>
  static void each(Check check) {
    for_each_message([&check](const message &message, const module_row &) {
      forget();
      check(message);
    });
  }
  template <class Check>
  static void each_tree(Check check) {
    each([&check](const message &message) {
      if (message.is_tree())
        check(message);
    });
  }
  template <class Check>
  static void each_flat(Check check) {
    each([&check](const message &message) {
      if (!message.is_tree())
        check(message);
    });
  }
};

// One decode of bytes right before an inaccessible page, after one right behind such a page, into a
// record that was filled with a pattern and ends at one too. What the record owns goes back at the
// end.
class decoding {
public:
  static constexpr uint8_t pattern = 0xA5;

  explicit decoding(const message &message, const bytes &wire, uint32_t byte_swap = 0,
                    uint32_t failing_allocation = 0)
      : message_(message), record_(message.record_size) {
    guarded_buffer behind(wire, edge::before), before(wire, edge::behind);
    run(behind.data(), behind.size(), byte_swap, failing_allocation);
    const size_t calls_before = calls.size(), lines_before = lines.size();
    give_back();
    run(before.data(), before.size(), byte_swap, failing_allocation);
    EXPECT_EQ(calls.size(), calls_before) << "the outcome depends on where the bytes lie";
    EXPECT_EQ(lines.size(), lines_before) << "the outcome depends on where the bytes lie";
  }

  // In place, with any length; blocks of more than so many bytes are refused.
  decoding(const message &message, const uint8_t *buffer, uint32_t length,
           uint32_t refuse_above = UINT32_MAX)
      : message_(message), record_(message.record_size) {
    run(buffer, length, 0, 0, refuse_above);
  }

  decoding(const decoding &) = delete;
  decoding &operator=(const decoding &) = delete;
  ~decoding() { give_back(); }

  void *record() { return record_.data(); }
  bytes record_bytes() const { return record_.bytes(); }
  template <class M>
  const M &as() const {
    return *reinterpret_cast<const M *>(record_.data());
  }

  bool untouched() const { return record_bytes() == bytes(message_.record_size, pattern); }
  bool zeroed() const { return record_bytes() == bytes(message_.record_size, 0); }

  std::vector<fake_osal::call> calls;
  std::vector<fake_osal::log_line> lines;

private:
  void give_back() {
    if (fake_osal::live_blocks() != live_before_)
      message_.release(record());
    EXPECT_EQ(fake_osal::live_blocks(), live_before_);
  }

  void run(const uint8_t *buffer, uint32_t length, uint32_t byte_swap, uint32_t failing_allocation,
           uint32_t refuse_above = UINT32_MAX) {
    std::memset(record(), pattern, record_.size());
    fake_osal::reset();
    live_before_ = fake_osal::live_blocks();
    fake_osal::fail_allocation(failing_allocation);
    fake_osal::refuse_above(refuse_above);
    {
      const swapped_unit swapped(units_of(message_).recv, byte_swap);
      EXPECT_EQ(message_.unpack(buffer, length, record()), message_.record_size);
    }
    fake_osal::fail_allocation(0);
    fake_osal::refuse_above(UINT32_MAX);
    calls = fake_osal::calls();
    lines = fake_osal::log_lines();
  }

  const message &message_;
  guarded_buffer record_;
  size_t live_before_ = 0;
};

// The record in the compact layout.
inline bytes packed(const message &message, const void *record, uint32_t byte_swap = 0) {
  const swapped_unit swapped(units_of(message).send, byte_swap);
  uint32_t size = UINT32_MAX;
  EXPECT_EQ(message.pack(record, nullptr, &size), 0U); // asks for the size
  guarded_buffer buffer(size);
  uint32_t length = size;
  EXPECT_EQ(message.pack(record, buffer.data(), &length), 0U);
  EXPECT_EQ(length, size);
  forget();
  return buffer.bytes();
}

// The record as it travels: compact for trees, a fixed image for flat messages.
inline bytes sent(const message &message, const void *record, uint32_t byte_swap = 0) {
  const swapped_unit swapped(units_of(message).send, byte_swap);
  forget();
  EXPECT_EQ(message.sendsingle(1, record, 0, 0), 0U);
  const auto sends = fake_mesh::sends();
  forget();
  if (sends.size() != 1 || sends[0].messages.size() != 1) {
    ADD_FAILURE() << "not sent as one message";
    return {};
  }
  return sends[0].messages[0].bytes;
}

} // namespace catalogue
