// Whoever takes packets from a way: the receiver, as the ways know it.
//
// Room: host. Standard library only.
#pragma once

#include "host/packet.h"

#include <cstddef>
#include <cstdint>

namespace mesh_host {

class taker {
public:
  // Handles the messages behind a header, and calls `handled` after each with its number. False
  // when they are not what the header says; nothing was handled then.
  using progress = void (*)(void *context, uint64_t number);
  virtual bool take(const packet_header &header, const uint8_t *body, size_t size, progress handled,
                    void *context) = 0;
  // Counts and tells what cannot be read, or is not wanted.
  virtual void refuse_malformed(const char *why) = 0;
  virtual void refuse_oversize(const packet_header &header) = 0;

protected:
  ~taker() = default;
};

} // namespace mesh_host
