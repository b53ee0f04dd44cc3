// The messages of module fib6_sync against their reviewed bytes, in both directions.
//
// Room: tests.
#include "tests/wire/golden_checks.h"
#include "tests/wire/golden_records_sync.h"

namespace golden_checks {

[[maybe_unused]] static const bool added = add_golden_and_blocks<sync_messages>("Sync");

// Where a record has bytes between or behind its members. The receiving application reads records
// by position, so these are stated by hand and not taken from the compiler.
template <class M>
std::vector<size_t> gaps() {
  return {};
}
template <>
std::vector<size_t> gaps<fib6Sync_ipv6FwdUpdateMsg>() {
  return {65, 66, 67};
}
template <>
std::vector<size_t> gaps<fib6Sync_nhp6ExtUpdateMsg>() {
  return {29, 30, 31};
}
template <>
std::vector<size_t> gaps<fib6Sync_nhp6VxlanUpdateMsg>() {
  return {53, 54, 55};
}
template <>
std::vector<size_t> gaps<fib6Sync_nhp6ExtSrv6TeUpdateMsg>() {
  return {42, 43};
}
template <>
std::vector<size_t> gaps<fib6Sync_srv6SrListUpdateMsg>() {
  return {23, 26, 27};
}
template <>
std::vector<size_t> gaps<fib6Sync_srv6SrListDelMsg>() {
  return {22, 23};
}
template <>
std::vector<size_t> gaps<fib6Sync_loadBalanceMode>() {
  return {11};
}
template <>
std::vector<size_t> gaps<fib6Sync_loadBalanceReverse>() {
  return {7};
}
template <>
std::vector<size_t> gaps<fib6Sync_ecmpCfg>() {
  return {2, 3, 14, 15};
}
template <>
std::vector<size_t> gaps<fib6Sync_dod_rule>() {
  return {2, 3, 29, 30, 31};
}
template <>
std::vector<size_t> gaps<fib6Sync_dod_aging>() {
  return {2, 3};
}
template <>
std::vector<size_t> gaps<fib6Sync_special_ip>() {
  return {2, 3, 10, 11};
}
template <>
std::vector<size_t> gaps<fib6Sync_specialIpUpdateMsg>() {
  return {14, 15};
}

template <class M>
std::vector<size_t> zero_positions(const M &record) {
  uint8_t bytes[sizeof(M)];
  std::memcpy(bytes, &record, sizeof(M));
  std::vector<size_t> positions;
  for (size_t at = 0; at < sizeof(M); ++at)
    if (bytes[at] == 0)
      positions.push_back(at);
  return positions;
}

template <class M>
struct GoldenSync {};
using GoldenSync_messages = sync_messages;

// No byte of a member of "full" is zero, and a record holds a pattern before it is decoded.
MESSAGE_TEST(GoldenSync, ADecodedRecordIsZeroBetweenItsMembersAndNowhereElse) {
  const auto file = file_of<TypeParam>();
  for (const char *name : {"full", "full_fixed"}) {
    SCOPED_TRACE(name);
    const decoding<TypeParam> decoded(annotated::bytes_of(file, name));
    EXPECT_EQ(zero_positions(decoded.record), gaps<TypeParam>());
  }
}

TEST(GlobalConfiguration, LooksLikeTheDodSwitchUnderAnIdentifierOfItsOwn) {
  const auto dod_enable = file_of<fib6Sync_dod_enable>();
  const auto glb_cfg = file_of<fib6Sync_glbCfg>();
  ASSERT_EQ(dod_enable.size(), glb_cfg.size());
  for (const auto &image : dod_enable)
    EXPECT_EQ(annotated::bytes_of(glb_cfg, image.name), image.bytes) << image.name;
  EXPECT_NE(operations<fib6Sync_glbCfg>::id, operations<fib6Sync_dod_enable>::id);
}

} // namespace golden_checks
