// First calls of many threads racing in the library as it ships.
//
// Room: tests. One test a process, and that test's race is the process's first use of the library.
#include "tests/runtime/binding_fixture.h"
#include "tests/runtime/traffic.h"

#include <atomic>

#if defined(COUNT_LOOK_UPS)
#include <cstring>
#include <dlfcn.h>

// The process's own dlsym, in front of libc's: counts the look-ups of the OSAL, passes all on.
namespace {
std::atomic<unsigned> osal_look_ups[5];
constexpr const char *osal_names[5] = {log_write_name, mem_alloc_name, mem_free_name, use_flag_name,
                                       cache_alloc_name};
} // namespace

extern "C" void *dlsym(void *handle, const char *name) noexcept {
  static auto *const real =
      reinterpret_cast<void *(*)(void *, const char *)>(dlvsym(RTLD_NEXT, "dlsym", "GLIBC_2.34"));
  for (size_t i = 0; i < std::size(osal_names); ++i)
    if (strcmp(name, osal_names[i]) == 0)
      ++osal_look_ups[i];
  return real(handle, name);
}
#endif

using namespace traffic;

namespace {

constexpr size_t threads = 16;
constexpr int rounds = 20;

// The four services in turn, so that every thread starts with another one.
void use_service(size_t which) {
  route_update record{};
  switch (which % 4) {
  case 0:
    packed_routes();
    break;
  case 1:
    unpack_routes(packed_routes(), record);
    expect_two_routes(record);
    feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
    break;
  case 2:
    EXPECT_EQ(send_routes(), 0u);
    EXPECT_EQ(send_batch_of_settings(), 0u);
    break;
  default:
    query_size(64);
    EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__unpack(nullptr, 0, &record), 16u);
    break;
  }
}

TEST(FirstCalls, OfManyThreadsBindOnceAndAllAreServed) {
  race(threads, [](size_t t) {
    for (int round = 0; round < rounds; ++round)
      use_service(t + static_cast<size_t>(round));
  });

  // Each of the four services ran threads * rounds / 4 times.
  constexpr size_t runs = threads * rounds / 4;
  using enum fake_osal::call_kind;
  EXPECT_EQ(fake_osal::calls_of(alloc).size(), 2 * runs);
  EXPECT_EQ(fake_osal::calls_of(cache_alloc).size(), runs);
  EXPECT_EQ(fake_osal::calls_of(free).size(), 3 * runs);
  EXPECT_EQ(fake_osal::log_lines().size(), 2 * runs);
  EXPECT_EQ(fake_mesh::sends().size(), 2 * runs);
  // Both sides of one module, the send side of the other.
  EXPECT_EQ(fake_osal::calls_of(use_flag_get).size(), 3u);
  EXPECT_EQ(fake_osal::live_blocks(), 0u);
  EXPECT_EQ(fake_osal::wrong_frees(), 0u);
#if defined(COUNT_LOOK_UPS)
  // Three units, both halves of each: every name once, the release function by each half.
  const unsigned expected[5] = {3, 3, 6, 3, 3};
  for (size_t i = 0; i < std::size(osal_names); ++i)
    EXPECT_EQ(osal_look_ups[i], expected[i]) << osal_names[i];
#endif
}

} // namespace
