// Messages one behind the other: each is u32 identifier, u32 length, and so many bytes, numbers in
// little-endian order.
//
// Room: tools. Knows no message.
#pragma once

#include "tools/byte_source.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace mesh_fib6::tools {

void append_frame(std::string &to, uint32_t id, std::span<const uint8_t> bytes);

class frame_reader {
public:
  explicit frame_reader(byte_source &source) : source_(source) {}

  enum class outcome : uint8_t { frame, end, bad };

  // Reads the next frame. After `bad` nothing more can be read.
  outcome next();

  // Of the frame that was read last.
  uint64_t number() const { return number_; } // from 1
  uint64_t at() const { return at_; }         // of its first byte
  uint32_t id() const { return id_; }
  const std::vector<uint8_t> &bytes() const { return bytes_; }
  // "expected 8 bytes of a frame's head, found 3"
  const std::string &problem() const { return problem_; }

private:
  byte_source &source_;
  uint64_t number_ = 0;
  uint64_t at_ = 0;
  uint32_t id_ = 0;
  std::vector<uint8_t> bytes_;
  std::string problem_;
};

} // namespace mesh_fib6::tools
