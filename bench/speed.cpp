// Times the library beside its peers and prints what it measured as JSON.
//
// Room: bench. Run by scripts/bench, which knows what the figures have to be.
//   bench_speed ROUNDS SECONDS_PER_SAMPLE TABLE [CASE]     CASE: only cases whose name begins so
#include "bench/library_contest.h"
#include "bench/routes.h"
#include "bench/stopwatch.h"

#include <string_view>

namespace bench {

namespace {

constexpr uint32_t entries_per_message = 600;

class run {
public:
  run(effort spent, std::string only) : spent_(spent), only_(std::move(only)) { printf("["); }
  ~run() { printf("\n]\n"); }
  run(const run &) = delete;
  run &operator=(const run &) = delete;

  bool wanted(const std::string &name) const { return name.compare(0, only_.size(), only_) == 0; }

  // One race: all contestants that have the operation.
  template <class Record>
  void race_one(const std::string &name, const char *operation, const pool<Record> &records,
                const std::vector<contestant> &contestants, timed_loop contestant::*loop,
                size_t messages_per_call = 1) {
    std::vector<const contestant *> who;
    std::vector<timed_loop> loops;
    for (const contestant &each : contestants) {
      if (each.*loop == nullptr)
        continue;
      who.push_back(&each);
      loops.push_back(each.*loop);
    }
    const std::vector<timing> timings =
        race(loops, messages_per_call == 1 ? records.size() : 1, spent_);
    const double calls =
        static_cast<double>(records.size()) / static_cast<double>(messages_per_call);
    const double entries_per_call = static_cast<double>(records.entry_count()) / calls;
    for (size_t i = 0; i < who.size(); i++) {
      printf("%s\n{\"case\": \"%s\", \"operation\": \"%s\", \"contestant\": \"%s\", "
             "\"ns\": %.3f, \"best_ns\": %.3f, \"entries\": %.3f, \"bytes\": %.1f, "
             "\"calls\": %llu}",
             first_ ? "" : ",", name.c_str(), operation, who[i]->name.c_str(), timings[i].median_ns,
             timings[i].best_ns, entries_per_call, static_cast<double>(who[i]->bytes) / calls,
             static_cast<unsigned long long>(timings[i].calls_per_sample));
      first_ = false;
    }
    fflush(stdout);
  }

  template <class Record>
  void coding(const std::string &name, const pool<Record> &records) {
    if (!wanted(name))
      return;
    std::vector<contestant> all = library_contestants(records);
    add_peers(all, records);
    all.push_back(copy_contestant(records));
    race_one(name, "encode", records, all, &contestant::encode);
    race_one(name, "decode", records, all, &contestant::decode);
  }

  // Messages that FlatBuffers' builder has written, read by the library and by FlatBuffers.
  template <class Record>
  void decoding_foreign(const std::string &name, const pool<Record> &records) {
    if (!wanted(name))
      return;
    const stored_messages messages = written_by_flatbuffers(records);
    std::vector<contestant> all = flatbuffers_readers(records, messages);
    auto library = std::make_shared<library_peer<Record>>(capacity::ample, records);
    all.insert(all.begin(), reader("library", library, records, messages));
    race_one(name, "decode", records, all, &contestant::decode);
  }

  // The library sends the pool in one call; a peer's messages are sent one by one, which spares it
  // the copy that keeping them all would take.
  template <class Record>
  void sending(const std::string &name, const pool<Record> &records) {
    if (!wanted(name))
      return;
    std::vector<contestant> peers;
    add_peers(peers, records);
    for (contestant &peer : peers)
      peer.send = [send = std::move(peer.send), count = records.size()](uint64_t n) {
        send(n * count);
      };
    std::vector<contestant> all = send_contestants(records);
    all.insert(all.end(), peers.begin(), peers.end());
    race_one(name, "send", records, all, &contestant::send, records.size());
  }

private:
  template <class Record>
  static std::vector<contestant> library_contestants(const pool<Record> &records) {
    using peer = library_peer<Record>;
    std::vector<contestant> made{
        contest("library", std::make_shared<peer>(capacity::ample, records), records),
        contest("library exact", std::make_shared<peer>(capacity::exact, records), records)};
    made[1].decode = nullptr;
    if constexpr (std::is_same_v<Record, fib6Sync_ipv6FwdUpdateMsg>) {
      using image = image_peer<Record>;
      made.push_back(
          contest("library image", std::make_shared<image>(capacity::ample, records), records));
      made.back().encode = nullptr;
    }
    return made;
  }

  template <class Record>
  static void add_peers(std::vector<contestant> &all, const pool<Record> &records) {
    const auto add = [&all](std::vector<contestant> more) {
      for (contestant &each : more)
        all.push_back(std::move(each));
    };
    add(flatbuffers_contestants(records));
    add(protobuf_varint_contestants(records));
    add(protobuf_fixed_contestants(records));
    add(capnproto_contestants(records));
    add(nanopb_contestants(records));
  }

  effort spent_;
  std::string only_;
  bool first_ = true;
};

struct named_fill {
  const char *name;
  fill_kind kind;
};
constexpr named_fill fills[] = {
    {"dense", fill_kind::dense}, {"typical", fill_kind::typical}, {"mixed", fill_kind::mixed}};

// Mixed records take turns: a processor's branch predictor learns one message of 600 by heart, and
// some thousand entries still in part. From about 9,600 on times no longer grow. Small messages
// stop earlier, so that they are found in the cache as messages are that have just been made.
uint32_t messages_for(fill_kind kind, uint32_t entries) {
  constexpr uint32_t enough_entries = 9600, enough_messages = 2400;
  if (kind != fill_kind::mixed)
    return 1;
  return std::clamp(enough_entries / entries, 1u, enough_messages);
}

// Calls race(name, records) for each fill that is wanted.
template <class Record, class Race>
void for_each_fill(const run &bench, const std::string &name, uint32_t vector_count,
                   uint32_t entries, Race race) {
  for (const named_fill &fill : fills)
    if (const std::string full = name + "/" + fill.name; bench.wanted(full))
      race(full, pool<Record>(fill.kind, messages_for(fill.kind, entries), vector_count, 1));
}

template <class Record>
void all_fills(run &bench, const std::string &name, uint32_t vector_count, uint32_t entries) {
  for_each_fill<Record>(
      bench, name, vector_count, entries,
      [&](const auto &full, const auto &records) { bench.coding(full, records); });
}

template <class Record>
void all_foreign_fills(run &bench, const std::string &name, uint32_t vector_count,
                       uint32_t entries) {
  for_each_fill<Record>(
      bench, "foreign/" + name, vector_count, entries,
      [&](const auto &full, const auto &records) { bench.decoding_foreign(full, records); });
}

void real_table(run &bench, const std::string &path) {
  if (!bench.wanted("table"))
    return;
  const std::vector<feiBrokerFib6_ipv6Fwd> routes = read_routes(path);
  pool<feiBrokerFib6_ipv6FwdUpdateMsg> messages;
  for (size_t at = 0; at < routes.size(); at += entries_per_message) {
    const auto count =
        static_cast<uint32_t>(std::min<size_t>(entries_per_message, routes.size() - at));
    feiBrokerFib6_ipv6FwdUpdateMsg message{};
    message.f0 = static_cast<uint32_t>(messages.size() + 1);
    message.f1_count = count;
    message.f1 = allocate<feiBrokerFib6_ipv6Fwd>(count);
    memcpy(message.f1, &routes[at], count * sizeof routes[0]);
    messages.add(message);
  }
  bench.coding("table", messages);
}

void everything(run &bench, const std::string &table) {
  using routes = feiBrokerFib6_ipv6FwdUpdateMsg;
  using flat = fib6Sync_ipv6FwdUpdateMsg;
  for (const uint32_t entries : {1u, 16u, 600u, 10000u})
    all_fills<routes>(bench, "routes/" + std::to_string(entries), entries, entries);
  all_fills<feiBrokerFib6_nhp6UpdateMsg>(bench, "next-hops", 64, 6 * 64);
  all_fills<feiBrokerFib6_srv6SrListUpdateMsg>(bench, "segment-lists", 100, 100);
  all_fills<fib6_cfg_query_fib6_rec>(bench, "query", 50, 50);
  all_fills<flat>(bench, "flat", 0, 1);

  for (const uint32_t entries : {1u, 600u})
    all_foreign_fills<routes>(bench, "routes/" + std::to_string(entries), entries, entries);
  all_foreign_fills<feiBrokerFib6_nhp6UpdateMsg>(bench, "next-hops", 64, 6 * 64);
  all_foreign_fills<feiBrokerFib6_srv6SrListUpdateMsg>(bench, "segment-lists", 100, 100);
  all_foreign_fills<fib6_cfg_query_fib6_rec>(bench, "query", 50, 50);
  all_foreign_fills<flat>(bench, "flat", 0, 1);

  const fill_kind typical = fill_kind::typical;
  bench.sending("send/flat-1", pool<flat>(typical, 1, 0, 1));
  bench.sending("send/flat-1000", pool<flat>(typical, 1000, 0, 1));
  bench.sending("send/tree-400", pool<routes>(typical, 400, 1, 1));
  bench.sending("send/routes-600", pool<routes>(typical, 1, entries_per_message, 1));

  real_table(bench, table);
}

} // namespace

} // namespace bench

int main(int argc, char **argv) {
  char *end = nullptr;
  const bool complete = argc == 4 || argc == 5;
  const long rounds = complete ? strtol(argv[1], &end, 10) : 0;
  const double seconds = complete && *end == 0 ? strtod(argv[2], &end) : 0;
  if (!complete || *end != 0 || rounds < 1 || rounds > 1000 || !(seconds > 0 && seconds <= 1)) {
    fprintf(stderr, "usage: bench_speed ROUNDS SECONDS_PER_SAMPLE TABLE [CASE]\n");
    return 2;
  }
  bench::run bench({static_cast<int>(rounds), seconds}, argc == 5 ? argv[4] : "");
  bench::everything(bench, argv[3]);
}
