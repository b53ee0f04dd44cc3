// Gives the routes of a feed their next hops.
//
// Room: demo. Includes this folder only; knows nothing of messages.
#include "demo/route_table.h"

#include <string>
#include <utility>

namespace demo {

namespace {

// The routers that prefixes without a next hop of their own are spread over.
constexpr uint32_t pool_next_hops = 64;
constexpr uint32_t pool_interfaces = 8;
constexpr uint32_t pool_largest_group = 4;
constexpr uint32_t pool_groups = pool_next_hops * pool_largest_group; // every size from every hop

// Devices that lines name are numbered in the order in which the sorted routes name them; the
// numbers that they have on the machine that printed them are not in the text.
constexpr uint32_t first_named_interface = 101;

// Numbers each different thing once, from 1.
template <class Thing>
class numbering {
public:
  uint32_t number_of(const Thing &thing) {
    const auto next = static_cast<uint32_t>(numbers.size() + 1);
    return numbers.try_emplace(thing, next).first->second;
  }
  const std::map<Thing, uint32_t> &all() const { return numbers; }

private:
  std::map<Thing, uint32_t> numbers;
};

class next_hop_choice {
public:
  uint32_t group_of(const feed_route &route) {
    if (!needs_next_hop(route.kind))
      return 0;
    return route.hops.empty() ? pool_group(route.destination) : named_group(route.hops);
  }

  void store_in(route_table &table) const {
    for (const auto &[hop, number] : hops.all())
      table.next_hops[number] = hop;
    for (const auto &[members, number] : groups.all())
      table.groups[number] = members;
  }

private:
  uint32_t named_group(const std::vector<feed_hop> &named) {
    next_hop_group members;
    for (const feed_hop &hop : named) {
      const uint32_t interface =
          hop.device.empty() ? 0 : first_named_interface - 1 + devices.number_of(hop.device);
      const next_hop found{hop.gateway.value_or(ipv6_address{}), interface};
      members.push_back({hops.number_of(found), hop.weight});
    }
    return groups.number_of(members);
  }

  uint32_t pool_group(const prefix &destination) {
    const uint32_t choice = hash(destination) % pool_groups;
    uint32_t &number = pool_numbers[choice];
    if (number == 0)
      number = groups.number_of(pool_members(choice));
    return number;
  }

  next_hop_group pool_members(uint32_t choice) {
    next_hop_group members;
    for (uint32_t i = 0; i <= choice / pool_next_hops; i++)
      members.push_back({hops.number_of(pool_hop((choice + i * 17) % pool_next_hops)), i + 1});
    return members;
  }

  static next_hop pool_hop(uint32_t index) {
    next_hop hop;
    hop.gateway = {0xfe, 0x80}; // fe80::1 and on
    hop.gateway[15] = static_cast<uint8_t>(index + 1);
    hop.interface = 1 + index % pool_interfaces;
    return hop;
  }

  static uint32_t hash(const prefix &destination) {
    uint32_t value = 2166136261u ^ destination.length;
    for (const uint8_t byte : destination.address)
      value = (value ^ byte) * 16777619u;
    return value >> 8; // the upper bits are the better mixed ones
  }

  numbering<std::string> devices;
  numbering<next_hop> hops;
  numbering<next_hop_group> groups;
  std::array<uint32_t, pool_groups> pool_numbers{};
};

} // namespace

route_table build_table(const route_feed &feed, uint32_t vrf, uint64_t &duplicates) {
  // Lines that lost must leave no next hop behind, so they are found first.
  std::map<route_key, const feed_route *> winners;
  for (const feed_route &line : feed.routes)
    winners[{vrf, line.destination}] = &line;
  duplicates = feed.routes.size() - winners.size();

  route_table table;
  next_hop_choice choice;
  for (const auto &[key, line] : winners) {
    const route entry{line->kind, choice.group_of(*line), line->metric.value_or(default_metric),
                      line->line};
    table.routes.emplace_hint(table.routes.end(), key, entry);
  }
  choice.store_in(table);
  return table;
}

} // namespace demo
