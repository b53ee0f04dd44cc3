// The OSAL stand-in's books and its log line.
//
// Room: tests.
#include "captured_stderr.h"
#include "host/osal_host.h"
#include "platform/osal.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint32_t module = 25088;

osal_host_accounts accounts() {
  osal_host_accounts now{};
  osal_host_get_accounts(&now);
  return now;
}

TEST(Osal, KeepsBooksOfLiveBlocksAndTheirPeak) {
  void *first = VRX_OsalMemAlloc(100, module, "one");
  void *second = VRX_OsalMemCacheAlloc(50, 12, "two");
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  memset(first, 1, 100);
  memset(second, 2, 50);
  EXPECT_EQ(accounts().live_blocks, 2U);
  EXPECT_EQ(accounts().live_bytes, 150U);
  VRX_OsalMemFree(first, module, "one");
  EXPECT_EQ(accounts().live_blocks, 1U);
  EXPECT_EQ(accounts().live_bytes, 50U);
  VRX_OsalMemFree(second, 12, "two");
  const osal_host_accounts now = accounts();
  EXPECT_EQ(now.live_blocks, 0U);
  EXPECT_EQ(now.live_bytes, 0U);
  EXPECT_EQ(now.peak_blocks, 2U);
  EXPECT_EQ(now.peak_bytes, 150U);
  EXPECT_EQ(now.allocations, 2U);
  EXPECT_EQ(now.releases, 2U);
  EXPECT_EQ(now.wrong_releases, 0U);
}

TEST(Osal, CountsASecondReleaseAndLeavesTheHeapAlone) {
  const captured_stderr told;
  void *block = VRX_OsalMemAlloc(100, module, "one");
  VRX_OsalMemFree(block, module, "one");
  VRX_OsalMemFree(block, module, "again");
  EXPECT_EQ(accounts().wrong_releases, 1U);
  EXPECT_EQ(accounts().releases, 1U);
  EXPECT_NE(told.text().find("released before, module 25088, again"), std::string::npos)
      << told.text();
}

TEST(Osal, CountsTheReleaseOfAnUnknownAddressWithoutTouchingIt) {
  const captured_stderr told;
  int on_the_stack = 7;
  VRX_OsalMemFree(&on_the_stack, module, "stranger");
  VRX_OsalMemFree(reinterpret_cast<void *>(uintptr_t{16}), module, "stranger");
  EXPECT_EQ(accounts().wrong_releases, 2U);
  EXPECT_EQ(on_the_stack, 7);
  EXPECT_NE(told.text().find("never allocated here"), std::string::npos) << told.text();
}

TEST(Osal, CountsTheReleaseForAnotherModuleAndGivesTheBlockBack) {
  const captured_stderr told;
  void *block = VRX_OsalMemCacheAlloc(100, 12, "decoder");
  VRX_OsalMemFree(block, module, "sender");
  EXPECT_EQ(accounts().wrong_releases, 1U);
  EXPECT_EQ(accounts().live_blocks, 0U);
  EXPECT_NE(told.text().find("allocated for module 12, released for module 25088"),
            std::string::npos)
      << told.text();
}

TEST(Osal, GivesAnEmptyBlockAnAddressOfItsOwn) {
  void *empty = VRX_OsalMemAlloc(0, module, "empty");
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(accounts().live_blocks, 1U);
  VRX_OsalMemFree(empty, module, "empty");
  EXPECT_EQ(accounts().wrong_releases, 0U);
}

TEST(Osal, IgnoresTheReleaseOfNothing) {
  VRX_OsalMemFree(nullptr, module, "nothing");
  EXPECT_EQ(accounts().wrong_releases, 0U);
  EXPECT_EQ(accounts().releases, 0U);
}

TEST(Osal, KeepsItsBooksAmongManyThreads) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; i++)
    threads.emplace_back([] {
      for (uint32_t round = 0; round < 500; round++) {
        void *blocks[10];
        for (void *&block : blocks)
          block = VRX_OsalMemAlloc(round, module, "thread");
        for (void *block : blocks)
          VRX_OsalMemFree(block, module, "thread");
      }
    });
  for (std::thread &thread : threads)
    thread.join();
  const osal_host_accounts now = accounts();
  EXPECT_EQ(now.allocations, 20'000U);
  EXPECT_EQ(now.releases, 20'000U);
  EXPECT_EQ(now.live_blocks, 0U);
  EXPECT_EQ(now.live_bytes, 0U);
  EXPECT_GE(now.peak_blocks, 10U);
  EXPECT_LE(now.peak_blocks, 40U);
}

TEST(Osal, AnswersOneForTheCacheModuleOnly) {
  EXPECT_EQ(VRX_OsalMemUseFlagGet(12), 1U);
  EXPECT_EQ(VRX_OsalMemUseFlagGet(25088), 0U);
}

TEST(Osal, AnswersWhatTheEnvironmentSays) {
  setenv("OSAL_HOST_USE_FLAG", "2", 1);
  EXPECT_EQ(VRX_OsalMemUseFlagGet(12), 2U);
  EXPECT_EQ(VRX_OsalMemUseFlagGet(25088), 0U);
}

struct descriptor {
  const char *module_name;
  const char *submodule_name;
  uint32_t memory_module;
};
constexpr descriptor names{"VARKO", "VARKO_TOLVIAN_SERIAL", 25088};

TEST(Osal, WritesALogLineWithItsOrigin) {
  const captured_stderr told;
  VRX_OsalLogWrite(&names, 2, 22, "", 123, "some_function", "[VARKO]:Param invalid(%s, %u, %s)",
                   "nonNull", 4U, "null");
  EXPECT_EQ(told.text(), "VARKO/VARKO_TOLVIAN_SERIAL level 2 category 22 some_function:123: "
                         "[VARKO]:Param invalid(nonNull, 4, null)\n");
  EXPECT_EQ(accounts().log_lines, 1U);
}

TEST(Osal, HoldsTheLinesOfOneThreadBackAndStillCountsThem) {
  osal_host_accounts before, after;
  osal_host_get_accounts(&before);
  const captured_stderr told;
  osal_host_hold_log(1);
  VRX_OsalLogWrite(nullptr, 2, 22, "", 7, "held", "x");
  std::thread([] { VRX_OsalLogWrite(nullptr, 2, 22, "", 7, "other_thread", "x"); }).join();
  osal_host_hold_log(0);
  VRX_OsalLogWrite(nullptr, 2, 22, "", 7, "later", "x");
  osal_host_get_accounts(&after);
  const std::string text = told.text();
  EXPECT_EQ(text.find("held"), std::string::npos);
  EXPECT_NE(text.find("other_thread"), std::string::npos);
  EXPECT_NE(text.find("later"), std::string::npos);
  EXPECT_EQ(after.log_lines - before.log_lines, 3U);
}

TEST(Osal, SurvivesALogCallWithoutNames) {
  const captured_stderr told;
  VRX_OsalLogWrite(nullptr, 2, 22, nullptr, 1, nullptr, "text");
  EXPECT_EQ(told.text(), "-/- level 2 category 22 -:1: text\n");
}

TEST(Osal, KeepsLinesOfSeveralThreadsWhole) {
  const captured_stderr told;
  std::vector<std::thread> threads;
  for (uint32_t i = 0; i < 4; i++)
    threads.emplace_back([=] {
      for (int round = 0; round < 100; round++)
        VRX_OsalLogWrite(&names, 2, 22, "", i, "thread", "%0100u", i);
    });
  for (std::thread &thread : threads)
    thread.join();
  EXPECT_EQ(accounts().log_lines, 400U);
  std::vector<std::string> whole;
  for (uint32_t i = 0; i < 4; i++)
    whole.push_back("VARKO/VARKO_TOLVIAN_SERIAL level 2 category 22 thread:" + std::to_string(i) +
                    ": " + std::string(99, '0') + std::to_string(i));
  std::istringstream lines(told.text());
  int count = 0;
  for (std::string line; std::getline(lines, line); count++)
    EXPECT_NE(std::find(whole.begin(), whole.end(), line), whole.end()) << line;
  EXPECT_EQ(count, 400);
}

TEST(Osal, WritesItsBooksWhenTheProcessEndsAndTheEnvironmentAsksForThem) {
  setenv("OSAL_HOST_REPORT", "1", 1);
  const captured_stderr told;
  const pid_t process = fork();
  if (process == 0) {
    VRX_OsalMemFree(VRX_OsalMemAlloc(70, module, "short"), module, "short");
    const void *left = VRX_OsalMemAlloc(50, module, "left");
    exit(left != nullptr ? 0 : 1);
  }
  int status = -1;
  waitpid(process, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_NE(told.text().find("2 allocations, peak 1 blocks 70 bytes, left 1 blocks 50 bytes, 0 "
                             "wrong releases, 0 log lines"),
            std::string::npos)
      << told.text();
}

// The address sanitizer's own heap does not survive a fork while another thread is inside it.
#ifndef __SANITIZE_ADDRESS__

// Uses every part of the books in a forked child: blocks of every shard, old ones and new ones.
[[noreturn]] void be_busy_child(const std::vector<void *> &inherited) {
  for (void *block : inherited)
    VRX_OsalMemFree(block, module, "inherited");
  void *blocks[64];
  for (void *&block : blocks)
    block = VRX_OsalMemAlloc(48, module, "child");
  for (void *block : blocks)
    VRX_OsalMemFree(block, module, "child");
  osal_host_hold_log(1);
  VRX_OsalLogWrite(&names, 2, 22, "", 1, "child", "text");
  _exit(accounts().wrong_releases == 0 ? 0 : 1);
}

// The child's status; a child that takes longer than ten seconds is ended and gives SIGKILL.
int status_of(pid_t child) {
  int status = -1;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > end)
      kill(child, SIGKILL);
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  return status;
}

TEST(Osal, ServesAChildForkedWhileOtherThreadsAllocateAndRelease) {
  constexpr int forks = 30;
  std::vector<void *> inherited;
  for (int i = 0; i < 64; i++)
    inherited.push_back(VRX_OsalMemAlloc(48, module, "parent"));
  std::atomic<bool> over{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; i++)
    threads.emplace_back([&] {
      while (!over)
        VRX_OsalMemFree(VRX_OsalMemAlloc(48, module, "thread"), module, "thread");
    });
  for (int i = 0; i < forks && !testing::Test::HasFailure(); i++) {
    const pid_t child = fork();
    if (child == 0)
      be_busy_child(inherited);
    EXPECT_EQ(status_of(child), 0) << "child " << i << " of " << forks;
  }
  over = true;
  for (std::thread &thread : threads)
    thread.join();
  for (void *block : inherited)
    VRX_OsalMemFree(block, module, "parent");
  EXPECT_EQ(accounts().live_blocks, 0U);
  EXPECT_EQ(accounts().wrong_releases, 0U);
}

#endif

TEST(Osal, CutsALineThatIsTooLong) {
  const captured_stderr told;
  const std::string long_text(5000, 'x');
  VRX_OsalLogWrite(&names, 2, 22, "", 1, "f", "%s", long_text.c_str());
  EXPECT_LT(told.text().size(), 2048U);
  EXPECT_EQ(told.text().back(), '\n');
}

} // namespace
