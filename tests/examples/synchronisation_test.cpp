// synchronise and receive_synchronisation, the latter in C and in C++: with each other, without,
// and with peers that are not honest.
//
// Room: tests. The programs are run, not linked; hostile messages are sent through the development
// host's mesh, and what is expected of one is told by the decoder.
#include "host/mesh_host.h"
#include "tests/examples/example_test.h"

#include <arpa/inet.h>
#include <mesh_fib6/fib6_sync.h>

#include <filesystem>
#include <thread>

namespace {

constexpr uint32_t place = 8;
enum : uint32_t { begin_kind = 1, route_kind = 2, end_kind = 3 };
constexpr const char *refused_context = ": a context that was refused, or makes no sense\n";
constexpr const char *refused_route = ": a route that was refused, or makes no sense\n";

encoded_message context_of(uint32_t kind, uint32_t number, uint32_t routes = 0) {
  return encoded<fib6Sync_svcCtxMsg>(fib6Sync_svcCtxMsg_ID, fib6Sync_svcCtxMsg__pack,
                                     {{kind, number}, {routes}});
}

encoded_message route_of(uint32_t number, uint8_t length = 64, uint32_t kind = route_kind) {
  fib6Sync_ipv6FwdUpdateMsg update{};
  update.f0 = {kind, number};
  update.f1.f3[0] = 0xb80d0120;
  update.f1.f4 = length;
  return encoded(fib6Sync_ipv6FwdUpdateMsg_ID, fib6Sync_ipv6FwdUpdateMsg__pack, update);
}

// A sender's batches, as they come.
struct received {
  std::vector<fib6Sync_svcCtxMsg> contexts;
  std::vector<fib6Sync_ipv6FwdUpdateMsg> routes;
  size_t routes_before_begin = 0, routes_behind_end = 0;
};

void keep(void *context, uint32_t id, uint64_t, const void *record, uint32_t) {
  received &all = *static_cast<received *>(context);
  if (id == fib6Sync_svcCtxMsg_ID) {
    all.contexts.push_back(*static_cast<const fib6Sync_svcCtxMsg *>(record));
    return;
  }
  all.routes.push_back(*static_cast<const fib6Sync_ipv6FwdUpdateMsg *>(record));
  all.routes_before_begin += all.contexts.empty() ? 1 : 0;
  all.routes_behind_end += all.contexts.size() > 1 ? 1 : 0;
}

class Synchronise : public ExampleTest {
protected:
  // A sender that soon finds no room, and says so this often at most.
  program_run::settings cramped_sender(const std::string &routes,
                                       const std::string &patience) const {
    program_run::settings how = example("synchronise", {routes});
    how.variables.back() = "MESH_HOST_SEND_TIMEOUT_MS=" + patience;
    how.variables.emplace_back("MESH_HOST_WINDOW_MESSAGES=300");
    return how;
  }

  // This process receives.
  mesh_host_receiver *attach() const {
    join_mesh();
    mesh_host_receiver *receiver = nullptr;
    EXPECT_EQ(fib6_sync_recv_init(), 0u);
    EXPECT_EQ(mesh_host_attach(place, &receiver), 0u);
    return receiver;
  }

  // Sends a table; what is to be printed of that.
  std::string synchronise(const std::string &routes) const {
    program_run sending(example("synchronise", {routes}));
    EXPECT_EQ(sending.status(60), 0);
    EXPECT_EQ(sending.output(), "");
    EXPECT_EQ(sending.errors(), "");
    return "synchronisation " + std::to_string(sending.pid()) + ": complete, " + routes + " of " +
           routes + " routes\n";
  }
};

// With what the receiver's name ends.
class Synchronisation : public Synchronise, public testing::WithParamInterface<const char *> {
protected:
  static std::string receiver_name() { return std::string("receive_synchronisation") + GetParam(); }
};

const auto language = [](const auto &tested) { return *tested.param == '\0' ? "C" : "Cpp"; };
INSTANTIATE_TEST_SUITE_P(EachLanguage, Synchronisation, testing::Values("", "_cpp"), language);

TEST_P(Synchronisation, ATableThatIsSentIsComplete) {
  program_run receiving(example(receiver_name(), {}));
  std::string expected;
  for (const char *routes : {"0", "1", "249", "250", "251", "20000"}) {
    expected += synchronise(routes);
    EXPECT_EQ(receiving.output(), expected); // the sender has waited for that
  }
  check_stops(receiving);
  EXPECT_EQ(receiving.output(), expected);
  EXPECT_EQ(receiving.errors(), "");
}

TEST_F(Synchronise, SendsItsTableBetweenABeginAndAnEnd) {
  mesh_host_receiver *receiver = attach();
  program_run sending(example("synchronise", {}));
  received all;
  for (int i = 0; i < 600 && all.contexts.size() < 2; i++)
    ASSERT_GE(mesh_host_poll(receiver, 100, keep, &all), 0);
  EXPECT_EQ(sending.status(), 0) << sending.errors();
  mesh_host_detach(receiver);
  const auto number = static_cast<uint32_t>(sending.pid());
  ASSERT_EQ(all.contexts.size(), 2u);
  EXPECT_EQ(all.contexts[0].f0.f0, begin_kind);
  EXPECT_EQ(all.contexts[0].f0.f1, number);
  EXPECT_EQ(all.contexts[1].f0.f0, end_kind);
  EXPECT_EQ(all.contexts[1].f0.f1, number);
  EXPECT_EQ(all.contexts[1].f1[0], 5000u);
  EXPECT_EQ(all.routes_before_begin, 0u);
  EXPECT_EQ(all.routes_behind_end, 0u);
  ASSERT_EQ(all.routes.size(), 5000u);
  for (uint32_t i = 0; i < 5000; i++) {
    const fib6Sync_ipv6FwdUpdateMsg &update = all.routes[i];
    const std::vector<uint8_t> address{
        0x20, 0x01, 0x0d, 0xb8, 0, 0, static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i)};
    EXPECT_EQ(update.f0.f0, route_kind);
    EXPECT_EQ(update.f0.f1, number);
    EXPECT_EQ(memcmp(update.f1.f3, address.data(), address.size()), 0) << i;
    EXPECT_EQ(update.f1.f4, 64);
  }
}

TEST_F(Synchronise, RepeatsWhatThereIsNoRoomFor) {
  mesh_host_receiver *receiver = attach();
  program_run sending(cramped_sender("1000", "200"));
  for (int i = 0; i < 4000 && sending.errors().empty(); i++)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  received all; // each once, although some were sent again
  for (int i = 0; i < 600 && all.contexts.size() < 2; i++)
    ASSERT_GE(mesh_host_poll(receiver, 100, keep, &all), 0);
  EXPECT_EQ(sending.status(), 0) << sending.errors();
  mesh_host_detach(receiver);
  ASSERT_EQ(all.routes.size(), 1000u);
  for (uint32_t i = 0; i < 1000; i++)
    EXPECT_EQ(all.routes[i].f1.f3[1], htonl(i));
  EXPECT_GE(times(sending.errors(), "synchronise: no room at destination 8, trying again\n"), 1u);
}

TEST_F(Synchronise, GivesUpWhereThereIsNeverAnyRoom) {
  mesh_host_receiver *receiver = attach(); // takes messages, handles none
  program_run sending(cramped_sender("1000", "100"));
  EXPECT_EQ(sending.status(), 1);
  EXPECT_EQ(times(sending.errors(), "synchronise: no room at destination 8, trying again\n"), 4u);
  EXPECT_TRUE(holds(sending.errors(), "synchronise: broken off, to be begun anew: destination 8: "
                                      "there was no room for more within the time-out\n"));
  mesh_host_detach(receiver);
}

TEST_F(Synchronise, FailsWhenItsTableIsNotHandled) {
  mesh_host_receiver *receiver = attach(); // has room for all of it, handles none
  program_run::settings how = example("synchronise", {"10"});
  how.variables.back() = "MESH_HOST_SEND_TIMEOUT_MS=100"; // and no longer at the end
  program_run sending(how);
  EXPECT_EQ(sending.status(), 1);
  EXPECT_TRUE(
      holds(sending.errors(), "synchronise: broken off, to be begun anew: destination 8: "));
  mesh_host_detach(receiver);
}

TEST_F(Synchronise, SaysThatNobodyReceives) {
  program_run sending(cramped_sender("1000", "300"));
  EXPECT_EQ(sending.status(), 1);
  EXPECT_EQ(sending.output(), "");
  EXPECT_TRUE(holds(sending.errors(),
                    "synchronise: broken off, to be begun anew: destination 8: nobody "
                    "received for this destination within the time-out\n"));
}

TEST_P(Synchronisation, TheSenderSaysThatTheReceiverIsLost) {
  program_run receiving(example(receiver_name(), {}));
  join_mesh();
  send_message(place, context_of(begin_kind, 5));
  ASSERT_EQ(mesh_host_flush(place, 20'000), 0u);
  program_run sending(example("synchronise", {"1000000"})); // takes a second
  receiving.wait_for("synchronisation 5: broken off");      // it has begun
  ASSERT_EQ(kill(receiving.pid(), SIGKILL), 0);
  EXPECT_EQ(receiving.status(), 256 + SIGKILL);
  EXPECT_EQ(sending.status(60), 1);
  EXPECT_TRUE(
      holds(sending.errors(), "synchronise: broken off, to be begun anew: destination 8: "));
}

TEST_P(Synchronisation, TheReceiverTellsATableThatLacksRoutesFromACompleteOne) {
  program_run receiving(example(receiver_name(), {}));
  join_mesh();
  const auto send = [](const encoded_message &message) { send_message(place, message); };
  for (const uint32_t announced : {2u, 4u}) {
    send(context_of(begin_kind, 77));
    for (int i = 0; i < 3; i++)
      send(route_of(77));
    send(context_of(end_kind, 77, announced));
  }
  send(route_of(77)); // of none that is going on
  send(context_of(end_kind, 77, 1));
  send(context_of(begin_kind, 78)); // is never ended
  send(route_of(78));
  send(route_of(77)); // comes late
  send(route_of(78, 129));
  send(route_of(78, 64, 7));
  send(context_of(begin_kind, 79));
  send(context_of(end_kind, 78, 1));
  send(route_of(79, 128));
  send(context_of(end_kind, 79, 1));
  send(context_of(begin_kind, 0)); // makes no sense
  send(route_of(0));
  send(context_of(end_kind, 0, 1));
  send(context_of(7, 80));
  send(context_of(begin_kind, 81));
  ASSERT_EQ(mesh_host_flush(place, 20'000), 0u);
  check_stops(receiving);
  EXPECT_EQ(receiving.output(), "synchronisation 77: incomplete, 3 of 2 routes\n"
                                "synchronisation 77: incomplete, 3 of 4 routes\n"
                                "synchronisation 78: broken off after 1 routes\n"
                                "synchronisation 79: complete, 1 of 1 routes\n"
                                "synchronisation 81: broken off after 0 routes\n");
  EXPECT_EQ(times(receiving.errors(), refused_route), 5u);
  EXPECT_EQ(times(receiving.errors(), refused_context), 5u);
}

TEST_P(Synchronisation, TheReceiverCountsOfHostileRoutesThoseThatMakeSense) {
  program_run receiving(example(receiver_name(), {}));
  join_mesh();
  constexpr uint32_t number = 0x4711;
  send_message(place, context_of(begin_kind, number));
  uint32_t good = 0, refused = 0;
  for (const encoded_message &message : hostile(route_of(number))) {
    send_message(place, message);
    fib6Sync_ipv6FwdUpdateMsg update{};
    fib6Sync_ipv6FwdUpdateMsg__unpack(message.bytes.data(),
                                      static_cast<uint32_t>(message.bytes.size()), &update);
    const bool makes_sense =
        update.f0.f0 == route_kind && update.f0.f1 == number && update.f1.f4 <= 128;
    ++(makes_sense ? good : refused);
  }
  encoded_message other = route_of(number);
  other.id = fib6Sync_ipv6FwdDelMsg_ID; // registered, and nothing to count
  send_message(place, other);
  send_message(place, context_of(end_kind, number, good));
  ASSERT_EQ(mesh_host_flush(place, 60'000), 0u);
  const std::string expected = "synchronisation 18193: complete, " + std::to_string(good) + " of " +
                               std::to_string(good) + " routes\n";
  EXPECT_EQ(receiving.output(), expected);
  EXPECT_GT(good, 100u);
  EXPECT_GT(refused, 300u);
  const std::string next = synchronise("10");
  check_stops(receiving);
  EXPECT_EQ(receiving.output(), expected + next);
  EXPECT_EQ(times(receiving.errors(), refused_route), refused);
}

TEST_P(Synchronisation, TheReceiverSurvivesHostileContexts) {
  program_run receiving(example(receiver_name(), {}));
  join_mesh();
  for (const encoded_message &message : {context_of(begin_kind, 5), context_of(end_kind, 5, 9)})
    for (const encoded_message &damaged : hostile(message))
      send_message(place, damaged);
  ASSERT_EQ(mesh_host_flush(place, 60'000), 0u) << receiving.errors();
  EXPECT_GT(times(receiving.errors(), refused_context), 300u);
  const std::string expected = synchronise("10");
  EXPECT_TRUE(holds(receiving.output(), expected));
  check_stops(receiving);
  EXPECT_TRUE(receiving.output().ends_with(expected));
}

TEST_P(Synchronisation, TheReceiverEndsWellWhenItIsInterrupted) {
  for (const int how : {SIGINT, SIGTERM}) {
    program_run receiving(example(receiver_name(), {}));
    wait_for_receiver(place);
    check_stops(receiving, how);
    EXPECT_EQ(receiving.output(), "");
    EXPECT_EQ(receiving.errors(), "");
    EXPECT_FALSE(std::filesystem::exists(socket(place))); // it has detached
  }
}

TEST_P(Synchronisation, ASecondReceiverIsRefused) {
  program_run first(example(receiver_name(), {}));
  wait_for_receiver(place);
  program_run second(example(receiver_name(), {}));
  EXPECT_EQ(second.status(), 1);
  EXPECT_TRUE(holds(second.errors(), receiver_name() + ": cannot receive as destination 8: "));
  check_stops(first);
}

TEST_P(Synchronisation, TheReceiverEndsWhenItsOutputCannotBeWritten) {
  for (const char *redirection : {">&-", ">/dev/full", "<&- >&-"}) {
    SCOPED_TRACE(redirection);
    program_run receiving(redirected(receiver_name(), redirection, {}));
    synchronise("10");
    EXPECT_EQ(receiving.status(), 1);
    EXPECT_EQ(receiving.errors(), receiver_name() + ": cannot write to standard output\n");
  }
}

TEST_P(Synchronisation, BothFailWhereTheMeshTakesNoRegistrationOrCannotBeUsed) {
  for (const std::string &name : {std::string("synchronise"), receiver_name()}) {
    program_run refused(preloaded(REFUSING_MESH, name, {}));
    EXPECT_EQ(refused.status(), 1);
    EXPECT_TRUE(holds(refused.errors(), name + ": "));
    EXPECT_FALSE(std::filesystem::exists(mesh())); // it did not go on
    program_run::settings how = example(name, {});
    how.variables = {"MESH_HOST_DIR=" + mine() + "/no/mesh"};
    program_run without(how);
    EXPECT_EQ(without.status(), 1);
    EXPECT_TRUE(holds(without.errors(), name + ": "));
  }
}

TEST_P(Synchronisation, BothRefuseWrongUsageWithStatus2) {
  for (const std::vector<std::string> &arguments : {std::vector<std::string>{"--help"},
                                                    {""},
                                                    {"-1"},
                                                    {"12x"},
                                                    {"1000001"},
                                                    {"99999999999"},
                                                    {"1", "2"}}) {
    program_run run(example("synchronise", arguments));
    EXPECT_EQ(run.status(), 2);
    EXPECT_EQ(run.output(), "");
    EXPECT_EQ(run.errors(), "usage: synchronise [NUMBER OF ROUTES, at most 1000000]\n");
  }
  program_run run(example(receiver_name(), {"8"}));
  EXPECT_EQ(run.status(), 2);
  EXPECT_EQ(run.errors(), "usage: " + receiver_name() + "\n");
}

} // namespace
