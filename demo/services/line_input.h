// Lines of a descriptor, as they come, without waiting for them.
//
// Room: demo. Includes libc and the folder above.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace demo {

// What `take` is handed: a line without its end, and its number from 1.
using line_taker = std::function<void(std::string_view, uint32_t)>;

class line_input {
public:
  // A file, or "-" for standard input, which is not closed.
  explicit line_input(const std::string &path);
  ~line_input();
  line_input(const line_input &) = delete;
  line_input &operator=(const line_input &) = delete;

  const std::string &name() const { return its_name; }

  // Hands on some of what is there. Of a line of more than longest_line bytes only one byte more.
  // What cannot be read is told once on standard error: whoever reads has more to do, and goes on.
  void take_lines(const line_taker &take);

  // Whether there were lines, or may have been, that could not be read.
  bool failed() const { return has_failed; }

private:
  bool readable() const;
  void hand_on(const line_taker &take);

  std::string its_name;
  int descriptor;
  bool at_end = false, has_failed = false;
  std::string pending;
  uint32_t lines = 0;
};

} // namespace demo
