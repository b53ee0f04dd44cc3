// What service and peers agree upon: which member holds what, and who says what when.
//
// Room: demo. Includes public headers and the folder above.
//
// The messages give their members numbers only; this is the choice of these two programs and of
// nobody else. The service attaches to one destination, its peers to any of the ten behind it.
//
// Every message of the service carries as its target the service's epoch, a number that it draws
// when it starts. So what a service sent that is gone by now is not taken for words of the next
// one.
//
//   A change (module fib6, as ../route_model.h has it): one entry a message, f0 the number of the
//   change.
//     ipv6FwdUpdateMsg, ipv6FwdDelMsg, nhp6UpdateMsg, nhp6DelMsg, nhp6GroupUpdateMsg,
//     nhp6GroupDelMsg
//
//   The whole table (module fib6_sync): one entry a message, next hops, groups, members, routes.
//     fib6Sync_svcCtxMsg         its state table_begins, then the entries, then table_complete
//     f0.f0 of an entry          the number of the synchronisation, not 0
//     f0.f1 of an entry          its number in it, from 1
//     fib6Sync_nhp6StdUpdateMsg, fib6Sync_nhp6GroupUpdateMsg, fib6Sync_nhp6GroupNodeUpdateMsg,
//     fib6Sync_ipv6FwdUpdateMsg  f1 as the records of module fib6; what those do not have is 0
//
//   The service's context (fib6Sync_svcCtxMsg)
//     f0.f0    the state        f0.f1     the number of the synchronisation, 0 where it is none
//     f1[0]    who speaks: the service's destination
//     f1[1-2]  the epoch, lower half first
//     f1[3]    number of the last change that is in the table
//     f1[4]    of a whole table: how many entries are sent; otherwise 0
//     f1[5-6]  the table's digest, lower half first
//     f1[7]    0
//
//   A check (fib6_cfg_query_fib6check_key), by which a peer also says that it is there
//     f0.f0    where to answer  f0.f1     the query's number, not 0
//     f1.f0    the wish         f1.f1     number of the last change that is in the peer's table
//     f1.f2    the epoch and the digest that the peer has, lower halves first
//   and its answer (fib6_cfg_query_fib6check_rec)
//     f0.f0    the query's number
//     f0.f1    the verdict      f1.f0     number of the service's last change
//     f1.f2[0-3] the service's epoch and digest, lower halves first
//     f1.f2[4] how many entries the table has
//
//   A query for routes (fib6_cfg_query_fib6_key) and its answer: as ../../examples/ask_routes.c has
//   it.
#pragma once

#include "demo/route_model.h"
#include "demo/services/change.h"
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/fib6_cfg.h>
#include <mesh_fib6/fib6_sync.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace demo {

inline constexpr uint32_t most_peers = 10;

enum class service_state : uint32_t {
  table_begins = 1,
  table_complete = 2,
  in_step = 3,
  ending = 4
};

struct service_context {
  service_state state = service_state::in_step;
  uint32_t synchronisation = 0;
  uint32_t speaker = 0;
  uint64_t epoch = 0;
  uint32_t last_change = 0;
  uint32_t entries = 0;
  uint64_t digest = 0;
};
fib6Sync_svcCtxMsg record_of(const service_context &context);
std::optional<service_context> read_record(const fib6Sync_svcCtxMsg &record);

enum class wish : uint32_t { compare = 1, whole_table = 2 };
struct check {
  uint32_t answer_to = 0, number = 0;
  wish asked = wish::compare;
  uint32_t last_change = 0;
  uint64_t epoch = 0, digest = 0;
};
fib6_cfg_query_fib6check_key record_of(const check &asked);
std::optional<check> read_record(const fib6_cfg_query_fib6check_key &record);

enum class verdict : uint32_t { same = 1, table_follows = 2 };
struct check_answer {
  uint32_t number = 0;
  verdict found = verdict::same;
  uint32_t last_change = 0;
  uint64_t epoch = 0, digest = 0;
  uint32_t entries = 0;
};
fib6_cfg_query_fib6check_rec record_of(const check_answer &answer);
std::optional<check_answer> read_record(const fib6_cfg_query_fib6check_rec &record);

// The whole table at one moment, as it is sent: records without their headers, in this order.
struct whole_table {
  whole_table(const digested_table &table, uint32_t vrf, uint32_t last_change);

  std::vector<fib6Sync_nhp6Std> next_hops;
  std::vector<fib6Sync_nhp6Group> groups;
  std::vector<fib6Sync_nhp6GroupNode> members;
  std::vector<fib6Sync_ipv6Fwd> routes;
  uint32_t last_change;
  uint64_t digest;

  uint32_t entries() const {
    return static_cast<uint32_t>(next_hops.size() + groups.size() + members.size() + routes.size());
  }
};

// A whole table on its way in. Each returns false when the record breaks the agreement.
class table_assembly {
public:
  bool take(const fib6Sync_nhp6Std &record);
  bool take(const fib6Sync_nhp6Group &record);
  bool take(const fib6Sync_nhp6GroupNode &record);
  bool take(const fib6Sync_ipv6Fwd &record);

  // The table, when every group has its members.
  std::optional<digested_table> finish();

private:
  digested_table table;
  std::map<uint32_t, next_hop_group> groups;
  std::map<uint32_t, uint32_t> sizes; // how many members groups are to have
};

// The changes that a message of module fib6 makes; empty when it was refused by the decoder or
// breaks the agreement.
std::vector<change> changes_of(const feiBrokerFib6_ipv6FwdUpdateMsg &message);
std::vector<change> changes_of(const feiBrokerFib6_ipv6FwdDelMsg &message);
std::vector<change> changes_of(const feiBrokerFib6_nhp6UpdateMsg &message);
std::vector<change> changes_of(const feiBrokerFib6_nhp6DelMsg &message);
std::vector<change> changes_of(const feiBrokerFib6_nhp6GroupUpdateMsg &message);
std::vector<change> changes_of(const feiBrokerFib6_nhp6GroupDelMsg &message);

} // namespace demo
