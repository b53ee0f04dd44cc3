// Reading routes: lines of every form, bad lines, files plain, compressed and broken.
//
// Room: tests. Includes the demo and zlib.
#include "demo/route_feed.h"
#include "demo/temporary_directory.h"
#include "demo/text.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <new>
#include <zlib.h>

using namespace demo;

namespace {
std::atomic<uint64_t> allocated_bytes{0}; // by operator new, so far
}

void *operator new(size_t size) {
  allocated_bytes += size;
  if (void *const block = std::malloc(size != 0 ? size : 1))
    return block;
  throw std::bad_alloc();
}
void operator delete(void *block) noexcept {
  std::free(block);
}
void operator delete(void *block, size_t) noexcept {
  std::free(block);
}

namespace {

class RouteFile : public testing::Test {
protected:
  std::string write(const std::string &bytes) {
    std::ofstream(path(), std::ios::binary) << bytes;
    return path();
  }

  std::string write_gzip(const std::string &text) {
    const gzFile file = gzopen(path().c_str(), "wb");
    EXPECT_EQ(gzwrite(file, text.data(), static_cast<unsigned>(text.size())),
              static_cast<int>(text.size()));
    EXPECT_EQ(gzclose(file), Z_OK);
    return path();
  }

  route_feed read(const std::string &text) { return read_routes(write(text)); }

  std::string path() const { return directory.path() + "/table"; }

  std::string reason_of_failure() {
    try {
      read_routes(path());
    } catch (const failure &error) {
      return error.what();
    }
    return "no failure";
  }

private:
  temporary_directory directory;
};

// The table's text without the path in front, which differs from run to run.
std::vector<std::string> problems_of(const route_feed &feed) {
  std::vector<std::string> problems;
  for (const std::string &text : feed.bad_line_texts) {
    EXPECT_TRUE(text.starts_with(feed.name + ":")) << text;
    problems.push_back(text.substr(feed.name.size() + 1));
  }
  return problems;
}

route_feed feed_of(std::initializer_list<const char *> lines) {
  route_line_reader reader("test");
  for (const char *line : lines)
    reader.take_line(line);
  return reader.finish();
}

feed_route only_route(std::initializer_list<const char *> lines) {
  const route_feed feed = feed_of(lines);
  EXPECT_EQ(feed.bad_lines, 0u);
  EXPECT_EQ(feed.routes.size(), 1u);
  return feed.routes.empty() ? feed_route{} : feed.routes.front();
}

std::string only_problem(std::initializer_list<const char *> lines) {
  const route_feed feed = feed_of(lines);
  EXPECT_EQ(feed.bad_lines, 1u);
  return feed.bad_line_texts.empty() ? "" : feed.bad_line_texts.front();
}

ipv6_address address(const char *text) {
  ipv6_address result{};
  EXPECT_EQ(parse_address(text, result), "");
  return result;
}

std::string many_prefixes(int count) {
  std::string text;
  for (int i = 0; i < count; i++)
    text += formatted("2001:db8:%x::/48\n", static_cast<unsigned>(i));
  return text;
}

TEST(RouteLine, OfABarePrefixHasNoNextHop) {
  const feed_route route = only_route({"2001:db8::/32"});
  EXPECT_EQ(to_text(route.destination), "2001:db8::/32");
  EXPECT_EQ(route.kind, route_kind::unicast);
  EXPECT_FALSE(route.metric.has_value());
  EXPECT_TRUE(route.hops.empty());
}

TEST(RouteLine, OfTheDefaultRouteHasGatewayDeviceAndMetric) {
  const feed_route route =
      only_route({"default via fe80::1 dev eth0 proto ra metric 1024 expires 1798sec pref medium"});
  EXPECT_EQ(to_text(route.destination), "::/0");
  EXPECT_EQ(route.metric, 1024u);
  ASSERT_EQ(route.hops.size(), 1u);
  EXPECT_EQ(route.hops[0].gateway, address("fe80::1"));
  EXPECT_EQ(route.hops[0].device, "eth0");
}

TEST(RouteLine, OfAConnectedRouteHasADeviceOnly) {
  const feed_route route = only_route({"2001:db8::/32 dev lo proto kernel metric 256 pref medium"});
  ASSERT_EQ(route.hops.size(), 1u);
  EXPECT_FALSE(route.hops[0].gateway.has_value());
  EXPECT_EQ(route.hops[0].device, "lo");
}

TEST(RouteLine, MayBeginWithItsType) {
  EXPECT_EQ(only_route({"unreachable 2001:db8::/32 dev lo metric 1 error -101 pref medium"}).kind,
            route_kind::unreachable);
  EXPECT_EQ(only_route({"blackhole 2001:db8::/32"}).kind, route_kind::blackhole);
  EXPECT_EQ(only_route({"prohibit default"}).kind, route_kind::prohibit);
  EXPECT_EQ(only_route({"throw ::/1"}).kind, route_kind::throw_on);
  EXPECT_EQ(only_route({"local ::1 dev lo"}).kind, route_kind::local);
  EXPECT_EQ(only_route({"anycast fe80:: dev eth0"}).kind, route_kind::anycast);
  EXPECT_EQ(only_route({"multicast ff00::/8 dev eth0"}).kind, route_kind::multicast);
  EXPECT_EQ(only_route({"unicast 2001:db8::/32"}).kind, route_kind::unicast);
}

TEST(RouteLine, MayBeFollowedByItsNextHops) {
  const feed_route route =
      only_route({"2001:db8::/32 metric 5 pref medium", "\tnexthop via fe80::1 dev eth0 weight 1 ",
                  "\tnexthop via fe80::2 dev eth1 weight 3 onlink "});
  ASSERT_EQ(route.hops.size(), 2u);
  EXPECT_EQ(route.hops[1].gateway, address("fe80::2"));
  EXPECT_EQ(route.hops[1].device, "eth1");
  EXPECT_EQ(route.hops[1].weight, 3u);
  EXPECT_EQ(route.metric, 5u);
}

TEST(RouteLine, MayHoldAllNextHopsInOne) {
  const feed_route route = only_route(
      {"2001:db8::/32 metric 5 \\\tnexthop via fe80::1 dev eth0 \\\tnexthop dev eth1 weight 2"});
  ASSERT_EQ(route.hops.size(), 2u);
  EXPECT_EQ(route.hops[0].gateway, address("fe80::1"));
  EXPECT_EQ(route.hops[1].weight, 2u);
}

TEST(RouteLine, NextHopWithoutARouteIsBad) {
  EXPECT_EQ(only_problem({"nexthop via fe80::1 dev eth0"}),
            "test:1: expected a good route in front of a 'nexthop' line");
}

TEST(RouteLine, NextHopBehindABadRouteIsNotGivenToTheRouteBefore) {
  const route_feed feed = feed_of({"2001:db8::/32", "bogus", "nexthop via fe80::1 dev eth0"});
  EXPECT_EQ(feed.bad_lines, 2u);
  ASSERT_EQ(feed.routes.size(), 1u);
  EXPECT_TRUE(feed.routes[0].hops.empty());
}

TEST(RouteLine, BadNextHopLeavesItsRouteAsItWas) {
  const route_feed feed = feed_of({"2001:db8::/32", "nexthop via fe80::1 weight x"});
  EXPECT_EQ(feed.bad_lines, 1u);
  ASSERT_EQ(feed.routes.size(), 1u);
  EXPECT_TRUE(feed.routes[0].hops.empty());
}

// Copied at each line, a route that has 2,000 would cost more than a hundred megabytes.
TEST(RouteLine, OfAFurtherNextHopCostsTheSameHoweverManyThereAre) {
  constexpr size_t lines = 2000, most_bytes_a_line = 1024;
  route_line_reader reader("test");
  reader.take_line("2001:db8::/32 metric 5");
  const uint64_t before = allocated_bytes;
  for (size_t i = 0; i < lines; i++)
    reader.take_line("nexthop via fe80::1 dev eth0 weight 2");
  EXPECT_LT(allocated_bytes - before, lines * most_bytes_a_line);
  const route_feed feed = reader.finish();
  ASSERT_EQ(feed.routes.size(), 1u);
  EXPECT_EQ(feed.routes[0].hops.size(), lines);
  EXPECT_EQ(feed.bad_lines, 0u);
}

TEST(RouteLine, OfAFurtherNextHopMayChangeTheMetricOfItsRoute) {
  EXPECT_EQ(only_route({"2001:db8::/32 metric 5", "nexthop dev eth0"}).metric, 5u);
  EXPECT_EQ(only_route({"2001:db8::/32 metric 5", "nexthop dev eth0 metric 6"}).metric, 6u);
}

TEST(RouteLine, WithAWordNobodyKnowsIsBad) {
  EXPECT_EQ(only_problem({"2001:db8::/32 bogus"}), "test:1: unknown word 'bogus'");
  EXPECT_EQ(only_problem({"2001:db8::/32 bogus 1"}), "test:1: unknown word 'bogus'");
}

TEST(RouteLine, WithAWordThatLacksItsValueIsBad) {
  EXPECT_EQ(only_problem({"default via"}), "test:1: expected a value behind 'via'");
  EXPECT_EQ(only_problem({"default proto"}), "test:1: expected a value behind 'proto'");
  EXPECT_EQ(only_problem({"blackhole"}), "test:1: expected an IPv6 prefix behind 'blackhole'");
  EXPECT_EQ(only_problem({"2001:db8::/32 nexthop weight 1"}),
            "test:1: expected 'via' or 'dev' behind 'nexthop'");
}

TEST(RouteLine, WithAValueOfTheWrongKindIsBad) {
  EXPECT_EQ(only_problem({"default via 10.0.0.1"}),
            "test:1: expected an IPv6 address, found '10.0.0.1' behind 'via'");
  EXPECT_EQ(only_problem({"default metric -1"}),
            "test:1: expected a number behind 'metric', found '-1'");
  EXPECT_EQ(only_problem({"default metric 4294967296"}),
            "test:1: expected a number behind 'metric', found '4294967296'");
}

TEST(RouteLine, OfARemarkOrNothingIsNoRouteAndNotBad) {
  const route_feed feed = feed_of({"", "  \t", "# a remark", "  # another"});
  EXPECT_EQ(feed.lines, 4u);
  EXPECT_EQ(feed.bad_lines, 0u);
  EXPECT_TRUE(feed.routes.empty());
}

TEST_F(RouteFile, CountsLinesFromOneWhateverTheyHold) {
  const route_feed feed = read("# a remark\n\n2001:db8::/32\nbogus\n2001:db8:1::/48\n");
  ASSERT_EQ(feed.routes.size(), 2u);
  EXPECT_EQ(feed.routes[0].line, 3u);
  EXPECT_EQ(feed.routes[1].line, 5u);
  EXPECT_EQ(problems_of(feed),
            std::vector<std::string>{"4: expected an IPv6 prefix such as 2001:db8::/32, found "
                                     "'bogus'"});
}

TEST_F(RouteFile, MayHaveWindowsLineEnds) {
  const route_feed feed = read("2001:db8::/32\r\n\r\n2001:db8:1::/48 dev eth0\r\n");
  EXPECT_EQ(feed.bad_lines, 0u);
  ASSERT_EQ(feed.routes.size(), 2u);
  EXPECT_EQ(feed.routes[1].hops.at(0).device, "eth0");
}

TEST_F(RouteFile, MayLackTheLastLineEnd) {
  const route_feed feed = read("2001:db8::/32\n2001:db8:1::/48");
  EXPECT_EQ(feed.lines, 2u);
  EXPECT_EQ(feed.routes.size(), 2u);
}

TEST_F(RouteFile, NamesALineThatIsTooLongAndGoesOnAfterIt) {
  const route_feed feed =
      read("2001:db8::/32\n" + std::string(200'000, 'x') + "\n2001:db8:1::/48\n");
  EXPECT_EQ(feed.routes.size(), 2u);
  EXPECT_EQ(problems_of(feed),
            std::vector<std::string>{"2: expected at most 4,096 bytes in a line"});
}

TEST_F(RouteFile, TakesALineOfExactlyTheLongestLength) {
  const std::string prefix = "2001:db8::/32";
  const route_feed longest = read(prefix + std::string(longest_line - prefix.size(), ' '));
  EXPECT_EQ(longest.routes.size(), 1u);
  const route_feed longer = read(prefix + std::string(longest_line - prefix.size() + 1, ' '));
  EXPECT_EQ(longer.bad_lines, 1u);
}

TEST_F(RouteFile, NamesTheFirstBadLinesAndCountsTheOthers) {
  std::string text;
  for (int i = 0; i < 25; i++)
    text += "bogus\n";
  const route_feed feed = read(text);
  EXPECT_EQ(feed.bad_lines, 25u);
  EXPECT_EQ(feed.bad_line_texts.size(), named_bad_lines);
}

TEST_F(RouteFile, MayBeCompressed) {
  write_gzip(many_prefixes(20'000));
  const route_feed feed = read_routes(path());
  EXPECT_EQ(feed.bad_lines, 0u);
  ASSERT_EQ(feed.routes.size(), 20'000u);
  EXPECT_EQ(to_text(feed.routes.back().destination), "2001:db8:4e1f::/48");
}

TEST_F(RouteFile, IsRefusedWhenItsCompressedDataEndEarly) {
  write_gzip(many_prefixes(20'000));
  std::filesystem::resize_file(path(), std::filesystem::file_size(path()) / 2);
  EXPECT_EQ(reason_of_failure(),
            "cannot read " + path() + ": the gzip data end too early (truncated file)");
}

TEST_F(RouteFile, IsRefusedWhenOnlyTheEndOfItsCompressedDataIsMissing) {
  write_gzip(many_prefixes(20'000));
  std::filesystem::resize_file(path(), std::filesystem::file_size(path()) - 1);
  EXPECT_EQ(reason_of_failure(),
            "cannot read " + path() + ": the gzip data end too early (truncated file)");
}

TEST_F(RouteFile, IsRefusedWhenItsCompressedDataAreDamaged) {
  write_gzip(many_prefixes(20'000));
  std::fstream file(path(), std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(-8, std::ios::end); // the checksum
  file.put('\x55').put('\xaa');
  file.close();
  EXPECT_NE(reason_of_failure().find("the gzip data are damaged"), std::string::npos)
      << reason_of_failure();
}

TEST_F(RouteFile, IsRefusedWhenItDoesNotExist) {
  EXPECT_EQ(reason_of_failure(), "cannot read " + path() + ": No such file or directory");
}

TEST_F(RouteFile, IsRefusedWhenItIsADirectory) {
  std::filesystem::create_directory(path());
  EXPECT_EQ(reason_of_failure(), "cannot read " + path() + ": Is a directory");
}

TEST_F(RouteFile, OfNothingHasNoLines) {
  const route_feed feed = read("");
  EXPECT_EQ(feed.lines, 0u);
  EXPECT_TRUE(feed.routes.empty());
}

TEST(ShippedTable, IsReadWithoutABadLine) {
  const route_feed feed = read_routes(FIB6_DEFAULT_TABLE);
  EXPECT_EQ(feed.bad_lines, 0u);
  EXPECT_EQ(feed.routes.size(), 160'147u);
}

} // namespace
