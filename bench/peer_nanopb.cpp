// nanopb as a contestant. https://jpa.kapsi.fi/nanopb/docs/reference.html
//
// Room: bench. Vectors by callbacks, straight from and into the plain records: nothing is copied
// twice. The schema is the fastest one of protobuf (fixed32, addresses in place).
#include "bench/contest.h"
#include "np_fixed_steps.h"

namespace bench {

namespace {

using namespace np_fixed_peer;

template <class Record>
class nanopb_peer {
  using message = typename type_of<Record>::type;

public:
  encoded encode(const Record &record) {
    message made;
    write(record, made);
    pb_ostream_t stream = pb_ostream_from_buffer(bytes_.data(), bytes_.size());
    if (!pb_encode(&stream, type_of<Record>::fields, &made))
      give_up("nanopb", "a record cannot be encoded");
    return {bytes_.data(), stream.bytes_written};
  }
  bool decode(const uint8_t *data, size_t size, Record &record) {
    message parsed{};
    prepare(record, parsed);
    pb_istream_t stream = pb_istream_from_buffer(data, size);
    if (!pb_decode_ex(&stream, type_of<Record>::fields, &parsed, PB_DECODE_NOINIT))
      return false;
    read(parsed, record);
    return true;
  }
  void release(Record &record) { bench::release(record); }

private:
  std::vector<uint8_t> bytes_ = std::vector<uint8_t>(1 << 20);
};

} // namespace

template <class Record>
std::vector<contestant> nanopb_contestants(const pool<Record> &records) {
  return {contest("nanopb", std::make_shared<nanopb_peer<Record>>(), records)};
}

template std::vector<contestant> nanopb_contestants(const pool<feiBrokerFib6_ipv6FwdUpdateMsg> &);
template std::vector<contestant> nanopb_contestants(const pool<feiBrokerFib6_nhp6UpdateMsg> &);
template std::vector<contestant>
nanopb_contestants(const pool<feiBrokerFib6_srv6SrListUpdateMsg> &);
template std::vector<contestant> nanopb_contestants(const pool<fib6_cfg_query_fib6_rec> &);
template std::vector<contestant> nanopb_contestants(const pool<fib6Sync_ipv6FwdUpdateMsg> &);

} // namespace bench
