// What all tests of the send operations share: clean doubles before, the promises that hold for
// every send after, and the two questions asked most.
//
// Room: tests. Reaches the units, so that every test starts unbound.
#pragma once

#include "modules/fib6/units.h"
#include "modules/fib6_cfg/units.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/fake_osal.h"
#include "tests/transport/messages.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace sending {

inline constexpr uint32_t failed = 0xFFFFFFFF;
inline constexpr uint32_t descriptor_size = 16;
inline constexpr uint32_t general_module = 25088;
inline constexpr uint32_t destination = 0x0A0B0C0D;
// No target, the smallest, one whose low half is zero, the largest.
inline constexpr uint64_t targets[] = {0, 1, UINT64_C(1) << 32, UINT64_MAX};

template <class M>
mesh_fib6::runtime::unit &send_unit_of() {
  if constexpr (std::is_same_v<M, fib6_cfg_cfg_ipv6_ttl_expired_forward>)
    return mesh_fib6::fib6_cfg::send_unit;
  else
    return mesh_fib6::fib6::send_unit;
}

class Sends : public ::testing::Test {
protected:
  void SetUp() override {
    mesh_fib6::fib6::send_unit = {};
    mesh_fib6::fib6_cfg::send_unit = {};
    forget();
  }

  void TearDown() override {
    EXPECT_EQ(fake_osal::live_blocks(), 0u) << "a block was not released";
    EXPECT_EQ(fake_osal::wrong_frees(), 0u);
    EXPECT_TRUE(fake_osal::log_lines().empty()) << fake_osal::log_lines().front();
  }

  static void forget() {
    fake_osal::reset();
    fake_mesh::reset();
  }

  // Calls check.operator()<M>() for every message of a family, with clean doubles.
  template <class Check>
  static void each_tree(Check check) {
    messages::for_each_tree_message([&]<class M> { run<M>(check); });
  }
  template <class Check>
  static void each_flat(Check check) {
    messages::for_each_flat_message([&]<class M> { run<M>(check); });
  }
  template <class Check>
  static void each_message(Check check) {
    each_tree(check);
    each_flat(check);
  }

private:
  template <class M, class Check>
  static void run(Check &check) {
    SCOPED_TRACE(messages::operations<M>::name);
    forget();
    check.template operator()<M>();
  }
};

// Everything the OSAL was asked about blocks.
inline std::vector<fake_osal::call> heap_calls() {
  std::vector<fake_osal::call> calls = fake_osal::calls();
  std::erase_if(
      calls, [](const fake_osal::call &c) { return c.kind == fake_osal::call_kind::use_flag_get; });
  return calls;
}

template <class M>
std::string tag(const char *operation) {
  return std::string(messages::operations<M>::name) + operation;
}

// Exactly one block was asked for and, when it was given, released once: with this size, the
// send side's memory module and this tag in both calls. Returns its address.
inline const uint8_t *expect_one_block(uint32_t size, const std::string &caller) {
  using enum fake_osal::call_kind;
  const std::vector<fake_osal::call> calls = heap_calls();
  if (calls.empty()) {
    ADD_FAILURE() << "nothing was allocated";
    return nullptr;
  }
  void *const block = calls.front().block;
  std::vector<fake_osal::call> expected{{alloc, size, general_module, caller, block}};
  if (block != nullptr)
    expected.push_back({free, size, general_module, caller, block});
  EXPECT_EQ(calls, expected);
  return static_cast<const uint8_t *>(block);
}

// Exactly one mesh call was made, to the destination above, by the function that `target` asks
// for. Returns it.
inline fake_mesh::send expect_one_send(uint32_t count, uint64_t target) {
  const std::vector<fake_mesh::send> sends = fake_mesh::sends();
  EXPECT_EQ(sends.size(), 1u);
  if (sends.empty())
    return {};
  const fake_mesh::send &send = sends.front();
  EXPECT_EQ(send.to, target != 0);
  EXPECT_EQ(send.target, target);
  EXPECT_EQ(send.destination, destination);
  EXPECT_EQ(send.count, count);
  EXPECT_EQ(send.messages.size(), count);
  return send;
}

inline void expect_message(const fake_mesh::message &message, uint32_t id,
                           const std::vector<uint8_t> &bytes) {
  EXPECT_EQ(message.id, id);
  EXPECT_EQ(message.length, bytes.size());
  EXPECT_EQ(message.bytes, bytes);
}

inline void expect_nothing_sent() {
  EXPECT_TRUE(fake_mesh::sends().empty());
}

} // namespace sending
