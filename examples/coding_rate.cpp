// How fast route messages are encoded and decoded, apart from sending them.
//
// Room: examples. Includes the public headers of module fib6 and this folder.
#include "examples/coding_rate.h"

#include "examples/route_model.h"
#include "examples/text.h"

#include <algorithm>
#include <chrono>
#include <limits>

namespace example {

namespace {

constexpr int passes = 5; // the best one is the least disturbed

class stopwatch {
public:
  uint64_t nanoseconds() const {
    const auto elapsed = std::chrono::steady_clock::now() - start;
    return static_cast<uint64_t>(std::chrono::nanoseconds(elapsed).count());
  }

private:
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

struct packed_message {
  std::vector<uint8_t> buffer;
  uint32_t length;
};

uint32_t most_bytes(const feiBrokerFib6_ipv6FwdUpdateMsg &message) {
  return static_cast<uint32_t>(largest_message_frame + message.f1_count * largest_entry);
}

void pack(const feiBrokerFib6_ipv6FwdUpdateMsg &message, packed_message &packed) {
  packed.length = static_cast<uint32_t>(packed.buffer.size());
  if (feiBrokerFib6_ipv6FwdUpdateMsg__pack(&message, packed.buffer.data(), &packed.length) != 0)
    throw failure("a route message could not be encoded");
}

uint64_t unpacked_entries(const packed_message &packed) {
  feiBrokerFib6_ipv6FwdUpdateMsg message{};
  feiBrokerFib6_ipv6FwdUpdateMsg__unpack(packed.buffer.data(), packed.length, &message);
  const uint32_t entries = message.f1 != nullptr ? message.f1_count : 0;
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&message);
  return entries;
}

} // namespace

coding_rate measure_coding(const std::vector<feiBrokerFib6_ipv6FwdUpdateMsg> &messages) {
  constexpr uint64_t never = std::numeric_limits<uint64_t>::max();
  coding_rate best{0, never, never};
  uint64_t entries = 0;
  std::vector<packed_message> packed;
  for (const auto &message : messages) {
    packed.push_back({std::vector<uint8_t>(most_bytes(message)), 0});
    entries += message.f1_count;
  }

  for (int pass = 0; pass < passes; pass++) {
    const stopwatch encoding;
    for (size_t i = 0; i < messages.size(); i++)
      pack(messages[i], packed[i]);
    best.encode_ns = std::min(best.encode_ns, encoding.nanoseconds());

    uint64_t decoded = 0;
    const stopwatch decoding;
    for (const packed_message &each : packed)
      decoded += unpacked_entries(each);
    best.decode_ns = std::min(best.decode_ns, decoding.nanoseconds());
    if (decoded != entries)
      throw failure("of " + grouped(entries) + " encoded routes " + grouped(decoded) +
                    " could be decoded");
  }
  for (const packed_message &each : packed)
    best.bytes += each.length;
  return best;
}

} // namespace example
