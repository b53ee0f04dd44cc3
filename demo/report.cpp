// What a process of the demo tells another one.
//
// Room: demo. Includes libc and this folder.
#include "demo/report.h"

#include "demo/text.h"

#include <cerrno>
#include <charconv>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace demo {

uint64_t report::operator[](const std::string &name) const {
  const auto found = numbers.find(name);
  if (found == numbers.end())
    throw failure("the report " + shown(word) + " lacks " + shown(name));
  return found->second;
}

std::string to_line(const report &told) {
  std::string line = told.word;
  for (const auto &[name, number] : told.numbers)
    line += " " + name + "=" + std::to_string(number);
  return line + "\n";
}

report from_line(const std::string &line) {
  report heard;
  for (const std::string_view word : split_words(line)) {
    const size_t equals = word.find('=');
    if (heard.word.empty() && equals == std::string_view::npos) {
      heard.word = word;
      continue;
    }
    const char *const end = word.data() + word.size();
    uint64_t number = 0;
    if (equals == std::string_view::npos ||
        std::from_chars(word.data() + equals + 1, end, number).ptr != end ||
        equals + 1 == word.size())
      throw failure("cannot understand the report " + shown(line));
    heard.numbers[std::string(word.substr(0, equals))] = number;
  }
  return heard;
}

report_channel::report_channel(report_channel &&other) noexcept
    : socket(std::exchange(other.socket, -1)), pending(std::move(other.pending)),
      at_end(other.at_end) {}

report_channel &report_channel::operator=(report_channel &&other) noexcept {
  std::swap(socket, other.socket);
  std::swap(pending, other.pending);
  std::swap(at_end, other.at_end);
  return *this;
}

report_channel::~report_channel() {
  if (socket >= 0)
    close(socket);
}

void report_channel::tell(const report &told) {
  const std::string line = to_line(told);
  for (size_t done = 0; done < line.size();) {
    const ssize_t count = send(socket, line.data() + done, line.size() - done, MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR)
      throw failure("nobody listens to the report " + shown(told.word) + ": " + error_text(errno));
    done += count > 0 ? static_cast<size_t>(count) : 0;
  }
}

std::optional<report> report_channel::hear(int timeout_ms) {
  if (std::optional<report> heard = take_line())
    return heard;
  pollfd waiting{socket, POLLIN, 0};
  if (at_end || poll(&waiting, 1, timeout_ms) <= 0)
    return {};
  char bytes[512];
  const ssize_t count = recv(socket, bytes, sizeof bytes, 0);
  if (count < 0 && errno == EINTR)
    return {};
  if (count <= 0) {
    at_end = true;
    return {};
  }
  pending.append(bytes, static_cast<size_t>(count));
  return take_line();
}

std::optional<report> report_channel::take_line() {
  const size_t end = pending.find('\n');
  if (end == std::string::npos)
    return {};
  const std::string line = pending.substr(0, end);
  pending.erase(0, end + 1);
  return from_line(line);
}

} // namespace demo
