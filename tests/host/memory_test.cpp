// The bounds-checked memory functions' stand-in.
//
// Room: tests.
#include "host/memory_host.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>

namespace {

class MemoryCopy : public testing::TestWithParam<decltype(&memcpy_s)> {};
INSTANTIATE_TEST_SUITE_P(BothNames, MemoryCopy, testing::Values(memcpy_s, memcpy_sOptAsm),
                         [](const auto &name) { return name.index == 0 ? "plain" : "optimised"; });

TEST(MemorySet, FillsTheCountAndNoMore) {
  std::string area(8, '.');
  EXPECT_EQ(memset_s(area.data(), 8, 'x', 5), 0);
  EXPECT_EQ(area, "xxxxx...");
}

TEST(MemorySet, FillsWhatThereIsWhenTheCountIsTooLarge) {
  std::string area(8, '.');
  EXPECT_EQ(memset_s(area.data(), 4, 'x', 5), ERANGE);
  EXPECT_EQ(area, "xxxx....");
}

TEST(MemorySet, RefusesNoDestination) {
  EXPECT_EQ(memset_s(nullptr, 8, 0, 1), EINVAL);
}

TEST_P(MemoryCopy, CopiesTheCountAndNoMore) {
  std::string area(8, '.');
  EXPECT_EQ(GetParam()(area.data(), 8, "abcdef", 4), 0);
  EXPECT_EQ(area, "abcd....");
}

TEST_P(MemoryCopy, ClearsTheDestinationWhenTheCountIsTooLarge) {
  std::string area(8, '.');
  EXPECT_EQ(GetParam()(area.data(), 4, "abcdef", 5), ERANGE);
  EXPECT_EQ(area, std::string(4, '\0') + "....");
}

TEST_P(MemoryCopy, RefusesMissingAddressesAndOverlap) {
  std::string area = "abcdefgh";
  EXPECT_EQ(GetParam()(nullptr, 8, "a", 1), EINVAL);
  EXPECT_EQ(GetParam()(area.data() + 2, 4, area.data(), 4), EINVAL);
  EXPECT_EQ(area, std::string("ab") + std::string(4, '\0') + "gh");
  EXPECT_EQ(GetParam()(area.data(), 2, nullptr, 1), EINVAL);
  EXPECT_EQ(area, std::string(6, '\0') + "gh");
}

TEST_P(MemoryCopy, CopiesNothingFromNowhere) {
  std::string area = "ab";
  EXPECT_EQ(GetParam()(area.data(), 2, nullptr, 0), 0);
  EXPECT_EQ(area, "ab");
}

} // namespace
