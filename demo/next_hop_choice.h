// Which next-hop group a route gets: numbers for groups, next hops and devices.
//
// Room: demo. Includes this folder only; knows nothing of messages.
#pragma once

#include "demo/prefix.h"
#include "demo/route_table.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace demo {

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

// What it has numbered keeps its number for good, so a route that comes later, or again, is given
// the numbers that go with the earlier ones.
class next_hop_choice {
public:
  // 0: the route needs no next hop.
  uint32_t group_of(const feed_route &route);

  // All so far, with their numbers.
  const std::map<next_hop, uint32_t> &hops() const { return hop_numbers.all(); }
  const std::map<next_hop_group, uint32_t> &groups() const { return group_numbers.all(); }

private:
  // How many different groups routes without a next hop of their own are spread over.
  static constexpr uint32_t pool_groups = 256;

  uint32_t named_group(const std::vector<feed_hop> &named);
  uint32_t pool_group(const prefix &destination);
  next_hop_group pool_members(uint32_t choice);

  numbering<std::string> devices;
  numbering<next_hop> hop_numbers;
  numbering<next_hop_group> group_numbers;
  std::array<uint32_t, pool_groups> pool_numbers{};
};

} // namespace demo
