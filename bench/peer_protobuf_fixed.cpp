// protobuf with fixed32 for every scalar, addresses as fixed64 in place: the fastest schema.
//
// Room: bench.
#include "bench/protobuf_contest.h"
#include "pb_fixed_steps.h"

namespace bench {

namespace {

struct steps {
  template <class Record>
  using message = typename pb_fixed_peer::type_of<Record>::type;

  template <class Record>
  static void write(const Record &record, message<Record> *to) {
    pb_fixed_peer::write(record, to);
  }
  template <class Record>
  static bool read(const message<Record> &from, Record &record) {
    return pb_fixed_peer::read(from, record);
  }
};

} // namespace

template <class Record>
std::vector<contestant> protobuf_fixed_contestants(const pool<Record> &records) {
  return protobuf_pair<steps>("protobuf fixed", records);
}

template std::vector<contestant>
protobuf_fixed_contestants(const pool<feiBrokerFib6_ipv6FwdUpdateMsg> &);
template std::vector<contestant>
protobuf_fixed_contestants(const pool<feiBrokerFib6_nhp6UpdateMsg> &);
template std::vector<contestant>
protobuf_fixed_contestants(const pool<feiBrokerFib6_srv6SrListUpdateMsg> &);
template std::vector<contestant> protobuf_fixed_contestants(const pool<fib6_cfg_query_fib6_rec> &);
template std::vector<contestant>
protobuf_fixed_contestants(const pool<fib6Sync_ipv6FwdUpdateMsg> &);

} // namespace bench
