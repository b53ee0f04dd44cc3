// What happens when the machine is short of something, and what is left behind.
//
// Room: tests.
#include "captured_stderr.h"
#include "descriptor_hoard.h"
#include "host/status_file.h"
#include "mesh_fixture.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

class Shortage : public MeshTest {};

// A living receiver was once taken for dead when the sender had no descriptor left.
TEST_F(Shortage, OfDescriptorsDoesNotMakeALivingReceiverDead) {
  child peer(receiver_of_numbers(3));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 1), 0U);
  {
    const descriptor_hoard all;
    EXPECT_EQ(send_samples(1, 1), 0U) << "the connection is there";
    EXPECT_EQ(mesh_host_flush(destination, 5000), 0U);
  }
  EXPECT_EQ(send_samples(2, 1), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
  EXPECT_EQ(counters().lost, 0U);
}

TEST_F(Shortage, OfDescriptorsIsToldAsSuchByTheFirstSend) {
  child peer(receiver_of_numbers(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  {
    const captured_stderr told; // needs a descriptor itself
    {
      const descriptor_hoard all;
      EXPECT_EQ(send_samples(9, 1), uint32_t{MESH_HOST_SYSTEM});
    }
    EXPECT_NE(told.text().find("Too many open files"), std::string::npos) << told.text();
  }
  EXPECT_EQ(send_samples(0, 1), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
}

TEST_F(Shortage, OfDescriptorsMakesAReceiverTakeSendersLater) {
  child sender([](conversation &parent) {
    parent.hear();
    return send_samples(0, 5) == 0 && mesh_host_flush(destination, 10'000) == 0 ? 0 : 1;
  });
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  {
    descriptor_hoard all;
    sender.talk().say("send");
    const clock_t before = clock();
    EXPECT_EQ(receiver.poll(600), 0);
    const double burnt = static_cast<double>(clock() - before) / CLOCKS_PER_SEC;
    EXPECT_LT(burnt, 0.3) << "it did not wait, it spun";
  }
  EXPECT_TRUE(receiver.collect(5));
  EXPECT_EQ(receiver.poll(0), 0);
  EXPECT_EQ(sender.wait(), 0);
}

TEST_F(Shortage, UnloadingLeavesNoDescriptorBehind) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "50");
  const int status = system(UNLOADER);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

// A child made behind the C library's back holds the receiver's sockets and cannot be told to let
// go.
TEST_F(Shortage, AReceiverThatDiedIsNoticedThoughACloneOfItHoldsItsSockets) {
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    receiver.attach();
    parent.say("attached");
    receiver.collect(1);
    const long heir = syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr);
    if (heir == 0) {
      sleep(20);
      _exit(0);
    }
    parent.say(std::to_string(heir));
    parent.hear();
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 1), 0U);
  const pid_t heir = static_cast<pid_t>(std::stoi(peer.talk().hear()));
  ASSERT_EQ(send_samples(1, 1), 0U);
  peer.kill();
  const auto waited = time_of(
      [] { EXPECT_EQ(mesh_host_flush(destination, 10'000), uint32_t{MESH_HOST_PEER_LOST}); });
  EXPECT_LT(waited.count(), 3000);
  kill(heir, SIGKILL);
}

TEST_F(Shortage, OfTimeLetsASendThroughThatNeedsNone) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "0");
  child peer(receiver_of_numbers(3));
  ASSERT_EQ(peer.talk().hear(), "attached");
  for (uint32_t i = 0; i < 3; i++)
    EXPECT_EQ(send_samples(i, 1), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
}

class Faults : public MeshTest {
protected:
  collecting_receiver receiver;
};

TEST_F(Faults, RefuseAsManySendsAsAskedForAndTheSameOnesEachTime) {
  set_variable("MESH_HOST_FAULT_REFUSE", "0.25");
  set_variable("MESH_HOST_FAULT_SEED", "42");
  const auto refused = [](conversation &parent) {
    collecting_receiver own;
    own.attach();
    std::string series;
    for (uint32_t i = 0; i < 400; i++)
      series += send_samples(i, 1) == MESH_HOST_FULL ? 'R' : '.';
    parent.say(series);
    return 0;
  };
  child first(refused);
  const std::string series = first.talk().hear();
  first.wait();
  child second(refused);
  EXPECT_EQ(second.talk().hear(), series);
  const auto count = std::count(series.begin(), series.end(), 'R');
  EXPECT_GT(count, 60);
  EXPECT_LT(count, 140);
}

TEST_F(Faults, DelaySends) {
  set_variable("MESH_HOST_FAULT_DELAY", "1");
  set_variable("MESH_HOST_FAULT_DELAY_MS", "20");
  ASSERT_EQ(receiver.attach(), 0U);
  const auto waited = time_of([] {
    for (uint32_t i = 0; i < 20; i++)
      EXPECT_EQ(send_samples(i, 1), 0U);
  });
  EXPECT_GE(waited.count(), 60);
}

TEST_F(Faults, HandMessagesOverTwiceAndSaySo) {
  set_variable("MESH_HOST_FAULT_DUPLICATE", "1");
  ASSERT_EQ(receiver.attach(), 0U);
  std::vector<uint32_t> repeated;
  receiver.in_handler = [&] {
    mesh_host_origin origin{};
    mesh_host_get_origin(receiver.handle, &origin);
    repeated.push_back(origin.repeated);
  };
  ASSERT_EQ(send_samples(0, 2), 0U);
  ASSERT_TRUE(receiver.collect(4));
  EXPECT_EQ(receiver.numbers(), (std::vector<uint32_t>{0, 0, 1, 1}));
  EXPECT_EQ(repeated, (std::vector<uint32_t>{0, 1, 0, 1}));
}

class StatusFile : public MeshTest {
protected:
  std::string path(pid_t process) const {
    return directory + "/" + std::to_string(process) + ".status";
  }
  // What another process sees.
  static std::vector<uint8_t> bytes_of(const std::string &file) {
    std::vector<uint8_t> bytes(1 << 20);
    const int opened = open(file.c_str(), O_RDONLY);
    const ssize_t size = read(opened, bytes.data(), bytes.size());
    close(opened);
    bytes.resize(size > 0 ? static_cast<size_t>(size) : 0);
    return bytes;
  }
};

TEST_F(StatusFile, ShowsOthersWhatIsCounted) {
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  ASSERT_EQ(send_samples(0, 3, 0, "123456"), 0U);
  ASSERT_TRUE(receiver.collect(2));
  const std::vector<uint8_t> bytes = bytes_of(path(getpid()));
  ASSERT_EQ(bytes.size(), 64U + 512U * 192U);
  mesh_host_status_head head{};
  memcpy(&head, bytes.data(), sizeof head);
  EXPECT_EQ(std::string(reinterpret_cast<const char *>(bytes.data()), 8), "MHMSTAT1");
  EXPECT_EQ(head.process, static_cast<uint32_t>(getpid()));
  ASSERT_EQ(head.rows, 2U);
  mesh_host_status_row rows[2];
  memcpy(rows, bytes.data() + 64, sizeof rows);
  EXPECT_EQ(rows[0].role, uint32_t{MESH_HOST_RECEIVES});
  EXPECT_EQ(rows[0].destination, destination);
  EXPECT_EQ(rows[0].delivered, 3U);
  EXPECT_EQ(rows[0].bytes_received, 30U);
  EXPECT_EQ(rows[1].role, uint32_t{MESH_HOST_SENDS});
  EXPECT_EQ(rows[1].accepted, 3U);
  EXPECT_EQ(rows[1].bytes_sent, 30U);
  EXPECT_EQ(rows[1].most_messages_under_way, 3U);
}

TEST_F(StatusFile, IsLockedWhileItsProcessLivesAndGoneWhenItEnded) {
  child peer(reluctant_receiver(0));
  ASSERT_EQ(peer.talk().hear(), "attached");
  const std::string file = path(peer.pid());
  const int opened = open(file.c_str(), O_RDONLY);
  ASSERT_GE(opened, 0);
  EXPECT_NE(flock(opened, LOCK_SH | LOCK_NB), 0);
  close(opened);
  peer.talk().say("go");
  peer.talk().hear();
  peer.talk().say("end");
  ASSERT_EQ(peer.wait(), 0);
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(StatusFile, OfAKilledProcessIsRemovedByTheNext) {
  child peer(reluctant_receiver(0));
  ASSERT_EQ(peer.talk().hear(), "attached");
  const std::string file = path(peer.pid());
  peer.kill();
  EXPECT_TRUE(std::filesystem::exists(file));
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(StatusFile, ThatCannotBeMadeCostsOthersTheSightAndNobodyAMessage) {
  ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
  // A folder where the file should be.
  ASSERT_EQ(mkdir((path(getpid())).c_str(), 0700), 0);
  ASSERT_EQ(mkdir((path(getpid()) + "/inside").c_str(), 0700), 0);
  const captured_stderr told;
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  ASSERT_EQ(send_samples(0, 1), 0U);
  ASSERT_TRUE(receiver.collect(1));
  EXPECT_EQ(counters().delivered, 1U);
  EXPECT_NE(told.text().find("nobody else sees what this process counts"), std::string::npos);
}

} // namespace
