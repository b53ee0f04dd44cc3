// Allocations that fail because the environment asks for it.
//
// Room: host. This folder's settings and the standard library.
#pragma once

#include "host/osal_settings.h"

#include <atomic>
#include <cstdint>
#include <utility>

namespace osal_host {

class faults {
public:
  explicit faults(failing how) : how_(std::move(how)) {}

  // Asked once for each allocation, by any thread. 0, or the number of the allocation when it is to
  // fail. Whether number N fails is decided by N and the settings alone: with several threads it is
  // the same numbers that fail each time, though not the same threads that draw them.
  uint64_t strike(const char *caller);

private:
  bool hits(uint64_t number) const;

  const failing how_;
  std::atomic<uint64_t> asked_{0};
};

} // namespace osal_host
