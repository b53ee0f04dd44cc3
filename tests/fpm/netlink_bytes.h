// Netlink messages and frames written by hand.
//
// Room: tests. Includes the C++ library only: what the kernel's headers call these numbers stands
// beside them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using bytes = std::vector<uint8_t>;

inline bytes operator+(bytes left, const bytes &right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// Numbers in this machine's byte order, which is little-endian.
inline bytes u8(unsigned value) {
  return {static_cast<uint8_t>(value)};
}
inline bytes u16(unsigned value) {
  return u8(value & 0xFF) + u8(value >> 8 & 0xFF);
}
inline bytes u32(uint32_t value) {
  return u16(value & 0xFFFF) + u16(value >> 16);
}

inline bytes padded(bytes value) {
  value.resize((value.size() + 3) / 4 * 4);
  return value;
}

inline bytes attribute(unsigned type, const bytes &value) {
  return padded(u16(static_cast<unsigned>(value.size()) + 4) + u16(type) + value);
}

inline bytes message(unsigned type, const bytes &body) {
  return padded(u32(static_cast<uint32_t>(body.size()) + 16) + u16(type) + u16(0x501) + u32(0) +
                u32(0) + body);
}

inline constexpr unsigned new_route = 24, delete_route = 25, new_object = 104, delete_object = 105;
inline constexpr unsigned inet = 2, inet6 = 10, mpls = 28;
inline constexpr unsigned unicast = 1, blackhole = 6, unreachable = 7;
inline constexpr unsigned bgp = 186, main_table = 254;

// struct rtmsg: family, destination and source length, tos, table, protocol, scope, type, flags.
inline bytes route_header(unsigned length, unsigned type = unicast, unsigned family = inet6,
                          unsigned source_length = 0, uint32_t flags = 0) {
  return u8(family) + u8(length) + u8(source_length) + u8(0) + u8(main_table) + u8(bgp) + u8(0) +
         u8(type) + u32(flags);
}
// struct nhmsg: family, scope, protocol, reserved, flags.
inline bytes object_header(unsigned family) {
  return u8(family) + u8(0) + u8(11) + u8(0) + u32(0);
}

// 2001:db8:<word>::<last>
inline bytes address(unsigned word, unsigned last = 0) {
  return bytes{0x20, 0x01, 0x0d, 0xb8} + u8(word >> 8) + u8(word & 0xFF) + bytes(9) + u8(last);
}

// Attributes of routes (RTA_) and of objects (NHA_).
inline bytes to(unsigned word) {
  return attribute(1, address(word));
}
inline bytes through(uint32_t interface) {
  return attribute(4, u32(interface));
}
inline bytes gateway(unsigned last) {
  return attribute(5, address(0xFFFF, last));
}
inline bytes metric(uint32_t value) {
  return attribute(6, u32(value));
}
inline bytes several(const bytes &hops) {
  return attribute(9, hops);
}
inline bytes in_table(uint32_t value) {
  return attribute(15, u32(value));
}
inline bytes object(uint32_t id) {
  return attribute(30, u32(id));
}
inline bytes encapsulated(unsigned type, const bytes &value) {
  return attribute(21, u16(type)) + attribute(22, value);
}
// struct rtnexthop and its attributes; the weight is one less on the wire.
inline bytes next_hop(unsigned weight, uint32_t interface, const bytes &attributes) {
  return u16(static_cast<unsigned>(attributes.size()) + 8) + u8(0) + u8(weight - 1) +
         u32(interface) + attributes;
}

// SEG6_IPTUNNEL_SRH: the mode and a segment routing header, whose last segment stands first.
inline bytes segments(const std::vector<bytes> &from_the_last, int mode = 1) {
  const auto count = static_cast<unsigned>(from_the_last.size());
  bytes header = u32(static_cast<uint32_t>(mode)) + u8(0) + u8(2 * count) + u8(4) + u8(count - 1) +
                 u8(count - 1) + u8(0) + u16(0);
  for (const bytes &segment : from_the_last)
    header = header + segment;
  return attribute(1, header);
}

inline bytes frame(const bytes &payload, unsigned version = 1, unsigned type = 1) {
  const auto length = static_cast<unsigned>(payload.size()) + 4;
  return u8(version) + u8(type) + u8(length >> 8) + u8(length & 0xFF) + payload;
}
