// What this process says on stderr.
//
// Room: host. Standard library only.
#pragma once

#include <atomic>
#include <cstdint>

namespace mesh_host {

// One line on stderr, "mesh_host: " in front, in one write.
[[gnu::format(printf, 1, 2)]] void tell(const char *format, ...);

// Decides which of many like complaints are told: the first, then at most one a second.
class rate_limit {
public:
  // True when this one may be told; `skipped` is how many were not since the last one told.
  bool pass(uint64_t &skipped);

private:
  std::atomic<int64_t> next_at_{0};
  std::atomic<uint64_t> skipped_{0};
};

// For `%llu` of a 64-bit number, whatever its type is here.
inline unsigned long long number(uint64_t value) {
  return value;
}

} // namespace mesh_host
