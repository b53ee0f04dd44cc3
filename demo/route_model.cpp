// Between table entries and records, as agreed in the header.
//
// Room: demo. Includes the public headers of module fib6 and this folder.
#include "demo/route_model.h"

#include <array>
#include <cstring>

namespace demo {

namespace {

void store_address(uint32_t (&words)[4], const ipv6_address &address) {
  static_assert(sizeof words == sizeof address);
  std::memcpy(words, address.data(), sizeof words);
}

ipv6_address load_address(const uint32_t (&words)[4]) {
  ipv6_address address;
  std::memcpy(address.data(), words, sizeof words);
  return address;
}

bool read_prefix(const uint32_t (&words)[4], uint8_t length, prefix &destination) {
  destination = {load_address(words), length};
  return length <= 128 && masked(destination.address, length) == destination.address;
}

// The ten slots of a segment list, which are members of their own.
using segment_slot = uint32_t (feiBrokerFib6_srv6SrList::*)[4];
constexpr std::array<segment_slot, most_segments> slots = {
    &feiBrokerFib6_srv6SrList::f4,  &feiBrokerFib6_srv6SrList::f5,  &feiBrokerFib6_srv6SrList::f6,
    &feiBrokerFib6_srv6SrList::f7,  &feiBrokerFib6_srv6SrList::f8,  &feiBrokerFib6_srv6SrList::f9,
    &feiBrokerFib6_srv6SrList::f10, &feiBrokerFib6_srv6SrList::f11, &feiBrokerFib6_srv6SrList::f12,
    &feiBrokerFib6_srv6SrList::f13};

// Every member counts: one that should be zero and is not would otherwise go unnoticed. Records
// come out of the decoder or out of `{}`, and none of these has padding between its members.
template <class Record>
bool same_record(const Record &a, const Record &b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}
static_assert(sizeof(feiBrokerFib6_ipv6Fwd) == 56 && sizeof(feiBrokerFib6_ipv6FwdKey) == 28 &&
              sizeof(feiBrokerFib6_nhp6Std) == 48 && sizeof(feiBrokerFib6_nhp6Group) == 20 &&
              sizeof(feiBrokerFib6_nhp6GroupNode) == 40);

} // namespace

feiBrokerFib6_ipv6Fwd route_record(const route_key &key, const route &entry) {
  feiBrokerFib6_ipv6Fwd record{};
  record.f0 = key.vrf;
  record.f1 = entry.group;
  record.f2 = entry.metric;
  store_address(record.f3, key.destination.address);
  record.f4 = key.destination.length;
  record.f5 = static_cast<uint8_t>(entry.kind);
  record.f6 = entry.protocol;
  record.f7 = entry.input_line;
  return record;
}

feiBrokerFib6_ipv6FwdKey key_record(const route_key &key) {
  feiBrokerFib6_ipv6FwdKey record{};
  record.f0 = key.vrf;
  store_address(record.f2, key.destination.address);
  record.f3 = key.destination.length;
  return record;
}

feiBrokerFib6_nhp6Std next_hop_record(uint32_t number, const next_hop &hop) {
  feiBrokerFib6_nhp6Std record{};
  record.f0 = number;
  store_address(record.f1, hop.gateway);
  record.f2 = hop.interface;
  record.f3 = hop.segment_list;
  return record;
}

feiBrokerFib6_nhp6Group group_record(uint32_t vrf, uint32_t number, size_t members) {
  feiBrokerFib6_nhp6Group record{};
  record.f0 = vrf;
  record.f1 = number;
  record.f2 = static_cast<uint32_t>(members);
  return record;
}

feiBrokerFib6_nhp6GroupNode member_record(uint32_t vrf, uint32_t group,
                                          const group_member &member) {
  feiBrokerFib6_nhp6GroupNode record{};
  record.f0 = vrf;
  record.f1 = group;
  record.f2 = member.next_hop;
  record.f3 = member.weight;
  return record;
}

feiBrokerFib6_srv6SrList list_record(uint32_t vrf, uint32_t number, const segment_list &segments) {
  feiBrokerFib6_srv6SrList record{};
  record.f0 = vrf;
  record.f1 = number;
  record.f2 = static_cast<uint16_t>(segments.size());
  for (size_t i = 0; i < segments.size() && i < most_segments; i++)
    store_address(record.*slots[i], segments[i]);
  return record;
}

feiBrokerFib6_srv6SrListKey list_key_record(uint32_t vrf, uint32_t number) {
  return {vrf, number, 0, 0};
}

bool read_record(const feiBrokerFib6_ipv6Fwd &record, route_key &key, route &entry) {
  key.vrf = record.f0;
  entry = {static_cast<route_kind>(record.f5), record.f1, record.f2, record.f7,
           static_cast<uint8_t>(record.f6)};
  return read_prefix(record.f3, record.f4, key.destination) && record.f5 < route_kinds &&
         same_record(record, route_record(key, entry));
}

bool read_record(const feiBrokerFib6_ipv6FwdKey &record, route_key &key) {
  key.vrf = record.f0;
  return read_prefix(record.f2, record.f3, key.destination) && same_record(record, key_record(key));
}

bool read_record(const feiBrokerFib6_nhp6Std &record, uint32_t &number, next_hop &hop) {
  number = record.f0;
  hop = {load_address(record.f1), record.f2, record.f3};
  return same_record(record, next_hop_record(number, hop));
}

bool read_record(const feiBrokerFib6_nhp6GroupUpdateMsg &record, uint32_t &number,
                 next_hop_group &members) {
  const uint32_t vrf = record.f1.f0;
  number = record.f1.f1;
  members.clear();
  for (const feiBrokerFib6_nhp6GroupNode &node : entries_of(record)) {
    members.push_back({node.f2, node.f3});
    if (!same_record(node, member_record(vrf, number, members.back())))
      return false;
  }
  return !members.empty() && same_record(record.f1, group_record(vrf, number, members.size()));
}

// These two have padding between or behind their members, so their members are looked at one by
// one.
bool read_record(const feiBrokerFib6_srv6SrList &record, uint32_t &number, segment_list &segments) {
  number = record.f1;
  segments.clear();
  if (record.f2 == 0 || record.f2 > most_segments)
    return false;
  for (size_t i = 0; i < most_segments; i++) {
    const ipv6_address segment = load_address(record.*slots[i]);
    if (i < record.f2)
      segments.push_back(segment);
    else if (segment != ipv6_address{})
      return false;
  }
  return record.f3 == 0 && record.f14 == 0 && record.f15 == 0 && record.f16 == 0;
}

bool read_record(const feiBrokerFib6_srv6SrListKey &record, uint32_t &number) {
  number = record.f1;
  return record.f2 == 0 && record.f3 == 0;
}

} // namespace demo
