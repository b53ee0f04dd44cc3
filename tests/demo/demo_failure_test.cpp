// fib6-demo, when something goes wrong: a clear message, a status that is not 0, and never a hang.
//
// Room: tests. Includes the demo's helpers; the programs are run, not linked.
#include "tests/demo/program_run.h"

#include <csignal>
#include <filesystem>
#include <zlib.h>

namespace {

class FailingDemo : public program_test {
protected:
  // A demo in the middle of sending: slow enough to be disturbed.
  program_run::settings slow_demo() {
    return demo({"--batch", "10", "--pause", "50", write_table(prefixes(20'000))});
  }

  static void wait_until_sending(program_run &run) { run.wait_for("20,000 routes, "); }

  void expect_failure(const std::string &table, const std::string &message,
                      const std::string &input = "/dev/null") {
    program_run run(demo({table}, input));
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(holds(run.errors(), message));
  }

  std::string write_gzip_table() {
    const std::string path = mine() + "/table.gz", text = prefixes(5000);
    const gzFile file = gzopen(path.c_str(), "wb");
    gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
    gzclose(file);
    return path;
  }
};

TEST_F(FailingDemo, SendsTheGoodLinesNamesTheBadOnesAndEndsWith3) {
  const std::string table = write_table("2001:db8::/32\nbogus\n2001:db8::1/32\n2001:db9::/32\n");
  program_run run(demo({table}));
  EXPECT_EQ(run.status(), 3);
  EXPECT_TRUE(holds(run.errors(), table + ":2: expected an IPv6 prefix such as 2001:db8::/32, "
                                          "found 'bogus'\n"));
  EXPECT_TRUE(holds(run.errors(), table + ":3: address bits are set beyond"));
  EXPECT_TRUE(holds(run.errors(), "fib6-demo: 2 bad lines of the input skipped\n"));
  EXPECT_TRUE(holds(run.output(), "  routes             2\n"));
  EXPECT_TRUE(holds(run.output(), "  differences        0 in "));
}

TEST_F(FailingDemo, NamesTenBadLinesAndCountsTheOthers) {
  std::string text = "2001:db8::/32\n";
  for (int i = 0; i < 13; i++)
    text += "bogus\n";
  const std::string table = write_table(text);
  program_run run(demo({table}));
  EXPECT_EQ(run.status(), 3);
  EXPECT_TRUE(holds(run.errors(), table + ":11: "));
  EXPECT_FALSE(holds(run.errors(), table + ":12: "));
  EXPECT_TRUE(holds(run.errors(), table + ": 3 bad lines in addition\n"));
}

TEST_F(FailingDemo, NamesAFileThatIsNotThere) {
  expect_failure(mine() + "/missing", "cannot read " + mine() + "/missing: No such file");
}

TEST_F(FailingDemo, NamesADirectory) {
  expect_failure(mine(), "cannot read " + mine() + ": Is a directory");
}

TEST_F(FailingDemo, NamesAFileWithoutRoutes) {
  expect_failure(write_table("# nothing\n"), "table holds no routes (1 line, 0 bad)");
}

TEST_F(FailingDemo, NamesAFileThatHoldsOnlyBadLines) {
  expect_failure(write_table("a\nb\n"), "table holds no routes (2 lines, 2 bad)");
}

TEST_F(FailingDemo, NamesATruncatedFile) {
  const std::string table = write_gzip_table();
  std::filesystem::resize_file(table, std::filesystem::file_size(table) - 5);
  expect_failure(table, "the gzip data end too early (truncated file)");
}

TEST_F(FailingDemo, NamesEmptyStandardInput) {
  expect_failure("-", "standard input holds no routes (0 lines, 0 bad)");
}

TEST_F(FailingDemo, NamesClosedStandardInput) {
  expect_failure("-", "cannot read standard input: Bad file descriptor", "");
}

TEST_F(FailingDemo, NeedsNoStandardInputForAFile) {
  program_run run(demo({write_table(prefixes(5))}, ""));
  EXPECT_EQ(run.status(), 0) << run.errors();
}

TEST_F(FailingDemo, NamesAReceiverThatWasKilledInTheMiddle) {
  program_run run(slow_demo());
  wait_until_sending(run);
  ASSERT_EQ(kill(run.number_behind("receiver: process "), SIGKILL), 0);
  EXPECT_EQ(run.status(5), 1);
  EXPECT_TRUE(holds(run.errors(), "was killed by signal 9 (Killed) before its work was done"));
  EXPECT_TRUE(holds(run.errors(), "fib6-demo: fib6-receiver (process "));
  EXPECT_FALSE(holds(run.output(), "summary"));
}

TEST_F(FailingDemo, NamesASenderThatWasKilledInTheMiddle) {
  program_run run(slow_demo());
  wait_until_sending(run);
  ASSERT_EQ(kill(run.number_behind("sender: process "), SIGKILL), 0);
  EXPECT_EQ(run.status(5), 1);
  EXPECT_TRUE(holds(run.errors(), "fib6-demo: fib6-sender (process "));
  EXPECT_TRUE(holds(run.errors(), "was killed by signal 9 (Killed) before its work was done"));
}

TEST_F(FailingDemo, NamesAReceiverThatNoLongerMoves) {
  program_run::settings how = slow_demo();
  how.variables = {"MESH_HOST_SEND_TIMEOUT_MS=300", "MESH_HOST_WINDOW_MESSAGES=20"};
  program_run run(how);
  wait_until_sending(run);
  ASSERT_EQ(kill(run.number_behind("receiver: process "), SIGSTOP), 0);
  EXPECT_EQ(run.status(), 1);
  EXPECT_TRUE(holds(run.errors(), "fib6-sender: sending to destination 6 failed at message "));
}

TEST_F(FailingDemo, DoesNotVouchForMemoryThatNobodyCounted) {
  program_run::settings how = demo({write_table(prefixes(5))});
  how.variables = {"OSAL_HOST_USE_FLAG=0"}; // decoded records then come from the plain heap
  program_run run(how);
  EXPECT_EQ(run.status(), 1);
  EXPECT_TRUE(holds(run.errors(), "the receiver allocated nothing that was counted"));
}

TEST_F(FailingDemo, TakesItsProcessesAlongWhenItIsInterrupted) {
  program_run run(slow_demo());
  wait_until_sending(run);
  const pid_t sender = run.number_behind("sender: process ");
  const pid_t receiver = run.number_behind("receiver: process ");
  ASSERT_EQ(kill(run.pid(), SIGINT), 0);
  EXPECT_EQ(run.status(5), 130);
  EXPECT_TRUE(holds(run.errors(), "fib6-demo: interrupted\n"));
  EXPECT_NE(kill(sender, 0), 0);
  EXPECT_NE(kill(receiver, 0), 0);
}

TEST_F(FailingDemo, RefusesOptionsThatAreNoneWithStatus2) {
  EXPECT_EQ(program_run(demo({"--bogus"})).status(), 2);
  EXPECT_EQ(program_run(demo({"--batch", "0"})).status(), 2);
  EXPECT_EQ(program_run(demo({"--batch", "many"})).status(), 2);
  EXPECT_EQ(program_run(demo({"one", "two"})).status(), 2);
}

} // namespace
