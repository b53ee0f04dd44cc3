// What travels: a packet, which is one batch of messages from one sender to one destination.
//
// Room: host. Standard library only. Numbers are little-endian on every machine.
//
//   packet: header, then `count` messages
//     0  4  "MHP2"; the last character is the version
//     4  4  destination
//     8  8  sender, a number that each sending process draws at random
//    16  8  number of the first message among this sender's to this destination, from 1
//    24  8  settled: number up to which the sender knows that its messages were handled, or are
//    kept
//           by somebody who sees to that
//    32  8  target, 0 when there is none
//    40  4  count of messages
//    44  4  bytes behind this header
//   message, at a multiple of 8
//     0  4  identifier
//     4  4  length of the encoded message
//     8  .  the encoded message, and zeros up to a multiple of 8
//
// The numbers are consecutive, so a receiver knows by them alone what it did not get and what it
// got twice. A packet of no messages says that all before its number are settled.
#pragma once

#include "platform/mesh.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace mesh_host {

inline constexpr uint32_t packet_magic = 0x3250484D; // "MHP2"
inline constexpr size_t packet_header_size = 48;
inline constexpr size_t message_header_size = 8;
inline constexpr size_t message_alignment = 8;

struct packet_header {
  uint32_t destination;
  uint64_t sender;
  uint64_t first;
  uint64_t settled;
  uint64_t target;
  uint32_t count;
  uint32_t bytes;
};

namespace detail {
inline void put(uint8_t *at, uint64_t value, size_t width) {
  for (size_t i = 0; i < width; i++)
    at[i] = static_cast<uint8_t>(value >> (8 * i));
}
inline uint64_t get(const uint8_t *at, size_t width) {
  uint64_t value = 0;
  for (size_t i = 0; i < width; i++)
    value |= static_cast<uint64_t>(at[i]) << (8 * i);
  return value;
}
} // namespace detail

constexpr uint64_t padded(uint64_t length) {
  return (length + message_alignment - 1) / message_alignment * message_alignment;
}

// What the messages take behind the header. Not above 2^64: a count has 32 bits, and so has a
// length.
inline uint64_t packed_size(const msg_desc *messages, uint32_t count) {
  uint64_t bytes = 0;
  for (uint32_t i = 0; i < count; i++)
    bytes += message_header_size + padded(messages[i].length);
  return bytes;
}

inline void write_header(uint8_t *at, const packet_header &header) {
  detail::put(at, packet_magic, 4);
  detail::put(at + 4, header.destination, 4);
  detail::put(at + 8, header.sender, 8);
  detail::put(at + 16, header.first, 8);
  detail::put(at + 24, header.settled, 8);
  detail::put(at + 32, header.target, 8);
  detail::put(at + 40, header.count, 4);
  detail::put(at + 44, header.bytes, 4);
}

// Writes header and messages to `at`, which has room for packet_header_size + header.bytes.
inline void write_packet(uint8_t *at, const packet_header &header, const msg_desc *messages) {
  write_header(at, header);
  at += packet_header_size;
  for (uint32_t i = 0; i < header.count; i++) {
    const size_t length = messages[i].length;
    detail::put(at, messages[i].id, 4);
    detail::put(at + 4, length, 4);
    at += message_header_size;
    if (length != 0)
      memcpy(at, messages[i].data, length);
    memset(at + length, 0, padded(length) - length);
    at += padded(length);
  }
}

// Null when `size` bytes begin a packet for `destination`; otherwise what is wrong with them. That
// the packet is complete and its messages fit is for message_reader to say.
inline const char *read_header(const uint8_t *at, size_t size, uint32_t destination,
                               packet_header &header) {
  if (size < packet_header_size)
    return "shorter than its header";
  if (detail::get(at, 4) != packet_magic)
    return "not a packet of this protocol version";
  header.destination = static_cast<uint32_t>(detail::get(at + 4, 4));
  header.sender = detail::get(at + 8, 8);
  header.first = detail::get(at + 16, 8);
  header.settled = detail::get(at + 24, 8);
  header.target = detail::get(at + 32, 8);
  header.count = static_cast<uint32_t>(detail::get(at + 40, 4));
  header.bytes = static_cast<uint32_t>(detail::get(at + 44, 4));
  if (header.destination != destination)
    return "meant for another destination";
  if (header.count == 0 && (header.bytes != 0 || header.settled != header.first - 1))
    return "without messages, and not to say that all are settled";
  if (header.first == 0 || header.first > UINT64_MAX - header.count)
    return "numbered beyond what numbers there are";
  if (header.settled >= header.first)
    return "settled before it was sent";
  if (header.bytes / message_header_size < header.count || header.bytes % message_alignment != 0)
    return "its length does not suit its count of messages";
  return nullptr;
}

struct packed_message {
  uint32_t id;
  uint32_t length;
  const uint8_t *data;
};

// Goes through the messages behind a header.
class message_reader {
public:
  message_reader(const uint8_t *at, size_t size) : at_(at), left_(size) {}

  // False when no whole message is left.
  bool next(packed_message &message) {
    if (left_ < message_header_size)
      return false;
    message.id = static_cast<uint32_t>(detail::get(at_, 4));
    message.length = static_cast<uint32_t>(detail::get(at_ + 4, 4));
    message.data = at_ + message_header_size;
    const uint64_t taken = message_header_size + padded(message.length);
    if (taken > left_)
      return false;
    at_ += taken;
    left_ -= static_cast<size_t>(taken);
    return true;
  }
  bool at_end() const { return left_ == 0; }

private:
  const uint8_t *at_;
  size_t left_;
};

// Whether exactly `header.count` messages fill the bytes behind the header.
inline bool is_whole(const packet_header &header, const uint8_t *at, size_t size) {
  if (size != header.bytes)
    return false;
  message_reader reader(at, size);
  packed_message message{};
  for (uint32_t i = 0; i < header.count; i++)
    if (!reader.next(message))
      return false;
  return reader.at_end();
}

} // namespace mesh_host
