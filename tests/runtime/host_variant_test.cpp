// One hosting process, with one particular part of the OSAL, and the library as it ships: where
// does its memory come from, and where do its log lines go?
//
// Room: tests. The same cases run in every variant of CMakeLists.txt; each in its own process,
// since a process binds once.
#include "tests/runtime/heap_watch.h"
#include "tests/runtime/host_variant.h"
#include "tests/runtime/traffic.h"
#include "tests/support/fake_osal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace traffic;
using fake_osal::call_kind;

namespace {

class Host : public ::testing::Test {
protected:
  void SetUp() override {
    fake_osal::reset();
    fake_osal::set_use_flag(host_variant::use_flag);
  }
  void TearDown() override {
    heap_watch::stop();
    EXPECT_EQ(fake_osal::live_blocks(), 0u);
    EXPECT_EQ(fake_osal::wrong_frees(), 0u);
  }
};

// What passed through the OSAL's allocators.
std::vector<fake_osal::call> blocks_of_osal() {
  std::vector<fake_osal::call> calls = fake_osal::calls();
  std::erase_if(calls, [](const fake_osal::call &c) { return c.kind == call_kind::use_flag_get; });
  return calls;
}

// The block was taken from the expected source with this size and given back to the same one; the
// other source was not touched.
struct expected_block {
  const void *address;
  uint32_t size;
  bool from_osal;
  fake_osal::call_kind allocator;
  uint32_t module;
  const char *allocating, *releasing;
};

void expect_taken_and_given_back(const expected_block &block) {
  ASSERT_NE(block.address, nullptr);
  void *address = const_cast<void *>(block.address);
  std::vector<fake_osal::call> expected;
  if (block.from_osal)
    expected = {{block.allocator, block.size, block.module, block.allocating, address},
                {call_kind::free, block.size, block.module, block.releasing, address}};
  EXPECT_EQ(blocks_of_osal(), expected);
  if (block.from_osal)
    return;
  EXPECT_EQ(heap_watch::allocations(block.address, block.size), 1u);
  EXPECT_EQ(heap_watch::releases(block.address), 1u);
}

TEST_F(Host, SendBuffersComeFromTheGeneralAllocatorOrTheHeap) {
  heap_watch::start();
  EXPECT_EQ(send_routes(), 0u);
  heap_watch::stop();
  const char *tag = "feiBrokerFib6_ipv6FwdUpdateMsg__sendsingle";
  expect_taken_and_given_back({latest_data(), route_update_size, host_variant::general_from_osal,
                               call_kind::alloc, 25088, tag, tag});
}

TEST_F(Host, BatchArenasComeFromTheGeneralAllocatorOrTheHeap) {
  heap_watch::start();
  EXPECT_EQ(send_batch_of_settings(), 0u);
  heap_watch::stop();
  const char *tag = "fib6_cfg_cfg_ipv6_ttl_expired_forward__sendbatch";
  expect_taken_and_given_back(
      {latest_data(), 3 * 80, host_variant::general_from_osal, call_kind::alloc, 25088, tag, tag});
}

TEST_F(Host, DecodedRecordsComeFromTheCacheAllocatorOrTheHeap) {
  const std::vector<uint8_t> bytes = packed_routes();
  route_update record{};
  heap_watch::start();
  EXPECT_EQ(unpack_routes(bytes, record), 16u);
  const void *block = record.f1;
  expect_two_routes(record);
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
  heap_watch::stop();
  EXPECT_EQ(record.f1, nullptr);
  expect_taken_and_given_back({block, decoded_block_size, host_variant::cache_from_osal,
                               call_kind::cache_alloc, 12, "feiBrokerFib6_ipv6FwdUpdateMsg_unpack",
                               "feiBrokerFib6_ipv6FwdUpdateMsg_free_unpacked"});
}

TEST_F(Host, TheFlagIsAskedForOncePerUnitThatNeedsIt) {
  for (int i = 0; i < 3; ++i) {
    route_update record{};
    unpack_routes(packed_routes(), record); // both units of one module
    feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
    EXPECT_EQ(send_batch_of_settings(), 0u); // one of another
  }
  const std::vector<fake_osal::call> asked = fake_osal::calls_of(call_kind::use_flag_get);
  EXPECT_EQ(asked.size(), host_variant::flag_is_asked ? 3u : 0u);
  for (const fake_osal::call &call : asked)
    EXPECT_EQ(call.module, 12u);
}

TEST_F(Host, LogLinesReachTheWriterOrNobody) {
  query_size(64); // send side
  ttl_setting setting{};
  EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__unpack(nullptr, 5, &setting), 32u); // receive
  const std::vector<fake_osal::log_line> lines = fake_osal::log_lines();
  if (!host_variant::logs) {
    EXPECT_TRUE(lines.empty());
    return;
  }
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].function, "fib6_cfg_cfg_ipv6_ttl_expired_forward_pack");
  EXPECT_EQ(lines[0].message, "[VARKO]:Param invalid(null, 64, nonNull)");
  EXPECT_EQ(lines[1].function, "fib6_cfg_cfg_ipv6_ttl_expired_forward_unpack");
  for (const fake_osal::log_line &line : lines) {
    EXPECT_EQ(line.module_name, "VARKO");
    EXPECT_EQ(line.submodule_name, "VARKO_TOLVIAN_SERIAL");
    EXPECT_EQ(line.mem_module_id, 25088u);
    EXPECT_EQ(line.level, 2u);
    EXPECT_EQ(line.category, 22u);
    EXPECT_EQ(line.text, "");
  }
}

TEST_F(Host, AFullOsalWithoutMemoryIsNotHelpedOutByTheHeap) {
  fake_osal::refuse_above(0); // the allocators that exist refuse everything
  EXPECT_EQ(send_routes(), host_variant::general_from_osal ? 0xFFFFFFFFu : 0u);
  EXPECT_EQ(send_batch_of_settings(), host_variant::general_from_osal ? 0xFFFFFFFFu : 0u);
  const std::vector<uint8_t> bytes = packed_routes();
  route_update record{};
  EXPECT_EQ(unpack_routes(bytes, record), 16u);
  EXPECT_EQ(record.f1 == nullptr, host_variant::cache_from_osal);
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
}

TEST_F(Host, WhatIsPackedIsTheSameEverywhere) {
  const ttl_setting setting{1, 0, 64, 0, {0xB80D0120, 0, 0, 0x01000000}};
  uint8_t bytes[64];
  uint32_t length = sizeof bytes;
  EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__pack(&setting, bytes, &length), 0u);
  const std::vector<uint8_t> expected{
      0x12, 0x00, 0x00, 0x00,                         //  0 root table at 18
      0x0E, 0x00, 0x24, 0x00,                         //  4 vtable of 14, table of 36
      0x04, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x00, //  8 slots 0 to 3: two are absent
      0x0C, 0x00,                                     // 16 slot 4
      0x0E, 0x00, 0x00, 0x00,                         // 18 vtable 14 bytes before
      0x01, 0x00, 0x00, 0x00,                         // 22 f0
      0x40, 0x00, 0x00, 0x00,                         // 26 f2
      0x04, 0x00, 0x00, 0x00,                         // 30 array 4 bytes on
      0x04, 0x00, 0x00, 0x00,                         // 34 of four words
      0x20, 0x01, 0x0D, 0xB8, 0x00, 0x00, 0x00, 0x00, // 38 f4
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, //
  };
  EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + length), expected);
}

} // namespace
