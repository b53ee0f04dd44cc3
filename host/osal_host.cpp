// The OSAL stand-in: a heap that keeps books, and a log on stderr.
//
// Room: host. Includes the platform's OSAL and its own header; libc and the standard library
// otherwise. Blocks are known by address in a table beside the heap, not by a header in front of
// them: a header can only be read where there is one, and a wrong address may have none.
#pragma GCC visibility push(default)
#include "host/osal_host.h"
#include "platform/osal.h"
#pragma GCC visibility pop

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <pthread.h>
#include <unistd.h>
#include <unordered_map>

namespace {

constexpr uint32_t cache_module = 12;

thread_local bool log_held = false;

struct block {
  uint32_t size;
  uint32_t module;
};

// One lock for a sixteenth of all addresses, so that threads seldom meet.
struct shard {
  std::mutex lock;
  std::unordered_map<const void *, block> live;
  // Only to word the complaint about a second release: addresses released lately.
  std::deque<const void *> released;
};

// What concerns blocks changes only while a shard's lock is held; a snapshot holds all of them.
struct books {
  std::atomic<uint64_t> allocations, releases, live_blocks, live_bytes, peak_blocks, peak_bytes;
  std::atomic<uint64_t> failed_allocations, wrong_releases, log_lines;
};

struct osal {
  std::array<shard, 16> shards;
  books counts{};
};

// Never destroyed: threads may release blocks while the process ends.
osal &host() {
  static osal *const the_host = new osal;
  return *the_host;
}

shard &shard_of(const void *address) {
  const auto number = reinterpret_cast<uintptr_t>(address);
  // The lowest four bits of heap addresses are always the same.
  return host().shards[(number >> 4 ^ number >> 12) % host().shards.size()];
}

void raise(std::atomic<uint64_t> &peak, uint64_t value) {
  uint64_t seen = peak.load();
  while (seen < value && !peak.compare_exchange_weak(seen, value)) {
  }
}

// One line, one write: lines of several threads and processes stay whole. A longer line is cut.
[[gnu::format(printf, 1, 0)]] void write_line(const char *format, va_list arguments) {
  char line[2048];
  const int wanted = vsnprintf(line, sizeof line - 1, format, arguments);
  if (wanted < 0)
    return;
  size_t length = static_cast<size_t>(wanted);
  if (length > sizeof line - 2)
    length = sizeof line - 2;
  line[length++] = '\n';
  const ssize_t written = write(STDERR_FILENO, line, length);
  (void)written; // there is nobody left to tell
}

[[gnu::format(printf, 1, 2)]] void say(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  write_line(format, arguments);
  va_end(arguments);
}

// Always all of them in this order; who holds one never asks for another.
void lock_books() {
  for (shard &each : host().shards)
    each.lock.lock();
}
void unlock_books() {
  for (shard &each : host().shards)
    each.lock.unlock();
}

// A forked child has one thread, and nobody to give back what another one had locked. So the books
// are locked while the process is copied, and the child begins with whole ones. The C library
// forgets these handlers when this library is unloaded.
[[gnu::constructor]] void guard_forks() {
  if (const int error = pthread_atfork(lock_books, unlock_books, unlock_books); error != 0)
    say("osal_host: a forked child may hang: %s", strerror(error));
}

const char *or_none(const char *text) {
  return text != nullptr ? text : "-";
}

void *allocate(uint32_t size, uint32_t module, const char *caller) {
  // An address of its own for empty blocks too, so that their release can be told from a mistake.
  void *address = malloc(size != 0 ? size : 1);
  if (address == nullptr) {
    host().counts.failed_allocations++;
    say("osal_host: no memory for %u bytes, module %u, %s", size, module, or_none(caller));
    return nullptr;
  }
  shard &home = shard_of(address);
  const std::lock_guard held(home.lock);
  home.live[address] = {size, module};
  books &counts = host().counts;
  counts.allocations++;
  raise(counts.peak_blocks, ++counts.live_blocks);
  raise(counts.peak_bytes, counts.live_bytes += size);
  return address;
}

bool released_lately(const shard &home, const void *address) {
  for (const void *known : home.released)
    if (known == address)
      return true;
  return false;
}

void remember_release(shard &home, const void *address) {
  constexpr size_t kept = 64;
  home.released.push_back(address);
  if (home.released.size() > kept)
    home.released.pop_front();
}

void release(void *address, uint32_t module, const char *caller) {
  books &counts = host().counts;
  shard &home = shard_of(address);
  {
    const std::lock_guard held(home.lock);
    const auto found = home.live.find(address);
    if (found == home.live.end()) {
      counts.wrong_releases++;
      say("osal_host: wrong release of %p, %s, module %u, %s", address,
          released_lately(home, address) ? "released before" : "never allocated here", module,
          or_none(caller));
      return;
    }
    const block known = found->second;
    if (known.module != module) {
      counts.wrong_releases++;
      say("osal_host: wrong release of %p, allocated for module %u, released for module %u, %s",
          address, known.module, module, or_none(caller));
    }
    home.live.erase(found);
    remember_release(home, address);
    counts.releases++;
    counts.live_blocks--;
    counts.live_bytes -= known.size;
  }
  free(address);
}

// What the platform's log writer finds behind its first argument.
struct log_descriptor {
  const char *module;
  const char *submodule;
  uint32_t memory_module;
};

[[gnu::destructor]] void report_at_exit() {
  if (getenv("OSAL_HOST_REPORT") == nullptr)
    return;
  osal_host_accounts now;
  osal_host_get_accounts(&now);
  say("osal_host: process %d: %llu allocations, peak %llu blocks %llu bytes, left %llu blocks %llu "
      "bytes, %llu wrong releases, %llu log lines",
      static_cast<int>(getpid()), static_cast<unsigned long long>(now.allocations),
      static_cast<unsigned long long>(now.peak_blocks),
      static_cast<unsigned long long>(now.peak_bytes),
      static_cast<unsigned long long>(now.live_blocks),
      static_cast<unsigned long long>(now.live_bytes),
      static_cast<unsigned long long>(now.wrong_releases),
      static_cast<unsigned long long>(now.log_lines));
}

} // namespace

void *VRX_OsalMemAlloc(uint32_t size, uint32_t module, const char *caller) {
  return allocate(size, module, caller);
}

void *VRX_OsalMemCacheAlloc(uint32_t size, uint32_t module, const char *caller) {
  return allocate(size, module, caller);
}

void VRX_OsalMemFree(void *block, uint32_t module, const char *caller) {
  if (block != nullptr)
    release(block, module, caller);
}

uint32_t VRX_OsalMemUseFlagGet(uint32_t module) {
  if (module != cache_module)
    return 0;
  const char *answer = getenv("OSAL_HOST_USE_FLAG");
  return answer == nullptr ? 1 : static_cast<uint32_t>(strtoul(answer, nullptr, 0));
}

void VRX_OsalLogWrite(const void *descriptor, uint32_t level, uint32_t category, const char *text,
                      uint32_t line, const char *function, const char *format, ...) {
  log_descriptor from{nullptr, nullptr, 0};
  if (descriptor != nullptr)
    memcpy(&from, descriptor, sizeof from);
  char message[1024] = "";
  if (format != nullptr) {
    va_list arguments;
    va_start(arguments, format);
    (void)vsnprintf(message, sizeof message, format, arguments); // a longer text is cut
    va_end(arguments);
  }
  {
    const std::lock_guard held(host().shards[0].lock);
    host().counts.log_lines++;
  }
  if (log_held)
    return;
  say("%s/%s level %u category %u %s:%u: %s%s", or_none(from.module), or_none(from.submodule),
      level, category, or_none(function), line, text != nullptr ? text : "", message);
}

void osal_host_hold_log(int hold) {
  log_held = hold != 0;
}

void osal_host_get_accounts(osal_host_accounts *accounts) {
  lock_books();
  const books &counts = host().counts;
  accounts->allocations = counts.allocations;
  accounts->releases = counts.releases;
  accounts->live_blocks = counts.live_blocks;
  accounts->live_bytes = counts.live_bytes;
  accounts->peak_blocks = counts.peak_blocks;
  accounts->peak_bytes = counts.peak_bytes;
  accounts->failed_allocations = counts.failed_allocations;
  accounts->wrong_releases = counts.wrong_releases;
  accounts->log_lines = counts.log_lines;
  unlock_books();
}
