// A table as `ip -6 route` prints one.
//
// Room: fpm. Includes this folder and the demo's.
//
//   2001:db8::/32 via fe80::1 dev eth0 proto bgp metric 20
//   2001:db8:1::/48 proto bgp metric 20
//   	nexthop via fe80::1 dev eth0 weight 1
//   	nexthop encap seg6 mode encap segs 2 [ fc00::1 fc00::2 ] via fe80::2 dev eth1 weight 2
//   blackhole 2001:db8:2::/48 proto static metric 20
// Of next-hop objects it shows what they say.
#pragma once

#include "demo/route_table.h"

#include <string>

namespace fpm {

// An interface of this machine by its name, others as if7.
std::string interface_name(uint32_t interface);

std::string route_text(const demo::route_table &table, const demo::route_key &key,
                       const demo::route &entry);

// Throws demo::failure when the file cannot be written completely. It is there as a whole, or as it
// was before.
void write_routes(const demo::route_table &table, const std::string &path);

} // namespace fpm
