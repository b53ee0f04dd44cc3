// Telling.
//
// Room: host. No locks here: a fork in another thread must not leave one taken in the child.
#include "host/tell.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace mesh_host {

void tell(const char *format, ...) {
  constexpr char prefix[] = "mesh_host: ";
  constexpr size_t prefix_length = sizeof prefix - 1;
  char line[1024];
  memcpy(line, prefix, prefix_length);

  va_list arguments;
  va_start(arguments, format);
  const int wanted =
      vsnprintf(line + prefix_length, sizeof line - prefix_length - 1, format, arguments);
  va_end(arguments);
  if (wanted < 0)
    return;

  size_t length = prefix_length + static_cast<size_t>(wanted);
  if (length > sizeof line - 2)
    length = sizeof line - 2;
  line[length++] = '\n';
  const ssize_t written = write(STDERR_FILENO, line, length);
  (void)written; // there is nobody left to tell
}

bool rate_limit::pass(uint64_t &skipped) {
  using namespace std::chrono;
  constexpr int64_t interval_ms = 1000;
  const int64_t now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
  int64_t due = next_at_.load();
  if (now < due || !next_at_.compare_exchange_strong(due, now + interval_ms)) {
    skipped_++;
    return false;
  }
  skipped = skipped_.exchange(0);
  return true;
}

} // namespace mesh_host
