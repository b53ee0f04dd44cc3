// The six units of the library: which of them a call binds, and which half of it.
//
// Room: tests. Each test starts with all six as they are after loading.
#include "modules/fib6/units.h"
#include "modules/fib6_cfg/units.h"
#include "modules/fib6_sync/units.h"
#include "tests/runtime/binding_fixture.h"
#include <mesh_fib6/fib6.h>
#include <mesh_fib6/fib6_cfg.h>
#include <mesh_fib6/fib6_sync.h>

#include <array>
#include <cstring>
#include <set>

using mesh_fib6::runtime::unit;

namespace {

std::array<unit *, 6> all_units() {
  return {&mesh_fib6::fib6::recv_unit,      &mesh_fib6::fib6::send_unit,
          &mesh_fib6::fib6_cfg::recv_unit,  &mesh_fib6::fib6_cfg::send_unit,
          &mesh_fib6::fib6_sync::recv_unit, &mesh_fib6::fib6_sync::send_unit};
}

class SixUnits : public Binding {
protected:
  void SetUp() override {
    Binding::SetUp();
    for (unit *each : all_units())
      *each = {};
  }
};

// These and only these halves of the six are bound.
struct bound_halves {
  std::set<const unit *> general, cache;
  bool operator==(const bound_halves &) const = default;
};

bound_halves bound_now() {
  bound_halves found;
  for (const unit *each : all_units()) {
    if (each->runtime.bound != 0)
      found.general.insert(each);
    else
      expect_general_defaults(each->runtime);
    if (each->runtime.cache_bound != 0)
      found.cache.insert(each);
    else
      expect_cache_defaults(each->runtime);
  }
  return found;
}

using route_update = feiBrokerFib6_ipv6FwdUpdateMsg;
using ttl_setting = fib6_cfg_cfg_ipv6_ttl_expired_forward;

std::vector<uint8_t> packed_routes() {
  feiBrokerFib6_ipv6Fwd routes[2] = {};
  routes[1].f0 = 5;
  const route_update record{9, 2, routes};
  std::vector<uint8_t> bytes(512);
  auto length = static_cast<uint32_t>(bytes.size());
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__pack(&record, bytes.data(), &length), 0u);
  bytes.resize(length);
  return bytes;
}

const unit *const fib6_recv = &mesh_fib6::fib6::recv_unit;
const unit *const fib6_send = &mesh_fib6::fib6::send_unit;
const unit *const cfg_recv = &mesh_fib6::fib6_cfg::recv_unit;
const unit *const cfg_send = &mesh_fib6::fib6_cfg::send_unit;

// Before the load routines run, whose priority is the default: zero is what the flags hold anyway.
bool flags_were_set = false;
[[gnu::constructor(101)]] void set_all_flags() {
  for (unit *each : all_units())
    each->byte_swap = 0x5A5A5A5A;
  flags_were_set = true;
}

// Before anything resets them: the state that loading leaves. A ctest entry of its own process.
TEST(SixUnitsAfterLoading, HaveHadTheirByteOrderFlagsClearedByTheirLoadRoutines) {
  ASSERT_TRUE(flags_were_set);
  for (const unit *each : all_units())
    EXPECT_EQ(each->byte_swap, 0U);
}

TEST(SixUnitsAfterLoading, AreUnboundWithDefaultsAndByteOrderZero) {
  for (const unit *each : all_units())
    expect_defaults(*each);
}

TEST_F(SixUnits, AreSixDifferentRecords) {
  const std::array<unit *, 6> units = all_units();
  EXPECT_EQ((std::set<unit *>(units.begin(), units.end()).size()), 6u);
}

TEST_F(SixUnits, BindingOneLeavesTheOtherFiveAlone) {
  for (unit *bound : all_units()) {
    for (unit *each : all_units())
      *each = {};
    for (unit *each : all_units())
      each->byte_swap = 1;
    bind_general(*bound);
    bind_cache(*bound);
    EXPECT_EQ(bound_now(), (bound_halves{{bound}, {bound}}));
    for (const unit *each : all_units())
      EXPECT_EQ(each->byte_swap, each == bound ? 0u : 1u);
  }
}

TEST_F(SixUnits, PackBindsTheCacheHalfOfTheSendUnit) {
  packed_routes();
  EXPECT_EQ(bound_now(), (bound_halves{{}, {fib6_send}}));
  const ttl_setting setting{};
  uint8_t bytes[64];
  uint32_t length = sizeof bytes;
  EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__pack(&setting, bytes, &length), 0u);
  EXPECT_EQ(bound_now(), (bound_halves{{}, {fib6_send, cfg_send}}));
  EXPECT_EQ(wrapped_dlsym::look_ups(),
            (wrapped_dlsym::counts{{use_flag_name, 2}, {cache_alloc_name, 2}, {mem_free_name, 2}}));
}

TEST_F(SixUnits, ARefusedPackBindsNothing) {
  const route_update record{1, 0, nullptr};
  const ttl_setting setting{};
  uint8_t bytes[64];
  uint32_t length = 10;
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__pack(nullptr, bytes, &length), 0xFFFFFFFFu);
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__pack(&record, bytes, &length), 0xFFFFFFFFu);
  EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__pack(nullptr, bytes, &length), 0xFFFFFFFFu);
  EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__pack(&setting, bytes, &length), 0xFFFFFFFFu);
  EXPECT_EQ(bound_now(), bound_halves{});
  EXPECT_TRUE(wrapped_dlsym::look_ups().empty());
}

TEST_F(SixUnits, ASizeQueryBindsTheGeneralHalfOfTheSendUnitForItsLogLine) {
  const route_update record{1, 0, nullptr};
  uint32_t length = 64;
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__pack(&record, nullptr, &length), 0u);
  EXPECT_EQ(length, 20u);
  EXPECT_EQ(bound_now(), (bound_halves{{fib6_send}, {}}));
  const ttl_setting setting{};
  length = 64;
  EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__pack(&setting, nullptr, &length), 0u);
  EXPECT_EQ(length, 46u);
  EXPECT_EQ(bound_now(), (bound_halves{{fib6_send, cfg_send}, {}}));

  const std::vector<fake_osal::log_line> lines = fake_osal::log_lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].function, "feiBrokerFib6_ipv6FwdUpdateMsg_pack");
  EXPECT_EQ(lines[1].function, "fib6_cfg_cfg_ipv6_ttl_expired_forward_pack");
  for (const fake_osal::log_line &line : lines) {
    EXPECT_EQ(line.module_name, "VARKO");
    EXPECT_EQ(line.submodule_name, "VARKO_TOLVIAN_SERIAL");
    EXPECT_EQ(line.mem_module_id, 25088u);
    EXPECT_EQ(line.level, 2u);
    EXPECT_EQ(line.category, 22u);
    EXPECT_EQ(line.text, "");
    EXPECT_EQ(line.format, "[VARKO]:Param invalid(%s, %u, %s)");
    EXPECT_EQ(line.message, "[VARKO]:Param invalid(null, 64, nonNull)");
  }
  EXPECT_NE(lines[0].line, 0u);
}

TEST_F(SixUnits, UnpackBindsTheCacheHalfOfTheReceiveUnit) {
  const std::vector<uint8_t> bytes = packed_routes();
  mesh_fib6::fib6::send_unit = {};
  wrapped_dlsym::reset();
  fake_osal::reset();

  route_update record{};
  const auto size = static_cast<uint32_t>(bytes.size());
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__unpack(bytes.data(), size, &record), 16u);
  EXPECT_EQ(record.f1_count, 2u);
  EXPECT_EQ(bound_now(), (bound_halves{{}, {fib6_recv}}));
  EXPECT_EQ(wrapped_dlsym::look_ups(), cache_look_ups);
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
  EXPECT_EQ(bound_now(), (bound_halves{{}, {fib6_recv}}));

  using enum fake_osal::call_kind;
  const std::vector<fake_osal::call> calls = fake_osal::calls();
  ASSERT_EQ(calls.size(), 3u);
  void *block = calls[1].block;
  EXPECT_EQ(calls[0], (fake_osal::call{use_flag_get, 0, 12, "", nullptr}));
  EXPECT_EQ(calls[1], (fake_osal::call{cache_alloc, 112, 12,
                                       "feiBrokerFib6_ipv6FwdUpdateMsg_unpack", block}));
  EXPECT_EQ(calls[2], (fake_osal::call{free, 112, 12,
                                       "feiBrokerFib6_ipv6FwdUpdateMsg_free_unpacked", block}));
}

TEST_F(SixUnits, ARefusedUnpackBindsTheGeneralHalfOfTheReceiveUnitForItsLogLine) {
  ttl_setting setting{};
  EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__unpack(nullptr, 0, &setting), 32u);
  EXPECT_EQ(bound_now(), (bound_halves{{cfg_recv}, {}}));
  EXPECT_EQ(wrapped_dlsym::look_ups(), general_look_ups);
  EXPECT_EQ(fake_osal::log_lines().size(), 1u);
}

TEST_F(SixUnits, ReleasingABlockBindsTheCacheHalfOfTheReceiveUnit) {
  fake_osal::set_use_flag(0);
  route_update record{};
  record.f1_count = 1;
  record.f1 = static_cast<feiBrokerFib6_ipv6Fwd *>(malloc(sizeof *record.f1));
  feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&record);
  EXPECT_EQ(bound_now(), (bound_halves{{}, {fib6_recv}}));
  EXPECT_EQ(record.f1, nullptr);
}

TEST_F(SixUnits, ReleasingAFlatRecordBindsNothing) {
  ttl_setting setting{1, 2, 3, 4, {5, 6, 7, 8}};
  const ttl_setting before = setting;
  fib6_cfg_cfg_ipv6_ttl_expired_forward_free__unpacked(&setting);
  EXPECT_EQ(memcmp(&setting, &before, sizeof before), 0);
  EXPECT_EQ(bound_now(), bound_halves{});
}

TEST_F(SixUnits, ATreeSendBindsBothHalvesOfTheSendUnit) {
  const route_update record{1, 0, nullptr};
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__sendsingle(1, &record, 0, 0), 0u);
  EXPECT_EQ(bound_now(), (bound_halves{{fib6_send}, {fib6_send}}));
}

TEST_F(SixUnits, AnEmptyBatchBindsTheGeneralHalfOnly) {
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__sendbatch(1, nullptr, 0, 0), 0u);
  EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__sendbatch(1, nullptr, 0, 0), 0u);
  EXPECT_EQ(bound_now(), (bound_halves{{fib6_send, cfg_send}, {}}));
}

TEST_F(SixUnits, ASendThatNeedsNoServiceBindsNothing) {
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__sendsingle(1, nullptr, 0, 0), 0xFFFFFFFFu);
  EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg(1, nullptr, 0), 0xFFFFFFFFu);
  EXPECT_EQ(feiBrokerFib6_pidStateMsg__sendtomsg(1, nullptr, 0, 1), 0xFFFFFFFFu);
  EXPECT_EQ(bound_now(), bound_halves{});
}

TEST_F(SixUnits, RegistrationBindsNothing) {
  fib6_recv_init();
  fib6_send_init();
  fib6__send_resource_clean();
  fib6_cfg_recv_init();
  fib6_cfg_send_init();
  fib6_cfg__send_resource_clean();
  fib6_sync_recv_init();
  fib6_sync_send_init();
  fib6_sync__send_resource_clean();
  EXPECT_EQ(bound_now(), bound_halves{});
  EXPECT_TRUE(wrapped_dlsym::look_ups().empty());
}

TEST_F(SixUnits, FirstCallsOfAllKindsRacingBindEachHalfOnce) {
  constexpr size_t threads = 16;
  const std::vector<uint8_t> bytes = packed_routes();
  for (int round = 0; round < 10; ++round) {
    SixUnits::SetUp();
    race(threads, [&](size_t t) {
      const route_update routes{1, 0, nullptr};
      const ttl_setting setting{};
      route_update decoded{};
      uint32_t length = 64;
      switch (t % 4) {
      case 0:
        EXPECT_EQ(packed_routes(), bytes);
        break;
      case 1:
        feiBrokerFib6_ipv6FwdUpdateMsg__unpack(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                               &decoded);
        EXPECT_EQ(decoded.f1_count, 2u);
        feiBrokerFib6_ipv6FwdUpdateMsg_free__unpacked(&decoded);
        break;
      case 2:
        EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__sendsingle(1, &routes, 0, 0), 0u);
        EXPECT_EQ(fib6_cfg_cfg_ipv6_ttl_expired_forward__sendbatch(1, &setting, 1, 0), 0u);
        break;
      default:
        EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__pack(&routes, nullptr, &length), 0u);
        EXPECT_EQ(feiBrokerFib6_ipv6FwdUpdateMsg__unpack(nullptr, 0, &decoded), 16u);
        break;
      }
    });
    EXPECT_EQ(bound_now(),
              (bound_halves{{fib6_send, fib6_recv, cfg_send}, {fib6_send, fib6_recv, cfg_send}}));
    EXPECT_EQ(wrapped_dlsym::look_ups(), (wrapped_dlsym::counts{{log_write_name, 3},
                                                                {mem_alloc_name, 3},
                                                                {mem_free_name, 6},
                                                                {use_flag_name, 3},
                                                                {cache_alloc_name, 3}}));
    EXPECT_EQ(fake_osal::log_lines().size(), 2 * threads / 4);
  }
}

} // namespace
