// A unit's two bindings: what is looked up, how often, and what becomes of a missing function.
//
// Room: tests. Fresh units, dlsym counted.
#include "tests/runtime/binding_fixture.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <malloc.h>
#include <string>
#include <unistd.h>

using namespace mesh_fib6::runtime;

namespace {

class Unit : public Binding {};

// The log writer is told where the first of these stands and reads the others behind it.
static_assert(offsetof(unit_runtime, module_name) == 0);
static_assert(offsetof(unit_runtime, submodule_name) == sizeof(void *));
static_assert(offsetof(unit_runtime, mem_module_id) == 2 * sizeof(void *));
// The order of the other members.
static_assert(offsetof(unit_runtime, bind_lock) > offsetof(unit_runtime, mem_module_id));
static_assert(offsetof(unit_runtime, log_write) > offsetof(unit_runtime, bind_lock));
static_assert(offsetof(unit_runtime, mem_alloc) > offsetof(unit_runtime, log_write));
static_assert(offsetof(unit_runtime, mem_free) > offsetof(unit_runtime, mem_alloc));
static_assert(offsetof(unit_runtime, bound) > offsetof(unit_runtime, mem_free));
static_assert(offsetof(unit_runtime, cache_lock) > offsetof(unit_runtime, bound));
static_assert(offsetof(unit_runtime, cache_bound) > offsetof(unit_runtime, cache_lock));
static_assert(offsetof(unit_runtime, cache_alloc) > offsetof(unit_runtime, cache_bound));
static_assert(offsetof(unit_runtime, cache_free) > offsetof(unit_runtime, cache_alloc));

void expect_general_from_osal(const unit &unit) {
  EXPECT_EQ(unit.runtime.mem_alloc, &VRX_OsalMemAlloc);
  EXPECT_EQ(unit.runtime.mem_free, &VRX_OsalMemFree);
  EXPECT_EQ(unit.runtime.bound, 1u);
}

void expect_general_from_heap(const unit &unit) {
  EXPECT_EQ(unit.runtime.mem_alloc, &heap_alloc);
  EXPECT_EQ(unit.runtime.mem_free, &heap_free);
  EXPECT_EQ(unit.runtime.bound, 1u);
}

void expect_cache_from_osal(const unit &unit) {
  EXPECT_EQ(unit.runtime.cache_alloc, &VRX_OsalMemCacheAlloc);
  EXPECT_EQ(unit.runtime.cache_free, &VRX_OsalMemFree);
  EXPECT_EQ(unit.runtime.cache_bound, 1u);
}

void expect_cache_from_heap(const unit &unit) {
  EXPECT_EQ(unit.runtime.cache_alloc, &heap_alloc);
  EXPECT_EQ(unit.runtime.cache_free, &heap_free);
  EXPECT_EQ(unit.runtime.cache_bound, 1u);
}

TEST_F(Unit, StartsUnboundWithItsNamesAndTheHeapAsCache) {
  const unit fresh;
  expect_defaults(fresh);
  EXPECT_TRUE(wrapped_dlsym::look_ups().empty());
}

TEST_F(Unit, TheGeneralBindingTakesWriterAllocatorAndReleaseFromTheOsal) {
  unit unit;
  bind_general(unit);
  EXPECT_EQ(unit.runtime.log_write, &VRX_OsalLogWrite);
  expect_general_from_osal(unit);
  EXPECT_EQ(wrapped_dlsym::look_ups(), general_look_ups);
}

TEST_F(Unit, TheCacheBindingTakesTheCacheAllocatorWhenTheFlagIsOne) {
  unit unit;
  bind_cache(unit);
  expect_cache_from_osal(unit);
  EXPECT_EQ(wrapped_dlsym::look_ups(), cache_look_ups);
}

TEST_F(Unit, TheGeneralBindingLeavesTheCacheHalfAlone) {
  unit unit;
  unit.byte_swap = 1;
  bind_general(unit);
  expect_cache_defaults(unit.runtime);
  EXPECT_EQ(unit.byte_swap, 1u);
  EXPECT_TRUE(fake_osal::calls().empty());
}

TEST_F(Unit, TheCacheBindingLeavesTheGeneralHalfAlone) {
  unit unit;
  bind_cache(unit);
  expect_general_defaults(unit.runtime);
}

TEST_F(Unit, TheReleaseFunctionIsLookedUpOnceByEachBindingAndEveryOtherNameOnce) {
  unit unit;
  for (int i = 0; i < 3; ++i) {
    bind_general(unit);
    bind_cache(unit);
  }
  EXPECT_EQ(wrapped_dlsym::look_ups(), (wrapped_dlsym::counts{{log_write_name, 1},
                                                              {mem_alloc_name, 1},
                                                              {mem_free_name, 2},
                                                              {use_flag_name, 1},
                                                              {cache_alloc_name, 1}}));
}

TEST_F(Unit, NamesThatAreMissingAreNotLookedUpAgain) {
  wrapped_dlsym::hide(
      {log_write_name, mem_alloc_name, mem_free_name, use_flag_name, cache_alloc_name});
  unit unit;
  for (int i = 0; i < 3; ++i) {
    bind_general(unit);
    bind_cache(unit);
  }
  EXPECT_EQ(unit.runtime.log_write, nullptr);
  expect_general_from_heap(unit);
  expect_cache_from_heap(unit);
  for (const auto &[name, times] : wrapped_dlsym::look_ups())
    EXPECT_EQ(times, 1) << name;
}

TEST_F(Unit, WhatAppearsAfterTheBindingIsIgnored) {
  wrapped_dlsym::hide({log_write_name, mem_alloc_name, use_flag_name});
  unit unit;
  bind_general(unit);
  bind_cache(unit);
  wrapped_dlsym::hide({});
  bind_general(unit);
  bind_cache(unit);
  EXPECT_EQ(unit.runtime.log_write, nullptr);
  expect_general_from_heap(unit);
  expect_cache_from_heap(unit);
}

TEST_F(Unit, WhatDisappearsAfterTheBindingStaysBound) {
  unit unit;
  bind_general(unit);
  bind_cache(unit);
  wrapped_dlsym::hide({log_write_name, mem_alloc_name, mem_free_name, cache_alloc_name});
  bind_general(unit);
  bind_cache(unit);
  EXPECT_EQ(unit.runtime.log_write, &VRX_OsalLogWrite);
  expect_general_from_osal(unit);
  expect_cache_from_osal(unit);
}

TEST_F(Unit, AnAllocatorWithoutItsReleaseIsReplacedByTheHeap) {
  wrapped_dlsym::hide({mem_free_name});
  unit unit;
  bind_general(unit);
  expect_general_from_heap(unit);
  EXPECT_EQ(unit.runtime.log_write, &VRX_OsalLogWrite);
}

TEST_F(Unit, AReleaseWithoutItsAllocatorIsReplacedByTheHeap) {
  wrapped_dlsym::hide({mem_alloc_name});
  unit unit;
  bind_general(unit);
  expect_general_from_heap(unit);
  EXPECT_EQ(unit.runtime.log_write, &VRX_OsalLogWrite);
}

TEST_F(Unit, WithoutAWriterLoggingStaysOffAndMemoryStillComesFromTheOsal) {
  wrapped_dlsym::hide({log_write_name});
  unit unit;
  bind_general(unit);
  EXPECT_EQ(unit.runtime.log_write, nullptr);
  expect_general_from_osal(unit);
}

void own_log_write(const void *, uint32_t, uint32_t, const char *, uint32_t, const char *,
                   const char *, ...) {}

TEST_F(Unit, AWriterThatIsSetAlreadyIsKeptAndNotLookedUp) {
  unit unit;
  unit.runtime.log_write = own_log_write;
  bind_general(unit);
  EXPECT_EQ(unit.runtime.log_write, &own_log_write);
  EXPECT_FALSE(wrapped_dlsym::look_ups().contains(log_write_name));
}

TEST_F(Unit, ACacheAllocatorWithoutItsReleaseIsReplacedByTheHeap) {
  wrapped_dlsym::hide({mem_free_name});
  unit unit;
  bind_cache(unit);
  expect_cache_from_heap(unit);
}

TEST_F(Unit, AReleaseWithoutTheCacheAllocatorIsReplacedByTheHeap) {
  wrapped_dlsym::hide({cache_alloc_name});
  unit unit;
  bind_cache(unit);
  expect_cache_from_heap(unit);
}

TEST_F(Unit, AnyFlagButOneLeavesDecodedRecordsOnTheHeapWithoutLookingFurther) {
  for (const uint32_t flag : {0u, 2u, 3u, 0x101u, 0x80000001u, 0xFFFFFFFFu}) {
    wrapped_dlsym::reset();
    fake_osal::set_use_flag(flag);
    unit unit;
    bind_cache(unit);
    expect_cache_from_heap(unit);
    EXPECT_EQ(wrapped_dlsym::look_ups(), (wrapped_dlsym::counts{{use_flag_name, 1}})) << flag;
    bind_general(unit);
    expect_general_from_osal(unit);
  }
}

TEST_F(Unit, WithoutTheFlagFunctionDecodedRecordsComeFromTheHeap) {
  wrapped_dlsym::hide({use_flag_name});
  unit unit;
  bind_cache(unit);
  expect_cache_from_heap(unit);
  EXPECT_EQ(wrapped_dlsym::look_ups(), (wrapped_dlsym::counts{{use_flag_name, 1}}));
}

TEST_F(Unit, TheFlagIsAskedForOnceAndForModuleTwelve) {
  unit unit;
  bind_cache(unit);
  bind_cache(unit);
  const std::vector<fake_osal::call> expected{
      {fake_osal::call_kind::use_flag_get, 0, 12, "", nullptr}};
  EXPECT_EQ(fake_osal::calls(), expected);
}

TEST_F(Unit, TheCacheBindingClearsTheByteOrderFlagOnce) {
  for (const uint32_t swap : {1u, 2u, 0xFFFFFFFFu}) {
    unit unit;
    unit.byte_swap = swap;
    bind_cache(unit);
    EXPECT_EQ(unit.byte_swap, 0u);
    unit.byte_swap = swap; // set by whoever knows better, after the binding
    bind_cache(unit);
    EXPECT_EQ(unit.byte_swap, swap);
  }
}

TEST_F(Unit, NoLockIsLeftBehindByABinding) {
  unit unit;
  bind_general(unit);
  bind_cache(unit);
  for (pthread_mutex_t *lock : {&unit.runtime.bind_lock, &unit.runtime.cache_lock}) {
    EXPECT_EQ(pthread_mutex_trylock(lock), 0);
    pthread_mutex_unlock(lock);
  }
}

// As a forked child finds the unit when a thread of its parent was in the middle of a binding.
TEST_F(Unit, LocksThatAreTakenInTheNameOfAnotherProcessAreMadeAnew) {
  static unit unit; // the thread sanitizer would see the taken locks in whatever lies there next
  unit.process = getppid();
  for (pthread_mutex_t *lock : {&unit.runtime.bind_lock, &unit.runtime.cache_lock})
    ASSERT_EQ(pthread_mutex_trylock(lock), 0);
  unit.runtime.cache_alloc = &VRX_OsalMemCacheAlloc; // and not yet its release function
  fake_osal::set_use_flag(0);
  bind_general(unit);
  bind_cache(unit);
  expect_general_from_osal(unit);
  expect_cache_from_heap(unit);
  EXPECT_EQ(unit.process, getpid());
}

TEST_F(Unit, WhatAnotherProcessHadBoundStaysBoundWhenItsLocksAreMadeAnew) {
  unit unit;
  bind_cache(unit);
  unit.process = getppid();
  bind_general(unit);
  expect_general_from_osal(unit);
  expect_cache_from_osal(unit);
}

TEST_F(Unit, ABindingWaitsWhileAnotherThreadMakesTheLocksAnew) {
  unit unit;
  __atomic_store_n(&unit.process, -getpid(), __ATOMIC_RELEASE);
  std::atomic<bool> is_bound{false};
  std::thread binding([&] {
    bind_general(unit);
    is_bound = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(is_bound);
  __atomic_store_n(&unit.process, getpid(), __ATOMIC_RELEASE);
  binding.join();
  expect_general_from_osal(unit);
}

TEST_F(Unit, TheHeapWrappersAreTheSystemHeapAndIgnoreTheirOtherArguments) {
  for (const uint32_t size : {0u, 1u, 64u, 1000000u}) {
    void *block = heap_alloc(size, 0xFFFFFFFF, nullptr);
    ASSERT_NE(block, nullptr);
    EXPECT_GE(malloc_usable_size(block), size);
    memset(block, 0x77, size);
    heap_free(block, 7, nullptr);
  }
  heap_free(nullptr, 0, nullptr); // as free does
  EXPECT_TRUE(fake_osal::calls().empty());
}

TEST_F(Unit, FirstCallsRacingLookEachNameUpOnceAndSeeTheSamePointers) {
  constexpr size_t threads = 16;
  for (int round = 0; round < 50; ++round) {
    wrapped_dlsym::reset();
    fake_osal::reset();
    unit unit;
    race(threads, [&](size_t t) {
      // Half of them come for memory first, half for the cache.
      if (t % 2 == 0)
        bind_general(unit);
      bind_cache(unit);
      bind_general(unit);
      // Plain reads: whoever returns from a binding may use the pointers without a lock.
      EXPECT_EQ(unit.runtime.log_write, &VRX_OsalLogWrite);
      expect_general_from_osal(unit);
      expect_cache_from_osal(unit);
    });
    EXPECT_EQ(wrapped_dlsym::look_ups(), (wrapped_dlsym::counts{{log_write_name, 1},
                                                                {mem_alloc_name, 1},
                                                                {mem_free_name, 2},
                                                                {use_flag_name, 1},
                                                                {cache_alloc_name, 1}}));
    EXPECT_EQ(fake_osal::calls().size(), 1u) << "the flag was asked for more than once";
  }
}

TEST_F(Unit, ALogLineCarriesTheDescriptorAndAllItsArguments) {
  unit unit;
  write_log(unit, log_category::validation, 4711, "some_function",
            "[VARKO]:Param invalid(%s, %u, %s)", "null", 0u, "nonNull");
  const std::vector<fake_osal::log_line> lines = fake_osal::log_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].module_name, "VARKO");
  EXPECT_EQ(lines[0].submodule_name, "VARKO_TOLVIAN_SERIAL");
  EXPECT_EQ(lines[0].mem_module_id, 25088u);
  EXPECT_EQ(lines[0].level, 2u);
  EXPECT_EQ(lines[0].category, 22u);
  EXPECT_EQ(lines[0].text, "");
  EXPECT_EQ(lines[0].line, 4711u);
  EXPECT_EQ(lines[0].function, "some_function");
  EXPECT_EQ(lines[0].format, "[VARKO]:Param invalid(%s, %u, %s)");
  EXPECT_EQ(lines[0].message, "[VARKO]:Param invalid(null, 0, nonNull)");
}

TEST_F(Unit, AFailedAllocationIsLoggedUnderCategoryTwelve) {
  unit unit;
  write_log(unit, log_category::allocation, 1, "f",
            "[VARKO]:Malloc unpack data unsuccess, size(%u)", 3000000000u);
  const std::vector<fake_osal::log_line> lines = fake_osal::log_lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].category, 12u);
  EXPECT_EQ(lines[0].message, "[VARKO]:Malloc unpack data unsuccess, size(3000000000)");
}

TEST_F(Unit, ALogLineRunsTheGeneralBindingOnly) {
  unit unit;
  write_log(unit, log_category::validation, 1, "f", "[VARKO]:");
  EXPECT_EQ(wrapped_dlsym::look_ups(), general_look_ups);
  expect_cache_defaults(unit.runtime);
}

TEST_F(Unit, WithoutAWriterALogLineIsDroppedSilently) {
  wrapped_dlsym::hide({log_write_name});
  unit unit;
  write_log(unit, log_category::validation, 1, "f", "[VARKO]:%s", "x");
  EXPECT_TRUE(fake_osal::log_lines().empty());
  EXPECT_EQ(unit.runtime.bound, 1u);
}

} // namespace
