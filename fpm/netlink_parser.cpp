// What a frame says: netlink messages about routes, as events.
//
// Room: fpm. Includes libmnl, the kernel's headers, this folder and the demo's.
//
// libmnl's validation refuses a value that is too long, not one that is too short; its loops stop
// at an attribute that leads behind the end as if that were the end; and it takes a message of 2^31
// bytes for a short one. So lengths are compared here, and what a loop leaves over is looked at.
#include "fpm/netlink_parser.h"

#include "demo/route_model.h"
#include "demo/text.h"

#include <array>
#include <cstring>
#include <libmnl/libmnl.h>
#include <linux/lwtunnel.h>
#include <linux/nexthop.h>
#include <linux/rtnetlink.h>
#include <linux/seg6_iptunnel.h>
#include <optional>
#include <sys/socket.h>

namespace fpm {

namespace {

using demo::formatted;
using demo::ipv6_address;
using demo::route_kind;

// What ends the reading of a message: it is wrong, or of no use.
struct refusal {
  std::string problem;
  std::optional<skip> reason;
};
[[noreturn]] void bad(std::string problem) {
  throw refusal{std::move(problem), {}};
}
[[noreturn]] void leave_out(skip reason) {
  throw refusal{{}, reason};
}

// Attributes by their types, of which those from `limit` on are of no interest. Of several of one
// type the last one counts, as it does for the kernel.
template <size_t limit>
class attributes {
public:
  attributes(const void *first, size_t bytes, const char *where) : where_(where) {
    const auto *at = static_cast<const uint8_t *>(first);
    while (bytes > 0) {
      const auto *const attribute = reinterpret_cast<const nlattr *>(at);
      if (bytes < sizeof(nlattr) || !mnl_attr_ok(attribute, static_cast<int>(bytes)))
        bad(formatted("%s: an attribute leads behind the end, %zu bytes before it", where, bytes));
      if (const uint16_t type = mnl_attr_get_type(attribute); type < limit)
        found_[type] = attribute;
      const size_t step = MNL_ALIGN(attribute->nla_len);
      if (step >= bytes)
        break;
      at += step;
      bytes -= step;
    }
  }

  bool has(size_t type) const { return found_[type] != nullptr; }
  size_t size(size_t type) const { return mnl_attr_get_payload_len(found_[type]); }
  const void *payload(size_t type) const { return mnl_attr_get_payload(found_[type]); }

  // A value of exactly this type.
  template <class Value>
  Value value(size_t type) const {
    need(type, sizeof(Value));
    Value result;
    std::memcpy(&result, payload(type), sizeof result);
    return result;
  }
  template <class Value>
  Value value_or(size_t type, Value otherwise) const {
    return has(type) ? value<Value>(type) : otherwise;
  }

private:
  void need(size_t type, size_t bytes) const {
    if (!has(type))
      bad(formatted("%s: attribute %zu is missing", where_, type));
    if (size(type) != bytes)
      bad(formatted("%s: attribute %zu has %zu bytes, expected %zu", where_, type, size(type),
                    bytes));
  }

  std::array<const nlattr *, limit> found_{};
  const char *where_;
};

// The header of a netlink message's body, and the attributes behind it.
template <class Header>
const Header &header_of(const nlmsghdr &message, const char *where) {
  if (mnl_nlmsg_get_payload_len(&message) < sizeof(Header))
    bad(formatted("%s: %zu bytes behind the netlink header, expected %zu or more", where,
                  mnl_nlmsg_get_payload_len(&message), sizeof(Header)));
  return *static_cast<const Header *>(mnl_nlmsg_get_payload(&message));
}
template <size_t limit, class Header>
attributes<limit> attributes_of(const nlmsghdr &message, const Header &header, const char *where) {
  const size_t before = MNL_ALIGN(sizeof(Header));
  const size_t bytes = mnl_nlmsg_get_payload_len(&message);
  return {reinterpret_cast<const uint8_t *>(&header) + before, bytes > before ? bytes - before : 0,
          where};
}

// ---- encapsulation
// -------------------------------------------------------------------------------

// struct ipv6_sr_hdr, without the segments that are behind it.
struct segment_header {
  uint8_t next_header;
  uint8_t length; // in units of eight bytes, without the first
  uint8_t type;
  uint8_t segments_left;
  uint8_t last_entry;
  uint8_t flags;
  uint16_t tag;
};

demo::segment_list segments_of(const void *encapsulation, size_t bytes) {
  const attributes<SEG6_IPTUNNEL_MAX + 1> found(encapsulation, bytes, "SRv6 encapsulation");
  if (!found.has(SEG6_IPTUNNEL_SRH))
    bad("SRv6 encapsulation: no segment routing header");
  // The mode, then the header as it is put into packets.
  constexpr size_t mode_bytes = sizeof(int32_t);
  const size_t size = found.size(SEG6_IPTUNNEL_SRH);
  if (size < mode_bytes + sizeof(segment_header) + sizeof(ipv6_address))
    bad(formatted("SRv6 encapsulation: %zu bytes hold no segment", size));
  const auto *const bytes_of = static_cast<const uint8_t *>(found.payload(SEG6_IPTUNNEL_SRH));
  int32_t mode = 0;
  std::memcpy(&mode, bytes_of, sizeof mode);
  segment_header header{};
  std::memcpy(&header, bytes_of + mode_bytes, sizeof header);

  constexpr uint8_t segment_routing = 4; // the routing header's type
  const size_t counted = size_t{header.last_entry} + 1;
  const size_t header_bytes = (size_t{header.length} + 1) * 8;
  if (header.type != segment_routing)
    bad(formatted("SRv6 encapsulation: a routing header of type %u, expected %u", header.type,
                  segment_routing));
  if (header_bytes != size - mode_bytes)
    bad(formatted("SRv6 encapsulation: a header of %zu bytes in %zu", header_bytes,
                  size - mode_bytes));
  if (sizeof header + counted * sizeof(ipv6_address) > header_bytes)
    bad(formatted("SRv6 encapsulation: %zu segments in a header of %zu bytes", counted,
                  header_bytes));
  if (header.segments_left != header.last_entry)
    bad(formatted("SRv6 encapsulation: %u segments left of %zu", header.segments_left, counted));
  if (mode != SEG6_IPTUN_MODE_ENCAP)
    leave_out(skip::inline_segments);
  if (counted > demo::most_segments)
    leave_out(skip::too_many_segments);

  demo::segment_list segments(counted);
  for (size_t i = 0; i < counted; i++) // the last to visit stands in front
    std::memcpy(segments[counted - 1 - i].data(),
                bytes_of + mode_bytes + sizeof header + i * sizeof(ipv6_address),
                sizeof(ipv6_address));
  return segments;
}

// What the attributes of a route, of one of its next hops or of an object say of encapsulation.
template <size_t limit>
demo::segment_list encapsulation_of(const attributes<limit> &found, size_t type_attribute,
                                    size_t attribute) {
  if (!found.has(type_attribute)) {
    if (found.has(attribute))
      bad("an encapsulation without its type");
    return {};
  }
  switch (found.template value<uint16_t>(type_attribute)) {
  case LWTUNNEL_ENCAP_NONE:
    return {};
  case LWTUNNEL_ENCAP_SEG6:
    break;
  case LWTUNNEL_ENCAP_SEG6_LOCAL:
    leave_out(skip::seg6local);
  default:
    leave_out(skip::other_encap);
  }
  if (!found.has(attribute))
    bad("an SRv6 encapsulation that is not there");
  return segments_of(found.payload(attribute), found.size(attribute));
}

// ---- routes
// --------------------------------------------------------------------------------------

route_kind kind_of(uint8_t type) {
  switch (type) {
  case RTN_UNICAST:
    return route_kind::unicast;
  case RTN_LOCAL:
    return route_kind::local;
  case RTN_ANYCAST:
    return route_kind::anycast;
  case RTN_MULTICAST:
    return route_kind::multicast;
  case RTN_BLACKHOLE:
    return route_kind::blackhole;
  case RTN_UNREACHABLE:
    return route_kind::unreachable;
  case RTN_PROHIBIT:
    return route_kind::prohibit;
  case RTN_THROW:
    return route_kind::throw_on;
  default:
    leave_out(skip::other_kind);
  }
}

using route_attributes = attributes<RTA_MAX + 1>;

hop hop_of(const route_attributes &found, uint32_t interface) {
  if (found.has(RTA_VIA))
    leave_out(skip::foreign_gateway);
  return {found.value_or<ipv6_address>(RTA_GATEWAY, {}), interface,
          encapsulation_of(found, RTA_ENCAP_TYPE, RTA_ENCAP)};
}

std::vector<weighted_hop> hops_of(const void *first, size_t bytes) {
  constexpr const char *where = "a route of several next hops";
  std::vector<weighted_hop> hops;
  const auto *at = static_cast<const uint8_t *>(first);
  while (bytes > 0) {
    const auto *const next = reinterpret_cast<const rtnexthop *>(at);
    if (bytes < sizeof(rtnexthop) || next->rtnh_len < sizeof(rtnexthop) || next->rtnh_len > bytes)
      bad(formatted("%s: one leads behind the end, %zu bytes before it", where, bytes));
    const route_attributes found(at + sizeof(rtnexthop), next->rtnh_len - sizeof(rtnexthop), where);
    const weighted_hop named{hop_of(found, static_cast<uint32_t>(next->rtnh_ifindex)),
                             uint32_t{next->rtnh_hops} + 1};
    if (named.to.gateway == ipv6_address{} && named.to.interface == 0)
      bad(formatted("%s: one has neither gateway nor interface", where));
    hops.push_back(named);
    const size_t step = RTNH_ALIGN(next->rtnh_len);
    if (step >= bytes)
      break;
    at += step;
    bytes -= step;
  }
  if (hops.empty())
    bad(formatted("%s: there is none", where));
  return hops;
}

bool has_family(uint8_t family) {
  if (family == AF_INET)
    leave_out(skip::ipv4);
  return family == AF_INET6;
}

destination destination_of(const rtmsg &header, const route_attributes &found) {
  constexpr uint8_t address_bits = 128;
  if (header.rtm_dst_len > address_bits)
    bad(formatted("a route: a prefix of %u bits, expected 0 to %u", header.rtm_dst_len,
                  address_bits));
  if (!found.has(RTA_DST) && header.rtm_dst_len != 0)
    bad(formatted("a route: a prefix of %u bits without its address", header.rtm_dst_len));
  const demo::prefix named{found.value_or<ipv6_address>(RTA_DST, {}), header.rtm_dst_len};
  if (demo::masked(named.address, named.length) != named.address)
    bad("a route: " + demo::to_text(named) + " has bits set beyond its length");
  return {found.value_or<uint32_t>(RTA_TABLE, header.rtm_table), named};
}

void read_hops(const route_attributes &found, route_announced &route) {
  if (found.has(RTA_NH_ID)) {
    route.object = found.value<uint32_t>(RTA_NH_ID);
    if (route.object == 0)
      bad("a route: the next-hop object 0");
  } else if (found.has(RTA_MULTIPATH)) {
    route.hops = hops_of(found.payload(RTA_MULTIPATH), found.size(RTA_MULTIPATH));
  } else {
    const hop only = hop_of(found, found.value_or<uint32_t>(RTA_OIF, 0));
    if (only.gateway == ipv6_address{} && only.interface == 0)
      bad("a route: neither next hop nor interface");
    route.hops.push_back({only, 1});
  }
}

void read_route(const nlmsghdr &message, std::vector<event> &events) {
  const rtmsg &header = header_of<rtmsg>(message, "a route");
  if (!has_family(header.rtm_family))
    leave_out(skip::other_family);
  if ((header.rtm_flags & RTM_F_CLONED) != 0)
    leave_out(skip::cached_route);
  if (header.rtm_src_len != 0)
    leave_out(skip::source_specific);
  const route_attributes found = attributes_of<RTA_MAX + 1>(message, header, "a route");
  const destination to = destination_of(header, found);
  if (message.nlmsg_type == RTM_DELROUTE) {
    events.emplace_back(route_withdrawn{to});
    return;
  }
  // It takes the place of what was there, of use or not.
  try {
    route_announced route{to,
                          kind_of(header.rtm_type),
                          found.value_or<uint32_t>(RTA_PRIORITY, demo::default_metric),
                          header.rtm_protocol,
                          0,
                          {}};
    if (demo::needs_next_hop(route.kind))
      read_hops(found, route);
    events.emplace_back(std::move(route));
  } catch (const refusal &why) {
    if (why.reason)
      events.emplace_back(route_withdrawn{to, true});
    throw;
  }
}

// ---- next-hop objects
// ----------------------------------------------------------------------------

using object_attributes = attributes<NHA_MAX + 1>;

// struct nexthop_grp, whose second byte of the weight older headers call reserved.
struct group_entry {
  uint32_t id;
  uint8_t weight;
  uint8_t weight_high;
  uint16_t reserved;
};
static_assert(sizeof(group_entry) == sizeof(nexthop_grp));

std::vector<demo::group_member> members_of(const object_attributes &found) {
  const size_t bytes = found.size(NHA_GROUP);
  if (bytes == 0 || bytes % sizeof(group_entry) != 0)
    bad(formatted("a next-hop group: %zu bytes of members, expected a multiple of %zu", bytes,
                  sizeof(group_entry)));
  std::vector<demo::group_member> members;
  for (size_t at = 0; at < bytes; at += sizeof(group_entry)) {
    group_entry member{};
    std::memcpy(&member, static_cast<const uint8_t *>(found.payload(NHA_GROUP)) + at,
                sizeof member);
    if (member.id == 0)
      bad("a next-hop group: the member 0");
    if (member.reserved != 0)
      bad("a next-hop group: reserved bytes that are not 0");
    members.push_back(
        {member.id, (uint32_t{member.weight_high} << 8 | uint32_t{member.weight}) + 1});
  }
  return members;
}

object_announced object_of(const nhmsg &header, const object_attributes &found, uint32_t id) {
  object_announced object;
  object.id = id;
  if (found.has(NHA_GROUP)) {
    object.is = object_announced::kind::group;
    object.members = members_of(found);
    return object;
  }
  if (!has_family(header.nh_family))
    leave_out(skip::other_family);
  if (found.has(NHA_BLACKHOLE)) {
    object.is = object_announced::kind::blackhole;
    return object;
  }
  object.to = {found.value_or<ipv6_address>(NHA_GATEWAY, {}), found.value_or<uint32_t>(NHA_OIF, 0),
               encapsulation_of(found, NHA_ENCAP_TYPE, NHA_ENCAP)};
  if (object.to.gateway == ipv6_address{} && object.to.interface == 0)
    bad(formatted("next-hop object %u: neither gateway nor interface", id));
  return object;
}

void read_object(const nlmsghdr &message, std::vector<event> &events) {
  const nhmsg &header = header_of<nhmsg>(message, "a next-hop object");
  const object_attributes found = attributes_of<NHA_MAX + 1>(message, header, "a next-hop object");
  const auto id = found.value<uint32_t>(NHA_ID);
  if (id == 0)
    bad("a next-hop object: the number 0");
  if (message.nlmsg_type == RTM_DELNEXTHOP) {
    events.emplace_back(object_withdrawn{id});
    return;
  }
  try {
    events.emplace_back(object_of(header, found, id));
  } catch (const refusal &why) {
    if (why.reason)
      events.emplace_back(object_withdrawn{id, true});
    throw;
  }
}

void read_message(const nlmsghdr &message, std::vector<event> &events) {
  switch (message.nlmsg_type) {
  case RTM_NEWROUTE:
  case RTM_DELROUTE:
    return read_route(message, events);
  case RTM_NEWNEXTHOP:
  case RTM_DELNEXTHOP:
    return read_object(message, events);
  default:
    leave_out(skip::other_message);
  }
}

} // namespace

void parse_messages(std::span<const uint8_t> payload, std::vector<event> &events) {
  const uint8_t *at = payload.data();
  size_t bytes = payload.size();
  while (bytes > 0) {
    const auto *const message = reinterpret_cast<const nlmsghdr *>(at);
    if (bytes < sizeof(nlmsghdr) || message->nlmsg_len < sizeof(nlmsghdr) ||
        message->nlmsg_len > bytes) {
      events.emplace_back(malformed{formatted(
          "a netlink message leads behind the end of its frame, %zu bytes before it", bytes)});
      return;
    }
    try {
      read_message(*message, events);
    } catch (refusal &why) {
      if (why.reason)
        events.emplace_back(skipped{*why.reason});
      else
        events.emplace_back(malformed{std::move(why.problem)});
    }
    const size_t step = MNL_ALIGN(message->nlmsg_len);
    if (step >= bytes)
      return;
    at += step;
    bytes -= step;
  }
}

} // namespace fpm
