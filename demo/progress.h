// Shows how far a long job is: a bar on a terminal, a line now and then elsewhere.
//
// Room: demo. Includes libc and this folder.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace demo {

class progress {
public:
  // Writes to standard output. `what` is a verb: "sending", "deleting".
  progress(std::string what, uint64_t total);

  // Cheap enough to be called after every message.
  void advance_to(uint64_t done);

  // Ends the bar's line, so that what comes next starts a new one. Also done at destruction.
  void finish();
  ~progress() { finish(); }

  progress(const progress &) = delete;
  progress &operator=(const progress &) = delete;

private:
  void draw_bar(uint64_t done);
  void print_line(uint64_t done);

  std::string verb;
  uint64_t all;
  bool on_terminal;
  bool bar_open = false;
  uint64_t next_line_at = 0;
  std::chrono::steady_clock::time_point next_draw{};
};

// The text of a bar that fits into `columns`.
std::string bar_text(const std::string &what, uint64_t done, uint64_t total, unsigned columns);

} // namespace demo
