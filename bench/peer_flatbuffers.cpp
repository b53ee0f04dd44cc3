// FlatBuffers as a contestant. https://flatbuffers.dev (C++ guide, "Writing", "Verification")
//
// Room: bench. Builder reused with Clear(); vtables shared as by default, and written per table
// (DedupVtables(false)), which spares the search; the object API with objects kept between
// messages.
#include "bench/contest.h"
#include "flatbuffers_steps.h"

namespace bench {

namespace {

using namespace flatbuffers_peer;

template <class Record>
class builder_peer {
  using table = typename type_of<Record>::type;

public:
  explicit builder_peer(bool dedup) : builder_(1 << 20) { builder_.DedupVtables(dedup); }

  encoded encode(const Record &record) {
    builder_.Clear();
    builder_.Finish(write(builder_, record));
    return {builder_.GetBufferPointer(), builder_.GetSize()};
  }
  bool decode(const uint8_t *data, size_t size, Record &record) {
    flatbuffers::Verifier verifier(data, size);
    return verifier.VerifyBuffer<table>(nullptr) &&
           read(*flatbuffers::GetRoot<table>(data), record);
  }
  void release(Record &record) { bench::release(record); }

private:
  flatbuffers::FlatBufferBuilder builder_;
};

template <class Record>
class object_peer {
  using table = typename type_of<Record>::type;

public:
  object_peer() : builder_(1 << 20) {}

  encoded encode(const Record &record) {
    to_object(record, written_);
    builder_.Clear();
    builder_.Finish(table::Pack(builder_, &written_));
    return {builder_.GetBufferPointer(), builder_.GetSize()};
  }
  bool decode(const uint8_t *data, size_t size, Record &record) {
    flatbuffers::Verifier verifier(data, size);
    if (!verifier.VerifyBuffer<table>(nullptr))
      return false;
    flatbuffers::GetRoot<table>(data)->UnPackTo(&read_);
    return from_object(read_, record);
  }
  void release(Record &record) { bench::release(record); }

private:
  flatbuffers::FlatBufferBuilder builder_;
  typename table::NativeTableType written_;
  typename table::NativeTableType read_;
};

} // namespace

template <class Record>
std::vector<contestant> flatbuffers_contestants(const pool<Record> &records) {
  return {
      contest("flatbuffers", std::make_shared<builder_peer<Record>>(true), records),
      contest("flatbuffers no-dedup", std::make_shared<builder_peer<Record>>(false), records),
      contest("flatbuffers objects", std::make_shared<object_peer<Record>>(), records),
  };
}

template <class Record>
std::vector<contestant> flatbuffers_readers(const pool<Record> &records,
                                            const stored_messages &messages) {
  return {
      reader("flatbuffers", std::make_shared<builder_peer<Record>>(true), records, messages),
      reader("flatbuffers objects", std::make_shared<object_peer<Record>>(), records, messages),
  };
}

template std::vector<contestant>
flatbuffers_contestants(const pool<feiBrokerFib6_ipv6FwdUpdateMsg> &);
template std::vector<contestant> flatbuffers_contestants(const pool<feiBrokerFib6_nhp6UpdateMsg> &);
template std::vector<contestant>
flatbuffers_contestants(const pool<feiBrokerFib6_srv6SrListUpdateMsg> &);
template std::vector<contestant> flatbuffers_contestants(const pool<fib6_cfg_query_fib6_rec> &);
template std::vector<contestant> flatbuffers_contestants(const pool<fib6Sync_ipv6FwdUpdateMsg> &);

template std::vector<contestant> flatbuffers_readers(const pool<feiBrokerFib6_ipv6FwdUpdateMsg> &,
                                                     const stored_messages &);
template std::vector<contestant> flatbuffers_readers(const pool<feiBrokerFib6_nhp6UpdateMsg> &,
                                                     const stored_messages &);
template std::vector<contestant>
flatbuffers_readers(const pool<feiBrokerFib6_srv6SrListUpdateMsg> &, const stored_messages &);
template std::vector<contestant> flatbuffers_readers(const pool<fib6_cfg_query_fib6_rec> &,
                                                     const stored_messages &);
template std::vector<contestant> flatbuffers_readers(const pool<fib6Sync_ipv6FwdUpdateMsg> &,
                                                     const stored_messages &);

} // namespace bench
