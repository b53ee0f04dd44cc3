// What becomes of messages when a process ends or forks.
//
// Room: tests.
#include "captured_stderr.h"
#include "mesh_fixture.h"

#include <thread>
#include <unistd.h>

namespace {

class ProcessEnd : public MeshTest {};

constexpr auto promptly = std::chrono::milliseconds(3000);

// Before a fork in a process that uses the mesh. The address sanitizer's heap does not survive a
// fork while another thread is inside it, and its leak check must not run in such a child, which
// therefore ends by _exit.
void let_threads_rest() {
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

TEST_F(ProcessEnd, DeliversWhatASenderSentJustBeforeItEnded) {
  // More than the system's buffers hold: something is still in the process when it ends.
  const std::string text(200'000, 'x');
  child sender([&](conversation &) { return send_samples(0, 50, 0, text) == 0 ? 0 : 1; });
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  EXPECT_TRUE(receiver.collect(50));
  EXPECT_EQ(sender.wait(), 0);
  EXPECT_EQ(receiver.numbers(), numbers_up_to(50));
}

TEST_F(ProcessEnd, WaitsNoLongerThanTheTimeOutForAReceiverThatTakesNothing) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "1000");
  const captured_stderr told;
  child sender([](conversation &) { return send_samples(0, 3) == 0 ? 0 : 1; });
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  const auto waited = time_of([&] { EXPECT_EQ(sender.wait(), 0); });
  EXPECT_GE(waited.count(), 500) << "it did not wait at all";
  EXPECT_LT(waited, promptly);
  EXPECT_NE(told.text().find("3 messages to destination 7 not known to be handled"),
            std::string::npos)
      << told.text();
}

TEST_F(ProcessEnd, AcknowledgesWhatWasHandledBeforeAHandlerEndedTheProcess) {
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    receiver.in_handler = [&] {
      if (receiver.messages.size() == 3)
        exit(0);
    };
    receiver.attach();
    parent.say("attached");
    receiver.collect(100);
    return 1;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 3), 0U);
  EXPECT_EQ(peer.wait(), 0);
  // Two were handled, the third was being handled: it is not known to be.
  const captured_stderr told;
  EXPECT_EQ(mesh_host_flush(destination, 5000), uint32_t{MESH_HOST_PEER_LOST});
  EXPECT_NE(told.text().find("went away, 1 messages"), std::string::npos) << told.text();
}

TEST_F(ProcessEnd, EndsWhileAnotherThreadPolls) {
  child peer([](conversation &parent) {
    auto *receiver = new collecting_receiver;
    receiver->attach();
    std::thread([&parent, receiver] {
      parent.say("polling");
      receiver->poll(-1);
      pause();
    }).detach();
    parent.hear();
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "polling");
  peer.talk().say("end");
  const auto waited = time_of([&] { EXPECT_EQ(peer.wait(), 0); });
  EXPECT_LT(waited, promptly);
}

#ifndef __SANITIZE_THREAD__ // which cannot follow threads made after a fork of several threads
TEST_F(ProcessEnd, GivesAForkedChildAMeshOfItsOwn) {
  child receiver(receiver_of_numbers(4));
  ASSERT_EQ(receiver.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 2), 0U);
  ASSERT_EQ(mesh_host_flush(destination, 5000), 0U);
  let_threads_rest();
  child second_sender([](conversation &) {
    const bool sent = send_samples(2, 2) == 0 && mesh_host_flush(destination, 5000) == 0;
    _exit(sent ? 0 : 1);
    return 0;
  });
  EXPECT_EQ(second_sender.wait(), 0);
  EXPECT_EQ(receiver.talk().hear(), "in order");
}

#endif

TEST_F(ProcessEnd, KeepsAForkedChildFromPollingItsParentsReceiver) {
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  let_threads_rest();
  child heir([&](conversation &) {
    const bool refused = receiver.poll(0) == -1;
    receiver.detach();
    _exit(refused ? 0 : 1);
    return 0;
  });
  EXPECT_EQ(heir.wait(), 0);
  ASSERT_EQ(send_samples(0, 1), 0U);
  EXPECT_TRUE(receiver.collect(1));
}

} // namespace
