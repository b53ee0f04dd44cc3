// The way through a server in a world that means no good: a server without room, strangers at its
// port, processes without descriptors. What was accepted is there in the end, and what is not is
// told.
//
// Room: tests.
#include "captured_stderr.h"
#include "descriptor_hoard.h"
#include "mesh_fixture.h"
#include "nats_server.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <memory>
#include <random>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;

constexpr uint32_t other_destination = 8;

// What 1 MiB of batches to keep makes the server set aside for a stream: twice that, and 16 MiB.
constexpr char small[] = "bytes=1048576";

class HostileTest : public MeshTest {
protected:
  void SetUp() override {
    MeshTest::SetUp();
    ASSERT_TRUE(nats_server::is_installed()) << "Debian's package nats-server has it";
    set_variable("MESH_HOST_SEND_TIMEOUT_MS", "400");
  }
  void TearDown() override {
    server.reset();
    MeshTest::TearDown();
  }
  // Behind the places of destinations come `options`.
  void begin(const std::string &settings, const std::string &options,
             const std::string &room = "max_mem: 4G, max_file: 4G") {
    server = std::make_unique<nats_server>(scratch + "/nats", settings, room);
    server->start();
    std::ofstream(scratch + "/mesh.conf") << "destination * " << server->url() << " " << options;
    set_variable("MESH_HOST_CONFIG", scratch + "/mesh.conf");
  }

  static uint32_t send_to(uint32_t where, uint32_t number, const std::string &text = "") {
    const std::vector<uint8_t> bytes = encode_sample(number, text);
    const msg_desc message{bytes.data(), sample_id, static_cast<uint32_t>(bytes.size())};
    return static_cast<uint32_t>(MESH_SendMsg(where, &message, 1));
  }

  // Sends samples of 10 kB from `sent` on until one is refused; why.
  static uint32_t send_until_refused(uint32_t &sent, uint32_t most) {
    const std::string text(10'000, 'x');
    for (; sent < most; sent++)
      if (const uint32_t result = send_to(destination, sent, text); result != 0)
        return result;
    return 0;
  }
  static void expect_all_in_order(collecting_receiver &receiver, uint32_t count) {
    ASSERT_TRUE(receiver.collect(count)) << receiver.messages.size() << " of " << count;
    EXPECT_EQ(receiver.poll(100), 0);
    EXPECT_EQ(receiver.numbers(), numbers_up_to(count));
  }
  // There is room again: the next one goes, and nothing of what was accepted is missing.
  static void expect_one_more_and_all_in_order(uint32_t accepted) {
    uint32_t again = MESH_HOST_FULL;
    for (int i = 0; i < 50 && again == MESH_HOST_FULL; i++)
      again = send_to(destination, accepted, std::string(10'000, 'x'));
    EXPECT_EQ(again, 0U);
    collecting_receiver receiver;
    ASSERT_EQ(receiver.attach(), 0U);
    expect_all_in_order(receiver, accepted + 1);
    EXPECT_EQ(counters().lost, 0U);
  }

  std::unique_ptr<nats_server> server;
};

// A server without room.

class NoRoom : public HostileTest, public testing::WithParamInterface<const char *> {
protected:
  bool on_disk() const { return std::string(GetParam()) == "file"; }
  // For two destinations and not for a third.
  std::string room() const {
    return on_disk() ? "max_mem: 4G, max_file: 40M" : "max_mem: 40M, max_file: 4G";
  }
  std::string options() const { return std::string(small) + " storage=" + GetParam(); }
};
INSTANTIATE_TEST_SUITE_P(, NoRoom, testing::Values("memory", "file"),
                         [](const auto &each) { return std::string(each.param); });

TEST_P(NoRoom, ForOneMoreDestinationIsBusyUntilThereIsSome) {
  begin("", options(), room());
  ASSERT_EQ(send_to(destination, 0), 0U);
  ASSERT_EQ(send_to(other_destination, 0), 0U);
  {
    const captured_stderr told;
    uint32_t result = 0;
    const auto waited = time_of([&] { result = send_to(9, 0); });
    EXPECT_EQ(result, uint32_t{MESH_HOST_FULL});
    EXPECT_GE(waited.count(), 380);
    EXPECT_LT(waited.count(), 3000);
    EXPECT_NE(told.text().find("resources available"), std::string::npos) << told.text();
  }
  stranger owner(server->port());
  EXPECT_NE(owner.ask(publication("$JS.API.STREAM.DELETE.MESH_8", "")).find("PONG"),
            std::string::npos);
  EXPECT_EQ(send_to(9, 0), 0U);
  EXPECT_EQ(mesh_host_flush(destination, 0), uint32_t{MESH_HOST_FULL}) << "it is still there";
}

// Streams that others made, without a limit of their own, take what there is.
TEST_P(NoRoom, BecauseOthersTookItIsBusyUntilThereIsSome) {
  begin("", options(), room());
  ASSERT_EQ(send_to(destination, 0, std::string(10'000, 'x')), 0U);
  stranger owner(server->port());
  const std::string wanted =
      std::string(R"({"name":"GREEDY","subjects":["greedy"],"storage":")") + GetParam() + R"("})";
  const std::string part(500'000, 'y');
  owner.ask(publication("$JS.API.STREAM.CREATE.GREEDY", wanted));
  for (int i = 0; i < 100; i++)
    owner.ask(publication("greedy", part));
  uint32_t sent = 1, result = 0;
  const auto waited = time_of([&] { result = send_until_refused(sent, 1000); });
  EXPECT_EQ(result, uint32_t{MESH_HOST_FULL});
  EXPECT_GE(waited.count(), 380);
  const uint32_t accepted = sent;
  EXPECT_EQ(counters().accepted, accepted);
  EXPECT_EQ(counters().lost, 0U);
  owner.ask(publication("$JS.API.STREAM.DELETE.GREEDY", ""));
  expect_one_more_and_all_in_order(accepted);
}

// A file system of its own for the server's store, as small as this, which others do not see.
// Empty, or why there is none.
std::string mount_small_disk(const std::string &folder) {
  if (unshare(CLONE_NEWNS) != 0) {
    const std::string user = std::to_string(geteuid()), group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
      return std::string("needs a mount namespace (root, or unprivileged user namespaces): ") +
             strerror(errno);
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
  }
  mkdir(folder.c_str(), 0700);
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      mount("small", folder.c_str(), "tmpfs", 0, "size=2m") != 0)
    return std::string("needs to mount a file system of its own: ") + strerror(errno);
  return "";
}

class DiskFull : public HostileTest {};

TEST_F(DiskFull, IsBusyAndGoesOnWithRoomAndLosesNothingThatWasAccepted) {
  mkdir((scratch + "/nats").c_str(), 0700);
  const std::string store = scratch + "/nats/store";
  if (const std::string why = mount_small_disk(store); !why.empty())
    GTEST_SKIP() << why;
  begin("", "storage=file");
  uint32_t sent = 0;
  const uint32_t result = send_until_refused(sent, 1000);
  EXPECT_EQ(result, uint32_t{MESH_HOST_FULL});
  const uint32_t accepted = sent;
  EXPECT_GT(accepted, 50U);
  EXPECT_LT(accepted, 500U);
  uint32_t second = 0;
  const auto waited = time_of([&] { second = send_to(destination, accepted); });
  EXPECT_EQ(second, uint32_t{MESH_HOST_FULL});
  EXPECT_GE(waited.count(), 380);
  EXPECT_LT(waited.count(), 3000);
  EXPECT_EQ(counters().lost, 0U);
  // Somebody makes room and, since this server gives up when its disk is full, starts it anew.
  ASSERT_EQ(mount("small", store.c_str(), "tmpfs", MS_REMOUNT, "size=64m"), 0);
  server->kill();
  server->start();
  expect_one_more_and_all_in_order(accepted);
  server.reset();
  umount2(store.c_str(), MNT_DETACH);
}

// Strangers.

// Two destinations, each with a user of its own who may do what its programs need.
std::string users() {
  std::string text = "authorization { users: [\n";
  for (const char *number : {"7", "8"}) {
    const std::string stream = std::string("MESH_") + number;
    text += std::string("{ user: user") + number + ", password: secret" + number +
            ", permissions: { publish: { allow: [\"mesh." + number + "\", \"$JS.API.STREAM.INFO." +
            stream + "\", \"$JS.API.STREAM.CREATE." + stream + "\", \"$JS.API.CONSUMER.INFO." +
            stream + ".receiver\", \"$JS.API.CONSUMER.DURABLE.CREATE." + stream +
            ".receiver\", \"$JS.API.CONSUMER.DELETE." + stream + ".receiver\", \"$JS.ACK." +
            stream + ".receiver.>\"] }, subscribe: { allow: [\"inbox" + number + ".>\"] } } }\n";
  }
  return text + "] }\n";
}

class Strangers : public HostileTest {
protected:
  void SetUp() override {
    HostileTest::SetUp();
    set_variable("MESH_HOST_SEND_TIMEOUT_MS", "10000");
    std::ofstream(scratch + "/password") << "secret7\n";
  }
  // A thousand messages, while a stranger is at work.
  void expect_undisturbed(const std::function<void()> &stranger_at_work) {
    child peer(receiver_of_numbers(1000));
    ASSERT_EQ(peer.talk().hear(), "attached");
    std::atomic<bool> enough{false};
    std::thread stranger([&] {
      do
        stranger_at_work();
      while (!enough);
    });
    for (uint32_t first = 0; first < 1000; first += 5)
      EXPECT_EQ(send_samples(first, 5), 0U);
    EXPECT_EQ(mesh_host_flush(destination, 10'000), 0U);
    enough = true;
    stranger.join();
    EXPECT_EQ(peer.talk().hear(), "in order");
    EXPECT_EQ(counters().accepted, 1000U);
    EXPECT_EQ(counters().handled, 1000U);
    EXPECT_EQ(counters().lost, 0U);
    EXPECT_EQ(counters().refused, 0U);
  }
  std::string own_place() const {
    return "user=user7 password-file=" + scratch + "/password inbox=inbox7";
  }
};

TEST_F(Strangers, WithoutCredentialsOrWithWrongOnesAreRefusedAndDisturbNobody) {
  begin(users(), own_place());
  expect_undisturbed([&] {
    for (const char *who : {"{}", R"({"user":"user7","pass":"secret8"})", R"({"user":"x"})",
                            R"({"auth_token":"secret7"})"}) {
      stranger nobody(server->port(), who);
      const std::string said = nobody.ask(
          publication("mesh.7", "x") + publication("$JS.API.CONSUMER.DELETE.MESH_7.receiver", ""));
      EXPECT_NE(said.find("-ERR 'Authorization Violation'"), std::string::npos) << said;
      EXPECT_EQ(said.find("PONG"), std::string::npos) << said;
    }
  });
}

TEST_F(Strangers, WithCredentialsOfAnotherDestinationAreRefusedAndDisturbNobody) {
  begin(users(), own_place());
  constexpr char who[] = R"({"user":"user8","pass":"secret8"})";
  const std::string consumer = R"({"stream_name":"MESH_7","config":{"durable_name":"receiver",)"
                               R"("deliver_subject":"_INBOX.mine","ack_policy":"none"}})";
  expect_undisturbed([&] {
    stranger other(server->port(), who);
    EXPECT_NE(other.ask(publication("mesh.8", "")).find("PONG"), std::string::npos);
    for (const auto &[subject, data] : std::vector<std::pair<std::string, std::string>>{
             {"mesh.7", "x"},
             {"$JS.API.CONSUMER.DURABLE.CREATE.MESH_7.receiver", consumer},
             {"$JS.API.CONSUMER.CREATE.MESH_7", consumer},
             {"$JS.API.CONSUMER.DELETE.MESH_7.receiver", ""},
             {"$JS.API.CONSUMER.MSG.NEXT.MESH_7.receiver", ""},
             {"$JS.API.STREAM.DELETE.MESH_7", ""},
             {"$JS.API.STREAM.PURGE.MESH_7", ""},
             {"$JS.API.STREAM.MSG.GET.MESH_7", R"({"seq":1})"},
             {"$JS.ACK.MESH_7.receiver.1.1.1.1.0", "+ACK"},
             {"inbox7.mine", "x"}}) {
      const std::string said = other.ask(publication(subject, data));
      EXPECT_NE(said.find("Permissions Violation for Publish"), std::string::npos)
          << subject << ": " << said;
    }
    for (const char *subject :
         {"mesh.7", "mesh.>", ">", "$JS.ACK.>", "inbox7.>", "_INBOX.>", "*.>"}) {
      const std::string said = other.ask(std::string("SUB ") + subject + " 1\r\n");
      EXPECT_NE(said.find("Permissions Violation for Subscription"), std::string::npos)
          << subject << ": " << said;
    }
  });
}

TEST_F(Strangers, WhoFloodTheServersPortWithGarbageDisturbNobody) {
  begin(users(), own_place());
  std::mt19937 random(7);
  expect_undisturbed([&] {
    std::string garbage(100'000, '\0');
    for (char &byte : garbage)
      byte = static_cast<char>(random());
    stranger(server->port(), "").say(garbage);
    stranger(server->port(), "").say("CONNECT " + garbage);
    stranger(server->port(), "").say("PUB mesh.7 99999999999999999999\r\n" + garbage);
    stranger silent(server->port(), "");
  });
}

// Who may send to a destination may send anything there.
TEST_F(Strangers, WhoMaySendAndSendGarbageAreRefusedByTheReceiverAndDisturbNobody) {
  begin(users(), own_place());
  constexpr char who[] = R"({"user":"user7","pass":"secret7"})";
  std::mt19937 random(7);
  expect_undisturbed([&] {
    stranger insider(server->port(), who);
    for (const size_t length : {0U, 1U, 47U, 48U, 100U, 5000U}) {
      std::string garbage(length, '\0');
      for (char &byte : garbage)
        byte = static_cast<char>(random());
      if (length > 4)
        garbage.replace(0, 4, "MHP2");
      EXPECT_NE(insider.ask(publication("mesh.7", garbage)).find("PONG"), std::string::npos);
    }
  });
}

// What an answer that got lost leads to: its sender has published again what was stored.

class Repetition : public HostileTest {};

TEST_F(Repetition, InTheStreamIsHandedOverOnce) {
  begin("", "storage=memory");
  ASSERT_EQ(send_to(destination, 0), 0U); // makes the stream
  std::string packet = {'M', 'H', 'P', '2', 7, 0, 0, 0};
  packet += std::string("\x99\0\0\0\0\0\0\0", 8);   // sender
  packet += std::string("\x01\0\0\0\0\0\0\0", 8);   // number of the first message
  packet += std::string(16, '\0');                  // settled, target
  packet += std::string("\x01\0\0\0\x10\0\0\0", 8); // messages, bytes
  packet += std::string("\x01\0\x5A\x5A\x04\0\0\0\x05\0\0\0\0\0\0\0", 16);
  stranger again(server->port());
  EXPECT_NE(again.ask(publication("mesh.7", packet)).find("PONG"), std::string::npos);
  EXPECT_NE(again.ask(publication("mesh.7", packet)).find("PONG"), std::string::npos);
  ASSERT_EQ(send_to(destination, 1), 0U);
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  ASSERT_TRUE(receiver.collect(3));
  EXPECT_EQ(receiver.poll(100), 0);
  std::vector<uint32_t> numbers = receiver.numbers(); // of two senders in any order
  std::sort(numbers.begin(), numbers.end());
  EXPECT_EQ(numbers, (std::vector<uint32_t>{0, 1, 5}));
  EXPECT_EQ(counters().redelivered, 1U);
}

// Descriptors.

class NatsShortage : public HostileTest {
protected:
  void SetUp() override {
    HostileTest::SetUp();
    set_variable("MESH_HOST_SEND_TIMEOUT_MS", "2000");
  }
};

TEST_F(NatsShortage, OfDescriptorsHarmsNoConnectionThatIsThere) {
  begin("", "storage=file");
  child peer(receiver_of_numbers(3));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 1), 0U);
  {
    const descriptor_hoard all;
    EXPECT_EQ(send_samples(1, 1), 0U);
    EXPECT_EQ(mesh_host_flush(destination, 5000), 0U);
  }
  EXPECT_EQ(send_samples(2, 1), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
  EXPECT_EQ(counters().lost, 0U);
}

TEST_F(NatsShortage, OfDescriptorsMakesTheFirstSendAndTheAttachmentFailUntilThereAreSome) {
  begin("", "storage=file");
  collecting_receiver receiver;
  {
    const captured_stderr told;
    const descriptor_hoard all;
    EXPECT_EQ(receiver.attach(), uint32_t{MESH_HOST_SYSTEM}); // the configuration is not read
    EXPECT_EQ(send_samples(9, 1), uint32_t{MESH_HOST_SYSTEM});
  }
  ASSERT_EQ(receiver.attach(), 0U);
  EXPECT_EQ(send_samples(0, 1), 0U);
  expect_all_in_order(receiver, 1);
}

TEST_F(NatsShortage, OfDescriptorsWhileTheServerIsStartedAnewIsADelay) {
  begin("", "storage=file");
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  ASSERT_EQ(send_samples(0, 5), 0U);
  ASSERT_TRUE(receiver.collect(5));
  server->kill();
  server->start();
  {
    const descriptor_hoard all; // neither of the two can connect
    EXPECT_EQ(receiver.poll(1000), 0);
  }
  EXPECT_EQ(send_samples(5, 5), 0U);
  expect_all_in_order(receiver, 10);
  EXPECT_EQ(counters().lost, 0U);
}

} // namespace
