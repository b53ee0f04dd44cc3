// Packets from the datagrams of one sender (local_wire.h says what those are).
//
// Room: host. Standard library only. Nothing of a datagram is believed before it was looked at.
#pragma once

#include "host/taker.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mesh_host {

class assembler {
public:
  assembler(uint32_t destination, uint64_t batch_limit)
      : destination_(destination), batch_limit_(batch_limit) {}

  // Takes one datagram, and hands over the packet that it ends. `handled` is told the numbers of
  // messages that are done with, refused ones included. False when the sender is to be cut off: it
  // does not speak this protocol, and where its packets begin cannot be known any more.
  bool take(const uint8_t *at, size_t size, taker &to, taker::progress handled, void *context);

private:
  bool take_first(const uint8_t *at, size_t size, taker &to, taker::progress handled,
                  void *context);
  bool take_piece(const uint8_t *at, size_t size, taker &to, taker::progress handled,
                  void *context);

  const uint32_t destination_;
  const uint64_t batch_limit_;
  std::vector<uint8_t> packet_; // in pieces
  size_t assembled_ = 0;        // of it; 0 when there is none
  bool skipping_ = false;       // the pieces of a packet that was refused
};

} // namespace mesh_host
