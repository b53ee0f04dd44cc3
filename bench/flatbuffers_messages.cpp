// Messages as a peer with FlatBuffers' own builder writes them, for the library to decode.
// https://flatbuffers.dev (C++ guide, "Writing")
//
// Room: bench. Linked into bench_counts as well: needs FlatBuffers' headers and what flatc writes.
#include "bench/contest.h"
#include "flatbuffers_steps.h"

namespace bench {

namespace {

class builder {
public:
  template <class Record>
  encoded encode(const Record &record) {
    builder_.Clear();
    builder_.Finish(flatbuffers_peer::write(builder_, record));
    return {builder_.GetBufferPointer(), builder_.GetSize()};
  }

private:
  flatbuffers::FlatBufferBuilder builder_;
};

} // namespace

template <class Record>
stored_messages written_by_flatbuffers(const pool<Record> &records) {
  builder peer;
  return written_by(peer, records);
}

template stored_messages written_by_flatbuffers(const pool<feiBrokerFib6_ipv6FwdUpdateMsg> &);
template stored_messages written_by_flatbuffers(const pool<feiBrokerFib6_nhp6UpdateMsg> &);
template stored_messages written_by_flatbuffers(const pool<feiBrokerFib6_srv6SrListUpdateMsg> &);
template stored_messages written_by_flatbuffers(const pool<fib6_cfg_query_fib6_rec> &);
template stored_messages written_by_flatbuffers(const pool<fib6Sync_ipv6FwdUpdateMsg> &);

} // namespace bench
