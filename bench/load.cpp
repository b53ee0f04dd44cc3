// Room: bench. See load.h.
#include "bench/load.h"

#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr uint32_t most_routes = 600;   // in a message
constexpr uint32_t most_messages = 600; // in a call

volatile std::sig_atomic_t asked_to_end = 0;

uint64_t status_kib(const char *name) {
  FILE *file = fopen("/proc/self/status", "re");
  if (file == nullptr)
    fail("/proc/self/status: %s", strerror(errno));
  char line[256];
  uint64_t value = 0;
  while (fgets(line, sizeof line, file) != nullptr)
    if (strncmp(line, name, strlen(name)) == 0)
      value = strtoull(line + strlen(name), nullptr, 10);
  (void)fclose(file);
  return value;
}

} // namespace

void fail(const char *format, ...) {
  va_list words;
  va_start(words, format);
  (void)fprintf(stderr, "%s: ", program_invocation_short_name);
  (void)vfprintf(stderr, format, words);
  (void)fputc('\n', stderr);
  va_end(words);
  exit(1);
}

uint32_t parse_number(const char *word, const char *what, uint32_t least, uint32_t most) {
  char *end = nullptr;
  errno = 0;
  const unsigned long long value = strtoull(word, &end, 10);
  if (errno != 0 || end == word || *end != '\0' || value < least || value > most)
    fail("%s is '%s', expected a number from %u to %u", what, word, least, most);
  return static_cast<uint32_t>(value);
}

void begin_process() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  (void)std::signal(SIGTERM, [](int) { asked_to_end = 1; });
  (void)std::signal(SIGPIPE, SIG_IGN);
}

bool end_asked() {
  return asked_to_end != 0;
}

board &open_board(const char *path) {
  const int file = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0 || ftruncate(file, sizeof(board)) != 0)
    fail("%s: %s, expected a file that can be written", path, strerror(errno));
  void *const mapped = mmap(nullptr, sizeof(board), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (mapped == MAP_FAILED)
    fail("%s: %s, expected a file that can be mapped", path, strerror(errno));
  return *static_cast<board *>(mapped); // zeros are a board on which nothing was counted
}

uint64_t now_ns() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

route_source::route_source(std::vector<route> routes, uint32_t per_message, uint32_t batch)
    : routes_(std::move(routes)), batch_(batch) {
  const size_t in_batch = size_t{per_message} * batch;
  if (in_batch == 0 || in_batch > routes_.size())
    fail("%zu routes in a batch, expected 1 to %zu", in_batch, routes_.size());
  for (size_t at = 0; at + in_batch <= routes_.size(); at += in_batch) {
    uint64_t sum = 0;
    for (size_t i = at; i < at + in_batch; i++)
      sum += routes_[i].f7;
    sums_.push_back(sum);
    for (size_t i = at; i < at + in_batch; i += per_message)
      messages_.push_back({0, per_message, routes_.data() + i});
  }
}

route_source::portion route_source::next(uint64_t first) {
  const portion found{{messages_.data() + at_ * batch_, batch_}, sums_[at_]};
  for (uint32_t i = 0; i < batch_; i++)
    found.messages[i].f0 = static_cast<uint32_t>(first + i);
  at_ = at_ + 1 < sums_.size() ? at_ + 1 : 0;
  return found;
}

void wait_until_ready(board &shared, uint32_t receivers) {
  const uint64_t until = now_ns() + 20'000'000'000;
  for (uint32_t i = 0; i < receivers; i++)
    while (shared.slots[i].ready.load(std::memory_order_acquire) == 0) {
      if (now_ns() > until)
        fail("receiver %u is not there after 20 s", i + 1);
      usleep(1000);
    }
}

void wait_until_taken(board &shared, uint32_t receivers, uint64_t messages, uint64_t sum) {
  constexpr useconds_t pause_us = 50; // of a round of 100 ms a two-thousandth
  const uint64_t until = now_ns() + 60'000'000'000;
  for (uint32_t i = 0; i < receivers; i++) {
    board_slot &slot = shared.slots[i];
    while (slot.messages.load(std::memory_order_acquire) < messages) {
      if (now_ns() > until)
        fail("receiver %u has %" PRIu64 " of %" PRIu64 " messages after 60 s", i + 1,
             slot.messages.load(), messages);
      usleep(pause_us);
    }
    if (slot.messages.load() != messages || slot.wrong.load() != 0 || slot.sum.load() != sum)
      fail("receiver %u has %" PRIu64 " messages, %" PRIu64 " out of order, sum %" PRIu64
           ", expected %" PRIu64 ", 0, %" PRIu64,
           i + 1, slot.messages.load(), slot.wrong.load(), slot.sum.load(), messages, sum);
  }
}

void serve_rounds(board &shared, uint32_t receivers, uint32_t routes_per_message,
                  const std::function<step(uint64_t)> &prepare,
                  const std::function<void(uint32_t)> &send,
                  const std::function<std::string()> &more) {
  constexpr unsigned batches_between_looks = 8; // at the clock
  (void)puts("{\"ready\": true}");
  (void)fflush(stdout);
  uint64_t messages = 0;
  uint64_t sum = 0;
  char line[64];
  while (fgets(line, sizeof line, stdin) != nullptr) {
    const double seconds = strtod(line, nullptr);
    const uint64_t before = messages;
    const uint64_t start = now_ns();
    const auto until = start + static_cast<uint64_t>(seconds * 1e9);
    uint64_t sent = start;
    while (sent < until) {
      for (unsigned i = 0; i < batches_between_looks; i++) {
        const step now = prepare(messages + 1);
        messages += now.messages;
        sum += now.sum;
        for (uint32_t to = 0; to < receivers; to++)
          send(to);
      }
      sent = now_ns();
    }
    wait_until_taken(shared, receivers, messages, sum);
    const uint64_t end = now_ns();
    (void)printf("{\"messages\": %" PRIu64 ", \"routes\": %" PRIu64
                 ", \"seconds\": %.9f, \"sending\": %.9f%s}\n",
                 messages - before, (messages - before) * routes_per_message,
                 static_cast<double>(end - start) / 1e9, static_cast<double>(sent - start) / 1e9,
                 more ? more().c_str() : "");
    (void)fflush(stdout);
  }
}

workload::workload(const char *table, const char *routes_word, const char *batch_word)
    : routes(parse_number(routes_word, "ROUTES", 1, most_routes)),
      batch(parse_number(batch_word, "BATCH", 1, most_messages)),
      source(read_routes(table), routes, batch) {}

void serve_rounds(board &shared, uint32_t receivers, workload &work,
                  const std::function<void(uint32_t, std::span<const route_message>)> &send,
                  const std::function<std::string()> &more) {
  route_source::portion now{};
  serve_rounds(
      shared, receivers, work.routes,
      [&](uint64_t first) {
        now = work.source.next(first);
        return step{work.batch, now.sum};
      },
      [&](uint32_t to) { send(to, now.messages); }, more);
}

size_t pack_framed(std::span<const route_message> messages, std::vector<uint8_t> &into) {
  size_t at = 0;
  for (const route_message &each : messages) {
    auto length = static_cast<uint32_t>(into.size() - at - sizeof(uint32_t));
    if (feiBrokerFib6_ipv6FwdUpdateMsg__pack(&each, into.data() + at + sizeof length, &length) != 0)
      fail("a batch above %zu bytes", into.size());
    memcpy(into.data() + at, &length, sizeof length);
    at += sizeof length + length;
  }
  return at;
}

std::vector<std::vector<uint8_t>> pack_all(workload &work) {
  std::vector<uint8_t> packed(2 * most_batch_bytes);
  std::vector<std::vector<uint8_t>> ready;
  for (size_t i = 0; i < work.source.size(); i++) {
    const size_t size = pack_framed(work.source.next(i * work.batch + 1).messages, packed);
    ready.emplace_back(packed.data(), packed.data() + size);
  }
  return ready;
}

uint64_t peak_kib() {
  return status_kib("VmHWM:");
}
uint64_t resident_kib() {
  return status_kib("VmRSS:");
}

} // namespace bench
