// What a routing daemon says, as the feed understands it.
//
// Room: fpm. Includes this folder and the demo's.
#pragma once

#include "demo/prefix.h"
#include "demo/route_feed.h"
#include "demo/route_table.h"

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace fpm {

// A next hop with all that it does to a packet.
struct hop {
  demo::ipv6_address gateway{}; // all zero: directly on the interface
  uint32_t interface = 0;
  demo::segment_list segments; // the first to visit in front; empty: no encapsulation

  auto operator<=>(const hop &) const = default;
};

struct weighted_hop {
  hop to;
  uint32_t weight = 1;

  auto operator<=>(const weighted_hop &) const = default;
};

struct destination {
  uint32_t table = 0; // as the kernel numbers them; 254 is the main one
  demo::prefix prefix;

  auto operator<=>(const destination &) const = default;
};

struct route_announced {
  destination to;
  demo::route_kind kind = demo::route_kind::unicast;
  uint32_t metric = 0;
  uint8_t protocol = 0;
  uint32_t object = 0;            // the next-hop object that it uses; 0: those it names itself
  std::vector<weighted_hop> hops; // empty where the kind needs none or an object is used
};

// `superseded`: something that the feed has no use for has taken its place.
struct route_withdrawn {
  destination to;
  bool superseded = false;
};

// A next-hop object: one next hop, a group of other objects, or a hole.
struct object_announced {
  enum class kind { hop, group, blackhole };
  uint32_t id = 0;
  kind is = kind::hop;
  hop to;
  std::vector<demo::group_member> members; // by the objects' ids
};

struct object_withdrawn {
  uint32_t id = 0;
  bool superseded = false;
};

// Why something sound is left out. Their names are in events.cpp, in this order.
enum class skip {
  ipv4,
  other_family,     // MPLS, bridges
  other_message,    // neighbours, links, the ends of dumps
  other_frame,      // a frame that carries no netlink
  cached_route,     // a clone that the kernel made for a single destination
  source_specific,  // routes by where a packet is from
  other_kind,       // of route: NAT, an external resolver
  foreign_gateway,  // a next hop that is no IPv6 address
  seg6local,        // what is to be done with packets for a segment of one's own
  other_encap,      // MPLS labels, tunnels and more
  inline_segments,  // SRv6 segments that are inserted, not put in front with a header of their own
  too_many_segments // more than a record holds
};
inline constexpr size_t skip_reasons = 12;
std::string_view to_text(skip reason);

struct skipped {
  skip reason = skip::ipv4;
};

struct malformed {
  std::string what;
};

using event = std::variant<route_announced, route_withdrawn, object_announced, object_withdrawn,
                           skipped, malformed>;

} // namespace fpm
