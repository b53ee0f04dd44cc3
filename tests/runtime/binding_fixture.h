// What the unit-level tests share: clean doubles, the OSAL's addresses, the names that are looked
// up, and a starting line for racing threads.
//
// Room: tests.
#pragma once

#include "platform/osal.h"
#include "runtime/unit.h"
#include "tests/runtime/wrapped_dlsym.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/fake_osal.h"

#include <gtest/gtest.h>

#include <barrier>
#include <cstddef>
#include <thread>
#include <vector>

inline constexpr const char *log_write_name = "VRX_OsalLogWrite";
inline constexpr const char *mem_alloc_name = "VRX_OsalMemAlloc";
inline constexpr const char *mem_free_name = "VRX_OsalMemFree";
inline constexpr const char *use_flag_name = "VRX_OsalMemUseFlagGet";
inline constexpr const char *cache_alloc_name = "VRX_OsalMemCacheAlloc";

// What one unit looks up when nothing is missing and the flag is 1.
inline const wrapped_dlsym::counts general_look_ups{
    {log_write_name, 1}, {mem_alloc_name, 1}, {mem_free_name, 1}};
inline const wrapped_dlsym::counts cache_look_ups{
    {use_flag_name, 1}, {cache_alloc_name, 1}, {mem_free_name, 1}};

class Binding : public ::testing::Test {
protected:
  void SetUp() override {
    fake_osal::reset();
    fake_osal::set_use_flag(1);
    fake_mesh::reset();
    wrapped_dlsym::reset();
  }

  void TearDown() override {
    EXPECT_TRUE(wrapped_dlsym::all_global());
    EXPECT_EQ(fake_osal::live_blocks(), 0u);
    EXPECT_EQ(fake_osal::wrong_frees(), 0u);
  }
};

// Runs body(t) in so many threads that leave the line together.
template <class Body>
void race(size_t threads, Body body) {
  std::barrier line(static_cast<ptrdiff_t>(threads));
  std::vector<std::thread> running;
  for (size_t t = 0; t < threads; ++t)
    running.emplace_back([&, t] {
      line.arrive_and_wait();
      body(t);
    });
  for (std::thread &thread : running)
    thread.join();
}

// Unbound, and so as the unit was when the library was loaded.
inline void expect_general_defaults(const mesh_fib6::runtime::unit_runtime &runtime) {
  EXPECT_EQ(runtime.log_write, nullptr);
  EXPECT_EQ(runtime.mem_alloc, nullptr);
  EXPECT_EQ(runtime.mem_free, nullptr);
  EXPECT_EQ(runtime.bound, 0u);
}

inline void expect_cache_defaults(const mesh_fib6::runtime::unit_runtime &runtime) {
  EXPECT_EQ(runtime.cache_bound, 0u);
  EXPECT_EQ(runtime.cache_alloc, &mesh_fib6::runtime::heap_alloc);
  EXPECT_EQ(runtime.cache_free, &mesh_fib6::runtime::heap_free);
}

inline void expect_defaults(const mesh_fib6::runtime::unit &unit) {
  EXPECT_STREQ(unit.runtime.module_name, "VARKO");
  EXPECT_STREQ(unit.runtime.submodule_name, "VARKO_TOLVIAN_SERIAL");
  EXPECT_EQ(unit.runtime.mem_module_id, 25088u);
  EXPECT_EQ(unit.byte_swap, 0u);
  expect_general_defaults(unit.runtime);
  expect_cache_defaults(unit.runtime);
}
