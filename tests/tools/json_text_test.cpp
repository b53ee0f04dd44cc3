// What RapidJSON's memory comes from.
//
// Room: tests.
#include "tools/json_text.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <new>

// They end the process unless told.
extern "C" const char *__asan_default_options() {
  return "allocator_may_return_null=1";
}
extern "C" const char *__tsan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {

TEST(ThrowingAllocator, ThrowsWhereThereIsNoMemoryAndLeavesTheBlockAsItWas) {
  mesh_fib6::tools::throwing_allocator allocator;
  volatile size_t too_much = SIZE_MAX / 2;
  EXPECT_THROW(allocator.Malloc(too_much), std::bad_alloc);
  auto *block = static_cast<char *>(allocator.Malloc(4));
  memcpy(block, "kept", 4);
  EXPECT_THROW(allocator.Realloc(block, 4, too_much), std::bad_alloc);
  EXPECT_EQ(memcmp(block, "kept", 4), 0);
  block = static_cast<char *>(allocator.Realloc(block, 4, 4096));
  EXPECT_EQ(memcmp(block, "kept", 4), 0);
  EXPECT_EQ(allocator.Realloc(block, 4096, 0), nullptr);
}

} // namespace
