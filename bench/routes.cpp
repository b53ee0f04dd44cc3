// Room: bench. See routes.h.
#include "bench/routes.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <zlib.h>

namespace bench {

namespace {

[[noreturn]] void fail(const std::string &path, size_t line, const char *what) {
  fprintf(stderr, "bench: %s:%zu: %s\n", path.c_str(), line, what);
  exit(1);
}

} // namespace

std::vector<feiBrokerFib6_ipv6Fwd> read_routes(const std::string &path) {
  std::vector<feiBrokerFib6_ipv6Fwd> routes;
  gzFile file = gzopen(path.c_str(), "rb");
  if (file == nullptr)
    fail(path, 0, "cannot be opened, expected a gzip file of prefixes");
  char text[128];
  while (gzgets(file, text, sizeof text) != nullptr) {
    const size_t line = routes.size() + 1;
    char *slash = strchr(text, '/');
    if (slash == nullptr)
      fail(path, line, "expected 'address/length'");
    *slash = 0;
    // What the route feed of the demo would send: instance, group, metric, kind, line.
    feiBrokerFib6_ipv6Fwd route{};
    if (inet_pton(AF_INET6, text, route.f3) != 1)
      fail(path, line, "expected an IPv6 address before '/'");
    route.f1 = 1 + static_cast<uint32_t>(line % 64);
    route.f2 = 1024;
    route.f4 = static_cast<uint8_t>(strtoul(slash + 1, nullptr, 10));
    route.f5 = 1;
    route.f7 = static_cast<uint32_t>(line);
    routes.push_back(route);
  }
  if (gzclose(file) != Z_OK || routes.empty())
    fail(path, routes.size(), "ends early, expected a complete gzip file of prefixes");
  return routes;
}

} // namespace bench
