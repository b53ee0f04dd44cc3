// Points in time until which a call may wait.
//
// Room: host. Standard library only.
#pragma once

#include <chrono>

namespace mesh_host {

using clock = std::chrono::steady_clock;
using deadline = clock::time_point;

// `timeout_ms` from now. Negative is without limit; a year is that, and cannot overflow in the
// arithmetic of condition variables and polls.
inline deadline deadline_after(int timeout_ms) {
  if (timeout_ms < 0)
    return clock::now() + std::chrono::hours(24 * 365);
  return clock::now() + std::chrono::milliseconds(timeout_ms);
}

// Whole milliseconds left, rounded up so that a poll does not end just before the deadline and
// spin; at most `longest`.
inline long remaining_ms(deadline until, long longest = 3'600'000) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - clock::now()).count();
  if (left <= 0)
    return 0;
  return left < longest ? static_cast<long>(left) : longest;
}

} // namespace mesh_host
