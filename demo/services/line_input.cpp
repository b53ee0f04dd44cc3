// Lines of a descriptor.
//
// Room: demo. Includes libc and the folder above.
#include "demo/services/line_input.h"

#include "demo/route_feed.h"
#include "demo/text.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace demo {

line_input::line_input(const std::string &path)
    : its_name(path == "-" ? "standard input" : path),
      descriptor(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (descriptor < 0)
    throw failure("cannot read " + its_name + ": " + error_text(errno));
}

line_input::~line_input() {
  if (descriptor != STDIN_FILENO)
    close(descriptor);
}

bool line_input::readable() const {
  pollfd asked{descriptor, POLLIN, 0};
  return !at_end && poll(&asked, 1, 0) > 0;
}

void line_input::take_lines(const line_taker &take) {
  if (!readable())
    return;
  std::array<char, 16384> buffer;
  const ssize_t got = read(descriptor, buffer.data(), buffer.size());
  if (got < 0 && (errno == EINTR || errno == EAGAIN))
    return;
  if (got < 0) {
    has_failed = true;
    complain("cannot read %s behind line %u: %s\n", its_name.c_str(), lines,
             error_text(errno).c_str());
  }
  if (got <= 0) {
    at_end = true;
    if (!pending.empty()) // the last line may lack its end
      hand_on(take);
    return;
  }
  for (const char c : std::string_view(buffer.data(), static_cast<size_t>(got)))
    if (c == '\n')
      hand_on(take);
    else if (pending.size() <= longest_line)
      pending += c;
}

void line_input::hand_on(const line_taker &take) {
  lines++;
  std::string line;
  line.swap(pending);
  if (line.ends_with('\r'))
    line.pop_back();
  take(line, lines);
}

} // namespace demo
