// The frames of the Forwarding Plane Manager's protocol in a stream of bytes.
//
// Room: fpm. Includes this folder and the demo's.
#include "fpm/frame_reader.h"

#include "demo/text.h"

namespace fpm {

void frame_reader::take(std::span<const uint8_t> bytes) {
  if (at_ != 0) {
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(at_));
    at_ = 0;
  }
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

frame_reader::outcome frame_reader::next() {
  if (!problem_.empty())
    return outcome::bad;
  const std::span<const uint8_t> left = std::span(bytes_).subspan(at_);
  if (left.size() < frame_header)
    return outcome::none;
  if (left[0] != frame_version) {
    problem_ = demo::formatted("a frame of version %u, expected %u", left[0], frame_version);
    return outcome::bad;
  }
  const size_t length = size_t{left[2]} << 8 | left[3];
  if (length < frame_header) {
    problem_ = demo::formatted("a frame of %zu bytes, expected %zu or more", length, frame_header);
    return outcome::bad;
  }
  if (left.size() < length)
    return outcome::none;
  type_ = left[1];
  // Where it lies in the stream depends on what came before. A copy of its own is aligned, and its
  // end is known to whoever watches memory.
  const std::span<const uint8_t> found = left.subspan(frame_header, length - frame_header);
  aligned_ = std::vector<uint8_t>(found.begin(), found.end());
  payload_ = aligned_;
  at_ += length;
  return outcome::frame;
}

} // namespace fpm
