// The frames of the Forwarding Plane Manager's protocol in a stream of bytes.
//
// Room: fpm. Includes the C++ library only.
//
//   byte 0     version, 1
//   byte 1     what it carries, 1 for netlink
//   byte 2, 3  bytes of the frame, these four included, the high one first
// There is nothing in a frame to find the next one by. So what is wrong in a header ends the
// stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace fpm {

inline constexpr size_t frame_header = 4;
inline constexpr uint8_t frame_version = 1;
inline constexpr uint8_t netlink_frame = 1;

class frame_reader {
public:
  // Appends what has arrived.
  void take(std::span<const uint8_t> bytes);

  enum class outcome { frame, none, bad };
  // The next whole frame, or why there is none.
  outcome next();

  // Of the frame: what it carries, and that. Aligned as netlink messages are; good until the next
  // call.
  uint8_t type() const { return type_; }
  std::span<const uint8_t> payload() const { return payload_; }

  // What is wrong, after outcome::bad.
  const std::string &problem() const { return problem_; }

  // Whether the bytes so far end in the middle of a frame.
  bool inside_frame() const { return at_ != bytes_.size(); }

private:
  std::vector<uint8_t> bytes_;
  size_t at_ = 0; // of the first frame that was not given out
  std::vector<uint8_t> aligned_;
  std::span<const uint8_t> payload_;
  uint8_t type_ = 0;
  std::string problem_;
};

} // namespace fpm
