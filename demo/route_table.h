// The table that the sender has and the receiver rebuilds: routes, next hops, next-hop groups,
// segment lists.
//
// Room: demo. Includes this folder only; knows nothing of messages.
#pragma once

#include "demo/prefix.h"
#include "demo/route_feed.h"

#include <compare>
#include <cstdint>
#include <map>
#include <vector>

namespace demo {

struct route_key {
  uint32_t vrf = 0; // the routing instance
  prefix destination;

  auto operator<=>(const route_key &) const = default;
};

struct route {
  route_kind kind = route_kind::unicast;
  uint32_t group = 0; // 0: needs no next hop
  uint32_t metric = 0;
  uint32_t input_line = 0; // where the sender read it, so that a route can be traced back
  uint8_t protocol = 0;    // who made it, as rtnetlink numbers them; 0: nobody said

  bool operator==(const route &) const = default;
};

struct next_hop {
  ipv6_address gateway{}; // all zero: directly on the interface
  uint32_t interface = 0;
  uint32_t segment_list = 0; // what packets are encapsulated with; 0: nothing

  auto operator<=>(const next_hop &) const = default;
};

struct group_member {
  uint32_t next_hop = 0;
  uint32_t weight = 1;

  auto operator<=>(const group_member &) const = default;
};

using next_hop_group = std::vector<group_member>;

// SRv6 segments, the one that is visited first in front.
using segment_list = std::vector<ipv6_address>;

struct route_table {
  std::map<route_key, route> routes;
  std::map<uint32_t, next_hop> next_hops;         // by number
  std::map<uint32_t, next_hop_group> groups;      // by number
  std::map<uint32_t, segment_list> segment_lists; // by number

  bool empty() const {
    return routes.empty() && next_hops.empty() && groups.empty() && segment_lists.empty();
  }
};

// What `ip -6 route` would use for a route that names no metric.
inline constexpr uint32_t default_metric = 1024;

// Makes the table of a feed. A route keeps the next hops that its line names; to one that names
// none a group is given that depends on nothing but its prefix. The same prefix twice: the last
// line wins, `duplicates` counts the lines that lost.
route_table build_table(const route_feed &feed, uint32_t vrf, uint64_t &duplicates);

} // namespace demo
