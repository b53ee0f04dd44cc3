// What the four send operations hand to the mesh, message by message: identifier, length, bytes,
// the block they come from and the name that it is tagged with.
//
// Room: tests.
#include "tests/catalogue/every_message.h"
#include "tests/catalogue/records.h"

#include <algorithm>
#include <string>
#include <vector>

using namespace catalogue;

namespace {

constexpr uint32_t general_module = 25088;
constexpr uint32_t arena_data_size = 65536;
constexpr uint32_t destination = 0x0A0B0C0D;
constexpr uint64_t targets[] = {0, 1, UINT64_C(1) << 32, UINT64_MAX};

// Records of one message back to back, as a batch wants them, right before an inaccessible page;
// what their pointers lead to lives as long as this.
class record_array {
public:
  record_array(const message &message, uint32_t count)
      : array_(size_t{count} * message.record_size) {
    for (uint32_t i = 0; i < count; i++) {
      owned_.push_back(some_record(message, i));
      std::memcpy(array_.data() + size_t{i} * message.record_size, owned_.back().get(),
                  message.record_size);
      encoded_.push_back(sent(message, owned_.back().get()));
    }
  }
  const void *get() const { return array_.data(); }
  const std::vector<bytes> &encoded() const { return encoded_; } // each as it is sent alone

private:
  std::vector<owned_record> owned_;
  std::vector<bytes> encoded_;
  guarded_buffer array_;
};

// The block that a send of some records needs; 0 when it needs none.
uint32_t block_size(const message &message, const record_array &records, bool batch) {
  const auto count = static_cast<uint32_t>(records.encoded().size());
  if (message.is_tree())
    return batch ? arena_data_size + 16 * count
                 : static_cast<uint32_t>(records.encoded()[0].size());
  return batch ? count * (message.wire_size + 16) : 0;
}

// One block of that size, asked for and given back under the operation's exported name.
void expect_block(const message &message, uint32_t size, const char *operation) {
  using enum fake_osal::call_kind;
  const std::vector<fake_osal::call> calls = fake_osal::calls();
  if (size == 0) {
    EXPECT_TRUE(calls.empty());
    return;
  }
  ASSERT_EQ(calls.size(), 2U);
  const std::string tag = std::string(message.name) + operation;
  const auto *block = calls[0].block;
  EXPECT_EQ(calls[0], (fake_osal::call{alloc, size, general_module, tag, calls[0].block}));
  EXPECT_EQ(calls[1], (fake_osal::call{free, size, general_module, tag, calls[0].block}));
  EXPECT_NE(block, nullptr);
}

// One mesh call with these encodings, in order.
void expect_sent(const message &message, const record_array &records, uint64_t target) {
  const std::vector<fake_mesh::send> sends = fake_mesh::sends();
  ASSERT_EQ(sends.size(), 1U);
  const fake_mesh::send &send = sends.front();
  EXPECT_EQ(send.to, target != 0);
  EXPECT_EQ(send.target, target);
  EXPECT_EQ(send.destination, destination);
  EXPECT_EQ(send.count, records.encoded().size());
  ASSERT_EQ(send.messages.size(), records.encoded().size());
  for (size_t i = 0; i < send.messages.size(); i++) {
    EXPECT_EQ(send.messages[i].id, message.id);
    EXPECT_EQ(send.messages[i].length, send.messages[i].bytes.size());
    EXPECT_EQ(send.messages[i].bytes, records.encoded()[i]);
  }
}

void expect_outcome(const message &message, const record_array &records, uint64_t target,
                    const char *operation, bool batch) {
  expect_sent(message, records, target);
  expect_block(message, block_size(message, records, batch), operation);
  EXPECT_TRUE(fake_osal::log_lines().empty());
  forget();
}

TEST_F(EveryMessage, ThatIsFlatTravelsAsAnImageOfItsConstantLength) {
  each_flat([](const message &message) {
    for (uint32_t round = 0; round < 8; round++)
      EXPECT_EQ(sent(message, some_record(message, round).get()).size(), message.wire_size);
  });
}

TEST_F(EveryMessage, WithPointersTravelsAsItIsPacked) {
  each_tree([](const message &message) {
    for (uint32_t round = 0; round < 8; round += 2) { // without pointers to nothing
      const owned_record record = some_record(message, round);
      EXPECT_EQ(sent(message, record.get()), packed(message, record.get()));
    }
  });
}

TEST_F(EveryMessage, IsSentAloneFromABlockOfItsSizeOrFromTheStack) {
  each([](const message &message) {
    const record_array record(message, 1);
    for (const uint64_t target : targets) {
      EXPECT_EQ(message.sendsingle(destination, record.get(), 0x55AA55AA, target), 0U);
      expect_outcome(message, record, target, "__sendsingle", false);
    }
  });
}

TEST_F(EveryMessage, IsSentInABatchFromOneBlock) {
  each([](const message &message) {
    for (const uint32_t count : {1U, 2U, 5U}) {
      const record_array records(message, count);
      for (const uint64_t target : targets) {
        EXPECT_EQ(message.sendbatch(destination, records.get(), count, target), 0U);
        expect_outcome(message, records, target, "__sendbatch", true);
      }
    }
  });
}

TEST_F(EveryMessage, LiesInTheBatchWhereItsFamilyPlacesIt) {
  each([](const message &message) {
    const record_array records(message, 3);
    fake_mesh::on_send([&message](const fake_mesh::send &send) {
      const auto calls = fake_osal::calls();
      ASSERT_EQ(calls.size(), 1U) << "the block is still held";
      const auto *block = static_cast<const uint8_t *>(calls[0].block);
      const uint32_t data = message.is_tree() ? arena_data_size : 3 * message.wire_size;
      EXPECT_EQ(reinterpret_cast<const uint8_t *>(send.descriptors), block + data);
      for (const fake_mesh::message &each : send.messages) {
        EXPECT_EQ(each.data, block);
        block += each.length;
      }
    });
    EXPECT_EQ(message.sendbatch(destination, records.get(), 3, 0), 0U);
  });
}

TEST_F(EveryMessage, OfCountZeroIsRefusedByBothSendForms) {
  each([](const message &message) {
    const record_array record(message, 1);
    EXPECT_EQ(message.sendmsg(destination, record.get(), 0), failed);
    EXPECT_EQ(message.sendmsg(destination, nullptr, 0), failed);
    for (const uint64_t target : targets)
      EXPECT_EQ(message.sendtomsg(destination, record.get(), 0, target), failed);
    EXPECT_TRUE(fake_mesh::sends().empty());
    EXPECT_TRUE(fake_osal::calls().empty());
  });
}

TEST_F(EveryMessage, OfCountOneIsSentAlone) {
  each([](const message &message) {
    const record_array record(message, 1);
    EXPECT_EQ(message.sendmsg(destination, record.get(), 1), 0U);
    expect_outcome(message, record, 0, "__sendsingle", false);
    for (const uint64_t target : targets) {
      EXPECT_EQ(message.sendtomsg(destination, record.get(), 1, target), 0U);
      expect_outcome(message, record, target, "__sendsingle", false);
    }
  });
}

TEST_F(EveryMessage, OfCountTwoIsSentAsABatch) {
  each([](const message &message) {
    const record_array records(message, 2);
    EXPECT_EQ(message.sendmsg(destination, records.get(), 2), 0U);
    expect_outcome(message, records, 0, "__sendbatch", true);
    for (const uint64_t target : targets) {
      EXPECT_EQ(message.sendtomsg(destination, records.get(), 2, target), 0U);
      expect_outcome(message, records, target, "__sendbatch", true);
    }
  });
}

TEST_F(EveryMessage, WithoutMemoryIsNotSentWhereItNeedsSome) {
  each([](const message &message) {
    const record_array records(message, 2);
    const auto refused = [](uint32_t result, uint32_t asked) {
      EXPECT_EQ(result, failed);
      EXPECT_TRUE(fake_mesh::sends().empty());
      EXPECT_EQ(fake_osal::calls().size(), asked) << "asked once, nothing to give back";
      fake_osal::reset();
      fake_osal::fail_allocation(1);
    };
    fake_osal::fail_allocation(1);
    refused(message.sendbatch(destination, records.get(), 2, 0), 1);
    refused(message.sendmsg(destination, records.get(), 2), 1);
    refused(message.sendtomsg(destination, records.get(), 2, 7), 1);
    if (message.is_tree()) {
      refused(message.sendsingle(destination, records.get(), 0, 0), 1);
      refused(message.sendmsg(destination, records.get(), 1), 1);
      refused(message.sendtomsg(destination, records.get(), 1, 7), 1);
    }
  });
}

TEST_F(EveryMessage, WithPointersIsNotSentWithoutARecord) {
  each_tree([](const message &message) {
    EXPECT_EQ(message.sendsingle(destination, nullptr, 0, 0), failed);
    EXPECT_EQ(message.sendmsg(destination, nullptr, 1), failed);
    EXPECT_EQ(message.sendtomsg(destination, nullptr, 1, 7), failed);
    EXPECT_TRUE(fake_osal::calls().empty());
    EXPECT_EQ(message.sendbatch(destination, nullptr, 1, 0), failed);
    expect_block(message, arena_data_size + 16, "__sendbatch");
    EXPECT_TRUE(fake_mesh::sends().empty());
  });
}

TEST_F(EveryMessage, PassesOnTheLow32BitsOfWhatTheMeshAnswers) {
  each([](const message &message) {
    const record_array records(message, 2);
    for (const uint64_t answer : {UINT64_C(0x4D480007), UINT64_C(0xFFFFFFFF00000003)}) {
      fake_mesh::set_send_result(answer);
      const auto low = static_cast<uint32_t>(answer);
      EXPECT_EQ(message.sendsingle(destination, records.get(), 0, 0), low);
      EXPECT_EQ(message.sendsingle(destination, records.get(), 0, 7), low);
      EXPECT_EQ(message.sendbatch(destination, records.get(), 2, 0), low);
      EXPECT_EQ(message.sendbatch(destination, records.get(), 2, 7), low);
      EXPECT_EQ(message.sendmsg(destination, records.get(), 1), low);
      EXPECT_EQ(message.sendtomsg(destination, records.get(), 1, 7), low);
    }
  });
}

TEST_F(EveryMessage, OfAnEmptyBatchIsSentFromAnEmptyBlock) {
  each([](const message &message) {
    EXPECT_EQ(message.sendbatch(destination, nullptr, 0, 0), 0U);
    const auto sends = fake_mesh::sends();
    ASSERT_EQ(sends.size(), 1U);
    EXPECT_EQ(sends[0].count, 0U);
    const auto calls = fake_osal::calls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].size, message.is_tree() ? arena_data_size : 0U);
    EXPECT_EQ(calls[0].caller, std::string(message.name) + "__sendbatch");
  });
}

} // namespace
