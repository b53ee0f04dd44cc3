// An IPv6 prefix, from and to text.
//
// Room: demo. Includes libc and the C++ library only.
#include "demo/prefix.h"

#include "demo/text.h"

#include <arpa/inet.h>

namespace demo {

namespace {

constexpr uint8_t address_bits = 128;

std::string parse_length(std::string_view text, uint8_t &length) {
  uint32_t number = 0;
  if (!parse_number(text, number) || number > address_bits)
    return "expected a prefix length of 0 to 128, found " + shown(text);
  length = static_cast<uint8_t>(number);
  return {};
}

} // namespace

std::string parse_address(std::string_view text, ipv6_address &address) {
  // A zero byte would end the C string early and hide what follows it.
  const std::string terminated(text);
  if (text.find('\0') != std::string_view::npos ||
      inet_pton(AF_INET6, terminated.c_str(), address.data()) != 1)
    return "expected an IPv6 address, found " + shown(text);
  return {};
}

std::string parse_prefix(std::string_view text, prefix &destination) {
  const size_t slash = text.find('/');
  prefix result{{}, address_bits};
  if (!parse_address(text.substr(0, slash), result.address).empty())
    return "expected an IPv6 prefix such as 2001:db8::/32, found " + shown(text);
  if (slash != std::string_view::npos)
    if (std::string problem = parse_length(text.substr(slash + 1), result.length); !problem.empty())
      return problem;

  const prefix network{masked(result.address, result.length), result.length};
  if (network != result)
    return "address bits are set beyond the prefix length: expected " + to_text(network) +
           ", found " + shown(text);
  destination = network;
  return {};
}

ipv6_address masked(const ipv6_address &address, uint8_t length) {
  ipv6_address result{};
  for (size_t byte = 0; byte < result.size(); byte++) {
    const int kept = length - static_cast<int>(byte) * 8;
    const unsigned mask = kept >= 8 ? 0xFFu : kept <= 0 ? 0u : 0xFF00u >> kept;
    result[byte] = static_cast<uint8_t>(address[byte] & mask);
  }
  return result;
}

std::string to_text(const ipv6_address &address) {
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(AF_INET6, address.data(), text, sizeof text);
  return text;
}

std::string to_text(const prefix &destination) {
  return to_text(destination.address) + "/" + std::to_string(destination.length);
}

} // namespace demo
