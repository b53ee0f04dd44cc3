// Cap'n Proto as a contestant. https://capnproto.org/cxx.html ("Tips and Best Practices")
//
// Room: bench. MallocMessageBuilder over a scratch space that is large enough, so that a message is
// one segment which could be sent from where it stands: only the 8 bytes of the segment table are
// put before it. Read in place from a flat array. Two schemas: addresses as Data, and in the struct
// itself as 64-bit words (the fixed layout).
#include "bench/contest.h"
#include "cp_data_steps.h"
#include "cp_inline_steps.h"

#include <capnp/message.h>
#include <capnp/serialize.h>
#include <optional>

namespace bench {

namespace {

struct data_steps {
  template <class Record>
  using type = typename cp_data_peer::type_of<Record>::type;
  template <class Record>
  static void write(const Record &record, typename type<Record>::Builder to) {
    cp_data_peer::write(record, to);
  }
  template <class Record>
  static bool read(typename type<Record>::Reader from, Record &record) {
    return cp_data_peer::read(from, record);
  }
};

struct inline_steps {
  template <class Record>
  using type = typename cp_inline_peer::type_of<Record>::type;
  template <class Record>
  static void write(const Record &record, typename type<Record>::Builder to) {
    cp_inline_peer::write(record, to);
  }
  template <class Record>
  static bool read(typename type<Record>::Reader from, Record &record) {
    return cp_inline_peer::read(from, record);
  }
};

template <class Steps, class Record>
class capnproto_peer {
  using type = typename Steps::template type<Record>;

public:
  capnproto_peer() : space_(1 << 18) {} // words, zero as the builder wants them

  // The builder lives until the next message: its end clears what it has used of the scratch space.
  encoded encode(const Record &record) {
    builder_.reset();
    auto &builder = builder_.emplace(kj::arrayPtr(words() + 1, space_.size() - 1));
    Steps::write(record, builder.template initRoot<type>());
    const auto segments = builder.getSegmentsForOutput();
    if (segments.size() != 1)
      give_up("capnproto", "the scratch space is too small");
    const uint32_t header[2] = {0, static_cast<uint32_t>(segments[0].size())};
    memcpy(space_.data(), header, sizeof header);
    return {reinterpret_cast<const uint8_t *>(space_.data()), 8 + segments[0].size() * 8};
  }
  bool decode(const uint8_t *data, size_t size, Record &record) {
    capnp::FlatArrayMessageReader reader(
        kj::arrayPtr(reinterpret_cast<const capnp::word *>(data), size / sizeof(capnp::word)));
    return Steps::read(reader.getRoot<type>(), record);
  }
  void release(Record &record) { bench::release(record); }

private:
  capnp::word *words() { return reinterpret_cast<capnp::word *>(space_.data()); }

  std::vector<uint64_t> space_;
  std::optional<capnp::MallocMessageBuilder> builder_;
};

} // namespace

template <class Record>
std::vector<contestant> capnproto_contestants(const pool<Record> &records) {
  return {
      contest("capnproto", std::make_shared<capnproto_peer<data_steps, Record>>(), records),
      contest("capnproto inline", std::make_shared<capnproto_peer<inline_steps, Record>>(),
              records),
  };
}

template std::vector<contestant>
capnproto_contestants(const pool<feiBrokerFib6_ipv6FwdUpdateMsg> &);
template std::vector<contestant> capnproto_contestants(const pool<feiBrokerFib6_nhp6UpdateMsg> &);
template std::vector<contestant>
capnproto_contestants(const pool<feiBrokerFib6_srv6SrListUpdateMsg> &);
template std::vector<contestant> capnproto_contestants(const pool<fib6_cfg_query_fib6_rec> &);
template std::vector<contestant> capnproto_contestants(const pool<fib6Sync_ipv6FwdUpdateMsg> &);

} // namespace bench
