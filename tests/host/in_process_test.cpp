// Sender and receiver in one process; registration; arguments.
//
// Room: tests.
#include "captured_stderr.h"
#include "mesh_fixture.h"

#include <algorithm>
#include <thread>

namespace {

class InProcess : public MeshTest {
protected:
  void attach() { ASSERT_EQ(receiver.attach(), 0U); }

  collecting_receiver receiver;
};

using strings = std::vector<std::string>;

TEST_F(InProcess, DeliversACopyWithIdentifierTargetAndSize) {
  attach();
  constexpr uint64_t target = 0x1122334455667788;
  ASSERT_EQ(send_samples(5, 1, target, "some text"), 0U);
  ASSERT_EQ(receiver.poll(), 1);
  const received expected{sample_id, target, sizeof(sample), 5, "some text"};
  EXPECT_EQ(receiver.messages, std::vector{expected});
}

TEST_F(InProcess, HandsOverTargetZeroWhenThereIsNone) {
  attach();
  ASSERT_EQ(send_samples(1, 1), 0U);
  ASSERT_EQ(receiver.poll(), 1);
  EXPECT_EQ(receiver.messages[0].target, 0U);
}

TEST_F(InProcess, ZeroesTheStorageBeforeEachDecode) {
  attach();
  ASSERT_EQ(send_samples(0xFFFFFFFF, 1, 0, "left behind"), 0U);
  const uint8_t refused_early[] = {1, 2, 3};
  const msg_desc message{refused_early, sample_id, sizeof refused_early};
  ASSERT_EQ(MESH_SendMsg(destination, &message, 1), 0U);
  ASSERT_TRUE(receiver.collect(2));
  EXPECT_EQ(receiver.messages[1].number, 0U);
  EXPECT_EQ(receiver.messages[1].text, "");
}

TEST_F(InProcess, ReleasesTheRecordAfterTheHandler) {
  attach();
  ASSERT_EQ(send_samples(0, 2), 0U);
  ASSERT_TRUE(receiver.collect(2));
  EXPECT_EQ(sample_events(),
            (strings{"size?", "unpack", "handle", "release", "unpack", "handle", "release"}));
}

TEST_F(InProcess, AsksForTheRecordSizeOnceWithANullRecord) {
  attach();
  ASSERT_EQ(send_samples(0, 10), 0U);
  ASSERT_TRUE(receiver.collect(10));
  EXPECT_EQ(std::count(sample_events().begin(), sample_events().end(), "size?"), 1);
}

TEST_F(InProcess, KeepsTheOrderOfASender) {
  attach();
  for (uint32_t first = 0; first < 500; first += 50)
    ASSERT_EQ(send_samples(first, 50), 0U);
  ASSERT_TRUE(receiver.collect(500));
  EXPECT_EQ(receiver.numbers(), numbers_up_to(500));
}

TEST_F(InProcess, MakesTheSenderWaitForAFullReceiverAndThenFail) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "100");
  set_variable("MESH_HOST_WINDOW_MESSAGES", "4");
  attach();
  ASSERT_EQ(send_samples(0, 4), 0U);
  const auto waited = time_of([] { EXPECT_EQ(send_samples(99, 1), uint32_t{MESH_HOST_FULL}); });
  EXPECT_GE(waited.count(), 100);
  ASSERT_TRUE(receiver.collect(4));
  EXPECT_EQ(send_samples(4, 1), 0U);
  ASSERT_TRUE(receiver.collect(5));
  EXPECT_EQ(receiver.numbers(), numbers_up_to(5));
}

TEST_F(InProcess, CountsTheWindowInBytesToo) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "50");
  set_variable("MESH_HOST_WINDOW_BYTES", "100");
  attach();
  ASSERT_EQ(send_samples(0, 1, 0, std::string(96, 'x')), 0U);
  EXPECT_EQ(send_samples(1, 1), uint32_t{MESH_HOST_FULL});
}

TEST_F(InProcess, RefusesABatchAsAWhole) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "50");
  set_variable("MESH_HOST_WINDOW_MESSAGES", "4");
  attach();
  ASSERT_EQ(send_samples(0, 3), 0U);
  ASSERT_EQ(send_samples(3, 2), uint32_t{MESH_HOST_FULL});
  ASSERT_TRUE(receiver.collect(3));
  EXPECT_EQ(receiver.poll(50), 0);
  EXPECT_EQ(counters().accepted, 3U);
}

TEST_F(InProcess, LetsABatchAboveTheWindowThroughWhenNothingElseWaits) {
  set_variable("MESH_HOST_WINDOW_MESSAGES", "4");
  attach();
  ASSERT_EQ(send_samples(0, 20), 0U);
  ASSERT_TRUE(receiver.collect(20));
  EXPECT_EQ(receiver.numbers(), numbers_up_to(20));
}

TEST_F(InProcess, FlushesWhenTheLastHandlerHasReturned) {
  attach();
  std::atomic<int> handled{0};
  receiver.in_handler = [&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    handled++;
  };
  ASSERT_EQ(send_samples(0, 5), 0U);
  std::thread poller([&] { receiver.collect(5); });
  EXPECT_EQ(mesh_host_flush(destination, 10'000), 0U);
  EXPECT_EQ(handled, 5);
  poller.join();
}

TEST_F(InProcess, EndsAFlushAtItsTimeOut) {
  attach();
  ASSERT_EQ(send_samples(0, 1), 0U);
  EXPECT_EQ(mesh_host_flush(destination, 50), uint32_t{MESH_HOST_FULL});
}

TEST_F(InProcess, FlushesADestinationNothingWasSentTo) {
  EXPECT_EQ(mesh_host_flush(destination, 50), 0U);
}

TEST_F(InProcess, TellsTheSenderOnceThatADetachLeftMessagesUnhandled) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "50");
  attach();
  ASSERT_EQ(send_samples(0, 1), 0U);
  receiver.detach();
  EXPECT_EQ(send_samples(1, 1), uint32_t{MESH_HOST_PEER_LOST});
  EXPECT_EQ(send_samples(2, 1), uint32_t{MESH_HOST_NO_RECEIVER});
}

TEST_F(InProcess, DetachesWithoutComplaintWhenEverythingWasHandled) {
  attach();
  ASSERT_EQ(send_samples(0, 1), 0U);
  ASSERT_TRUE(receiver.collect(1));
  receiver.detach();
  EXPECT_EQ(mesh_host_flush(destination, 50), 0U);
}

TEST_F(InProcess, FreesASenderThatWaitsForAReceiverThatLeaves) {
  set_variable("MESH_HOST_WINDOW_MESSAGES", "1");
  attach();
  ASSERT_EQ(send_samples(0, 1), 0U);
  std::thread leaver([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    receiver.detach();
  });
  EXPECT_EQ(send_samples(1, 1), uint32_t{MESH_HOST_PEER_LOST});
  leaver.join();
}

TEST_F(InProcess, EndsAPollWithADetachInAnotherThread) {
  attach();
  std::thread leaver([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    mesh_host_detach(receiver.handle);
  });
  EXPECT_EQ(receiver.poll(-1), -1);
  leaver.join();
  receiver.handle = nullptr;
}

TEST_F(InProcess, AttachesAgainAfterADetach) {
  attach();
  receiver.detach();
  attach();
  ASSERT_EQ(send_samples(0, 1), 0U);
  EXPECT_TRUE(receiver.collect(1));
}

TEST_F(InProcess, LetsAHandlerSendToItsOwnDestination) {
  attach();
  receiver.in_handler = [&] {
    if (receiver.messages.size() == 1) {
      EXPECT_EQ(send_samples(1, 1), 0U);
    }
  };
  ASSERT_EQ(send_samples(0, 1), 0U);
  ASSERT_TRUE(receiver.collect(2));
  EXPECT_EQ(receiver.numbers(), numbers_up_to(2));
}

TEST_F(InProcess, RefusesADetachAndAPollInsideAHandler) {
  attach();
  const captured_stderr told;
  receiver.in_handler = [&] {
    mesh_host_detach(receiver.handle);
    EXPECT_EQ(receiver.poll(0), -1);
  };
  ASSERT_EQ(send_samples(0, 1), 0U);
  ASSERT_TRUE(receiver.collect(1));
  EXPECT_NE(told.text().find("a handler cannot detach"), std::string::npos);
  EXPECT_NE(told.text().find("is being polled already"), std::string::npos);
  receiver.in_handler = nullptr;
  ASSERT_EQ(send_samples(1, 1), 0U);
  EXPECT_TRUE(receiver.collect(2));
}

TEST_F(InProcess, SaysThatAnIdentifierIsUnknownAndGoesOn) {
  attach();
  const captured_stderr told;
  const msg_desc unknown{"abcd", unregistered_id, 4};
  for (int i = 0; i < 20; i++)
    ASSERT_EQ(MESH_SendMsg(destination, &unknown, 1), 0U);
  ASSERT_EQ(send_samples(0, 1), 0U);
  ASSERT_TRUE(receiver.collect(1));
  EXPECT_EQ(counters().unknown_identifier, 20U);
  EXPECT_EQ(mesh_host_flush(destination, 1000), 0U);
  const std::string text = told.text();
  EXPECT_NE(text.find("unknown identifier 0x5A5A0002"), std::string::npos) << text;
  EXPECT_LE(std::count(text.begin(), text.end(), '\n'), 5) << text;
}

TEST_F(InProcess, SerialisesSeveralSendingThreads) {
  attach();
  std::vector<std::thread> senders;
  for (uint32_t thread = 0; thread < 4; thread++)
    senders.emplace_back([=] {
      for (uint32_t i = 0; i < 100; i++)
        EXPECT_EQ(send_samples(thread * 1000 + i, 1), 0U);
    });
  ASSERT_TRUE(receiver.collect(400));
  for (std::thread &sender : senders)
    sender.join();
  std::vector<uint32_t> next{0, 0, 0, 0};
  for (const uint32_t number : receiver.numbers())
    EXPECT_EQ(number % 1000, next[number / 1000]++);
}

TEST_F(InProcess, RefusesASecondReceiverOfADestination) {
  attach();
  collecting_receiver second;
  EXPECT_EQ(second.attach(), uint32_t{MESH_HOST_DUPLICATE});
  EXPECT_EQ(second.attach(destination + 1), 0U);
}

TEST_F(InProcess, RefusesAMessageAboveTheFrameLimitAndItsWholeBatch) {
  set_variable("MESH_HOST_FRAME_LIMIT", "1000");
  attach();
  const std::vector<uint8_t> bytes(1001);
  const msg_desc messages[] = {{bytes.data(), sample_id, 1000}, {bytes.data(), sample_id, 1001}};
  EXPECT_EQ(MESH_SendMsg(destination, messages, 2), uint64_t{MESH_HOST_TOO_LARGE});
  EXPECT_EQ(MESH_SendMsg(destination, messages, 1), uint64_t{MESH_HOST_OK});
  EXPECT_EQ(counters().accepted, 1U);
}

TEST_F(InProcess, RefusesMessagesWithoutData) {
  attach();
  const msg_desc message{nullptr, sample_id, 1};
  EXPECT_EQ(MESH_SendMsg(destination, &message, 1), uint64_t{MESH_HOST_BAD_ARGUMENT});
  EXPECT_EQ(MESH_SendMsg(destination, nullptr, 1), uint64_t{MESH_HOST_BAD_ARGUMENT});
}

TEST_F(InProcess, DeliversAMessageOfNoBytes) {
  attach();
  const msg_desc message{nullptr, sample_id, 0};
  EXPECT_EQ(MESH_SendMsg(destination, &message, 1), 0U);
  EXPECT_TRUE(receiver.collect(1));
}

TEST_F(InProcess, HasNothingToDoForNoMessages) {
  EXPECT_EQ(MESH_SendMsg(destination, nullptr, 0), 0U);
  EXPECT_EQ(counters().accepted, 0U);
}

TEST_F(InProcess, CountsMessagesAndBytes) {
  attach();
  ASSERT_EQ(send_samples(0, 3, 0, "123456"), 0U);
  ASSERT_TRUE(receiver.collect(3));
  const mesh_host_counters now = counters();
  EXPECT_EQ(now.accepted, 3U);
  EXPECT_EQ(now.delivered, 3U);
  EXPECT_EQ(now.bytes_sent, 30U);
  EXPECT_EQ(now.bytes_received, 30U);
}

TEST_F(InProcess, RefusesNullArgumentsOfReceivers) {
  EXPECT_EQ(mesh_host_attach(destination, nullptr), uint32_t{MESH_HOST_BAD_ARGUMENT});
  EXPECT_EQ(mesh_host_poll(nullptr, 0, nullptr, nullptr), -1);
  mesh_host_detach(nullptr);
}

uint32_t other_unpack(const void *, uint32_t, void *) {
  return 0;
}

TEST_F(InProcess, RefusesOtherHooksForATakenIdentifierOnly) {
  EXPECT_EQ(MESH_RegIDLFuncHook(sample_id, unpack_sample, release_sample), 0U);
  EXPECT_EQ(MESH_RegIDLFuncHook(sample_id, other_unpack, release_sample),
            uint32_t{MESH_HOST_DUPLICATE});
  EXPECT_EQ(MESH_RegIDLFuncHook(unregistered_id, nullptr, release_sample),
            uint32_t{MESH_HOST_BAD_ARGUMENT});
  attach();
  ASSERT_EQ(send_samples(3, 1), 0U);
  ASSERT_TRUE(receiver.collect(1));
  EXPECT_EQ(receiver.numbers(), std::vector<uint32_t>{3});
}

std::string cleaned;
void clean_first() {
  cleaned += "first ";
}
void clean_second() {
  cleaned += "second ";
}

TEST_F(InProcess, CallsEachCleanHookOnceInTheOrderOfRegistration) {
  EXPECT_EQ(MESH_RegIDLResorceCleanFuncHook(clean_first), 0U);
  EXPECT_EQ(MESH_RegIDLResorceCleanFuncHook(clean_second), 0U);
  EXPECT_EQ(MESH_RegIDLResorceCleanFuncHook(clean_first), 0U);
  EXPECT_EQ(MESH_RegIDLResorceCleanFuncHook(nullptr), uint32_t{MESH_HOST_BAD_ARGUMENT});
  EXPECT_EQ(mesh_host_clean(100), 0U);
  EXPECT_EQ(cleaned, "first second ");
}

TEST_F(InProcess, ReportsAFailedFlushFromACleanThatRunsAllTheSame) {
  MESH_RegIDLResorceCleanFuncHook(clean_first);
  attach();
  ASSERT_EQ(send_samples(0, 1), 0U);
  EXPECT_EQ(mesh_host_clean(20), uint32_t{MESH_HOST_FULL});
  EXPECT_EQ(cleaned, "first ");
}

TEST_F(InProcess, HasATextForEveryResult) {
  for (uint32_t code = MESH_HOST_FULL; code <= MESH_HOST_SYSTEM; code++)
    EXPECT_STRNE(mesh_host_result_text(code), mesh_host_result_text(1));
  EXPECT_STREQ(mesh_host_result_text(1), "unknown result");
}

} // namespace
