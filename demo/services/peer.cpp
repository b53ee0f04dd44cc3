// A peer.
//
// Room: demo. Includes public headers, the development host and the folder above.
#include "demo/services/peer.h"

#include "demo/sender.h" // bad_input_status
#include "demo/services/follower.h"
#include "demo/services/line_input.h"
#include "demo/services/link.h"
#include "demo/services/stopping.h"
#include "demo/table_text.h"
#include "demo/text.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>

namespace demo {

namespace {

using namespace std::chrono_literals;
using clock = std::chrono::steady_clock;
using milliseconds = std::chrono::milliseconds;

constexpr int poll_ms = 20; // how long a line may wait

constexpr int most_doublings_of_patience = 3;
constexpr milliseconds shortest_between_asks = 100ms;

// For %llu.
constexpr unsigned long long plain(uint64_t number) {
  return number;
}

class running_peer {
public:
  explicit running_peer(const peer_options &options)
      : service(options.service), destination(options.service + options.number),
        check_interval(options.check_ms), first_patience(options.patience_ms), lines("-"),
        mesh(destination,
             {fib6_recv_init, fib6_sync_recv_init, fib6_cfg_recv_init, fib6_cfg_send_init}) {
    // So that an answer to a predecessor is not taken for one to this process.
    last_number = last_answered = std::random_device()() >> 2;
    // The mesh knows of a gap before the numbers of the messages tell.
    mesh.on_gap([this](uint64_t sender) {
      if (sender != service_sender)
        return;
      followed.miss_something();
      ask_at = clock::now();
    });
    print("receiving as destination %u\n", destination);
  }

  void run() {
    while (!quit && !stop_asked()) {
      // What has come is taken before the clock is asked: this process may have been stopped.
      if (mesh.poll(poll_ms, [this](uint32_t id, uint64_t target, const void *record,
                                    uint32_t size) { take(id, target, record, size); }))
        heard_at = clock::now();
      tell_standing();
      lines.take_lines([this](std::string_view line, uint32_t number) { take_line(line, number); });
      ask_if_due();
    }
    const follower::counters &counts = followed.counts();
    print("ended: %llu changes, %llu whole tables, %llu gaps, %llu repeated, %llu refused, %llu "
          "strangers\n",
          plain(counts.changes), plain(counts.whole_tables), plain(counts.gaps),
          plain(counts.repeated), plain(counts.refused + refused), plain(counts.strangers));
  }

private:
  void take(uint32_t id, uint64_t target, const void *record, uint32_t size) {
    if (id == fib6_cfg_query_fib6check_rec_ID && size == sizeof(fib6_cfg_query_fib6check_rec))
      return take_check(*static_cast<const fib6_cfg_query_fib6check_rec *>(record));
    if (id == fib6_cfg_query_fib6_rec_ID && size == sizeof(fib6_cfg_query_fib6_rec))
      return take_routes(*static_cast<const fib6_cfg_query_fib6_rec *>(record));
    const uint64_t gaps = followed.counts().gaps;
    followed.take(id, target, record, size);
    if (followed.counts().gaps != gaps)
      ask_at = clock::now();
  }

  void take_check(const fib6_cfg_query_fib6check_rec &record) {
    const std::optional<check_answer> answer = read_record(record);
    // Numbers go round; an answer is to one of the checks since the last that was answered.
    if (!answer || answer->number - last_answered - 1 >= last_number - last_answered) {
      refused++;
      return;
    }
    last_answered = answer->number;
    service_sender = mesh.sender();
    if (silent) {
      silent = false;
      print("the service is there\n");
    }
    const uint64_t gaps = followed.counts().gaps;
    followed.take(*answer);
    if (answer->found == verdict::table_follows)
      ask_at = clock::now() + patience;
    else if (followed.counts().gaps != gaps)
      ask_at = clock::now();
  }

  void take_routes(const fib6_cfg_query_fib6_rec &answer) {
    // The pointer, not the count, says whether there are routes.
    const std::span routes = elements(answer.f1, answer.f1_count);
    if (!query_number || answer.f0.f0 != *query_number || routes.size() != answer.f0.f2) {
      refused++;
      return;
    }
    query_number.reset();
    if (answer.f0.f1 != 0 || routes.empty())
      return print("%s\n", answer.f0.f1 != 0 ? "the service refused the query" : "no route");
    for (const fib6_cfg_query_fib6_item &route : routes) {
      prefix found;
      ipv6_address gateway;
      std::memcpy(found.address.data(), route.f0, sizeof route.f0);
      std::memcpy(gateway.data(), route.f1, sizeof route.f1);
      found.length = route.f5;
      if (found.length <= 128)
        print("%s via %s\n", to_text(found).c_str(), to_text(gateway).c_str());
    }
  }

  // Whoever watches is told when the table is the service's, by its own word, and when it no longer
  // is.
  void tell_standing() {
    const bool good = followed.now() == follower::standing::in_step;
    const uint32_t change = followed.confirmed_change();
    if (good) {
      patience = first_patience;
      whole_asked = false;
    }
    // A table may have been given up and have come again since this was asked the last time.
    const uint64_t tables = followed.counts().whole_tables;
    if (good && tables != told_tables)
      ask_at = clock::now() + check_interval;
    if (good && (change != told_change || tables != told_tables)) {
      told_change = change;
      told_tables = tables;
      print("in step: %s\n", table_text().c_str());
    }
    const bool assembling = followed.now() == follower::standing::assembling;
    if (assembling && !was_assembling)
      print("the whole table is on its way\n");
    was_assembling = assembling;
    if (!good && was_good)
      print("out of step, the whole table is asked for\n");
    was_good = good;
    if (followed.service_has_ended() && !silent) {
      silent = true;
      print("the service has ended\n");
    }
  }

  std::string table_text() const {
    return formatted("digest %016llx, change %u, ", plain(followed.table().digest()),
                     followed.last_change()) +
           counted(followed.table().contents().routes.size(), "route");
  }

  void ask_if_due() {
    const auto now = clock::now();
    if (followed.now() == follower::standing::assembling) {
      if (now < heard_at + patience)
        return;
      followed.give_up();
    } else if (now < ask_at || now < asked_at + shortest_between_asks) {
      return;
    }
    asked_at = now;
    const check asked = followed.asking(destination, ++last_number);
    const fib6_cfg_query_fib6check_key record = record_of(asked);
    const sent result =
        mesh.send(service, std::span(&record, 1), 0, fib6_cfg_query_fib6check_key__sendtomsg);
    if (result != sent::accepted) { // the call that tells of a loss has sent nothing
      if (result == sent::nobody)
        tell_silence();
      ask_at = clock::now() + (result == sent::lost ? 0ms : shortest_between_asks);
      return;
    }
    if (asked.asked == wish::compare) {
      if (last_number - last_answered > 3)
        tell_silence();
      ask_at = now + check_interval;
      return;
    }
    if (whole_asked) // in vain
      patience = std::min(2 * patience, first_patience * (1 << most_doublings_of_patience));
    whole_asked = true;
    ask_at = now + patience;
  }

  void tell_silence() {
    if (!silent)
      print("the service does not answer\n");
    silent = true;
  }

  void take_line(std::string_view line, uint32_t number) {
    const std::vector<std::string_view> words = split_words(line);
    if (words.empty())
      return;
    if (words.size() == 1 && words[0] == "digest")
      return print("%s\n", table_text().c_str());
    if (words.size() == 1 && words[0] == "sync") {
      followed.give_up();
      ask_at = clock::now();
      return;
    }
    if (words.size() == 2 && words[0] == "write") {
      write_table(followed.table().contents(), std::string(words[1]));
      return print("written to %s\n", shown(words[1]).c_str());
    }
    if (words.size() == 2 && words[0] == "ask")
      return ask_for_routes(words[1], number);
    if (words.size() == 1 && words[0] == "quit") {
      quit = true;
      return;
    }
    complain("standard input:%u: expected 'digest', 'ask ADDRESS', 'sync', 'write FILE' or 'quit', "
             "found %s\n",
             number, shown(line).c_str());
    bad_lines++;
  }

  void ask_for_routes(std::string_view word, uint32_t number) {
    ipv6_address address;
    if (const std::string problem = parse_address(word, address); !problem.empty()) {
      complain("standard input:%u: %s\n", number, problem.c_str());
      bad_lines++;
      return;
    }
    fib6_cfg_query_fib6_key query{};
    query.f0.f0 = destination;
    query.f0.f1 = number;
    query.f1.f0 = 1;
    std::memcpy(query.f1.f1, address.data(), sizeof query.f1.f1);
    const sent result = mesh.send(service, std::span<const fib6_cfg_query_fib6_key>(&query, 1), 0,
                                  fib6_cfg_query_fib6_key__sendtomsg);
    if (result != sent::accepted)
      return print("the service cannot be asked now\n");
    query_number = number;
  }

public:
  int status() const { return bad_lines > 0 || lines.failed() ? bad_input_status : 0; }

private:
  const uint32_t service, destination;
  const milliseconds check_interval, first_patience;
  line_input lines;
  link mesh;
  follower followed;

  uint32_t last_number, last_answered; // of checks
  uint64_t service_sender = 0;         // who answered them
  std::optional<uint32_t> query_number;
  clock::time_point heard_at{}, asked_at{}, ask_at{};
  milliseconds patience = first_patience;

  bool was_good = false, was_assembling = false, whole_asked = false, silent = false, quit = false;
  uint32_t told_change = 0;
  uint64_t told_tables = 0;
  uint64_t refused = 0, bad_lines = 0;
};

} // namespace

int run_peer(const peer_options &options) {
  stop_on_signals();
  running_peer peer(options);
  peer.run();
  return peer.status();
}

} // namespace demo
