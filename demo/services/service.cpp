// The service.
//
// Room: demo. Includes public headers, the development host and the folder above.
#include "demo/services/service.h"

#include "demo/sender.h" // bad_input_status
#include "demo/services/feed.h"
#include "demo/services/line_input.h"
#include "demo/services/stopping.h"
#include "demo/table_text.h"
#include "demo/text.h"

#include <map>
#include <memory>
#include <random>
#include <utility>

namespace demo {

namespace {

constexpr int idle_poll_ms = 20; // how long a line may wait
constexpr int calls_a_turn = 16; // of one peer, before the next one's turn

uint64_t drawn_epoch() {
  std::random_device source;
  return (uint64_t{source()} << 32 | source()) | 1; // not 0
}

class running_service {
public:
  explicit running_service(const service_options &options)
      : identity{options.destination, options.vrf, drawn_epoch(),
                 std::chrono::milliseconds(options.pause_ms)},
        owner(read_table(options, bad_lines), options.vrf), changes(options.changes),
        mesh(options.destination,
             {fib6_send_init, fib6_sync_send_init, fib6_cfg_send_init, fib6_cfg_recv_init}) {
    print("serving %s as destination %u, epoch %016llx\n",
          counted(owner.table().contents().routes.size(), "route").c_str(), options.destination,
          static_cast<unsigned long long>(identity.epoch));
  }

  void run() {
    bool more = false;
    while (!quit && !stop_asked()) {
      mesh.poll(more ? 0 : idle_poll_ms, [this](uint32_t id, uint64_t, const void *record,
                                                uint32_t size) { take(id, record, size); });
      changes.take_lines(
          [this](std::string_view line, uint32_t number) { take_line(line, number); });
      more = false;
      for (auto &[destination, its_feed] : feeds)
        more = send_to(*its_feed) || more;
    }
    for (auto &[destination, its_feed] : feeds)
      its_feed->take_leave();
    print("ended: %s, %llu times busy, %llu losses, %llu whole tables, %llu checks, %llu queries, "
          "%llu refused\n",
          counted(counts.messages, "message").c_str(), static_cast<unsigned long long>(counts.busy),
          static_cast<unsigned long long>(counts.losses),
          static_cast<unsigned long long>(counts.whole_tables),
          static_cast<unsigned long long>(checks), static_cast<unsigned long long>(queries),
          static_cast<unsigned long long>(refused));
  }

  int status() const { return bad_lines > 0 || changes.failed() ? bad_input_status : 0; }

private:
  static route_feed read_table(const service_options &options, uint64_t &bad) {
    if (options.table.empty())
      return {};
    route_feed found = read_routes(options.table);
    for (const std::string &text : found.bad_line_texts)
      complain("%s\n", text.c_str());
    bad += found.bad_lines;
    return found;
  }

  void take(uint32_t id, const void *record, uint32_t size) {
    if (id == fib6_cfg_query_fib6check_key_ID && size == sizeof(fib6_cfg_query_fib6check_key)) {
      const auto asked = read_record(*static_cast<const fib6_cfg_query_fib6check_key *>(record));
      if (asked && is_peer(asked->answer_to)) {
        checks++;
        return feed_of(asked->answer_to).take(*asked);
      }
    } else if (id == fib6_cfg_query_fib6_key_ID && size == sizeof(fib6_cfg_query_fib6_key)) {
      const auto &query = *static_cast<const fib6_cfg_query_fib6_key *>(record);
      if (is_peer(query.f0.f0)) {
        queries++;
        return feed_of(query.f0.f0).take_query(query);
      }
    }
    // It is the peer who says where the answer goes: only to those who may ask.
    refused++;
  }

  bool is_peer(uint32_t destination) const {
    return destination - identity.destination - 1 < most_peers; // also where that wraps
  }

  feed &feed_of(uint32_t destination) {
    std::unique_ptr<feed> &found = feeds[destination];
    if (found == nullptr)
      found = std::make_unique<feed>(destination, identity, owner, mesh, counts);
    return *found;
  }

  static bool send_to(feed &to) {
    for (int i = 0; i < calls_a_turn; i++)
      if (!to.send_some())
        return false;
    return true;
  }

  void take_line(std::string_view line, uint32_t number) {
    const std::vector<std::string_view> words = split_words(line);
    if (words.size() == 1 && words[0] == "digest")
      return print("digest %016llx, change %u, %s\n",
                   static_cast<unsigned long long>(owner.table().digest()), owner.last_change(),
                   counted(owner.table().contents().routes.size(), "route").c_str());
    if (words.size() == 2 && words[0] == "write") {
      write_table(owner.table().contents(), std::string(words[1]));
      return print("written to %s\n", shown(words[1]).c_str());
    }
    if (uint32_t pause_ms = 0;
        words.size() == 2 && words[0] == "pause" && parse_number(words[1], pause_ms)) {
      identity.pause = std::chrono::milliseconds(pause_ms);
      for (auto &[destination, its_feed] : feeds)
        its_feed->end_pause();
      return;
    }
    if (words.size() == 1 && words[0] == "quit") {
      quit = true;
      return;
    }
    const std::string problem = owner.take_line(line, number);
    if (problem.empty())
      return;
    if (++bad_lines <= named_bad_lines)
      complain("%s:%u: %s\n", changes.name().c_str(), number, problem.c_str());
  }

  uint64_t bad_lines = 0;
  service_identity identity;
  table_owner owner;
  line_input changes;
  link mesh;
  feed_counters counts;
  std::map<uint32_t, std::unique_ptr<feed>> feeds;
  uint64_t checks = 0, queries = 0, refused = 0;
  bool quit = false;
};

} // namespace

int run_service(const service_options &options) {
  stop_on_signals();
  running_service service(options);
  service.run();
  return service.status();
}

} // namespace demo
