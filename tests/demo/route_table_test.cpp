// What next hops the routes of a feed are given.
//
// Room: tests. Includes the demo only.
#include "demo/route_table.h"

#include <gtest/gtest.h>

#include <set>

using namespace demo;

namespace {

struct built {
  route_table table;
  uint64_t duplicates = 0;

  const route &at(const char *text) const {
    prefix destination;
    EXPECT_EQ(parse_prefix(text, destination), "");
    return table.routes.at({vrf, destination});
  }
  static constexpr uint32_t vrf = 3;
};

built build(std::initializer_list<std::string> lines) {
  route_line_reader reader("test");
  for (const std::string &line : lines)
    reader.take_line(line);
  built result;
  result.table = build_table(reader.finish(), built::vrf, result.duplicates);
  return result;
}

} // namespace

TEST(RouteTable, GivesABarePrefixAGroupOfKnownNextHops) {
  const built made = build({"2001:db8::/32"});
  const auto group = made.table.groups.find(made.at("2001:db8::/32").group);
  ASSERT_NE(group, made.table.groups.end());
  ASSERT_FALSE(group->second.empty());
  for (const auto &member : group->second) {
    EXPECT_TRUE(made.table.next_hops.contains(member.next_hop));
    EXPECT_GT(member.weight, 0u);
  }
}

TEST(RouteTable, GivesTheSamePrefixTheSameNextHopsWhateverStandsAround) {
  const auto hops_of = [](const built &made) {
    std::set<next_hop> hops;
    for (const auto &member : made.table.groups.at(made.at("2001:db8::/32").group))
      hops.insert(made.table.next_hops.at(member.next_hop));
    return hops;
  };
  EXPECT_EQ(hops_of(build({"2001:db8::/32"})),
            hops_of(build({"2001:db8:1::/48", "2001:db8::/32", "2001:db8:2::/48"})));
}

TEST(RouteTable, SpreadsPrefixesOverManyGroups) {
  route_line_reader reader("test");
  for (int i = 0; i < 5000; i++) {
    char line[40];
    std::snprintf(line, sizeof line, "2001:db8:%x::/48", static_cast<unsigned>(i));
    reader.take_line(line);
  }
  uint64_t duplicates = 0;
  const route_table table = build_table(reader.finish(), 0, duplicates);
  EXPECT_EQ(table.groups.size(), 256u);
  EXPECT_EQ(table.next_hops.size(), 64u);
}

TEST(RouteTable, KeepsTheNextHopThatALineNames) {
  const built made = build({"default via fe80::9 dev eth0 metric 5"});
  const route &entry = made.at("::/0");
  EXPECT_EQ(entry.metric, 5u);
  const next_hop_group expected{{1, 1}};
  EXPECT_EQ(made.table.groups.at(entry.group), expected);
  EXPECT_EQ(to_text(made.table.next_hops.at(1).gateway), "fe80::9");
  EXPECT_EQ(made.table.next_hops.at(1).interface, 101u);
}

TEST(RouteTable, SharesNextHopsAndGroupsThatAreTheSame) {
  const built made =
      build({"2001:db8::/32 via fe80::9 dev eth0", "2001:db9::/32 via fe80::9 dev eth0",
             "2001:dba::/32 via fe80::9 dev eth1"});
  EXPECT_EQ(made.table.next_hops.size(), 2u);
  EXPECT_EQ(made.table.groups.size(), 2u);
  EXPECT_EQ(made.at("2001:db8::/32").group, made.at("2001:db9::/32").group);
  EXPECT_NE(made.at("2001:db8::/32").group, made.at("2001:dba::/32").group);
}

TEST(RouteTable, GivesNoNextHopToARouteThatForwardsNothing) {
  const built made = build({"unreachable 2001:db8::/32 dev lo metric 7", "blackhole ::/0"});
  EXPECT_EQ(made.at("2001:db8::/32").group, 0u);
  EXPECT_EQ(made.at("2001:db8::/32").kind, route_kind::unreachable);
  EXPECT_EQ(made.at("::/0").metric, default_metric);
  EXPECT_TRUE(made.table.next_hops.empty());
}

TEST(RouteTable, LetsTheLastOfTwoLinesWinAndCountsTheOther) {
  const built made =
      build({"2001:db8::/32 via fe80::1 dev eth0", "2001:db8::/32 via fe80::2 dev eth0"});
  EXPECT_EQ(made.duplicates, 1u);
  EXPECT_EQ(made.table.routes.size(), 1u);
  EXPECT_EQ(made.at("2001:db8::/32").input_line, 2u);
  ASSERT_EQ(made.table.next_hops.size(), 1u); // the loser's next hop is not sent
  EXPECT_EQ(to_text(made.table.next_hops.at(1).gateway), "fe80::2");
}
