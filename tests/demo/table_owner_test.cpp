// What lines make of the service's table, and the log of it.
//
// Room: tests. Includes the demo.
#include "demo/services/table_owner.h"

#include <gtest/gtest.h>

#include <string>

namespace {

demo::route_feed owned_feed(const std::string &lines) {
  demo::route_line_reader reader("test");
  size_t begin = 0;
  for (size_t end; (end = lines.find('\n', begin)) != std::string::npos; begin = end + 1)
    reader.take_line(std::string_view(lines).substr(begin, end - begin));
  return reader.finish();
}

TEST(TableOwner, BeginsWithTheTableThatBuildTableMakes) {
  const demo::route_feed feed = owned_feed("2001:db8:2::/48\n"
                                           "2001:db8:1::/48 via fe80::1 dev eth0\n"
                                           "unreachable fd00::/8\n"
                                           "2001:db8:1::/48 via fe80::2 dev eth1\n"
                                           "2001:db8:3::/48\n");
  uint64_t duplicates = 0;
  const demo::route_table expected = demo::build_table(feed, 7, duplicates);
  const demo::table_owner owner(feed, 7);
  EXPECT_EQ(owner.table().contents().routes, expected.routes);
  EXPECT_EQ(owner.table().contents().groups, expected.groups);
  EXPECT_EQ(owner.table().contents().next_hops.size(), expected.next_hops.size());
  EXPECT_EQ(owner.last_change(), 0U);
}

TEST(TableOwner, LogsWhatAFollowerHasToDoInOrder) {
  demo::table_owner owner(owned_feed("2001:db8::/32 via fe80::1 dev eth0\n"), 0);
  demo::digested_table follower = owner.table();
  EXPECT_EQ(owner.take_line("+ 2001:db8::/32 via fe80::2 dev eth0", 2), "");
  EXPECT_EQ(owner.take_line("+ fd00::/8 via fe80::2 dev eth0", 3), "");
  EXPECT_EQ(owner.take_line("- 2001:db8::/32", 4), "");
  // The next hop, its group, the route; the old group and next hop go. Then a route, then one less.
  ASSERT_EQ(owner.last_change(), 7U);
  for (uint32_t number = 1; number <= 7; number++) {
    EXPECT_TRUE(follower.apply(owner.logged(number))) << number;
    EXPECT_TRUE(owner.had(number, follower.digest())) << number;
  }
  EXPECT_EQ(follower.digest(), owner.table().digest());
  EXPECT_EQ(follower.contents().routes, owner.table().contents().routes);
  EXPECT_EQ(follower.contents().next_hops.size(), 1U);
}

TEST(TableOwner, KnowsWhichTablesItHad) {
  demo::table_owner owner(owned_feed("2001:db8::/32 via fe80::1 dev eth0\n"), 0);
  const uint64_t first = owner.table().digest();
  EXPECT_EQ(owner.take_line("+ blackhole fd00::/8", 2), "");
  EXPECT_TRUE(owner.had(0, first));
  EXPECT_TRUE(owner.had(1, owner.table().digest()));
  EXPECT_FALSE(owner.had(0, owner.table().digest()));
  EXPECT_FALSE(owner.had(1, first));
  EXPECT_FALSE(owner.had(2, owner.table().digest()));
}

TEST(TableOwner, KeepsTheLatestChangesInItsLog) {
  demo::table_owner owner({}, 0);
  for (uint32_t i = 0; i < 65'536; i++)
    ASSERT_EQ(owner.take_line("+ blackhole fd00::/8 metric " + std::to_string(i), 1), "");
  const uint64_t digest = owner.table().digest();
  EXPECT_TRUE(owner.is_logged(1));
  EXPECT_EQ(owner.take_line("+ blackhole fd00::/8", 1), "");
  EXPECT_FALSE(owner.is_logged(1));
  EXPECT_TRUE(owner.is_logged(2));
  EXPECT_TRUE(owner.is_logged(65'537));
  EXPECT_FALSE(owner.is_logged(65'538));
  EXPECT_TRUE(owner.had(65'536, digest));
  EXPECT_FALSE(owner.had(0, 0)); // nobody knows any more
}

TEST(TableOwner, RefusesALineAndStaysAsItWas) {
  demo::table_owner owner(owned_feed("2001:db8::/32 via fe80::1 dev eth0\n"), 0);
  const uint64_t before = owner.table().digest();
  EXPECT_EQ(owner.take_line("- fd00::/8", 2), "there is no route to fd00::/8");
  EXPECT_TRUE(owner.take_line("+ fd00::1/8", 2).starts_with("address bits"));
  EXPECT_EQ(owner.take_line("+", 2), "expected an IPv6 prefix, found nothing");
  EXPECT_EQ(owner.take_line("* fd00::/8", 2), "expected '+ ROUTE' or '- PREFIX', found '*'");
  EXPECT_EQ(owner.take_line("+ fd00::/8" + std::string(4100, ' '), 2),
            "expected at most 4,096 bytes in a line");
  EXPECT_EQ(owner.take_line("", 2), "");
  EXPECT_EQ(owner.take_line("# fd00::/8", 2), "");
  EXPECT_EQ(owner.table().digest(), before);
  EXPECT_EQ(owner.last_change(), 0U);
}

TEST(DigestedTable, HasTheDigestOfItsLinesWhateverTheirOrder) {
  // FNV-1a of "next-hop 1 : via :: interface 2", worked out apart from the demo.
  demo::digested_table table;
  table.apply(demo::put_next_hop{1, {{}, 2}});
  EXPECT_EQ(table.digest(), 0x903e207fa8cfcc34);
  demo::digested_table forward, backward;
  for (uint32_t i = 1; i <= 5; i++) {
    forward.apply(demo::put_next_hop{i, {{}, i}});
    backward.apply(demo::put_next_hop{6 - i, {{}, 6 - i}});
  }
  EXPECT_EQ(forward.digest(), backward.digest());
  for (uint32_t i = 5; i >= 1; i--)
    EXPECT_TRUE(forward.apply(demo::drop_next_hop{i}));
  EXPECT_EQ(forward.digest(), 0U);
  EXPECT_FALSE(forward.apply(demo::drop_next_hop{1}));
}

} // namespace
