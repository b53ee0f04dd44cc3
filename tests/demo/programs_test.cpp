// fib6-sender and fib6-receiver by themselves, and what the help texts promise.
//
// Room: tests. Includes the demo's helpers; the programs are run, not linked.
#include "host/mesh_host.h"
#include "platform/mesh.h"
#include "tests/demo/hostile_messages.h"
#include "tests/demo/program_run.h"

#include <csignal>
#include <cstdlib>
#include <set>
#include <sstream>
#include <sys/resource.h>

namespace {

class Programs : public program_test {
protected:
  program_run::settings start(const std::string &name, std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), program(name));
    // Their meeting place is not theirs to remove, so it is not in their temporary directory.
    return {arguments,
            "/dev/null",
            work(),
            {"MESH_HOST_DIR=" + mine() + "/mesh", "MESH_HOST_SEND_TIMEOUT_MS=500"}};
  }
};

// Set for a while in this process, and so in those that it starts.
class own_variable {
public:
  own_variable(const char *named, const std::string &value) : name(named) {
    setenv(name, value.c_str(), 1);
  }
  ~own_variable() { unsetenv(name); }
  own_variable(const own_variable &) = delete;
  own_variable &operator=(const own_variable &) = delete;

private:
  const char *name;
};

std::set<std::string> long_options(const std::string &help) {
  std::set<std::string> options;
  std::istringstream words(help);
  for (std::string word; words >> word;)
    if (const size_t at = word.find("--"); at != std::string::npos && word.size() > at + 2)
      options.insert(word.substr(at));
  return options;
}

TEST_F(Programs, HandATableOver) {
  program_run receiver(start("fib6-receiver", {"--once", "--write-table", mine() + "/received"}));
  receiver.wait_for("receiving as destination 6\n");
  program_run sender(start("fib6-sender", {"--withdraw", "--write-table", mine() + "/sent",
                                           write_table(prefixes(1000))}));
  EXPECT_EQ(sender.status(), 0) << sender.errors();
  EXPECT_EQ(receiver.status(), 0) << receiver.errors();
  EXPECT_TRUE(holds(receiver.output(), "table complete: 1,000 routes, 64 next hops, "));
  EXPECT_TRUE(holds(receiver.output(), "table withdrawn: 0 routes, 0 next hops, 0 groups "));
  EXPECT_TRUE(holds(read_text(mine() + "/sent"), "end of table : 64 next hops, "));
  EXPECT_EQ(read_text(mine() + "/sent"), read_text(mine() + "/received"));
}

TEST_F(Programs, SenderSaysThatNobodyReceivesAndHowToStartAReceiver) {
  program_run sender(start("fib6-sender", {"--destination", "9", write_table(prefixes(5))}));
  EXPECT_EQ(sender.status(), 1);
  const std::string place = mine() + "/mesh";
  EXPECT_TRUE(holds(sender.errors(), "mesh_host: nobody receives for destination 9: tried " +
                                         place + "/9.sock for 500 ms "));
  // How long that took, half a second at least, depends on the machine.
  EXPECT_TRUE(
      holds(sender.errors(), "fib6-sender: sending to destination 9 failed at message 1, after "));
  EXPECT_TRUE(holds(sender.errors(), " s: nobody received for this destination"));
  EXPECT_TRUE(holds(sender.errors(), "\n    MESH_HOST_DIR=" + place + " " +
                                         program("fib6-receiver") + " --destination 9\n"));
}

TEST_F(Programs, SenderEndsWhenTheReceiverIsKilledInTheMiddle) {
  program_run receiver(start("fib6-receiver", {}));
  receiver.wait_for("receiving as destination 6\n");
  program_run sender(
      start("fib6-sender", {"--batch", "5", "--pause", "20", write_table(prefixes(4000))}));
  sender.wait_for("sending: ");
  ASSERT_EQ(kill(receiver.pid(), SIGKILL), 0);
  EXPECT_EQ(sender.status(10), 1);
  EXPECT_TRUE(holds(sender.errors(), "fib6-sender: sending to destination 6 failed at message"));
}

TEST_F(Programs, ReceiverEndsWhenAskedTo) {
  program_run receiver(start("fib6-receiver", {}));
  receiver.wait_for("receiving as destination 6\n");
  ASSERT_EQ(kill(receiver.pid(), SIGINT), 0);
  EXPECT_EQ(receiver.status(5), 0);
}

TEST_F(Programs, SecondReceiverOfADestinationIsRefused) {
  program_run first(start("fib6-receiver", {}));
  first.wait_for("receiving as destination 6\n");
  program_run second(start("fib6-receiver", {}));
  EXPECT_EQ(second.status(), 1);
  EXPECT_TRUE(holds(second.errors(), "fib6-receiver: cannot receive as destination 6: "));
}

TEST_F(Programs, SenderSaysThatLinesWereBad) {
  program_run receiver(start("fib6-receiver", {}));
  receiver.wait_for("receiving as destination 6\n");
  program_run sender(start("fib6-sender", {write_table("2001:db8::/32\nbogus\n")}));
  EXPECT_EQ(sender.status(), 3);
  EXPECT_TRUE(holds(sender.errors(), "table:2: expected an IPv6 prefix"));
}

// The only case here that sends by itself: a process reads the mesh's settings once.
TEST_F(Programs, ReceiverSurvivesHostileMessagesAndSaysHowManyItRefused) {
  program_run receiver(start("fib6-receiver", {}));
  receiver.wait_for("receiving as destination 6\n");
  const own_variable where("MESH_HOST_DIR", mine() + "/mesh");
  for (const encoded_message &message : agreed_messages())
    for (const encoded_message &attack : hostile(message)) {
      const msg_desc described{attack.bytes.data(), attack.id,
                               static_cast<uint32_t>(attack.bytes.size())};
      ASSERT_EQ(MESH_SendMsg(6, &described, 1), 0u);
    }
  ASSERT_EQ(mesh_host_flush(6, 30'000), 0u) << receiver.errors();

  program_run sender(start("fib6-sender", {"--withdraw", write_table(prefixes(10))}));
  EXPECT_EQ(sender.status(), 0) << sender.errors();
  ASSERT_EQ(kill(receiver.pid(), SIGINT), 0);
  EXPECT_EQ(receiver.status(), 3);
  const std::string told = receiver.errors();
  const size_t last = told.rfind("fib6-receiver: of ");
  ASSERT_NE(last, std::string::npos) << told.substr(0, 2000);
  EXPECT_TRUE(holds(told.substr(last), " messages refused by the decoder, "));
}

TEST_F(Programs, SenderSaysThatItsTableFileMayNotGrow) {
  const std::string table = write_table(prefixes(500));
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit one_page{4096, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &one_page), 0);
  program_run sender(start("fib6-sender", {"--write-table", mine() + "/sent", table}));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  EXPECT_EQ(sender.status(), 1);
  EXPECT_TRUE(holds(sender.errors(), "fib6-sender: cannot write the table to " + mine() +
                                         "/sent: File too large\n"));
}

struct wrong_number {
  const char *program, *option, *value, *range;
};

TEST_F(Programs, NameTheOptionAndTheRangeOfANumberThatIsNone) {
  constexpr const char *any = "0 to 4294967295", *batch = "1 to 100000";
  const wrong_number wrong_numbers[] = {
      {"fib6-sender", "--vrf", "-1", any},           {"fib6-demo", "--vrf", "-1", any},
      {"fib6-sender", "--destination", "1e3", any},  {"fib6-demo", "--destination", "1.5", any},
      {"fib6-receiver", "--destination", "x", any},  {"fib6-receiver", "--destination", "-1", any},
      {"fib6-sender", "--batch", "0", batch},        {"fib6-demo", "--batch", "100001", batch},
      {"fib6-sender", "--pause", "4294967296", any}, {"fib6-demo", "--pause", "0x", any},
  };
  for (const auto &[name, option, value, range] : wrong_numbers) {
    program_run run(start(name, {std::string(option) + "=" + value}));
    EXPECT_EQ(run.status(), 2) << name;
    EXPECT_TRUE(holds(run.errors(), std::string(name) + ": " + option +
                                        ": expected a number from " + range + ", found '" + value +
                                        "'\nUsage: "));
    EXPECT_EQ(run.output(), "");
  }
}

TEST_F(Programs, RefuseWrongUsageWithStatus2AndSayHowTheyAreUsed) {
  const std::vector<std::vector<std::string>> wrong{
      {"fib6-sender", "--bogus"},
      {"fib6-demo", "one", "two"},
      {"fib6-receiver", "one"},
      {"fib6-demo", "--vrf"},
      {"fib6-receiver", "--once=7"},
      {"fib6-demo", "--keep", ""},
      {"fib6-sender", "--vrf=1", "--vrf=2"},
  };
  for (const std::vector<std::string> &words : wrong) {
    program_run run(start(words.front(), {words.begin() + 1, words.end()}));
    EXPECT_EQ(run.status(), 2) << testing::PrintToString(words);
    EXPECT_TRUE(run.errors().starts_with(words.front() + ": ")) << run.errors();
    EXPECT_TRUE(holds(run.errors(), "\nUsage: " + program(words.front())));
    EXPECT_EQ(run.output(), "");
  }
}

TEST_F(Programs, ReadNumbersInDecimalAndInHexadecimal) {
  program_run sixteen(start("fib6-receiver", {"--destination", "0x10"}));
  sixteen.wait_for("receiving as destination 16\n");
  program_run ten(start("fib6-receiver", {"--destination", "010"}));
  ten.wait_for("receiving as destination 10\n"); // a leading zero is no octal
}

TEST_F(Programs, ShowTheirHelp) {
  for (const char *name : {"fib6-demo", "fib6-sender", "fib6-receiver"}) {
    program_run run(start(name, {"--help"}));
    EXPECT_EQ(run.status(), 0) << name;
    EXPECT_TRUE(holds(run.output(), "Exit status: 0 ")) << name;
    EXPECT_TRUE(holds(run.output(), ", 0 to 4294967295\n")) << name;
  }
}

TEST_F(Programs, ScriptAndDemoKnowTheSameOptions) {
  program_run script(
      {{std::string(SCRIPT_DIRECTORY) + "/demo", "--help"}, "/dev/null", work(), {}});
  EXPECT_EQ(script.status(2), 0) << script.errors();
  program_run demo_program(demo({"--help"}));
  EXPECT_EQ(demo_program.status(), 0);
  EXPECT_EQ(long_options(script.output()), long_options(demo_program.output()));
  EXPECT_EQ(long_options(script.output()).size(), 7u);
}

} // namespace
