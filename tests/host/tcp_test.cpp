// Destinations on tcp:// endpoints, over the loopback interface.
//
// Room: tests.
#include "captured_stderr.h"
#include "mesh_fixture.h"

#include <arpa/inet.h>
#include <fstream>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

// A port nobody listens on now.
uint16_t free_port() {
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof name;
  EXPECT_EQ(bind(probe, reinterpret_cast<sockaddr *>(&name), size), 0);
  EXPECT_EQ(getsockname(probe, reinterpret_cast<sockaddr *>(&name), &size), 0);
  close(probe);
  return ntohs(name.sin_port);
}

class Tcp : public MeshTest {
protected:
  void SetUp() override {
    MeshTest::SetUp();
    place("tcp://127.0.0.1:" + std::to_string(free_port()));
  }

  void place(const std::string &endpoint) {
    const std::string file = scratch + "/mesh.conf";
    std::ofstream(file) << "destination 7 " << endpoint << "\n";
    set_variable("MESH_HOST_CONFIG", file);
  }
};

constexpr auto promptly = std::chrono::milliseconds(3000);

TEST_F(Tcp, CarriesMessagesInOrder) {
  child peer(receiver_of_numbers(300));
  ASSERT_EQ(peer.talk().hear(), "attached");
  for (uint32_t first = 0; first < 300; first += 10)
    ASSERT_EQ(send_samples(first, 10), 0U);
  EXPECT_EQ(mesh_host_flush(destination, 5000), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
  EXPECT_NE(access(directory.c_str(), F_OK), 0) << "no directory is needed";
}

TEST_F(Tcp, WaitsForAReceiverThatStartsLate) {
  child peer([](conversation &parent) {
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    return receiver_of_numbers(1)(parent);
  });
  EXPECT_EQ(send_samples(0, 1), 0U);
  EXPECT_EQ(peer.talk().hear(), "attached");
  EXPECT_EQ(peer.talk().hear(), "in order");
}

TEST_F(Tcp, FailsWithoutAReceiver) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "150");
  EXPECT_EQ(send_samples(0, 1), uint32_t{MESH_HOST_NO_RECEIVER});
}

TEST_F(Tcp, TellsAFlushThatTheReceiverWasKilled) {
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 1), 0U);
  peer.kill();
  const auto waited = time_of(
      [] { EXPECT_EQ(mesh_host_flush(destination, 10'000), uint32_t{MESH_HOST_PEER_LOST}); });
  EXPECT_LT(waited, promptly);
}

// As when a machine loses its power: no end of the connection is ever heard of.
TEST_F(Tcp, NoticesAReceiverThatFellSilent) {
  set_variable("MESH_HOST_HEARTBEAT_MS", "200");
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 1), 0U);
  peer.stop();
  const auto waited = time_of(
      [] { EXPECT_EQ(mesh_host_flush(destination, 10'000), uint32_t{MESH_HOST_PEER_LOST}); });
  EXPECT_LT(waited, promptly);
}

TEST_F(Tcp, LeavesASlowHandlerItsTimeInSpiteOfHeartbeats) {
  set_variable("MESH_HOST_HEARTBEAT_MS", "100");
  child peer([](conversation &parent) {
    collecting_receiver receiver;
    receiver.in_handler = [&] {
      if (receiver.messages.size() == 1)
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
    };
    receiver.attach();
    parent.say("attached");
    receiver.collect(50);
    parent.hear();
    return 0;
  });
  ASSERT_EQ(peer.talk().hear(), "attached");
  ASSERT_EQ(send_samples(0, 50), 0U);
  EXPECT_EQ(mesh_host_flush(destination, 10'000), 0U);
}

TEST_F(Tcp, RefusesASecondReceiverOfADestination) {
  child peer(reluctant_receiver(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  collecting_receiver second;
  EXPECT_EQ(second.attach(), uint32_t{MESH_HOST_DUPLICATE});
}

TEST_F(Tcp, AttachesAgainAfterADetach) {
  collecting_receiver receiver;
  for (int i = 0; i < 5; i++) {
    ASSERT_EQ(receiver.attach(), 0U);
    receiver.detach();
  }
}

TEST_F(Tcp, SaysWhenTheEndpointIsNotOfThisMachine) {
  place("tcp://192.0.2.1:7007"); // an address for documentation, nobody's
  const captured_stderr told;
  collecting_receiver receiver;
  EXPECT_EQ(receiver.attach(), uint32_t{MESH_HOST_BAD_CONFIG});
  EXPECT_NE(told.text().find("cannot receive at tcp://192.0.2.1:7007"), std::string::npos)
      << told.text();
}

} // namespace
