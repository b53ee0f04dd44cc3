// Children of fork(): of a process whose units are bound, and of one that forks while another of
// its threads is in the middle of a first binding.
//
// Room: tests. Fresh units; look-ups can be held up. A child says by its exit status how it fared:
// what it would report otherwise belongs to the parent.
#include "modules/fib6/units.h"
#include "modules/fib6_cfg/units.h"
#include "modules/fib6_sync/units.h"
#include "platform/osal.h"
#include "runtime/unit.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/random_record.h"
#include "tools/descriptors.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace mesh_fib6::runtime;
using mesh_fib6::tools::message_descriptor;

namespace {

// A thread that looks this name up stops there until it is let go.
class held_look_up {
public:
  static void pass(const char *name) {
    std::unique_lock<std::mutex> held(lock_);
    if (held_name_ != name)
      return;
    is_there_ = true;
    changed_.notify_all();
    changed_.wait(held, [] { return held_name_.empty(); });
  }
  static void hold(const char *name) {
    const std::lock_guard<std::mutex> held(lock_);
    held_name_ = name, is_there_ = false;
  }
  // Only for the thread that then forks: the child must be able to take the lock.
  static std::unique_lock<std::mutex> wait_until_there() {
    std::unique_lock<std::mutex> held(lock_);
    changed_.wait(held, [] { return is_there_; });
    return held;
  }
  static void let_go() { held_name_.clear(), changed_.notify_all(); }

private:
  static inline std::mutex lock_;
  static inline std::condition_variable changed_;
  static inline std::string held_name_;
  static inline bool is_there_ = false;
};

} // namespace

extern "C" {

void VRX_OsalLogWrite(const void *, uint32_t, uint32_t, const char *, uint32_t, const char *,
                      const char *, ...) {}
void *VRX_OsalMemAlloc(uint32_t size, uint32_t, const char *) {
  return malloc(size);
}
void *VRX_OsalMemCacheAlloc(uint32_t size, uint32_t, const char *) {
  return malloc(size);
}
void VRX_OsalMemFree(void *block, uint32_t, const char *) {
  free(block);
}
uint32_t VRX_OsalMemUseFlagGet(uint32_t) {
  return 1;
}

void *__real_dlsym(void *handle, const char *name);
void *__wrap_dlsym(void *handle, const char *name);

void *__wrap_dlsym(void *handle, const char *name) {
  held_look_up::pass(name);
  return __real_dlsym(handle, name);
}
}

namespace {

constexpr unsigned patience = 20; // seconds until a child that hangs is ended by its own alarm

// Runs body() in a child, which tells whether it gave true.
pid_t start_child(const std::function<bool()> &body) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(patience);
    _exit(body() ? 0 : 1);
  }
  return child;
}

void expect_success(pid_t child) {
  ASSERT_GT(child, 0);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_FALSE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) << "the child hangs";
  EXPECT_EQ(status, 0);
}

std::array<unit *, 6> all_units() {
  return {&mesh_fib6::fib6::recv_unit,      &mesh_fib6::fib6::send_unit,
          &mesh_fib6::fib6_cfg::recv_unit,  &mesh_fib6::fib6_cfg::send_unit,
          &mesh_fib6::fib6_sync::recv_unit, &mesh_fib6::fib6_sync::send_unit};
}

bool is_bound_to_the_osal(const unit &unit) {
  return unit.runtime.bound == 1 && unit.runtime.log_write == &VRX_OsalLogWrite &&
         unit.runtime.mem_alloc == &VRX_OsalMemAlloc && unit.runtime.mem_free == &VRX_OsalMemFree &&
         unit.runtime.cache_bound == 1 && unit.runtime.cache_alloc == &VRX_OsalMemCacheAlloc &&
         unit.runtime.cache_free == &VRX_OsalMemFree;
}

void bind_both(unit &unit) {
  bind_general(unit);
  bind_cache(unit);
}

// Packs, unpacks, releases and sends a record. False when what comes back is another one.
bool makes_the_round(const message_descriptor &message) {
  random_record::generator random(message.id);
  const random_record::owned_record record = random_record::make(*message.table, random, {});
  std::vector<uint8_t> packed(8192);
  auto length = static_cast<uint32_t>(packed.size());
  if (message.pack(record.get(), packed.data(), &length) != 0)
    return false;
  guarded_buffer decoded(message.record_size);
  message.unpack(packed.data(), length, decoded.data());
  const bool same = random_record::difference(*message.table, record.get(), decoded.data()).empty();
  message.free_unpacked(decoded.data());
  return same && message.sendsingle(1, record.get(), 0, 0) == 0 &&
         message.sendbatch(1, record.get(), 1, 2) == 0;
}

bool make_the_round_with_all() {
  bool all = true;
  mesh_fib6::tools::for_each_message(
      [&all](const message_descriptor &message) { all = makes_the_round(message) && all; });
  return all;
}

TEST(Fork, AChildOfAProcessWhoseUnitsAreBoundUsesEveryMessage) {
  ASSERT_TRUE(make_the_round_with_all());
  expect_success(start_child(make_the_round_with_all));
  EXPECT_TRUE(make_the_round_with_all());
}

TEST(Fork, AChildOfAProcessWhoseUnitsAreUnboundBindsThemItself) {
  for (unit *each : all_units())
    *each = {};
  expect_success(start_child(make_the_round_with_all));
  for (const unit *each : all_units())
    EXPECT_EQ(each->runtime.cache_bound, 0U);
  EXPECT_TRUE(make_the_round_with_all());
}

TEST(Fork, AGrandchildOfAProcessInWhichOneBindingIsDoneDoesTheOther) {
  unit unit;
  bind_cache(unit);
  expect_success(start_child([&unit] {
    const pid_t grandchild = start_child([&unit] {
      bind_both(unit);
      return is_bound_to_the_osal(unit);
    });
    int status = 1;
    return waitpid(grandchild, &status, 0) == grandchild && status == 0;
  }));
}

// One thread of this process is held up at each look-up of a binding, which holds the lock; the
// child binds the unit all the same, and so does the parent's thread when it goes on.
void expect_no_hang(const std::function<bool(unit &)> &in_the_child) {
  for (const char *name : {"VRX_OsalLogWrite", "VRX_OsalMemAlloc", "VRX_OsalMemFree",
                           "VRX_OsalMemUseFlagGet", "VRX_OsalMemCacheAlloc"}) {
    SCOPED_TRACE(name);
    unit unit;
    held_look_up::hold(name);
    std::thread binding([&unit] { bind_both(unit); });
    std::unique_lock<std::mutex> held = held_look_up::wait_until_there();
    const pid_t child = start_child([&] {
      held_look_up::let_go();
      held.unlock();
      return in_the_child(unit);
    });
    held_look_up::let_go();
    held.unlock();
    binding.join();
    EXPECT_TRUE(is_bound_to_the_osal(unit));
    expect_success(child);
  }
}

TEST(Fork, InTheMiddleOfAFirstBindingDoesNotHangTheChild) {
  expect_no_hang([](unit &unit) {
    bind_both(unit);
    return is_bound_to_the_osal(unit);
  });
}

#ifndef __SANITIZE_THREAD__ // which does not let a forked child start threads
TEST(Fork, InTheMiddleOfAFirstBindingDoesNotHangTheThreadsOfTheChild) {
  expect_no_hang([](unit &unit) {
    std::atomic<int> bound{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; i++)
      threads.emplace_back([&] {
        bind_both(unit);
        bound += is_bound_to_the_osal(unit) ? 1 : 0;
      });
    for (std::thread &thread : threads)
      thread.join();
    return bound == 4;
  });
}
#endif

} // namespace
