// Counts whose sizes do not fit in 32 bits, of every vector and every batch there is.
//
// Room: tests. Buffers of gigabytes are address space only: a page of each is written, and whoever
// reads the rest reads zeros.
#include "tests/attacks/owned_blocks.h"
#include "tests/reference/navigation.h"

#include <algorithm>
#include <bit>

using namespace attacks;
using catalogue::EveryMessage;

namespace {

class WrappedSize : public EveryMessage {};

constexpr uint32_t longest_buffer = 0x7FFFFFFF; // lengths are signed
constexpr uint64_t two_to_the_32 = UINT64_C(1) << 32;

// The full record, encoded, but for one vector: that is moved behind the image and has as many
// elements as one says, whose offset words or bytes are all zero. Ends at the end of a mapping that
// serves all of them.
class stretched_image {
public:
  stretched_image(const message &message, const owned_block &block)
      : image_(catalogue::packed(message, catalogue::full_record(message).get())) {
    uint32_t word = image::field_of(image_, image::root_of(image_), block.slot());
    for (size_t i = 1; i < block.path.size(); i++)
      word = image::field_of(image_, image::target_of(image_, word), block.path[i]->slot);
    item_size_ = block.is_bytes() ? 1 : 4;
    image_.refer(word, image_.here());
    count_at_ = image_.u32(0);
  }

  uint32_t largest_count() const { return (longest_buffer - image_.here()) / item_size_; }

  // A decode of the image with so many elements; any block of more than a megabyte is refused.
  catalogue::decoding decoded(const message &message, uint32_t count) {
    image_.set_u32(count_at_, count);
    return in_place(message, image_.here() + size_t{item_size_} * count);
  }

  // Likewise, with the largest count and a byte too few behind it.
  catalogue::decoding decoded_short_of_one(const message &message) {
    const uint32_t count = largest_count();
    image_.set_u32(count_at_, count + 1);
    const size_t size = image_.here() + size_t{item_size_} * (count + 1) - 1;
    return in_place(message, size > longest_buffer ? longest_buffer : size);
  }

private:
  catalogue::decoding in_place(const message &message, size_t size) const {
    EXPECT_LE(size, longest_buffer);
    static guarded_buffer mapping(longest_buffer);
    uint8_t *const buffer = mapping.data() + (longest_buffer - size);
    std::memcpy(buffer, image_.bytes().data(), image_.here());
    if (item_size_ == 4) // nobody gets that far; who does is to come back soon
      std::memset(buffer + image_.here(), 0xFF, 4);
    return {message, buffer, static_cast<uint32_t>(size), 1u << 20};
  }

  wire_builder image_;
  uint32_t count_at_ = 0;
  uint32_t item_size_ = 0;
};

// Calls check(message, image, block, its place among the message's) for each block there is.
template <class Check>
void for_each_block(Check check) {
  catalogue::for_each_message([&check](const message &message, const catalogue::module_row &) {
    const std::vector<owned_block> blocks = blocks_of(message);
    for (size_t i = 0; i < blocks.size(); i++) {
      SCOPED_TRACE(message.name + std::string(", block ") + std::to_string(i));
      check(message, stretched_image(message, blocks[i]), blocks[i], i);
    }
  });
}

TEST_F(WrappedSize, OfADecodedVectorIsNeverAskedForAndFailsLikeARefusedBlock) {
  for_each_block(
      [](const message &message, stretched_image image, const owned_block &block, size_t index) {
        const std::vector<wrapping_count> counts = wrapping_counts(block.element_size());
        EXPECT_EQ(counts.empty(), block.element_size() <= 8);
        for (const wrapping_count &each : counts) {
          SCOPED_TRACE(each.count);
          catalogue::decoding decoded = image.decoded(message, each.count);
          expect_refused(message, decoded, index, each.count, each.wrapped, false);
        }
      });
}

TEST_F(WrappedSize, OfADecodedVectorBeginsOneCountAboveTheLastThatIsAskedForInFull) {
  for_each_block(
      [](const message &message, stretched_image image, const owned_block &block, size_t index) {
        const uint64_t fit_in_32_bits = (two_to_the_32 - 1) / block.element_size();
        const auto count =
            static_cast<uint32_t>(std::min<uint64_t>(fit_in_32_bits, image.largest_count()));
        const bool wraps_next = count == fit_in_32_bits;
        EXPECT_EQ(wraps_next, block.element_size() > 8);
        catalogue::decoding decoded = image.decoded(message, count);
        expect_refused(message, decoded, index, count, count * block.element_size(), true);
      });
}

// A count of which one element more would lie behind the end.
TEST_F(WrappedSize, OfADecodedVectorIsOfNoConcernToOneThatTheBufferCannotHold) {
  for_each_block(
      [](const message &message, stretched_image image, const owned_block &, size_t index) {
        catalogue::decoding decoded = image.decoded_short_of_one(message);
        EXPECT_TRUE(decoded.lines.empty());
        EXPECT_EQ(decoded.calls.size(), 2 * index) << "the blocks before, there and back";
      });
}

// What a batch of so many asks for: the product and the sum are taken modulo 2^32.
uint32_t batch_block(const message &message, uint32_t count) {
  return message.is_tree() ? count * 16 + 65536 : count * (message.wire_size + 16);
}

// Fails with this one request for memory. Records lie in an inaccessible page: nobody may look.
void expect_failed_batch(const message &message, uint32_t count, bool given) {
  using enum fake_osal::call_kind;
  SCOPED_TRACE(count);
  catalogue::forget();
  fake_osal::refuse_above(1u << 20);
  guarded_buffer no_records(0);
  EXPECT_EQ(message.sendbatch(1, no_records.data(), count, 0), catalogue::failed);
  const std::vector<fake_osal::call> calls = fake_osal::calls();
  ASSERT_EQ(calls.size(), given ? 2U : 1U);
  const std::string tag = std::string(message.name) + "__sendbatch";
  const uint32_t size = batch_block(message, count);
  EXPECT_EQ(calls[0].block != nullptr, given);
  EXPECT_EQ(calls[0], (fake_osal::call{alloc, size, 25088, tag, calls[0].block}));
  if (given) {
    EXPECT_EQ(calls[1], (fake_osal::call{free, size, 25088, tag, calls[0].block}));
  }
  EXPECT_TRUE(fake_mesh::sends().empty());
  EXPECT_TRUE(fake_osal::log_lines().empty());
}

TEST_F(WrappedSize, OfABatchIsAskedForGivenBackAndNotSentFrom) {
  each([](const message &message) {
    SCOPED_TRACE(message.name);
    // The smallest count that wraps, and the smallest of which nothing is left.
    const uint32_t share = message.is_tree() ? 16 : message.wire_size + 16;
    const uint64_t beside = message.is_tree() ? 65536 : 0;
    const auto smallest = static_cast<uint32_t>((two_to_the_32 - beside + share - 1) / share);
    const uint32_t odd_part = share >> std::countr_zero(share);
    const auto none = static_cast<uint32_t>((two_to_the_32 - beside) / (share / odd_part));
    EXPECT_LT(batch_block(message, smallest), share);
    EXPECT_EQ(batch_block(message, none), 0U);
    for (const uint32_t count : {smallest, smallest + 1, none, none + 1, none + 2})
      expect_failed_batch(message, count, true);
    for (const uint32_t count : {smallest - 1, 0xFFFFFFFFU})
      expect_failed_batch(message, count, batch_block(message, count) <= 1u << 20);
  });
}

TEST_F(WrappedSize, OfABatchBeginsOneCountAboveTheLastThatIsAskedForInFull) {
  each([](const message &message) {
    SCOPED_TRACE(message.name);
    const uint32_t share = message.is_tree() ? 16 : message.wire_size + 16;
    const uint64_t beside = message.is_tree() ? 65536 : 0;
    const auto largest = static_cast<uint32_t>((two_to_the_32 - 1 - beside) / share);
    EXPECT_EQ(batch_block(message, largest), share * uint64_t{largest} + beside);
    expect_failed_batch(message, largest, false);
  });
}

} // namespace
