// Which record member holds what: the agreement between the demo's sender and receiver.
//
// Room: demo. Includes the public headers of module fib6 and this folder.
//
// The messages give their members numbers only; what a member means is for the two ends to agree
// upon. This is the choice of this demo and of nobody else:
//
//   feiBrokerFib6_ipv6Fwd (a route)            feiBrokerFib6_ipv6FwdKey (the key of a route)
//     f0   VRF                                   f0     VRF
//     f1   number of the next-hop group          f1     0
//     f2   metric                                f2     address, as f3 of the route
//     f3   address: 16 bytes in network byte     f3     prefix length
//          order, as they stand in memory        f4[3]  0
//     f4   prefix length
//     f5   route_kind
//     f6   protocol
//     f7   input line
//     the others 0
//
//   feiBrokerFib6_nhp6Group                    feiBrokerFib6_nhp6GroupNode (a member)
//     f0   VRF                                   f0   VRF
//     f1   number of the group                   f1   number of the group
//     f2   number of members                     f2   number of the next hop
//     f3, f4   0                                 f3   weight
//                                                the others 0
//
//   feiBrokerFib6_nhp6 (shared part)           feiBrokerFib6_nhp6Std (a next hop)
//     f0   VRF                                   f0   number of the next hop
//     the others 0                               f1   gateway, as the address of a route
//                                                f2   interface
//   feiBrokerFib6_nhp6GroupKey                   f3   number of the segment list
//     f0   VRF                                   the others 0
//     f1   number of the group
//                                              feiBrokerFib6_nhp6Key
//   feiBrokerFib6_srv6SrList                     f0   number of the next hop
//     f0   VRF
//     f1   number of the segment list          feiBrokerFib6_srv6SrListKey
//     f2   number of segments, 1 to 10           f0   VRF
//     f4 to f13   the segments, as addresses     f1   number of the segment list
//          of routes, the first to visit         the others 0
//          in f4; slots beyond f2 are 0
//     the others 0                             f0 of every message is its sequence number, from 1:
//                                              a receiver notices a lost, repeated or unreadable
//   feiBrokerFib6_pidState (see phase)         message by it.
//     f0   process id of who says so
//     f1   phase
//     f2   routes in the sender's table; of the phases from table_begins on, which know empty
//          tables, one more
//
// No message is empty: an update or deletion has at least one entry, what a phase message counts is
// at least 1. So a message in which the decoder found nothing is one that it refused.
//
// A sender that goes on sending as its table changes begins with table_begins under number 1, sends
// all of its table, and ends that, and every later batch of changes, with table_whole.
//
// The address words are copied, not converted: both ends must keep words in the same byte order,
// which holds on one machine and between little-endian ones.
#pragma once

#include "demo/decoded.h"
#include "demo/route_table.h"
#include <mesh_fib6/fib6.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace demo {

// The mesh knows a message by a hash (FNV-1a) of its full name.
constexpr uint32_t message_id(std::string_view full_name) {
  uint32_t hash = 2166136261u;
  for (const char c : full_name)
    hash = (hash ^ static_cast<uint8_t>(c)) * 16777619u;
  return hash;
}

inline constexpr uint32_t route_update_id = message_id("feiBrokerFib6.ipv6FwdUpdateMsg");
inline constexpr uint32_t route_delete_id = message_id("feiBrokerFib6.ipv6FwdDelMsg");
inline constexpr uint32_t group_update_id = message_id("feiBrokerFib6.nhp6GroupUpdateMsg");
inline constexpr uint32_t group_delete_id = message_id("feiBrokerFib6.nhp6GroupDelMsg");
inline constexpr uint32_t next_hop_update_id = message_id("feiBrokerFib6.nhp6UpdateMsg");
inline constexpr uint32_t next_hop_delete_id = message_id("feiBrokerFib6.nhp6DelMsg");
inline constexpr uint32_t list_update_id = message_id("feiBrokerFib6.srv6SrListUpdateMsg");
inline constexpr uint32_t list_delete_id = message_id("feiBrokerFib6.srv6SrListDelMsg");
inline constexpr uint32_t phase_id = message_id("feiBrokerFib6.pidStateMsg");

// What a phase message says.
enum class phase : uint32_t {
  table_sent = 1,      // everything is sent
  table_withdrawn = 2, // everything is deleted
  table_begins = 3,    // a whole table follows: what is not in it is to go
  table_whole = 4,     // what was sent up to here is the sender's table
  table_wanted = 5,    // from a receiver, which lacks something: send everything anew
};

inline constexpr size_t most_segments = 10;

feiBrokerFib6_ipv6Fwd route_record(const route_key &key, const route &entry);
feiBrokerFib6_ipv6FwdKey key_record(const route_key &key);
feiBrokerFib6_nhp6Std next_hop_record(uint32_t number, const next_hop &hop);
feiBrokerFib6_nhp6Group group_record(uint32_t vrf, uint32_t number, size_t members);
feiBrokerFib6_nhp6GroupNode member_record(uint32_t vrf, uint32_t group, const group_member &member);
feiBrokerFib6_srv6SrList list_record(uint32_t vrf, uint32_t number, const segment_list &segments);
feiBrokerFib6_srv6SrListKey list_key_record(uint32_t vrf, uint32_t number);

// The entries of a message, decoded or to be sent. An update with its own header keeps them in f2,
// the plain messages keep them in f1.
template <class Message>
auto entries_of(const Message &message) {
  if constexpr (requires { message.f2_count; })
    return elements(message.f2, message.f2_count);
  else
    return elements(message.f1, message.f1_count);
}

// The way back. False: the record breaks the agreement, and the outputs mean nothing.
bool read_record(const feiBrokerFib6_ipv6Fwd &record, route_key &key, route &entry);
bool read_record(const feiBrokerFib6_ipv6FwdKey &record, route_key &key);
bool read_record(const feiBrokerFib6_nhp6Std &record, uint32_t &number, next_hop &hop);
bool read_record(const feiBrokerFib6_nhp6GroupUpdateMsg &record, uint32_t &number,
                 next_hop_group &members);
bool read_record(const feiBrokerFib6_srv6SrList &record, uint32_t &number, segment_list &segments);
bool read_record(const feiBrokerFib6_srv6SrListKey &record, uint32_t &number);

// The most bytes one entry can take in an encoded message, its place in the vector included, and
// the most a message takes beside its entries.
inline constexpr size_t largest_message_frame = 160;
inline constexpr size_t largest_entry = 104;
inline constexpr size_t largest_list = 320; // of a segment list

// What the messages of one __sendbatch call may encode to together.
inline constexpr size_t largest_batch = 65536;

} // namespace demo
