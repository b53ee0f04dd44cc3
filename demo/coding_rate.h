// How fast route messages are encoded and decoded, apart from sending them.
//
// Room: demo. Includes the public headers of module fib6 and this folder.
#pragma once

#include <mesh_fib6/fib6.h>

#include <cstdint>
#include <vector>

namespace demo {

struct coding_rate {
  uint64_t bytes = 0;     // of all messages, encoded
  uint64_t encode_ns = 0; // for all messages, the best of several passes
  uint64_t decode_ns = 0; // likewise, allocation and release included
};

// Packs all messages, then unpacks and releases what was packed. Throws failure when a message does
// not come back with as many entries as it had.
coding_rate measure_coding(const std::vector<feiBrokerFib6_ipv6FwdUpdateMsg> &messages);

} // namespace demo
