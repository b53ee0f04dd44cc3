// What the programs of scripts/host-load share: the table that is sent, the board on which
// receivers count, and how a sender is told to work.
//
// Room: bench. Includes module fib6's public header, Linux.
//
// A sender and its receivers are processes. A receiver counts on the board, a file that all map;
// the sender waits there for the last of its messages. So the time of a round ends when the last
// record is decoded and looked at, whoever carries the messages, and nothing goes back on the
// measured way for it.
#pragma once

#include "bench/routes.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace bench {

using route = feiBrokerFib6_ipv6Fwd;
using route_message = feiBrokerFib6_ipv6FwdUpdateMsg;

inline constexpr uint32_t most_receivers = 16;
// What __sendbatch takes together, and so what any contestant sends at once.
inline constexpr size_t most_batch_bytes = 65536;

struct alignas(64) board_slot {
  std::atomic<uint64_t> ready;    // the receiver is there
  std::atomic<uint64_t> messages; // decoded and looked at
  std::atomic<uint64_t> sum;      // of the input lines of all routes in them
  std::atomic<uint64_t> wrong;    // messages that did not follow the one before
};
struct board {
  board_slot slots[most_receivers];
};

// Ends the program with a message when the file cannot be mapped.
board &open_board(const char *path);

uint64_t now_ns();

// "load_bus: ..." on stderr, status 1.
[[noreturn, gnu::format(printf, 1, 2)]] void fail(const char *format, ...);
uint32_t parse_number(const char *word, const char *what, uint32_t least, uint32_t most);

// Goes with its parent, and ends in order when it is asked to.
void begin_process();
bool end_asked();

// Messages of `per_message` routes each, over and over.
class route_source {
public:
  route_source(std::vector<route> routes, uint32_t per_message, uint32_t batch);

  struct portion {
    std::span<route_message> messages;
    uint64_t sum; // of the input lines of their routes
  };
  // The next messages, numbered from `first`.
  portion next(uint64_t first);
  size_t size() const { return sums_.size(); } // in batches

private:
  std::vector<route> routes_;
  uint32_t batch_;
  std::vector<route_message> messages_;
  std::vector<uint64_t> sums_; // of the batches
  size_t at_ = 0;
};

// Looks at every route of a decoded message and counts it.
class tally {
public:
  explicit tally(board_slot &slot) : slot_(slot) {}
  void take(const route_message &message) {
    // Pointers, not counts: a record that the decoder refused has counts and no routes.
    if (message.f1 == nullptr || message.f0 != static_cast<uint32_t>(messages_ + 1))
      slot_.wrong.fetch_add(1, std::memory_order_relaxed);
    for (uint32_t i = 0; message.f1 != nullptr && i < message.f1_count; i++)
      sum_ += message.f1[i].f7;
    slot_.sum.store(sum_, std::memory_order_relaxed);
    slot_.messages.store(++messages_, std::memory_order_release);
  }

private:
  board_slot &slot_;
  uint64_t messages_ = 0, sum_ = 0;
};

void wait_until_ready(board &shared, uint32_t receivers);
void wait_until_taken(board &shared, uint32_t receivers, uint64_t messages, uint64_t sum);

// What goes to every receiver next.
struct step {
  uint64_t messages;
  uint64_t sum; // that it adds to a receiver's
};
// Reads lines, each of them a time in seconds, sends for so long, waits for the last record and
// prints what that was as a line of JSON. `prepare` makes the next batch ready, whose first message
// has this number; `send` hands it to a receiver.
void serve_rounds(board &shared, uint32_t receivers, uint32_t routes_per_message,
                  const std::function<step(uint64_t first)> &prepare,
                  const std::function<void(uint32_t receiver)> &send,
                  const std::function<std::string()> &more = {});

// What a sender is told to send: words TABLE, ROUTES and BATCH.
struct workload {
  workload(const char *table, const char *routes_word, const char *batch_word);

  const uint32_t routes; // in a message
  const uint32_t batch;  // messages in a call
  route_source source;
};
// The same with the next messages of `work` each time.
void serve_rounds(
    board &shared, uint32_t receivers, workload &work,
    const std::function<void(uint32_t receiver, std::span<const route_message> messages)> &send,
    const std::function<std::string()> &more = {});

// Packed messages with their lengths in front, as a program without a bus would frame them.
size_t pack_framed(std::span<const route_message> messages, std::vector<uint8_t> &into);
// All that a workload has, batch by batch.
std::vector<std::vector<uint8_t>> pack_all(workload &work);
// Hands each message of `size` bytes at `at` to `take`, which gets its bytes. Returns how many
// bytes those took that were whole.
template <class Take>
size_t each_framed(const uint8_t *at, size_t size, Take take) {
  size_t done = 0;
  uint32_t length = 0;
  while (size - done >= sizeof length) {
    __builtin_memcpy(&length, at + done, sizeof length);
    if (size - done - sizeof length < length)
      break;
    take(at + done + sizeof length, length);
    done += sizeof length + length;
  }
  return done;
}
inline void take_packed(tally &counted, const uint8_t *at, uint32_t length) {
  route_message record{};
  feiBrokerFib6_ipv6FwdUpdateMsg__unpack(at, length, &record);
  counted.take(record);
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
}

// Most memory this process has had, in KiB. Not from getrusage, which counts the program before
// exec.
uint64_t peak_kib();
uint64_t resident_kib();

} // namespace bench
