// Send operations of the messages whose records point to arrays: exact allocations, descriptors
// and results.
//
// Room: tests.
#include "tests/support/definedness.h"
#include "tests/support/guarded_buffer.h"
#include "tests/transport/sending.h"

#include <pthread.h>
#include <thread>

using namespace messages;
using namespace sending;

namespace {

class TreeSends : public Sends {};

// One single send happened: the record's bytes, in one block of their size.
template <class M>
void expect_single(const tree_records<M> &records, size_t i, uint64_t target) {
  const fake_mesh::send send = expect_one_send(1, target);
  const uint8_t *block = expect_one_block(records.size(i), tag<M>("__sendsingle"));
  ASSERT_EQ(send.messages.size(), 1u);
  EXPECT_EQ(send.messages[0].data, block);
  expect_message(send.messages[0], operations<M>::id, packed(records.data()[i], records.size(i)));
}

// One batch happened: all records back to back in one arena, descriptors behind the data area.
template <class M>
void expect_batch(const tree_records<M> &records, uint64_t target) {
  const fake_mesh::send send = expect_one_send(records.count(), target);
  const uint8_t *arena =
      expect_one_block(data_area + descriptor_size * records.count(), tag<M>("__sendbatch"));
  ASSERT_NE(arena, nullptr);
  EXPECT_EQ(reinterpret_cast<const uint8_t *>(send.descriptors), arena + data_area);
  ASSERT_EQ(send.messages.size(), records.count());
  const uint8_t *at = arena;
  for (uint32_t i = 0; i < records.count(); ++i) {
    EXPECT_EQ(send.messages[i].data, at) << "record " << i;
    expect_message(send.messages[i], operations<M>::id, packed(records.data()[i], records.size(i)));
    at += records.size(i);
  }
}

// The batch asked for this arena, gave it back and sent nothing.
template <class M>
void expect_failed_batch(uint32_t result, uint32_t arena_size) {
  EXPECT_EQ(result, failed);
  EXPECT_NE(expect_one_block(arena_size, tag<M>("__sendbatch")), nullptr);
  expect_nothing_sent();
}

TEST_F(TreeSends, SendsingleEncodesIntoOneBlockOfExactlyTheEncodedSize) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    for (size_t i = 0; i < records.count(); ++i) {
      forget();
      EXPECT_EQ(operations<M>::sendsingle(destination, records.data() + i, 0, 0), 0u);
      expect_single(records, i, 0);
    }
  });
}

TEST_F(TreeSends, SendsinglePassesEveryNonZeroTargetUnchanged) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    for (const uint64_t target : targets) {
      forget();
      EXPECT_EQ(operations<M>::sendsingle(destination, records.data() + 1, 0, target), 0u);
      expect_single(records, 1, target);
    }
  });
}

TEST_F(TreeSends, SendsingleIgnoresItsThirdArgument) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    for (const uint32_t ignored : {0u, 1u, 2u, 0x80000000u, 0xFFFFFFFFu}) {
      forget();
      EXPECT_EQ(operations<M>::sendsingle(destination, records.data() + 1, ignored, 5), 0u);
      expect_single(records, 1, 5);
    }
  });
}

TEST_F(TreeSends, SendsingleOfANullRecordFailsWithoutAllocating) {
  each_tree([]<class M> {
    for (const uint64_t target : targets)
      EXPECT_EQ(operations<M>::sendsingle(destination, nullptr, 0, target), failed);
    EXPECT_TRUE(heap_calls().empty());
    expect_nothing_sent();
  });
}

TEST_F(TreeSends, SendsingleWithoutMemoryFailsAndSendsNothing) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    fake_osal::fail_allocation(1);
    EXPECT_EQ(operations<M>::sendsingle(destination, records.data() + 1, 0, 9), failed);
    EXPECT_EQ(expect_one_block(records.size(1), tag<M>("__sendsingle")), nullptr);
    expect_nothing_sent();
  });
}

TEST_F(TreeSends, SendbatchPlacesRecordsBackToBackInOneArena) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    for (const uint64_t target : targets) {
      forget();
      EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), records.count(), target), 0u);
      expect_batch(records, target);
    }
  });
}

// Clearing 64 KiB would cost more than most batches.
TEST_F(TreeSends, SendbatchLeavesTheRestOfTheArenaAsTheAllocatorGaveIt) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    uint32_t used = 0, changed = 0;
    for (uint32_t i = 0; i < records.count(); i++)
      used += records.size(i);
    fake_mesh::on_send([&](const fake_mesh::send &send) {
      const uint8_t *const arena = reinterpret_cast<const uint8_t *>(send.descriptors) - data_area;
      definedness::settle(arena + used, data_area - used); // looked at because nobody wrote it
      for (uint32_t i = used; i < data_area; i++)
        changed += arena[i] != fake_osal::fresh_byte;
    });
    EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), records.count(), 0), 0u);
    fake_mesh::on_send({});
    expect_batch(records, 0);
    EXPECT_LT(used, data_area);
    EXPECT_EQ(changed, 0u);
  });
}

TEST_F(TreeSends, SendbatchOfOneRecordStillUsesTheArena) {
  each_tree([]<class M> {
    tree_records<M> records;
    records.add(3, 0, 2);
    EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), 1, 0), 0u);
    expect_batch(records, 0);
  });
}

TEST_F(TreeSends, SendbatchOfNothingSendsAnEmptyArena) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    for (const M *first : {records.data(), static_cast<const M *>(nullptr)})
      for (const uint64_t target : targets) {
        forget();
        EXPECT_EQ(operations<M>::sendbatch(destination, first, 0, target), 0u);
        const fake_mesh::send send = expect_one_send(0, target);
        const uint8_t *arena = expect_one_block(data_area, tag<M>("__sendbatch"));
        EXPECT_EQ(reinterpret_cast<const uint8_t *>(send.descriptors), arena + data_area);
      }
  });
}

TEST_F(TreeSends, SendbatchWithoutMemoryFailsAndSendsNothing) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    for (const uint32_t count : {0u, 1u, records.count()}) {
      forget();
      fake_osal::fail_allocation(1);
      EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), count, 0), failed);
      EXPECT_EQ(expect_one_block(data_area + descriptor_size * count, tag<M>("__sendbatch")),
                nullptr);
      expect_nothing_sent();
    }
  });
}

TEST_F(TreeSends, SendbatchOfANullArrayFailsAndReleasesTheArena) {
  each_tree([]<class M> {
    for (const uint32_t count : {1u, 3u}) {
      forget();
      const uint32_t result = operations<M>::sendbatch(destination, nullptr, count, 4);
      expect_failed_batch<M>(result, data_area + descriptor_size * count);
    }
  });
}

TEST_F(TreeSends, ABatchThatFillsTheDataAreaExactlyIsSent) {
  each_tree([]<class M> {
    const tree_records<M> records = exactly_full<M>();
    ASSERT_EQ(records.total(), 65536u);
    EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), records.count(), 0), 0u);
    expect_batch(records, 0);
  });
}

TEST_F(TreeSends, OneScalarMoreInAnyRecordOfAFullBatchSendsNothing) {
  each_tree([]<class M> {
    for (const size_t record : {0u, 1u}) {
      forget();
      tree_records<M> records = exactly_full<M>();
      records.grow(record);
      const uint32_t result =
          operations<M>::sendbatch(destination, records.data(), records.count(), 1);
      expect_failed_batch<M>(result, data_area + descriptor_size * records.count());
    }
  });
}

// A full batch with one u8 scalar set that was absent: 65,537 bytes.
template <class M, auto Byte>
void expect_one_byte_over_fails() {
  for (const size_t record : {0u, 1u}) {
    fake_osal::reset();
    tree_records<M> records = exactly_full<M>();
    ASSERT_EQ(records.total(), 65536u);
    records.element_of(record, 0).*Byte = 1;
    ASSERT_EQ(packed(records.data()[record], records.size(record) + 1).size(),
              records.size(record) + 1);
    const uint32_t result =
        operations<M>::sendbatch(destination, records.data(), records.count(), 0);
    expect_failed_batch<M>(result, data_area + descriptor_size * records.count());
  }
}

TEST_F(TreeSends, OneByteMoreInAnyRecordOfAFullBatchSendsNothing) {
  expect_one_byte_over_fails<feiBrokerFib6_ipv6FwdUpdateMsg, &feiBrokerFib6_ipv6Fwd::f4>();
  expect_one_byte_over_fails<feiBrokerFib6_ipv6FwdDelMsg, &feiBrokerFib6_ipv6FwdKey::f3>();
  expect_one_byte_over_fails<feiBrokerFib6_nhp6UpdateMsg, &feiBrokerFib6_nhp6Ext::f6>();
  expect_one_byte_over_fails<feiBrokerFib6_srv6SrListUpdateMsg, &feiBrokerFib6_srv6SrList::f14>();
}

TEST_F(TreeSends, AFullDataAreaTakesNoFurtherRecordHoweverSmall) {
  each_tree([]<class M> {
    tree_records<M> records = exactly_full<M>();
    records.add(0, 0, 0);
    const uint32_t result =
        operations<M>::sendbatch(destination, records.data(), records.count(), 0);
    expect_failed_batch<M>(result, data_area + descriptor_size * records.count());
  });
}

// The record behind the last that fits lies where reading it faults.
TEST_F(TreeSends, AFullDataAreaFailsTheBatchBeforeTheNextRecordIsRead) {
  each_tree([]<class M> {
    const tree_records<M> records = exactly_full<M>();
    ASSERT_EQ(records.total(), 65536u);
    const guarded_buffer array(records.data(), records.count() * sizeof(M));
    const uint32_t result = operations<M>::sendbatch(
        destination, reinterpret_cast<const M *>(array.data()), records.count() + 1, 0);
    expect_failed_batch<M>(result, data_area + descriptor_size * (records.count() + 1));
  });
}

TEST_F(TreeSends, FourThousandAndNinetySixBareRecordsFillABatchAndOneMoreDoesNotFit) {
  using M = feiBrokerFib6_ipv6FwdUpdateMsg; // 16 bytes when bare
  tree_records<M> records;
  for (int i = 0; i < 4096; ++i)
    records.add(0, 0, 0);
  ASSERT_EQ(records.total(), 65536u);
  EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), records.count(), 0), 0u);
  expect_batch(records, 0);

  forget();
  records.add(0, 0, 0);
  const uint32_t result = operations<M>::sendbatch(destination, records.data(), records.count(), 0);
  expect_failed_batch<M>(result, data_area + descriptor_size * 4097);
}

TEST_F(TreeSends, ASingleSendIsNotLimitedToTheDataAreaOfABatch) {
  each_tree([]<class M> {
    tree_records<M> records = exactly_full<M>();
    records.add(1, 7000, 0);
    ASSERT_GT(records.size(2), 65536u);
    EXPECT_EQ(operations<M>::sendsingle(destination, records.data() + 2, 0, 0), 0u);
    expect_single(records, 2, 0);
  });
}

TEST_F(TreeSends, AllSixKindsOfNextHopTravelInOneSingleSend) {
  feiBrokerFib6_nhp6Std std_hop{1, {2, 3, 4, 5}, 6, 7, 8, 9, 10, 11, 12};
  feiBrokerFib6_nhp6Ext ext_hop{1, 2, 3, 4, 5, 6, 7, {8, 9, 10}};
  feiBrokerFib6_nhp6Vpn vpn_hop{1, 2, 3, 4, 5};
  feiBrokerFib6_nhp6Vxlan vxlan_hop{1, 2, 3, 4, 5,           {6, 7, 8}, 9, {1, 2, 3, 4, 5, 6},
                                    1, 2, 3, 4, {1, 2, 3, 4}};
  feiBrokerFib6_nhp6VpnSid sid_hop{1, 2, 3, 4, {1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, 1,
                                   2, 3, 4, 5};
  feiBrokerFib6_nhp6Pp6ExtSrv6Te te_hop{1, 2, 3, 4, {5, 6, 7, 8}, 9, 10, 11, 12};
  const feiBrokerFib6_nhp6UpdateMsg record{1, {1, 2, 3, 4, {5, 6, 7, 8}, 9, 10, 11, 12, 13},
                                           1, &std_hop,
                                           1, &ext_hop,
                                           1, &vpn_hop,
                                           1, &vxlan_hop,
                                           1, &sid_hop,
                                           1, &te_hop};
  // Root and its scalar, embedded next hop, then per kind 8 for the vector, 4 for the one offset,
  // the base and every scalar.
  constexpr uint32_t size = 32 + 4 + (52 + 28) + 6 * (8 + 4) + (50 + 32) + (35 + 25) + (18 + 20) +
                            (83 + 32) + (104 + 24) + (50 + 26);
  EXPECT_EQ(feiBrokerFib6_nhp6UpdateMsg__sendsingle(destination, &record, 0, 0), 0u);
  expect_one_block(size, "feiBrokerFib6_nhp6UpdateMsg__sendsingle");
  const fake_mesh::send send = expect_one_send(1, 0);
  ASSERT_EQ(send.messages.size(), 1u);
  expect_message(send.messages[0], 0x5FFC4D23, packed(record, size));
}

TEST_F(TreeSends, SendmsgOfOneIsASingleSendWithoutTarget) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    EXPECT_EQ(operations<M>::sendmsg(destination, records.data() + 2, 1), 0u);
    expect_single(records, 2, 0);
  });
}

TEST_F(TreeSends, SendmsgOfMoreIsABatchWithoutTarget) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    EXPECT_EQ(operations<M>::sendmsg(destination, records.data(), records.count()), 0u);
    expect_batch(records, 0);
  });
}

TEST_F(TreeSends, SendtomsgOfOneIsASingleSendWithItsTarget) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    for (const uint64_t target : targets) {
      forget();
      EXPECT_EQ(operations<M>::sendtomsg(destination, records.data() + 1, 1, target), 0u);
      expect_single(records, 1, target);
    }
  });
}

TEST_F(TreeSends, SendtomsgOfMoreIsABatchWithItsTarget) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    for (const uint64_t target : targets) {
      forget();
      EXPECT_EQ(operations<M>::sendtomsg(destination, records.data(), records.count(), target), 0u);
      expect_batch(records, target);
    }
  });
}

TEST_F(TreeSends, SendmsgAndSendtomsgOfANullRecordFailWithoutAllocating) {
  each_tree([]<class M> {
    EXPECT_EQ(operations<M>::sendmsg(destination, nullptr, 1), failed);
    EXPECT_EQ(operations<M>::sendtomsg(destination, nullptr, 1, 3), failed);
    EXPECT_TRUE(heap_calls().empty());
    expect_nothing_sent();
  });
}

TEST_F(TreeSends, BothSendFormsPassOnThatMemoryRanOut) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    for (const uint32_t count : {1u, records.count()}) {
      fake_osal::fail_allocation(1);
      EXPECT_EQ(operations<M>::sendmsg(destination, records.data(), count), failed);
      fake_osal::fail_allocation(1);
      EXPECT_EQ(operations<M>::sendtomsg(destination, records.data(), count, 3), failed);
    }
    expect_nothing_sent();
  });
}

// Counts whose count * 16 + 65,536 does not fit in 32 bits, and what is asked for instead.
struct wrapped {
  uint32_t count, arena;
};
constexpr wrapped wrapped_batches[] = {
    {0x0FFFF000, 0},     // the sum is 2^32
    {0x0FFFF001, 16},    //
    {0x10000000, 65536}, // the product is 2^32: as if the count were 0
    {0x10000001, 65552}, //
    {0x20000000, 65536}, //
    {0xFFFFFFFF, 65520}, // one descriptor short of the data area
};

TEST_F(TreeSends, ABatchWhoseArenaSizeWrapsAsksForTheWrappedSizeAndFails) {
  each_tree([]<class M> {
    // More bare records than a data area takes: whoever encodes them anyway stays inside.
    const std::vector<M> records(5000);
    for (const wrapped &batch : wrapped_batches) {
      forget();
      SCOPED_TRACE(batch.count);
      const uint32_t result = operations<M>::sendbatch(destination, records.data(), batch.count, 0);
      expect_failed_batch<M>(result, batch.arena);
    }
  });
}

TEST_F(TreeSends, TheLargestCountThatDoesNotWrapAsksForAllItNeeds) {
  each_tree([]<class M> {
    fake_osal::refuse_above(1u << 20);
    EXPECT_EQ(operations<M>::sendbatch(destination, nullptr, 0x0FFFEFFF, 0), failed);
    EXPECT_EQ(expect_one_block(0xFFFFFFF0, tag<M>("__sendbatch")), nullptr);
    expect_nothing_sent();
  });
}

TEST_F(TreeSends, TheBlockOfACallLivesUntilTheMeshReturns) {
  each_tree([]<class M> {
    const tree_records<M> records = some_tree_records<M>();
    size_t live_during_call = 0;
    fake_mesh::on_send(
        [&](const fake_mesh::send &) { live_during_call += fake_osal::live_blocks(); });
    operations<M>::sendsingle(destination, records.data(), 0, 0);
    EXPECT_EQ(live_during_call, 1u);
    EXPECT_EQ(fake_osal::live_blocks(), 0u);
    operations<M>::sendbatch(destination, records.data(), records.count(), 1);
    EXPECT_EQ(live_during_call, 2u);
    EXPECT_EQ(fake_osal::live_blocks(), 0u);
  });
}

TEST_F(TreeSends, SendingLeavesRecordsAndArraysAsTheyAre) {
  each_tree([]<class M> {
    tree_records<M> records = exactly_full<M>();
    for (const size_t surplus : {0u, 1u}) { // sent, then refused
      if (surplus == 1)
        records.grow(1);
      const std::string before = records.snapshot();
      operations<M>::sendsingle(destination, records.data(), 0, 0);
      operations<M>::sendbatch(destination, records.data(), records.count(), 0);
      operations<M>::sendmsg(destination, records.data(), records.count());
      operations<M>::sendtomsg(destination, records.data(), 1, 1);
      EXPECT_EQ(records.snapshot(), before);
    }
  });
}

} // namespace
