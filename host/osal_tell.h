// Lines on stderr, of the OSAL stand-in and of those who log through it.
//
// Room: host. Standard library only. No locks here: a fork in another thread must not leave one
// taken in the child.
#pragma once

#include <atomic>
#include <cstdint>

namespace osal_host {

// One line, one write: lines of several threads and processes stay whole. A longer line is cut.
[[gnu::format(printf, 1, 2)]] void say(const char *format, ...);

const char *or_none(const char *text);

// Which of many like events are told: the first, then at most one a second.
class seldom {
public:
  // True when this one may be told; `untold` is how many were not since the last one told.
  bool pass(uint64_t &untold);

private:
  std::atomic<int64_t> next_at_{0};
  std::atomic<uint64_t> untold_{0};
};

} // namespace osal_host
