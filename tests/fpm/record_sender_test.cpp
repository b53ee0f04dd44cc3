// The sender and a receiver in one process, with the development host's mesh between them.
//
// Room: tests. Includes the feed, the demo and the development host.
#include "demo/table_receiver.h"
#include "fpm/netlink_parser.h"
#include "fpm/record_sender.h"
#include "host/mesh_host.h"
#include "tests/fpm/netlink_bytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

using namespace fpm;
using outcome = record_sender::outcome;

namespace {

constexpr uint32_t destination_number = 6;

void hand_over(void *receiver, uint32_t id, uint64_t, const void *record, uint32_t) {
  static_cast<demo::table_receiver *>(receiver)->take(id, record);
}

class RecordSender : public testing::Test {
protected:
  RecordSender() {
    std::string folder = (std::filesystem::temp_directory_path() / "fpm-sender-XXXXXX").string();
    EXPECT_NE(mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    setenv("MESH_HOST_DIR", folder.c_str(), 1);
    setenv("MESH_HOST_SEND_TIMEOUT_MS", "50", 1);
    setenv("MESH_HOST_WINDOW_MESSAGES", "8", 1);
    EXPECT_EQ(fib6_send_init(), 0u);
    EXPECT_EQ(fib6_recv_init(), 0u);
  }
  ~RecordSender() override {
    detach();
    std::filesystem::remove_all(folder_);
  }

  void attach() { ASSERT_EQ(mesh_host_attach(destination_number, &attached_), 0u); }
  void detach() {
    if (attached_ != nullptr)
      mesh_host_detach(attached_);
    attached_ = nullptr;
  }
  void receive() {
    while (mesh_host_poll(attached_, 20, hand_over, &received_) > 0) {
    }
  }
  // Tells until all is told, the receiver taking part.
  void tell_all() {
    for (int tries = 0; tries < 20; tries++) {
      const bool told = sender_.tell(table_) == outcome::told;
      receive();
      if (told)
        return;
    }
    FAIL() << "the receiver is never told: " << sender_.problem();
  }

  void say(const bytes &messages) {
    std::vector<event> events;
    parse_messages(messages, events);
    for (const event &said : events)
      table_.take(said);
  }
  static bytes announced(unsigned word, uint32_t interface) {
    return message(new_route, route_header(48) + to(word) + through(interface));
  }
  static bytes withdrawn(unsigned word) {
    return message(delete_route, route_header(48) + to(word));
  }

  uint64_t counted(const char *name) const { return received_.told_as("now")[name]; }
  void expect_all_there() {
    const demo::route_table wanted = table_.resolved();
    EXPECT_EQ(received_.contents().routes, wanted.routes);
    EXPECT_EQ(received_.contents().groups, wanted.groups);
    EXPECT_EQ(received_.contents().next_hops, wanted.next_hops);
    EXPECT_EQ(received_.contents().segment_lists, wanted.segment_lists);
    EXPECT_EQ(counted("refused"), 0u);
    EXPECT_EQ(counted("rejected"), 0u);
    EXPECT_FALSE(received_.lacks_messages());
  }

  feed_table table_{10'000};
  record_sender sender_{destination_number};
  demo::table_receiver received_{[](demo::table_receiver &, demo::phase) {}};

private:
  std::filesystem::path folder_;
  mesh_host_receiver *attached_ = nullptr;
};

TEST_F(RecordSender, TellsEverythingFirstAndThenWhatChanges) {
  attach();
  say(announced(1, 3) + announced(2, 3) +
      message(new_route, route_header(48) + to(3) + through(4) +
                             encapsulated(5, segments({address(0x22), address(0x11)}))));
  tell_all();
  expect_all_there();
  EXPECT_EQ(received_.contents().routes.size(), 3u);
  EXPECT_EQ(received_.contents().segment_lists.size(), 1u);
  EXPECT_EQ(sender_.routes_sent(), 3u);

  say(withdrawn(1) + announced(2, 9) + withdrawn(3));
  tell_all();
  expect_all_there();
  EXPECT_EQ(received_.contents().routes.size(), 1u);
  EXPECT_EQ(received_.contents().groups.size(), 1u);
  EXPECT_TRUE(received_.contents().segment_lists.empty());
  EXPECT_EQ(sender_.routes_sent(), 4u);
  EXPECT_EQ(sender_.whole_tables(), 1u);
}

TEST_F(RecordSender, SendsNoRouteThatCameBackAsItWas) {
  attach();
  say(announced(1, 3) + announced(2, 3));
  tell_all();
  say(withdrawn(1) + announced(1, 3));
  tell_all();
  EXPECT_EQ(sender_.routes_sent(), 2u);
}

TEST_F(RecordSender, TellsLaterWhatNobodyTook) {
  say(announced(1, 3) + announced(2, 3));
  EXPECT_EQ(sender_.tell(table_), outcome::refused);
  EXPECT_NE(sender_.problem(), "");
  say(withdrawn(1) + announced(3, 4));
  attach();
  tell_all();
  expect_all_there();
  EXPECT_EQ(received_.contents().routes.size(), 2u);
  EXPECT_EQ(counted("out_of_sequence"), 0u);
}

// Eight messages are under way at most, and 2,000 groups are as many messages.
TEST_F(RecordSender, GoesOnWhereABusyReceiverStoppedIt) {
  attach();
  for (unsigned word = 0; word < 2000; word++)
    say(announced(word, word + 1));
  EXPECT_EQ(sender_.tell(table_), outcome::refused);
  say(withdrawn(7) + announced(8, 9000));
  for (int tries = 0; tries < 100 && sender_.tell(table_) == outcome::refused; tries++)
    receive();
  receive();
  expect_all_there();
  EXPECT_EQ(received_.contents().routes.size(), 1999u);
  EXPECT_EQ(counted("out_of_sequence"), 0u);
  EXPECT_EQ(sender_.whole_tables(), 1u);
}

TEST_F(RecordSender, TellsANewReceiverEverything) {
  attach();
  say(announced(1, 3) + announced(2, 3));
  tell_all();
  detach();
  say(announced(3, 4));
  EXPECT_EQ(sender_.tell(table_), outcome::refused);
  received_ = demo::table_receiver([](demo::table_receiver &, demo::phase) {});
  attach();
  tell_all();
  expect_all_there();
  EXPECT_EQ(received_.contents().routes.size(), 3u);
}

// Nothing was sent while there was none, so nothing was refused.
TEST_F(RecordSender, TellsEverythingToAReceiverThatAsks) {
  attach();
  say(announced(1, 3) + announced(2, 3));
  tell_all();
  received_ = demo::table_receiver([](demo::table_receiver &, demo::phase) {});
  tell_all();
  EXPECT_TRUE(received_.lacks_messages());
  sender_.begin_anew();
  tell_all();
  expect_all_there();
}

TEST_F(RecordSender, RidsAReceiverOfWhatAnEarlierFeedHadTold) {
  attach();
  say(announced(1, 3) + announced(2, 3));
  tell_all();
  table_ = feed_table(10);
  sender_ = record_sender(destination_number);
  say(announced(2, 5));
  tell_all();
  expect_all_there();
  EXPECT_EQ(received_.contents().routes.size(), 1u);
  say(withdrawn(2));
  tell_all();
  expect_all_there();
  EXPECT_TRUE(received_.contents().empty());
}

} // namespace
