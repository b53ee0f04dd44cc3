// A table as `ip -6 route` prints one.
//
// Room: fpm. Includes libc, this folder and the demo's.
#include "fpm/route_text.h"

#include "demo/text.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <net/if.h>
#include <utility>

namespace fpm {

namespace {

// As rtnetlink and its users number those who make routes.
constexpr std::array<std::pair<uint8_t, const char *>, 17> protocols{{
    {1, "redirect"},
    {2, "kernel"},
    {3, "boot"},
    {4, "static"},
    {9, "ra"},
    {11, "zebra"},
    {12, "bird"},
    {42, "babel"},
    {186, "bgp"},
    {187, "isis"},
    {188, "ospf"},
    {189, "rip"},
    {192, "eigrp"},
    {193, "ldp"},
    {194, "sharp"},
    {195, "pbr"},
    {196, "static"},
}};

std::string protocol_text(uint8_t number) {
  for (const auto &[known, name] : protocols)
    if (known == number)
      return name;
  return std::to_string(number);
}

std::string hop_text(const demo::route_table &table, uint32_t number) {
  const auto found = table.next_hops.find(number);
  if (found == table.next_hops.end())
    return demo::formatted(" via nobody: next hop %u is missing", number);
  const demo::next_hop &hop = found->second;
  std::string text;
  if (const auto list = table.segment_lists.find(hop.segment_list);
      list != table.segment_lists.end()) {
    text += demo::formatted(" encap seg6 mode encap segs %zu [", list->second.size());
    for (const demo::ipv6_address &segment : list->second)
      text += " " + demo::to_text(segment);
    text += " ]";
  } else if (hop.segment_list != 0) {
    text += demo::formatted(" encap missing: segment list %u", hop.segment_list);
  }
  if (hop.gateway != demo::ipv6_address{})
    text += " via " + demo::to_text(hop.gateway);
  if (hop.interface != 0)
    text += " dev " + interface_name(hop.interface);
  return text;
}

} // namespace

std::string interface_name(uint32_t interface) {
  std::array<char, IF_NAMESIZE> name{};
  if (if_indextoname(interface, name.data()) != nullptr)
    return name.data();
  return "if" + std::to_string(interface);
}

std::string route_text(const demo::route_table &table, const demo::route_key &key,
                       const demo::route &entry) {
  std::string text = entry.kind == demo::route_kind::unicast
                         ? std::string()
                         : std::string(demo::to_text(entry.kind)) + " ";
  text += key.destination.length == 0 ? "default" : demo::to_text(key.destination);
  const auto group = table.groups.find(entry.group);
  const demo::next_hop_group none;
  const demo::next_hop_group &members = group == table.groups.end() ? none : group->second;
  if (entry.group != 0 && members.empty())
    text += demo::formatted(" via nobody: group %u is missing", entry.group);
  if (members.size() == 1)
    text += hop_text(table, members.front().next_hop);
  if (key.vrf != 0)
    text += demo::formatted(" table %u", key.vrf);
  text += " proto " + protocol_text(entry.protocol) + demo::formatted(" metric %u", entry.metric);
  if (members.size() > 1)
    for (const demo::group_member &member : members)
      text += "\n\tnexthop" + hop_text(table, member.next_hop) +
              demo::formatted(" weight %u", member.weight);
  return text;
}

void write_routes(const demo::route_table &table, const std::string &path) {
  const std::string unfinished = path + ".new";
  std::ofstream file(unfinished, std::ios::trunc);
  for (const auto &[key, entry] : table.routes)
    file << route_text(table, key, entry) << '\n';
  file.close();
  if (!file || std::rename(unfinished.c_str(), path.c_str()) != 0)
    throw demo::failure("cannot write routes to " + path + ": " + demo::error_text(errno));
}

} // namespace fpm
