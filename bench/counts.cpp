// Does each piece of work once between two marks, so that whoever runs it can count instructions.
//
// Room: bench. Run by scripts/bench, under callgrind or under an emulator that traces. Of
// peers it knows the messages that FlatBuffers' builder writes. Prints what the counter needs:
// where the library lies, where the mark is, and one line "workload NAME ENTRIES" for each piece of
// work in their order.
#include "bench/library_contest.h"

#include <mesh_fib6/mesh_fib6.hpp>

#include <cstdio>

// Called right before and right after the work that counts.
extern "C" [[gnu::noinline]] void bench_mark() {
  asm volatile("" : : : "memory");
}

namespace bench {

namespace {

constexpr uint32_t entries = 600;
constexpr int calls_of_small_work = 100;

// `units` is what the count is divided by: the entries of all calls.
template <class Work>
void counted(const std::string &name, uint64_t units, int calls, Work work) {
  work(); // binds to the process and resolves what is resolved lazily
  printf("workload %s %llu\n", name.c_str(), static_cast<unsigned long long>(units));
  bench_mark();
  for (int i = 0; i < calls; i++)
    work();
  bench_mark();
}

template <class Record>
void decoding(const std::string &name, const pool<Record> &records, int calls,
              const encoded &message) {
  counted(name, records.entry_count() * static_cast<uint64_t>(calls), calls, [&] {
    Record back;
    operations<Record>::unpack(message.data, static_cast<uint32_t>(message.size), &back);
    observe(&back);
    operations<Record>::release(&back);
  });
}

template <class Record>
void coding(const std::string &name, const pool<Record> &records, int calls = 1) {
  const Record &record = records[0];
  library_peer<Record> ample(capacity::ample, records);
  library_peer<Record> exact(capacity::exact, records);
  const uint64_t units = records.entry_count() * static_cast<uint64_t>(calls);
  counted(name + "/encode", units, calls, [&] { ample.encode(record); });
  counted(name + "/encode-exact", units, calls, [&] { exact.encode(record); });
  decoding(name + "/decode", records, calls, ample.encode(record));
}

template <class Record>
void sending(const std::string &name, const pool<Record> &records, int calls) {
  counted(name, records.entry_count() * static_cast<uint64_t>(calls), calls, [&] {
    must_be_sent(operations<Record>::sendmsg(1, records.records().data(),
                                             static_cast<uint32_t>(records.size())));
  });
}

// What decoding() does, by the header for C++.
template <class Record>
void decoding_by_header(const std::string &name, const pool<Record> &records, int calls,
                        const encoded &message) {
  const uint64_t units = records.entry_count() * static_cast<uint64_t>(calls);
  counted("cxx/" + name, units, calls, [&] {
    const mesh_fib6::decoded<Record> back(message.data, message.size);
    observe(&*back);
  });
  counted("cxx/" + name + "-visited", units, calls, [&] {
    mesh_fib6::visit(operations<Record>::id, message.data, message.size,
                     [](const auto &back) { observe(&back); });
  });
}

// Messages that FlatBuffers' builder has written.
template <class Record>
void decoding_foreign(const std::string &name, const pool<Record> &records, int calls = 1) {
  const stored_messages messages = written_by_flatbuffers(records);
  library_peer<Record> library(capacity::ample, records);
  const stored_message &message = messages->front();
  Record back;
  library.decode(message.data(), message.size(), back);
  if (!same(records[0], back))
    give_up(name, "a decoded record differs from the original");
  library.release(back);
  decoding("foreign/" + name + "/decode", records, calls, {message.data(), message.size()});
}

void everything() {
  using routes = feiBrokerFib6_ipv6FwdUpdateMsg;
  using flat = fib6Sync_ipv6FwdUpdateMsg;
  const fill_kind typical = fill_kind::typical;

  coding("routes-600/dense", pool<routes>(fill_kind::dense, 1, entries, 1));
  coding("routes-600/typical", pool<routes>(typical, 1, entries, 1));
  coding("routes-600/mixed", pool<routes>(fill_kind::mixed, 1, entries, 1));
  coding("routes-1/typical", pool<routes>(typical, 1, 1, 1), calls_of_small_work);
  coding("next-hops/typical", pool<feiBrokerFib6_nhp6UpdateMsg>(typical, 1, 64, 1));
  coding("segment-lists/typical", pool<feiBrokerFib6_srv6SrListUpdateMsg>(typical, 1, 100, 1));
  coding("query/typical", pool<fib6_cfg_query_fib6_rec>(typical, 1, 50, 1));

  const pool<flat> one(typical, 1, 0, 1);
  coding("flat/typical", one, calls_of_small_work);
  image_peer<flat> image(capacity::ample, one);
  decoding("flat/typical/decode-image", one, calls_of_small_work, image.encode(one[0]));

  decoding_by_header("flat/typical/decode-image", one, calls_of_small_work, image.encode(one[0]));
  const pool<routes> one_route(typical, 1, 1, 1);
  library_peer<routes> ample(capacity::ample, one_route);
  decoding_by_header("routes-1/typical/decode", one_route, calls_of_small_work,
                     ample.encode(one_route[0]));

  for (const auto &[fill, kind] :
       {std::pair{"dense", fill_kind::dense}, std::pair{"typical", typical},
        std::pair{"mixed", fill_kind::mixed}})
    decoding_foreign(std::string("routes-600/") + fill, pool<routes>(kind, 1, entries, 1));
  decoding_foreign("routes-1/typical", pool<routes>(typical, 1, 1, 1), calls_of_small_work);
  decoding_foreign("next-hops/typical", pool<feiBrokerFib6_nhp6UpdateMsg>(typical, 1, 64, 1));
  decoding_foreign("segment-lists/typical",
                   pool<feiBrokerFib6_srv6SrListUpdateMsg>(typical, 1, 100, 1));
  decoding_foreign("query/typical", pool<fib6_cfg_query_fib6_rec>(typical, 1, 50, 1));
  decoding_foreign("flat/typical", one, calls_of_small_work);

  sending("send/flat-1", one, calls_of_small_work);
  sending("send/flat-1000", pool<flat>(typical, 1000, 0, 1), 1);
  sending("send/tree-400", pool<routes>(typical, 400, 1, 1), 1);
  sending("send/routes-600", pool<routes>(typical, 1, entries, 1), 1);
}

// Where the library's instructions lie in this process.
bool print_library() {
  FILE *maps = fopen("/proc/self/maps", "re");
  if (maps == nullptr)
    return false;
  bool found = false;
  char line[512];
  while (fgets(line, sizeof line, maps) != nullptr) {
    unsigned long from = 0, to = 0;
    char rights[5] = {};
    if (strstr(line, "libmesh_fib6.so") != nullptr &&
        sscanf(line, "%lx-%lx %4s", &from, &to, rights) == 3 && rights[2] == 'x') {
      printf("library %lx %lx\n", from, to);
      found = true;
    }
  }
  fclose(maps);
  return found;
}

} // namespace

} // namespace bench

int main() {
  if (!bench::print_library())
    bench::give_up("counts", "libmesh_fib6.so is not among the mappings of this process");
  printf("mark %lx\n", reinterpret_cast<unsigned long>(&bench_mark));
  bench::everything();
}
