// What the environment can ask of the OSAL stand-in: failures, poison, a report. It is read once in
// a process, so each case is a process of its own.
//
// Room: tests.
#include "captured_stderr.h"
#include "host/osal_host.h"
#include "platform/osal.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint32_t module = 25088;

osal_host_accounts accounts_now() {
  osal_host_accounts now{};
  osal_host_get_accounts(&now);
  return now;
}

// Whether an allocation fails; what is got goes back.
bool fails(const char *tag = "tag") {
  void *block = VRX_OsalMemAlloc(8, module, tag);
  VRX_OsalMemFree(block, module, tag);
  return block == nullptr;
}

// Which of the next `count` allocations fail, from 1.
std::vector<int> failing_of(int count, const char *tag = "tag") {
  std::vector<int> found;
  for (int i = 1; i <= count; i++)
    if (fails(tag))
      found.push_back(i);
  return found;
}

unsigned lines_with(const std::string &text, const std::string &part) {
  unsigned count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    count++;
  return count;
}

testing::AssertionResult has(const std::string &text, const std::string &part) {
  const bool found = text.find(part) != std::string::npos;
  return (found ? testing::AssertionSuccess() : testing::AssertionFailure())
         << "'" << part << "' looked for in:\n"
         << text;
}

using numbers = std::vector<int>;

TEST(OsalFault, FailsTheAllocationOfThatNumberAndNoOther) {
  setenv("OSAL_HOST_FAIL_AT", "3", 1);
  const captured_stderr told;
  EXPECT_EQ(failing_of(10), numbers{3});
  EXPECT_TRUE(has(told.text(), "osal_host: allocation 3 fails as asked: 8 bytes, module 25088, tag "
                               "(0 more since the last such line)\n"));
}

TEST(OsalFault, FailsThoseOfAListInAnyOrder) {
  setenv("OSAL_HOST_FAIL_AT", "7,2,0x4", 1);
  const captured_stderr told;
  EXPECT_EQ(failing_of(10), (numbers{2, 4, 7}));
}

TEST(OsalFault, FailsAllFromTheNumberWithAPlusOn) {
  setenv("OSAL_HOST_FAIL_AT", "2,6+,8+", 1);
  const captured_stderr told;
  EXPECT_EQ(failing_of(10), (numbers{2, 6, 7, 8, 9, 10}));
}

TEST(OsalFault, CountsAllocationsOfBothKindsTogether) {
  setenv("OSAL_HOST_FAIL_AT", "2", 1);
  const captured_stderr told;
  void *first = VRX_OsalMemAlloc(8, module, "plain");
  EXPECT_EQ(VRX_OsalMemCacheAlloc(8, 12, "cache"), nullptr);
  EXPECT_NE(first, nullptr);
  VRX_OsalMemFree(first, module, "plain");
}

TEST(OsalFault, CountsInjectedFailuresApartFromRealOnes) {
  setenv("OSAL_HOST_FAIL_AT", "1,2,4", 1);
  const captured_stderr told;
  failing_of(5);
  const osal_host_accounts now = accounts_now();
  EXPECT_EQ(now.injected_failures, 3U);
  EXPECT_EQ(now.failed_allocations, 0U);
  EXPECT_EQ(now.allocations, 2U);
  EXPECT_EQ(now.releases, 2U);
  EXPECT_EQ(now.live_blocks, 0U);
}

// The first numbers of SplitMix64 with seed 0, as its authors' program gives them: E220A839...,
// 6E789E6A..., 06C45D18..., F88BB8A8..., 1B39896A... . Those below 0x8000... are below one half.
TEST(OsalFault, FailsTheSeriesThatTheSeedGives) {
  setenv("OSAL_HOST_FAIL_PROBABILITY", "0.5", 1);
  setenv("OSAL_HOST_SEED", "0", 1);
  const captured_stderr told;
  EXPECT_EQ(failing_of(5), (numbers{2, 3, 5}));
}

// With seed 1 it begins 910A2DEC..., BEEB8DA1..., F893A2EE...: only the first is below 0x9200... .
TEST(OsalFault, FailsAnotherSeriesForAnotherSeedWhichIsOneUnlessItIsGiven) {
  setenv("OSAL_HOST_FAIL_PROBABILITY", "0.5703125", 1); // 0x92 of 0x100
  const captured_stderr told;
  EXPECT_EQ(failing_of(3), numbers{1});
}

TEST(OsalFault, FailsAlwaysWithAProbabilityOfOne) {
  setenv("OSAL_HOST_FAIL_PROBABILITY", "1", 1);
  const captured_stderr told;
  EXPECT_EQ(failing_of(200).size(), 200U);
}

TEST(OsalFault, FailsNeverWithAProbabilityOfZero) {
  setenv("OSAL_HOST_FAIL_PROBABILITY", "0", 1);
  const captured_stderr told;
  EXPECT_EQ(failing_of(200).size(), 0U);
  EXPECT_EQ(told.text(), "");
}

// The generator as it is published: it keeps a state.
unsigned below_of_series(uint64_t state, unsigned count, double probability) {
  unsigned below = 0;
  for (unsigned i = 0; i < count; i++) {
    state += 0x9E3779B97F4A7C15;
    uint64_t x = state;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EB;
    x ^= x >> 31;
    below += static_cast<double>(x >> 11) / 9007199254740992.0 < probability;
  }
  return below;
}

TEST(OsalFault, FailsAsManyAmongManyThreadsAsForOne) {
  setenv("OSAL_HOST_FAIL_PROBABILITY", "0.1", 1);
  setenv("OSAL_HOST_SEED", "42", 1);
  const captured_stderr told;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; i++)
    threads.emplace_back([] { failing_of(500); });
  for (std::thread &thread : threads)
    thread.join();
  const osal_host_accounts now = accounts_now();
  EXPECT_EQ(now.injected_failures, below_of_series(42, 2000, 0.1));
  EXPECT_GT(now.injected_failures, 150U); // 200 are to be expected
  EXPECT_LT(now.injected_failures, 250U);
  EXPECT_EQ(now.allocations + now.injected_failures, 2000U);
}

TEST(OsalFault, CountsAndFailsOnlyThoseWhoseTagHoldsTheText) {
  setenv("OSAL_HOST_FAIL_AT", "2", 1);
  setenv("OSAL_HOST_FAIL_TAG", "Update", 1);
  const captured_stderr told;
  EXPECT_EQ(failing_of(3, "DelMsg_unpack"), numbers{});
  EXPECT_EQ(failing_of(3, nullptr), numbers{});
  EXPECT_EQ(failing_of(3, "FwdUpdateMsg_unpack"), numbers{2});
}

TEST(OsalFault, TellsFailuresOnceASecondAndHowManyItDidNotTell) {
  setenv("OSAL_HOST_FAIL_AT", "1+", 1);
  const captured_stderr told;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(failing_of(100).size(), 100U);
  std::this_thread::sleep_for(std::chrono::milliseconds(1050));
  EXPECT_TRUE(fails());
  const auto seconds =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin)
          .count();
  const std::string text = told.text();
  const unsigned lines = lines_with(text, "fails as asked");
  EXPECT_GE(lines, 2U);
  EXPECT_LE(lines, 1U + static_cast<unsigned>(seconds));
  unsigned untold = 0;
  const std::string mark = "tag (";
  for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1))
    untold += static_cast<unsigned>(std::stoul(text.substr(at + mark.size())));
  EXPECT_EQ(lines + untold, 101U) << text;
}

TEST(OsalFault, GoesOnCountingInAForkedChild) {
  setenv("OSAL_HOST_FAIL_AT", "5", 1);
  const captured_stderr told;
  EXPECT_EQ(failing_of(3), numbers{});
  const pid_t child = fork();
  if (child == 0)
    _exit(failing_of(4) == numbers{2} ? 0 : 1);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(failing_of(4), numbers{2}); // the child's count is its own
}

TEST(OsalFault, DoesNothingWhenNothingIsAsked) {
  const captured_stderr told;
  EXPECT_EQ(failing_of(100), numbers{});
  EXPECT_EQ(accounts_now().injected_failures, 0U);
  EXPECT_EQ(told.text(), "");
}

TEST(OsalPoison, FillsNewBlocks) {
  setenv("OSAL_HOST_POISON", "1", 1);
  auto *block = static_cast<uint8_t *>(VRX_OsalMemAlloc(100, module, "tag"));
  ASSERT_NE(block, nullptr);
  for (int i = 0; i < 100; i++)
    ASSERT_EQ(block[i], 0xA5) << i;
  VRX_OsalMemFree(block, module, "tag");
}

TEST(OsalPoison, FillsReleasedBlocks) {
  setenv("OSAL_HOST_POISON", "1", 1);
  void *block = VRX_OsalMemAlloc(100, module, "tag");
  ASSERT_NE(block, nullptr);
  memset(block, 1, 100);
  VRX_OsalMemFree(block, module, "tag");
  // The heap has it again, and may have written to its first bytes. The kernel reads the rest, whom
  // no sanitizer stops.
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  ASSERT_EQ(syscall(SYS_write, ends[1], static_cast<uint8_t *>(block) + 40, 60), 60);
  uint8_t found[60];
  ASSERT_EQ(read(ends[0], found, sizeof found), 60);
  for (const uint8_t byte : found)
    ASSERT_EQ(byte, 0xDD);
  close(ends[0]);
  close(ends[1]);
}

TEST(OsalPoison, NoticesTheFirstOfSixteenBytesThatIsWrittenBehindTheEnd) {
  setenv("OSAL_HOST_POISON", "1", 1);
  for (unsigned behind = 1; behind <= 16; behind++) {
    const captured_stderr told;
    auto *block = static_cast<uint8_t *>(VRX_OsalMemAlloc(21, module, "spoilt"));
    ASSERT_NE(block, nullptr);
    block[20 + behind] ^= 0xFF;
    VRX_OsalMemFree(block, module, "tag");
    char expected[200];
    snprintf(
        expected, sizeof expected,
        "osal_host: written behind the end of %p, 21 bytes, module 25088, spoilt: byte %u behind "
        "it\n",
        static_cast<void *>(block), behind);
    EXPECT_EQ(told.text(), expected);
    EXPECT_EQ(accounts_now().overruns, behind);
  }
  EXPECT_EQ(accounts_now().live_blocks, 0U);
  EXPECT_EQ(accounts_now().wrong_releases, 0U);
}

TEST(OsalPoison, NoticesARowOfEqualBytesBehindTheEndWhateverTheByte) {
  setenv("OSAL_HOST_POISON", "1", 1);
  const captured_stderr told;
  for (int byte = 0; byte <= 255; byte++) {
    void *block = VRX_OsalMemAlloc(8, module, "tag");
    ASSERT_NE(block, nullptr);
    memset(block, byte, 10);
    VRX_OsalMemFree(block, module, "tag");
  }
  EXPECT_EQ(accounts_now().overruns, 256U);
}

TEST(OsalPoison, GuardsAnEmptyBlockToo) {
  setenv("OSAL_HOST_POISON", "1", 1);
  const captured_stderr told;
  auto *block = static_cast<uint8_t *>(VRX_OsalMemAlloc(0, module, "empty"));
  ASSERT_NE(block, nullptr);
  block[0] = 0;
  VRX_OsalMemFree(block, module, "empty");
  EXPECT_TRUE(has(told.text(), ", 0 bytes, module 25088, empty: byte 1 behind it\n"));
}

TEST(OsalPoison, SaysNothingOfBlocksThatAreWrittenInFull) {
  setenv("OSAL_HOST_POISON", "1", 1);
  const captured_stderr told;
  for (uint32_t size = 0; size < 100; size++) {
    void *block = VRX_OsalMemCacheAlloc(size, 12, "tag");
    ASSERT_NE(block, nullptr);
    memset(block, 0, size);
    VRX_OsalMemFree(block, 12, "tag");
  }
  EXPECT_EQ(accounts_now().overruns, 0U);
  EXPECT_EQ(accounts_now().live_bytes, 0U);
  EXPECT_EQ(accounts_now().peak_bytes, 99U); // the guard is no part of a block
  EXPECT_EQ(told.text(), "");
}

// What a child writes that allocates and ends.
template <class Body>
std::string told_by_child(Body body) {
  const captured_stderr told;
  const pid_t child = fork();
  if (child == 0) {
    body();
    exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  return told.text();
}

// Blocks that nobody releases; they stay within reach, so that a sanitizer does not find them
// first.
std::vector<void *> &left_blocks() {
  static auto *const blocks = new std::vector<void *>;
  return *blocks;
}
void leave(unsigned count, uint32_t size, uint32_t of_module, const std::string &tag) {
  for (unsigned i = 0; i < count; i++)
    left_blocks().push_back(VRX_OsalMemAlloc(size, of_module, tag.c_str()));
}

TEST(OsalReport, ListsWhatIsLeftByModuleAndTagTheMostBytesFirst) {
  setenv("OSAL_HOST_REPORT", "1", 1);
  const std::string text = told_by_child([] {
    leave(2, 10, module, "small");
    leave(3, 100, 12, "large");
    leave(1, 10, 12, "small");
    leave(1, 500, module, "released");
    VRX_OsalMemFree(left_blocks().back(), module, "released");
    left_blocks().pop_back();
  });
  EXPECT_TRUE(has(text, "osal_host: left: 3 blocks 300 bytes, module 12, large\n"
                        "osal_host: left: 2 blocks 20 bytes, module 25088, small\n"
                        "osal_host: left: 1 blocks 10 bytes, module 12, small\n"));
  EXPECT_EQ(lines_with(text, "left: "), 3U) << text;
}

TEST(OsalReport, KeepsTheTagsOfCallersThatAreGone) {
  setenv("OSAL_HOST_REPORT", "1", 1);
  const std::string text = told_by_child([] {
    std::string tag = "short-lived";
    leave(1, 10, module, tag);
    tag.assign(tag.size(), 'x');
  });
  EXPECT_TRUE(has(text, "module 25088, short-lived\n"));
}

TEST(OsalReport, EndsAfterTwentyLinesAndSaysHowManyMoreThereWouldBe) {
  setenv("OSAL_HOST_REPORT", "1", 1);
  const std::string text = told_by_child([] {
    for (unsigned i = 1; i <= 25; i++)
      leave(1, i, module, "tag" + std::to_string(i));
  });
  EXPECT_EQ(lines_with(text, " blocks "), 22U) << text; // the accounts have two
  EXPECT_TRUE(has(text, "left: 1 blocks 6 bytes, module 25088, tag6\n"
                        "osal_host: left: and 5 more modules and tags\n"));
  EXPECT_FALSE(has(text, "tag5\n"));
}

TEST(OsalReport, SaysWhatWasInjectedAndWhatWasOverrun) {
  setenv("OSAL_HOST_REPORT", "1", 1);
  setenv("OSAL_HOST_POISON", "1", 1);
  setenv("OSAL_HOST_FAIL_AT", "1,2", 1);
  const std::string text = told_by_child([] {
    failing_of(2);
    auto *block = static_cast<uint8_t *>(VRX_OsalMemAlloc(8, module, "tag"));
    block[8] = 0;
    VRX_OsalMemFree(block, module, "tag");
  });
  EXPECT_TRUE(has(text, "1 allocations, peak 1 blocks 8 bytes, left 0 blocks 0 bytes, 0 wrong "
                        "releases, 0 log lines, 0 failed and 2 injected failures, 1 overruns\n"));
}

TEST(OsalReport, IsNotGivenUnlessItIsAskedFor) {
  setenv("OSAL_HOST_REPORT", "0", 1);
  EXPECT_EQ(told_by_child([] { leave(1, 10, module, "left"); }), "");
}

struct senseless {
  const char *name, *text, *expected;
};

class OsalSetting : public testing::TestWithParam<senseless> {};

TEST_P(OsalSetting, ThatMakesNoSenseIsToldAndIgnored) {
  setenv(GetParam().name, GetParam().text, 1);
  const captured_stderr told;
  EXPECT_EQ(failing_of(20), numbers{});
  EXPECT_EQ(told.text(), std::string("osal_host: ") + GetParam().name + " is '" + GetParam().text +
                             "', expected " + GetParam().expected + "; it is ignored\n");
  EXPECT_EQ(VRX_OsalMemUseFlagGet(12), 1U);
}

constexpr char allocation_numbers[] = "numbers of allocations from 1 on, with commas between them, "
                                      "N+ for the N-th and all behind it";
constexpr char a_probability[] = "a number from 0 to 1, such as 0.01";
constexpr char a_switch[] = "0 or 1";
constexpr char a_flag[] = "a number from 0 to 4294967295";

INSTANTIATE_TEST_SUITE_P(
    Each, OsalSetting,
    testing::Values(senseless{"OSAL_HOST_FAIL_AT", "", allocation_numbers},
                    senseless{"OSAL_HOST_FAIL_AT", "0", allocation_numbers},
                    senseless{"OSAL_HOST_FAIL_AT", "3,", allocation_numbers},
                    senseless{"OSAL_HOST_FAIL_AT", "3,x,1+", allocation_numbers},
                    senseless{"OSAL_HOST_FAIL_AT", "-1", allocation_numbers},
                    senseless{"OSAL_HOST_FAIL_AT", "1++", allocation_numbers},
                    senseless{"OSAL_HOST_FAIL_AT", " 1", allocation_numbers},
                    senseless{"OSAL_HOST_FAIL_AT", "18446744073709551616", allocation_numbers},
                    senseless{"OSAL_HOST_FAIL_PROBABILITY", "1.5", a_probability},
                    senseless{"OSAL_HOST_FAIL_PROBABILITY", "50%", a_probability},
                    senseless{"OSAL_HOST_FAIL_PROBABILITY", "nan", a_probability},
                    senseless{"OSAL_HOST_FAIL_PROBABILITY", ".", a_probability},
                    senseless{"OSAL_HOST_FAIL_PROBABILITY", "", a_probability},
                    senseless{"OSAL_HOST_POISON", "yes", a_switch},
                    senseless{"OSAL_HOST_REPORT", "", a_switch},
                    senseless{"OSAL_HOST_USE_FLAG", "one", a_flag},
                    senseless{"OSAL_HOST_USE_FLAG", "4294967296", a_flag},
                    senseless{"OSAL_HOST_SEED", "42", "OSAL_HOST_FAIL_PROBABILITY beside it"},
                    senseless{"OSAL_HOST_FAIL_TAG", "unpack",
                              "OSAL_HOST_FAIL_AT or OSAL_HOST_FAIL_PROBABILITY beside it"}));

TEST(OsalSettings, AreReadOnceInAProcess) {
  const captured_stderr told;
  EXPECT_FALSE(fails());
  setenv("OSAL_HOST_FAIL_AT", "1+", 1);
  setenv("OSAL_HOST_USE_FLAG", "2", 1);
  EXPECT_FALSE(fails());
  EXPECT_EQ(VRX_OsalMemUseFlagGet(12), 1U);
}

TEST(OsalSettings, ThatMakeNoSenseDoNotHideEachOther) {
  setenv("OSAL_HOST_FAIL_AT", "x", 1);
  setenv("OSAL_HOST_FAIL_PROBABILITY", "1", 1);
  setenv("OSAL_HOST_SEED", "y", 1);
  const captured_stderr told;
  EXPECT_TRUE(fails());
  EXPECT_TRUE(has(told.text(), "OSAL_HOST_FAIL_AT is 'x'"));
  EXPECT_TRUE(has(told.text(), "OSAL_HOST_SEED is 'y', expected a number from 0 to "
                               "18446744073709551615; it is ignored\n"));
}

// Runs the program beside this one with some of its allocations failing; what it says.
std::string run_with(const std::string &variables) {
  const std::string folder = testing::TempDir() + "allocating_program." + std::to_string(getpid());
  const std::string command = "MESH_HOST_DIR=" + folder + " " + variables + " " + PROGRAM_EMULATOR +
                              " " + ALLOCATING_PROGRAM + " 2>/dev/null";
  FILE *pipe = popen(command.c_str(), "r");
  if (pipe == nullptr)
    return "not started";
  std::string text;
  char part[512];
  while (fgets(part, sizeof part, pipe) != nullptr)
    text += part;
  text += "status " + std::to_string(pclose(pipe)) + "\n";
  std::filesystem::remove_all(folder);
  return text;
}

// It decodes an update of two routes, sends a batch of three such to itself, and decodes those: a
// block for the first, one for the batch, one for each that arrives. A refused block costs the
// record its routes and leaves it the count, or the batch its sending; all else goes on, and
// nothing is left.
TEST(OsalFault, OfEachAllocationInTurnIsSurvivedByTheLibraryInARealProcess) {
  const std::string whole = "decoded 2 of 2\nsent 0\nreceived 2 of 2, 2 of 2, 2 of 2\n";
  const char *const expected[] = {
      "decoded 0 of 2\nsent 0\nreceived 2 of 2, 2 of 2, 2 of 2\n",
      "decoded 2 of 2\nsent ffffffff\nreceived nothing\n",
      "decoded 2 of 2\nsent 0\nreceived 0 of 2, 2 of 2, 2 of 2\n",
      "decoded 2 of 2\nsent 0\nreceived 2 of 2, 0 of 2, 2 of 2\n",
      "decoded 2 of 2\nsent 0\nreceived 2 of 2, 2 of 2, 0 of 2\n",
  };
  for (size_t at = 1; at <= std::size(expected); at++)
    EXPECT_EQ(run_with("OSAL_HOST_POISON=1 OSAL_HOST_FAIL_AT=" + std::to_string(at)),
              std::string(expected[at - 1]) +
                  "injected 1, left 0, wrong releases 0, overruns 0\nstatus 0\n")
        << "allocation " << at;
  EXPECT_EQ(run_with("OSAL_HOST_POISON=1 OSAL_HOST_FAIL_AT=6"),
            whole + "injected 0, left 0, wrong releases 0, overruns 0\nstatus 0\n");
  EXPECT_EQ(run_with("OSAL_HOST_FAIL_AT=1+"),
            "decoded 0 of 2\nsent ffffffff\nreceived nothing\n"
            "injected 2, left 0, wrong releases 0, overruns 0\nstatus 0\n");
}

} // namespace
