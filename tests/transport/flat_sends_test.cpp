// Send operations of the flat messages: fixed images, from the stack when there is one record.
//
// Room: tests.
#include "tests/transport/sending.h"

#include <pthread.h>
#include <thread>

using namespace messages;
using namespace sending;

namespace {

class FlatSends : public Sends {};

template <class M>
std::vector<M> records_of(const std::vector<flat_sample<M>> &samples) {
  std::vector<M> records;
  for (const flat_sample<M> &sample : samples)
    records.push_back(sample.record);
  return records;
}

// Leaves garbage where the next call's frame will be, so that a byte nobody writes shows.
[[gnu::noinline]] void soil_the_stack() {
  volatile uint8_t garbage[8192];
  for (volatile uint8_t &byte : garbage)
    byte = 0xAA;
}

template <class M>
void expect_image_alone(const flat_sample<M> &sample, uint64_t target) {
  const fake_mesh::send send = expect_one_send(1, target);
  EXPECT_TRUE(heap_calls().empty()) << "a flat record is sent without a heap block";
  ASSERT_EQ(send.messages.size(), 1u);
  EXPECT_EQ(send.messages[0].length, flat<M>::length);
  expect_message(send.messages[0], operations<M>::id, sample.image);
}

template <class M>
void expect_images_in_a_batch(const std::vector<flat_sample<M>> &samples, uint64_t target) {
  const auto count = static_cast<uint32_t>(samples.size());
  const fake_mesh::send send = expect_one_send(count, target);
  const uint8_t *arena =
      expect_one_block(count * (flat<M>::length + descriptor_size), tag<M>("__sendbatch"));
  ASSERT_NE(arena, nullptr);
  EXPECT_EQ(reinterpret_cast<const uint8_t *>(send.descriptors), arena + count * flat<M>::length);
  ASSERT_EQ(send.messages.size(), count);
  for (uint32_t i = 0; i < count; ++i) {
    EXPECT_EQ(send.messages[i].data, arena + i * flat<M>::length) << "record " << i;
    expect_message(send.messages[i], operations<M>::id, samples[i].image);
  }
}

template <class M>
std::vector<flat_sample<M>> five_samples() {
  const std::vector<flat_sample<M>> two = flat<M>::samples();
  return {two[0], two[1], two[1], two[0], two[0]};
}

TEST_F(FlatSends, SendsingleSendsTheZeroPaddedImageWithoutAHeapBlock) {
  each_flat([]<class M> {
    for (const flat_sample<M> &sample : flat<M>::samples())
      for (const uint64_t target : targets) {
        forget();
        soil_the_stack();
        EXPECT_EQ(operations<M>::sendsingle(destination, &sample.record, 0, target), 0u);
        expect_image_alone(sample, target);
      }
  });
}

TEST_F(FlatSends, SendsingleIgnoresItsThirdArgument) {
  each_flat([]<class M> {
    const flat_sample<M> sample = flat<M>::samples().front();
    for (const uint32_t ignored : {0u, 1u, 2u, 0x80000000u, 0xFFFFFFFFu}) {
      forget();
      EXPECT_EQ(operations<M>::sendsingle(destination, &sample.record, ignored, 5), 0u);
      expect_image_alone(sample, 5);
    }
  });
}

TEST_F(FlatSends, SendmsgOfOneSendsFromTheStackWithoutTarget) {
  each_flat([]<class M> {
    for (const flat_sample<M> &sample : flat<M>::samples()) {
      forget();
      soil_the_stack();
      EXPECT_EQ(operations<M>::sendmsg(destination, &sample.record, 1), 0u);
      expect_image_alone(sample, 0);
    }
  });
}

TEST_F(FlatSends, SendtomsgOfOneSendsFromTheStackWithItsTarget) {
  each_flat([]<class M> {
    for (const flat_sample<M> &sample : flat<M>::samples())
      for (const uint64_t target : targets) {
        forget();
        soil_the_stack();
        EXPECT_EQ(operations<M>::sendtomsg(destination, &sample.record, 1, target), 0u);
        expect_image_alone(sample, target);
      }
  });
}

// Is the address inside the calling thread's stack?
bool on_own_stack(const void *address) {
  pthread_attr_t attributes;
  void *lowest = nullptr;
  size_t size = 0;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0)
    return false;
  pthread_attr_getstack(&attributes, &lowest, &size);
  pthread_attr_destroy(&attributes);
  const auto at = reinterpret_cast<uintptr_t>(address);
  const auto bottom = reinterpret_cast<uintptr_t>(lowest);
  return at >= bottom && at < bottom + size;
}

TEST_F(FlatSends, ASingleSendKeepsImageAndDescriptorOnTheCallersStack) {
  each_flat([]<class M> {
    const M record = flat<M>::samples().front().record;
    size_t seen = 0;
    fake_mesh::on_send([&](const fake_mesh::send &send) {
      ++seen;
      EXPECT_TRUE(on_own_stack(send.descriptors));
      EXPECT_TRUE(on_own_stack(send.messages.at(0).data));
    });
    std::thread([&] {
      operations<M>::sendsingle(destination, &record, 0, 0);
      operations<M>::sendmsg(destination, &record, 1);
      operations<M>::sendtomsg(destination, &record, 1, 1);
    }).join();
    EXPECT_EQ(seen, 3u);
  });
}

TEST_F(FlatSends, ASingleSendBindsTheCacheHalfOfItsUnitOnly) {
  each_flat([]<class M> {
    const M record = flat<M>::samples().front().record;
    operations<M>::sendsingle(destination, &record, 0, 0);
    operations<M>::sendmsg(destination, &record, 1);
    operations<M>::sendtomsg(destination, &record, 1, 1);
    EXPECT_EQ(send_unit_of<M>().runtime.bound, 0u);
    EXPECT_EQ(send_unit_of<M>().runtime.cache_bound, 1u);
  });
}

TEST_F(FlatSends, SendbatchPlacesZeroPaddedImagesInSlotsOfTheirLength) {
  each_flat([]<class M> {
    const std::vector<flat_sample<M>> samples = five_samples<M>();
    const std::vector<M> records = records_of(samples);
    for (const uint64_t target : targets) {
      forget();
      EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), 5, target), 0u);
      expect_images_in_a_batch(samples, target);
    }
  });
}

TEST_F(FlatSends, SendbatchOfOneRecordUsesAHeapBlock) {
  each_flat([]<class M> {
    const flat_sample<M> sample = flat<M>::samples().front();
    EXPECT_EQ(operations<M>::sendbatch(destination, &sample.record, 1, 0), 0u);
    expect_images_in_a_batch<M>({sample}, 0);
  });
}

TEST_F(FlatSends, SendmsgOfMoreIsABatchWithoutTarget) {
  each_flat([]<class M> {
    const std::vector<flat_sample<M>> samples = five_samples<M>();
    const std::vector<M> records = records_of(samples);
    EXPECT_EQ(operations<M>::sendmsg(destination, records.data(), 5), 0u);
    expect_images_in_a_batch(samples, 0);
  });
}

TEST_F(FlatSends, SendtomsgOfMoreIsABatchWithItsTarget) {
  each_flat([]<class M> {
    const std::vector<flat_sample<M>> samples = five_samples<M>();
    const std::vector<M> records = records_of(samples);
    for (const uint64_t target : targets) {
      forget();
      EXPECT_EQ(operations<M>::sendtomsg(destination, records.data(), 5, target), 0u);
      expect_images_in_a_batch(samples, target);
    }
  });
}

TEST_F(FlatSends, ABatchIsNotLimitedToTheDataAreaOfOtherMessages) {
  each_flat([]<class M> {
    const std::vector<flat_sample<M>> samples(3000, flat<M>::samples().front());
    const std::vector<M> records = records_of(samples);
    EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), 3000, 0), 0u);
    expect_images_in_a_batch(samples, 0);
  });
}

TEST_F(FlatSends, SendbatchOfNothingAsksForNoBytesAndSendsNothing) {
  each_flat([]<class M> {
    const M record = flat<M>::samples().front().record;
    for (const M *first : {&record, static_cast<const M *>(nullptr)})
      for (const uint64_t target : targets) {
        forget();
        EXPECT_EQ(operations<M>::sendbatch(destination, first, 0, target), 0u);
        const fake_mesh::send send = expect_one_send(0, target);
        const uint8_t *arena = expect_one_block(0, tag<M>("__sendbatch"));
        EXPECT_EQ(reinterpret_cast<const uint8_t *>(send.descriptors), arena);
      }
  });
}

TEST_F(FlatSends, SendbatchWithoutMemoryFailsAndSendsNothing) {
  each_flat([]<class M> {
    const std::vector<M> records = records_of(five_samples<M>());
    for (const uint32_t count : {0u, 1u, 5u}) {
      forget();
      fake_osal::fail_allocation(1);
      EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), count, 0), failed);
      EXPECT_EQ(expect_one_block(count * (flat<M>::length + 16), tag<M>("__sendbatch")), nullptr);
      expect_nothing_sent();
    }
  });
}

TEST_F(FlatSends, BothSendFormsPassOnThatMemoryRanOutForABatch) {
  each_flat([]<class M> {
    const std::vector<M> records = records_of(five_samples<M>());
    fake_osal::fail_allocation(1);
    EXPECT_EQ(operations<M>::sendmsg(destination, records.data(), 5), failed);
    fake_osal::fail_allocation(1);
    EXPECT_EQ(operations<M>::sendtomsg(destination, records.data(), 5, 3), failed);
    expect_nothing_sent();
  });
}

TEST_F(FlatSends, ASingleSendNeedsNoMemory) {
  each_flat([]<class M> {
    const flat_sample<M> sample = flat<M>::samples().front();
    fake_osal::fail_allocation(1);
    EXPECT_EQ(operations<M>::sendsingle(destination, &sample.record, 0, 0), 0u);
    expect_image_alone(sample, 0);
  });
}

TEST_F(FlatSends, SevenProcessStatesTakeSeventyTwoBytesEachInABatch) {
  const std::vector<feiBrokerFib6_pidStateMsg> records(7);
  EXPECT_EQ(feiBrokerFib6_pidStateMsg__sendbatch(destination, records.data(), 7, 0), 0u);
  expect_one_block(504, "feiBrokerFib6_pidStateMsg__sendbatch");
  for (const fake_mesh::message &message : expect_one_send(7, 0).messages) {
    EXPECT_EQ(message.id, 0x2DAF16C2u);
    EXPECT_EQ(message.length, 56u);
  }
}

// A count whose arena size does not fit in 32 bits, and the size asked for instead.
template <class M>
void expect_wrapped_batch_fails(uint32_t count, uint32_t arena) {
  SCOPED_TRACE(count);
  fake_osal::reset();
  fake_mesh::reset();
  const std::vector<M> records(16);
  EXPECT_EQ(operations<M>::sendbatch(destination, records.data(), count, 0), failed);
  EXPECT_NE(expect_one_block(arena, tag<M>("__sendbatch")), nullptr);
  expect_nothing_sent();
}

TEST_F(FlatSends, ABatchWhoseArenaSizeWrapsAsksForTheWrappedSizeAndFails) {
  using pid = feiBrokerFib6_pidStateMsg;          // 72 bytes a record
  expect_wrapped_batch_fails<pid>(59652324, 32);  // slots alone would fit in 32 bits
  expect_wrapped_batch_fails<pid>(0x20000000, 0); // slots alone are 7 * 2^32
  expect_wrapped_batch_fails<pid>(0x20000001, 72);
  expect_wrapped_batch_fails<pid>(0x20000002, 144);
  using ttl = fib6_cfg_cfg_ipv6_ttl_expired_forward; // 80 bytes a record
  expect_wrapped_batch_fails<ttl>(53687092, 64);
  expect_wrapped_batch_fails<ttl>(0x10000000, 0);
  expect_wrapped_batch_fails<ttl>(0x10000001, 80);
}

TEST_F(FlatSends, ABatchWhoseWrappedSizeIsRefusedFailsLikeAnyOther) {
  fake_osal::refuse_above(1u << 20);
  EXPECT_EQ(feiBrokerFib6_pidStateMsg__sendbatch(destination, nullptr, 0xFFFFFFFF, 0), failed);
  EXPECT_EQ(expect_one_block(0xFFFFFFB8, "feiBrokerFib6_pidStateMsg__sendbatch"), nullptr);
  expect_nothing_sent();
}

TEST_F(FlatSends, TheLargestCountThatDoesNotWrapAsksForAllItNeeds) {
  fake_osal::refuse_above(1u << 20);
  EXPECT_EQ(feiBrokerFib6_pidStateMsg__sendbatch(destination, nullptr, 59652323, 0), failed);
  EXPECT_EQ(expect_one_block(4294967256, "feiBrokerFib6_pidStateMsg__sendbatch"), nullptr);
  expect_nothing_sent();
}

TEST_F(FlatSends, TheBlockOfABatchLivesUntilTheMeshReturns) {
  each_flat([]<class M> {
    const std::vector<M> records = records_of(five_samples<M>());
    size_t live_during_call = 0;
    fake_mesh::on_send(
        [&](const fake_mesh::send &) { live_during_call = fake_osal::live_blocks(); });
    operations<M>::sendbatch(destination, records.data(), 5, 1);
    EXPECT_EQ(live_during_call, 1u);
    EXPECT_EQ(fake_osal::live_blocks(), 0u);
  });
}

TEST_F(FlatSends, SendingLeavesTheRecordsAsTheyAre) {
  each_flat([]<class M> {
    const std::vector<M> records = records_of(five_samples<M>());
    const auto bytes = [&] {
      return std::string(reinterpret_cast<const char *>(records.data()), 5 * sizeof(M));
    };
    const std::string before = bytes();
    operations<M>::sendsingle(destination, records.data(), 0, 0);
    operations<M>::sendbatch(destination, records.data(), 5, 0);
    operations<M>::sendmsg(destination, records.data(), 5);
    operations<M>::sendtomsg(destination, records.data(), 1, 1);
    EXPECT_EQ(bytes(), before);
  });
}

} // namespace
