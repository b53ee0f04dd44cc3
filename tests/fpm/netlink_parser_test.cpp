// What netlink messages say, the sound and the others.
//
// Room: tests. Includes the feed.
#include "fpm/netlink_parser.h"
#include "tests/fpm/netlink_bytes.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace fpm;

namespace {

// The events of a payload, which lies in a block of exactly its size.
std::vector<event> events_of(const bytes &payload) {
  std::vector<event> events;
  parse_messages(payload, events);
  return events;
}

// The only event of a payload.
template <class Event>
Event only(const bytes &payload) {
  const std::vector<event> events = events_of(payload);
  if (events.size() != 1 || !std::holds_alternative<Event>(events[0])) {
    ADD_FAILURE() << events.size() << " events, of which the first is number "
                  << (events.empty() ? 99 : events[0].index());
    return {};
  }
  return std::get<Event>(events[0]);
}

std::string problem_of(const bytes &payload) {
  return only<malformed>(payload).what;
}

// Why something is left out that takes the place of a route or an object.
skip reason_of(const bytes &payload) {
  const std::vector<event> events = events_of(payload);
  if (events.size() != 2 || !std::holds_alternative<skipped>(events[1])) {
    ADD_FAILURE() << events.size() << " events";
    return {};
  }
  const auto *const route = std::get_if<route_withdrawn>(&events[0]);
  const auto *const object = std::get_if<object_withdrawn>(&events[0]);
  EXPECT_TRUE((route != nullptr && route->superseded) || (object != nullptr && object->superseded));
  return std::get<skipped>(events[1]).reason;
}

demo::ipv6_address made(unsigned word, unsigned last = 0) {
  demo::ipv6_address result{};
  std::memcpy(result.data(), address(word, last).data(), result.size());
  return result;
}

TEST(NetlinkRoutes, HaveTheirNextHopMetricTableAndProtocol) {
  const auto route = only<route_announced>(
      message(new_route, route_header(48) + to(0xA) + gateway(1) + through(3) + metric(20)));
  EXPECT_EQ(route.to, (destination{254, {made(0xA), 48}}));
  EXPECT_EQ(route.kind, demo::route_kind::unicast);
  EXPECT_EQ(route.metric, 20u);
  EXPECT_EQ(route.protocol, 186);
  EXPECT_EQ(route.object, 0u);
  EXPECT_EQ(route.hops, (std::vector<weighted_hop>{{{made(0xFFFF, 1), 3, {}}, 1}}));
}

TEST(NetlinkRoutes, OfALargeTableNameItInAnAttribute) {
  const auto route = only<route_announced>(
      message(new_route, route_header(48) + to(0xA) + through(3) + in_table(70'000)));
  EXPECT_EQ(route.to.table, 70'000u);
}

TEST(NetlinkRoutes, WithoutADestinationAreTheDefaultRoute) {
  const auto route = only<route_announced>(message(new_route, route_header(0) + through(3)));
  EXPECT_EQ(route.to.prefix, (demo::prefix{{}, 0}));
}

TEST(NetlinkRoutes, WithoutAMetricHaveTheKernelsOwn) {
  EXPECT_EQ(only<route_announced>(message(new_route, route_header(48) + to(1) + through(3))).metric,
            1024u);
}

TEST(NetlinkRoutes, MayUseANextHopObject) {
  const auto route =
      only<route_announced>(message(new_route, route_header(48) + to(0xA) + object(10)));
  EXPECT_EQ(route.object, 10u);
  EXPECT_TRUE(route.hops.empty());
}

TEST(NetlinkRoutes, MayHaveSeveralNextHopsWithWeights) {
  const auto route = only<route_announced>(
      message(new_route, route_header(48) + to(0xA) +
                             several(next_hop(1, 3, gateway(1)) + next_hop(256, 4, gateway(2)))));
  EXPECT_EQ(route.hops, (std::vector<weighted_hop>{{{made(0xFFFF, 1), 3, {}}, 1},
                                                   {{made(0xFFFF, 2), 4, {}}, 256}}));
}

TEST(NetlinkRoutes, ThatDropPacketsNeedNoNextHop) {
  EXPECT_EQ(only<route_announced>(message(new_route, route_header(48, blackhole) + to(0xB))).kind,
            demo::route_kind::blackhole);
  EXPECT_EQ(only<route_announced>(message(new_route, route_header(48, unreachable) + to(0xB))).kind,
            demo::route_kind::unreachable);
}

TEST(NetlinkRoutes, AreWithdrawnByTheirDestination) {
  const auto gone =
      only<route_withdrawn>(message(delete_route, route_header(48) + to(0xA) + metric(20)));
  EXPECT_EQ(gone.to, (destination{254, {made(0xA), 48}}));
  EXPECT_FALSE(gone.superseded);
}

TEST(NetlinkRoutes, OfOneFrameAreReadInOrder) {
  const auto events = events_of(message(delete_route, route_header(48) + to(0xA)) +
                                message(new_route, route_header(48) + to(0xA) + through(3)));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_TRUE(std::holds_alternative<route_withdrawn>(events[0]));
  EXPECT_TRUE(std::holds_alternative<route_announced>(events[1]));
}

TEST(NetlinkRoutes, HaveTheirSegmentsInTheOrderOfTravel) {
  const auto route = only<route_announced>(message(
      new_route, route_header(48) + to(0xA) + gateway(1) + through(3) +
                     encapsulated(5, segments({address(0x33), address(0x22), address(0x11)}))));
  ASSERT_EQ(route.hops.size(), 1u);
  EXPECT_EQ(route.hops[0].to.segments, (demo::segment_list{made(0x11), made(0x22), made(0x33)}));
}

TEST(NetlinkRoutes, MayHaveSegmentsInOneOfSeveralNextHops) {
  const auto route = only<route_announced>(
      message(new_route,
              route_header(48) + to(0xA) +
                  several(next_hop(1, 3, gateway(1) + encapsulated(5, segments({address(0x11)}))) +
                          next_hop(1, 4, gateway(2)))));
  ASSERT_EQ(route.hops.size(), 2u);
  EXPECT_EQ(route.hops[0].to.segments, demo::segment_list{made(0x11)});
  EXPECT_TRUE(route.hops[1].to.segments.empty());
}

TEST(NetlinkRoutes, HaveTenSegmentsAtMost) {
  const auto with = [](size_t count) {
    return message(new_route, route_header(48) + to(0xA) + through(3) +
                                  encapsulated(5, segments(std::vector<bytes>(count, address(1)))));
  };
  EXPECT_EQ(only<route_announced>(with(10)).hops[0].to.segments.size(), 10u);
  EXPECT_EQ(reason_of(with(11)), skip::too_many_segments);
}

TEST(NetlinkRoutes, ThatAreOfNoUseTakeThePlaceOfWhatWasThere) {
  const auto with = [](const bytes &attributes) {
    return message(new_route, route_header(48) + to(0xA) + through(3) + attributes);
  };
  EXPECT_EQ(reason_of(with(encapsulated(7, attribute(1, u32(1))))), skip::seg6local);
  EXPECT_EQ(reason_of(with(encapsulated(1, u32(0)))), skip::other_encap);
  EXPECT_EQ(reason_of(with(encapsulated(5, segments({address(1)}, 0)))), skip::inline_segments);
  EXPECT_EQ(reason_of(with(attribute(18, u16(inet) + u32(0)))), skip::foreign_gateway);
  EXPECT_EQ(reason_of(message(new_route, route_header(48, 10) + to(0xA))), skip::other_kind);
}

TEST(NetlinkRoutes, OfOthersAreLeftOut) {
  EXPECT_EQ(only<skipped>(message(new_route, route_header(8, unicast, inet))).reason, skip::ipv4);
  EXPECT_EQ(only<skipped>(message(new_route, route_header(20, unicast, mpls))).reason,
            skip::other_family);
  EXPECT_EQ(
      only<skipped>(message(new_route, route_header(48, unicast, inet6, 0, 0x200) + to(1))).reason,
      skip::cached_route);
  EXPECT_EQ(only<skipped>(message(new_route, route_header(48, unicast, inet6, 48) + to(1))).reason,
            skip::source_specific);
  EXPECT_EQ(only<skipped>(message(28, bytes(12))).reason, skip::other_message);
}

TEST(NetlinkRoutes, AreRefusedWhereTheyAreCutShort) {
  EXPECT_EQ(problem_of(message(new_route, bytes(11, 10))),
            "a route: 11 bytes behind the netlink header, expected 12 or more");
  EXPECT_EQ(problem_of(message(new_route, route_header(48) + u16(20) + u16(1))),
            "a route: an attribute leads behind the end, 4 bytes before it");
  EXPECT_EQ(problem_of(message(new_route, route_header(0) + through(3) + u16(3) + u16(1))),
            "a route: an attribute leads behind the end, 4 bytes before it");
  EXPECT_EQ(problem_of(message(new_route, route_header(0) + through(3) + bytes{1, 2})),
            "a route: an attribute leads behind the end, 2 bytes before it");
}

// libmnl takes values that are too short for good ones.
TEST(NetlinkRoutes, AreRefusedWhereAValueHasAnotherSize) {
  EXPECT_EQ(problem_of(message(new_route, route_header(48) + to(1) + attribute(4, u16(3)))),
            "a route: attribute 4 has 2 bytes, expected 4");
  EXPECT_EQ(problem_of(message(new_route, route_header(48) + to(1) + attribute(4, {}))),
            "a route: attribute 4 has 0 bytes, expected 4");
  EXPECT_EQ(problem_of(message(new_route, route_header(32) + attribute(1, u32(1)) + through(3))),
            "a route: attribute 1 has 4 bytes, expected 16");
  EXPECT_EQ(problem_of(message(new_route, route_header(48) + to(1) + through(3) +
                                              attribute(6, u32(1) + u32(1)))),
            "a route: attribute 6 has 8 bytes, expected 4");
  EXPECT_EQ(problem_of(message(new_route, route_header(48) + to(1) + attribute(30, u8(1)))),
            "a route: attribute 30 has 1 bytes, expected 4");
}

TEST(NetlinkRoutes, AreRefusedWhereTheyMakeNoSense) {
  EXPECT_EQ(problem_of(message(new_route, route_header(129) + to(1) + through(3))),
            "a route: a prefix of 129 bits, expected 0 to 128");
  EXPECT_EQ(problem_of(message(new_route, route_header(48) + through(3))),
            "a route: a prefix of 48 bits without its address");
  EXPECT_EQ(problem_of(message(new_route, route_header(47) + to(1) + through(3))),
            "a route: 2001:db8:1::/47 has bits set beyond its length");
  EXPECT_EQ(problem_of(message(new_route, route_header(48) + to(1))),
            "a route: neither next hop nor interface");
  EXPECT_EQ(problem_of(message(new_route, route_header(48) + to(1) + object(0))),
            "a route: the next-hop object 0");
}

TEST(NetlinkRoutes, AreRefusedWhereTheirNextHopsLeadBehindTheEnd) {
  const auto with = [](const bytes &hops) {
    return message(new_route, route_header(48) + to(1) + several(hops));
  };
  EXPECT_EQ(problem_of(with({})), "a route of several next hops: there is none");
  EXPECT_EQ(problem_of(with(bytes(7))),
            "a route of several next hops: one leads behind the end, 7 bytes before it");
  EXPECT_EQ(problem_of(with(u16(7) + bytes(6))),
            "a route of several next hops: one leads behind the end, 8 bytes before it");
  EXPECT_EQ(problem_of(with(u16(9) + bytes(6))),
            "a route of several next hops: one leads behind the end, 8 bytes before it");
  EXPECT_EQ(problem_of(with(u16(8) + bytes(6))),
            "a route of several next hops: one has neither gateway nor interface");
}

TEST(NetlinkRoutes, AreRefusedWhereTheirSegmentsAreNotAsTheirHeaderSays) {
  const auto with = [](const bytes &header) {
    return message(new_route, route_header(48) + to(1) + through(3) +
                                  encapsulated(5, attribute(1, u32(1) + header)));
  };
  const bytes one = address(1);
  // Next header, length behind the first eight bytes, type, segments left, last entry, flags, tag.
  EXPECT_EQ(problem_of(with(bytes{0, 2, 4, 0, 0, 0, 0, 0} + bytes(15))),
            "SRv6 encapsulation: 27 bytes hold no segment");
  EXPECT_EQ(problem_of(with(bytes{0, 2, 3, 0, 0, 0, 0, 0} + one)),
            "SRv6 encapsulation: a routing header of type 3, expected 4");
  EXPECT_EQ(problem_of(with(bytes{0, 4, 4, 0, 0, 0, 0, 0} + one)),
            "SRv6 encapsulation: a header of 40 bytes in 24");
  EXPECT_EQ(problem_of(with(bytes{0, 2, 4, 1, 1, 0, 0, 0} + one)),
            "SRv6 encapsulation: 2 segments in a header of 24 bytes");
  EXPECT_EQ(problem_of(with(bytes{0, 2, 4, 1, 0, 0, 0, 0} + one)),
            "SRv6 encapsulation: 1 segments left of 1");
  EXPECT_EQ(
      problem_of(message(new_route, route_header(48) + to(1) + through(3) + encapsulated(5, {}))),
      "SRv6 encapsulation: no segment routing header");
  EXPECT_EQ(
      problem_of(message(new_route, route_header(48) + to(1) + through(3) + attribute(21, u16(5)))),
      "an SRv6 encapsulation that is not there");
  EXPECT_EQ(problem_of(message(new_route, route_header(48) + to(1) + through(3) +
                                              attribute(22, segments({one})))),
            "an encapsulation without its type");
}

TEST(NetlinkObjects, AreNextHops) {
  const auto hop = only<object_announced>(
      message(new_object, object_header(inet6) + attribute(1, u32(11)) +
                              attribute(6, address(0xFFFF, 1)) + attribute(5, u32(2))));
  EXPECT_EQ(hop.id, 11u);
  EXPECT_EQ(hop.is, object_announced::kind::hop);
  EXPECT_EQ(hop.to, (fpm::hop{made(0xFFFF, 1), 2, {}}));
}

TEST(NetlinkObjects, MayEncapsulate) {
  const auto hop = only<object_announced>(
      message(new_object, object_header(inet6) + attribute(1, u32(11)) + attribute(5, u32(2)) +
                              attribute(7, u16(5)) + attribute(8, segments({address(7)}))));
  EXPECT_EQ(hop.to.segments, demo::segment_list{made(7)});
}

TEST(NetlinkObjects, AreGroupsWithWeights) {
  const auto group = only<object_announced>(message(
      new_object,
      object_header(0) + attribute(1, u32(10)) +
          attribute(2, u32(11) + u8(0) + u8(0) + u16(0) + u32(12) + u8(255) + u8(1) + u16(0))));
  EXPECT_EQ(group.is, object_announced::kind::group);
  EXPECT_EQ(group.members, (std::vector<demo::group_member>{{11, 1}, {12, 512}}));
}

TEST(NetlinkObjects, AreHoles) {
  EXPECT_EQ(only<object_announced>(
                message(new_object, object_header(inet6) + attribute(1, u32(8)) + attribute(4, {})))
                .is,
            object_announced::kind::blackhole);
}

TEST(NetlinkObjects, AreWithdrawnByTheirNumber) {
  EXPECT_EQ(
      only<object_withdrawn>(message(delete_object, object_header(0) + attribute(1, u32(8)))).id,
      8u);
}

TEST(NetlinkObjects, OfIPv4AreLeftOutAndTakeThePlaceOfOthers) {
  EXPECT_EQ(reason_of(message(new_object,
                              object_header(inet) + attribute(1, u32(8)) + attribute(5, u32(2)))),
            skip::ipv4);
}

TEST(NetlinkObjects, AreRefusedWhereTheyMakeNoSense) {
  const bytes eight = attribute(1, u32(8));
  EXPECT_EQ(problem_of(message(new_object, bytes(7))),
            "a next-hop object: 7 bytes behind the netlink header, expected 8 or more");
  EXPECT_EQ(problem_of(message(new_object, object_header(inet6) + attribute(5, u32(2)))),
            "a next-hop object: attribute 1 is missing");
  EXPECT_EQ(problem_of(message(new_object, object_header(inet6) + attribute(1, u32(0)))),
            "a next-hop object: the number 0");
  EXPECT_EQ(problem_of(message(new_object, object_header(inet6) + eight)),
            "next-hop object 8: neither gateway nor interface");
  EXPECT_EQ(problem_of(message(new_object, object_header(0) + eight + attribute(2, {}))),
            "a next-hop group: 0 bytes of members, expected a multiple of 8");
  EXPECT_EQ(problem_of(message(new_object, object_header(0) + eight + attribute(2, bytes(12, 1)))),
            "a next-hop group: 12 bytes of members, expected a multiple of 8");
  EXPECT_EQ(problem_of(message(new_object, object_header(0) + eight + attribute(2, bytes(8)))),
            "a next-hop group: the member 0");
  EXPECT_EQ(problem_of(message(new_object,
                               object_header(0) + eight + attribute(2, u32(1) + u16(0) + u16(1)))),
            "a next-hop group: reserved bytes that are not 0");
}

TEST(NetlinkMessages, ThatAreRefusedLeaveTheNextOne) {
  const auto events = events_of(message(new_route, bytes(3)) +
                                message(new_route, route_header(48) + to(1) + through(3)));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_TRUE(std::holds_alternative<malformed>(events[0]));
  EXPECT_TRUE(std::holds_alternative<route_announced>(events[1]));
}

TEST(NetlinkMessages, ThatLeadBehindTheEndAreTheLast) {
  const std::string behind = "a netlink message leads behind the end of its frame, ";
  EXPECT_EQ(problem_of(bytes(15)), behind + "15 bytes before it");
  EXPECT_EQ(problem_of(u32(15) + bytes(12)), behind + "16 bytes before it");
  EXPECT_EQ(problem_of(u32(17) + bytes(12)), behind + "16 bytes before it");
  // As a signed number, which libmnl makes of it, this is less than the bytes that are there.
  EXPECT_EQ(problem_of(u32(0x80000010) + bytes(12)), behind + "16 bytes before it");
  EXPECT_EQ(events_of({}).size(), 0u);
}

} // namespace
