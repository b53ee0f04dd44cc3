// Where the feed listens.
//
// Room: tests. Includes the feed.
#include "fpm/address.h"

#include <gtest/gtest.h>

namespace {

std::string problem_of(std::string_view text) {
  fpm::listen_address address;
  return fpm::parse_listen_address(text, address);
}

TEST(ListenAddress, IsIPv4OrIPv6InBrackets) {
  fpm::listen_address address;
  EXPECT_EQ(fpm::parse_listen_address("127.0.0.1:2620", address), "");
  EXPECT_EQ(address.storage.ss_family, AF_INET);
  EXPECT_EQ(fpm::parse_listen_address("[::1]:2620", address), "");
  EXPECT_EQ(address.storage.ss_family, AF_INET6);
  EXPECT_EQ(reinterpret_cast<const sockaddr_in6 &>(address.storage).sin6_port, htons(2620));
}

TEST(ListenAddress, IsRefusedByWhatIsWrongWithIt) {
  const std::string expected = "expected an address and a port, as 127.0.0.1:2620 or [::1]:2620";
  for (const char *const wrong : {"", "2620", "localhost:2620", "::1:2620", "[::1:2620", "[]:2620",
                                  "[127.0.0.1]:2620", "127.0.0.1 :2620", "1.2.3:4"})
    EXPECT_EQ(problem_of(wrong).substr(0, expected.size()), expected) << wrong;
  for (const char *const wrong : {"127.0.0.1:0", "127.0.0.1:65536", "127.0.0.1:", "127.0.0.1:x"})
    EXPECT_EQ(problem_of(wrong).substr(0, 31), "expected a port of 1 to 65535, ") << wrong;
}

} // namespace
