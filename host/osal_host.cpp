// The OSAL stand-in: a heap that keeps books and fails to order, and a log on stderr.
//
// Room: host. Includes the platform's OSAL, its own header and its parts beside it.
#pragma GCC visibility push(default)
#include "host/osal_host.h"
#include "platform/osal.h"
#pragma GCC visibility pop

#include "host/osal_books.h"
#include "host/osal_faults.h"
#include "host/osal_poison.h"
#include "host/osal_settings.h"
#include "host/osal_tell.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <pthread.h>
#include <unistd.h>

namespace osal_host {
namespace {

constexpr uint32_t cache_module = 12;

thread_local bool log_held = false;

struct osal {
  const settings asked = read_settings();
  books kept{asked.report || asked.poison};
  faults failures{asked.fail};
  seldom failures_told;
};

// Never destroyed: threads may release blocks while the process ends. Throws std::bad_alloc where
// there is no memory for what the environment asks; the next call tries again.
osal &host() {
  alignas(osal) static std::byte place[sizeof(osal)];
  static osal *const the_host = new (place) osal;
  return *the_host;
}

// Nothing is thrown through a C function.
template <class Result, class Work>
Result guarded(Result without_memory, const char *what, Work work) {
  try {
    return work();
  } catch (const std::bad_alloc &) {
    say("osal_host: no memory to %s", what);
    return without_memory;
  }
}

// A forked child has one thread, and nobody to give back what another one had locked. So the books
// are locked while the process is copied, and the child begins with whole ones. Books that no
// memory could be found for are not there to be locked.
thread_local bool locked_for_fork = false;

void before_fork() {
  locked_for_fork = guarded(false, "lock the books for a fork", [] {
    host().kept.lock();
    return true;
  });
}
void after_fork() {
  if (locked_for_fork)
    host().kept.unlock();
}

// The C library forgets these handlers when this library is unloaded.
[[gnu::constructor]] void guard_forks() {
  const int error = pthread_atfork(before_fork, after_fork, after_fork);
  if (error != 0)
    say("osal_host: a forked child may hang: %s", strerror(error));
}

void tell_failure(uint64_t number, uint32_t size, uint32_t module, const char *caller) {
  uint64_t untold = 0;
  if (host().failures_told.pass(untold))
    say("osal_host: allocation %llu fails as asked: %u bytes, module %u, %s (%llu more since the "
        "last such line)",
        static_cast<unsigned long long>(number), size, module, or_none(caller),
        static_cast<unsigned long long>(untold));
}

// The size in the heap. An address of its own for empty blocks too, so that their release can be
// told from a mistake.
size_t size_in_heap(uint32_t size) {
  if (host().asked.poison)
    return size + guard.size();
  return size != 0 ? size : 1;
}

void *allocate(uint32_t size, uint32_t module, const char *caller) {
  osal &my = host();
  if (const uint64_t number = my.failures.strike(caller); number != 0) {
    my.kept.count_injected_failure();
    tell_failure(number, size, module, caller);
    return nullptr;
  }
  void *address = malloc(size_in_heap(size));
  if (address == nullptr) {
    my.kept.count_failed_allocation();
    say("osal_host: no memory for %u bytes, module %u, %s", size, module, or_none(caller));
    return nullptr;
  }
  try {
    my.kept.enter(address, size, module, caller);
  } catch (const std::bad_alloc &) {
    free(address);
    my.kept.count_failed_allocation();
    throw;
  }
  if (my.asked.poison)
    poison_fresh(address, size);
  return address;
}

void check_end(const void *address, const block &known) {
  const size_t behind = overrun_of(address, known.size);
  if (behind == 0)
    return;
  host().kept.count_overrun();
  say("osal_host: written behind the end of %p, %u bytes, module %u, %s: byte %zu behind it",
      address, known.size, known.module, known.tag != nullptr ? known.tag->c_str() : "-", behind);
}

void release(void *address, uint32_t module, const char *caller) {
  osal &my = host();
  block known{};
  const books::entry entry = my.kept.strike_out(address, known);
  if (entry != books::entry::live) {
    my.kept.count_wrong_release();
    say("osal_host: wrong release of %p, %s, module %u, %s", address,
        entry == books::entry::released_before ? "released before" : "never allocated here", module,
        or_none(caller));
    return;
  }
  if (known.module != module) {
    my.kept.count_wrong_release();
    say("osal_host: wrong release of %p, allocated for module %u, released for module %u, %s",
        address, known.module, module, or_none(caller));
  }
  if (my.asked.poison) {
    check_end(address, known);
    poison_released(address, known.size);
  }
  free(address);
}

// What the platform's log writer finds behind its first argument.
struct log_descriptor {
  const char *module;
  const char *submodule;
  uint32_t memory_module;
};

void list_remainders() {
  constexpr size_t most_lines = 20;
  const std::vector<remainder> left = host().kept.remainders();
  for (size_t i = 0; i < left.size() && i < most_lines; i++)
    say("osal_host: left: %llu blocks %llu bytes, module %u, %s",
        static_cast<unsigned long long>(left[i].blocks),
        static_cast<unsigned long long>(left[i].bytes), left[i].module, left[i].tag.c_str());
  if (left.size() > most_lines)
    say("osal_host: left: and %zu more modules and tags", left.size() - most_lines);
}

void report() {
  if (!host().asked.report)
    return;
  const osal_host_accounts now = host().kept.accounts();
  say("osal_host: process %d: %llu allocations, peak %llu blocks %llu bytes, left %llu blocks %llu "
      "bytes, %llu wrong releases, %llu log lines, %llu failed and %llu injected failures, %llu "
      "overruns",
      static_cast<int>(getpid()), static_cast<unsigned long long>(now.allocations),
      static_cast<unsigned long long>(now.peak_blocks),
      static_cast<unsigned long long>(now.peak_bytes),
      static_cast<unsigned long long>(now.live_blocks),
      static_cast<unsigned long long>(now.live_bytes),
      static_cast<unsigned long long>(now.wrong_releases),
      static_cast<unsigned long long>(now.log_lines),
      static_cast<unsigned long long>(now.failed_allocations),
      static_cast<unsigned long long>(now.injected_failures),
      static_cast<unsigned long long>(now.overruns));
  list_remainders();
}

// Nothing can be thrown at the end of a process.
[[gnu::destructor]] void report_at_exit() {
  try {
    report();
  } catch (const std::bad_alloc &) {
    say("osal_host: process %d: no memory to report from", static_cast<int>(getpid()));
  }
}

} // namespace
} // namespace osal_host

void *VRX_OsalMemAlloc(uint32_t size, uint32_t module, const char *caller) {
  return osal_host::guarded<void *>(nullptr, "enter a block in the books, which is refused",
                                    [&] { return osal_host::allocate(size, module, caller); });
}

void *VRX_OsalMemCacheAlloc(uint32_t size, uint32_t module, const char *caller) {
  return osal_host::guarded<void *>(nullptr, "enter a block in the books, which is refused",
                                    [&] { return osal_host::allocate(size, module, caller); });
}

void VRX_OsalMemFree(void *block, uint32_t module, const char *caller) {
  if (block != nullptr)
    (void)osal_host::guarded(false, "look for a block that is released", [&] {
      osal_host::release(block, module, caller);
      return true;
    });
}

uint32_t VRX_OsalMemUseFlagGet(uint32_t module) {
  return osal_host::guarded(uint32_t{0}, "read the use flag", [&] {
    return module == osal_host::cache_module ? osal_host::host().asked.use_flag : 0;
  });
}

void VRX_OsalLogWrite(const void *descriptor, uint32_t level, uint32_t category, const char *text,
                      uint32_t line, const char *function, const char *format, ...) {
  using osal_host::or_none;
  osal_host::log_descriptor from{nullptr, nullptr, 0};
  if (descriptor != nullptr)
    memcpy(&from, descriptor, sizeof from);
  char message[1024] = "";
  if (format != nullptr) {
    va_list arguments;
    va_start(arguments, format);
    (void)vsnprintf(message, sizeof message, format, arguments); // a longer text is cut
    va_end(arguments);
  }
  (void)osal_host::guarded(false, "count a log line", [] {
    osal_host::host().kept.count_log_line();
    return true;
  });
  if (osal_host::log_held)
    return;
  osal_host::say("%s/%s level %u category %u %s:%u: %s%s", or_none(from.module),
                 or_none(from.submodule), level, category, or_none(function), line,
                 text != nullptr ? text : "", message);
}

void osal_host_hold_log(int hold) {
  osal_host::log_held = hold != 0;
}

void osal_host_get_accounts(osal_host_accounts *accounts) {
  *accounts = osal_host::guarded(osal_host_accounts{}, "open the books",
                                 [] { return osal_host::host().kept.accounts(); });
}
