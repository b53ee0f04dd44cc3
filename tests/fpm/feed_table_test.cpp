// The table, and what of it a receiver is to have.
//
// Room: tests. Includes the feed.
#include "fpm/feed_table.h"
#include "fpm/netlink_parser.h"
#include "tests/fpm/netlink_bytes.h"

#include <gtest/gtest.h>

using namespace fpm;

namespace {

demo::prefix prefix_of(const char *text) {
  demo::prefix result;
  EXPECT_EQ(demo::parse_prefix(text, result), "");
  return result;
}

// A table that is told netlink messages, and what has changed since it was last asked.
class FeedTable : public testing::Test {
protected:
  void say(const bytes &messages) {
    std::vector<event> events;
    parse_messages(messages, events);
    for (const event &said : events)
      table.take(said);
    table.settle();
  }
  changed_keys taken_changes() {
    changed_keys taken;
    std::swap(taken, table.changes());
    return taken;
  }
  std::optional<demo::route> route(const char *text) const {
    return table.route({0, prefix_of(text)});
  }
  // Where the packets of a route go.
  std::vector<demo::next_hop> hops(const char *text) const {
    std::vector<demo::next_hop> found;
    const auto entry = route(text);
    if (!entry || entry->group == 0)
      return found;
    for (const demo::group_member &member : *table.group(entry->group))
      found.push_back(*table.next_hop(member.next_hop));
    return found;
  }

  static bytes announced(unsigned word, const bytes &attributes) {
    return message(new_route, route_header(48) + to(word) + attributes);
  }
  static bytes withdrawn(unsigned word) {
    return message(delete_route, route_header(48) + to(word));
  }
  static bytes hop_object(uint32_t id, uint32_t interface) {
    return message(new_object,
                   object_header(inet6) + attribute(1, u32(id)) + attribute(5, u32(interface)));
  }
  static bytes group_object(uint32_t id, uint32_t first, uint32_t second) {
    return message(new_object, object_header(0) + attribute(1, u32(id)) +
                                   attribute(2, u32(first) + u32(0) + u32(second) + u32(0)));
  }
  static bytes gone_object(uint32_t id) {
    return message(delete_object, object_header(0) + attribute(1, u32(id)));
  }

  feed_table table{100};
};

TEST_F(FeedTable, RoutesWithTheNextHopOfOthersShareItsGroup) {
  say(announced(1, through(3)) + announced(2, through(3)) + announced(3, through(4)));
  EXPECT_EQ(route("2001:db8:1::/48")->group, route("2001:db8:2::/48")->group);
  EXPECT_NE(route("2001:db8:1::/48")->group, route("2001:db8:3::/48")->group);
  EXPECT_EQ(taken_changes().groups.size(), 2u);
}

TEST_F(FeedTable, AGroupGoesWithTheLastOfItsRoutes) {
  say(announced(1, through(3)) + announced(2, through(3)));
  const uint32_t group = route("2001:db8:1::/48")->group;
  say(withdrawn(1));
  EXPECT_NE(table.group(group), nullptr);
  taken_changes();
  say(withdrawn(2));
  EXPECT_EQ(table.group(group), nullptr);
  EXPECT_TRUE(table.resolved().empty());
  EXPECT_EQ(taken_changes().groups, std::set<uint32_t>{group});
}

TEST_F(FeedTable, ASegmentListGoesWithTheLastOfItsNextHops) {
  const bytes listed = gateway(1) + encapsulated(5, segments({address(0x11)}));
  say(announced(1, through(3) + listed) + announced(2, through(4) + listed));
  ASSERT_EQ(hops("2001:db8:1::/48").size(), 1u);
  const uint32_t list = hops("2001:db8:1::/48")[0].segment_list;
  EXPECT_EQ(hops("2001:db8:2::/48")[0].segment_list, list);
  ASSERT_NE(table.segment_list(list), nullptr);
  say(withdrawn(1));
  EXPECT_NE(table.segment_list(list), nullptr);
  say(announced(2, through(4) + gateway(1)));
  EXPECT_EQ(table.segment_list(list), nullptr);
}

TEST_F(FeedTable, ARouteThatIsWithdrawnAndAnnouncedIsThere) {
  say(announced(1, through(3)));
  say(withdrawn(1) + announced(1, through(4)));
  ASSERT_EQ(hops("2001:db8:1::/48").size(), 1u);
  EXPECT_EQ(hops("2001:db8:1::/48")[0].interface, 4u);
  EXPECT_EQ(table.counters().announced, 2u);
  EXPECT_EQ(table.counters().withdrawn, 1u);
}

TEST_F(FeedTable, WhatWasNotThereCannotBeWithdrawn) {
  say(withdrawn(1) + gone_object(7));
  EXPECT_EQ(table.counters().unknown_withdrawn, 2u);
  EXPECT_EQ(table.counters().withdrawn, 0u);
}

TEST_F(FeedTable, ARouteGoesWhenSomethingOfNoUseTakesItsPlace) {
  say(announced(1, through(3)));
  say(announced(1, through(3) + encapsulated(7, attribute(1, u32(1)))));
  EXPECT_FALSE(route("2001:db8:1::/48"));
  EXPECT_EQ(table.counters().skipped[static_cast<size_t>(skip::seg6local)], 1u);
  // Nor is it missed when it was never there.
  say(announced(2, through(3) + encapsulated(7, attribute(1, u32(1)))));
  EXPECT_EQ(table.counters().unknown_withdrawn, 0u);
}

TEST_F(FeedTable, ARouteOfNoSenseChangesNothing) {
  say(announced(1, through(3)));
  say(announced(1, attribute(4, u16(4))));
  EXPECT_EQ(hops("2001:db8:1::/48")[0].interface, 3u);
  EXPECT_EQ(table.counters().malformed, 1u);
}

// zebra announces groups before their members.
TEST_F(FeedTable, ARouteWaitsForItsGroupAndTheGroupForItsMembers) {
  say(announced(1, object(10)));
  EXPECT_FALSE(route("2001:db8:1::/48"));
  EXPECT_EQ(table.waiting_routes(), 1u);
  say(group_object(10, 11, 12));
  say(hop_object(11, 3));
  EXPECT_FALSE(route("2001:db8:1::/48"));
  taken_changes();
  say(hop_object(12, 4));
  EXPECT_EQ(table.waiting_routes(), 0u);
  ASSERT_EQ(hops("2001:db8:1::/48").size(), 2u);
  EXPECT_EQ(hops("2001:db8:1::/48")[1].interface, 4u);
  EXPECT_EQ(taken_changes().routes.size(), 1u);
}

TEST_F(FeedTable, AChangedObjectChangesItsNextHopAndNoRoute) {
  say(hop_object(11, 3) + announced(1, object(11)));
  taken_changes();
  say(hop_object(11, 4));
  EXPECT_EQ(hops("2001:db8:1::/48")[0].interface, 4u);
  const changed_keys changes = taken_changes();
  EXPECT_EQ(changes.next_hops.size(), 1u);
  EXPECT_EQ(changes.groups.size(), 0u);
  EXPECT_EQ(changes.routes.size(), 0u);
}

TEST_F(FeedTable, ARouteGoesWithItsObjectAndComesBackWithIt) {
  say(hop_object(11, 3) + announced(1, object(11)));
  taken_changes();
  say(gone_object(11));
  EXPECT_FALSE(route("2001:db8:1::/48"));
  EXPECT_EQ(taken_changes().routes.size(), 1u);
  EXPECT_EQ(table.resolved_routes(), 0u);
  say(hop_object(11, 5));
  EXPECT_EQ(hops("2001:db8:1::/48")[0].interface, 5u);
  EXPECT_EQ(taken_changes().routes.size(), 1u);
}

TEST_F(FeedTable, ARouteOverAHoleIsABlackhole) {
  say(message(new_object, object_header(inet6) + attribute(1, u32(8)) + attribute(4, {})) +
      announced(1, object(8)));
  EXPECT_EQ(route("2001:db8:1::/48")->kind, demo::route_kind::blackhole);
  EXPECT_EQ(route("2001:db8:1::/48")->group, 0u);
  taken_changes();
  say(hop_object(8, 3));
  EXPECT_EQ(route("2001:db8:1::/48")->kind, demo::route_kind::unicast);
  EXPECT_EQ(taken_changes().routes.size(), 1u);
}

TEST_F(FeedTable, OtherTablesAreRoutingInstances) {
  say(message(new_route, route_header(48) + to(1) + through(3) + attribute(15, u32(100))));
  EXPECT_TRUE(table.route({100, prefix_of("2001:db8:1::/48")}));
  EXPECT_FALSE(route("2001:db8:1::/48"));
}

TEST_F(FeedTable, WhatIsNotAnnouncedAgainGoesWhenItIsSwept) {
  table.begin_session();
  say(announced(1, through(3)) + announced(2, through(3)) + hop_object(11, 4) +
      announced(3, object(11)));
  table.begin_session();
  EXPECT_EQ(table.stale_routes(), 3u);
  taken_changes();
  say(announced(1, through(3)));
  EXPECT_EQ(table.stale_routes(), 2u);
  EXPECT_TRUE(route("2001:db8:3::/48"));
  EXPECT_EQ(table.sweep(), 2u);
  table.settle();
  EXPECT_TRUE(route("2001:db8:1::/48"));
  EXPECT_FALSE(route("2001:db8:2::/48"));
  EXPECT_FALSE(route("2001:db8:3::/48"));
  EXPECT_EQ(table.resolved().next_hops.size(), 1u);
  EXPECT_EQ(table.resolved().groups.size(), 1u);
  EXPECT_EQ(table.sweep(), 0u);
}

TEST_F(FeedTable, ANextDaemonsObjectsAreNotThoseOfTheOneBefore) {
  table.begin_session();
  say(hop_object(11, 3) + announced(1, object(11)));
  table.begin_session();
  say(hop_object(11, 9) + announced(2, object(11)));
  EXPECT_EQ(hops("2001:db8:1::/48")[0].interface, 3u);
  EXPECT_EQ(hops("2001:db8:2::/48")[0].interface, 9u);
  table.sweep();
  table.settle();
  EXPECT_EQ(hops("2001:db8:2::/48")[0].interface, 9u);
  EXPECT_EQ(table.resolved().next_hops.size(), 1u);
}

TEST_F(FeedTable, MoreThanItsLimitIsNotTaken) {
  for (unsigned word = 0; word < 101; word++)
    say(announced(word, through(3)));
  EXPECT_EQ(table.routes(), 100u);
  EXPECT_EQ(table.counters().over_limit, 1u);
  say(announced(5, through(4))); // one that is there may change
  EXPECT_EQ(hops("2001:db8:5::/48")[0].interface, 4u);
}

TEST_F(FeedTable, AllOfItIsNewsToANewReceiver) {
  say(announced(1, through(3) + encapsulated(5, segments({address(0x11)}))));
  taken_changes();
  table.everything_changed();
  const changed_keys changes = taken_changes();
  EXPECT_EQ(changes.segment_lists.size(), 1u);
  EXPECT_EQ(changes.next_hops.size(), 1u);
  EXPECT_EQ(changes.groups.size(), 1u);
  EXPECT_EQ(changes.routes.size(), 1u);
}

} // namespace
