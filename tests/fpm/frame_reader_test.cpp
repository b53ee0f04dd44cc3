// Frames in a stream of bytes.
//
// Room: tests. Includes the feed.
#include "fpm/frame_reader.h"
#include "tests/fpm/netlink_bytes.h"

#include <gtest/gtest.h>

using fpm::frame_reader;
using outcome = frame_reader::outcome;

namespace {

bytes payload_of(const frame_reader &reader) {
  return {reader.payload().begin(), reader.payload().end()};
}

TEST(FrameReader, GivesEveryFrameOfWhatArrivedTogether) {
  frame_reader reader;
  reader.take(bytes{1, 1, 0, 6, 'a', 'b', 1, 2, 0, 5, 'c'});
  ASSERT_EQ(reader.next(), outcome::frame);
  EXPECT_EQ(reader.type(), 1);
  EXPECT_EQ(payload_of(reader), (bytes{'a', 'b'}));
  ASSERT_EQ(reader.next(), outcome::frame);
  EXPECT_EQ(reader.type(), 2);
  EXPECT_EQ(payload_of(reader), bytes{'c'});
  EXPECT_EQ(reader.next(), outcome::none);
  EXPECT_FALSE(reader.inside_frame());
}

TEST(FrameReader, PutsAFrameTogetherThatArrivesByteByByte) {
  frame_reader reader;
  for (const uint8_t byte : bytes{1, 1, 0, 7, 'a', 'b'}) {
    reader.take(bytes{byte});
    EXPECT_EQ(reader.next(), outcome::none);
    EXPECT_TRUE(reader.inside_frame());
  }
  reader.take(bytes{'c'});
  ASSERT_EQ(reader.next(), outcome::frame);
  EXPECT_EQ(payload_of(reader), (bytes{'a', 'b', 'c'}));
}

TEST(FrameReader, TakesTheLengthWithTheHighByteFirst) {
  frame_reader reader;
  reader.take(bytes{1, 1, 0x01, 0x04} + bytes(0x100, 'x'));
  ASSERT_EQ(reader.next(), outcome::frame);
  EXPECT_EQ(reader.payload().size(), 0x100u);
}

TEST(FrameReader, TakesTheLargestFrameAndAnEmptyOne) {
  frame_reader reader;
  reader.take(bytes{1, 1, 0xFF, 0xFF} + bytes(65531, 'x') + bytes{1, 1, 0, 4});
  ASSERT_EQ(reader.next(), outcome::frame);
  EXPECT_EQ(reader.payload().size(), 65531u);
  ASSERT_EQ(reader.next(), outcome::frame);
  EXPECT_EQ(reader.payload().size(), 0u);
}

TEST(FrameReader, EndsTheStreamAtAnotherVersion) {
  frame_reader reader;
  reader.take(bytes{2, 1, 0, 4, 1, 1, 0, 4});
  ASSERT_EQ(reader.next(), outcome::bad);
  EXPECT_EQ(reader.problem(), "a frame of version 2, expected 1");
  EXPECT_EQ(reader.next(), outcome::bad);
}

TEST(FrameReader, EndsTheStreamAtALengthWithoutRoomForTheHeader) {
  frame_reader reader;
  reader.take(bytes{1, 1, 0, 3});
  ASSERT_EQ(reader.next(), outcome::bad);
  EXPECT_EQ(reader.problem(), "a frame of 3 bytes, expected 4 or more");
}

} // namespace
