// Reading the environment and the configuration file.
//
// Room: host. Every mistake is told with the place where it stands and what was expected there; one
// mistake does not hide the next.
#include "host/settings.h"

#include "host/tell.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace mesh_host {
namespace {

// Decimal, or hexadecimal after 0x; digits only, nothing before or after them.
std::optional<uint64_t> parse_number(const std::string &text, uint64_t least, uint64_t most) {
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  const std::string digits = hexadecimal ? text.substr(2) : text;
  const char *allowed = hexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
  if (digits.empty() || digits.find_first_not_of(allowed) != std::string::npos)
    return std::nullopt;
  errno = 0;
  const unsigned long long value = strtoull(digits.c_str(), nullptr, hexadecimal ? 16 : 10);
  if (errno != 0 || value < least || value > most)
    return std::nullopt;
  return value;
}

template <class Number>
bool read_variable(const char *name, uint64_t least, uint64_t most, Number &into) {
  const char *text = getenv(name);
  if (text == nullptr)
    return true;
  const std::optional<uint64_t> value = parse_number(text, least, most);
  if (!value) {
    tell("%s is '%s', expected a number from %llu to %llu", name, text,
         static_cast<unsigned long long>(least), static_cast<unsigned long long>(most));
    return false;
  }
  into = static_cast<Number>(*value);
  return true;
}

std::string default_directory() {
  const char *runtime = getenv("XDG_RUNTIME_DIR");
  if (runtime != nullptr && runtime[0] != '\0')
    return std::string(runtime) + "/mesh-host";
  return "/tmp/mesh-host-" + std::to_string(geteuid());
}

std::vector<std::string> words_of(const std::string &line) {
  std::istringstream stream(line.substr(0, line.find('#')));
  std::vector<std::string> words;
  for (std::string word; stream >> word;)
    words.push_back(word);
  return words;
}

// tcp://ADDRESS:PORT, an IPv6 address in brackets.
bool is_endpoint(const std::string &text) {
  constexpr std::string_view scheme = "tcp://";
  if (!text.starts_with(scheme))
    return false;
  const size_t colon = text.rfind(':');
  if (colon < scheme.size() || !parse_number(text.substr(colon + 1), 1, 65535))
    return false;
  const std::string address = text.substr(scheme.size(), colon - scheme.size());
  if (address.starts_with('['))
    return address.size() > 2 && address.ends_with(']');
  return !address.empty() && address.find_first_of(":/[]") == std::string::npos;
}

class config_reader {
public:
  config_reader(const char *file, std::map<uint32_t, std::string> &endpoints)
      : file_(file), endpoints_(endpoints) {}

  bool read() {
    std::ifstream stream(file_);
    if (!stream) {
      tell("%s: cannot be read: %s (named by MESH_HOST_CONFIG)", file_, strerror(errno));
      return false;
    }
    bool good = true;
    for (std::string line; std::getline(stream, line);) {
      number_++;
      good = read_line(words_of(line)) && good;
    }
    if (stream.bad()) {
      tell("%s:%u: reading failed (named by MESH_HOST_CONFIG)", file_, number_ + 1);
      return false;
    }
    return good;
  }

private:
  bool read_line(const std::vector<std::string> &words) {
    if (words.empty())
      return true;
    if (words.size() != 3 || words[0] != "destination") {
      tell("%s:%u: expected 'destination NUMBER tcp://ADDRESS:PORT'", file_, number_);
      return false;
    }
    const std::optional<uint64_t> destination = parse_number(words[1], 0, UINT32_MAX);
    if (!destination) {
      tell("%s:%u: '%s' is no destination, expected a number from 0 to %u", file_, number_,
           words[1].c_str(), UINT32_MAX);
      return false;
    }
    if (!is_endpoint(words[2])) {
      tell("%s:%u: '%s' is no endpoint, expected tcp://ADDRESS:PORT with a port from 1 to 65535",
           file_, number_, words[2].c_str());
      return false;
    }
    if (!endpoints_.emplace(static_cast<uint32_t>(*destination), words[2]).second) {
      tell("%s:%u: destination %s was placed on an earlier line, expected each once", file_,
           number_, words[1].c_str());
      return false;
    }
    return true;
  }

  const char *file_;
  std::map<uint32_t, std::string> &endpoints_;
  unsigned number_ = 0;
};

} // namespace

std::optional<settings> read_settings() {
  settings found;
  const char *directory = getenv("MESH_HOST_DIR");
  found.directory = directory != nullptr && directory[0] != '\0' ? directory : default_directory();

  constexpr uint64_t no_end = UINT64_MAX / 2;
  bool good = read_variable("MESH_HOST_SEND_TIMEOUT_MS", 0, INT_MAX, found.send_timeout_ms);
  good = read_variable("MESH_HOST_WINDOW_MESSAGES", 1, no_end, found.window_messages) && good;
  good = read_variable("MESH_HOST_WINDOW_BYTES", 1, no_end, found.window_bytes) && good;
  good = read_variable("MESH_HOST_FRAME_LIMIT", 1, UINT32_MAX, found.frame_limit) && good;
  good = read_variable("MESH_HOST_HEARTBEAT_MS", 10, 60'000, found.heartbeat_ms) && good;

  const char *file = getenv("MESH_HOST_CONFIG");
  if (file != nullptr && file[0] != '\0')
    good = config_reader(file, found.endpoints).read() && good;
  if (!good)
    return std::nullopt;
  return found;
}

} // namespace mesh_host
