// print_any, in C and in C++: of messages of all types, damaged ones among them.
//
// Room: tests. The programs are run, not linked; messages are sent through the development host's
// mesh.
#include "host/mesh_host.h"
#include "tests/examples/example_test.h"

#include <mesh_fib6/messages.h>

#include <filesystem>

namespace {

constexpr uint32_t usual_place = 7;
constexpr const char *one_route_line = "fib6 feiBrokerFib6_ipv6FwdUpdateMsg 16\n";

// With what the program's name ends.
class PrintAny : public ExampleTest, public testing::WithParamInterface<const char *> {
protected:
  static std::string printer() { return std::string("print_any") + GetParam(); }

  std::string cannot_receive(const std::string &destination = "7") const {
    return printer() + ": cannot receive as destination " + destination + ": ";
  }
};

INSTANTIATE_TEST_SUITE_P(EachLanguage, PrintAny, testing::Values("", "_cpp"),
                         [](const auto &tested) { return *tested.param == '\0' ? "C" : "Cpp"; });

TEST_P(PrintAny, PrintsAMessageOfEachModule) {
  program_run printing(example(printer(), {}));
  program_run sending(example("send_route", {}));
  EXPECT_EQ(sending.status(), 0);
  join_mesh();
  send_message(usual_place, {fib6_cfg_query_fib6check_rec_ID, {}});
  send_message(usual_place, {fib6Sync_specialIpDeleteMsg_ID, {}});
  ASSERT_EQ(mesh_host_flush(usual_place, 20'000), 0u);
  check_stops(printing);
  EXPECT_EQ(printing.output(), "fib6 feiBrokerFib6_ipv6FwdUpdateMsg 16\n"
                               "fib6_cfg fib6_cfg_query_fib6check_rec 288\n"
                               "fib6_sync fib6Sync_specialIpDeleteMsg 12\n");
  EXPECT_EQ(printing.errors(), "");
}

TEST_P(PrintAny, PrintsAMessageOfEveryType) {
  program_run printing(example(printer(), {}));
  join_mesh();
  std::string expected;
  EXPECT_EQ(+mesh_fib6_message_count, 59);
  for (int i = 0; i < mesh_fib6_message_count; i++) {
    const mesh_fib6_message &type = mesh_fib6_messages()[i];
    const std::vector<uint64_t> record(type.record_size / 8 + 1);
    ASSERT_EQ(type.sendsingle(usual_place, record.data(), 0, 0), 0u) << type.name;
    expected +=
        std::string(type.module) + " " + type.name + " " + std::to_string(type.record_size) + "\n";
  }
  ASSERT_EQ(mesh_host_flush(usual_place, 20'000), 0u);
  check_stops(printing);
  EXPECT_EQ(printing.output(), expected);
  EXPECT_EQ(printing.errors(), "");
}

TEST_P(PrintAny, PrintsHostileMessagesLikeOthers) {
  program_run printing(example(printer(), {}));
  join_mesh();
  std::string expected;
  for (const encoded_message &message : hostile(one_route())) {
    send_message(usual_place, message);
    expected += one_route_line;
  }
  send_message(usual_place, {0x12345678, one_route().bytes}); // the mesh does not know it
  ASSERT_EQ(mesh_host_flush(usual_place, 60'000), 0u) << printing.errors();
  check_stops(printing);
  EXPECT_EQ(printing.output(), expected);
  EXPECT_FALSE(holds(printing.errors(), "print_any"));
}

TEST_P(PrintAny, EndsWellWhenItIsInterrupted) {
  for (const int how : {SIGINT, SIGTERM}) {
    program_run printing(example(printer(), {}));
    wait_for_receiver(usual_place);
    check_stops(printing, how);
    EXPECT_EQ(printing.output(), "");
    EXPECT_EQ(printing.errors(), "");
    EXPECT_FALSE(std::filesystem::exists(socket(usual_place))); // it has detached
  }
}

TEST_P(PrintAny, FailsWhenItsOutputCannotBeWritten) {
  for (const char *redirection : {">&-", ">/dev/full", "<&- >&-"}) {
    SCOPED_TRACE(redirection);
    program_run printing(redirected(printer(), redirection, {}));
    program_run sending(example("send_route", {}));
    EXPECT_EQ(sending.status(), 0);
    EXPECT_EQ(printing.status(), 1);
    EXPECT_EQ(printing.errors(), printer() + ": cannot write to standard output\n");
  }
}

TEST_P(PrintAny, FailsWhereTheMeshRefusesIt) {
  program_run first(example(printer(), {}));
  wait_for_receiver(usual_place);
  program_run second(example(printer(), {}));
  EXPECT_EQ(second.status(), 1);
  EXPECT_TRUE(holds(second.errors(), cannot_receive()));
  check_stops(first);

  program_run unregistered(preloaded(REFUSING_MESH, printer(), {}));
  EXPECT_EQ(unregistered.status(), 1);
  EXPECT_TRUE(holds(unregistered.errors(), cannot_receive()));

  program_run::settings how = example(printer(), {});
  how.variables = {"MESH_HOST_DIR=" + mine() + "/no/mesh"};
  program_run without(how);
  EXPECT_EQ(without.status(), 1);
  EXPECT_TRUE(holds(without.errors(), cannot_receive()));
}

TEST_P(PrintAny, RefusesWrongUsageWithStatus2) {
  program_run run(example(printer(), {"--help"}));
  EXPECT_EQ(run.status(), 2);
  EXPECT_EQ(run.output(), "");
  EXPECT_EQ(times(run.errors(), "usage: " + printer()), 1u);
}

class PrintAnyInC : public ExampleTest {};

TEST_F(PrintAnyInC, TakesTheDestinationThatItIsGiven) {
  for (const char *destination : {"0", "4294967295"}) {
    program_run printing(example("print_any", {destination}));
    wait_for_receiver(static_cast<uint32_t>(std::stoul(destination)));
    check_stops(printing);
  }
  for (const std::vector<std::string> &arguments : {std::vector<std::string>{""},
                                                    {"-1"},
                                                    {"7x"},
                                                    {"4294967296"},
                                                    {"99999999999999999999"},
                                                    {"7", "8"}}) {
    program_run run(example("print_any", arguments));
    EXPECT_EQ(run.status(), 2);
    EXPECT_EQ(run.errors(), "usage: print_any [DESTINATION, at most 4294967295]\n");
  }
}

} // namespace
