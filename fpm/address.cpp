// Where the feed listens.
//
// Room: fpm. Includes libc, this folder and the demo's.
#include "fpm/address.h"

#include "demo/text.h"

#include <arpa/inet.h>
#include <cstring>

namespace fpm {

std::string parse_listen_address(std::string_view text, listen_address &address) {
  std::string expected =
      "expected an address and a port, as 127.0.0.1:2620 or [::1]:2620, found " + demo::shown(text);
  const size_t colon = text.rfind(':');
  uint32_t port = 0;
  if (colon == std::string_view::npos || text.find('\0') != std::string_view::npos)
    return expected;
  if (!demo::parse_number(text.substr(colon + 1), port) || port == 0 || port > UINT16_MAX)
    return "expected a port of 1 to 65535, found " + demo::shown(text.substr(colon + 1));
  const bool six = text.starts_with('[') && text.substr(0, colon).ends_with(']');
  const std::string host(six ? text.substr(1, colon - 2) : text.substr(0, colon));
  if (six) {
    sockaddr_in6 named{};
    named.sin6_family = AF_INET6;
    named.sin6_port = htons(static_cast<uint16_t>(port));
    if (inet_pton(AF_INET6, host.c_str(), &named.sin6_addr) != 1)
      return expected;
    std::memcpy(&address.storage, &named, sizeof named);
    address.size = sizeof named;
  } else {
    sockaddr_in named{};
    named.sin_family = AF_INET;
    named.sin_port = htons(static_cast<uint16_t>(port));
    if (inet_pton(AF_INET, host.c_str(), &named.sin_addr) != 1)
      return expected;
    std::memcpy(&address.storage, &named, sizeof named);
    address.size = sizeof named;
  }
  return {};
}

} // namespace fpm
