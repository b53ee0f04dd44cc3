// Reads IPv6 routes from text: a list of prefixes, or what `ip -6 route` prints.
//
// Room: demo. Includes zlib and this folder.
//
// A line is one of
//   2001:db8::/32                                   a prefix; what follows it is optional
//   default via fe80::1 dev eth0 metric 1024        as `ip -6 route` prints it
//   unreachable 2001:db8:1::/48 dev lo metric 1     with a route type in front
//           nexthop via fe80::2 dev eth1 weight 1   one more next hop of the line before
//   # a remark, or nothing
// Line ends may be LF or CRLF. A bad line is named, counted and skipped; it never stops the
// reading.
#pragma once

#include "demo/prefix.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace demo {

// What a route does with a packet. The values travel: never renumber.
enum class route_kind : uint8_t {
  unicast = 0,
  unreachable = 1,
  blackhole = 2,
  prohibit = 3,
  throw_on = 4,
  local = 5,
  anycast = 6,
  multicast = 7,
};
inline constexpr uint8_t route_kinds = 8;

const char *to_text(route_kind kind);

// Whether packets go on to a next hop.
bool needs_next_hop(route_kind kind);

// A next hop as a line names it: a gateway, a device or both.
struct feed_hop {
  std::optional<ipv6_address> gateway;
  std::string device;
  uint32_t weight = 1;
};

struct feed_route {
  uint32_t line = 0;
  prefix destination;
  route_kind kind = route_kind::unicast;
  std::optional<uint32_t> metric;
  std::vector<feed_hop> hops; // empty for a bare prefix
};

struct route_feed {
  std::string name; // for messages
  std::vector<feed_route> routes;
  uint64_t lines = 0;
  uint64_t bad_lines = 0;
  std::vector<std::string> bad_line_texts; // the first few, as "NAME:LINE: what is wrong"
};

inline constexpr size_t named_bad_lines = 10;
inline constexpr size_t longest_line = 4096; // bytes

// Reads a file, gzip or plain, or standard input when `path` is "-". Throws failure when it cannot
// be read to its end.
route_feed read_routes(const std::string &path);

// Reads what one line says of a route: a kind, a prefix, its attributes. `route` should be fresh.
// Empty, or what is wrong.
std::string read_route(std::string_view line, feed_route &route);

// Takes lines one by one. read_routes is made of it; tests use it without a file.
class route_line_reader {
public:
  explicit route_line_reader(std::string name) { feed.name = std::move(name); }

  void take_line(std::string_view line);
  void take_overlong_line();
  route_feed finish() { return std::move(feed); }

private:
  std::string take_words(const std::vector<std::string_view> &words);
  std::string take_route(const std::vector<std::string_view> &words);
  std::string take_further_hop(const std::vector<std::string_view> &words);
  void count_bad(const std::string &problem);

  route_feed feed;
  bool after_route = false; // a "nexthop" line may follow
};

} // namespace demo
