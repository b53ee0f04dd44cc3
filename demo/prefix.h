// An IPv6 prefix: an address of 128 bits of which the first `length` count.
//
// Room: demo. Includes libc and the C++ library only.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace demo {

using ipv6_address = std::array<uint8_t, 16>; // in network byte order

struct prefix {
  ipv6_address address{};
  uint8_t length = 0; // 0 to 128; the address bits beyond it are zero

  auto operator<=>(const prefix &) const = default;
};

// Both return an empty text, or what is wrong with the input.
std::string parse_address(std::string_view text, ipv6_address &address);

// "2001:db8::/32"; without a length it is one address (/128). Bits set beyond the length are an
// error, not masked away: such a line is more likely a slip than an intention.
std::string parse_prefix(std::string_view text, prefix &destination);

// The address with every bit beyond `length` cleared.
ipv6_address masked(const ipv6_address &address, uint8_t length);

std::string to_text(const ipv6_address &address);
std::string to_text(const prefix &destination);

} // namespace demo
