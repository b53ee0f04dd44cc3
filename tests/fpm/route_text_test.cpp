// A table as `ip -6 route` prints one.
//
// Room: tests. Includes the feed.
#include "demo/text.h"
#include "fpm/route_text.h"

#include <gtest/gtest.h>

using namespace demo;

namespace {

ipv6_address address_of(const char *text) {
  ipv6_address result;
  EXPECT_EQ(parse_address(text, result), "");
  return result;
}

// Interface 4294967295 is on no machine.
TEST(RouteText, IsALineOfIpRoute) {
  route_table table;
  table.segment_lists[1] = {address_of("fc00::1"), address_of("fc00::2")};
  table.next_hops[1] = {address_of("fe80::1"), 4294967295, 0};
  table.next_hops[2] = {address_of("fe80::2"), 4294967295, 1};
  table.groups[1] = {{1, 1}};
  table.groups[2] = {{1, 1}, {2, 3}};
  const route_key key{0, {address_of("2001:db8::"), 32}};
  EXPECT_EQ(fpm::route_text(table, key, {route_kind::unicast, 1, 20, 0, 186}),
            "2001:db8::/32 via fe80::1 dev if4294967295 proto bgp metric 20");
  EXPECT_EQ(fpm::route_text(table, key, {route_kind::unicast, 2, 20, 0, 77}),
            "2001:db8::/32 proto 77 metric 20\n"
            "\tnexthop via fe80::1 dev if4294967295 weight 1\n"
            "\tnexthop encap seg6 mode encap segs 2 [ fc00::1 fc00::2 ] via fe80::2 dev "
            "if4294967295 weight 3");
  EXPECT_EQ(fpm::route_text(table, {7, {}}, {route_kind::blackhole, 0, 20, 0, 196}),
            "blackhole default table 7 proto static metric 20");
}

TEST(RouteText, SaysWhatIsMissing) {
  route_table table;
  table.groups[1] = {{5, 1}};
  EXPECT_EQ(fpm::route_text(table, {}, {route_kind::unicast, 1, 20, 0, 2}),
            "default via nobody: next hop 5 is missing proto kernel metric 20");
  EXPECT_EQ(fpm::route_text(table, {}, {route_kind::unicast, 9, 20, 0, 2}),
            "default via nobody: group 9 is missing proto kernel metric 20");
}

TEST(RouteText, GoesToAFileAsAWholeOrNotAtAll) {
  EXPECT_THROW(fpm::write_routes({}, "/nowhere/at/all"), failure);
}

} // namespace
