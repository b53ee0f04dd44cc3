// Putting packets together.
//
// Room: host.
#include "host/assembler.h"

#include "host/local_wire.h"

#include <cstring>

namespace mesh_host {

bool assembler::take(const uint8_t *at, size_t size, taker &to, taker::progress handled,
                     void *context) {
  return is_piece(at, size) ? take_piece(at, size, to, handled, context)
                            : take_first(at, size, to, handled, context);
}

bool assembler::take_first(const uint8_t *at, size_t size, taker &to, taker::progress handled,
                           void *context) {
  assembled_ = 0; // its sender gave up what was incomplete
  skipping_ = false;
  packet_header header{};
  if (const char *why = read_header(at, size, destination_, header); why != nullptr) {
    to.refuse_malformed(why);
    return false;
  }
  const size_t whole = packet_header_size + header.bytes;
  if (size > whole) {
    to.refuse_malformed("longer than its header says");
    return false;
  }
  if (header.bytes > batch_limit_) {
    to.refuse_oversize(header);
    handled(context, header.first + header.count - 1);
    skipping_ = size < whole;
    return true;
  }
  if (size == whole)
    return to.take(header, at + packet_header_size, header.bytes, handled, context);
  // What it says will come is not given memory before it comes.
  packet_.assign(at, at + size);
  assembled_ = size;
  return true;
}

bool assembler::take_piece(const uint8_t *at, size_t size, taker &to, taker::progress handled,
                           void *context) {
  if (skipping_)
    return true;
  const piece_header piece = read_piece(at);
  at += piece_header_size;
  size -= piece_header_size;
  packet_header header{};
  if (assembled_ == 0 || read_header(packet_.data(), assembled_, destination_, header) != nullptr ||
      piece.offset != assembled_ || piece.first != header.first ||
      size > packet_header_size + header.bytes - assembled_) {
    to.refuse_malformed("a piece of no packet");
    return false;
  }
  packet_.insert(packet_.end(), at, at + size);
  assembled_ += size;
  if (assembled_ < packet_header_size + header.bytes)
    return true;
  assembled_ = 0;
  const bool good =
      to.take(header, packet_.data() + packet_header_size, header.bytes, handled, context);
  packet_ = {}; // a long packet is rare, its memory is given back
  return good;
}

} // namespace mesh_host
