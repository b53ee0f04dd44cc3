// What this process refused, counted and told on stderr.
//
// Room: host. Includes the standard library and the host's public header only.
#pragma once

#include "host/mesh_host.h"

#include <atomic>
#include <cstdint>

namespace mesh_host {

struct counters {
  std::atomic<uint64_t> sent, delivered, bytes_sent, bytes_received;
  std::atomic<uint64_t> unknown_identifier, oversize, malformed;
};

counters &counts();

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

} // namespace mesh_host
