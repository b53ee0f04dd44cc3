// Records whose encoded size reaches the limit of 32 bits.
//
// Room: tests. The arrays are gigabytes of address space that reads as zero and costs no memory;
// the thread sanitizer's bookkeeping would, so its build leaves this file out.
#include "tests/transport/sending.h"

#include <sys/mman.h>

using namespace messages;
using namespace sending;

namespace {

class SizeLimit : public Sends {};

// An array of zero elements, never written.
template <class Element>
class zero_array {
public:
  explicit zero_array(uint32_t count)
      : size_(count * sizeof(Element)),
        address_(
            mmap(nullptr, size_, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {}
  ~zero_array() { munmap(address_, size_); }
  zero_array(const zero_array &) = delete;
  zero_array &operator=(const zero_array &) = delete;

  bool is_mapped() const { return address_ != MAP_FAILED; }
  Element *data() const { return static_cast<Element *>(address_); }

private:
  size_t size_;
  void *address_;
};

// Segment lists of zeros: 286 bytes each with their offset, 24 for the rest of the message.
using message = feiBrokerFib6_srv6SrListUpdateMsg;
constexpr uint32_t most_that_fit = 15017368;  // 15,017,368 * 286 + 24
constexpr uint32_t largest_size = 4294967272; // = this, and 2^32 is 24 more
constexpr uint32_t big_arrays = most_that_fit + 1;

TEST_F(SizeLimit, ARecordJustBelowFourGigabytesIsAskedForInFull) {
  const zero_array<feiBrokerFib6_srv6SrList> lists(big_arrays);
  ASSERT_TRUE(lists.is_mapped());
  const message record{0, most_that_fit, lists.data()};
  fake_osal::refuse_above(1u << 20);
  EXPECT_EQ(feiBrokerFib6_srv6SrListUpdateMsg__sendsingle(destination, &record, 0, 0), failed);
  EXPECT_EQ(expect_one_block(largest_size, tag<message>("__sendsingle")), nullptr);
  expect_nothing_sent();
}

TEST_F(SizeLimit, ARecordAboveFourGigabytesFailsWithoutAllocating) {
  const zero_array<feiBrokerFib6_srv6SrList> lists(big_arrays);
  ASSERT_TRUE(lists.is_mapped());
  const message record{0, most_that_fit + 1, lists.data()};
  EXPECT_EQ(feiBrokerFib6_srv6SrListUpdateMsg__sendsingle(destination, &record, 0, 0), failed);
  EXPECT_EQ(feiBrokerFib6_srv6SrListUpdateMsg__sendmsg(destination, &record, 1), failed);
  EXPECT_TRUE(heap_calls().empty());
  expect_nothing_sent();
}

TEST_F(SizeLimit, ARecordAboveFourGigabytesFailsItsBatch) {
  const zero_array<feiBrokerFib6_srv6SrList> lists(big_arrays);
  ASSERT_TRUE(lists.is_mapped());
  const message records[] = {{1, 0, nullptr}, {0, most_that_fit + 1, lists.data()}};
  EXPECT_EQ(feiBrokerFib6_srv6SrListUpdateMsg__sendbatch(destination, records, 2, 0), failed);
  EXPECT_NE(expect_one_block(65536 + 32, tag<message>("__sendbatch")), nullptr);
  expect_nothing_sent();
}

} // namespace
