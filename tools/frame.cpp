// Reads and writes frames; see frame.h.
//
// Room: tools.
#include "tools/frame.h"

#include "tools/anatomy.h"

namespace mesh_fib6::tools {
namespace {

constexpr size_t head_size = 8;

void append_number(std::string &to, uint32_t number) {
  for (uint32_t i = 0; i < sizeof number; i++)
    to += static_cast<char>(number >> (8 * i));
}

uint32_t number_at(const std::vector<uint8_t> &bytes, size_t at) {
  return bytes[at] | uint32_t{bytes[at + 1]} << 8 | uint32_t{bytes[at + 2]} << 16 |
         uint32_t{bytes[at + 3]} << 24;
}

} // namespace

void append_frame(std::string &to, uint32_t id, std::span<const uint8_t> bytes) {
  append_number(to, id);
  append_number(to, static_cast<uint32_t>(bytes.size()));
  to.append(reinterpret_cast<const char *>(bytes.data()), bytes.size());
}

frame_reader::outcome frame_reader::next() {
  if (!problem_.empty())
    return outcome::bad;
  at_ = source_.taken();
  const std::vector<uint8_t> head = source_.take_bytes(head_size);
  if (head.empty())
    return outcome::end;
  number_++;
  if (head.size() < head_size) {
    problem_ = "expected " + std::to_string(head_size) + " bytes of a frame's head, found " +
               std::to_string(head.size());
    return outcome::bad;
  }
  id_ = number_at(head, 0);
  const uint32_t length = number_at(head, 4);
  if (length > longest_message) {
    problem_ = "expected a length of at most " + std::to_string(longest_message) + ", found " +
               std::to_string(length);
    return outcome::bad;
  }
  bytes_ = source_.take_bytes(length);
  if (bytes_.size() < length) {
    problem_ = "expected " + std::to_string(length) + " bytes of a message, found " +
               std::to_string(bytes_.size());
    return outcome::bad;
  }
  return outcome::frame;
}

} // namespace mesh_fib6::tools
