// Recording malloc and free without using either.
//
// Room: tests.
#include "tests/runtime/heap_watch.h"

#include <atomic>
#include <cstdlib>

#if defined(__has_feature)
#define HEAP_WATCH_FEATURE(name) __has_feature(name)
#else
#define HEAP_WATCH_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) ||                               \
    HEAP_WATCH_FEATURE(address_sanitizer) || HEAP_WATCH_FEATURE(thread_sanitizer)
#define HEAP_WATCH_BY_SANITIZER 1
#endif

namespace {

struct event {
  const volatile void *block;
  size_t size;
  bool is_release;
};

constexpr size_t capacity = 65536;
event events[capacity];
std::atomic<size_t> event_count{0};
std::atomic<bool> recording{false};

void record(const volatile void *block, size_t size, bool is_release) {
  if (!recording.load(std::memory_order_relaxed))
    return;
  const size_t at = event_count.fetch_add(1, std::memory_order_relaxed);
  if (at >= capacity)
    abort(); // a test that needs more must ask for less
  events[at] = {block, size, is_release};
}

template <class Wanted>
size_t count_events(Wanted wanted) {
  size_t found = 0;
  for (size_t i = 0; i < event_count.load(); ++i)
    if (wanted(events[i]))
      ++found;
  return found;
}

} // namespace

#if defined(HEAP_WATCH_BY_SANITIZER)

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void *, size_t),
                                                         void (*)(const volatile void *));

namespace {
[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void *block, size_t size) { record(block, size, false); },
    [](const volatile void *block) { record(block, 0, true); });
} // namespace

#else

extern "C" {
void *__libc_malloc(size_t size);
void __libc_free(void *block);

void *malloc(size_t size) {
  void *block = __libc_malloc(size);
  record(block, size, false);
  return block;
}

void free(void *block) {
  record(block, 0, true);
  __libc_free(block);
}
}

#endif

namespace heap_watch {

void start() {
  event_count = 0;
  recording = true;
}

void stop() {
  recording = false;
}

size_t allocations(const void *block, size_t size) {
  return count_events(
      [=](const event &e) { return !e.is_release && e.block == block && e.size == size; });
}

size_t releases(const void *block) {
  return count_events([=](const event &e) { return e.is_release && e.block == block; });
}

} // namespace heap_watch
