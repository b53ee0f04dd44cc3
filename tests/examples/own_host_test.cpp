// own_host: that it is its own bus and its own OSAL, whatever else there is.
//
// Room: tests. The program is run, not linked.
#include "tests/examples/example_test.h"

namespace {

// What line of the library refuses the message is its own affair.
constexpr const char *before_the_line =
    "89 bytes for destination 7\n"
    "a route to 2001:db8::/32\n"
    "44 bytes for destination 7\n"
    "log of VARKO, category 22, feiBrokerFib6_ipv6Fwd_unpack_non_root:";
constexpr const char *behind_the_line =
    ": [VARKO]:Table offset(60) is out of range(4 - 44)\n"
    "a message that was refused, or has no routes\n"
    "3 blocks taken, 0 of them live\n"; // one to send, one for each decoded vector

class OwnHost : public ExampleTest {
protected:
  void check_output(program_run &run) const {
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.errors(), "");
    const std::string output = run.output();
    EXPECT_TRUE(output.starts_with(before_the_line)) << output;
    EXPECT_TRUE(output.ends_with(behind_the_line)) << output;
    EXPECT_EQ(times(output, "\n"), 6u) << output;
  }
};

TEST_F(OwnHost, SendsItselfAMessageAndAnotherThatIsCut) {
  program_run run(example("own_host", {}));
  check_output(run);
}

TEST_F(OwnHost, ComesBeforeAllLibraries) {
  for (const char *library : {REFUSING_MESH, OSAL_HOST}) {
    program_run run(preloaded(library, "own_host", {}));
    check_output(run);
  }
}

TEST_F(OwnHost, FailsWhenItsOutputCannotBeWritten) {
  for (const char *redirection : {">&-", ">/dev/full", "<&- >&-"}) {
    SCOPED_TRACE(redirection);
    program_run run(redirected("own_host", redirection, {}));
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.errors(), "own_host: cannot write to standard output\n");
  }
}

TEST_F(OwnHost, RefusesWrongUsageWithStatus2) {
  program_run run(example("own_host", {"--help"}));
  EXPECT_EQ(run.status(), 2);
  EXPECT_EQ(run.output(), "");
  EXPECT_EQ(run.errors(), "usage: own_host\n");
}

} // namespace
