// The one gate between a received buffer and whoever reads it.
//
// Room: wire/format. Positions and sizes are unsigned 32-bit bytes counted from the buffer's start.
// The buffer is untrusted; nothing of it is read before holds() has said yes. The few other ways in
// which a read is allowed are listed, each with its proof, in docs/security.md ("What may be
// read").
#pragma once

#include <cstdint>

namespace mesh_fib6::wire {

inline constexpr uint32_t least_received = 4;

struct received {
  const uint8_t *bytes;
  uint32_t size; // at least least_received, at most INT32_MAX: checked where the buffer comes in

  // Whether `count` bytes at `at` are inside. Written as a subtraction: it cannot wrap.
  constexpr bool holds(uint32_t at, uint32_t count) const {
    if (__builtin_constant_p(count <= least_received) && count <= least_received)
      return at <= size - count;
    return count <= size && at <= size - count;
  }

  // What there is from `at` on, where at least least_received bytes are inside.
  constexpr received from(uint32_t at) const { return {bytes + at, size - at}; }
};

} // namespace mesh_fib6::wire
