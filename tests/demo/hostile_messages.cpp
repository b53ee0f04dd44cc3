// Messages as no honest sender makes them.
//
// Room: tests. Includes the demo and the public headers.
#include "tests/demo/hostile_messages.h"

#include "demo/route_model.h"

#include <gtest/gtest.h>

#include <random>

using namespace demo;

namespace {

constexpr uint32_t vrf = 7;
constexpr size_t random_messages = 300;

template <class Message>
encoded_message packed(uint32_t id, uint32_t (*pack)(const Message *, uint8_t *, uint32_t *),
                       const Message &message) {
  uint8_t buffer[1024];
  uint32_t length = sizeof buffer;
  EXPECT_EQ(pack(&message, buffer, &length), 0u);
  return {id, {buffer, buffer + length}};
}

} // namespace

std::vector<encoded_message> agreed_messages() {
  const next_hop_group members{{3, 1}, {4, 2}};
  std::vector<feiBrokerFib6_nhp6GroupNode> nodes;
  for (const auto &member : members)
    nodes.push_back(member_record(vrf, 2, member));
  const next_hop hop{{0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9}, 8};
  std::vector<feiBrokerFib6_nhp6Std> hops{next_hop_record(3, hop), next_hop_record(4, hop)};
  const route_key keys[] = {{vrf, {{0x20, 0x01, 0x0d, 0xb8}, 32}},
                            {vrf, {{0x20, 0x01, 0x0d, 0xb9}, 48}}};
  std::vector<feiBrokerFib6_ipv6Fwd> routes;
  std::vector<feiBrokerFib6_ipv6FwdKey> deleted;
  for (const route_key &key : keys) {
    routes.push_back(route_record(key, {route_kind::unicast, 2, 1024, 5}));
    deleted.push_back(key_record(key));
  }
  std::vector<feiBrokerFib6_nhp6GroupKey> deleted_groups{{vrf, 2}};
  std::vector<feiBrokerFib6_nhp6Key> deleted_hops{{3}, {4}};

  feiBrokerFib6_nhp6UpdateMsg next_hops{};
  next_hops.f0 = 2;
  next_hops.f1.f0 = vrf;
  next_hops.f2_count = 2;
  next_hops.f2 = hops.data();
  return {
      packed<feiBrokerFib6_nhp6GroupUpdateMsg>(group_update_id,
                                               feiBrokerFib6_nhp6GroupUpdateMsg__pack,
                                               {1, group_record(vrf, 2, 2), 2, nodes.data()}),
      packed(next_hop_update_id, feiBrokerFib6_nhp6UpdateMsg__pack, next_hops),
      packed<feiBrokerFib6_ipv6FwdUpdateMsg>(route_update_id, feiBrokerFib6_ipv6FwdUpdateMsg__pack,
                                             {3, 2, routes.data()}),
      packed<feiBrokerFib6_ipv6FwdDelMsg>(route_delete_id, feiBrokerFib6_ipv6FwdDelMsg__pack,
                                          {4, 2, deleted.data()}),
      packed<feiBrokerFib6_nhp6GroupDelMsg>(group_delete_id, feiBrokerFib6_nhp6GroupDelMsg__pack,
                                            {5, 1, deleted_groups.data()}),
      packed<feiBrokerFib6_nhp6DelMsg>(next_hop_delete_id, feiBrokerFib6_nhp6DelMsg__pack,
                                       {6, 2, deleted_hops.data()}),
      packed<feiBrokerFib6_pidStateMsg>(
          phase_id, feiBrokerFib6_pidStateMsg__pack,
          {7, {4711, static_cast<uint32_t>(demo::phase::table_withdrawn), 2}}),
  };
}

std::vector<encoded_message> cut(const encoded_message &message) {
  std::vector<encoded_message> all;
  for (auto end = message.bytes.begin(); end != message.bytes.end(); ++end)
    all.push_back({message.id, {message.bytes.begin(), end}});
  return all;
}

std::vector<encoded_message> flipped(const encoded_message &message) {
  std::vector<encoded_message> all;
  const auto add = [&](size_t at, unsigned byte) {
    all.push_back(message);
    all.back().bytes[at] = static_cast<uint8_t>(byte);
  };
  for (size_t at = 0; at < message.bytes.size(); at++) {
    for (unsigned bit = 0; bit < 8; bit++)
      add(at, message.bytes[at] ^ 1u << bit);
    add(at, 0x00);
    add(at, 0xff);
  }
  return all;
}

std::vector<encoded_message> randomised(const encoded_message &message, size_t count) {
  std::mt19937 random(message.id); // NOLINT(cert-msc51-cpp): the same ones in every run
  const auto below = [&](size_t bound) { return random() % bound; };
  std::vector<encoded_message> all;
  for (size_t i = 0; i < count; i++) {
    encoded_message next = message;
    size_t first = 0, end = next.bytes.size();
    if (i % 2 == 0) {
      next.bytes.resize(end = below(2 * message.bytes.size()));
    } else {
      first = below(end);
      end = first + 1 + below(std::min<size_t>(end - first, 8));
    }
    for (size_t at = first; at < end; at++)
      next.bytes[at] = static_cast<uint8_t>(random());
    all.push_back(std::move(next));
  }
  return all;
}

std::vector<encoded_message> hostile(const encoded_message &message) {
  std::vector<encoded_message> all;
  for (auto &&some : {cut(message), flipped(message), randomised(message, random_messages)})
    all.insert(all.end(), some.begin(), some.end());
  return all;
}
