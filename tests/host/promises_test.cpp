// What is promised of both ways between processes, with a test of each promise.
//
// Room: tests.
#include "captured_stderr.h"
#include "mesh_fixture.h"
#include "nats_server.h"

#include <csignal>
#include <fstream>
#include <memory>
#include <mutex>
#include <thread>

namespace {

constexpr auto promptly = std::chrono::milliseconds(5000); // the time-outs are ten seconds

enum class way { local, nats };

class Promise : public MeshTest, public testing::WithParamInterface<way> {
protected:
  void SetUp() override {
    MeshTest::SetUp();
    if (GetParam() == way::local)
      return;
    ASSERT_TRUE(nats_server::is_installed()) << "Debian's package nats-server has it";
    server = std::make_unique<nats_server>(scratch + "/nats");
    server->start();
    place("");
  }
  void TearDown() override {
    server.reset();
    MeshTest::TearDown();
  }

  // `options` go behind the place of the destination, where it is at a server.
  void place(const std::string &options) {
    if (server == nullptr)
      return;
    std::ofstream(scratch + "/mesh.conf") << "destination * " << server->url() << " " << options;
    set_variable("MESH_HOST_CONFIG", scratch + "/mesh.conf");
  }

  std::unique_ptr<nats_server> server;
};

TEST_P(Promise, DeliversWithIdentifierTargetAndSize) {
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    EXPECT_EQ(receiver.attach(), 0U);
    parent.say("attached");
    const received expected{sample_id, 0x100000000, sizeof(sample), 5, "some text"};
    parent.say(receiver.collect(1) && receiver.messages[0] == expected ? "good" : "bad");
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(5, 1, 0x100000000, "some text"), 0U);
  EXPECT_EQ(peer.talk().hear(), "good");
  EXPECT_EQ(mesh_host_flush(destination, 5000), 0U);
}

TEST_P(Promise, KeepsTheOrderOfASender) {
  child peer(receiver_of_numbers(2000));
  ASSERT_EQ(peer.talk().hear(), "attached");
  for (uint32_t first = 0; first < 2000; first += 5)
    ASSERT_EQ(send_samples(first, 5), 0U);
  EXPECT_EQ(mesh_host_flush(destination, 10'000), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
}

TEST_P(Promise, FlushesWhenTheLastHandlerHasReturned) {
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    receiver.in_handler = [&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
      parent.say("handled");
    };
    receiver.attach();
    parent.say("attached");
    receiver.collect(5);
    parent.hear();
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  for (uint32_t i = 0; i < 5; i++)
    ASSERT_EQ(send_samples(i, 1), 0U);
  const auto waited = time_of([] { EXPECT_EQ(mesh_host_flush(destination, 10'000), 0U); });
  EXPECT_GE(waited.count(), 100);
  for (int i = 0; i < 5; i++)
    EXPECT_EQ(peer.talk().hear(), "handled");
}

TEST_P(Promise, TellsASenderWhoseReceiverTakesNothingThatItIsBusyAndLosesNothing) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "500");
  set_variable("MESH_HOST_WINDOW_MESSAGES", "40");
  place("batches=20");
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    receiver.attach();
    parent.say("attached");
    const auto count = static_cast<size_t>(std::stoi(parent.hear()));
    const bool all = receiver.collect(count);
    parent.say(all && receiver.numbers() == numbers_up_to(static_cast<uint32_t>(count))
                   ? "in order"
                   : "got " + std::to_string(receiver.messages.size()));
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  peer.stop();
  uint32_t sent = 0;
  uint32_t result = 0;
  for (; sent < 20'000; sent += 2)
    if (result = send_samples(sent, 2, 0, "some text"); result != 0)
      break;
  EXPECT_EQ(result, uint32_t{MESH_HOST_FULL});
  EXPECT_LT(sent, 20'000U);
  const auto waited = time_of([=] { result == 0 || send_samples(sent, 1); });
  EXPECT_GE(waited.count(), 500);
  EXPECT_LT(waited, promptly);
  EXPECT_EQ(counters().refused, 3U);
  EXPECT_EQ(counters().accepted, sent);
  kill(peer.pid(), SIGCONT);
  peer.talk().say(std::to_string(sent));
  EXPECT_EQ(peer.talk().hear(), "in order");
  EXPECT_EQ(mesh_host_flush(destination, 10'000), 0U);
  EXPECT_EQ(counters().lost, 0U);
}

TEST_P(Promise, AllowsOneReceiverOfADestination) {
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  const captured_stderr told;
  collecting_receiver second;
  EXPECT_EQ(second.attach(), uint32_t{MESH_HOST_DUPLICATE});
  EXPECT_NE(told.text().find("destination 7 has a receiver already"), std::string::npos);
}

TEST_P(Promise, LetsTheNextReceiverFollowOneThatWasKilled) {
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  peer.kill();
  collecting_receiver receiver;
  const auto until = std::chrono::steady_clock::now() + promptly;
  while (receiver.attach() != 0U)
    ASSERT_LT(std::chrono::steady_clock::now(), until);
}

TEST_P(Promise, TellsALateJoinerWhatItMissed) {
  child first(receiver_of_numbers(3));
  child second([](conversation &parent) {
    parent.hear();
    collecting_receiver receiver;
    receiver.attach();
    mesh_host_gap seen{};
    mesh_host_on_gap(
        receiver.handle,
        [](void *context, const mesh_host_gap *gap) {
          *static_cast<mesh_host_gap *>(context) = *gap;
        },
        &seen);
    parent.say("attached");
    receiver.collect(1);
    parent.say(std::to_string(seen.first) + " to " + std::to_string(seen.last));
    return 0;
  });
  ASSERT_EQ(first.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 3), 0U);
  ASSERT_EQ(first.talk().hear(), "in order");
  ASSERT_EQ(mesh_host_flush(destination, 5000), 0U);
  first.talk().say("go");
  ASSERT_EQ(first.wait(), 0);

  second.talk().say("attach");
  ASSERT_EQ(second.talk().hear(), "attached");
  ASSERT_EQ(send_samples(3, 1), 0U);
  EXPECT_EQ(second.talk().hear(), "1 to 3");
}

// One thread's flush once took the report that another thread's send was owed.
TEST_P(Promise, TellsEachThreadOfALossThatItsMessagesAreIn) {
  if (GetParam() == way::nats)
    place("storage=memory");
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  std::mutex turn;
  turn.lock();
  uint32_t of_sender = 0;
  std::thread other([&] {
    EXPECT_EQ(send_samples(10, 3), 0U);
    turn.lock(); // the loss has happened and the main thread was told
    of_sender = send_samples(20, 1);
  });
  while (counters().accepted < 3)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  if (server != nullptr) {
    // The messages are lost with the memory of the server that kept them.
    while (mesh_host_flush(destination, 50) != MESH_HOST_FULL) {
    }
    server->kill();
    server->start();
  } else {
    peer.kill();
  }
  uint32_t of_flush = 0;
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(15);
  while ((of_flush = mesh_host_flush(destination, 500)) == MESH_HOST_FULL &&
         std::chrono::steady_clock::now() < until) {
  }
  EXPECT_EQ(of_flush, uint32_t{MESH_HOST_PEER_LOST});
  turn.unlock();
  other.join();
  EXPECT_EQ(of_sender, uint32_t{MESH_HOST_PEER_LOST});
  mesh_host_progress progress{};
  mesh_host_get_progress(destination, &progress);
  EXPECT_EQ(progress.losses, 1U);
  EXPECT_EQ(progress.lost_first, 1U);
  EXPECT_EQ(progress.lost_last, 3U);
  EXPECT_EQ(counters().lost, 3U);
  EXPECT_EQ(mesh_host_flush(destination, 500), 0U);
}

INSTANTIATE_TEST_SUITE_P(, Promise, testing::Values(way::local, way::nats), [](const auto &each) {
  return each.param == way::local ? "Local" : "Nats";
});

// What only one of the ways can promise.
class LocalPromise : public MeshTest {};

TEST_F(LocalPromise, NamesExactlyTheMessagesThatAreNotKnownToBeHandled) {
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    receiver.attach();
    parent.say("attached");
    receiver.collect(5);
    parent.say("handled");
    parent.hear();
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  for (uint32_t i = 0; i < 5; i++)
    ASSERT_EQ(send_samples(i, 1), 0U);
  ASSERT_EQ(peer.talk().hear(), "handled");
  ASSERT_EQ(mesh_host_flush(destination, 5000), 0U);
  ASSERT_EQ(send_samples(5, 2), 0U);
  peer.kill();
  EXPECT_EQ(mesh_host_flush(destination, 5000), uint32_t{MESH_HOST_PEER_LOST});
  mesh_host_progress progress{};
  mesh_host_get_progress(destination, &progress);
  EXPECT_EQ(progress.accepted, 7U);
  EXPECT_EQ(progress.lost_first, 6U);
  EXPECT_EQ(progress.lost_last, 7U);
}

class NatsPromise : public MeshTest {
protected:
  void SetUp() override {
    MeshTest::SetUp();
    server = std::make_unique<nats_server>(scratch + "/nats");
    server->start();
    place("storage=file");
  }
  void TearDown() override {
    server.reset();
    MeshTest::TearDown();
  }
  void place(const std::string &options) {
    std::ofstream(scratch + "/mesh.conf") << "destination * " << server->url() << " " << options;
    set_variable("MESH_HOST_CONFIG", scratch + "/mesh.conf");
  }
  std::unique_ptr<nats_server> server;
};

TEST_F(NatsPromise, KeepsWhatWasAcceptedForAReceiverThatComesLater) {
  child sender([](conversation &) { return send_samples(0, 50) == 0 ? 0 : 1; });
  ASSERT_EQ(sender.wait(), 0);
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  ASSERT_TRUE(receiver.collect(50));
  EXPECT_EQ(receiver.numbers(), numbers_up_to(50));
}

TEST_F(NatsPromise, GivesTheNextReceiverInOrderWhatTheKilledOneDidNotAcknowledge) {
  child first([](conversation &parent) {
    collecting_receiver receiver;
    receiver.in_handler = [&] {
      if (receiver.messages.size() == 10) {
        parent.say("ten");
        pause();
      }
    };
    receiver.attach();
    parent.say("attached");
    receiver.collect(100);
    return 0;
  });
  ASSERT_EQ(first.talk().hear(), "attached");
  for (uint32_t i = 0; i < 30; i++)
    ASSERT_EQ(send_samples(i, 1), 0U);
  ASSERT_EQ(first.talk().hear(), "ten");
  first.kill();
  collecting_receiver second;
  const auto until = std::chrono::steady_clock::now() + promptly;
  while (second.attach() != 0U)
    ASSERT_LT(std::chrono::steady_clock::now(), until);
  // Nothing is missing, and it begins at the latest with what was being handled.
  while (second.messages.empty() || second.numbers().back() != 29)
    ASSERT_GE(second.poll(5000), 1);
  const std::vector<uint32_t> numbers = second.numbers();
  EXPECT_LE(numbers.front(), 9U);
  for (size_t i = 1; i < numbers.size(); i++)
    EXPECT_EQ(numbers[i], numbers[i - 1] + 1);
  EXPECT_EQ(mesh_host_flush(destination, 5000), 0U);
}

// Packets that were sent at once do not say of each other that they are stored: the sender says so
// behind them. The killed one has heard it, and the next one must, too.
TEST_F(NatsPromise, KeepsTheNextReceiverNotWaitingForWhatTheKilledOneWasTold) {
  child first([](conversation &parent) {
    collecting_receiver receiver;
    receiver.in_handler = [&] {
      if (receiver.messages.size() == 10) {
        parent.say("ten");
        pause();
      }
    };
    receiver.attach();
    parent.say("attached");
    receiver.collect(100);
    return 0;
  });
  ASSERT_EQ(first.talk().hear(), "attached");
  for (uint32_t i = 0; i < 30; i++)
    ASSERT_EQ(send_samples(i, 1), 0U);
  ASSERT_EQ(first.talk().hear(), "ten");
  std::this_thread::sleep_for(std::chrono::milliseconds(300)); // the sender's last word takes 20
  first.kill();
  collecting_receiver second;
  const auto until = std::chrono::steady_clock::now() + promptly;
  while (second.attach() != 0U)
    ASSERT_LT(std::chrono::steady_clock::now(), until);
  ASSERT_TRUE(second.collect(21)); // the tenth was not done
  EXPECT_EQ(second.numbers().back(), 29U);
  EXPECT_LT(std::chrono::steady_clock::now(), until);
}

// Each of them would make what the server keeps for a destination.
TEST_F(NatsPromise, LetsAllSendersBeginAtTheSameTime) {
  constexpr uint32_t destinations = 20;
  place("bytes=1048576");
  std::vector<std::unique_ptr<child>> senders;
  for (int i = 0; i < 4; i++)
    senders.push_back(std::make_unique<child>([](conversation &parent) {
      parent.say("ready");
      parent.hear();
      const std::vector<uint8_t> bytes = encode_sample(0);
      const msg_desc message{bytes.data(), sample_id, static_cast<uint32_t>(bytes.size())};
      for (uint32_t to = 100; to < 100 + destinations; to++)
        if (MESH_SendMsg(to, &message, 1) != 0)
          return 1;
      return 0;
    }));
  for (const auto &each : senders)
    EXPECT_EQ(each->talk().hear(), "ready");
  for (const auto &each : senders)
    each->talk().say("go");
  for (const auto &each : senders)
    EXPECT_EQ(each->wait(), 0);
}

// Each goes in the middle of what the server pushes: nothing may read for it any more.
TEST_F(NatsPromise, LetsReceiversComeAndGoWhilePacketsArrive) {
  constexpr uint32_t count = 2000;
  child sender([](conversation &parent) {
    for (uint32_t i = 0; i < count; i++)
      if (send_samples(i, 1) != 0)
        return 1;
    parent.say("sent");
    return 0;
  });
  collecting_receiver receiver;
  const auto until = std::chrono::steady_clock::now() + 6 * promptly;
  while (receiver.messages.size() < count && std::chrono::steady_clock::now() < until) {
    ASSERT_EQ(receiver.attach(), 0U);
    receiver.poll(100);
    receiver.detach();
  }
  EXPECT_EQ(receiver.numbers(), numbers_up_to(count));
  EXPECT_EQ(sender.talk().hear(), "sent");
  EXPECT_EQ(sender.wait(), 0);
}

TEST_F(NatsPromise, GoesOnWhenItsServerWasKilledAndStartedAnew) {
  child peer(receiver_of_numbers(300));
  ASSERT_EQ(peer.talk().hear(), "attached");
  for (uint32_t i = 0; i < 300; i++) {
    ASSERT_EQ(send_samples(i, 1), 0U);
    if (i == 100) {
      server->kill();
      server->start();
    }
  }
  EXPECT_EQ(mesh_host_flush(destination, 20'000), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
  EXPECT_EQ(counters().lost, 0U);
}

TEST_F(NatsPromise, IsBusyNoLongerThanTheTimeOutWhileItsServerIsStopped) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "300");
  constexpr uint32_t all = 2000; // more than a sender sends without an answer
  child peer(receiver_of_numbers(all));
  ASSERT_EQ(peer.talk().hear(), "attached");
  uint32_t sent = 0;
  for (; sent < 10; sent++)
    ASSERT_EQ(send_samples(sent, 1), 0U);
  server->stop();
  uint32_t result = 0;
  std::chrono::milliseconds longest{0};
  while (result == 0 && sent < all) {
    longest = std::max(longest, time_of([&] { result = send_samples(sent, 1); }));
    sent += result == 0 ? 1 : 0;
  }
  EXPECT_EQ(result, uint32_t{MESH_HOST_FULL});
  EXPECT_LT(longest.count(), 1500);
  server->go_on();
  for (const auto until = std::chrono::steady_clock::now() + promptly; sent < all;) {
    ASSERT_LT(std::chrono::steady_clock::now(), until);
    sent += send_samples(sent, 1) == 0 ? 1 : 0;
  }
  EXPECT_EQ(peer.talk().hear(), "in order");
  EXPECT_EQ(counters().lost, 0U);
}

TEST_F(NatsPromise, LetsAProcessEndWhoseServerIsGone) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "300");
  child both([](conversation &parent) {
    collecting_receiver receiver;
    if (receiver.attach(8) != 0 || send_samples(0, 5) != 0)
      return 1;
    mesh_host_progress progress{};
    while (progress.handled < 5)
      mesh_host_get_progress(destination, &progress);
    parent.say("there");
    parent.hear();
    return 0;
  });
  ASSERT_EQ(both.talk().hear(), "there");
  server->kill();
  both.talk().say("end");
  const auto waited = time_of([&] { EXPECT_EQ(both.wait(), 0); });
  EXPECT_LT(waited.count(), 1500);
}

TEST_F(NatsPromise, SaysThatNoServerAnswers) {
  server->kill();
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "300");
  const captured_stderr told;
  EXPECT_EQ(send_samples(0, 1), uint32_t{MESH_HOST_NO_RECEIVER});
  EXPECT_NE(told.text().find("nobody receives for destination 7: tried " + server->url()),
            std::string::npos)
      << told.text();
  collecting_receiver receiver;
  EXPECT_EQ(receiver.attach(), uint32_t{MESH_HOST_SYSTEM});
}

TEST_F(NatsPromise, RefusesABatchThatIsTooLongForTheServer) {
  EXPECT_EQ(send_samples(0, 1, 0, std::string(1'100'000, 'x')), uint32_t{MESH_HOST_TOO_LARGE});
  EXPECT_EQ(send_samples(0, 1, 0, std::string(1'000'000, 'x')), 0U);
  mesh_host_progress progress{};
  while (progress.handled == 0) // by the server
    mesh_host_get_progress(destination, &progress);
}

TEST_F(NatsPromise, CannotBeUsedByAForkedChild) {
  ASSERT_EQ(send_samples(0, 1), 0U);
  mesh_host_progress progress{};
  while (progress.handled == 0) // by the server, which this process would wait for at its end
    mesh_host_get_progress(destination, &progress);
  child heir([](conversation &parent) {
    parent.say(std::to_string(send_samples(1, 1)));
    _exit(0);
    return 0;
  });
  EXPECT_EQ(heir.talk().hear(), std::to_string(uint32_t{MESH_HOST_SYSTEM}));
}

} // namespace
