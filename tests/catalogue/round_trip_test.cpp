// Random records of every message there and back, in both layouts and all byte orders; and what a
// byte order does to the bytes.
//
// Room: tests.
#include "tests/catalogue/every_message.h"
#include "tests/catalogue/records.h"

#include <string>

using namespace catalogue;

namespace {

constexpr uint32_t rounds = 16;

// Calls check(message, record) for many records of a message.
template <class Check>
void each_record(const message &message, Check check) {
  for (uint32_t round = 0; round < rounds && !testing::Test::HasFailure(); round++) {
    SCOPED_TRACE("round " + std::to_string(round));
    const owned_record record = some_record(message, round);
    check(record);
  }
}

void expect_decoded(const message &message, const bytes &wire, const owned_record &record,
                    uint32_t byte_swap) {
  decoding decoded(message, wire, byte_swap);
  EXPECT_TRUE(decoded.lines.empty());
  EXPECT_EQ(difference(message, record.get(), decoded.record()), "");
}

TEST_F(EveryMessage, IsTheSameAfterPackAndUnpackInEveryByteOrder) {
  each([](const message &message) {
    each_record(message, [&message](const owned_record &record) {
      for (const uint32_t byte_swap : byte_orders)
        expect_decoded(message, packed(message, record.get(), byte_swap), record, byte_swap);
    });
  });
}

TEST_F(EveryMessage, IsTheSameAfterSendAndUnpackInEveryByteOrder) {
  each([](const message &message) {
    each_record(message, [&message](const owned_record &record) {
      for (const uint32_t byte_swap : byte_orders)
        expect_decoded(message, sent(message, record.get(), byte_swap), record, byte_swap);
    });
  });
}

TEST_F(EveryMessage, PackedReversedHasEveryValueReversedAndWordsOnlyWhenTheFlagIsOne) {
  each([](const message &message) {
    each_record(message, [&message](const owned_record &record) {
      const bytes plain = packed(message, record.get());
      EXPECT_EQ(packed(message, record.get(), 1), reversed(message, plain, true));
      for (const uint32_t other : {2U, 3U, 0x80000000U, 0xFFFFFFFFU})
        EXPECT_EQ(packed(message, record.get(), other), reversed(message, plain, false));
    });
  });
}

TEST_F(EveryMessage, SentReversedHasEveryValueReversedAndWordsOnlyWhenTheFlagIsOne) {
  each([](const message &message) {
    each_record(message, [&message](const owned_record &record) {
      const bytes plain = sent(message, record.get());
      EXPECT_EQ(sent(message, record.get(), 1), reversed(message, plain, true));
      for (const uint32_t other : {2U, 0xFFFFFFFFU})
        EXPECT_EQ(sent(message, record.get(), other), reversed(message, plain, false));
    });
  });
}

TEST_F(EveryMessage, FromAPeerOfTheOtherByteOrderReadsWordsReversedOnlyWhenTheFlagIsOne) {
  each([](const message &message) {
    each_record(message, [&message](const owned_record &record) {
      const bytes plain = sent(message, record.get());
      expect_decoded(message, reversed(message, plain, true), record, 1);
      for (const uint32_t other : {2U, 3U, 0x80000000U, 0xFFFFFFFFU})
        expect_decoded(message, reversed(message, plain, false), record, other);
    });
  });
}

TEST_F(EveryMessage, ThatIsSentTwiceGivesTheSameBytes) {
  each([](const message &message) {
    const owned_record record = full_record(message);
    EXPECT_EQ(sent(message, record.get()), sent(message, record.get()));
  });
}

} // namespace
