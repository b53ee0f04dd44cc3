// What a peer makes of records, whoever sends them.
//
// Room: tests. Includes the demo.
#include "demo/services/follower.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using demo::follower;

constexpr uint64_t epoch = 0x1234567890ABCDEF;

demo::put_route route_to(uint8_t last, uint32_t metric = 1024) {
  demo::put_route made;
  made.key.destination.address = {0x20, 0x01, 0x0d, 0xb8, 0, last};
  made.key.destination.length = 48;
  made.entry = {demo::route_kind::blackhole, 0, metric, 1};
  return made;
}

demo::digested_table table_of(uint8_t routes) {
  demo::digested_table table;
  for (uint8_t i = 1; i <= routes; i++)
    table.apply(route_to(i));
  return table;
}

class FollowerTest : public testing::Test {
protected:
  FollowerTest() { answer(demo::verdict::table_follows); }

  void answer(demo::verdict found, uint32_t last_change = 0, uint64_t its_epoch = epoch) {
    peer.take(demo::check_answer{1, found, last_change, its_epoch, 0, 0});
  }

  template <class Message>
  void take(uint32_t id, const Message &message, uint64_t target = epoch) {
    peer.take(id, target, &message, sizeof message);
  }

  void context(demo::service_state state, uint32_t number, const demo::whole_table &table) {
    take(fib6Sync_svcCtxMsg_ID,
         demo::record_of(demo::service_context{state, number, 9, epoch, table.last_change,
                                               table.entries(), table.digest}));
  }
  void entry(uint32_t number, uint32_t at, const demo::whole_table &table) {
    take(fib6Sync_ipv6FwdUpdateMsg_ID,
         fib6Sync_ipv6FwdUpdateMsg{{number, at}, table.routes.at(at - 1)});
  }
  // The whole table, all as it should be.
  void synchronise(uint32_t number, const demo::digested_table &owned, uint32_t last_change) {
    const demo::whole_table table(owned, 0, last_change);
    context(demo::service_state::table_begins, number, table);
    for (uint32_t i = 1; i <= table.routes.size(); i++)
      entry(number, i, table);
    context(demo::service_state::table_complete, number, table);
  }
  void put(uint32_t number, const demo::put_route &made, uint64_t target = epoch) {
    feiBrokerFib6_ipv6Fwd record = demo::route_record(made.key, made.entry);
    take(feiBrokerFib6_ipv6FwdUpdateMsg_ID, feiBrokerFib6_ipv6FwdUpdateMsg{number, 1, &record},
         target);
  }

  size_t routes() const { return peer.table().contents().routes.size(); }
  bool in_step() const { return peer.now() == follower::standing::in_step; }

  follower peer;
};

TEST_F(FollowerTest, TakesAWholeTableOverWhenItIsComplete) {
  const demo::digested_table owned = table_of(3);
  const demo::whole_table table(owned, 0, 7);
  EXPECT_EQ(peer.now(), follower::standing::astray);
  context(demo::service_state::table_begins, 1, table);
  for (uint32_t i = 1; i <= 3; i++) {
    EXPECT_EQ(peer.now(), follower::standing::assembling);
    EXPECT_EQ(routes(), 0U);
    entry(1, i, table);
  }
  context(demo::service_state::table_complete, 1, table);
  EXPECT_TRUE(in_step());
  EXPECT_EQ(routes(), 3U);
  EXPECT_EQ(peer.table().digest(), owned.digest());
  EXPECT_EQ(peer.last_change(), 7U);
  EXPECT_EQ(peer.confirmed_change(), 7U);
}

TEST_F(FollowerTest, KeepsTheTableThatItHasUntilTheNextIsComplete) {
  synchronise(1, table_of(3), 0);
  const demo::whole_table table(table_of(5), 0, 9);
  context(demo::service_state::table_begins, 2, table);
  for (uint32_t i = 1; i <= 5; i++)
    entry(2, i, table);
  EXPECT_EQ(routes(), 3U);
  context(demo::service_state::table_complete, 2, table);
  EXPECT_EQ(routes(), 5U);
}

TEST_F(FollowerTest, TakesATableOfNothingOver) {
  synchronise(1, {}, 4);
  EXPECT_TRUE(in_step());
  EXPECT_EQ(peer.table().digest(), 0U);
}

TEST_F(FollowerTest, RefusesATableThatLacksItsLastEntry) {
  const demo::whole_table table(table_of(3), 0, 0);
  context(demo::service_state::table_begins, 1, table);
  entry(1, 1, table);
  entry(1, 2, table);
  context(demo::service_state::table_complete, 1, table);
  EXPECT_EQ(peer.now(), follower::standing::astray);
  EXPECT_EQ(peer.counts().gaps, 1U);
}

TEST_F(FollowerTest, GivesATableUpThatLacksAnEntryBetween) {
  const demo::whole_table table(table_of(3), 0, 0);
  context(demo::service_state::table_begins, 1, table);
  entry(1, 1, table);
  entry(1, 3, table);
  EXPECT_EQ(peer.now(), follower::standing::astray);
}

TEST_F(FollowerTest, RefusesATableWithAnotherDigest) {
  demo::whole_table table(table_of(3), 0, 0);
  table.digest++;
  context(demo::service_state::table_begins, 1, table);
  for (uint32_t i = 1; i <= 3; i++)
    entry(1, i, table);
  context(demo::service_state::table_complete, 1, table);
  EXPECT_EQ(peer.now(), follower::standing::astray);
  EXPECT_EQ(routes(), 0U);
}

TEST_F(FollowerTest, TakesWhatComesTwiceOnce) {
  const demo::whole_table table(table_of(3), 0, 0);
  for (int twice = 0; twice < 2; twice++)
    context(demo::service_state::table_begins, 1, table);
  for (uint32_t i = 1; i <= 3; i++) {
    entry(1, i, table);
    entry(1, i, table);
  }
  for (int twice = 0; twice < 2; twice++)
    context(demo::service_state::table_complete, 1, table);
  EXPECT_TRUE(in_step());
  put(1, route_to(4));
  put(1, route_to(4));
  EXPECT_TRUE(in_step());
  EXPECT_EQ(routes(), 4U);
  EXPECT_EQ(peer.counts().changes, 1U);
  EXPECT_EQ(peer.counts().repeated, 5U); // a begin, three entries, a change
  EXPECT_EQ(peer.counts().gaps, 0U);
}

TEST_F(FollowerTest, ForgetsATableThatAnotherOneFollows) {
  const demo::whole_table broken_off(table_of(3), 0, 0);
  context(demo::service_state::table_begins, 1, broken_off);
  entry(1, 1, broken_off);
  const demo::whole_table table(table_of(2), 0, 0);
  context(demo::service_state::table_begins, 2, table);
  entry(1, 2, broken_off); // still on its way
  entry(2, 1, table);
  entry(2, 2, table);
  context(demo::service_state::table_complete, 1, broken_off);
  EXPECT_FALSE(in_step());
  context(demo::service_state::table_complete, 2, table);
  EXPECT_TRUE(in_step());
  EXPECT_EQ(routes(), 2U);
}

TEST_F(FollowerTest, MakesChangesInTheirOrder) {
  synchronise(1, table_of(3), 5);
  put(6, route_to(4));
  put(7, route_to(4, 77));
  feiBrokerFib6_ipv6FwdKey key = demo::key_record(route_to(1).key);
  take(feiBrokerFib6_ipv6FwdDelMsg_ID, feiBrokerFib6_ipv6FwdDelMsg{8, 1, &key});
  demo::digested_table expected;
  expected.apply(route_to(2));
  expected.apply(route_to(3));
  expected.apply(route_to(4, 77));
  EXPECT_EQ(peer.table().digest(), expected.digest());
  EXPECT_EQ(peer.last_change(), 8U);
  EXPECT_TRUE(in_step());
}

TEST_F(FollowerTest, GoesAstrayWhenAChangeIsMissing) {
  synchronise(1, table_of(3), 5);
  put(7, route_to(4));
  EXPECT_EQ(peer.now(), follower::standing::astray);
  EXPECT_EQ(peer.asking(10, 1).asked, demo::wish::whole_table);
  EXPECT_EQ(peer.counts().gaps, 1U);
}

TEST_F(FollowerTest, GoesAstrayWhenAChangeWasRefusedByTheDecoder) {
  synchronise(1, table_of(3), 5);
  // As the decoder leaves a record: the number was read, and the count, and no array.
  take(feiBrokerFib6_ipv6FwdUpdateMsg_ID, feiBrokerFib6_ipv6FwdUpdateMsg{6, 1000, nullptr});
  EXPECT_EQ(peer.now(), follower::standing::astray);
  EXPECT_EQ(peer.counts().refused, 1U);
}

TEST_F(FollowerTest, GoesAstrayWhenWhatIsToBeDeletedIsNotThere) {
  synchronise(1, table_of(3), 5);
  feiBrokerFib6_ipv6FwdKey key = demo::key_record(route_to(9).key);
  take(feiBrokerFib6_ipv6FwdDelMsg_ID, feiBrokerFib6_ipv6FwdDelMsg{6, 1, &key});
  EXPECT_EQ(peer.now(), follower::standing::astray);
}

TEST_F(FollowerTest, GoesAstrayWhenTheServiceNamesAnotherDigestOrLaterChanges) {
  for (const auto &[change, other_digest] : {std::pair{5U, 1U}, std::pair{6U, 0U}}) {
    synchronise(change, table_of(3), 5);
    ASSERT_TRUE(in_step());
    demo::whole_table table(table_of(3), 0, change);
    table.digest += other_digest;
    context(demo::service_state::in_step, 0, table);
    EXPECT_EQ(peer.now(), follower::standing::astray) << change;
  }
}

TEST_F(FollowerTest, IsConfirmedByTheDigestAfterItsLastChange) {
  synchronise(1, table_of(3), 5);
  put(6, route_to(4));
  EXPECT_EQ(peer.confirmed_change(), 5U);
  context(demo::service_state::in_step, 0, demo::whole_table(table_of(4), 0, 6));
  EXPECT_TRUE(in_step());
  EXPECT_EQ(peer.confirmed_change(), 6U);
}

TEST_F(FollowerTest, TakesNothingOfAnotherService) {
  synchronise(1, table_of(3), 5);
  put(6, route_to(4), epoch + 1);
  put(6, route_to(4), 0);
  EXPECT_EQ(routes(), 3U);
  EXPECT_TRUE(in_step());
  EXPECT_EQ(peer.counts().strangers, 2U);
}

TEST_F(FollowerTest, KeepsItsTableAndGoesAstrayWhenAnotherServiceAnswers) {
  synchronise(1, table_of(3), 5);
  answer(demo::verdict::table_follows, 0, epoch + 1);
  EXPECT_EQ(peer.now(), follower::standing::astray);
  EXPECT_EQ(routes(), 3U);
  put(6, route_to(4)); // of the one before
  EXPECT_EQ(peer.counts().strangers, 1U);
}

TEST_F(FollowerTest, GoesAstrayWhenItIsBehindTwiceAndHasNotGotOn) {
  synchronise(1, table_of(3), 5);
  answer(demo::verdict::same, 6);
  EXPECT_TRUE(in_step()); // the change may be on its way
  put(6, route_to(4));
  answer(demo::verdict::same, 8);
  EXPECT_TRUE(in_step()); // it has got on
  answer(demo::verdict::same, 8);
  EXPECT_EQ(peer.now(), follower::standing::astray);
}

TEST_F(FollowerTest, RefusesRecordsOfAnotherSize) {
  synchronise(1, table_of(3), 5);
  const feiBrokerFib6_ipv6FwdUpdateMsg update{};
  peer.take(feiBrokerFib6_ipv6FwdUpdateMsg_ID, epoch, &update, sizeof update - 1);
  EXPECT_EQ(peer.counts().refused, 1U);
}

} // namespace
