// decode_buffer, in C and in C++: of good messages, of those that no honest sender makes, and of
// files that are none.
//
// Room: tests. The program is run, not linked.
#include "tests/examples/example_test.h"

#include <filesystem>

namespace {

constexpr const char *not_one = "not a feiBrokerFib6_ipv6FwdUpdateMsg, or one without routes\n";
constexpr uintmax_t largest = 64 << 20;

// With what the program's name ends.
class DecodeBuffer : public ExampleTest, public testing::WithParamInterface<const char *> {
protected:
  static std::string decoder() { return std::string("decode_buffer") + GetParam(); }

  // The program ends with a status of its own, prints what the decoder finds and complains of the
  // rest.
  void check_survives(const encoded_message &message) const {
    const std::string path = write_message(message.bytes);
    const printed expected = printed_of(message);
    program_run run(example(decoder(), {path}));
    EXPECT_EQ(run.status(), expected.refusals + expected.no_routes == 0 ? 0 : 1) << run.errors();
    EXPECT_EQ(run.output(), expected.routes);
    std::string complaints;
    if (expected.refusals != 0)
      complaints = decoder() + ": " + path + ": " + not_one;
    for (unsigned i = 0; i < expected.no_routes; i++)
      complaints += decoder() + ": " + path + ": a route with a prefix length above 128\n";
    EXPECT_EQ(run.errors(), complaints);
  }

  void check_refused(const std::string &file, const std::string &reason) const {
    program_run run(example(decoder(), {file}));
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(), decoder() + ": " + file + ": " + reason);
  }
};

INSTANTIATE_TEST_SUITE_P(EachLanguage, DecodeBuffer, testing::Values("", "_cpp"),
                         [](const auto &tested) { return *tested.param == '\0' ? "C" : "Cpp"; });

TEST_P(DecodeBuffer, PrintsTheRouteInAFile) {
  program_run run(example(decoder(), {write_message(one_route().bytes)}));
  EXPECT_EQ(run.status(), 0);
  EXPECT_EQ(run.output(), "2001:db8::/32\n");
  EXPECT_EQ(run.errors(), "");
}

TEST_P(DecodeBuffer, GivesBackWhatTheDecoderAllocated) {
  program_run::settings how = preloaded(OSAL_HOST, decoder(), {write_message(one_route().bytes)});
  how.variables.emplace_back("OSAL_HOST_REPORT=1");
  program_run run(how);
  EXPECT_EQ(run.status(), 0);
  EXPECT_EQ(run.output(), "2001:db8::/32\n");
  EXPECT_TRUE(holds(run.errors(), ": 1 allocations, ")); // of the routes
  EXPECT_TRUE(holds(run.errors(), ", left 0 blocks 0 bytes, 0 wrong releases, "));
}

TEST_P(DecodeBuffer, ReadsStandardInputWithAMinusOrWithoutAnArgument) {
  const std::string path = write_message(one_route().bytes);
  for (const std::vector<std::string> &arguments : {std::vector<std::string>{}, {"-"}}) {
    program_run run(example(decoder(), arguments, path));
    EXPECT_EQ(run.status(), 0) << run.errors();
    EXPECT_EQ(run.output(), "2001:db8::/32\n");
  }
}

TEST_P(DecodeBuffer, RefusesAMessageThatIsCutAnywhere) {
  for (const encoded_message &message : cut(one_route())) {
    SCOPED_TRACE(message.bytes.size());
    check_refused(write_message(message.bytes), not_one);
  }
}

TEST_P(DecodeBuffer, SurvivesEveryByteThatIsReplaced) {
  for (size_t at = 0; at < one_route().bytes.size(); at++)
    for (const uint8_t byte : {uint8_t{0x00}, uint8_t{0xff}}) {
      SCOPED_TRACE("byte " + std::to_string(at) + " is " + std::to_string(byte));
      encoded_message message = one_route();
      if (message.bytes[at] == byte)
        continue;
      message.bytes[at] = byte;
      check_survives(message);
    }
}

TEST_P(DecodeBuffer, SurvivesRandomBytes) {
  for (const encoded_message &message : randomised(one_route(), 100))
    check_survives(message);
}

TEST_P(DecodeBuffer, DoesNotPrintAPrefixLengthThatIsNone) {
  encoded_message message = one_route();
  message.bytes[64] = 129;
  const std::string path = write_message(message.bytes);
  check_refused(path, "a route with a prefix length above 128\n");
}

TEST_P(DecodeBuffer, SaysWhyAFileCannotBeRead) {
  check_refused(mine() + "/missing", "No such file or directory\n");
  check_refused(mine(), "Is a directory\n");
  check_refused("/proc/self/mem", "Input/output error\n"); // opened by anybody, read by nobody
  program_run closed(example(decoder(), {}, ""));
  EXPECT_EQ(closed.status(), 1);
  EXPECT_EQ(closed.errors(), decoder() + ": standard input: Bad file descriptor\n");
}

TEST_P(DecodeBuffer, RefusesAnEmptyFileAndOneThatIsTooLarge) {
  check_refused("/dev/null", not_one);
  const std::string path = write_message(one_route().bytes);
  std::filesystem::resize_file(path, largest);
  program_run run(example(decoder(), {path})); // what follows a message is nobody's
  EXPECT_EQ(run.status(), 0) << run.errors();
  EXPECT_EQ(run.output(), "2001:db8::/32\n");
  std::filesystem::resize_file(path, largest + 1);
  check_refused(path, "larger than a message can be\n");
}

TEST_P(DecodeBuffer, FailsWhenItsOutputCannotBeWritten) {
  const std::string path = write_message(one_route().bytes);
  for (const char *redirection : {">&-", ">/dev/full", "<&- >&-"}) {
    SCOPED_TRACE(redirection);
    program_run run(redirected(decoder(), redirection, {path}));
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(run.errors(), decoder() + ": standard output: cannot be written to\n");
  }
}

TEST_P(DecodeBuffer, RefusesWrongUsageWithStatus2) {
  for (const std::vector<std::string> &arguments :
       {std::vector<std::string>{"one", "two"}, {"--help"}, {"-x"}}) {
    program_run run(example(decoder(), arguments));
    EXPECT_EQ(run.status(), 2);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(), "usage: " + decoder() + " [FILE]\n");
  }
}

} // namespace
