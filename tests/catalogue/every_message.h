// What the tests over all messages share: units bound, doubles clean, and one decode under
// observation.
//
// Room: tests. Reaches the units.
#pragma once

#include "tests/catalogue/catalogue.h"
#include "tests/support/decode_run.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/fake_osal.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/units.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace catalogue {

using bytes = std::vector<uint8_t>;

inline constexpr uint32_t failed = 0xFFFFFFFF;
inline constexpr uint32_t byte_orders[] = {0, 1, 2};

inline unit_pair units_of(const message &message) {
  return ::units_of(message.name);
}

inline void forget() {
  fake_osal::reset();
  fake_mesh::reset();
}

// Units are bound beforehand, so that what a test then records is the call's own.
class EveryMessage : public testing::Test {
protected:
  void SetUp() override {
    for_each_message(
        [](const message &message, const module_row &) { bind_units(units_of(message)); });
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

// One decode under observation.
class decoding : public decode_run {
public:
  explicit decoding(const message &message, const bytes &wire, uint32_t byte_swap = 0,
                    uint32_t failing_allocation = 0)
      : decode_run(functions_of(message), units_of(message).recv, wire,
                   {.byte_swap = byte_swap, .fail_allocation = failing_allocation}) {}

  // In place, with any length; blocks of more than so many bytes are refused.
  decoding(const message &message, const uint8_t *buffer, uint32_t length,
           uint32_t refuse_above = UINT32_MAX)
      : decode_run(functions_of(message), units_of(message).recv, buffer, length,
                   {.refuse_above = refuse_above}) {}

  void *record() { return memory(); }
  template <class M>
  const M &as() const {
    return *static_cast<const M *>(memory());
  }

private:
  static decode_functions functions_of(const message &message) {
    return {message.record_size, message.unpack, message.release};
  }
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
