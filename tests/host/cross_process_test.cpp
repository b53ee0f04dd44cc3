// Sender and receiver in two processes of one machine.
//
// Room: tests.
#include "captured_stderr.h"
#include "mesh_fixture.h"

#include <csignal>
#include <ctime>
#include <thread>
#include <unistd.h>

namespace {

class CrossProcess : public MeshTest {};

constexpr auto promptly = std::chrono::milliseconds(3000); // the time-outs are ten seconds

TEST_F(CrossProcess, KeepsTheOrderThroughASmallWindow) {
  set_variable("MESH_HOST_WINDOW_MESSAGES", "16");
  constexpr uint32_t count = 1000;
  child peer(receiver_of_numbers(count));
  ASSERT_EQ(peer.talk().hear(), "attached");
  for (uint32_t first = 0; first < count; first += 5)
    ASSERT_EQ(send_samples(first, 5), 0U);
  EXPECT_EQ(mesh_host_flush(destination, 5000), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
}

TEST_F(CrossProcess, DeliversAMegabyteUnchanged) {
  std::string text;
  for (uint32_t i = 0; i < 1U << 20; i++)
    text += static_cast<char>(i * 2654435761U >> 24);
  child peer([&](conversation &parent) {
    collecting_receiver receiver;
    receiver.attach();
    parent.say("attached");
    parent.say(receiver.collect(1) && receiver.messages[0].text == text ? "good" : "bad");
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(1, 1, 0, text), 0U);
  EXPECT_EQ(peer.talk().hear(), "good");
}

// Short ones are copied together, longer ones are not, and the longest go in pieces.
TEST_F(CrossProcess, DeliversMessagesOfAnyLengthUnchanged) {
  const std::vector<size_t> lengths = {0,     1,     1979,  1980,  1983,  1984,   1985,   1988,
                                       1989,  2047,  2048,  2049,  65535, 65536,  73663,  73664,
                                       73665, 73668, 73669, 73672, 73673, 147000, 220000, 3};
  child peer([&](conversation &parent) {
    collecting_receiver receiver;
    receiver.attach();
    parent.say("attached");
    bool good = receiver.collect(lengths.size());
    for (size_t i = 0; good && i < lengths.size(); i++)
      good = receiver.messages[i].number == i &&
             receiver.messages[i].text == std::string(lengths[i], static_cast<char>('a' + i));
    parent.say(good ? "good" : "bad");
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  for (uint32_t i = 0; i < lengths.size(); i++)
    ASSERT_EQ(send_samples(i, 1, 0, std::string(lengths[i], static_cast<char>('a' + i))), 0U);
  EXPECT_EQ(peer.talk().hear(), "good");
}

// It looks a little longer than it must for what comes at once, and then sleeps.
TEST_F(CrossProcess, LeavesTheProcessorAloneWhileNothingComes) {
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  const auto processor_ms = [] {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return used.tv_sec * 1000 + used.tv_nsec / 1'000'000;
  };
  const auto before = processor_ms();
  EXPECT_EQ(receiver.poll(1000), 0);
  EXPECT_LT(processor_ms() - before, 100);
}

TEST_F(CrossProcess, MakesTheSenderWaitForAFullReceiverAndThenFailWithoutLoss) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "1000");
  set_variable("MESH_HOST_WINDOW_MESSAGES", "8");
  child peer(reluctant_receiver(9));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 8), 0U);
  const auto waited = time_of([] { EXPECT_EQ(send_samples(99, 1), uint32_t{MESH_HOST_FULL}); });
  EXPECT_GE(waited.count(), 1000);
  EXPECT_LT(waited, promptly);
  peer.talk().say("take them");
  EXPECT_EQ(mesh_host_flush(destination, 5000), 0U);
  ASSERT_EQ(send_samples(8, 1), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
}

TEST_F(CrossProcess, RefusesABatchAsAWhole) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "1000");
  set_variable("MESH_HOST_WINDOW_MESSAGES", "4");
  child peer(reluctant_receiver(4));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 3), 0U);
  ASSERT_EQ(send_samples(90, 2), uint32_t{MESH_HOST_FULL});
  peer.talk().say("take them");
  EXPECT_EQ(mesh_host_flush(destination, 5000), 0U);
  ASSERT_EQ(send_samples(3, 1), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
}

TEST_F(CrossProcess, LetsABatchAboveTheWindowThroughWhenNothingElseWaits) {
  set_variable("MESH_HOST_WINDOW_MESSAGES", "4");
  set_variable("MESH_HOST_WINDOW_BYTES", "64");
  child peer(receiver_of_numbers(60));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 30), 0U);
  ASSERT_EQ(send_samples(30, 30), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
}

TEST_F(CrossProcess, WaitsForAReceiverAndThenFails) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "150");
  const auto waited =
      time_of([] { EXPECT_EQ(send_samples(0, 1), uint32_t{MESH_HOST_NO_RECEIVER}); });
  EXPECT_GE(waited.count(), 100);
  EXPECT_LT(waited, promptly);
  EXPECT_EQ(counters().accepted, 0U);
}

TEST_F(CrossProcess, WaitsForAReceiverThatStartsLate) {
  child peer([](conversation &parent) {
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    return receiver_of_numbers(1)(parent);
  });
  EXPECT_EQ(send_samples(0, 1), 0U);
  EXPECT_EQ(peer.talk().hear(), "attached");
  EXPECT_EQ(peer.talk().hear(), "in order");
}

TEST_F(CrossProcess, TellsAFlushThatTheReceiverWasKilled) {
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 3), 0U);
  peer.kill();
  const captured_stderr told;
  const auto waited = time_of(
      [] { EXPECT_EQ(mesh_host_flush(destination, 10'000), uint32_t{MESH_HOST_PEER_LOST}); });
  EXPECT_LT(waited, promptly);
  EXPECT_NE(told.text().find("destination 7 went away, 3 messages"), std::string::npos);
}

TEST_F(CrossProcess, TellsASenderInTheMiddleOfItsWaitThatTheReceiverWasKilled) {
  set_variable("MESH_HOST_WINDOW_MESSAGES", "2");
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 2), 0U);
  std::thread killer([pid = peer.pid()] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    kill(pid, SIGKILL);
  });
  const auto waited = time_of([] { EXPECT_EQ(send_samples(2, 1), uint32_t{MESH_HOST_PEER_LOST}); });
  EXPECT_LT(waited, promptly);
  killer.join();
}

// The messages of the lost receiver must not reach its successor: they were reported.
TEST_F(CrossProcess, ServesTheNextReceiverAfterALossWasReported) {
  child first(reluctant_receiver(1));
  child second([](conversation &parent) {
    parent.hear();
    return receiver_of_numbers(2)(parent);
  });
  ASSERT_EQ(first.talk().hear(), "attached");
  ASSERT_EQ(send_samples(80, 1), 0U);
  // A stopped process reads nothing: all of this stays in the connection.
  first.stop();
  ASSERT_EQ(send_samples(90, 10, 0, std::string(100'000, 'x')), 0U);
  first.kill();
  second.talk().say("attach");
  ASSERT_EQ(second.talk().hear(), "attached");
  std::this_thread::sleep_for(std::chrono::milliseconds(200)); // time enough to go astray
  ASSERT_EQ(mesh_host_flush(destination, 5000), uint32_t{MESH_HOST_PEER_LOST});
  ASSERT_EQ(send_samples(0, 2), 0U);
  EXPECT_EQ(second.talk().hear(), "in order");
}

TEST_F(CrossProcess, NoticesAKilledReceiverWhoseChildHoldsItsSockets) {
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    receiver.attach();
    receiver.collect(1); // the connection is there to be inherited
    const pid_t heir = fork();
    if (heir == 0) {
      sleep(20);
      _exit(0);
    }
    parent.say(std::to_string(heir));
    parent.hear();
    return 0;
  });
  ASSERT_EQ(send_samples(0, 1), 0U);
  const pid_t heir = static_cast<pid_t>(std::stoi(peer.talk().hear()));
  ASSERT_EQ(send_samples(1, 1), 0U);
  peer.kill();
  const auto waited = time_of(
      [] { EXPECT_EQ(mesh_host_flush(destination, 10'000), uint32_t{MESH_HOST_PEER_LOST}); });
  EXPECT_LT(waited, promptly);
  kill(heir, SIGKILL);
}

TEST_F(CrossProcess, CountsWhatAReceiverHandledBeforeItLeft) {
  child peer(receiver_of_numbers(50));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 50), 0U);
  ASSERT_EQ(peer.talk().hear(), "in order");
  peer.talk().say("go");
  ASSERT_EQ(peer.wait(), 0);
  EXPECT_EQ(mesh_host_flush(destination, 5000), 0U);
}

TEST_F(CrossProcess, TellsTheSenderThatADetachLeftMessagesUnhandled) {
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    receiver.attach();
    parent.say("attached");
    parent.hear();
    receiver.detach();
    parent.say("detached");
    parent.hear();
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 2), 0U);
  peer.talk().say("detach");
  ASSERT_EQ(peer.talk().hear(), "detached");
  EXPECT_EQ(mesh_host_flush(destination, 10'000), uint32_t{MESH_HOST_PEER_LOST});
}

TEST_F(CrossProcess, RefusesASecondReceiverOfADestination) {
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  const captured_stderr told;
  collecting_receiver second;
  EXPECT_EQ(second.attach(), uint32_t{MESH_HOST_DUPLICATE});
  EXPECT_NE(told.text().find("process " + std::to_string(peer.pid())), std::string::npos);
}

TEST_F(CrossProcess, TakesOverFromAKilledReceiver) {
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  const std::string socket = directory + "/7.sock";
  peer.kill();
  ASSERT_EQ(access(socket.c_str(), F_OK), 0) << "a stale socket is what this is about";
  collecting_receiver receiver;
  EXPECT_EQ(receiver.attach(), 0U);
}

TEST_F(CrossProcess, LeavesNoSocketBehindAfterADetach) {
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  receiver.detach();
  EXPECT_NE(access((directory + "/7.sock").c_str(), F_OK), 0);
}

TEST_F(CrossProcess, SerialisesSeveralSendingThreads) {
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    receiver.attach();
    parent.say("attached");
    bool good = receiver.collect(400);
    std::vector<uint32_t> next{0, 0, 0, 0};
    for (const uint32_t number : receiver.numbers())
      good = good && number % 1000 == next[number / 1000]++;
    parent.say(good ? "good" : "bad");
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  std::vector<std::thread> senders;
  for (uint32_t thread = 0; thread < 4; thread++)
    senders.emplace_back([=] {
      for (uint32_t i = 0; i < 100; i++)
        EXPECT_EQ(send_samples(thread * 1000 + i, 1), 0U);
    });
  for (std::thread &sender : senders)
    sender.join();
  EXPECT_EQ(peer.talk().hear(), "good");
}

TEST_F(CrossProcess, ServesSeveralSendersAtOnce) {
  const auto sender = [](conversation &) {
    for (uint32_t i = 0; i < 100; i++)
      if (send_samples(i, 1) != 0)
        return 1;
    return mesh_host_flush(destination, 10'000) == 0 ? 0 : 1;
  };
  child first(sender);
  child second(sender);
  child third(sender);
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  EXPECT_TRUE(receiver.collect(300));
  EXPECT_EQ(receiver.poll(0), 0); // the last acknowledgements leave with the poll that handled
  EXPECT_EQ(first.wait(), 0);
  EXPECT_EQ(second.wait(), 0);
  EXPECT_EQ(third.wait(), 0);
}

TEST_F(CrossProcess, GivesASignalHandlerItsTurnDuringAPoll) {
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGUSR1, &action, nullptr);
  const pthread_t poller = pthread_self();
  std::thread other([=] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    pthread_kill(poller, SIGUSR1);
  });
  EXPECT_EQ(receiver.poll(10'000), 0);
  other.join();
}

} // namespace
