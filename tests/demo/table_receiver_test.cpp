// What a receiver makes of records, and of what hostile messages are decoded to.
//
// Room: tests. Includes the demo, the development host and the public headers.
#include "demo/table_receiver.h"
#include "host/osal_host.h"
#include "tests/demo/hostile_messages.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

using namespace demo;

namespace {

// Decodes as the mesh does, into zeroed storage, and hands the record on.
template <class Message, uint32_t (*unpack)(const uint8_t *, uint32_t, Message *),
          void (*release)(Message *)>
void deliver_as(const encoded_message &message, table_receiver &receiver) {
  // A block of exactly that size, whose end the address sanitizer watches.
  const auto bytes = std::make_unique<uint8_t[]>(message.bytes.size());
  std::copy(message.bytes.begin(), message.bytes.end(), bytes.get());
  Message record{};
  unpack(bytes.get(), static_cast<uint32_t>(message.bytes.size()), &record);
  receiver.take(message.id, &record);
  release(&record);
}

#define DELIVER(M) deliver_as<M, M##__unpack, M##_free__unpacked>

void deliver(const encoded_message &message, table_receiver &receiver) {
  switch (message.id) {
  case route_update_id:
    return DELIVER(feiBrokerFib6_ipv6FwdUpdateMsg)(message, receiver);
  case route_delete_id:
    return DELIVER(feiBrokerFib6_ipv6FwdDelMsg)(message, receiver);
  case group_update_id:
    return DELIVER(feiBrokerFib6_nhp6GroupUpdateMsg)(message, receiver);
  case group_delete_id:
    return DELIVER(feiBrokerFib6_nhp6GroupDelMsg)(message, receiver);
  case next_hop_update_id:
    return DELIVER(feiBrokerFib6_nhp6UpdateMsg)(message, receiver);
  case next_hop_delete_id:
    return DELIVER(feiBrokerFib6_nhp6DelMsg)(message, receiver);
  case phase_id:
    return DELIVER(feiBrokerFib6_pidStateMsg)(message, receiver);
  default:
    FAIL() << "no such message";
  }
}

osal_host_accounts accounts() {
  osal_host_accounts now{};
  osal_host_get_accounts(&now);
  return now;
}

class TableReceiver : public testing::Test {
protected:
  TableReceiver() { osal_host_hold_log(1); } // the decoder's lines are counted, not written
  ~TableReceiver() override { osal_host_hold_log(0); }

  // A receiver that has a table, so that there is something to spoil.
  table_receiver filled() {
    table_receiver receiver([this](table_receiver &, phase) { phases++; });
    for (size_t i = 0; i < 3; i++)
      deliver(messages[i], receiver);
    return receiver;
  }

  const std::vector<encoded_message> messages = agreed_messages();
  uint64_t phases = 0;
};

void expect_same_table(const route_table &expected, const route_table &found) {
  EXPECT_EQ(expected.routes, found.routes);
  EXPECT_EQ(expected.next_hops, found.next_hops);
  EXPECT_EQ(expected.groups, found.groups);
}

TEST_F(TableReceiver, BuildsAndDeletesTheTableOfAnHonestSender) {
  table_receiver receiver = filled();
  EXPECT_EQ(receiver.contents().routes.size(), 2u);
  EXPECT_EQ(receiver.contents().next_hops.size(), 2u);
  EXPECT_EQ(receiver.contents().groups.size(), 1u);
  for (size_t i = 3; i < messages.size(); i++)
    deliver(messages[i], receiver);
  EXPECT_TRUE(receiver.contents().empty());
  EXPECT_EQ(phases, 1u);
  report told = receiver.told_as("ended");
  told.numbers["unusable"] = 0;
  EXPECT_EQ(problems_of(told), std::vector<std::string>{});
}

TEST_F(TableReceiver, SurvivesHostileMessagesOfEveryTypeAndTakesNothingFromRefusedOnes) {
  const table_receiver before = filled();
  for (const encoded_message &message : messages) {
    uint64_t refused = 0;
    for (const encoded_message &attack : hostile(message)) {
      table_receiver receiver = before;
      phases = 0;
      const uint64_t lines_before = accounts().log_lines;
      deliver(attack, receiver);
      if (accounts().log_lines == lines_before)
        continue; // the decoder took it: what it refuses it tells in the log, and nowhere else
      refused++;
      EXPECT_EQ(receiver.told_as("")["refused"], 1u);
      EXPECT_EQ(phases, 0u);
      expect_same_table(before.contents(), receiver.contents());
      if (HasFailure())
        FAIL() << "message " << testing::PrintToString(attack.bytes) << " of type " << message.id;
    }
    EXPECT_GT(refused, message.bytes.size() / 2) << "attacks on type " << message.id;
  }
  EXPECT_EQ(accounts().live_blocks, 0u);
}

TEST_F(TableReceiver, CountsAMessageThatWasCutBehindItsCountAsRefused) {
  encoded_message routes = messages[2];
  routes.bytes.resize(40);
  table_receiver receiver = filled();
  deliver(routes, receiver);
  EXPECT_EQ(receiver.told_as("")["refused"], 1u);
}

// Counts without arrays, as a refused message leaves them.
TEST_F(TableReceiver, GoesByThePointerNotByTheCount) {
  table_receiver receiver = filled();
  const route_table before = receiver.contents();
  const feiBrokerFib6_ipv6FwdUpdateMsg routes{4, 1000, nullptr};
  const feiBrokerFib6_ipv6FwdDelMsg no_routes{5, 1000, nullptr};
  const feiBrokerFib6_nhp6GroupUpdateMsg group{6, group_record(7, 2, 1000), 1000, nullptr};
  const feiBrokerFib6_nhp6GroupDelMsg no_groups{7, 1000, nullptr};
  feiBrokerFib6_nhp6UpdateMsg hops{};
  hops.f0 = 8;
  hops.f2_count = hops.f3_count = hops.f4_count = hops.f5_count = hops.f6_count = 1000;
  const feiBrokerFib6_nhp6DelMsg no_hops{9, 1000, nullptr};
  receiver.take(route_update_id, &routes);
  receiver.take(route_delete_id, &no_routes);
  receiver.take(group_update_id, &group);
  receiver.take(group_delete_id, &no_groups);
  receiver.take(next_hop_update_id, &hops);
  receiver.take(next_hop_delete_id, &no_hops);
  expect_same_table(before, receiver.contents());
  const report told = receiver.told_as("");
  EXPECT_EQ(told["refused"], 6u);
  EXPECT_EQ(told["rejected"], 0u);
  EXPECT_EQ(told["out_of_sequence"], 0u);
}

TEST_F(TableReceiver, TakesARefusedMessageForTheOneThatWasDue) {
  table_receiver receiver = filled();
  const feiBrokerFib6_ipv6FwdDelMsg unread{};
  receiver.take(route_delete_id, &unread); // in the place of number 4
  deliver(messages[4], receiver);
  EXPECT_EQ(receiver.told_as("")["refused"], 1u);
  EXPECT_EQ(receiver.told_as("")["out_of_sequence"], 0u);
}

TEST_F(TableReceiver, NoticesAMissingMessage) {
  table_receiver receiver = filled();
  deliver(messages[4], receiver);
  EXPECT_EQ(receiver.told_as("")["out_of_sequence"], 1u);
}

TEST_F(TableReceiver, NoticesASenderThatEndedInTheMiddle) {
  table_receiver receiver = filled();
  EXPECT_EQ(receiver.told_as("")["unfinished"], 1u); // if nothing follows
  for (const encoded_message &message : messages)
    deliver(message, receiver);
  EXPECT_EQ(receiver.told_as("")["unfinished"], 1u);
  EXPECT_EQ(receiver.told_as("")["out_of_sequence"], 0u);
}

TEST_F(TableReceiver, RejectsNextHopsOfKindsThatNobodyAgreedUpon) {
  table_receiver receiver = filled();
  feiBrokerFib6_nhp6Std hop = next_hop_record(3, {});
  feiBrokerFib6_nhp6Vpn vpn[2]{};
  feiBrokerFib6_nhp6UpdateMsg message{};
  message.f0 = 4;
  message.f2_count = 1;
  message.f2 = &hop;
  message.f4_count = 2;
  message.f4 = vpn;
  receiver.take(next_hop_update_id, &message);
  EXPECT_EQ(receiver.told_as("")["rejected"], 2u);
}

TEST_F(TableReceiver, RejectsARouteWhosePrefixIsLongerThanAnAddress) {
  table_receiver receiver = filled();
  feiBrokerFib6_ipv6Fwd record = route_record({}, {});
  record.f4 = 129;
  const feiBrokerFib6_ipv6FwdUpdateMsg message{4, 1, &record};
  receiver.take(route_update_id, &message);
  EXPECT_EQ(receiver.told_as("")["rejected"], 1u);
  EXPECT_EQ(receiver.contents().routes.size(), 2u);
}

TEST_F(TableReceiver, NamesEveryKindOfProblem) {
  const report told{"",
                    {{"refused", 1},
                     {"out_of_sequence", 2},
                     {"unfinished", 3},
                     {"rejected", 4},
                     {"unusable", 5}}};
  const std::vector<std::string> expected{
      "1 message refused by the decoder",
      "2 messages out of sequence (others lost or repeated before)",
      "3 senders ended in the middle",
      "4 items rejected",
      "5 messages unusable to the mesh",
  };
  EXPECT_EQ(problems_of(told), expected);
}

// Records of a sender that goes on sending, as they come out of the decoder.
class GoingOn : public testing::Test {
protected:
  void say(uint32_t sequence, phase now, uint32_t routes) {
    feiBrokerFib6_pidStateMsg message{sequence, {1, static_cast<uint32_t>(now), routes + 1}};
    receiver.take(phase_id, &message);
  }
  void announce(uint32_t sequence, uint8_t last_byte) {
    feiBrokerFib6_ipv6Fwd record = route_record({0, {{0, last_byte}, 16}}, {});
    const feiBrokerFib6_ipv6FwdUpdateMsg message{sequence, 1, &record};
    receiver.take(route_update_id, &message);
  }
  void withdraw(uint32_t sequence, uint8_t last_byte) {
    feiBrokerFib6_ipv6FwdKey record = key_record({0, {{0, last_byte}, 16}});
    const feiBrokerFib6_ipv6FwdDelMsg message{sequence, 1, &record};
    receiver.take(route_delete_id, &message);
  }
  size_t routes() const { return receiver.contents().routes.size(); }

  uint64_t phases = 0;
  table_receiver receiver{[this](table_receiver &, phase) { phases++; }};
};

TEST_F(GoingOn, AWholeTableTakesThePlaceOfWhatWasThereWhenItIsComplete) {
  say(1, phase::table_begins, 0);
  announce(2, 1);
  announce(3, 2);
  say(4, phase::table_whole, 2);
  EXPECT_EQ(routes(), 2u);
  EXPECT_EQ(phases, 1u);

  say(1, phase::table_begins, 0);
  announce(2, 3);
  EXPECT_EQ(routes(), 3u); // in use until the end
  withdraw(3, 1);
  EXPECT_EQ(routes(), 2u);
  say(4, phase::table_whole, 1);
  EXPECT_EQ(routes(), 1u);
  EXPECT_FALSE(receiver.lacks_messages());
  EXPECT_EQ(receiver.told_as("now")["rejected"], 0u);
  EXPECT_EQ(receiver.told_as("now")["out_of_sequence"], 0u);
}

TEST_F(GoingOn, AnEmptyTableIsOneToo) {
  announce(1, 1);
  say(1, phase::table_begins, 0);
  say(2, phase::table_whole, 0);
  EXPECT_TRUE(receiver.contents().empty());
  EXPECT_FALSE(receiver.lacks_messages());
}

TEST_F(GoingOn, AReceiverThatComesLaterLacksWhatWasSentBefore) {
  say(9, phase::table_whole, 2);
  EXPECT_TRUE(receiver.lacks_messages());
  say(10, phase::table_whole, 2);
  EXPECT_TRUE(receiver.lacks_messages());
  say(1, phase::table_begins, 0);
  EXPECT_FALSE(receiver.lacks_messages());
}

TEST_F(GoingOn, ALostMessageIsLacking) {
  say(1, phase::table_begins, 0);
  announce(3, 1);
  EXPECT_TRUE(receiver.lacks_messages());
}

TEST_F(GoingOn, ATableOfAnotherSizeIsLacking) {
  say(1, phase::table_begins, 0);
  announce(2, 1);
  say(3, phase::table_whole, 2);
  EXPECT_TRUE(receiver.lacks_messages());
}

TEST_F(GoingOn, ARefusedMessageIsLacking) {
  say(1, phase::table_begins, 0);
  feiBrokerFib6_ipv6FwdUpdateMsg refused{2, 5, nullptr};
  receiver.take(route_update_id, &refused);
  EXPECT_TRUE(receiver.lacks_messages());
}

TEST_F(GoingOn, SegmentListsAreKeptAndDeleted) {
  say(1, phase::table_begins, 0);
  feiBrokerFib6_srv6SrList record = list_record(0, 5, {{0x20}, {0x30}});
  const feiBrokerFib6_srv6SrListUpdateMsg update{2, 1, &record};
  receiver.take(list_update_id, &update);
  say(3, phase::table_whole, 0);
  ASSERT_EQ(receiver.contents().segment_lists.size(), 1u);
  EXPECT_EQ(receiver.contents().segment_lists.at(5), (segment_list{{0x20}, {0x30}}));
  feiBrokerFib6_srv6SrListKey listed = list_key_record(0, 5);
  const feiBrokerFib6_srv6SrListDelMsg deletion{4, 1, &listed};
  receiver.take(list_delete_id, &deletion);
  EXPECT_TRUE(receiver.contents().empty());
  EXPECT_EQ(receiver.told_as("now")["rejected"], 0u);
  const feiBrokerFib6_srv6SrListDelMsg again{5, 1, &listed};
  receiver.take(list_delete_id, &again);
  EXPECT_EQ(receiver.told_as("now")["rejected"], 1u);
}

} // namespace
