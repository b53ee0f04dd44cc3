// What of decoded records only the module fib6_sync shows: bytes between members, and two messages
// that look alike.
//
// Room: tests.
#include "tests/wire/golden_cases.h"

namespace golden {

// Where a record has bytes between or behind its members. The receiving application reads records
// by position, so these are stated by hand and not taken from the compiler.
static std::vector<size_t> gaps_of(const std::string &message) {
  static const std::map<std::string, std::vector<size_t>> gaps = {
      {"fib6Sync_ipv6FwdUpdateMsg", {65, 66, 67}},
      {"fib6Sync_nhp6ExtUpdateMsg", {29, 30, 31}},
      {"fib6Sync_nhp6VxlanUpdateMsg", {53, 54, 55}},
      {"fib6Sync_nhp6ExtSrv6TeUpdateMsg", {42, 43}},
      {"fib6Sync_srv6SrListUpdateMsg", {23, 26, 27}},
      {"fib6Sync_srv6SrListDelMsg", {22, 23}},
      {"fib6Sync_loadBalanceMode", {11}},
      {"fib6Sync_loadBalanceReverse", {7}},
      {"fib6Sync_ecmpCfg", {2, 3, 14, 15}},
      {"fib6Sync_dod_rule", {2, 3, 29, 30, 31}},
      {"fib6Sync_dod_aging", {2, 3}},
      {"fib6Sync_special_ip", {2, 3, 10, 11}},
      {"fib6Sync_specialIpUpdateMsg", {14, 15}},
  };
  const auto found = gaps.find(message);
  return found == gaps.end() ? std::vector<size_t>{} : found->second;
}

static std::vector<size_t> zero_positions(const bytes &record) {
  std::vector<size_t> positions;
  for (size_t at = 0; at < record.size(); ++at)
    if (record[at] == 0)
      positions.push_back(at);
  return positions;
}

using GoldenSync = EachMessage;
INSTANTIATE_TEST_SUITE_P(EveryMessage, GoldenSync,
                         testing::ValuesIn(messages_if([](const message_descriptor &message) {
                           return std::string(message.module) == "fib6_sync";
                         })),
                         name_of);

// No byte of a member of "full" is zero, and a record holds a pattern before it is decoded.
TEST_P(GoldenSync, ADecodedRecordIsZeroBetweenItsMembersAndNowhereElse) {
  for (const char *const name : {"full", "full_fixed"}) {
    SCOPED_TRACE(name);
    const decoding decoded(message(), file().bytes_of(name));
    EXPECT_EQ(zero_positions(decoded.record_bytes()), gaps_of(message().name));
  }
}

TEST(GlobalConfiguration, LooksLikeTheDodSwitchUnderAnIdentifierOfItsOwn) {
  const golden::file &dod_enable = of("fib6Sync_dod_enable"), &glb_cfg = of("fib6Sync_glbCfg");
  ASSERT_EQ(dod_enable.images().size(), glb_cfg.images().size());
  for (const image &image : dod_enable.images())
    EXPECT_EQ(glb_cfg.bytes_of(image.name), image.bytes) << image.name;
  // The identifiers themselves are in catalogue/identity_test.cpp.
  const auto id_of = [](const char *name) {
    return messages_if(
               [name](const message_descriptor &each) { return std::string(each.name) == name; })
        .at(0)
        ->id;
  };
  EXPECT_NE(id_of("fib6Sync_glbCfg"), id_of("fib6Sync_dod_enable"));
}

} // namespace golden
