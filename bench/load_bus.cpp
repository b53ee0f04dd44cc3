// Senders and receivers on the development host's bus, and what the library alone costs them.
//
// Room: bench. The development host as its users see it; the demo's table.
//   load_bus send BOARD TABLE FIRST RECEIVERS ROUTES BATCH
//   load_bus receive BOARD FIRST NUMBER look|table
//   load_bus codec TABLE ROUTES BATCH SECONDS
//   load_bus pace BOARD FIRST ROUTES RATE COUNT
//   load_bus stamps BOARD FIRST COUNT
//   load_bus inside ROUTES RATE COUNT
//   load_bus grow BOARD FIRST COUNT
//   load_bus growing BOARD FIRST COUNT look|table
// FIRST is the destination of the first receiver; which way leads to it is for MESH_HOST_CONFIG to
// say. A receiver looks at each route, or also keeps the demo's table. `pace` and `stamps`, or
// `inside` alone, are about latency; `grow` and `growing` about memory.
#include "bench/load.h"
#include "demo/table_receiver.h"

#include <mesh_fib6/host/mesh_host.h>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>

using namespace bench;

namespace {

constexpr uint32_t most_destination = 1'000'000;
constexpr uint32_t warm_up = 200; // messages whose latency does not count

void need_ok(uint32_t result, const char *what) {
  if (result != MESH_HOST_OK)
    fail("%s: %s", what, mesh_host_result_text(result));
}

void send_batch(uint32_t destination, std::span<const route_message> messages) {
  need_ok(feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg(destination, messages.data(),
                                                  static_cast<uint32_t>(messages.size())),
          "sending");
}

// What a receiver does with its records.
class consumer {
public:
  consumer(board_slot &slot, bool keeps) : counted_(slot) {
    if (keeps)
      table_ = std::make_unique<demo::table_receiver>([](demo::table_receiver &, demo::phase) {});
  }
  void take(uint32_t id, const void *record) {
    if (id != feiBrokerFib6_ipv6FwdUpdateMsg_ID)
      fail("a message of identifier 0x%08X, expected routes", id);
    if (table_ != nullptr)
      table_->take(id, record);
    counted_.take(*static_cast<const route_message *>(record));
  }
  size_t kept() const { return table_ != nullptr ? table_->contents().routes.size() : 0; }

private:
  tally counted_;
  std::unique_ptr<demo::table_receiver> table_;
};

using take_record = std::function<void(uint32_t id, const void *record)>;

// Until SIGTERM, or until `done`.
void receive_until(uint32_t destination, board_slot *slot, const take_record &take,
                   const std::function<bool()> &done) {
  mesh_host_receiver *receiver = nullptr;
  need_ok(mesh_host_attach(destination, &receiver), "attaching");
  if (slot != nullptr)
    slot->ready = 1;
  while (!end_asked() && !done())
    if (mesh_host_poll(
            receiver, 100,
            [](void *known, uint32_t id, uint64_t, const void *record, uint32_t) {
              (*static_cast<const take_record *>(known))(id, record);
            },
            const_cast<take_record *>(&take)) < 0)
      fail("the mesh ended the receiver");
  mesh_host_detach(receiver);
}

int send_messages(char **words) {
  board &shared = open_board(words[0]);
  const uint32_t first = parse_number(words[2], "FIRST", 1, most_destination);
  const uint32_t receivers = parse_number(words[3], "RECEIVERS", 1, most_receivers);
  workload work(words[1], words[4], words[5]);
  fib6_send_init();
  wait_until_ready(shared, receivers);
  serve_rounds(shared, receivers, work, [&](uint32_t to, std::span<const route_message> messages) {
    send_batch(first + to, messages);
  });
  return 0;
}

int receive_messages(char **words) {
  const uint32_t first = parse_number(words[1], "FIRST", 1, most_destination);
  const uint32_t number = parse_number(words[2], "NUMBER", 1, most_receivers);
  board_slot &slot = open_board(words[0]).slots[number - 1];
  consumer own(slot, strcmp(words[3], "table") == 0);
  fib6_recv_init();
  receive_until(
      first + number - 1, &slot, [&](uint32_t id, const void *record) { own.take(id, record); },
      [] { return false; });
  return 0;
}

// The library alone, in this process: nanoseconds a route.
int time_codec(char **words) {
  workload work(words[0], words[1], words[2]);
  const double seconds = strtod(words[3], nullptr);
  const std::vector<std::vector<uint8_t>> ready = pack_all(work);
  std::vector<uint8_t> packed(2 * most_batch_bytes);
  const auto per_route = [&](auto do_it) {
    uint64_t turns = 0;
    const uint64_t start = now_ns();
    uint64_t now = start;
    for (; static_cast<double>(now - start) < seconds * 1e9; now = now_ns())
      for (size_t i = 0; i < ready.size(); i++, turns++)
        do_it(i);
    return static_cast<double>(now - start) /
           (static_cast<double>(turns) * static_cast<double>(work.routes) * work.batch);
  };
  const double pack = per_route([&](size_t) { pack_framed(work.source.next(1).messages, packed); });
  const double decode = per_route([&](size_t i) {
    each_framed(ready[i].data(), ready[i].size(), [](const uint8_t *at, uint32_t length) {
      route_message record{};
      feiBrokerFib6_ipv6FwdUpdateMsg__unpack(at, length, &record);
      asm volatile("" : : "r"(record.f1) : "memory");
      feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
    });
  });
  size_t bytes = 0;
  for (const std::vector<uint8_t> &each : ready)
    bytes += each.size();
  (void)printf("{\"pack\": %.4f, \"decode\": %.4f, \"bytes\": %.2f}\n", pack, decode,
               static_cast<double>(bytes) / (static_cast<double>(ready.size()) *
                                             static_cast<double>(work.routes) * work.batch));
  return 0;
}

// Latency: the time right before the send travels in two members of the first route.

void stamp(route &first) {
  const uint64_t now = now_ns();
  first.f8 = static_cast<uint32_t>(now);
  first.f9 = static_cast<uint32_t>(now >> 32);
}

class latencies {
public:
  explicit latencies(uint32_t count) : wanted_(count) { each_.reserve(count); }
  void take(const void *record) {
    const uint64_t now = now_ns();
    const auto &message = *static_cast<const route_message *>(record);
    if (message.f1 == nullptr || message.f1_count == 0)
      fail("a message without routes");
    seen_++;
    const uint64_t sent = message.f1->f8 | static_cast<uint64_t>(message.f1->f9) << 32;
    if (seen_ > warm_up)
      each_.push_back(now - sent);
  }
  bool whole() const { return each_.size() >= wanted_; }
  void print() {
    if (each_.empty())
      fail("no message came");
    std::sort(each_.begin(), each_.end());
    (void)printf("{\"messages\": %zu", each_.size());
    for (const double part : {50.0, 90.0, 99.0, 99.9}) {
      const auto rank = static_cast<size_t>(
          std::ceil(part / 100 * static_cast<double>(each_.size()))); // nearest rank
      (void)printf(", \"%g\": %" PRIu64, part, each_[std::max<size_t>(rank, 1) - 1]);
    }
    (void)printf(", \"max\": %" PRIu64 "}\n", each_.back());
  }

private:
  const uint32_t wanted_;
  uint32_t seen_ = 0;
  std::vector<uint64_t> each_;
};

std::vector<route> made_routes(uint64_t first, uint32_t count) {
  std::vector<route> made(count);
  for (uint32_t i = 0; i < count; i++) {
    const uint64_t number = first + i; // 2000::/16, the number, /64
    uint8_t address[16] = {0x20, 0x00};
    for (unsigned at = 0; at < 6; at++)
      address[2 + at] = static_cast<uint8_t>(number >> (8 * (5 - at)));
    memcpy(made[i].f3, address, sizeof address);
    made[i].f1 = 1 + static_cast<uint32_t>(number % 64);
    made[i].f2 = 1024;
    made[i].f4 = 64;
    made[i].f5 = 1;
    made[i].f7 = static_cast<uint32_t>(number);
  }
  return made;
}

void send_at_pace(uint32_t destination, uint32_t routes, uint32_t rate, uint32_t count) {
  std::vector<route> entries = made_routes(1, routes);
  route_message message{0, routes, entries.data()};
  uint64_t due = now_ns();
  for (uint32_t i = 0; i < count + warm_up; i++) {
    due += 1'000'000'000 / rate;
    const timespec until{static_cast<time_t>(due / 1'000'000'000),
                         static_cast<long>(due % 1'000'000'000)};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
    message.f0 = i + 1;
    stamp(entries[0]);
    send_batch(destination, {&message, 1});
  }
  need_ok(mesh_host_flush(destination, 20'000), "flushing");
}

int pace(char **words) {
  board &shared = open_board(words[0]);
  const uint32_t first = parse_number(words[1], "FIRST", 1, most_destination);
  const uint32_t routes = parse_number(words[2], "ROUTES", 1, 600);
  const uint32_t rate = parse_number(words[3], "RATE", 1, 100'000);
  const uint32_t count = parse_number(words[4], "COUNT", 1, 10'000'000);
  fib6_send_init();
  wait_until_ready(shared, 1);
  send_at_pace(first, routes, rate, count);
  return 0;
}

int take_stamps(char **words) {
  board_slot &slot = open_board(words[0]).slots[0];
  const uint32_t first = parse_number(words[1], "FIRST", 1, most_destination);
  latencies found(parse_number(words[2], "COUNT", 1, 10'000'000));
  fib6_recv_init();
  receive_until(
      first, &slot, [&](uint32_t, const void *record) { found.take(record); },
      [&] { return found.whole(); });
  found.print();
  return 0;
}

int pace_inside(char **words) {
  const uint32_t routes = parse_number(words[0], "ROUTES", 1, 600);
  const uint32_t rate = parse_number(words[1], "RATE", 1, 100'000);
  const uint32_t count = parse_number(words[2], "COUNT", 1, 10'000'000);
  constexpr uint32_t destination = 1;
  latencies found(count);
  fib6_recv_init();
  fib6_send_init();
  board_slot slot{};
  std::thread receiver([&] {
    receive_until(
        destination, &slot, [&](uint32_t, const void *record) { found.take(record); },
        [&] { return found.whole(); });
  });
  while (slot.ready == 0)
    std::this_thread::yield();
  send_at_pace(destination, routes, rate, count);
  receiver.join();
  found.print();
  return 0;
}

// Memory: a table that neither side needs to have at once.

constexpr uint64_t progress_every = 1'000'000;
constexpr uint32_t growing_message = 500; // routes; a million is a multiple of it

class milestones {
public:
  void note(uint64_t routes) {
    if (routes % progress_every != 0)
      return;
    text_ += text_.empty() ? "" : ", ";
    char one[128];
    (void)snprintf(one, sizeof one,
                   "{\"routes\": %" PRIu64 ", \"at\": %" PRIu64 ", \"kib\": %" PRIu64 "}", routes,
                   now_ns(), resident_kib());
    text_ += one;
  }
  void print(uint64_t began, size_t kept) const {
    (void)printf("{\"began\": %" PRIu64 ", \"milestones\": [%s], \"peak_kib\": %" PRIu64
                 ", \"kept\": %zu}\n",
                 began, text_.c_str(), peak_kib(), kept);
  }

private:
  std::string text_;
};

int grow(char **words) {
  board &shared = open_board(words[0]);
  const uint32_t first = parse_number(words[1], "FIRST", 1, most_destination);
  const uint32_t count = parse_number(words[2], "COUNT", 1, 1'000'000'000);
  fib6_send_init();
  wait_until_ready(shared, 1);
  milestones passed;
  const uint64_t began = now_ns();
  uint64_t sum = 0;
  uint32_t number = 0;
  for (uint64_t sent = 0; sent < count;) {
    std::vector<route> entries = made_routes(sent + 1, growing_message);
    for (const route &each : entries)
      sum += each.f7;
    const route_message message{++number, growing_message, entries.data()};
    send_batch(first, {&message, 1});
    sent += growing_message;
    passed.note(sent);
  }
  wait_until_taken(shared, 1, number, sum);
  passed.print(began, 0);
  return 0;
}

int take_growing(char **words) {
  board_slot &slot = open_board(words[0]).slots[0];
  const uint32_t first = parse_number(words[1], "FIRST", 1, most_destination);
  const uint32_t count = parse_number(words[2], "COUNT", 1, 1'000'000'000);
  consumer own(slot, strcmp(words[3], "table") == 0);
  milestones passed;
  uint64_t routes = 0;
  fib6_recv_init();
  uint64_t began = 0;
  receive_until(
      first, &slot,
      [&](uint32_t id, const void *record) {
        began = began != 0 ? began : now_ns();
        routes += static_cast<const route_message *>(record)->f1_count;
        own.take(id, record);
        passed.note(routes);
      },
      [&] { return routes >= count; });
  passed.print(began, own.kept());
  return 0;
}

constexpr struct {
  const char *role;
  int words;
  int (*run)(char **words);
} roles[] = {{"send", 6, send_messages}, {"receive", 4, receive_messages},
             {"codec", 4, time_codec},   {"pace", 5, pace},
             {"stamps", 3, take_stamps}, {"inside", 3, pace_inside},
             {"grow", 3, grow},          {"growing", 4, take_growing}};

} // namespace

int main(int count, char **words) {
  begin_process();
  for (const auto &each : roles)
    if (count == each.words + 2 && strcmp(words[1], each.role) == 0)
      return each.run(words + 2);
  (void)fprintf(stderr, "usage: load_bus send BOARD TABLE FIRST RECEIVERS ROUTES BATCH\n"
                        "       load_bus receive BOARD FIRST NUMBER look|table\n"
                        "       load_bus codec TABLE ROUTES BATCH SECONDS\n"
                        "       load_bus pace BOARD FIRST ROUTES RATE COUNT\n"
                        "       load_bus stamps BOARD FIRST COUNT\n"
                        "       load_bus inside ROUTES RATE COUNT\n"
                        "       load_bus grow BOARD FIRST COUNT\n"
                        "       load_bus growing BOARD FIRST COUNT look|table\n");
  return 2;
}
