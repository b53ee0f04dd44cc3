// A process that brings the platform's bounds-checked memory functions, all of them or without the
// quick copy: the library uses what is there.
//
// Room: tests. Defines the functions in the executable, as a device's process does; built twice.
#include "platform/memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string called; // by name, with the capacity and the size it was told

void note(const char *name, size_t capacity, size_t size) {
  called += std::string(name) + "(" + std::to_string(capacity) + ", " + std::to_string(size) + ")";
}

#ifdef WITH_QUICK_COPY
constexpr const char *copying = "memcpy_sOptAsm(5, 5)";
#else
constexpr const char *copying = "memcpy_s(5, 5)";
#endif

} // namespace

extern "C" {
int memset_s(void *destination, size_t capacity, int value, size_t size) {
  note("memset_s", capacity, size);
  std::memset(destination, value, size);
  return 0;
}
int memcpy_s(void *destination, size_t capacity, const void *source, size_t size) {
  note("memcpy_s", capacity, size);
  std::memcpy(destination, source, size);
  return 0;
}
#ifdef WITH_QUICK_COPY
int memcpy_sOptAsm(void *destination, size_t capacity, const void *source, size_t size) {
  note("memcpy_sOptAsm", capacity, size);
  std::memcpy(destination, source, size);
  return 0;
}
#endif
}

TEST(PlatformMemory, ClearsWithTheProcesssFunctionAndNoByteMore) {
  char area[8] = "abcdefg";
  called.clear();
  mesh_fib6::clear_memory(area, 5);
  EXPECT_EQ(called, "memset_s(5, 5)");
  EXPECT_EQ(std::memcmp(area, "\0\0\0\0\0fg", sizeof area), 0);
}

TEST(PlatformMemory, CopiesWithTheQuickestFunctionOfTheProcessAndNoByteMore) {
  char area[8] = "abcdefg";
  called.clear();
  mesh_fib6::copy_memory(area, "12345", 5);
  EXPECT_EQ(called, copying);
  EXPECT_STREQ(area, "12345fg");
}
