// Prefixes from and to text.
//
// Room: tests. Includes the demo only.
#include "demo/prefix.h"

#include <gtest/gtest.h>

using namespace demo;
using namespace std::string_view_literals;

namespace {

prefix parsed(std::string_view text) {
  prefix result;
  EXPECT_EQ(parse_prefix(text, result), "") << text;
  return result;
}

std::string problem_of(std::string_view text) {
  prefix untouched{{1, 2, 3}, 77};
  const prefix before = untouched;
  std::string problem = parse_prefix(text, untouched);
  EXPECT_EQ(untouched, before) << text;
  return problem;
}

} // namespace

TEST(Prefix, HasItsAddressInNetworkByteOrder) {
  const prefix expected{{0x20, 0x01, 0x0d, 0xb8}, 32};
  EXPECT_EQ(parsed("2001:db8::/32"), expected);
}

TEST(Prefix, WithoutALengthIsOneAddress) {
  EXPECT_EQ(to_text(parsed("2001:db8::1")), "2001:db8::1/128");
}

TEST(Prefix, MayHaveAnyLengthFromZeroTo128) {
  EXPECT_EQ(to_text(parsed("::/0")), "::/0");
  EXPECT_EQ(to_text(parsed("8000::/1")), "8000::/1");
  EXPECT_EQ(to_text(parsed("2001:db8:8000::/33")), "2001:db8:8000::/33");
  EXPECT_EQ(to_text(parsed("::1/128")), "::1/128");
}

TEST(Prefix, WithBitsBeyondItsLengthIsRefusedWithTheOneThatWasMeant) {
  EXPECT_EQ(problem_of("2001:db8::1/32"), "address bits are set beyond the prefix length: expected "
                                          "2001:db8::/32, found '2001:db8::1/32'");
  EXPECT_NE(problem_of("2001:db8:c000::/33"), "");
  EXPECT_NE(problem_of("::1/0"), "");
}

TEST(Prefix, WithALengthThatIsNoneIsRefused) {
  for (const auto text :
       {"::/129"sv, "::/"sv, "::/x"sv, "::/-1"sv, "::/1 "sv, "::/4294967296"sv, "::/32/1"sv})
    EXPECT_NE(problem_of(text).find("expected a prefix length of 0 to 128"), std::string::npos)
        << text;
}

TEST(Prefix, WithAnAddressThatIsNoneIsRefused) {
  for (const auto text : {""sv, "/32"sv, "10.0.0.0/8"sv, "2001:db8"sv, "fe80::1%eth0"sv, ":::/1"sv,
                          "12345::/16"sv, "2001:db8::\0/32"sv})
    EXPECT_NE(problem_of(text).find("expected an IPv6 prefix such as"), std::string::npos) << text;
}

TEST(Prefix, IsShownWithoutBytesThatATerminalWouldObey) {
  EXPECT_EQ(problem_of("\x1b[2J"), "expected an IPv6 prefix such as 2001:db8::/32, found "
                                   "'\\x1b[2J'");
}
