// What becomes of messages when the machine has no memory left: each allocation of a send, and of
// taking a first packet, is made to fail in turn.
//
// Room: tests. The executable's operator new is also the development host's.
#include "mesh_fixture.h"
#include "nats_server.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <new>
#include <sstream>

namespace {

// Counted down at each allocation of this thread, or of all threads but this one; at 0 it fails.
thread_local bool is_counted = false;
std::atomic<bool> others_are_counted{false};
std::atomic<long> left{-1};
std::atomic<bool> has_failed{false};

bool fails_now() {
  if (is_counted == others_are_counted || left.load() < 0 || left.fetch_sub(1) != 0)
    return false;
  has_failed = true;
  return true;
}

// While it lives, the allocation with this index fails.
class failing_allocation {
public:
  explicit failing_allocation(long index, bool of_others = false) {
    is_counted = true;
    others_are_counted = of_others;
    left = index;
  }
  ~failing_allocation() {
    left = -1;
    others_are_counted = is_counted = false;
  }
  failing_allocation(const failing_allocation &) = delete;
  failing_allocation &operator=(const failing_allocation &) = delete;
};

// A message that costs its users no allocation.
constexpr uint32_t plain_id = 0x5A5A0003;

uint32_t unpack_plain(const void *buffer, uint32_t length, void *record) {
  if (record != nullptr && length >= sizeof(uint32_t))
    memcpy(record, buffer, sizeof(uint32_t));
  return sizeof(uint32_t);
}

uint32_t send_number(uint32_t number) {
  const msg_desc message{&number, plain_id, sizeof number};
  return static_cast<uint32_t>(MESH_SendMsg(destination, &message, 1));
}

struct numbers {
  uint32_t seen[64];
  size_t count = 0;
  bool ended = false; // a poll said that there is no going on

  bool has(uint32_t number) const {
    for (size_t i = 0; i < count; i++)
      if (seen[i] == number)
        return true;
    return false;
  }
};

// Polls until this number comes, at most ten seconds.
void collect_until(mesh_host_receiver *from, uint32_t last, numbers &into) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!into.has(last) && !into.ended && std::chrono::steady_clock::now() < end)
    into.ended = mesh_host_poll(
                     from, 100,
                     [](void *context, uint32_t, uint64_t, const void *record, uint32_t) {
                       auto &known = *static_cast<numbers *>(context);
                       if (known.count < std::size(known.seen))
                         memcpy(&known.seen[known.count++], record, sizeof(uint32_t));
                     },
                     &into) < 0;
}

std::string text_of(const numbers &all) {
  std::ostringstream text;
  for (size_t i = 0; i < all.count; i++)
    text << all.seen[i] << ' ';
  if (all.ended)
    text << "ended";
  return text.str();
}

constexpr long most_allocations = 200;

class MemoryShortage : public MeshTest {
protected:
  void SetUp() override {
    MeshTest::SetUp();
    ASSERT_EQ(MESH_RegIDLFuncHook(plain_id, unpack_plain, [](void *) {}), 0U);
  }
};

TEST_F(MemoryShortage, AtAnyAllocationOfAFirstSendRefusesItAndHandsOverNothingOfIt) {
  long index = 0;
  for (bool failed = true; failed; index++) {
    ASSERT_LT(index, most_allocations);
    SCOPED_TRACE(index);
    child receiver([](conversation &parent) {
      mesh_host_receiver *handle = nullptr;
      if (mesh_host_attach(destination, &handle) != 0)
        return 1;
      parent.say("attached");
      numbers all;
      collect_until(handle, 1, all);
      parent.say(text_of(all));
      mesh_host_detach(handle);
      return 0;
    });
    ASSERT_EQ(receiver.talk().hear(), "attached");
    child sender([index](conversation &parent) {
      uint32_t result = 0;
      {
        const failing_allocation now(index);
        result = send_number(0);
      }
      const bool went_on = send_number(1) == MESH_HOST_OK;
      parent.say(std::string(has_failed ? "failed " : "whole ") + std::to_string(result) +
                 (went_on ? " on" : " stuck"));
      return mesh_host_flush(destination, 10'000) == MESH_HOST_OK ? 0 : 1;
    });
    const std::string told = sender.talk().hear();
    failed = told.starts_with("failed");
    const std::string got = receiver.talk().hear();
    if (told.ends_with(" 0 on"))
      EXPECT_EQ(got, "0 1 ") << told;
    else
      EXPECT_EQ(told + ": " + got, "failed " + std::to_string(MESH_HOST_SYSTEM) + " on: 1 ");
    EXPECT_EQ(sender.wait(), 0);
  }
  EXPECT_GT(index, 3) << "nothing was allocated, nothing could fail";
}

TEST_F(MemoryShortage, AtAnyAllocationForAFirstPacketTellsTheSenderAndGoesOn) {
  long index = 0;
  for (bool failed = true; failed; index++) {
    ASSERT_LT(index, most_allocations);
    SCOPED_TRACE(index);
    child receiver([index](conversation &parent) {
      mesh_host_receiver *handle = nullptr;
      if (mesh_host_attach(destination, &handle) != 0)
        return 1;
      parent.say("attached");
      numbers all;
      {
        const failing_allocation now(index);
        collect_until(handle, 1, all);
      }
      parent.say((has_failed ? "failed: " : "whole: ") + text_of(all));
      mesh_host_detach(handle);
      return 0;
    });
    ASSERT_EQ(receiver.talk().hear(), "attached");
    child sender([](conversation &parent) {
      bool was_told = false;
      const auto is_good = [&was_told](uint32_t result) {
        was_told = was_told || result == MESH_HOST_PEER_LOST;
        return result == MESH_HOST_OK;
      };
      is_good(send_number(0));
      is_good(mesh_host_flush(destination, 10'000));
      while (!is_good(send_number(1)) && was_told)
        ;
      parent.say(was_told ? "told" : "not told");
      return mesh_host_flush(destination, 10'000) == MESH_HOST_OK ? 0 : 1;
    });
    const std::string told = sender.talk().hear();
    const std::string got = receiver.talk().hear();
    failed = got.starts_with("failed");
    if (told == "told")
      EXPECT_TRUE(got == "failed: 1 " || got == "failed: 0 1 ") << got;
    else
      EXPECT_EQ(got, failed ? "failed: 0 1 " : "whole: 0 1 ");
    EXPECT_EQ(sender.wait(), 0);
  }
  EXPECT_GT(index, 3) << "nothing was allocated, nothing could fail";
}

TEST_F(MemoryShortage, WhereAServersPacketIsKeptIsADelay) {
  const auto server = std::make_unique<nats_server>(scratch + "/nats");
  server->start();
  std::ofstream(scratch + "/mesh.conf") << "destination * " << server->url() << " storage=file";
  set_variable("MESH_HOST_CONFIG", scratch + "/mesh.conf");
  child receiver([](conversation &parent) {
    mesh_host_receiver *handle = nullptr;
    if (mesh_host_attach(destination, &handle) != 0)
      return 1;
    numbers all;
    const failing_allocation now(2, true);
    parent.say("attached");
    collect_until(handle, 19, all);
    parent.say((has_failed ? "failed: " : "whole: ") + text_of(all));
    mesh_host_detach(handle);
    return 0;
  });
  ASSERT_EQ(receiver.talk().hear(), "attached");
  child sender([](conversation &) {
    for (uint32_t number = 0; number < 20; number++)
      if (send_number(number) != MESH_HOST_OK)
        return 1;
    return mesh_host_flush(destination, 20'000) == MESH_HOST_OK ? 0 : 2;
  });
  EXPECT_EQ(receiver.talk().hear(), "failed: 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 ");
  EXPECT_EQ(sender.wait(), 0);
}

} // namespace

void *operator new(size_t size) {
  void *const block = fails_now() ? nullptr : malloc(size);
  if (block == nullptr)
    throw std::bad_alloc();
  return block;
}
void operator delete(void *block) noexcept {
  free(block);
}
void operator delete(void *block, size_t) noexcept {
  free(block);
}
