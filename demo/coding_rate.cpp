// How fast route messages are encoded and decoded, apart from sending them.
//
// Room: demo. Includes the public headers of module fib6 and this folder.
#include "demo/coding_rate.h"

#include "demo/route_model.h"
#include "demo/text.h"

#include <algorithm>
#include <chrono>
#include <span>

namespace demo {

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

uint32_t most_bytes(const feiBrokerFib6_ipv6FwdUpdateMsg &message) {
  return static_cast<uint32_t>(largest_message_frame + message.f1_count * largest_entry);
}

struct packed_message {
  uint8_t *bytes;
  uint32_t length;
};

packed_message pack(const feiBrokerFib6_ipv6FwdUpdateMsg &message, uint8_t *buffer,
                    size_t capacity) {
  uint32_t length = static_cast<uint32_t>(capacity);
  if (feiBrokerFib6_ipv6FwdUpdateMsg__pack(&message, buffer, &length) != 0)
    throw failure("a route message could not be encoded");
  return {buffer, length};
}

uint64_t unpacked_entries(const packed_message &packed) {
  feiBrokerFib6_ipv6FwdUpdateMsg message{};
  feiBrokerFib6_ipv6FwdUpdateMsg__unpack(packed.bytes, packed.length, &message);
  const uint64_t entries = entries_of(message).size();
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&message);
  return entries;
}

// One run over all messages, a buffer full at a time: as when sending, the bytes are still in the
// processor's cache when they are read, and the clock is not asked for every small message.
class coding_pass {
public:
  explicit coding_pass(std::span<const feiBrokerFib6_ipv6FwdUpdateMsg> all) : left(all) {
    size_t capacity = largest_batch;
    for (const auto &message : all)
      capacity = std::max<size_t>(capacity, most_bytes(message));
    buffer.resize(capacity);
  }

  coding_rate run() {
    while (!left.empty()) {
      encode_a_buffer_full();
      decode_it();
    }
    return rate;
  }

  uint64_t decoded_entries() const { return entries; }

private:
  void encode_a_buffer_full() {
    packed.clear();
    size_t used = 0;
    const stopwatch encoding;
    while (!left.empty() && most_bytes(left.front()) <= buffer.size() - used) {
      packed.push_back(pack(left.front(), buffer.data() + used, buffer.size() - used));
      used += packed.back().length;
      left = left.subspan(1);
    }
    rate.encode_ns += encoding.nanoseconds();
    rate.bytes += used;
  }

  void decode_it() {
    const stopwatch decoding;
    for (const packed_message &each : packed)
      entries += unpacked_entries(each);
    rate.decode_ns += decoding.nanoseconds();
  }

  std::span<const feiBrokerFib6_ipv6FwdUpdateMsg> left;
  std::vector<uint8_t> buffer;
  std::vector<packed_message> packed;
  coding_rate rate;
  uint64_t entries = 0;
};

} // namespace

coding_rate measure_coding(const std::vector<feiBrokerFib6_ipv6FwdUpdateMsg> &messages) {
  uint64_t entries = 0;
  for (const auto &message : messages)
    entries += message.f1_count;

  coding_rate best{0, UINT64_MAX, UINT64_MAX};
  for (int i = 0; i < passes; i++) {
    coding_pass pass(messages);
    const coding_rate now = pass.run();
    if (pass.decoded_entries() != entries)
      throw failure("of " + grouped(entries) + " encoded routes " +
                    grouped(pass.decoded_entries()) + " could be decoded");
    best = {now.bytes, std::min(best.encode_ns, now.encode_ns),
            std::min(best.decode_ns, now.decode_ns)};
  }
  return best;
}

} // namespace demo
