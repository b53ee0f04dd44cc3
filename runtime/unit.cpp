// Binding of a unit to the hosting process's OSAL.
//
// Room: runtime. The only file that calls dlsym, malloc, free or getpid.
#include "runtime/unit.h"

#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

namespace mesh_fib6::runtime {
namespace {

// Null when no library or executable loaded so far exports the name.
template <class Function>
Function *look_up(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_DEFAULT, name));
}

// A process that is forked in the middle of a first binding inherits a lock that a thread of its
// parent holds and that nobody here would ever release. So the first binding in a process that has
// not used the unit's locks makes them anew, along with what the parent's thread had half done.
// (Handlers of pthread_atfork would have to hold twelve locks while the OSAL's own handlers run.)
void own_locks(unit &unit) {
  const pid_t mine = getpid();
  const auto owner = [&unit] { return __atomic_load_n(&unit.process, __ATOMIC_ACQUIRE); };
  for (pid_t process = owner(); process != mine; process = owner()) {
    const bool is_inherited = process != 0;
    // Another thread that is at it needs a few instructions, so look again; a process that
    // inherited nothing finds itself the owner.
    if (process == -mine ||
        !__atomic_compare_exchange_n(&unit.process, &process, is_inherited ? -mine : mine, false,
                                     __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE) ||
        !is_inherited)
      continue;
    unit_runtime &runtime = unit.runtime;
    runtime.bind_lock = PTHREAD_MUTEX_INITIALIZER;
    runtime.cache_lock = PTHREAD_MUTEX_INITIALIZER;
    if (runtime.cache_bound == 0) {
      runtime.cache_alloc = heap_alloc;
      runtime.cache_free = heap_free;
    }
    __atomic_store_n(&unit.process, mine, __ATOMIC_RELEASE);
  }
}

} // namespace

void *heap_alloc(uint32_t size, uint32_t, const char *) {
  return malloc(size);
}
void heap_free(void *block, uint32_t, const char *) {
  free(block);
}

void bind_general_once(unit &unit) {
  own_locks(unit);
  unit_runtime &runtime = unit.runtime;
  pthread_mutex_lock(&runtime.bind_lock);
  if (runtime.bound == 0) {
    if (runtime.log_write == nullptr)
      runtime.log_write = look_up<osal_log_write_fn>("VRX_OsalLogWrite");
    runtime.mem_alloc = look_up<osal_alloc_fn>("VRX_OsalMemAlloc");
    runtime.mem_free = look_up<osal_free_fn>("VRX_OsalMemFree");
    // Never one function of the OSAL beside one of the heap: a block must go back where it is from.
    if (runtime.mem_alloc == nullptr || runtime.mem_free == nullptr) {
      runtime.mem_alloc = heap_alloc;
      runtime.mem_free = heap_free;
    }
    __atomic_store_n(&runtime.bound, 1, __ATOMIC_RELEASE);
  }
  pthread_mutex_unlock(&runtime.bind_lock);
}

void bind_cache_once(unit &unit) {
  own_locks(unit);
  unit_runtime &runtime = unit.runtime;
  pthread_mutex_lock(&runtime.cache_lock);
  if (runtime.cache_bound == 0) {
    clear_byte_swap(unit); // atomically: a decoder may be reading it
    auto *use_flag = look_up<osal_use_flag_get_fn>("VRX_OsalMemUseFlagGet");
    if (use_flag != nullptr && use_flag(cache_module_id) == 1) {
      runtime.cache_alloc = look_up<osal_alloc_fn>("VRX_OsalMemCacheAlloc");
      runtime.cache_free = look_up<osal_free_fn>("VRX_OsalMemFree");
    }
    if (runtime.cache_alloc == nullptr || runtime.cache_free == nullptr) {
      runtime.cache_alloc = heap_alloc;
      runtime.cache_free = heap_free;
    }
    __atomic_store_n(&runtime.cache_bound, 1, __ATOMIC_RELEASE);
  }
  pthread_mutex_unlock(&runtime.cache_lock);
}

} // namespace mesh_fib6::runtime
