// Lines on stderr.
//
// Room: host. Standard library and libc.
#include "host/osal_tell.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <unistd.h>

namespace osal_host {

void say(const char *format, ...) {
  char line[2048];
  va_list arguments;
  va_start(arguments, format);
  const int wanted = vsnprintf(line, sizeof line - 1, format, arguments);
  va_end(arguments);
  if (wanted < 0)
    return;
  size_t length = static_cast<size_t>(wanted);
  if (length > sizeof line - 2)
    length = sizeof line - 2;
  line[length++] = '\n';
  const ssize_t written = write(STDERR_FILENO, line, length);
  (void)written; // there is nobody left to tell
}

const char *or_none(const char *text) {
  return text != nullptr ? text : "-";
}

bool seldom::pass(uint64_t &untold) {
  using namespace std::chrono;
  constexpr int64_t interval_ms = 1000;
  const int64_t now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
  int64_t due = next_at_.load();
  if (now < due || !next_at_.compare_exchange_strong(due, now + interval_ms)) {
    untold_++;
    return false;
  }
  untold = untold_.exchange(0);
  return true;
}

} // namespace osal_host
