// What travels on the sockets of this machine, and what no sender of ours would send. The sender
// here speaks the protocol by hand, so that what is on the wire is also written down twice.
//
// Room: tests.
#include "captured_stderr.h"
#include "mesh_fixture.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using bytes = std::vector<uint8_t>;

void append(bytes &to, uint64_t value, int width) {
  for (int i = 0; i < width; i++)
    to.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

bytes message(uint32_t id, const bytes &payload) {
  bytes made;
  append(made, id, 4);
  append(made, payload.size(), 4);
  made.insert(made.end(), payload.begin(), payload.end());
  while (made.size() % 8 != 0)
    made.push_back(0);
  return made;
}

constexpr uint64_t own_number = 0x1122334455667788;

struct header {
  uint32_t to = destination;
  uint64_t sender = own_number;
  uint64_t first = 1;
  uint64_t settled = 0;
  uint64_t target = 0;
  uint32_t count = 1;
  std::optional<uint32_t> size;
};

bytes packet(const header &head, const bytes &body) {
  bytes made = {'M', 'H', 'P', '2'};
  append(made, head.to, 4);
  append(made, head.sender, 8);
  append(made, head.first, 8);
  append(made, head.settled, 8);
  append(made, head.target, 8);
  append(made, head.count, 4);
  append(made, head.size.value_or(static_cast<uint32_t>(body.size())), 4);
  made.insert(made.end(), body.begin(), body.end());
  return made;
}

bytes good_packet(uint32_t number, uint64_t first = 1) {
  header head;
  head.first = first;
  return packet(head, message(sample_id, encode_sample(number)));
}

bytes piece(uint32_t offset, uint64_t first, const bytes &payload) {
  bytes made = {'M', 'H', 'C', '2'};
  append(made, offset, 4);
  append(made, first, 8);
  made.insert(made.end(), payload.begin(), payload.end());
  return made;
}

sockaddr_un address_of(const std::string &path) {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  memcpy(name.sun_path, path.data(), path.size());
  return name;
}

class raw_sender {
public:
  explicit raw_sender(const std::string &path) : socket_(socket(AF_UNIX, SOCK_SEQPACKET, 0)) {
    const sockaddr_un name = address_of(path);
    EXPECT_EQ(connect(socket_, reinterpret_cast<const sockaddr *>(&name), sizeof name), 0);
    const timeval patience{5, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  }
  ~raw_sender() { close(socket_); }
  raw_sender(const raw_sender &) = delete;
  raw_sender &operator=(const raw_sender &) = delete;

  bool send(const bytes &datagram) {
    return ::send(socket_, datagram.data(), datagram.size(), MSG_NOSIGNAL) >= 0;
  }

  // What the next acknowledgement says; nothing when the connection is over or silent.
  std::optional<uint64_t> next_acknowledgement() {
    uint8_t got[64];
    ssize_t size = recv(socket_, got, sizeof got, 0);
    if (size < 0 && errno == ECONNRESET) // told in front of what came before it
      size = recv(socket_, got, sizeof got, 0);
    if (size != 16)
      return std::nullopt;
    EXPECT_EQ(std::string(reinterpret_cast<char *>(got), 4), "MHA2");
    uint64_t value = 0;
    for (int i = 7; i >= 0; i--)
      value = value << 8 | got[8 + i];
    return value;
  }

  // The acknowledgement that says `goal`, or the last one before none came.
  uint64_t acknowledged(uint64_t goal) {
    uint64_t last = 0;
    while (last < goal) {
      const std::optional<uint64_t> next = next_acknowledgement();
      if (!next || *next <= last)
        break;
      last = *next;
    }
    return last;
  }

  bool is_cut_off() { return !next_acknowledgement(); }

private:
  int socket_;
};

class Local : public MeshTest {
protected:
  void attach() {
    ASSERT_EQ(receiver.attach(), 0U);
    mesh_host_on_gap(
        receiver.handle,
        [](void *context, const mesh_host_gap *gap) {
          static_cast<Local *>(context)->gaps.push_back(*gap);
        },
        this);
    sender = std::make_unique<raw_sender>(directory + "/7.sock");
  }

  // The receiver says why and cuts this sender off; the next one is served.
  void expect_cut_off(const bytes &datagram, const std::string &why) {
    const uint64_t before = counters().malformed;
    ASSERT_TRUE(sender->send(datagram));
    EXPECT_EQ(receiver.poll(50), 0);
    EXPECT_TRUE(sender->is_cut_off());
    EXPECT_EQ(counters().malformed, before + 1);
    EXPECT_NE(told.text().find(why), std::string::npos) << told.text();
    sender = std::make_unique<raw_sender>(directory + "/7.sock");
    header head;
    head.sender = ++others;
    ASSERT_TRUE(sender->send(packet(head, message(sample_id, encode_sample(77)))));
    EXPECT_EQ(receiver.poll(), 1);
    EXPECT_EQ(receiver.numbers().back(), 77U);
    EXPECT_EQ(sender->next_acknowledgement(), 1U);
  }

  collecting_receiver receiver;
  std::unique_ptr<raw_sender> sender;
  std::vector<mesh_host_gap> gaps;
  uint64_t others = own_number + 1;
  captured_stderr told;
};

TEST_F(Local, DeliversAPacketThatIsAsDocumented) {
  attach();
  header head;
  head.target = 0x0102030405060708;
  head.count = 2;
  bytes body = message(sample_id, encode_sample(5, "some text"));
  const bytes second = message(sample_id, encode_sample(6));
  body.insert(body.end(), second.begin(), second.end());
  ASSERT_TRUE(sender->send(packet(head, body)));
  ASSERT_TRUE(receiver.collect(2));
  const received expected{sample_id, head.target, sizeof(sample), 5, "some text"};
  EXPECT_EQ(receiver.messages[0], expected);
  EXPECT_EQ(receiver.numbers(), (std::vector<uint32_t>{5, 6}));
  EXPECT_EQ(sender->acknowledged(2), 2U);
}

// What the sending side puts on the wire, byte by byte.
TEST_F(Local, SendsAsDocumented) {
  ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
  const int listener = socket(AF_UNIX, SOCK_SEQPACKET, 0);
  const sockaddr_un name = address_of(directory + "/7.sock");
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&name), sizeof name), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  ASSERT_EQ(send_samples(0x31, 1, 0x99, "abcde"), 0U);
  ASSERT_EQ(send_samples(0x41, 2), 0U);
  const int peer = accept(listener, nullptr, nullptr);
  mesh_host_progress progress{};
  mesh_host_get_progress(destination, &progress);

  uint8_t got[256];
  header head;
  head.sender = progress.sender;
  head.target = 0x99;
  const bytes first = packet(head, message(sample_id, encode_sample(0x31, "abcde")));
  ASSERT_EQ(recv(peer, got, sizeof got, 0), static_cast<ssize_t>(first.size()));
  EXPECT_EQ(bytes(got, got + first.size()), first);

  bytes body = message(sample_id, encode_sample(0x41));
  const bytes other = message(sample_id, encode_sample(0x42));
  body.insert(body.end(), other.begin(), other.end());
  head.first = 2;
  head.count = 2;
  head.target = 0;
  const bytes second = packet(head, body);
  ASSERT_EQ(recv(peer, got, sizeof got, 0), static_cast<ssize_t>(second.size()));
  EXPECT_EQ(bytes(got, got + second.size()), second);

  bytes acknowledgement = {'M', 'H', 'A', '2', 0, 0, 0, 0};
  append(acknowledgement, 2, 8);
  ASSERT_EQ(::send(peer, acknowledgement.data(), acknowledgement.size(), 0), 16);
  mesh_host_get_progress(destination, &progress);
  EXPECT_EQ(progress.accepted, 3U);
  EXPECT_EQ(progress.handled, 2U);
  EXPECT_EQ(mesh_host_flush(destination, 20), uint32_t{MESH_HOST_FULL});
  close(peer);
  close(listener);
  EXPECT_EQ(mesh_host_flush(destination, 5000), uint32_t{MESH_HOST_PEER_LOST});
  mesh_host_get_progress(destination, &progress);
  EXPECT_EQ(progress.lost_first, 3U);
  EXPECT_EQ(progress.lost_last, 3U);
}

TEST_F(Local, IgnoresWhatIsNoAcknowledgementAndDoesNotBelieveOneOfTheFuture) {
  ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
  const int listener = socket(AF_UNIX, SOCK_SEQPACKET, 0);
  const sockaddr_un name = address_of(directory + "/7.sock");
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&name), sizeof name), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  ASSERT_EQ(send_samples(0, 3), 0U);
  const int peer = accept(listener, nullptr, nullptr);
  ASSERT_EQ(::send(peer, "nonsense", 8, 0), 8);
  EXPECT_EQ(mesh_host_flush(destination, 20), uint32_t{MESH_HOST_FULL});
  EXPECT_NE(told.text().find("no acknowledgement"), std::string::npos) << told.text();
  bytes future = {'M', 'H', 'A', '2', 0, 0, 0, 0};
  append(future, UINT64_MAX, 8);
  ASSERT_EQ(::send(peer, future.data(), future.size(), 0), 16);
  mesh_host_progress progress{};
  mesh_host_get_progress(destination, &progress);
  EXPECT_EQ(progress.handled, 3U);
  EXPECT_EQ(counters().handled, 3U);
  close(peer);
  close(listener);
}

TEST_F(Local, CutsOffASenderWhoseDatagramIsNoPacket) {
  attach();
  expect_cut_off({'M', 'H', 'P', '2'}, "shorter than its header");
}

TEST_F(Local, CutsOffASenderOfAnotherVersion) {
  attach();
  bytes other_version = good_packet(1);
  other_version[3] = '3';
  expect_cut_off(other_version, "not a packet of this protocol version");
}

TEST_F(Local, CutsOffASenderThatMeansAnotherDestination) {
  attach();
  header head;
  head.to = destination + 1;
  expect_cut_off(packet(head, message(sample_id, encode_sample(1))),
                 "meant for another destination");
}

TEST_F(Local, CutsOffASenderWhosePacketHasNoMessages) {
  attach();
  header head;
  head.count = 0;
  head.first = 9;
  head.settled = 7;
  expect_cut_off(packet(head, {}), "without messages");
}

TEST_F(Local, TakesAPacketOfNoMessagesForTheWordThatAllAreSettled) {
  attach();
  ASSERT_TRUE(sender->send(good_packet(1)));
  header head;
  head.count = 0;
  head.first = 2;
  head.settled = 1;
  ASSERT_TRUE(sender->send(packet(head, {})));
  ASSERT_TRUE(sender->send(good_packet(2, 2)));
  ASSERT_TRUE(receiver.collect(2));
  EXPECT_TRUE(gaps.empty());
  EXPECT_EQ(counters().malformed, 0U);
}

TEST_F(Local, CutsOffASenderWhoseNumbersEndBeforeItsMessagesDo) {
  attach();
  header head;
  head.first = UINT64_MAX;
  const bytes body = message(sample_id, encode_sample(1));
  expect_cut_off(packet(head, body), "numbered beyond");
}

TEST_F(Local, CutsOffASenderWhoseNumbersBeginAtNothing) {
  attach();
  header head;
  head.first = 0;
  const bytes body = message(sample_id, encode_sample(1));
  expect_cut_off(packet(head, body), "numbered beyond");
}

TEST_F(Local, CutsOffASenderThatSettledWhatItHasNotSent) {
  attach();
  header head;
  head.first = 5;
  head.settled = 5;
  const bytes body = message(sample_id, encode_sample(1));
  expect_cut_off(packet(head, body), "settled before it was sent");
}

TEST_F(Local, CutsOffASenderWhosePacketIsLongerThanItsHeaderSays) {
  attach();
  bytes longer = good_packet(1);
  longer.push_back(0);
  expect_cut_off(longer, "longer than its header says");
}

TEST_F(Local, CutsOffASenderWhoseMessagesDoNotFillThePacket) {
  attach();
  header head;
  bytes body = message(sample_id, encode_sample(1));
  body.resize(body.size() + 8);
  expect_cut_off(packet(head, body), "its messages do not fill it");
}

TEST_F(Local, CutsOffASenderWhoseMessageClaimsMoreThanThereIs) {
  attach();
  header head;
  bytes body = message(sample_id, encode_sample(1));
  body[4] = 0xFF;
  body[7] = 0xFF;
  expect_cut_off(packet(head, body), "its messages do not fill it");
}

TEST_F(Local, CutsOffASenderWhoseCountIsAboveItsBytes) {
  attach();
  header head;
  head.count = 0xFFFFFFFF;
  expect_cut_off(packet(head, message(sample_id, encode_sample(1))),
                 "does not suit its count of messages");
}

TEST_F(Local, CutsOffASenderWithADatagramBeyondTheLongest) {
  attach();
  expect_cut_off(bytes(80 * 1024), "longer than any datagram");
}

TEST_F(Local, CutsOffASenderWhosePieceBelongsToNoPacket) {
  attach();
  expect_cut_off(piece(48, 1, bytes(8)), "a piece of no packet");
}

TEST_F(Local, PutsAPacketTogetherFromItsPieces) {
  attach();
  const bytes whole = good_packet(9);
  const auto part = [&](size_t from, size_t to) {
    return bytes(whole.begin() + static_cast<ptrdiff_t>(from),
                 whole.begin() + static_cast<ptrdiff_t>(to));
  };
  ASSERT_TRUE(sender->send(part(0, 52)));
  ASSERT_TRUE(sender->send(piece(52, 1, part(52, 58))));
  EXPECT_EQ(receiver.poll(20), 0);
  ASSERT_TRUE(sender->send(piece(58, 1, part(58, whole.size()))));
  ASSERT_TRUE(receiver.collect(1));
  EXPECT_EQ(receiver.numbers(), std::vector<uint32_t>{9});
  EXPECT_EQ(sender->next_acknowledgement(), 1U);
}

TEST_F(Local, CutsOffASenderWhosePiecesAreOutOfPlace) {
  const bytes whole = good_packet(9);
  const bytes rest(whole.begin() + 52, whole.end());
  bytes longer = rest;
  longer.push_back(0);
  for (const bytes &wrong :
       {piece(51, 1, rest), piece(53, 1, rest), piece(52, 2, rest), piece(52, 1, longer)}) {
    if (receiver.handle == nullptr) {
      ASSERT_NO_FATAL_FAILURE(attach());
    }
    ASSERT_TRUE(sender->send(bytes(whole.begin(), whole.begin() + 52)));
    ASSERT_NO_FATAL_FAILURE(expect_cut_off(wrong, "a piece of no packet"));
    sender = std::make_unique<raw_sender>(directory + "/7.sock");
  }
}

TEST_F(Local, ForgetsAPacketThatItsSenderLeftIncomplete) {
  attach();
  const bytes abandoned = good_packet(8);
  ASSERT_TRUE(sender->send(bytes(abandoned.begin(), abandoned.begin() + 52)));
  ASSERT_TRUE(sender->send(good_packet(9)));
  ASSERT_TRUE(receiver.collect(1));
  EXPECT_EQ(receiver.numbers(), std::vector<uint32_t>{9});
  EXPECT_TRUE(gaps.empty());
}

TEST_F(Local, RefusesABatchAboveTheLimitAndGoesOn) {
  set_variable("MESH_HOST_FRAME_LIMIT", "1000"); // 2,064 of a batch, with the heads of its messages
  attach();
  header head;
  head.count = 1;
  const bytes body = message(sample_id, bytes(4000));
  const bytes large = packet(head, body);
  ASSERT_TRUE(sender->send(bytes(large.begin(), large.begin() + 2000)));
  ASSERT_TRUE(sender->send(piece(2000, 1, bytes(large.begin() + 2000, large.end()))));
  ASSERT_TRUE(sender->send(good_packet(3, 2)));
  ASSERT_TRUE(receiver.collect(1));
  EXPECT_EQ(receiver.numbers(), std::vector<uint32_t>{3});
  EXPECT_EQ(counters().oversize, 1U);
  EXPECT_NE(told.text().find("batch of 4008 bytes refused, the limit is 2064"), std::string::npos)
      << told.text();
  EXPECT_EQ(sender->acknowledged(2), 2U);
}

TEST_F(Local, TellsAGapOfALateJoiner) {
  attach();
  ASSERT_TRUE(sender->send(good_packet(1, 5001)));
  ASSERT_TRUE(receiver.collect(1));
  ASSERT_EQ(gaps.size(), 1U);
  EXPECT_EQ(gaps[0].sender, own_number);
  EXPECT_EQ(gaps[0].first, 1U);
  EXPECT_EQ(gaps[0].last, 5000U);
  EXPECT_EQ(counters().gaps, 1U);
}

TEST_F(Local, TellsAGapBetweenTwoPackets) {
  attach();
  ASSERT_TRUE(sender->send(good_packet(1, 1)));
  ASSERT_TRUE(sender->send(good_packet(2, 2)));
  ASSERT_TRUE(sender->send(good_packet(3, 7)));
  ASSERT_TRUE(receiver.collect(3));
  ASSERT_EQ(gaps.size(), 1U);
  EXPECT_EQ(gaps[0].first, 3U);
  EXPECT_EQ(gaps[0].last, 6U);
}

TEST_F(Local, DropsAndCountsWhatComesASecondTime) {
  attach();
  ASSERT_TRUE(sender->send(good_packet(1, 1)));
  ASSERT_TRUE(sender->send(good_packet(1, 1)));
  ASSERT_TRUE(sender->send(good_packet(2, 2)));
  ASSERT_TRUE(receiver.collect(2));
  EXPECT_EQ(receiver.poll(20), 0);
  EXPECT_EQ(receiver.numbers(), (std::vector<uint32_t>{1, 2}));
  EXPECT_EQ(counters().redelivered, 1U);
}

TEST_F(Local, SaysInAHandlerWhereAMessageComesFrom) {
  attach();
  std::vector<mesh_host_origin> origins;
  receiver.in_handler = [&] { mesh_host_get_origin(receiver.handle, &origins.emplace_back()); };
  ASSERT_TRUE(sender->send(good_packet(1, 41)));
  ASSERT_TRUE(sender->send(good_packet(2, 42)));
  ASSERT_TRUE(receiver.collect(2));
  EXPECT_EQ(origins[0].sender, own_number);
  EXPECT_EQ(origins[0].number, 41U);
  EXPECT_EQ(origins[1].number, 42U);
  EXPECT_EQ(origins[1].repeated, 0U);
  mesh_host_origin outside{1, 1, 1};
  mesh_host_get_origin(receiver.handle, &outside);
  EXPECT_EQ(outside.sender, 0U);
}

// A poll that took 256 refused messages once fell asleep on the rest.
TEST_F(Local, FindsTheGoodMessageBehindManyRefusedOnes) {
  attach();
  for (uint32_t i = 1; i <= 600; i++) {
    header head;
    head.first = i;
    ASSERT_TRUE(sender->send(packet(head, message(unregistered_id, encode_sample(i)))));
    if (i % 100 == 0) {
      EXPECT_EQ(receiver.poll(0), 0);
    }
  }
  ASSERT_TRUE(sender->send(good_packet(601, 601)));
  const auto waited = time_of([&] { EXPECT_EQ(receiver.poll(5000), 1); });
  EXPECT_LT(waited.count(), 2500);
  EXPECT_EQ(receiver.numbers(), std::vector<uint32_t>{601});
}

// Each stranger with a number of its own once cost memory for ever.
TEST_F(Local, RemembersABoundedNumberOfSenders) {
  attach();
  header head;
  for (uint64_t i = 1; i <= 3000; i++) {
    head.sender = i;
    ASSERT_TRUE(sender->send(packet(head, message(sample_id, encode_sample(1)))));
    if (i % 50 == 0) {
      ASSERT_TRUE(receiver.collect(i));
    }
  }
  // The first was forgotten, and seems to have a gap; the last was not.
  head.first = 2;
  head.sender = 1;
  ASSERT_TRUE(sender->send(packet(head, message(sample_id, encode_sample(1)))));
  head.sender = 3000;
  ASSERT_TRUE(sender->send(packet(head, message(sample_id, encode_sample(1)))));
  ASSERT_TRUE(receiver.collect(3002));
  ASSERT_EQ(gaps.size(), 1U);
  EXPECT_EQ(gaps[0].sender, 1U);
}

TEST_F(Local, GivesASenderThatReadsNothingItsLastAcknowledgementWhenItDoes) {
  attach();
  uint64_t sent = 0;
  for (; sent < 20'000; sent++) {
    ASSERT_TRUE(sender->send(good_packet(1, sent + 1)));
    receiver.poll(0);
  }
  ASSERT_TRUE(receiver.collect(sent));
  std::optional<uint64_t> last = 0;
  while (last && *last != sent) {
    receiver.poll(0);
    last = sender->next_acknowledgement();
  }
  EXPECT_EQ(last, sent);
}

} // namespace
