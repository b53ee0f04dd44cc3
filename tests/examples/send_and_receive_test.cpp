// send_route and receive_routes, in C and in C++: with each other, without, and with peers that are
// not honest.
//
// Room: tests. The programs are run, not linked; hostile messages are sent through the development
// host's mesh.
#include "host/mesh_host.h"
#include "tests/examples/example_test.h"

#include <filesystem>

namespace {

constexpr uint32_t destination = 7;

// With what the names of the programs end.
class SendAndReceive : public ExampleTest, public testing::WithParamInterface<const char *> {
protected:
  static std::string sender() { return std::string("send_route") + GetParam(); }
  static std::string receiver() { return std::string("receive_routes") + GetParam(); }

  // Does not wait long.
  program_run::settings impatient_sender() const {
    program_run::settings how = example(sender(), {});
    how.variables.back() = "MESH_HOST_SEND_TIMEOUT_MS=300";
    return how;
  }

  void check_sends() const {
    program_run sending(example(sender(), {}));
    EXPECT_EQ(sending.status(), 0);
    EXPECT_EQ(sending.output(), "");
    EXPECT_EQ(sending.errors(), "");
  }
};

INSTANTIATE_TEST_SUITE_P(EachLanguage, SendAndReceive, testing::Values("", "_cpp"),
                         [](const auto &tested) { return *tested.param == '\0' ? "C" : "Cpp"; });

TEST_P(SendAndReceive, ARouteThatIsSentIsPrinted) {
  program_run receiving(example(receiver(), {}));
  check_sends();
  EXPECT_EQ(receiving.output(), "2001:db8::/32\n"); // the sender has waited for that
  check_sends();
  check_stops(receiving);
  EXPECT_EQ(receiving.output(), "2001:db8::/32\n2001:db8::/32\n");
  EXPECT_EQ(receiving.errors(), "");
}

TEST_P(SendAndReceive, TheReceiverEndsWellWhenItIsInterrupted) {
  for (const int how : {SIGINT, SIGTERM}) {
    program_run receiving(example(receiver(), {}));
    wait_for_receiver(destination);
    check_stops(receiving, how);
    EXPECT_EQ(receiving.errors(), "");
    EXPECT_FALSE(std::filesystem::exists(socket(destination))); // it has detached
  }
}

TEST_P(SendAndReceive, TheSenderSaysThatNobodyReceives) {
  program_run sending(impatient_sender());
  EXPECT_EQ(sending.status(), 1);
  EXPECT_EQ(sending.output(), "");
  EXPECT_TRUE(holds(sending.errors(), "mesh_host: nobody receives for destination 7: tried /"));
  EXPECT_TRUE(holds(sending.errors(), sender() + ": not sent to destination 7: nobody received for "
                                                 "this destination"));
}

TEST_P(SendAndReceive, TheSenderFailsWhenTheReceiverTakesNothing) {
  program_run receiving(example(receiver(), {}));
  wait_for_receiver(destination);
  ASSERT_EQ(kill(receiving.pid(), SIGSTOP), 0);
  program_run sending(impatient_sender());
  EXPECT_EQ(sending.status(), 1);
  EXPECT_TRUE(holds(sending.errors(), sender() + ": not sent to destination 7: "));
  ASSERT_EQ(kill(receiving.pid(), SIGKILL), 0);
  EXPECT_EQ(receiving.status(), 256 + SIGKILL);
}

TEST_P(SendAndReceive, BothSayThatTheMeshCannotBeUsed) {
  for (const std::string &name : {sender(), receiver()}) {
    program_run::settings how = example(name, {});
    how.variables = {"MESH_HOST_DIR=" + mine() + "/no/mesh"};
    program_run run(how);
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(holds(run.errors(), name + ": "));
  }
}

TEST_P(SendAndReceive, ASecondReceiverIsRefused) {
  program_run first(example(receiver(), {}));
  wait_for_receiver(destination);
  program_run second(example(receiver(), {}));
  EXPECT_EQ(second.status(), 1);
  EXPECT_TRUE(holds(second.errors(), receiver() + ": cannot receive as destination 7: "));
  check_sends();
  check_stops(first);
}

TEST_P(SendAndReceive, TheReceiverEndsWhenItsOutputCannotBeWritten) {
  for (const char *redirection : {">&-", ">/dev/full", "<&- >&-"}) {
    SCOPED_TRACE(redirection);
    program_run receiving(redirected(receiver(), redirection, {}));
    check_sends();
    EXPECT_EQ(receiving.status(), 1);
    EXPECT_EQ(receiving.errors(), receiver() + ": cannot write to standard output\n");
  }
}

TEST_P(SendAndReceive, NothingOfTheMeshTakesThePlaceOfAClosedStandardStream) {
  program_run receiving(redirected(receiver(), "<&- >&- 2>&-", {}));
  wait_for_receiver(destination);
  for (const char *stream : {"0", "1", "2"})
    EXPECT_EQ(
        std::filesystem::read_symlink("/proc/" + std::to_string(receiving.pid()) + "/fd/" + stream),
        "/dev/null");
  program_run sending(redirected(sender(), "<&- >&- 2>&-", {}));
  EXPECT_EQ(sending.status(), 0);
  EXPECT_EQ(receiving.status(), 1);
}

TEST_P(SendAndReceive, BothFailWhereTheMeshTakesNoRegistration) {
  program_run receiving(preloaded(REFUSING_MESH, receiver(), {}));
  EXPECT_EQ(receiving.status(), 1);
  EXPECT_TRUE(holds(receiving.errors(), receiver() + ": cannot receive as destination 7: "));
  program_run sending(preloaded(REFUSING_MESH, sender(), {}));
  EXPECT_EQ(sending.status(), 1);
  EXPECT_TRUE(holds(sending.errors(), sender() + ": not sent to destination 7: "));
  EXPECT_FALSE(std::filesystem::exists(mesh())); // neither went on
}

TEST_P(SendAndReceive, BothRefuseWrongUsageWithStatus2) {
  for (const std::string &name : {sender(), receiver()}) {
    program_run run(example(name, {"8"}));
    EXPECT_EQ(run.status(), 2);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(), "usage: " + name + "\n");
  }
}

TEST_P(SendAndReceive, TheSenderFailsWhenItsRouteIsNotHandled) {
  join_mesh();
  mesh_host_receiver *idle = nullptr;
  ASSERT_EQ(mesh_host_attach(destination, &idle), 0u); // takes messages, handles none
  program_run sending(impatient_sender());
  EXPECT_EQ(sending.status(), 1);
  EXPECT_TRUE(holds(sending.errors(), sender() + ": not sent to destination 7: "));
  mesh_host_detach(idle);
}

TEST_P(SendAndReceive, TheReceiverPrintsTheRoutesOfHostileMessagesAndGoesOn) {
  program_run receiving(example(receiver(), {}));
  join_mesh();
  printed expected;
  std::vector<encoded_message> messages = hostile(one_route());
  for (const encoded_message &message : messages) {
    const printed of_it = printed_of(message);
    expected.routes += of_it.routes;
    expected.refusals += of_it.refusals;
    expected.no_routes += of_it.no_routes;
  }
  messages.push_back(one_route());
  messages.back().id = 0x0B394879; // feiBrokerFib6.ipv6FwdDelMsg: registered, and nothing to print
  for (const encoded_message &message : messages)
    send_message(destination, message);
  ASSERT_EQ(mesh_host_flush(destination, 30'000), 0u) << receiving.errors();
  EXPECT_EQ(receiving.output(), expected.routes);
  EXPECT_GT(expected.refusals, 300u);
  EXPECT_GT(expected.no_routes, 1u);

  check_sends();
  check_stops(receiving);
  EXPECT_EQ(receiving.output(), expected.routes + "2001:db8::/32\n");
  EXPECT_EQ(
      times(receiving.errors(), receiver() + ": a message that was refused, or has no routes\n"),
      expected.refusals);
  EXPECT_EQ(times(receiving.errors(), receiver() + ": a route with prefix length "),
            expected.no_routes);
}

} // namespace
