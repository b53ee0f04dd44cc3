// Reads IPv6 routes from text.
//
// Room: demo. Includes zlib and this folder.
#include "demo/route_feed.h"

#include "demo/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <memory>
#include <type_traits>
#include <unistd.h>
#include <zlib.h>

namespace demo {

namespace {

using word_list = std::vector<std::string_view>;

struct kind_word {
  std::string_view word;
  route_kind kind;
};
constexpr std::array<kind_word, route_kinds> kind_words{{
    {"unicast", route_kind::unicast},
    {"unreachable", route_kind::unreachable},
    {"blackhole", route_kind::blackhole},
    {"prohibit", route_kind::prohibit},
    {"throw", route_kind::throw_on},
    {"local", route_kind::local},
    {"anycast", route_kind::anycast},
    {"multicast", route_kind::multicast},
}};

// Words of `ip -6 route` that say nothing about where a packet goes, with and without a value.
constexpr std::array ignored_pairs = {"proto",    "scope", "src",    "pref",    "expires",
                                      "error",    "table", "mtu",    "advmss",  "hoplimit",
                                      "nhid",     "from",  "realms", "realm",   "tos",
                                      "initcwnd", "rtt",   "window", "features"};
constexpr std::array ignored_flags = {"onlink",  "linkdown", "dead",   "pervasive",
                                      "offload", "trap",     "notify", "\\"};

bool is_one_of(const auto &list, std::string_view word) {
  return std::find(list.begin(), list.end(), word) != list.end();
}

// Consumes a route type in front of the prefix, if there is one.
route_kind take_kind(const word_list &words, size_t &at) {
  for (const kind_word &known : kind_words)
    if (words[at] == known.word) {
      at++;
      return known.kind;
    }
  return route_kind::unicast;
}

// The words behind the prefix. One object reads one line.
class attribute_parser {
public:
  attribute_parser(const word_list &line, size_t first, feed_route &target)
      : words(line), at(first), route(target) {}

  // Empty, or what is wrong.
  std::string parse() {
    while (at < words.size())
      if (std::string problem = take_attribute(words[at++]); !problem.empty())
        return problem;
    for (const feed_hop &hop : route.hops)
      if (!hop.gateway && hop.device.empty())
        return "expected 'via' or 'dev' behind 'nexthop'";
    return {};
  }

private:
  std::string take_attribute(std::string_view word) {
    if (word == "nexthop") {
      route.hops.emplace_back();
      return {};
    }
    if (is_one_of(ignored_flags, word))
      return {};
    if (at == words.size())
      return (is_known_pair(word) ? "expected a value behind " : "unknown word ") + shown(word);
    const std::string_view value = words[at++];
    if (word == "via")
      return take_gateway(value);
    if (word == "dev")
      return hop().device = value, std::string();
    if (word == "weight")
      return take_number(word, value, hop().weight);
    if (word == "metric")
      return take_number(word, value, route.metric.emplace());
    return is_one_of(ignored_pairs, word) ? std::string() : "unknown word " + shown(word);
  }

  static bool is_known_pair(std::string_view word) {
    constexpr std::array used = {"via", "dev", "weight", "metric"};
    return is_one_of(used, word) || is_one_of(ignored_pairs, word);
  }

  feed_hop &hop() {
    if (route.hops.empty())
      route.hops.emplace_back();
    return route.hops.back();
  }

  std::string take_gateway(std::string_view value) {
    ipv6_address address{};
    if (std::string problem = parse_address(value, address); !problem.empty())
      return problem + " behind 'via'";
    hop().gateway = address;
    return {};
  }

  static std::string take_number(std::string_view word, std::string_view value, uint32_t &number) {
    if (parse_number(value, number))
      return {};
    return "expected a number behind " + shown(word) + ", found " + shown(value);
  }

  const word_list &words;
  size_t at;
  feed_route &route;
};

std::string parse_route(const word_list &words, feed_route &route) {
  size_t at = 0;
  route.kind = take_kind(words, at);
  if (at == words.size())
    return "expected an IPv6 prefix behind " + shown(words.front());
  if (words[at] != "default") // which is ::/0, as a fresh route already is
    if (std::string problem = parse_prefix(words[at], route.destination); !problem.empty())
      return problem;
  return attribute_parser(words, at + 1, route).parse();
}

struct gzip_closer {
  void operator()(gzFile file) const { gzclose_r(file); }
};
using gzip_file = std::unique_ptr<std::remove_pointer_t<gzFile>, gzip_closer>;

// zlib reads a plain file as it is, so one reader serves both kinds.
gzip_file open_input(const std::string &path) {
  errno = 0;
  if (path != "-")
    return gzip_file(gzopen(path.c_str(), "rb"));
  const int descriptor = dup(STDIN_FILENO);
  gzip_file file(descriptor < 0 ? nullptr : gzdopen(descriptor, "rb"));
  if (file == nullptr && descriptor >= 0)
    close(descriptor);
  return file;
}

[[noreturn]] void throw_unreadable(const std::string &name, const std::string &reason) {
  throw failure("cannot read " + name + ": " + reason);
}

// zlib tells a truncated file only after the last bytes, and only to those who ask.
void check_read(const std::string &name, gzFile file) {
  int code = Z_OK;
  const char *const text = gzerror(file, &code);
  if (code == Z_OK || code == Z_STREAM_END)
    return;
  if (code == Z_ERRNO)
    throw_unreadable(name, error_text(errno));
  if (code == Z_BUF_ERROR)
    throw_unreadable(name, "the gzip data end too early (truncated file)");
  throw_unreadable(name, std::string("the gzip data are damaged (") + text + ")");
}

// Cuts a stream of bytes into lines of bounded length.
class line_cutter {
public:
  explicit line_cutter(route_line_reader &target) : reader(target) {}

  void take(std::string_view bytes) {
    for (size_t end; (end = bytes.find('\n')) != std::string_view::npos;
         bytes.remove_prefix(end + 1)) {
      append(bytes.substr(0, end));
      finish_line();
    }
    append(bytes);
  }

  // The last line may lack its line end.
  void finish() {
    if (!line.empty() || overlong)
      finish_line();
  }

private:
  void append(std::string_view bytes) {
    overlong = overlong || line.size() + bytes.size() > longest_line;
    if (!overlong)
      line += bytes;
  }

  void finish_line() {
    if (overlong)
      reader.take_overlong_line();
    else
      reader.take_line(line);
    line.clear();
    overlong = false;
  }

  route_line_reader &reader;
  std::string line;
  bool overlong = false;
};

} // namespace

const char *to_text(route_kind kind) {
  for (const kind_word &known : kind_words)
    if (known.kind == kind)
      return known.word.data();
  return "unknown";
}

bool needs_next_hop(route_kind kind) {
  return kind == route_kind::unicast || kind == route_kind::local || kind == route_kind::anycast ||
         kind == route_kind::multicast;
}

std::string read_route(std::string_view line, feed_route &route) {
  const word_list words = split_words(line);
  return words.empty() ? "expected an IPv6 prefix, found nothing" : parse_route(words, route);
}

void route_line_reader::take_line(std::string_view line) {
  feed.lines++;
  if (line.ends_with('\r'))
    line.remove_suffix(1);
  const word_list words = split_words(line);
  if (words.empty() || words.front().starts_with('#'))
    return;
  if (const std::string problem = take_words(words); !problem.empty())
    count_bad(problem);
}

void route_line_reader::take_overlong_line() {
  feed.lines++;
  after_route = false;
  count_bad("expected at most " + grouped(longest_line) + " bytes in a line");
}

std::string route_line_reader::take_words(const word_list &words) {
  if (words.front() == "nexthop")
    return take_further_hop(words);
  std::string problem = take_route(words);
  after_route = problem.empty();
  return problem;
}

std::string route_line_reader::take_route(const word_list &words) {
  feed_route route;
  route.line = static_cast<uint32_t>(feed.lines);
  if (std::string problem = parse_route(words, route); !problem.empty())
    return problem;
  feed.routes.push_back(std::move(route));
  return {};
}

std::string route_line_reader::take_further_hop(const word_list &words) {
  if (!after_route)
    return "expected a good route in front of a 'nexthop' line";
  feed_route further; // apart, so that a bad line changes nothing
  if (std::string problem = attribute_parser(words, 0, further).parse(); !problem.empty())
    return problem;
  feed_route &route = feed.routes.back();
  std::move(further.hops.begin(), further.hops.end(), std::back_inserter(route.hops));
  if (further.metric)
    route.metric = further.metric;
  return {};
}

void route_line_reader::count_bad(const std::string &problem) {
  feed.bad_lines++;
  if (feed.bad_line_texts.size() < named_bad_lines)
    feed.bad_line_texts.push_back(feed.name + ":" + std::to_string(feed.lines) + ": " + problem);
}

route_feed read_routes(const std::string &path) {
  const std::string name = path == "-" ? "standard input" : path;
  const gzip_file file = open_input(path);
  if (file == nullptr)
    throw_unreadable(name, errno != 0 ? error_text(errno) : "not enough memory");

  route_line_reader reader(name);
  line_cutter cutter(reader);
  std::vector<char> buffer(65536);
  for (;;) {
    errno = 0;
    const int count = gzread(file.get(), buffer.data(), static_cast<unsigned>(buffer.size()));
    if (count <= 0)
      break;
    cutter.take({buffer.data(), static_cast<size_t>(count)});
  }
  check_read(name, file.get());
  cutter.finish();
  return reader.finish();
}

} // namespace demo
