// Which next-hop group a route gets.
//
// Room: demo. Includes this folder only; knows nothing of messages.
#include "demo/next_hop_choice.h"

namespace demo {

namespace {

// The routers that prefixes without a next hop of their own are spread over.
constexpr uint32_t pool_next_hops = 64;
constexpr uint32_t pool_interfaces = 8;
constexpr uint32_t pool_largest_group = 4;

// Devices that lines name are numbered in the order in which the sorted routes name them; the
// numbers that they have on the machine that printed them are not in the text.
constexpr uint32_t first_named_interface = 101;

next_hop pool_hop(uint32_t index) {
  next_hop hop;
  hop.gateway = {0xfe, 0x80}; // fe80::1 and on
  hop.gateway[15] = static_cast<uint8_t>(index + 1);
  hop.interface = 1 + index % pool_interfaces;
  return hop;
}

uint32_t hash(const prefix &destination) {
  uint32_t value = 2166136261u ^ destination.length;
  for (const uint8_t byte : destination.address)
    value = (value ^ byte) * 16777619u;
  return value >> 8; // the upper bits are the better mixed ones
}

} // namespace

uint32_t next_hop_choice::group_of(const feed_route &route) {
  if (!needs_next_hop(route.kind))
    return 0;
  return route.hops.empty() ? pool_group(route.destination) : named_group(route.hops);
}

uint32_t next_hop_choice::named_group(const std::vector<feed_hop> &named) {
  next_hop_group members;
  for (const feed_hop &hop : named) {
    const uint32_t interface =
        hop.device.empty() ? 0 : first_named_interface - 1 + devices.number_of(hop.device);
    const next_hop found{hop.gateway.value_or(ipv6_address{}), interface};
    members.push_back({hop_numbers.number_of(found), hop.weight});
  }
  return group_numbers.number_of(members);
}

uint32_t next_hop_choice::pool_group(const prefix &destination) {
  const uint32_t choice = hash(destination) % pool_groups;
  uint32_t &number = pool_numbers[choice];
  if (number == 0)
    number = group_numbers.number_of(pool_members(choice));
  return number;
}

next_hop_group next_hop_choice::pool_members(uint32_t choice) {
  static_assert(pool_groups == pool_next_hops * pool_largest_group); // every size from every hop
  next_hop_group members;
  for (uint32_t i = 0; i <= choice / pool_next_hops; i++)
    members.push_back({hop_numbers.number_of(pool_hop((choice + i * 17) % pool_next_hops)), i + 1});
  return members;
}

} // namespace demo
