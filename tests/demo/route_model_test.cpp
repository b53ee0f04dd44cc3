// Between table entries and records.
//
// Room: tests. Includes the demo and the public headers.
#include "demo/route_model.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace demo;

namespace {

constexpr ipv6_address network{0x20, 0x01, 0x0d, 0xb8, 0x12, 0x34, 0x56};

const route_key key{7, {network, 56}};
const route hole{route_kind::blackhole, 8, 9, 10};

// Changes a record byte by byte: a reader that ignores one does not notice.
template <class Record, class Reader>
void expect_every_byte_to_matter(const Record &good, Reader same_entry) {
  for (size_t at = 0; at < sizeof good; at++) {
    Record changed = good;
    reinterpret_cast<unsigned char *>(&changed)[at] ^= 1;
    EXPECT_FALSE(same_entry(changed)) << "byte " << at;
  }
}

} // namespace

TEST(RouteModel, KnowsTheMessagesByTheHashOfTheirNames) {
  EXPECT_EQ(route_update_id, 0x5026A923u);
  EXPECT_EQ(route_delete_id, 0x0B394879u);
  EXPECT_EQ(group_update_id, 0x12BA2120u);
  EXPECT_EQ(group_delete_id, 0xE0BBBCA0u);
  EXPECT_EQ(next_hop_update_id, 0x5FFC4D23u);
  EXPECT_EQ(next_hop_delete_id, 0xEE8FB479u);
  EXPECT_EQ(list_update_id, 0x44FD956Bu);
  EXPECT_EQ(list_delete_id, 0x03FB3FE1u);
  EXPECT_EQ(phase_id, 0x2DAF16C2u);
}

TEST(RouteModel, KeepsEachAttributeOfARouteInItsMember) {
  const feiBrokerFib6_ipv6Fwd record = route_record(key, hole);
  EXPECT_EQ(record.f0, 7u);
  EXPECT_EQ(record.f1, 8u);
  EXPECT_EQ(record.f2, 9u);
  EXPECT_EQ(std::memcmp(record.f3, network.data(), sizeof network), 0);
  EXPECT_EQ(record.f4, 56u);
  EXPECT_EQ(record.f5, 2u);
  EXPECT_EQ(record.f7, 10u);
}

TEST(RouteModel, ReadsARouteBackAsItWas) {
  route_key read_key;
  route read_entry;
  ASSERT_TRUE(read_record(route_record(key, hole), read_key, read_entry));
  EXPECT_EQ(read_key, key);
  EXPECT_EQ(read_entry, hole);
}

TEST(RouteModel, NoticesEveryChangedByteOfARoute) {
  expect_every_byte_to_matter(route_record(key, hole), [](const feiBrokerFib6_ipv6Fwd &changed) {
    route_key read_key;
    route read_entry;
    return read_record(changed, read_key, read_entry) && read_key == key && read_entry == hole;
  });
}

TEST(RouteModel, RefusesARouteThatBreaksTheAgreement) {
  route_key read_key;
  route read_entry;
  feiBrokerFib6_ipv6Fwd record = route_record(key, hole);
  record.f4 = 129;
  EXPECT_FALSE(read_record(record, read_key, read_entry));
  record.f4 = 48; // bits of the address are set beyond
  EXPECT_FALSE(read_record(record, read_key, read_entry));
  record = route_record(key, hole);
  record.f5 = 8;
  EXPECT_FALSE(read_record(record, read_key, read_entry));
  record = route_record(key, hole);
  record.f13 = 1;
  EXPECT_FALSE(read_record(record, read_key, read_entry));
}

TEST(RouteModel, ReadsAKeyBackAsItWasAndNoticesEveryChangedByte) {
  route_key read_key;
  ASSERT_TRUE(read_record(key_record(key), read_key));
  EXPECT_EQ(read_key, key);
  expect_every_byte_to_matter(key_record(key), [](const feiBrokerFib6_ipv6FwdKey &changed) {
    route_key changed_key;
    return read_record(changed, changed_key) && changed_key == key;
  });
}

TEST(RouteModel, ReadsANextHopBackAsItWasAndNoticesEveryChangedByte) {
  const next_hop hop{network, 3};
  const feiBrokerFib6_nhp6Std record = next_hop_record(5, hop);
  EXPECT_EQ(record.f0, 5u);
  EXPECT_EQ(record.f2, 3u);
  const auto same = [&](const feiBrokerFib6_nhp6Std &other) {
    uint32_t number = 0;
    next_hop read_hop;
    return read_record(other, number, read_hop) && number == 5 && read_hop == hop;
  };
  EXPECT_TRUE(same(record));
  expect_every_byte_to_matter(record, same);
}

TEST(RouteModel, ReadsAGroupBackAsItWasAndNoticesEveryChangedByte) {
  const next_hop_group members{{4, 1}, {5, 2}};
  std::vector<feiBrokerFib6_nhp6GroupNode> nodes;
  for (const auto &member : members)
    nodes.push_back(member_record(7, 6, member));
  feiBrokerFib6_nhp6GroupUpdateMsg message{1, group_record(7, 6, 2), 2, nodes.data()};

  const auto same = [&] {
    uint32_t number = 0;
    next_hop_group read_members;
    return read_record(message, number, read_members) && number == 6 && read_members == members;
  };
  EXPECT_TRUE(same());

  const feiBrokerFib6_nhp6GroupNode node = nodes[1];
  expect_every_byte_to_matter(node, [&](const feiBrokerFib6_nhp6GroupNode &changed) {
    nodes[1] = changed;
    return same();
  });
  nodes[1] = node;
  expect_every_byte_to_matter(message.f1, [&](const feiBrokerFib6_nhp6Group &changed) {
    feiBrokerFib6_nhp6GroupUpdateMsg other = message;
    other.f1 = changed;
    uint32_t number = 0;
    next_hop_group read_members;
    return read_record(other, number, read_members);
  });
}

TEST(RouteModel, KeepsTheProtocolOfARouteAndTheSegmentListOfANextHop) {
  EXPECT_EQ(route_record(key, {route_kind::unicast, 8, 9, 10, 186}).f6, 186u);
  EXPECT_EQ(next_hop_record(5, {network, 3, 4}).f3, 4u);
}

TEST(RouteModel, ReadsASegmentListBackAsItWas) {
  ipv6_address last = network;
  last[15] = 10;
  segment_list ten(9, network);
  ten.push_back(last);
  for (const segment_list &segments : {segment_list{network}, segment_list{network, last}, ten}) {
    const feiBrokerFib6_srv6SrList record = list_record(7, 5, segments);
    EXPECT_EQ(record.f0, 7u);
    EXPECT_EQ(record.f1, 5u);
    EXPECT_EQ(record.f2, segments.size());
    EXPECT_EQ(std::memcmp(record.f4, network.data(), sizeof network), 0);
    uint32_t number = 0;
    segment_list read_segments;
    EXPECT_TRUE(read_record(record, number, read_segments));
    EXPECT_EQ(number, 5u);
    EXPECT_EQ(read_segments, segments);
  }
  EXPECT_EQ(std::memcmp(list_record(7, 5, ten).f13, last.data(), sizeof last), 0);
}

TEST(RouteModel, RefusesASegmentListThatBreaksTheAgreement) {
  const feiBrokerFib6_srv6SrList good = list_record(7, 5, {network, network});
  const auto refused = [&](auto spoil) {
    feiBrokerFib6_srv6SrList record = good;
    spoil(record);
    uint32_t number = 0;
    segment_list segments;
    return !read_record(record, number, segments);
  };
  using list = feiBrokerFib6_srv6SrList;
  EXPECT_TRUE(refused([](list &record) { record.f2 = 0; }));
  EXPECT_TRUE(refused([](list &record) { record.f2 = 11; }));
  EXPECT_TRUE(refused([](list &record) { record.f2 = 1; })); // a segment in a slot beyond it
  EXPECT_TRUE(refused([](list &record) { record.f13[3] = 1; }));
  EXPECT_TRUE(refused([](list &record) { record.f3 = 1; }));
  EXPECT_TRUE(refused([](list &record) { record.f14 = 1; }));
  EXPECT_TRUE(refused([](list &record) { record.f15 = 1; }));
  EXPECT_TRUE(refused([](list &record) { record.f16 = 1; }));
}

TEST(RouteModel, RefusesAKeyOfASegmentListWithMoreThanItsNumber) {
  uint32_t number = 0;
  EXPECT_TRUE(read_record(list_key_record(7, 5), number));
  EXPECT_EQ(number, 5u);
  EXPECT_FALSE(read_record({7, 5, 1, 0}, number));
  EXPECT_FALSE(read_record({7, 5, 0, 1}, number));
}
