// send_route and receive_routes: with each other, without, and with peers that are not honest.
//
// Room: tests. The programs are run, not linked; hostile messages are sent through the development
// host's mesh.
#include "host/mesh_host.h"
#include "platform/mesh.h"
#include "tests/examples/example_test.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace {

constexpr uint32_t destination = 7;

class SendAndReceive : public ExampleTest {
protected:
  // Until the socket is there: what asks the receiver to stop before that ends it as it ends
  // anybody.
  void wait_for_receiver() const {
    for (int i = 0; i < 4000 && !std::filesystem::exists(socket()); i++)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_TRUE(std::filesystem::exists(socket()));
  }

  std::string socket() const { return mesh() + "/7.sock"; }

  // Does not wait long.
  program_run::settings impatient_sender() const {
    program_run::settings how = example("send_route", {});
    how.variables.back() = "MESH_HOST_SEND_TIMEOUT_MS=300";
    return how;
  }

  void check_sends() const {
    program_run sender(example("send_route", {}));
    EXPECT_EQ(sender.status(), 0);
    EXPECT_EQ(sender.output(), "");
    EXPECT_EQ(sender.errors(), "");
  }

  void check_stops(program_run &receiver, int how = SIGTERM) const {
    ASSERT_EQ(kill(receiver.pid(), how), 0);
    EXPECT_EQ(receiver.status(), 0) << receiver.errors();
  }
};

TEST_F(SendAndReceive, ARouteThatIsSentIsPrinted) {
  program_run receiver(example("receive_routes", {}));
  check_sends();
  EXPECT_EQ(receiver.output(), "2001:db8::/32\n"); // the sender has waited for that
  check_sends();
  check_stops(receiver);
  EXPECT_EQ(receiver.output(), "2001:db8::/32\n2001:db8::/32\n");
  EXPECT_EQ(receiver.errors(), "");
}

TEST_F(SendAndReceive, TheReceiverEndsWellWhenItIsInterrupted) {
  for (const int how : {SIGINT, SIGTERM}) {
    program_run receiver(example("receive_routes", {}));
    wait_for_receiver();
    check_stops(receiver, how);
    EXPECT_EQ(receiver.errors(), "");
    EXPECT_FALSE(std::filesystem::exists(socket())); // it has detached
  }
}

TEST_F(SendAndReceive, TheSenderSaysThatNobodyReceives) {
  program_run sender(impatient_sender());
  EXPECT_EQ(sender.status(), 1);
  EXPECT_EQ(sender.output(), "");
  EXPECT_TRUE(holds(sender.errors(), "mesh_host: nobody receives for destination 7: tried ipc://"));
  EXPECT_TRUE(holds(sender.errors(), "send_route: not sent to destination 7: nobody received for "
                                     "this destination"));
}

TEST_F(SendAndReceive, TheSenderFailsWhenTheReceiverTakesNothing) {
  program_run receiver(example("receive_routes", {}));
  wait_for_receiver();
  ASSERT_EQ(kill(receiver.pid(), SIGSTOP), 0);
  program_run sender(impatient_sender());
  EXPECT_EQ(sender.status(), 1);
  EXPECT_TRUE(holds(sender.errors(), "send_route: not sent to destination 7: "));
  ASSERT_EQ(kill(receiver.pid(), SIGKILL), 0);
  EXPECT_EQ(receiver.status(), 256 + SIGKILL);
}

TEST_F(SendAndReceive, BothSayThatTheMeshCannotBeUsed) {
  for (const char *name : {"send_route", "receive_routes"}) {
    program_run::settings how = example(name, {});
    how.variables = {"MESH_HOST_DIR=" + mine() + "/no/mesh"};
    program_run run(how);
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(holds(run.errors(), std::string(name) + ": "));
  }
}

TEST_F(SendAndReceive, ASecondReceiverIsRefused) {
  program_run first(example("receive_routes", {}));
  wait_for_receiver();
  program_run second(example("receive_routes", {}));
  EXPECT_EQ(second.status(), 1);
  EXPECT_TRUE(holds(second.errors(), "receive_routes: cannot receive as destination 7: "));
  check_sends();
  check_stops(first);
}

TEST_F(SendAndReceive, TheReceiverEndsWhenItsOutputCannotBeWritten) {
  for (const char *redirection : {">&-", ">/dev/full", "<&- >&-"}) {
    SCOPED_TRACE(redirection);
    program_run receiver(redirected("receive_routes", redirection, {}));
    check_sends();
    EXPECT_EQ(receiver.status(), 1);
    EXPECT_EQ(receiver.errors(), "receive_routes: cannot write to standard output\n");
  }
}

TEST_F(SendAndReceive, NothingOfTheMeshTakesThePlaceOfAClosedStandardStream) {
  program_run receiver(redirected("receive_routes", "<&- >&- 2>&-", {}));
  wait_for_receiver();
  for (const char *stream : {"0", "1", "2"})
    EXPECT_EQ(
        std::filesystem::read_symlink("/proc/" + std::to_string(receiver.pid()) + "/fd/" + stream),
        "/dev/null");
  program_run sender(redirected("send_route", "<&- >&- 2>&-", {}));
  EXPECT_EQ(sender.status(), 0);
  EXPECT_EQ(receiver.status(), 1);
}

TEST_F(SendAndReceive, BothFailWhereTheMeshTakesNoRegistration) {
  program_run receiver(preloaded(REFUSING_MESH, "receive_routes", {}));
  EXPECT_EQ(receiver.status(), 1);
  EXPECT_TRUE(holds(receiver.errors(), "receive_routes: cannot receive as destination 7: "));
  program_run sender(preloaded(REFUSING_MESH, "send_route", {}));
  EXPECT_EQ(sender.status(), 1);
  EXPECT_TRUE(holds(sender.errors(), "send_route: not sent to destination 7: "));
  EXPECT_FALSE(std::filesystem::exists(mesh())); // neither went on
}

TEST_F(SendAndReceive, BothRefuseWrongUsageWithStatus2) {
  for (const char *name : {"send_route", "receive_routes"}) {
    program_run run(example(name, {"8"}));
    EXPECT_EQ(run.status(), 2);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(), "usage: " + std::string(name) + "\n");
  }
}

TEST_F(SendAndReceive, TheSenderFailsWhenItsRouteIsNotHandled) {
  setenv("MESH_HOST_DIR", mesh().c_str(), 1);
  mesh_host_receiver *idle = nullptr;
  ASSERT_EQ(mesh_host_attach(destination, &idle), 0u); // takes messages, handles none
  program_run sender(impatient_sender());
  EXPECT_EQ(sender.status(), 1);
  EXPECT_TRUE(holds(sender.errors(), "send_route: not sent to destination 7: "));
  mesh_host_detach(idle);
}

TEST_F(SendAndReceive, TheReceiverPrintsTheRoutesOfHostileMessagesAndGoesOn) {
  program_run receiver(example("receive_routes", {}));
  setenv("MESH_HOST_DIR", mesh().c_str(), 1);
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
  for (const encoded_message &message : messages) {
    const msg_desc described{message.bytes.data(), message.id,
                             static_cast<uint32_t>(message.bytes.size())};
    ASSERT_EQ(MESH_SendMsg(destination, &described, 1), 0u);
  }
  ASSERT_EQ(mesh_host_flush(destination, 30'000), 0u) << receiver.errors();
  EXPECT_EQ(receiver.output(), expected.routes);
  EXPECT_GT(expected.refusals, 300u);
  EXPECT_GT(expected.no_routes, 1u);

  check_sends();
  check_stops(receiver);
  EXPECT_EQ(receiver.output(), expected.routes + "2001:db8::/32\n");
  const auto lines = [&](const std::string &text) {
    const std::string all = receiver.errors();
    unsigned count = 0;
    for (size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
      count++;
    return count;
  };
  EXPECT_EQ(lines("receive_routes: a message that was refused, or has no routes\n"),
            expected.refusals);
  EXPECT_EQ(lines("receive_routes: a route with prefix length "), expected.no_routes);
}

} // namespace
