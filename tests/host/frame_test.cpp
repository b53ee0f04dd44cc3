// Frames that no sender of ours would send. The sender here speaks the protocol by hand, so that
// what is on the wire is also written down twice.
//
// Room: tests.
#include "captured_stderr.h"
#include "mesh_fixture.h"

#include <algorithm>
#include <memory>
#include <zmq.h>

namespace {

using bytes = std::vector<uint8_t>;

void append(bytes &to, uint64_t value, int width) {
  for (int i = 0; i < width; i++)
    to.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

bytes frame(uint32_t for_destination, uint64_t target, uint32_t id, uint32_t length,
            const bytes &payload) {
  bytes made = {'M', 'H', 'D', '1'};
  append(made, for_destination, 4);
  append(made, target, 8);
  append(made, id, 4);
  append(made, length, 4);
  made.insert(made.end(), payload.begin(), payload.end());
  return made;
}

bytes good_frame(uint32_t number) {
  return frame(destination, 0, sample_id, 4, encode_sample(number));
}

class raw_sender {
public:
  explicit raw_sender(const std::string &address) : address_(address), context_(zmq_ctx_new()) {
    connect();
  }
  ~raw_sender() {
    zmq_close(socket_);
    zmq_ctx_term(context_);
  }
  raw_sender(const raw_sender &) = delete;
  raw_sender &operator=(const raw_sender &) = delete;

  // To the receiver, another sender.
  void reconnect() {
    zmq_close(socket_);
    connect();
  }

  void send(const bytes &part, bool more = false) {
    EXPECT_GE(zmq_send(socket_, part.data(), part.size(), more ? ZMQ_SNDMORE : 0), 0);
  }

  // Messages acknowledged so far, by the next acknowledgement; 0 when none comes.
  uint64_t next_acknowledgement() {
    uint8_t got[64];
    if (zmq_recv(socket_, got, sizeof got, 0) != 16)
      return 0;
    EXPECT_EQ(std::string(reinterpret_cast<char *>(got), 4), "MHA1");
    uint64_t value = 0;
    for (int i = 7; i >= 0; i--)
      value = value << 8 | got[8 + i];
    return value;
  }

  // The last acknowledgement, read until it is `goal`.
  uint64_t acknowledged(uint64_t goal) {
    uint64_t last = 0;
    while (last < goal) {
      const uint64_t next = next_acknowledgement();
      if (next <= last)
        return last; // none came, or one that says less than before
      last = next;
    }
    return last;
  }

private:
  void connect() {
    socket_ = zmq_socket(context_, ZMQ_DEALER);
    const int wait_ms = 5000;
    const int linger_ms = 0;
    zmq_setsockopt(socket_, ZMQ_RCVTIMEO, &wait_ms, sizeof wait_ms);
    zmq_setsockopt(socket_, ZMQ_LINGER, &linger_ms, sizeof linger_ms);
    EXPECT_EQ(zmq_connect(socket_, address_.c_str()), 0);
  }

  const std::string address_;
  void *context_;
  void *socket_ = nullptr;
};

class Frame : public MeshTest {
protected:
  void attach() {
    ASSERT_EQ(receiver.attach(), 0U);
    sender = std::make_unique<raw_sender>(address());
  }

  std::string address() const { return "ipc://" + directory + "/7.sock"; }

  // Sends a good frame behind what was sent so far: when it is handled, everything else was seen.
  void expect_receiver_goes_on(uint64_t frames_before) {
    sender->send(good_frame(1));
    ASSERT_TRUE(receiver.collect(1));
    EXPECT_EQ(receiver.numbers(), std::vector<uint32_t>{1});
    EXPECT_EQ(sender->acknowledged(frames_before + 1), frames_before + 1);
  }

  collecting_receiver receiver;
  std::unique_ptr<raw_sender> sender;
  captured_stderr told;
};

TEST_F(Frame, IsDeliveredWhenItIsAsDocumented) {
  attach();
  sender->send(frame(destination, 0x8877665544332211, sample_id, 6, encode_sample(9, "ab")));
  ASSERT_TRUE(receiver.collect(1));
  const received expected{sample_id, 0x8877665544332211, sizeof(sample), 9, "ab"};
  EXPECT_EQ(receiver.messages[0], expected);
  EXPECT_EQ(sender->acknowledged(1), 1U);
}

TEST_F(Frame, IsRefusedAndAcknowledgedWhenMalformed) {
  attach();
  bytes other_version = good_frame(0);
  other_version[3] = '9';
  bytes cut = good_frame(0);
  cut.resize(23);
  const std::vector<bytes> malformed = {
      {},
      {1},
      cut,
      other_version,
      frame(destination, 0, sample_id, 5, encode_sample(0)),
      frame(destination, 0, sample_id, 3, encode_sample(0)),
      frame(destination, 0, sample_id, 0xFFFFFFFF, encode_sample(0)),
      frame(destination + 1, 0, sample_id, 4, encode_sample(0)),
  };
  for (const bytes &each : malformed)
    sender->send(each);
  expect_receiver_goes_on(malformed.size());
  EXPECT_EQ(counters().malformed, malformed.size());
  EXPECT_NE(told.text().find("frame refused, shorter than its header"), std::string::npos)
      << told.text();
}

TEST_F(Frame, IsRefusedAndAcknowledgedOnceWhenItHasSeveralParts) {
  attach();
  sender->send(good_frame(0), true);
  sender->send(good_frame(0), true);
  sender->send(good_frame(0));
  expect_receiver_goes_on(1);
  EXPECT_EQ(counters().malformed, 1U);
}

TEST_F(Frame, IsToldAtMostOnceASecond) {
  attach();
  constexpr int count = 500;
  for (int i = 0; i < count; i++)
    sender->send({1, 2, 3});
  expect_receiver_goes_on(count);
  EXPECT_EQ(counters().malformed, uint64_t{count});
  const std::string text = told.text();
  EXPECT_LE(std::count(text.begin(), text.end(), '\n'), 5) << text;
}

TEST_F(Frame, IsRefusedAndAcknowledgedWhenOversize) {
  set_variable("MESH_HOST_FRAME_LIMIT", "1000");
  attach();
  sender->send(frame(destination, 0, sample_id, 1001, bytes(1001)));
  expect_receiver_goes_on(1);
  EXPECT_EQ(counters().oversize, 1U);
  EXPECT_NE(told.text().find("of 1001 bytes refused, the limit is 1000"), std::string::npos)
      << told.text();
}

TEST_F(Frame, IsRefusedAndAcknowledgedWhenItsIdentifierIsUnknown) {
  attach();
  sender->send(frame(destination, 0, unregistered_id, 4, encode_sample(0)));
  expect_receiver_goes_on(1);
  EXPECT_EQ(counters().unknown_identifier, 1U);
  EXPECT_NE(told.text().find("unknown identifier 0x5A5A0002"), std::string::npos) << told.text();
}

TEST_F(Frame, IsAcknowledgedTogetherWithItsNeighbours) {
  attach();
  constexpr uint32_t count = 100;
  for (uint32_t i = 0; i < count; i++)
    sender->send(good_frame(i));
  ASSERT_TRUE(receiver.collect(count));
  EXPECT_EQ(sender->acknowledged(count), count);
}

TEST_F(Frame, DoesNotLetARefusalEndAPoll) {
  attach();
  sender->send({1, 2, 3});
  EXPECT_EQ(receiver.poll(100), 0);
  EXPECT_EQ(counters().malformed, 1U);
}

// Each sender that ever wrote leaves a note behind; those of gone senders are swept away when there
// are more than a thousand, which a sender that stays sees as an acknowledgement given again.
TEST_F(Frame, StillArrivesAfterManySendersHaveComeAndGone) {
  attach();
  expect_receiver_goes_on(0);
  raw_sender passing(address());
  for (uint32_t i = 0; i < 1100; i++) {
    passing.reconnect();
    passing.send(good_frame(i));
    ASSERT_TRUE(receiver.collect(i + 2));
  }
  EXPECT_EQ(sender->next_acknowledgement(), 1U);
  sender->send(good_frame(1));
  ASSERT_TRUE(receiver.collect(1102));
  EXPECT_EQ(sender->next_acknowledgement(), 2U);
}

} // namespace
