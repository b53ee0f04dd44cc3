// What the module entry points tell the mesh.
//
// Room: tests. Public headers only, so that the same cases run against the objects and against the
// shared library as it ships.
#include "tests/catalogue/catalogue.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/fake_osal.h"

#include <gtest/gtest.h>

#include <set>
#include <span>
#include <string_view>
#include <vector>

using catalogue::message;
using catalogue::module_row;
using catalogue::modules;

namespace {

class Registration : public ::testing::Test {
protected:
  void SetUp() override {
    fake_osal::reset();
    fake_mesh::reset();
  }
};

void expect_offered(std::span<const message> messages, size_t count) {
  const std::vector<fake_mesh::registration> offered = fake_mesh::registrations();
  ASSERT_EQ(offered.size(), count);
  for (size_t i = 0; i < count; ++i) {
    SCOPED_TRACE(messages[i].name);
    EXPECT_EQ(offered[i].id, messages[i].id);
    EXPECT_EQ(offered[i].unpack, messages[i].unpack);
    EXPECT_EQ(offered[i].release, messages[i].release);
  }
}

TEST_F(Registration, RecvInitOffersEveryMessageOfItsModuleInOrder) {
  for (const module_row &module : modules) {
    SCOPED_TRACE(module.name);
    fake_mesh::reset();
    EXPECT_EQ(module.recv_init(), 0u);
    expect_offered(module.messages, module.messages.size());
    EXPECT_TRUE(fake_mesh::clean_hooks().empty());
  }
}

TEST_F(Registration, ARefusalAtAnyPositionEndsTheRegistrationAndIsReturned) {
  for (const module_row &module : modules)
    for (uint32_t refused = 1; refused <= module.messages.size(); ++refused)
      for (const uint32_t code : {1u, 0x4D480007u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(module.name);
        fake_mesh::reset();
        fake_mesh::refuse_registration(refused, code);
        EXPECT_EQ(module.recv_init(), code);
        expect_offered(module.messages, refused);
      }
}

TEST_F(Registration, ARefusedDiagnosticQueryLeavesItsAnswerAndAllLaterMessagesUnoffered) {
  fake_mesh::refuse_registration(3, 0x4D480007);
  EXPECT_EQ(fib6_cfg_recv_init(), 0x4D480007u);
  const std::vector<fake_mesh::registration> offered = fake_mesh::registrations();
  ASSERT_EQ(offered.size(), 3u);
  EXPECT_EQ(offered[0].id, 0x727C4D11u);
  EXPECT_EQ(offered[1].id, 0x8B27C60Cu);
  EXPECT_EQ(offered[2].id, 0x244EBB6Au);
}

TEST_F(Registration, RecvInitMayBeCalledAgainAndOffersEverythingAgain) {
  for (const module_row &module : modules) {
    SCOPED_TRACE(module.name);
    fake_mesh::reset();
    module.recv_init();
    EXPECT_EQ(module.recv_init(), 0u);
    EXPECT_EQ(fake_mesh::registrations().size(), 2 * module.messages.size());
  }
}

TEST_F(Registration, EveryUnpackHookTellsTheRecordSizeWhenAskedWithoutARecord) {
  const uint8_t bytes[4] = {};
  for (const module_row &module : modules) {
    module.recv_init();
    const std::vector<fake_mesh::registration> offered = fake_mesh::registrations();
    ASSERT_EQ(offered.size(), module.messages.size());
    for (size_t i = 0; i < offered.size(); ++i) {
      SCOPED_TRACE(module.messages[i].name);
      EXPECT_EQ(offered[i].unpack(bytes, sizeof bytes, nullptr), module.messages[i].record_size);
      EXPECT_EQ(offered[i].unpack(nullptr, 0, nullptr), module.messages[i].record_size);
    }
    fake_mesh::reset();
  }
}

TEST_F(Registration, EveryReleaseHookIgnoresANullRecord) {
  for (const module_row &module : modules)
    module.recv_init();
  for (const fake_mesh::registration &offered : fake_mesh::registrations())
    offered.release(nullptr);
  EXPECT_TRUE(fake_osal::calls_of(fake_osal::call_kind::free).empty());
}

TEST_F(Registration, SendInitRegistersTheModulesCleanFunctionAndReturnsTheAnswer) {
  for (const module_row &module : modules)
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
  for (const module_row &module : modules) {
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
  for (const module_row &module : modules) {
    module.recv_init();
    module.send_init();
    module.clean();
  }
  EXPECT_TRUE(fake_osal::calls().empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

TEST_F(Registration, EveryMessageOfAModuleIsOfferedOnceAndToNoOtherModule) {
  std::set<uint32_t> offered;
  for (const module_row &module : modules)
    module.recv_init();
  for (const fake_mesh::registration &registration : fake_mesh::registrations())
    EXPECT_TRUE(offered.insert(registration.id).second) << registration.id;
  for (const module_row &module : modules)
    for (const message &message : module.messages)
      EXPECT_EQ(offered.erase(message.id), 1u) << message.name;
  EXPECT_TRUE(offered.empty()) << "a message that the catalogue has no row for";
}

uint32_t fnv1a(std::string_view text) {
  uint32_t hash = 0x811C9DC5;
  for (const char c : text)
    hash = (hash ^ static_cast<uint8_t>(c)) * 0x01000193;
  return hash;
}

TEST_F(Registration, TheFirstMessageOfEachModuleIsOfferedUnderTheHashOfItsName) {
  const auto expect_first = [](uint32_t (*recv_init)(), std::string_view name, uint32_t id) {
    fake_mesh::reset();
    recv_init();
    ASSERT_FALSE(fake_mesh::registrations().empty());
    EXPECT_EQ(fake_mesh::registrations().front().id, id);
    EXPECT_EQ(fnv1a(name), id);
  };
  expect_first(fib6_recv_init, "feiBrokerFib6.ipv6FwdUpdateMsg", 0x5026A923);
  expect_first(fib6_cfg_recv_init, "fib6_cfg.query_fib6_key", 0x727C4D11);
  expect_first(fib6_sync_recv_init, "fib6Sync.svcCtxMsg", 0x43B81539);
}

TEST_F(Registration, EveryIdentifierIsTheHashOfItsNameAndDistinct) {
  std::set<uint32_t> ids;
  for (const module_row &module : modules)
    for (const message &message : module.messages) {
      EXPECT_EQ(fnv1a(message.hashed), message.id) << message.hashed;
      EXPECT_TRUE(ids.insert(message.id).second) << message.hashed;
    }
}

} // namespace
