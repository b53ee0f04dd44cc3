// What travels on a socket between two processes of one machine, besides packets.
//
// Room: host. Standard library only.
//
// The socket is one of AF_UNIX, SOCK_SEQPACKET: the kernel keeps order and boundaries, takes a
// datagram whole or not at all, holds the sender back, and tells when the other side is gone. A
// packet (packet.h) is one datagram when it is not too long for that. Otherwise its beginning is
// one, and the rest follows in pieces:
//
//   piece: 0  4  "MHC2"     4  4  offset in the packet     8  8  number of the packet's first
//   message
//         16  .  the bytes
//
// A sender that cannot go on, since the receiver takes nothing, leaves the packet incomplete and
// may begin another one: what is incomplete then was not accepted. From the receiver come
//
//   acknowledgement: 0  4  "MHA2"     4  4  0     8  8  number up to which messages were handled
//
// which are cumulative. One may be repeated, and one may be left out when a later one follows.
#pragma once

#include "host/packet.h"

namespace mesh_host {

inline constexpr uint32_t piece_magic = 0x3243484D; // "MHC2"
inline constexpr uint32_t ack_magic = 0x3241484D;   // "MHA2"
inline constexpr size_t piece_header_size = 16;
inline constexpr size_t ack_size = 16;

// The longest datagram: a batch of 65,536 bytes with the heads of its messages, as a rule.
inline constexpr size_t longest_datagram = size_t{72} * 1024;

struct piece_header {
  uint32_t offset;
  uint64_t first;
};

inline void write_piece(uint8_t *at, const piece_header &header) {
  detail::put(at, piece_magic, 4);
  detail::put(at + 4, header.offset, 4);
  detail::put(at + 8, header.first, 8);
}

inline bool is_piece(const uint8_t *at, size_t size) {
  return size >= piece_header_size && detail::get(at, 4) == piece_magic;
}

inline piece_header read_piece(const uint8_t *at) {
  return {static_cast<uint32_t>(detail::get(at + 4, 4)), detail::get(at + 8, 8)};
}

inline void write_ack(uint8_t *at, uint64_t handled) {
  detail::put(at, ack_magic, 4);
  detail::put(at + 4, 0, 4);
  detail::put(at + 8, handled, 8);
}

inline bool read_ack(const uint8_t *at, size_t size, uint64_t &handled) {
  if (size != ack_size || detail::get(at, 4) != ack_magic)
    return false;
  handled = detail::get(at + 8, 8);
  return true;
}

} // namespace mesh_host
