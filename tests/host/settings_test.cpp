// The environment, the configuration file and the private directory.
//
// Room: tests.
#include "captured_stderr.h"
#include "mesh_fixture.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Settings : public MeshTest {
protected:
  void configure(const std::string &text) {
    file = scratch + "/mesh.conf";
    std::ofstream(file) << text;
    set_variable("MESH_HOST_CONFIG", file);
  }

  // Both sides refuse, and `complaint` is on stderr.
  void expect_refusal(const std::string &complaint) {
    collecting_receiver receiver;
    EXPECT_EQ(receiver.attach(), uint32_t{MESH_HOST_BAD_CONFIG});
    EXPECT_EQ(send_samples(0, 1), uint32_t{MESH_HOST_BAD_CONFIG});
    EXPECT_NE(told.text().find(complaint), std::string::npos)
        << "expected: " << complaint << "\ntold: " << told.text();
  }

  std::string file;
  captured_stderr told;
};

TEST_F(Settings, NamesFileLineAndExpectationOfEveryMistake) {
  configure(
      "# comment\n"
      "\n"
      "destination 1 nats://127.0.0.1:7001 # good\n"
      "destination 0x2 nats://[::1]:7002,nats://peer:7003 user=me password-file=/x storage=file "
      "replicas=3 batches=10 bytes=1000 inbox=my_own-1 authority=/a certificate=/c "
      "key=/k\n"
      "destinatoin 3 nats://127.0.0.1:7003\n"
      "destination 4\n"
      "destination five nats://127.0.0.1:7005\n"
      "destination 4294967296 nats://127.0.0.1:7006\n"
      "destination 7 tcp://127.0.0.1:7007\n"
      "destination 8 nats://127.0.0.1\n"
      "destination 9 nats://127.0.0.1:0\n"
      "destination 10 nats://127.0.0.1:65536\n"
      "destination 11 nats://::1:7011\n"
      "destination 2 nats://127.0.0.1:7012\n"
      "destination 13 local more\n"
      "destination 14 nats://me@127.0.0.1:7014\n"
      "destination 15 nats://127.0.0.1:7015,\n"
      "destination 16 nats://127.0.0.1:7016 replicas=6\n"
      "destination 17 nats://127.0.0.1:7017 storage=tape\n"
      "destination 18 nats://127.0.0.1:7018 user=me\n"
      "destination 19 nats://127.0.0.1:7019 key=/k\n"
      "destination 20 nats://127.0.0.1:7020 colour=blue\n"
      "destination 21 nats://127.0.0.1:7021 user= bytes=0 inbox=a.>\n"
      "destination * local\n"
      "destination * local\n");
  expect_refusal(file + ":5: expected 'destination NUMBER|* local' or 'destination NUMBER|* "
                        "nats://ADDRESS:PORT[,...] [NAME=VALUE ...]'");
  const std::string complaints[] = {
      ":6: expected 'destination NUMBER|* local' or",
      ":7: 'five' is no destination, expected a number from 0 to 4294967295, or *",
      ":8: '4294967296' is no destination",
      ":9: 'tcp://127.0.0.1:7007' is no place, expected local or nats://ADDRESS:PORT",
      ":10: 'nats://127.0.0.1' is no place",
      ":11: 'nats://127.0.0.1:0' is no place",
      ":12: 'nats://127.0.0.1:65536' is no place",
      ":13: 'nats://::1:7011' is no place",
      ":14: destination 2 was placed on an earlier line",
      ":15: 'more' behind 'local', expected nothing",
      ":16: 'nats://me@127.0.0.1:7014' is no place",
      ":17: 'nats://127.0.0.1:7015,' is no place",
      ":18: 'replicas=6' makes no sense, expected replicas=1 to replicas=5",
      ":19: 'storage=tape' makes no sense, expected storage=memory or storage=file",
      ":20: expected user= and password-file= together",
      ":21: expected certificate= and key= together",
      ":22: 'colour=blue' makes no sense, expected user=, password-file=",
      ":23: 'user=' makes no sense, expected something behind the '='",
      ":23: 'bytes=0' makes no sense, expected a number of bytes from 1",
      ":23: 'inbox=a.>' makes no sense, expected a word of letters, digits, '-' and '_'",
      ":25: destination * was placed on an earlier line",
  };
  for (const std::string &complaint : complaints)
    EXPECT_NE(told.text().find(file + complaint), std::string::npos) << complaint;
  for (const char *good : {":1:", ":2:", ":3:", ":4:", ":24:"})
    EXPECT_EQ(told.text().find(file + good), std::string::npos) << good;
}

TEST_F(Settings, NameAProbabilityThatIsNone) {
  set_variable("MESH_HOST_FAULT_REFUSE", "1.5");
  set_variable("MESH_HOST_FAULT_DELAY", "often");
  set_variable("MESH_HOST_FAULT_DUPLICATE", "");
  expect_refusal("MESH_HOST_FAULT_REFUSE is '1.5', expected a probability from 0 to 1");
  expect_refusal("MESH_HOST_FAULT_DELAY is 'often', expected a probability from 0 to 1");
  expect_refusal("MESH_HOST_FAULT_DUPLICATE is '', expected a probability from 0 to 1");
}

TEST_F(Settings, LookBehindASlashOrADotForASymbolicLink) {
  mkdir((scratch + "/real").c_str(), 0700);
  ASSERT_EQ(symlink((scratch + "/real").c_str(), directory.c_str()), 0);
  set_variable("MESH_HOST_DIR", directory + "//./");
  expect_refusal(directory + " is not a usable directory");
}

// A name that begins like that once attached, and was reached by nobody.
TEST_F(Settings, TakeADirectoryWhoseNameBeginsWithAnAtSign) {
  ASSERT_EQ(chdir(scratch.c_str()), 0);
  set_variable("MESH_HOST_DIR", "@sockets");
  child peer(receiver_of_numbers(1));
  ASSERT_EQ(peer.talk().hear(), "attached");
  EXPECT_TRUE(std::filesystem::exists(scratch + "/@sockets/7.sock"));
  EXPECT_EQ(send_samples(0, 1), 0U);
  EXPECT_EQ(peer.talk().hear(), "in order");
}

TEST_F(Settings, NamesAConfigurationFileThatCannotBeRead) {
  set_variable("MESH_HOST_CONFIG", scratch + "/absent");
  expect_refusal(scratch + "/absent: cannot be read: No such file or directory");
}

TEST_F(Settings, RefusesADirectoryAsConfigurationFile) {
  set_variable("MESH_HOST_CONFIG", scratch);
  expect_refusal(scratch);
}

TEST_F(Settings, AcceptsAFileOfCommentsOnly) {
  configure("# nothing placed elsewhere\n");
  collecting_receiver receiver;
  EXPECT_EQ(receiver.attach(), 0U);
}

TEST_F(Settings, NamesAVariableThatIsNoNumber) {
  set_variable("MESH_HOST_SEND_TIMEOUT_MS", "soon");
  expect_refusal("MESH_HOST_SEND_TIMEOUT_MS is 'soon', expected a number from 0 to 2147483647");
}

TEST_F(Settings, RefusesAWindowOfNothing) {
  set_variable("MESH_HOST_WINDOW_MESSAGES", "0");
  expect_refusal("MESH_HOST_WINDOW_MESSAGES is '0', expected a number from 1");
}

TEST_F(Settings, MakesThePrivateDirectoryWithMode0700) {
  umask(0);
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  struct stat state {};
  ASSERT_EQ(stat(directory.c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 07777, 0700U);
}

TEST_F(Settings, RefusesADirectoryOthersCanReach) {
  for (const mode_t mode : {0710U, 0701U, 0770U, 0755U, 0777U}) {
    mkdir(directory.c_str(), 0700);
    ASSERT_EQ(chmod(directory.c_str(), mode), 0);
    char complaint[64];
    snprintf(complaint, sizeof complaint, "has mode %04o, expected 0700", mode);
    expect_refusal(complaint);
  }
}

TEST_F(Settings, RefusesADirectoryOfAnotherUser) {
  std::string foreign = "/"; // root's, for everybody else
  if (geteuid() == 0) {
    constexpr uid_t nobody = 65534;
    foreign = directory;
    mkdir(foreign.c_str(), 0700);
    ASSERT_EQ(chown(foreign.c_str(), nobody, nobody), 0);
  }
  set_variable("MESH_HOST_DIR", foreign);
  expect_refusal("expected user " + std::to_string(geteuid()));
}

TEST_F(Settings, RefusesASymbolicLinkAsDirectory) {
  mkdir((scratch + "/real").c_str(), 0700);
  ASSERT_EQ(symlink((scratch + "/real").c_str(), directory.c_str()), 0);
  expect_refusal(directory + " is not a usable directory");
}

TEST_F(Settings, RefusesADirectoryTooDeepForASocket) {
  set_variable("MESH_HOST_DIR", scratch + "/" + std::string(100, 'd'));
  expect_refusal("is too long for a socket");
}

TEST_F(Settings, RefusesADirectoryWhoseParentIsAbsent) {
  set_variable("MESH_HOST_DIR", scratch + "/absent/sockets");
  expect_refusal("cannot be made: No such file or directory");
}

TEST_F(Settings, DefaultsToADirectoryInTheRuntimeDirectory) {
  unsetenv("MESH_HOST_DIR");
  set_variable("XDG_RUNTIME_DIR", scratch);
  collecting_receiver receiver;
  ASSERT_EQ(receiver.attach(), 0U);
  EXPECT_TRUE(std::filesystem::exists(scratch + "/mesh-host/7.sock"));
}

TEST_F(Settings, GiveEachDestinationItsOwnSocket) {
  collecting_receiver first;
  collecting_receiver last;
  EXPECT_EQ(first.attach(0), 0U);
  EXPECT_EQ(last.attach(UINT32_MAX), 0U);
  EXPECT_TRUE(std::filesystem::exists(directory + "/0.sock"));
  EXPECT_TRUE(std::filesystem::exists(directory + "/4294967295.sock"));
}

} // namespace
