// One side (receive or send) of one module: where its memory and its log lines come from.
//
// Room: runtime. Includes libc and pthread only; knows neither the wire format nor any message.
// A unit starts out unbound and binds itself to the hosting process's OSAL at its first use, by
// symbol name, once for the life of the process. Units are the library's only mutable state.
#pragma once

#include "platform/osal.h"

#include <cstdint>
#include <pthread.h>
#include <sys/types.h>

namespace mesh_fib6::runtime {

// Memory module of decoded records, the same in every unit.
inline constexpr uint32_t cache_module_id = 12;

// What a log line is filed under.
enum class log_category : uint32_t { allocation = 12, validation = 22 };

// Stand-ins for a missing OSAL allocator: the system heap, extra arguments ignored.
void *heap_alloc(uint32_t size, uint32_t module, const char *caller);
void heap_free(void *block, uint32_t module, const char *caller);

// The record of one unit. The first three members form the log descriptor: the log writer is given
// the address of the first and may read all three. Field order is part of that contract.
struct unit_runtime {
  const char *module_name = "VARKO";
  const char *submodule_name = "VARKO_TOLVIAN_SERIAL";
  uint32_t mem_module_id = 25088;

  pthread_mutex_t bind_lock = PTHREAD_MUTEX_INITIALIZER;
  osal_log_write_fn *log_write = nullptr; // still null once bound: logging is off
  osal_alloc_fn *mem_alloc = nullptr;
  osal_free_fn *mem_free = nullptr;
  uint32_t bound = 0;

  pthread_mutex_t cache_lock = PTHREAD_MUTEX_INITIALIZER;
  uint32_t cache_bound = 0;
  osal_alloc_fn *cache_alloc = heap_alloc;
  osal_free_fn *cache_free = heap_free;
};

struct unit {
  unit_runtime runtime;

  // 0: the wire is as memory is (little-endian). Non-zero: every multi-byte value is reversed, but
  // words of fixed arrays only when it is exactly 1. Written at load and under cache_lock.
  uint32_t byte_swap = 0;

  // The process whose threads the two locks know, negative while one of them makes the locks anew;
  // 0 before the first binding. See own_locks() in unit.cpp.
  pid_t process = 0;
};

// What each unit's load routine does. Volatile, so that no compiler concludes that there is nothing
// to do (clang 19 does so for a store that is only atomic): that the flag is defined before the
// first call is not left to the loader alone.
inline void clear_byte_swap(unit &unit) {
  volatile uint32_t *const flag = &unit.byte_swap;
  __atomic_store_n(flag, 0, __ATOMIC_RELAXED);
}

// The slow half of the two bindings: lock, test again, look the symbols up, set the flag last.
void bind_general_once(unit &unit);
void bind_cache_once(unit &unit);

// Binds log_write, mem_alloc and mem_free. Any thread; costs one flag test once bound.
inline void bind_general(unit &unit) {
  if (__builtin_expect(__atomic_load_n(&unit.runtime.bound, __ATOMIC_ACQUIRE) == 0, false))
    bind_general_once(unit);
}

inline bool is_cache_bound(const unit &unit) {
  return __atomic_load_n(&unit.runtime.cache_bound, __ATOMIC_ACQUIRE) != 0;
}

// Binds cache_alloc and cache_free and clears byte_swap. Any thread; one flag test once bound.
inline void bind_cache(unit &unit) {
  if (__builtin_expect(!is_cache_bound(unit), false))
    bind_cache_once(unit);
}

// Writes one line through the unit's log writer, or drops it when the process has none.
template <class... Arguments>
[[gnu::cold, gnu::noinline]] void write_log(unit &unit, log_category category, uint32_t line,
                                            const char *function, const char *format,
                                            Arguments... arguments) {
  constexpr uint32_t level = 2;
  bind_general(unit);
  if (unit.runtime.log_write != nullptr)
    unit.runtime.log_write(&unit.runtime.module_name, level, static_cast<uint32_t>(category), "",
                           line, function, format, arguments...);
}

} // namespace mesh_fib6::runtime
