// Target: a buffer from anywhere is decoded.
//
// Room: attacks. Input: message, circumstances, then the buffer.
//   bytes 0-3  the message's identifier (message_of in messages.h)
//   byte 4     bit 0 odd address; bits 1-3 byte order; bits 4-7 what goes wrong beside the bytes
#include "fuzz/decode_check.h"
#include "fuzz/finding.h"
#include "fuzz/input.h"
#include "fuzz/target.h"

namespace fuzz {
namespace {

constexpr uint32_t header_size = identifier_size + 1;

circumstances circumstances_of(uint8_t byte) {
  circumstances around{};
  around.odd_address = (byte & 1) != 0;
  around.byte_swap = byte_swap_of(byte >> 1);
  switch (byte >> 4) {
  case 9:
  case 10:
  case 11:
  case 12: // of the requests for memory, the first to fourth is refused
    around.refused_request = (byte >> 4) - 8U;
    break;
  case 13:
    around.misuse = circumstances::misuse::null_record;
    break;
  case 14:
    around.misuse = circumstances::misuse::null_buffer;
    break;
  case 15:
    around.misuse = circumstances::misuse::negative_length;
    break;
  default:
    break;
  }
  return around;
}

} // namespace

const material made_of = material::message;

const char *execute(const uint8_t *data, size_t size) {
  if (size < header_size)
    return nullptr;
  forget_findings();
  check_decode(message_of(data), data + header_size, static_cast<uint32_t>(size) - header_size,
               circumstances_of(data[identifier_size]));
  return finding();
}

} // namespace fuzz
