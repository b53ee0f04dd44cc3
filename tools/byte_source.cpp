// Reads bytes; see byte_source.h.
//
// Room: tools.
#include "tools/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>
#include <utility>

namespace mesh_fib6::tools {

byte_source::byte_source(int file, std::string name)
    : file_(file), name_(std::move(name)), block_(size_t{1} << 16), at_(block_.data()), end_(at_),
      before_(0) {}

byte_source::byte_source(std::string_view bytes, std::string name)
    : file_(-1), name_(std::move(name)), at_(bytes.data()), end_(at_ + bytes.size()),
      before_(bytes.size()) {}

bool byte_source::fill() {
  if (file_ < 0 || error_ != 0)
    return false;
  ssize_t count = 0;
  do
    count = read(file_, block_.data(), block_.size());
  while (count < 0 && errno == EINTR);
  if (count < 0)
    error_ = errno;
  if (count <= 0)
    return false;
  at_ = block_.data();
  end_ = at_ + count;
  before_ += static_cast<uint64_t>(count);
  return true;
}

std::vector<uint8_t> byte_source::take_bytes(size_t most) {
  std::vector<uint8_t> bytes;
  while (bytes.size() < most) {
    const std::string_view next = ahead().substr(0, most - bytes.size());
    if (next.empty())
      break;
    bytes.insert(bytes.end(), next.begin(), next.end());
    skip(next.size());
  }
  return bytes;
}

} // namespace mesh_fib6::tools
