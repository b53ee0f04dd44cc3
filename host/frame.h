// The two frames that travel between processes: a message, and an acknowledgement of messages.
//
// Room: host. Standard library only. Numbers are little-endian on every machine. The
// acknowledgement counts messages since the connection began, so a frame that cannot be read is
// covered like any other and a sender never waits for it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mesh_host {

// The last character of each is the version of the protocol.
inline constexpr uint32_t message_magic = 0x3144484D; // "MHD1"
inline constexpr uint32_t ack_magic = 0x3141484D;     // "MHA1"

// A message: header, then `length` encoded bytes, in one ZeroMQ part.
struct message_header {
  uint32_t destination; // at 4, magic at 0
  uint64_t target;      // at 8
  uint32_t id;          // at 16
  uint32_t length;      // at 20
};
inline constexpr size_t message_header_size = 24;

// An acknowledgement: magic at 0, zero at 4, messages handled at 8.
inline constexpr size_t ack_size = 16;

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

inline void write_header(uint8_t *at, const message_header &header) {
  detail::put(at, message_magic, 4);
  detail::put(at + 4, header.destination, 4);
  detail::put(at + 8, header.target, 8);
  detail::put(at + 16, header.id, 4);
  detail::put(at + 20, header.length, 4);
}

// Null when `size` bytes are a message for `destination`; otherwise what is wrong with them.
inline const char *read_header(const uint8_t *at, size_t size, uint32_t destination,
                               message_header &header) {
  if (size < message_header_size)
    return "shorter than its header";
  if (detail::get(at, 4) != message_magic)
    return "not a message of this protocol version";
  header.destination = static_cast<uint32_t>(detail::get(at + 4, 4));
  header.target = detail::get(at + 8, 8);
  header.id = static_cast<uint32_t>(detail::get(at + 16, 4));
  header.length = static_cast<uint32_t>(detail::get(at + 20, 4));
  if (header.destination != destination)
    return "meant for another destination";
  if (header.length != size - message_header_size)
    return "its length is not what the header says";
  return nullptr;
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
