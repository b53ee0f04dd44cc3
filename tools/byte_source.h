// Bytes from a file, a pipe or memory, one after the other or in blocks.
//
// Room: tools. Knows POSIX files only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mesh_fib6::tools {

// Reads ahead a block at a time, so it can be asked for single bytes. Not thread-safe.
class byte_source {
public:
  // Of a file that stays the caller's, named for error messages.
  byte_source(int file, std::string name);
  // Of memory, which has to outlive the source.
  byte_source(std::string_view bytes, std::string name);

  const std::string &name() const { return name_; }

  // The next byte, or -1 at the end or after an error; take() goes on behind it.
  int peek() { return at_ != end_ || fill() ? static_cast<unsigned char>(*at_) : -1; }
  int take() {
    const int byte = peek();
    if (byte >= 0)
      ++at_;
    return byte;
  }

  // What can be read without waiting, at least one byte but at the end; `count` of it is taken.
  std::string_view ahead() {
    return at_ != end_ || fill() ? std::string_view(at_, static_cast<size_t>(end_ - at_))
                                 : std::string_view();
  }
  void skip(size_t count) { at_ += count; }

  // How many bytes were taken.
  uint64_t taken() const { return before_ - static_cast<uint64_t>(end_ - at_); }

  // Takes at most `most` bytes; fewer at the end only.
  std::vector<uint8_t> take_bytes(size_t most);

  // The errno of a read that failed, otherwise 0.
  int error() const { return error_; }

private:
  bool fill();

  int file_;
  std::string name_;
  std::vector<char> block_;
  const char *at_;
  const char *end_;
  uint64_t before_; // bytes read so far
  int error_ = 0;
};

} // namespace mesh_fib6::tools
