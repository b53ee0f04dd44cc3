// Every operation of every message, from many threads at once, the first calls of all six units
// among them. Made for the thread sanitizer; what it sees it reports by itself.
//
// Room: tests. The doubles of ../support take a lock in every call, behind which a race of the
// library would be hidden. So this process has an OSAL and a mesh of its own that share nothing but
// counters, which order nothing.
#include "tests/attacks/many_threads.h"
#include "tests/support/random_record.h"

#include "platform/mesh.h"
#include "platform/osal.h"
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/fib6_cfg.h>
#include <mesh_fib6/fib6_sync.h>

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace mesh_fib6::tools;
using random_record::owned_record;

namespace {

using counter = std::atomic<uint32_t>;
struct {
  counter sends, sent_messages, registrations, clean_hooks;
  counter blocks, released, wrong_releases, lines, wrong_lines, flag_questions;
} seen;

void count(counter &which, uint32_t by = 1) {
  which.fetch_add(by, std::memory_order_relaxed);
}

uint32_t take(counter &which) {
  return which.exchange(0, std::memory_order_relaxed);
}

// In front of every block.
struct alignas(16) block_head {
  uint32_t size, module;
};

void *allocate(uint32_t size, uint32_t module) {
  count(seen.blocks);
  auto *const head = static_cast<block_head *>(std::malloc(sizeof(block_head) + size));
  *head = {size, module};
  return head + 1;
}

} // namespace

extern "C" {

void VRX_OsalLogWrite(const void *descriptor, uint32_t level, uint32_t category, const char *,
                      uint32_t, const char *, const char *format, ...) {
  char line[200];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  const char *const *names = static_cast<const char *const *>(descriptor);
  const bool right = std::string(names[0]) == "VARKO" && level == 2 && category == 22 &&
                     length > 0 && std::string(line).starts_with("[VARKO]:");
  count(right ? seen.lines : seen.wrong_lines);
}

void *VRX_OsalMemAlloc(uint32_t size, uint32_t module, const char *) {
  return allocate(size, module);
}

void *VRX_OsalMemCacheAlloc(uint32_t size, uint32_t module, const char *) {
  return allocate(size, module);
}

void VRX_OsalMemFree(void *block, uint32_t module, const char *) {
  auto *const head = static_cast<block_head *>(block) - 1;
  count(head->module == module ? seen.released : seen.wrong_releases);
  std::free(head);
}

uint32_t VRX_OsalMemUseFlagGet(uint32_t) {
  count(seen.flag_questions);
  return 1;
}

// Reads all that it is given, as a mesh would.
uint64_t MESH_SendMsg(uint32_t, const msg_desc *messages, uint32_t number) {
  uint32_t sum = 0;
  for (uint32_t i = 0; i < number; i++)
    for (uint32_t at = 0; at < messages[i].length; at++)
      sum += static_cast<const uint8_t *>(messages[i].data)[at];
  count(seen.sends);
  count(seen.sent_messages, sum == 0 ? 0 : number); // an offset at least is not zero
  return 0;
}

uint64_t MESH_SendToMsg(uint32_t destination, const msg_desc *messages, uint32_t number, uint64_t) {
  return MESH_SendMsg(destination, messages, number);
}

uint32_t MESH_RegIDLFuncHook(uint32_t, mesh_unpack_hook, mesh_free_hook) {
  count(seen.registrations);
  return 0;
}

uint32_t MESH_RegIDLResorceCleanFuncHook(mesh_clean_hook clean) {
  clean();
  count(seen.clean_hooks);
  return 0;
}
}

namespace {

constexpr uint32_t threads = 4;
constexpr uint32_t messages_in_all = mesh_fib6::tools::message_count;
constexpr uint32_t trees = mesh_fib6::tools::count_messages([](const message_descriptor &message) {
  return message.shape == mesh_fib6::tools::shape::tree;
});

// A sound message of any type: root table at 8, a vtable without slots before it.
constexpr uint8_t empty_message[] = {8, 0, 0, 0, 4, 0, 4, 0, 4, 0, 0, 0};

// One message as one thread has it: everything its own, and taken before the race.
struct share {
  explicit share(const message_descriptor &message)
      : descriptor(message), record(made(message, 1)), second(made(message, 2)),
        pair(2 * size_t{message.record_size}), decoded(message.record_size), packed(8192) {
    std::memcpy(pair.data(), record.get(), message.record_size);
    std::memcpy(pair.data() + message.record_size, second.get(), message.record_size);
  }

  static owned_record made(const message_descriptor &message, uint64_t seed) {
    random_record::generator random(message.id + seed);
    return random_record::make(*message.table, random, {});
  }

  const message_descriptor &descriptor;
  owned_record record, second;
  guarded_buffer pair, decoded;
  std::vector<uint8_t> packed;
  uint32_t packed_size = 0;
};

class worker {
public:
  worker() {
    for_each_message([this](const message_descriptor &message) { shares_.emplace_back(message); });
  }

  // All operations of all messages. Threads begin at different ones, so that first calls of all
  // kinds meet.
  void run(uint32_t first_operation, uint32_t first_message) {
    for (uint32_t i = 0; i < messages_in_all; i++)
      for (uint32_t operation = 0; operation < operations; operation++)
        use(shares_[(first_message + i) % messages_in_all],
            (first_operation + operation) % operations);
    init_modules();
    for (share &each : shares_)
      read_back(each);
  }

  const std::vector<share> &shares() const { return shares_; }
  uint32_t failures() const { return failures_; }

  // What one run makes of the counters.
  static constexpr uint32_t sends_of_a_run = 6 * messages_in_all;
  static constexpr uint32_t sent_messages_of_a_run = (4 * 1 + 2 * 2) * messages_in_all;
  static constexpr uint32_t lines_of_a_run = 3 * messages_in_all;

private:
  static constexpr uint32_t operations = 6;
  static constexpr uint8_t unwritten = 0xA5; // so that what is not written does not look right

  void expect(bool holds) { failures_ += holds ? 0 : 1; }

  void use(share &mine, uint32_t operation) {
    const message_descriptor &message = mine.descriptor;
    const void *const record = mine.record.get();
    uint32_t length = 0;
    switch (operation) {
    case 0:
      mine.packed.assign(mine.packed.size(), unwritten);
      length = static_cast<uint32_t>(mine.packed.size());
      expect(message.pack(record, mine.packed.data(), &length) == 0);
      mine.packed_size = length;
      break;
    case 1:
      std::memset(mine.decoded.data(), unwritten, mine.decoded.size());
      expect(message.unpack(empty_message, sizeof empty_message, mine.decoded.data()) ==
             message.record_size);
      expect(random_record::is_zero(*message.table, mine.decoded.data()));
      message.free_unpacked(mine.decoded.data());
      break;
    case 2:
      expect(message.sendsingle(1, record, 0, 0) == 0);
      expect(message.sendsingle(1, record, 0, 7) == 0);
      expect(message.sendbatch(1, mine.pair.data(), 2, 0) == 0);
      break;
    case 3: // a failure that is told
      expect(message.unpack(nullptr, 0, mine.decoded.data()) == message.record_size);
      break;
    case 4: // a question for the size, which is told too
      length = UINT32_MAX;
      expect(message.pack(record, nullptr, &length) == 0);
      break;
    default:
      expect(message.sendmsg(1, record, 1) == 0);
      expect(message.sendtomsg(1, record, 1, 9) == 0);
      expect(message.sendtomsg(1, mine.pair.data(), 2, 9) == 0);
      expect(message.unpack(no_message, sizeof no_message, mine.decoded.data()) ==
             message.record_size);
      break;
    }
  }

  void read_back(share &mine) {
    const message_descriptor &message = mine.descriptor;
    message.unpack(mine.packed.data(), mine.packed_size, mine.decoded.data());
    expect(
        random_record::difference(*message.table, mine.record.get(), mine.decoded.data()).empty());
    message.free_unpacked(mine.decoded.data());
  }

  void init_modules() {
    expect(fib6_recv_init() == 0 && fib6_send_init() == 0);
    expect(fib6_cfg_recv_init() == 0 && fib6_cfg_send_init() == 0);
    expect(fib6_sync_recv_init() == 0 && fib6_sync_send_init() == 0);
  }

  // Its root offset lies behind the end: told, by whichever form of the root.
  static constexpr uint8_t no_message[] = {9, 0, 0, 0, 0, 0, 0, 0};

  std::vector<share> shares_;
  uint32_t failures_ = 0;
};

bool units_are_fresh = true; // as they are after loading

class ManyThreads : public testing::TestWithParam<uint32_t> {
protected:
  // All of them leave the line together; the counters start and end at zero.
  static void race(std::vector<worker> &workers, uint32_t first_operation) {
    std::barrier line(threads);
    std::vector<std::thread> running;
    for (uint32_t t = 0; t < threads; t++)
      running.emplace_back([&, t] {
        line.arrive_and_wait();
        workers[t].run(first_operation + t, t * messages_in_all / threads);
      });
    for (std::thread &thread : running)
      thread.join();
    expect_counters();
  }

  static void expect_counters() {
    EXPECT_EQ(take(seen.sends), threads * worker::sends_of_a_run);
    EXPECT_EQ(take(seen.sent_messages), threads * worker::sent_messages_of_a_run);
    EXPECT_EQ(take(seen.lines), threads * worker::lines_of_a_run);
    EXPECT_EQ(take(seen.wrong_lines), 0U);
    EXPECT_EQ(take(seen.registrations), threads * messages_in_all);
    EXPECT_EQ(take(seen.clean_hooks), threads * 3U);
    EXPECT_EQ(take(seen.flag_questions), units_are_fresh ? 6U : 0U) << "once a unit";
    units_are_fresh = false;
    const uint32_t blocks = take(seen.blocks);
    // Two batches of each message; four single sends and no fewer of each tree.
    EXPECT_GE(blocks, threads * (2 * messages_in_all + 4 * trees));
    EXPECT_EQ(take(seen.released), blocks);
    EXPECT_EQ(take(seen.wrong_releases), 0U);
  }
};

TEST_P(ManyThreads, AreAllServedFromTheirFirstCallsOn) {
  std::vector<worker> workers(threads);
  for (int round = 0; round < 10; round++) {
    race(workers, GetParam() + static_cast<uint32_t>(round));
    for (const worker &each : workers) {
      EXPECT_EQ(each.failures(), 0U);
      for (size_t i = 0; i < messages_in_all; i++) { // equal records, so equal bytes
        const share &one = each.shares()[i], &other = workers[0].shares()[i];
        EXPECT_EQ(one.packed_size, other.packed_size);
        EXPECT_EQ(one.packed, other.packed) << one.descriptor.name;
      }
    }
    units_are_fresh = reset_units();
  }
}

INSTANTIATE_TEST_SUITE_P(Starting, ManyThreads, testing::Values(0U, 1U, 2U, 3U));

} // namespace
