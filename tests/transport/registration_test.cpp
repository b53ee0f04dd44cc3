// What the module entry points tell the mesh.
//
// Room: tests. Public headers only, so that the same cases run against the objects and against the
// shared library as it ships.
#include "modules/fib6/fib6.h"
#include "modules/fib6_cfg/fib6_cfg.h"
#include "modules/fib6_sync/fib6_sync.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/fake_osal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct expected_message {
  const char *full_name; // what the identifier is a hash of
  uint32_t id;
  mesh_unpack_hook unpack;
  mesh_free_hook release;
  uint32_t record_size;
};

#define HOOKS(M)                                                                                   \
  reinterpret_cast<mesh_unpack_hook>(&M##__unpack),                                                \
      reinterpret_cast<mesh_free_hook>(&M##_free__unpacked)

struct module_entries {
  const char *name;
  uint32_t (*recv_init)();
  uint32_t (*send_init)();
  void (*clean)();
  std::vector<expected_message> messages; // in the order of registration
};

std::vector<module_entries> modules() {
  return {
      {"fib6",
       fib6_recv_init,
       fib6_send_init,
       fib6__send_resource_clean,
       {
           {"feiBrokerFib6.ipv6FwdUpdateMsg", 0x5026A923, HOOKS(feiBrokerFib6_ipv6FwdUpdateMsg),
            16},
           {"feiBrokerFib6.ipv6FwdDelMsg", 0x0B394879, HOOKS(feiBrokerFib6_ipv6FwdDelMsg), 16},
           {"feiBrokerFib6.nhp6GroupUpdateMsg", 0x12BA2120, HOOKS(feiBrokerFib6_nhp6GroupUpdateMsg),
            40},
           {"feiBrokerFib6.nhp6GroupDelMsg", 0xE0BBBCA0, HOOKS(feiBrokerFib6_nhp6GroupDelMsg), 16},
           {"feiBrokerFib6.nhp6UpdateMsg", 0x5FFC4D23, HOOKS(feiBrokerFib6_nhp6UpdateMsg), 144},
           {"feiBrokerFib6.nhp6DelMsg", 0xEE8FB479, HOOKS(feiBrokerFib6_nhp6DelMsg), 16},
           {"feiBrokerFib6.srv6SrListUpdateMsg", 0x44FD956B,
            HOOKS(feiBrokerFib6_srv6SrListUpdateMsg), 16},
           {"feiBrokerFib6.srv6SrListDelMsg", 0x03FB3FE1, HOOKS(feiBrokerFib6_srv6SrListDelMsg),
            16},
           {"feiBrokerFib6.ipv6PathMtuUpdateMsg", 0x08C4DDE3,
            HOOKS(feiBrokerFib6_ipv6PathMtuUpdateMsg), 16},
           {"feiBrokerFib6.ipv6PathMtuDelMsg", 0x6718B739, HOOKS(feiBrokerFib6_ipv6PathMtuDelMsg),
            16},
           {"feiBrokerFib6.pidStateMsg", 0x2DAF16C2, HOOKS(feiBrokerFib6_pidStateMsg), 16},
       }},
      {"fib6_cfg",
       fib6_cfg_recv_init,
       fib6_cfg_send_init,
       fib6_cfg__send_resource_clean,
       {
           {"fib6_cfg.cfg_ipv6_ttl_expired_forward", 0x863B570C,
            HOOKS(fib6_cfg_cfg_ipv6_ttl_expired_forward), 32},
       }},
      {"fib6_sync", fib6_sync_recv_init, fib6_sync_send_init, fib6_sync__send_resource_clean, {}},
  };
}

class Registration : public ::testing::Test {
protected:
  void SetUp() override {
    fake_osal::reset();
    fake_mesh::reset();
  }
};

void expect_offered(const std::vector<expected_message> &messages, size_t count) {
  const std::vector<fake_mesh::registration> offered = fake_mesh::registrations();
  ASSERT_EQ(offered.size(), count);
  for (size_t i = 0; i < count; ++i) {
    SCOPED_TRACE(messages[i].full_name);
    EXPECT_EQ(offered[i].id, messages[i].id);
    EXPECT_EQ(offered[i].unpack, messages[i].unpack);
    EXPECT_EQ(offered[i].release, messages[i].release);
  }
}

TEST_F(Registration, RecvInitOffersEveryMessageOfItsModuleInOrder) {
  for (const module_entries &module : modules()) {
    SCOPED_TRACE(module.name);
    fake_mesh::reset();
    EXPECT_EQ(module.recv_init(), 0u);
    expect_offered(module.messages, module.messages.size());
    EXPECT_TRUE(fake_mesh::clean_hooks().empty());
  }
}

TEST_F(Registration, ARefusalAtAnyPositionEndsTheRegistrationAndIsReturned) {
  for (const module_entries &module : modules())
    for (uint32_t refused = 1; refused <= module.messages.size(); ++refused)
      for (const uint32_t code : {1u, 0x4D480007u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(module.name);
        fake_mesh::reset();
        fake_mesh::refuse_registration(refused, code);
        EXPECT_EQ(module.recv_init(), code);
        expect_offered(module.messages, refused);
      }
}

TEST_F(Registration, RecvInitMayBeCalledAgainAndOffersEverythingAgain) {
  for (const module_entries &module : modules()) {
    SCOPED_TRACE(module.name);
    fake_mesh::reset();
    module.recv_init();
    EXPECT_EQ(module.recv_init(), 0u);
    EXPECT_EQ(fake_mesh::registrations().size(), 2 * module.messages.size());
  }
}

TEST_F(Registration, EveryUnpackHookTellsTheRecordSizeWhenAskedWithoutARecord) {
  const uint8_t bytes[4] = {};
  for (const module_entries &module : modules()) {
    module.recv_init();
    const std::vector<fake_mesh::registration> offered = fake_mesh::registrations();
    ASSERT_EQ(offered.size(), module.messages.size());
    for (size_t i = 0; i < offered.size(); ++i) {
      SCOPED_TRACE(module.messages[i].full_name);
      EXPECT_EQ(offered[i].unpack(bytes, sizeof bytes, nullptr), module.messages[i].record_size);
      EXPECT_EQ(offered[i].unpack(nullptr, 0, nullptr), module.messages[i].record_size);
    }
    fake_mesh::reset();
  }
}

TEST_F(Registration, EveryReleaseHookIgnoresANullRecord) {
  for (const module_entries &module : modules())
    module.recv_init();
  for (const fake_mesh::registration &offered : fake_mesh::registrations())
    offered.release(nullptr);
  EXPECT_TRUE(fake_osal::calls_of(fake_osal::call_kind::free).empty());
}

TEST_F(Registration, SendInitRegistersTheModulesCleanFunctionAndReturnsTheAnswer) {
  for (const module_entries &module : modules())
    for (const uint32_t answer : {0u, 1u, 0x4D480007u, 0xFFFFFFFFu}) {
      SCOPED_TRACE(module.name);
      fake_mesh::reset();
      fake_mesh::set_clean_result(answer);
      EXPECT_EQ(module.send_init(), answer);
      EXPECT_EQ(fake_mesh::clean_hooks(), std::vector<mesh_clean_hook>{module.clean});
      EXPECT_TRUE(fake_mesh::registrations().empty());
    }
}

TEST_F(Registration, CleaningDoesNothing) {
  for (const module_entries &module : modules()) {
    module.send_init();
    module.clean();
    module.clean();
  }
  EXPECT_TRUE(fake_osal::calls().empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
  EXPECT_TRUE(fake_mesh::sends().empty());
  EXPECT_EQ(fake_mesh::clean_hooks().size(), 3u) << "only the three send_init calls";
}

TEST_F(Registration, RegisteringAsksTheOsalForNothingAndLogsNothing) {
  fake_mesh::refuse_registration(5, 1);
  for (const module_entries &module : modules()) {
    module.recv_init();
    module.send_init();
    module.clean();
  }
  EXPECT_TRUE(fake_osal::calls().empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

uint32_t fnv1a(std::string_view text) {
  uint32_t hash = 0x811C9DC5;
  for (const char c : text)
    hash = (hash ^ static_cast<uint8_t>(c)) * 0x01000193;
  return hash;
}

TEST_F(Registration, EveryIdentifierIsTheHashOfItsNameAndDistinct) {
  std::set<uint32_t> ids;
  size_t count = 0;
  for (const module_entries &module : modules())
    for (const expected_message &message : module.messages) {
      EXPECT_EQ(fnv1a(message.full_name), message.id) << message.full_name;
      ids.insert(message.id);
      ++count;
    }
  EXPECT_EQ(count, 12u);
  EXPECT_EQ(ids.size(), count);
}

} // namespace
