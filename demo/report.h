// What a process of the demo tells another one: a word and numbers, one line each.
//
// Room: demo. Includes libc and this folder.
//
//   sent messages=523 bytes=12345678
// Both ends hold one end of a socket pair. Its end of file is how the death of the other process is
// noticed, whatever it died of.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace demo {

struct report {
  std::string word;
  std::map<std::string, uint64_t> numbers;

  // Throws failure for a number that the other process did not send.
  uint64_t operator[](const std::string &name) const;
};

std::string to_line(const report &told);
report from_line(const std::string &line); // throws failure

// One end of a socket pair. Closes it.
class report_channel {
public:
  explicit report_channel(int owned_socket) : socket(owned_socket) {}
  report_channel(report_channel &&other) noexcept;
  report_channel &operator=(report_channel &&other) noexcept;
  ~report_channel();

  int descriptor() const { return socket; }

  // Throws failure when nobody is there any more.
  void tell(const report &told);

  // Waits up to `timeout_ms` (-1: without limit) for a whole line. Nothing: the time is over or a
  // signal came, or, when closed() says so, the other end is gone.
  std::optional<report> hear(int timeout_ms);

  // The other end is gone and everything that it said was heard.
  bool closed() const { return at_end; }

private:
  std::optional<report> take_line();

  int socket;
  std::string pending;
  bool at_end = false;
};

} // namespace demo
