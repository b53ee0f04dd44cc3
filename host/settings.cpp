// Reading the environment and the configuration file.
//
// Room: host. Every mistake is told with the place where it stands and what was expected there; one
// mistake does not hide the next.
#include "host/settings.h"

#include "host/descriptor.h"
#include "host/directory.h"
#include "host/tell.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
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

std::vector<std::string> words_of(const std::string &line) {
  std::istringstream stream(line.substr(0, line.find('#')));
  std::vector<std::string> words;
  for (std::string word; stream >> word;)
    words.push_back(word);
  return words;
}

// A probability as a number of cases in a million.
bool read_probability(const char *name, uint32_t &into) {
  const char *text = getenv(name);
  if (text == nullptr)
    return true;
  char *end = nullptr;
  const double value = strtod(text, &end);
  if (end == text || *end != '\0' || !(value >= 0 && value <= 1)) {
    tell("%s is '%s', expected a probability from 0 to 1", name, text);
    return false;
  }
  into = static_cast<uint32_t>(std::lround(value * 1'000'000));
  return true;
}

// nats://ADDRESS:PORT, an IPv6 address in brackets.
bool is_server(const std::string &text) {
  constexpr std::string_view scheme = "nats://";
  if (!text.starts_with(scheme))
    return false;
  const size_t colon = text.rfind(':');
  if (colon < scheme.size() || !parse_number(text.substr(colon + 1), 1, 65535))
    return false;
  const std::string address = text.substr(scheme.size(), colon - scheme.size());
  if (address.starts_with('['))
    return address.size() > 2 && address.ends_with(']');
  return !address.empty() && address.find_first_of(":/[]@") == std::string::npos;
}

bool are_servers(const std::string &text) {
  std::istringstream stream(text + ",");
  bool good = true;
  for (std::string server; std::getline(stream, server, ',');)
    good = good && is_server(server);
  return good;
}

// One of a subject, without those that stand for others.
bool is_word(const std::string &text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '-' || c == '_';
  });
}

constexpr char line_form[] =
    "'destination NUMBER|* local' or 'destination NUMBER|* nats://ADDRESS:PORT[,...] [NAME=VALUE "
    "...]'";

class config_reader {
public:
  config_reader(const char *file, settings &into) : file_(file), into_(into) {}

  bool read() {
    const descriptor file = descriptor::from([this] { return open(file_, O_RDONLY | O_CLOEXEC); });
    if (!file) {
      passes_ = is_shortage(errno);
      tell("%s: cannot be read: %s (named by MESH_HOST_CONFIG)", file_, strerror(errno));
      return false;
    }
    std::string text;
    char part[4096];
    ssize_t got = 0;
    while ((got = ::read(file.get(), part, sizeof part)) > 0)
      text.append(part, static_cast<size_t>(got));
    if (got < 0) {
      tell("%s: reading failed: %s (named by MESH_HOST_CONFIG)", file_, strerror(errno));
      return false;
    }
    bool good = true;
    for (size_t begin = 0, end = 0; begin < text.size(); begin = end + 1) {
      end = std::min(text.find('\n', begin), text.size());
      number_++;
      good = read_line(words_of(text.substr(begin, end - begin))) && good;
    }
    return good;
  }
  bool passes() const { return passes_; }

private:
  bool read_line(const std::vector<std::string> &words) {
    if (words.empty())
      return true;
    if (words.size() < 3 || words[0] != "destination") {
      tell("%s:%u: expected %s", file_, number_, line_form);
      return false;
    }
    const bool all = words[1] == "*";
    const std::optional<uint64_t> destination =
        all ? std::optional<uint64_t>(0) : parse_number(words[1], 0, UINT32_MAX);
    if (!destination) {
      tell("%s:%u: '%s' is no destination, expected a number from 0 to %u, or *", file_, number_,
           words[1].c_str(), UINT32_MAX);
      return false;
    }
    place at;
    if (!read_place(words, at))
      return false;
    if (all ? all_placed_ : !into_.places.emplace(static_cast<uint32_t>(*destination), at).second) {
      tell("%s:%u: destination %s was placed on an earlier line, expected each once", file_,
           number_, words[1].c_str());
      return false;
    }
    if (all) {
      all_placed_ = true;
      into_.elsewhere = at;
    }
    return true;
  }

  bool read_place(const std::vector<std::string> &words, place &at) {
    if (words[2] == "local") {
      if (words.size() == 3)
        return true;
      tell("%s:%u: '%s' behind 'local', expected nothing", file_, number_, words[3].c_str());
      return false;
    }
    if (!are_servers(words[2])) {
      tell("%s:%u: '%s' is no place, expected local or nats://ADDRESS:PORT with a port from 1 to "
           "65535, several with commas",
           file_, number_, words[2].c_str());
      return false;
    }
    at.servers = words[2];
    bool good = true;
    for (size_t i = 3; i < words.size(); i++)
      good = read_option(words[i], at) && good;
    if (good && at.user.empty() != at.password_file.empty()) {
      tell("%s:%u: expected user= and password-file= together", file_, number_);
      return false;
    }
    if (good && at.certificate.empty() != at.key.empty()) {
      tell("%s:%u: expected certificate= and key= together", file_, number_);
      return false;
    }
    return good;
  }

  bool read_option(const std::string &word, place &at) {
    const size_t equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
    const std::map<std::string, std::string *> texts = {{"user", &at.user},
                                                        {"password-file", &at.password_file},
                                                        {"credentials", &at.credentials},
                                                        {"authority", &at.authority},
                                                        {"certificate", &at.certificate},
                                                        {"key", &at.key}};
    if (const auto text = texts.find(name); text != texts.end()) {
      *text->second = value;
      return !value.empty() || complain(word, "something behind the '='");
    }
    if (name == "inbox") {
      at.inbox = value;
      return is_word(value) || complain(word, "a word of letters, digits, '-' and '_'");
    }
    if (name == "storage") {
      at.on_disk = value == "file";
      return at.on_disk || value == "memory" || complain(word, "storage=memory or storage=file");
    }
    if (name == "replicas")
      return read_number(value, 1, 5, at.replicas) || complain(word, "replicas=1 to replicas=5");
    if (name == "batches")
      return read_number(value, 1, INT64_MAX / 4, at.kept_batches) ||
             complain(word, "a number of batches from 1");
    if (name == "bytes")
      return read_number(value, 1, INT64_MAX / 4, at.kept_bytes) ||
             complain(word, "a number of bytes from 1");
    return complain(word, "user=, password-file=, credentials=, inbox=, authority=, certificate=, "
                          "key=, replicas=, storage=, batches= or bytes=");
  }

  template <class Number>
  static bool read_number(const std::string &value, uint64_t least, uint64_t most, Number &into) {
    const std::optional<uint64_t> parsed = parse_number(value, least, most);
    if (parsed)
      into = static_cast<Number>(*parsed);
    return parsed.has_value();
  }

  bool complain(const std::string &word, const char *expected) const {
    tell("%s:%u: '%s' makes no sense, expected %s", file_, number_, word.c_str(), expected);
    return false;
  }

  const char *file_;
  settings &into_;
  unsigned number_ = 0;
  bool all_placed_ = false;
  bool passes_ = false;
};

bool read_faults(fault_settings &into) {
  bool good = read_probability("MESH_HOST_FAULT_REFUSE", into.refuse);
  good = read_probability("MESH_HOST_FAULT_DELAY", into.delay) && good;
  good = read_variable("MESH_HOST_FAULT_DELAY_MS", 1, 60'000, into.delay_ms) && good;
  good = read_probability("MESH_HOST_FAULT_DUPLICATE", into.duplicate) && good;
  return read_variable("MESH_HOST_FAULT_SEED", 0, UINT64_MAX, into.seed) && good;
}

} // namespace

std::optional<settings> read_settings(bool &passes) {
  passes = false;
  settings found;
  found.directory = directory_of_environment();

  constexpr uint64_t no_end = UINT64_MAX / 2;
  bool good = read_variable("MESH_HOST_SEND_TIMEOUT_MS", 0, INT_MAX, found.send_timeout_ms);
  good = read_variable("MESH_HOST_WINDOW_MESSAGES", 1, no_end, found.window_messages) && good;
  good = read_variable("MESH_HOST_WINDOW_BYTES", 1, no_end, found.window_bytes) && good;
  good = read_variable("MESH_HOST_FRAME_LIMIT", 1, UINT32_MAX - 8192, found.frame_limit) && good;
  good = read_faults(found.faults) && good;
  // All messages of the largest batch may be empty; and 32 bits hold its size.
  constexpr uint64_t longest_batch = UINT32_MAX - 4096;
  found.batch_limit = std::min(2 * found.frame_limit + 64, longest_batch) / 8 * 8;

  const char *file = getenv("MESH_HOST_CONFIG");
  if (file != nullptr && file[0] != '\0') {
    config_reader reader(file, found);
    const bool read = reader.read();
    passes = good && reader.passes();
    good = read && good;
  }
  if (!good)
    return std::nullopt;
  return found;
}

} // namespace mesh_host
